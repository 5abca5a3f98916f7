#pragma once

#include "gameengine/gui/guiWidget/guiWidget.h"

#include <vector>

namespace gui
{
/// What is clicked: by the left mouse button, or by Enter or space while it is in focus. Ignores both while it is
/// locked or invisible.
class TAMRAGAMEENGINE_API GuiClickable : public GuiWidget
{
public:
    void OnKeyPress(unsigned key) override;
    void OnMouseClick(unsigned button) override;
    void OnMouseRelease(unsigned button) override;
    void SetVisible(bool visible) override;
    void SetLocked(bool locked) override;

    const std::string& GetText() const noexcept { return m_text; }
    void SetText(std::string_view text);

protected:
    GuiClickable(GuiContext& context, GuiStyle style, const GuiRecti& rect, GuiSizePolicy sizePolicy);

    /// The mouse went down on it.
    virtual void myOnPressed();
    /// It was clicked; also by the keyboard. `isInside`: the mouse came up where it is.
    virtual void myOnReleased(bool isInside) = 0;
    bool myIsPressed() const { return m_isPressed && myIsInputWidget(); }
    /// Draws the text right of a mark of this width, or in the middle if there is none.
    void myDrawText(int markWidth);

private:
    std::string m_text;
    bool m_isPressed = false;
};

/// Emits GET_BUTTON_PRESSED when the mouse goes down, and GET_BUTTON_RELEASED when it comes up, with word 0 telling
/// whether that was on the button (1) or beside it (0). The keyboard does both at once.
class TAMRAGAMEENGINE_API GuiButton final : public GuiClickable
{
public:
    explicit GuiButton(GuiContext& context, GuiStyle style = 0, const GuiRecti& rect = {},
                       GuiSizePolicy sizePolicy = GuiSizePolicy::ResizeH())
        : GuiClickable(context, style, rect, sizePolicy)
    {
    }

    GuiWidgetType GetType() const override { return GuiWidgetType::Button; }
    const char* GetTypeString() const override { return "GWT_BUTTON"; }
    void Render() override;

protected:
    void myOnPressed() override;
    void myOnReleased(bool isInside) override;
    /// Text.
    void mySave(GuiStream& stream) const override;
    void myLoad(GuiStream& stream) override;
};

/// On or off. Emits GET_CHECKBOX_CHANGED with word 0 as 1 or 0.
class TAMRAGAMEENGINE_API GuiCheckBox final : public GuiClickable
{
public:
    explicit GuiCheckBox(GuiContext& context, GuiStyle style = 0, const GuiRecti& rect = {},
                         GuiSizePolicy sizePolicy = GuiSizePolicy::ResizeH())
        : GuiClickable(context, style, rect, sizePolicy)
    {
    }

    GuiWidgetType GetType() const override { return GuiWidgetType::CheckBox; }
    const char* GetTypeString() const override { return "GWT_CHECKBOX"; }
    void Render() override;

    bool IsChecked() const noexcept { return m_isChecked; }
    /// Without an event.
    void SetChecked(bool checked);

protected:
    void myOnReleased(bool isInside) override;
    /// Text, 1 or 0.
    void mySave(GuiStream& stream) const override;
    void myLoad(GuiStream& stream) override;

private:
    bool m_isChecked = false;
};

/// One of the radio buttons of its layout that have its group number. Selecting it, by hand or by call, deselects the
/// others; so do Up, Left, Down and Right in one of them, which go round. Emits GET_RADIOBUTTON_SELECTED with its value
/// in word 0 when it becomes selected by hand.
class TAMRAGAMEENGINE_API GuiRadioButton final : public GuiClickable
{
public:
    explicit GuiRadioButton(GuiContext& context, GuiStyle style = 0, const GuiRecti& rect = {},
                            GuiSizePolicy sizePolicy = GuiSizePolicy::ResizeH())
        : GuiClickable(context, style, rect, sizePolicy)
    {
    }

    GuiWidgetType GetType() const override { return GuiWidgetType::RadioButton; }
    const char* GetTypeString() const override { return "GWT_RADIOBUTTON"; }
    void OnKeyPress(unsigned key) override;
    void Render() override;

    bool IsSelected() const noexcept { return m_isSelected; }
    void Select();
    /// Deselects all but the last child of each group. For those that were selected before they were added, such as the
    /// ones of `CreateWidgetFromStream`; `ReadWidgets` calls it.
    static void KeepLastSelected(GuiLayout& layout);
    int GetGroup() const noexcept { return m_group; }
    void SetGroup(int group) noexcept { m_group = group; }
    int GetValue() const noexcept { return m_value; }
    void SetValue(int value) noexcept { m_value = value; }

protected:
    void myOnReleased(bool isInside) override;
    /// Text, group, value, 1 or 0.
    void mySave(GuiStream& stream) const override;
    void myLoad(GuiStream& stream) override;

private:
    std::vector<GuiRadioButton*> i_GetGroup();
    void i_SelectByHand();

    int m_group = 0;
    int m_value = 0;
    bool m_isSelected = false;
};
} // namespace gui
