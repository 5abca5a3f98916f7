#include "gameengine/gui/guiWidget/guiSlider.h"

#include "gameengine/gui/guiWidget/guiStream.h"

#include <algorithm>

namespace gui
{
namespace
{
constexpr int kSliderHandle = 10;
constexpr int kShortestHandle = 16;
} // namespace

GuiTrack::GuiTrack(GuiContext& context, GuiStyle style, const GuiRecti& rect, GuiSizePolicy sizePolicy,
                   std::size_t axis, GuiEventType pressedEvent)
    : GuiWidget(context, style, rect, sizePolicy),
      m_axis(axis),
      m_pressedEvent(pressedEvent)
{
    SetFocusable(true);
    myKeepPicture();
}

void GuiTrack::SetValue(float value)
{
    if (value == m_value)
        return;
    m_value = value;
    Redraw();
}

float GuiTrack::GetValue() const
{
    // What is no number is the lowest.
    const float low = myGetLow();
    return m_value > low ? std::min(m_value, std::max(myGetHigh(), low)) : low;
}

void GuiTrack::OnKeyPress(unsigned key)
{
    if (!IsVisible() || IsLocked() || m_isDragged)
        return;
    if (key == (myIsVertical() ? kGuiKeyUp : kGuiKeyLeft))
        i_Change(GetValue() - myGetStep());
    else if (key == (myIsVertical() ? kGuiKeyDown : kGuiKeyRight))
        i_Change(GetValue() + myGetStep());
    else if (key == kGuiKeyHome)
        i_Change(myGetLow());
    else if (key == kGuiKeyEnd)
        i_Change(myGetHigh());
    else
        myPassKey(key);
}

bool GuiTrack::i_Wheel(unsigned button)
{
    const float step = myGetWheelStep();
    if (step == 0.0F || (button != kGuiMouseWheelUp && button != kGuiMouseWheelDown))
        return false;
    if (IsVisible() && !IsLocked() && !m_isDragged)
        i_Change(GetValue() + (button == kGuiMouseWheelUp ? -step : step));
    return true;
}

float GuiTrack::myGetLineHeight() const
{
    return static_cast<float>(myGetDraw().GetLineHeight(myGetStyle().font));
}

void GuiTrack::OnMouseClick(unsigned button)
{
    if (i_Wheel(button))
        return;
    if (button != kGuiMouseLeft)
        return myPassClick(button);
    if (!myIsHoverWidget() || !IsVisible() || IsLocked())
        return;
    myGrabInput();
    myGrabFocus();
    const GuiRecti handle = i_GetHandle();
    const int start = m_axis == 0 ? handle.x : handle.y;
    const int length = handle.Size()[m_axis];
    m_grip = myGetMousePos()[m_axis] - start;
    if (m_grip < 0 || m_grip >= length)
        m_grip = length / 2;
    m_isDragged = true;
    SetTicking(true);
    Redraw();
    i_Emit(0);
    i_Follow();
}

void GuiTrack::OnMouseRelease(unsigned button)
{
    if (button != kGuiMouseLeft || !m_isDragged)
        return;
    i_Follow();
    i_StopDragging();
    i_Emit(1);
}

void GuiTrack::Tick(float)
{
    if (m_isDragged && !myIsInputWidget()) // a modal widget has taken it away
        i_StopDragging();
    if (m_isDragged)
        i_Follow();
}

void GuiTrack::SetVisible(bool visible)
{
    GuiWidget::SetVisible(visible);
    if (!visible)
        i_StopDragging();
}

void GuiTrack::SetLocked(bool locked)
{
    GuiWidget::SetLocked(locked);
    if (locked)
        i_StopDragging();
}

void GuiTrack::Render()
{
    const GuiStyleData& style = myGetStyle();
    myGetDraw().FillRoundRect(GetRect(), style.radius, style.panel);
    myDrawButton(i_GetHandle(), myIsHoverWidget(), m_isDragged, IsLocked(), myIsFocusWidget());
}

GuiRecti GuiTrack::i_GetHandle() const
{
    GuiRecti handle = GetRect();
    const int length = std::min(myGetHandleLength(), myGetLength());
    const float range = myGetHigh() - myGetLow();
    // Of a range that is no number any more it is none either.
    const float part = range > 0.0F ? (GetValue() - myGetLow()) / range : 0.0F;
    const float known = part > 0.0F ? std::min(part, 1.0F) : 0.0F;
    const int offset = static_cast<int>(static_cast<float>(myGetLength() - length) * known);
    (m_axis == 0 ? handle.x : handle.y) += offset;
    (m_axis == 0 ? handle.w : handle.h) = length;
    return handle;
}

void GuiTrack::i_Follow()
{
    const GuiRecti rect = GetRect();
    const int room = myGetLength() - std::min(myGetHandleLength(), myGetLength());
    const int start = m_axis == 0 ? rect.x : rect.y;
    const int offset = myGetMousePos()[m_axis] - start - m_grip;
    // A handle that has not left its pixel keeps the value, which may lie between two of them.
    const GuiRecti handle = i_GetHandle();
    if (room <= 0 || offset == (m_axis == 0 ? handle.x : handle.y) - start)
        return;
    const float part = std::clamp(static_cast<float>(offset) / static_cast<float>(room), 0.0F, 1.0F);
    i_Change(myGetLow() + (myGetHigh() - myGetLow()) * part);
}

void GuiTrack::i_Change(float value)
{
    const float before = GetValue();
    m_value = value;
    m_value = GetValue();
    if (m_value == before)
        return;
    Redraw();
    i_Emit(2);
}

void GuiTrack::i_Emit(int offset)
{
    GuiEvent event{m_pressedEvent + offset};
    event.SetFloat(0, GetValue());
    myEmitEvent(GetId(), event);
}

void GuiTrack::i_StopDragging()
{
    m_isDragged = false;
    SetTicking(false);
    Redraw();
    myReleaseInput();
}

void GuiSlider::SetRange(float low, float high)
{
    m_low = low;
    m_high = high > low ? high : low;
    Redraw();
}

int GuiSlider::myGetHandleLength() const
{
    return kSliderHandle;
}

void GuiSlider::mySave(GuiStream& stream) const
{
    for (const float value : {m_low, m_high, GetValue()})
        stream.WriteFloat(value);
}

void GuiSlider::myLoad(GuiStream& stream)
{
    float low = m_low;
    float high = m_high;
    float value = GetValue();
    for (float* field : {&low, &high, &value})
        stream.ReadFloat(*field);
    SetRange(low, high);
    SetValue(value);
}

void GuiScrollBar::SetContentLength(int length)
{
    if (length == m_contentLength)
        return;
    m_contentLength = length;
    Redraw();
}

float GuiScrollBar::myGetHigh() const
{
    return std::max(static_cast<float>(m_contentLength) - static_cast<float>(myGetLength()), 0.0F);
}

int GuiScrollBar::myGetHandleLength() const
{
    const std::int64_t length = std::max(myGetLength(), 0);
    if (m_contentLength <= length)
        return static_cast<int>(length);
    return std::max(static_cast<int>(length * length / m_contentLength), kShortestHandle);
}

void GuiScrollBar::mySave(GuiStream& stream) const
{
    stream.WriteInteger(m_contentLength);
    stream.WriteFloat(GetValue());
}

void GuiScrollBar::myLoad(GuiStream& stream)
{
    stream.ReadInteger(m_contentLength);
    if (float value = 0.0F; stream.ReadFloat(value))
        SetValue(value);
}
} // namespace gui
