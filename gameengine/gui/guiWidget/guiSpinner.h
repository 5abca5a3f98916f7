#pragma once

#include "gameengine/gui/guiWidget/guiTextEdit.h"

namespace gui
{
/// Chooses a number: it is typed, and taken by Enter or when the focus leaves, or stepped by the two arrows, which
/// repeat while they are held and can be dragged up and down, by Up, Down, PageUp and PageDown, or by the wheel while
/// it is in focus: otherwise that scrolls what the spinner lies in. What is no number is dropped, as is what was typed
/// by Escape.
///
/// Numbers are kept to a millionth, as in files, and lie in between `-kMost` and `kMost`; those that are not finite
/// are ignored.
///
/// Emits GET_SPINNER_CHANGED, with the value as a float in word 0, for each new value by hand. Calls emit nothing.
class TAMRAGAMEENGINE_API GuiSpinner final : public GuiTextEdit
{
public:
    static constexpr float kMost = 999'999'936.0F;

    /// At first 0, of 0 to 100, in steps of 1.
    explicit GuiSpinner(GuiContext& context, GuiStyle style = 0, const GuiRecti& rect = {},
                        GuiSizePolicy sizePolicy = GuiSizePolicy::ResizeH());

    GuiWidgetType GetType() const override { return GuiWidgetType::Spinner; }
    const char* GetTypeString() const override { return "GWT_SPINNER"; }
    void Tick(float seconds) override;
    void OnMouseRelease(unsigned button) override;
    void Render() override;

    /// Always within the range. What is being typed does not count yet.
    float GetValue() const noexcept { return m_value; }
    /// Drops what is being typed, unless the value stays the same.
    void SetValue(float value);
    float GetLow() const noexcept { return m_low; }
    float GetHigh() const noexcept { return m_high; }
    /// A range whose end lies before its start has only the start.
    void SetRange(float low, float high);
    float GetStep() const noexcept { return m_step; }
    /// Above 0; others are ignored. Of whole numbers it is 1 at least.
    void SetStep(float step);
    bool IsWhole() const noexcept { return m_isWhole; }
    /// Whole numbers only, as far as the range has any.
    void SetWhole(bool isWhole);

protected:
    GuiRecti myGetTextRect() const override;
    bool myAccepts(std::string_view text) const override { return myMakesNumber(text); }
    bool myOnKey(unsigned key) override;
    bool myOnPressed() override;
    bool myOnWheel(int direction) override;
    void myOnEdited() override {}
    void myOnLeft() override;
    void myStopDragging() override;
    /// Low, high, value, step, 1 or 0 for whole numbers.
    void mySave(GuiStream& stream) const override;
    void myLoad(GuiStream& stream) override;

private:
    GuiRecti i_GetArrow(int direction) const;
    int i_FindArrow(Vec2<int> point) const;
    float i_Limit(double value) const;
    void i_ShowValue();
    double i_GetTyped() const;
    void i_ChangeTo(double value);
    double i_GetStep() const;
    void i_Step(int steps);
    void i_FollowArrow(float seconds);

    float m_low = 0.0F;
    float m_high = 100.0F;
    float m_value = 0.0F;
    float m_step = 1.0F;
    int m_direction = 0; // of the arrow that is held: 1 up, -1 down
    int m_dragStart = 0; // where the mouse went down
    float m_dragValue = 0.0F;
    float m_untilRepeat = 0.0F;
    bool m_isDragged = false;
    bool m_isWhole = false;
};
} // namespace gui
