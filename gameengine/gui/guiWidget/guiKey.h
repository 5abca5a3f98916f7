#pragma once

namespace gui
{
/// Codes of keys; printable keys have that of their character, letters that of the capital.
enum GuiKey : unsigned
{
    kGuiKeySpace = 32,
    kGuiKeyEscape = 256,
    kGuiKeyEnter = 257,
    kGuiKeyTab = 258,
    kGuiKeyBackspace = 259,
    kGuiKeyInsert = 260,
    kGuiKeyDelete = 261,
    kGuiKeyRight = 262,
    kGuiKeyLeft = 263,
    kGuiKeyDown = 264,
    kGuiKeyUp = 265,
    kGuiKeyPageUp = 266,
    kGuiKeyPageDown = 267,
    kGuiKeyHome = 268,
    kGuiKeyEnd = 269,
    kGuiKeyF1 = 290,
    kGuiKeyLeftShift = 340,
    kGuiKeyLeftControl = 341,
    kGuiKeyLeftAlt = 342,
    kGuiKeyRightShift = 344,
    kGuiKeyRightControl = 345,
    kGuiKeyRightAlt = 346,
};

/// The wheel is two buttons, pressed and released with each notch.
enum GuiMouseButton : unsigned
{
    kGuiMouseLeft = 1,
    kGuiMouseRight = 2,
    kGuiMouseMiddle = 4,
    kGuiMouseWheelUp = 32,
    kGuiMouseWheelDown = 64,
};

/// Bits of keys held.
enum GuiModifier : unsigned
{
    kGuiShift = 1,
    kGuiControl = 2,
    kGuiAlt = 4,
};

/// What the mouse shows.
enum class GuiCursor
{
    Arrow,
    Text,
    Hand,
    SizeHorizontal,
    SizeVertical,
    SizeDiagonalDown, ///< From the upper left to the lower right.
    SizeDiagonalUp,
    Move,
    None,
};
} // namespace gui
