#include "gameengine/gui/guiWidget/guiSpinner.h"

#include "gameengine/gui/guiWidget/guiStream.h"

#include <algorithm>
#include <charconv>
#include <cmath>

namespace gui
{
namespace
{
constexpr int kArrowWidth = 16;
constexpr int kPage = 10;            // steps
constexpr float kRepeatDelay = 0.4F; // seconds
constexpr float kRepeatInterval = 0.05F;
constexpr int kMaxRepeats = 8;          // at once, after a long frame
constexpr int kDragStart = 4;           // pixels that are no drag yet
constexpr int kDragPixels = 3;          // of a step
constexpr double kFinest = 1'000'000.0; // parts of one
constexpr std::size_t kNumberLength = 64;

// To what a file keeps of it.
float Round(double value)
{
    const double most = static_cast<double>(GuiSpinner::kMost);
    return static_cast<float>(std::round(std::clamp(value, -most, most) * kFinest) / kFinest);
}

bool ParseNumber(std::string_view text, double& number)
{
    if (text.starts_with('+'))
        text.remove_prefix(1);
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    return error == std::errc{} && end == text.data() + text.size() && std::isfinite(number);
}
} // namespace

GuiSpinner::GuiSpinner(GuiContext& context, GuiStyle style, const GuiRecti& rect, GuiSizePolicy sizePolicy)
    : GuiTextEdit(context, style, rect, sizePolicy, false, 0)
{
    SetMaxLength(kNumberLength);
    i_ShowValue();
}

float GuiSpinner::i_Limit(double value) const
{
    float limited = std::clamp(Round(value), m_low, m_high);
    if (!m_isWhole)
        return limited;
    limited = std::round(limited);
    if (limited > m_high)
        limited -= 1.0F;
    else if (limited < m_low)
        limited += 1.0F;
    return std::clamp(limited, m_low, m_high);
}

void GuiSpinner::i_ShowValue()
{
    char text[kNumberLength];
    // The shortest that stands for the value; without a sign for zero.
    const float value = m_value == 0.0F ? 0.0F : m_value;
    char* const end = std::to_chars(text, text + kNumberLength, value, std::chars_format::fixed).ptr;
    if (myIsChanged())
        SetText({}); // what was typed is taken: no step back to it
    SetText({text, end});
    myClearChanged();
    if (myIsFocusWidget())
        Select(0, GetText().size());
}

void GuiSpinner::SetValue(float value)
{
    if (!std::isfinite(value) || i_Limit(value) == m_value)
        return;
    m_value = i_Limit(value);
    i_ShowValue();
}

void GuiSpinner::SetRange(float low, float high)
{
    if (!std::isfinite(low) || !std::isfinite(high))
        return;
    m_low = Round(low);
    m_high = std::max(Round(high), m_low);
    SetValue(m_value);
}

void GuiSpinner::SetStep(float step)
{
    if (std::isfinite(step) && Round(step) > 0.0F)
        m_step = Round(step);
}

void GuiSpinner::SetWhole(bool isWhole)
{
    m_isWhole = isWhole;
    SetValue(m_value);
}

// The value with what is being typed, where that is a number.
double GuiSpinner::i_GetTyped() const
{
    double typed = 0.0;
    return myIsChanged() && ParseNumber(GetText(), typed) ? typed : static_cast<double>(m_value);
}

void GuiSpinner::i_ChangeTo(double value)
{
    const float before = m_value;
    m_value = i_Limit(value);
    if (m_value != before || myIsChanged())
        i_ShowValue();
    if (m_value == before)
        return;
    GuiEvent event{GET_SPINNER_CHANGED};
    event.SetFloat(0, m_value);
    myEmitEvent(GetId(), event);
}

double GuiSpinner::i_GetStep() const
{
    return m_isWhole ? std::max(std::round(static_cast<double>(m_step)), 1.0) : static_cast<double>(m_step);
}

void GuiSpinner::i_Step(int steps)
{
    i_ChangeTo(static_cast<double>(i_Limit(i_GetTyped())) + i_GetStep() * steps);
}

void GuiSpinner::myOnLeft()
{
    if (myIsActive())
        i_ChangeTo(i_GetTyped());
    else
        i_ShowValue();
}

bool GuiSpinner::myOnKey(unsigned key)
{
    switch (key)
    {
    case kGuiKeyUp: i_Step(1); return true;
    case kGuiKeyDown: i_Step(-1); return true;
    case kGuiKeyPageUp: i_Step(kPage); return true;
    case kGuiKeyPageDown: i_Step(-kPage); return true;
    case kGuiKeyEnter:
        if (!myIsChanged())
            return false;
        i_ChangeTo(i_GetTyped());
        return true;
    case kGuiKeyEscape:
        if (!myIsChanged())
            return false;
        i_ShowValue();
        return true;
    default: return false;
    }
}

bool GuiSpinner::myOnWheel(int direction)
{
    if (!myIsFocusWidget())
        return false;
    i_Step(-direction);
    return true;
}

GuiRecti GuiSpinner::myGetTextRect() const
{
    GuiRecti rect = GuiTextEdit::myGetTextRect();
    rect.w = std::max(rect.w - kArrowWidth, 0);
    return rect;
}

GuiRecti GuiSpinner::i_GetArrow(int direction) const
{
    const GuiRecti rect = GetRect();
    const int half = std::max(rect.h - 2, 0) / 2;
    return {rect.x + rect.w - kArrowWidth - 1, rect.y + 1 + (direction > 0 ? 0 : half), kArrowWidth, half};
}

int GuiSpinner::i_FindArrow(Vec2<int> point) const
{
    for (const int direction : {1, -1})
    {
        if (i_GetArrow(direction).Holds(point))
            return direction;
    }
    return 0;
}

bool GuiSpinner::myOnPressed()
{
    m_direction = i_FindArrow(myGetMousePos());
    if (m_direction == 0)
        return false;
    i_Step(m_direction);
    m_untilRepeat = kRepeatDelay;
    m_dragStart = myGetMousePos().y;
    m_dragValue = m_value;
    m_isDragged = false;
    return true;
}

void GuiSpinner::OnMouseRelease(unsigned button)
{
    if (button == kGuiMouseLeft && m_direction != 0)
        i_FollowArrow(0.0F);
    GuiTextEdit::OnMouseRelease(button);
}

void GuiSpinner::myStopDragging()
{
    if (m_direction != 0)
        Redraw();
    m_direction = 0;
    GuiTextEdit::myStopDragging();
}

void GuiSpinner::Tick(float seconds)
{
    if (m_direction != 0 && !myIsInputWidget())
        myStopDragging();
    if (m_direction != 0)
        i_FollowArrow(seconds);
    GuiTextEdit::Tick(seconds);
}

// A drag steps with the distance, a press that rests on its arrow with the time.
void GuiSpinner::i_FollowArrow(float seconds)
{
    const std::int64_t distance = std::int64_t{m_dragStart} - myGetMousePos().y;
    m_isDragged = m_isDragged || std::abs(distance) > kDragStart;
    if (m_isDragged)
    {
        const auto steps = static_cast<double>(distance / kDragPixels);
        i_ChangeTo(static_cast<double>(m_dragValue) + i_GetStep() * steps);
        return;
    }
    if (i_FindArrow(myGetMousePos()) != m_direction)
        return;
    m_untilRepeat -= seconds;
    for (int i = 0; i < kMaxRepeats && m_untilRepeat <= 0.0F; ++i)
    {
        i_Step(m_direction);
        m_dragValue = m_value;
        m_untilRepeat += kRepeatInterval;
    }
    m_untilRepeat = std::max(m_untilRepeat, 0.0F);
}

void GuiSpinner::Render()
{
    GuiTextEdit::Render();
    const GuiStyleData& style = myGetStyle();
    const Color color = IsLocked() ? style.textDisabled : style.text;
    for (const int direction : {1, -1})
    {
        const GuiRecti arrow = i_GetArrow(direction);
        if (arrow.h <= 0 || GetRect().w < kArrowWidth + 2)
            continue;
        if (!IsLocked())
            myGetDraw().FillRoundRect(arrow, style.radius, m_direction == direction ? style.facePressed : style.face);
        const auto x = static_cast<float>(arrow.x) + static_cast<float>(arrow.w) * 0.5F;
        const auto y = static_cast<float>(arrow.y) + static_cast<float>(arrow.h) * 0.5F;
        const float size = 3.5F;
        const auto tip = static_cast<float>(-direction) * 2.0F;
        myGetDraw().FillTriangle({x - size, y - tip}, {x + size, y - tip}, {x, y + tip}, color);
    }
}

void GuiSpinner::mySave(GuiStream& stream) const
{
    for (const float value : {m_low, m_high, m_value, m_step})
        stream.WriteFloat(value);
    stream.WriteInteger(m_isWhole ? 1 : 0);
}

void GuiSpinner::myLoad(GuiStream& stream)
{
    float low = m_low;
    float high = m_high;
    float value = m_value;
    float step = m_step;
    for (float* field : {&low, &high, &value})
        stream.ReadFloat(*field);
    const std::int32_t place = stream.GetDataPosition();
    if (stream.ReadFloat(step) && !(Round(step) > 0.0F))
        stream.MarkFault(place);
    int whole = m_isWhole ? 1 : 0;
    stream.ReadInteger(whole);
    m_isWhole = whole != 0;
    SetStep(step);
    SetRange(low, high);
    SetValue(value);
}
} // namespace gui
