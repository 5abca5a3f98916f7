#include "gameengine/gui/guiWidget/guiStyle.h"

namespace gui
{
GuiStyleData GuiStyleData::MakeDark() noexcept
{
    return {.background = 0xFF2B2724,
            .panel = 0xFF1E1B19,
            .border = 0xFF4F4843,
            .text = 0xFFE6E2DF,
            .textDisabled = 0xFF8A827C,
            .face = 0xFF443D38,
            .faceHover = 0xFF564E48,
            .facePressed = 0xFF332E2A,
            .accent = 0xFFD68A3C,
            .accentText = 0xFFFFFFFF,
            .selection = 0xFF8F5B28,
            .titleBar = 0xFF3A3430,
            .shadow = 0x60000000};
}

GuiStyleData GuiStyleData::MakeLight() noexcept
{
    return {.background = 0xFFF0F0F0,
            .panel = 0xFFFFFFFF,
            .border = 0xFFB4B0AC,
            .text = 0xFF201C1A,
            .textDisabled = 0xFF8C8884,
            .face = 0xFFE1E1E1,
            .faceHover = 0xFFEEE8E0,
            .facePressed = 0xFFCCC8C4,
            .accent = 0xFFC8751E,
            .accentText = 0xFFFFFFFF,
            .selection = 0xFFF0CDA0,
            .titleBar = 0xFFDCD8D4,
            .shadow = 0x30000000};
}
} // namespace gui
