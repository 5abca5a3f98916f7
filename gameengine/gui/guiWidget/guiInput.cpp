#include "gameengine/gui/guiWidget/guiInputInternal.h"
#include "gameengine/gui/guiWidget/guiKey.h"

#include <algorithm>
#include <cstdlib>

namespace gui
{
namespace
{
constexpr double kMultiClickTime = 0.4;  // seconds
constexpr int kMultiClickReach = 4;      // pixels
constexpr int kFarthest = 1'000'000'000; // as far as coordinates of widgets go; sums fit an integer
constexpr double kHostRepeatTime = 1.5;  // seconds, longer than any host waits with the first one
constexpr int kMaxRepeats = 4;           // at once, after a long frame

bool IsModifier(unsigned key)
{
    return key >= kGuiKeyLeftShift && key <= kGuiKeyRightAlt + 1;
}

// Positions may be as far apart as integers go.
bool IsClose(Vec2<int> a, Vec2<int> b)
{
    return std::llabs(static_cast<long long>(a.x) - b.x) <= kMultiClickReach &&
           std::llabs(static_cast<long long>(a.y) - b.y) <= kMultiClickReach;
}
} // namespace

void CGuiInputQueue::PushKeyPress(unsigned key)
{
    // A host repeats the last key, and soon; otherwise it was the release that got lost.
    const bool isDown = !m_keys.insert(key).second;
    const bool isSoon = m_time - m_lastPress < kHostRepeatTime;
    const bool isRepeated = isDown && isSoon && (IsModifier(key) || key == m_heldKey);
    m_lastPress = m_time;
    m_hostRepeats = m_hostRepeats || isRepeated;
    if (!IsModifier(key) && !isRepeated)
    {
        m_heldKey = key;
        m_heldChar = 0;
        m_untilRepeat = m_repeatDelay;
    }
    i_Push(GuiInput::Kind::KeyPress, key, isRepeated);
}

void CGuiInputQueue::PushKeyRelease(unsigned key)
{
    m_keys.erase(key);
    if (key == m_heldKey)
        m_heldKey = 0;
    i_Push(GuiInput::Kind::KeyRelease, key);
}

void CGuiInputQueue::PushKeyChar(unsigned character)
{
    m_heldChar = character;
    i_Push(GuiInput::Kind::KeyChar, character);
}

void CGuiInputQueue::PushMouseClick(unsigned button)
{
    m_buttons.insert(button);
    const bool goesOn =
        button == m_lastButton && m_time - m_lastClick <= kMultiClickTime && IsClose(m_mouse, m_lastClickAt);
    m_clickCount = goesOn ? m_clickCount % 3 + 1 : 1;
    m_lastButton = button;
    m_lastClick = m_time;
    m_lastClickAt = m_mouse;
    i_Push(GuiInput::Kind::MouseClick, button, false, m_clickCount);
}

void CGuiInputQueue::PushMouseRelease(unsigned button)
{
    m_buttons.erase(button);
    i_Push(GuiInput::Kind::MouseRelease, button);
}

void CGuiInputQueue::SetMousePos(int x, int y) noexcept
{
    m_mouse.Set(std::clamp(x, -kFarthest, kFarthest), std::clamp(y, -kFarthest, kFarthest));
}

unsigned CGuiInputQueue::GetModifiers() const
{
    const auto isHeld = [this](unsigned left, unsigned right)
    { return m_keys.contains(left) || m_keys.contains(right); };
    return (isHeld(kGuiKeyLeftShift, kGuiKeyRightShift) ? kGuiShift : 0U) |
           (isHeld(kGuiKeyLeftControl, kGuiKeyRightControl) ? kGuiControl : 0U) |
           (isHeld(kGuiKeyLeftAlt, kGuiKeyRightAlt) ? kGuiAlt : 0U);
}

void CGuiInputQueue::SetKeyRepeat(float delay, float interval) noexcept
{
    m_repeatDelay = delay;
    m_repeatInterval = interval;
}

void CGuiInputQueue::Advance(float seconds)
{
    m_time += seconds;
    if (m_heldKey == 0 || m_hostRepeats || !(m_repeatDelay > 0.0F) || !(m_repeatInterval > 0.0F))
        return;
    m_untilRepeat -= seconds;
    for (int i = 0; i < kMaxRepeats && m_untilRepeat <= 0.0F; ++i)
    {
        i_Push(GuiInput::Kind::KeyPress, m_heldKey, true);
        if (m_heldChar != 0)
            i_Push(GuiInput::Kind::KeyChar, m_heldChar, true);
        m_untilRepeat += m_repeatInterval;
    }
    if (m_untilRepeat <= 0.0F)
        m_untilRepeat = m_repeatInterval;
}

void CGuiInputQueue::Take(std::vector<GuiInput>& inputs)
{
    inputs.clear();
    inputs.swap(m_inputs);
}

void CGuiInputQueue::i_Push(GuiInput::Kind kind, unsigned code, bool isRepeated, int clickCount)
{
    m_inputs.push_back({kind, isRepeated, code, GetModifiers(), clickCount, m_mouse});
}
} // namespace gui
