#pragma once

#include "gameengine/gui/guiWidget/guiWidget.h"

#include <cstddef>

namespace gui
{
/// A handle on a track, whose place is a value. It is dragged with the left mouse button, a click beside it brings it
/// there; while it is in focus, arrows, Home and End move it, and of a scroll bar the wheel does. Ignores both while it
/// is locked or invisible.
///
/// Emits, each with the value as a float in word 0: pressed, released, and changed for every new value by hand. Calls
/// emit nothing.
class TAMRAGAMEENGINE_API GuiTrack : public GuiWidget
{
public:
    void OnKeyPress(unsigned key) override;
    void OnMouseClick(unsigned button) override;
    void OnMouseRelease(unsigned button) override;
    void Tick(float seconds) override;
    void SetVisible(bool visible) override;
    void SetLocked(bool locked) override;
    void Render() override;

    /// Always within the range, also when that has become smaller.
    float GetValue() const;
    void SetValue(float value);

protected:
    /// `axis`: 0 from left to right, 1 from top to bottom. Events "released" and "changed" follow on `pressedEvent`.
    GuiTrack(GuiContext& context, GuiStyle style, const GuiRecti& rect, GuiSizePolicy sizePolicy, std::size_t axis,
             GuiEventType pressedEvent);

    virtual float myGetLow() const = 0;
    virtual float myGetHigh() const = 0;
    /// Of one key.
    virtual float myGetStep() const = 0;
    /// Of one notch of the wheel; 0 when it is for others.
    virtual float myGetWheelStep() const { return 0.0F; }
    /// In pixels along the track.
    virtual int myGetHandleLength() const = 0;
    int myGetLength() const { return GetRect().Size()[m_axis]; }
    float myGetLineHeight() const;
    bool myIsVertical() const noexcept { return m_axis == 1; }

private:
    GuiRecti i_GetHandle() const;
    void i_Follow();
    void i_Change(float value);
    bool i_Wheel(unsigned button);
    void i_Emit(int offset);
    void i_StopDragging();

    std::size_t m_axis;
    std::int32_t m_pressedEvent;
    float m_value = 0.0F;
    int m_grip = 0; // from the handle's start to the mouse, while it is dragged
    bool m_isDragged = false;
};

/// Chooses a number between two others, 0 and 1 at first, from left to right.
class TAMRAGAMEENGINE_API GuiSlider final : public GuiTrack
{
public:
    explicit GuiSlider(GuiContext& context, GuiStyle style = 0, const GuiRecti& rect = {},
                       GuiSizePolicy sizePolicy = GuiSizePolicy::ResizeH())
        : GuiTrack(context, style, rect, sizePolicy, 0, GET_SLIDER_PRESSED)
    {
    }

    GuiWidgetType GetType() const override { return GuiWidgetType::Slider; }
    const char* GetTypeString() const override { return "GWT_SLIDER"; }

    /// A range whose end lies before its start has only the start.
    void SetRange(float low, float high);

protected:
    float myGetLow() const override { return m_low; }
    float myGetHigh() const override { return m_high; }
    /// A hundredth of the range.
    float myGetStep() const override { return (m_high - m_low) * 0.01F; }
    int myGetHandleLength() const override;
    /// Low, high, value.
    void mySave(GuiStream& stream) const override;
    void myLoad(GuiStream& stream) override;

private:
    float m_low = 0.0F;
    float m_high = 1.0F;
};

/// Moves something longer than the bar itself: the value is how many pixels of it lie before what is seen.
class TAMRAGAMEENGINE_API GuiScrollBar final : public GuiTrack
{
public:
    GuiScrollBar(GuiContext& context, bool isVertical, GuiStyle style = 0, const GuiRecti& rect = {})
        : GuiTrack(context, style, rect, isVertical ? GuiSizePolicy::ResizeV() : GuiSizePolicy::ResizeH(),
                   isVertical ? 1 : 0, GET_SCROLLBAR_PRESSED)
    {
    }

    GuiWidgetType GetType() const override
    {
        return myIsVertical() ? GuiWidgetType::ScrollBarV : GuiWidgetType::ScrollBarH;
    }
    const char* GetTypeString() const override { return myIsVertical() ? "GWT_SCROLLBAR_V" : "GWT_SCROLLBAR_H"; }

    /// Length of what is moved, in pixels.
    int GetContentLength() const noexcept { return m_contentLength; }
    void SetContentLength(int length);

protected:
    float myGetLow() const override { return 0.0F; }
    float myGetHigh() const override;
    /// A tenth of what is seen.
    float myGetStep() const override { return static_cast<float>(myGetLength()) * 0.1F; }
    float myGetWheelStep() const override { return 3.0F * myGetLineHeight(); }
    int myGetHandleLength() const override;
    /// Length of the content, value.
    void mySave(GuiStream& stream) const override;
    void myLoad(GuiStream& stream) override;

private:
    int m_contentLength = 0;
};
} // namespace gui
