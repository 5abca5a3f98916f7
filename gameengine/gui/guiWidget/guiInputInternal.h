#pragma once

#include "gameengine/gui/guiWidget/guiTypes.h"

#include <cstdint>
#include <unordered_set>
#include <vector>

namespace gui
{
/// Input as the host pushed it, with what was true then.
struct GuiInput
{
    enum class Kind : std::uint8_t
    {
        KeyPress,
        KeyRelease,
        KeyChar,
        MouseClick,
        MouseRelease
    };
    Kind kind;
    bool isRepeated;    // a key that is held
    unsigned code;      // key, character or button
    unsigned modifiers; // bits of GuiModifier
    int clickCount;     // clicks in a row, 1 to 3
    Vec2<int> mouse;
};

/// Keeps the keys and buttons that are down, counts clicks in a row, and repeats the key that is held.
class CGuiInputQueue : public NonCopyable
{
public:
    void PushKeyPress(unsigned key);
    void PushKeyRelease(unsigned key);
    void PushKeyChar(unsigned character);
    void PushMouseClick(unsigned button);
    void PushMouseRelease(unsigned button);

    /// Where the mouse is from here on.
    void SetMousePos(int x, int y) noexcept;
    Vec2<int> GetMousePos() const noexcept { return m_mouse; }
    bool IsKeyDown(unsigned key) const { return m_keys.contains(key); }
    bool IsMouseDown(unsigned button) const { return m_buttons.contains(button); }
    unsigned GetModifiers() const;

    /// A delay of 0 ends repeating.
    void SetKeyRepeat(float delay, float interval) noexcept;
    /// Time goes by: pushes the held key again when it is due.
    void Advance(float seconds);

    /// What was pushed since the last call, in order.
    void Take(std::vector<GuiInput>& inputs);

private:
    void i_Push(GuiInput::Kind kind, unsigned code, bool isRepeated = false, int clickCount = 0);

    std::unordered_set<unsigned> m_keys;
    std::unordered_set<unsigned> m_buttons;
    std::vector<GuiInput> m_inputs;
    Vec2<int> m_mouse;
    double m_time = 0.0;

    unsigned m_lastButton = 0;
    int m_clickCount = 0;
    double m_lastClick = 0.0;
    Vec2<int> m_lastClickAt;

    float m_repeatDelay = 0.5F;
    float m_repeatInterval = 0.04F;
    bool m_hostRepeats = false; // then nothing is repeated here
    double m_lastPress = 0.0;
    unsigned m_heldKey = 0;  // 0 for none
    unsigned m_heldChar = 0; // that came with it
    float m_untilRepeat = 0.0F;
};
} // namespace gui
