#include "gameengine/gui/guiWidget/guiButton.h"

#include "gameengine/gui/guiWidget/guiContext.h"
#include "gameengine/gui/guiWidget/guiLayout.h"
#include "gameengine/gui/guiWidget/guiStream.h"

#include <algorithm>
#include <unordered_set>

namespace gui
{
namespace
{
constexpr int kMarkSize = 14;

GuiRecti GetMarkRect(const GuiRecti& rect)
{
    return {rect.x, rect.y + (rect.h - kMarkSize) / 2, kMarkSize, kMarkSize};
}
} // namespace

GuiClickable::GuiClickable(GuiContext& context, GuiStyle style, const GuiRecti& rect, GuiSizePolicy sizePolicy)
    : GuiWidget(context, style, rect, sizePolicy)
{
    SetFocusable(true);
    myKeepPicture();
}

void GuiClickable::SetText(std::string_view text)
{
    if (m_text == text)
        return;
    m_text = text;
    Redraw();
}

void GuiClickable::OnKeyPress(unsigned key)
{
    if (key != kGuiKeySpace && key != kGuiKeyEnter)
        return myPassKey(key);
    if (!IsVisible() || IsLocked() || GetContext().IsKeyRepeated())
        return;
    myOnPressed();
    myOnReleased(true);
}

void GuiClickable::OnMouseClick(unsigned button)
{
    if (button != kGuiMouseLeft)
        return myPassClick(button);
    if (!myIsHoverWidget() || !IsVisible() || IsLocked())
        return;
    myGrabInput();
    myGrabFocus();
    m_isPressed = true;
    Redraw();
    myOnPressed();
}

void GuiClickable::OnMouseRelease(unsigned button)
{
    if (button != kGuiMouseLeft || !m_isPressed)
        return;
    const bool isMeant = myIsPressed();
    m_isPressed = false;
    Redraw();
    if (!isMeant) // a modal widget has taken the input away
        return;
    myReleaseInput();
    const Vec2<int> mouse = myGetMousePos();
    myOnReleased(GuiWidget::GetHoverWidget(mouse.x, mouse.y) == this);
}

// What cannot be clicked any more is not pressed any more, and keeps no input to itself.
void GuiClickable::SetVisible(bool visible)
{
    GuiWidget::SetVisible(visible);
    m_isPressed = m_isPressed && visible;
    if (!visible)
        myReleaseInput();
}

void GuiClickable::SetLocked(bool locked)
{
    GuiWidget::SetLocked(locked);
    m_isPressed = m_isPressed && !locked;
    if (locked)
        myReleaseInput();
}

void GuiClickable::myOnPressed() {}

void GuiClickable::myDrawText(int markWidth)
{
    const GuiStyleData& style = myGetStyle();
    const GuiRecti rect = GetRect();
    Draw& draw = myGetDraw();
    const int y = rect.y + (rect.h - draw.GetLineHeight(style.font)) / 2;
    const int x = markWidth > 0 ? rect.x + markWidth + style.padding
                                : rect.x + (rect.w - draw.GetTextWidth(m_text, style.font)) / 2;
    draw.PushClip(rect);
    draw.Text(x, y, m_text, IsLocked() ? style.textDisabled : style.text, style.font);
    draw.PopClip();
}

void GuiButton::myOnPressed()
{
    myEmitEvent(GetId(), {GET_BUTTON_PRESSED});
}

void GuiButton::myOnReleased(bool isInside)
{
    GuiEvent event{GET_BUTTON_RELEASED};
    event.SetInt(0, isInside ? 1 : 0);
    myEmitEvent(GetId(), event);
}

void GuiButton::Render()
{
    const bool isHovered = myIsHoverWidget();
    myDrawButton(GetRect(), isHovered, myIsPressed() && isHovered, IsLocked(), myIsFocusWidget());
    myDrawText(0);
}

void GuiButton::mySave(GuiStream& stream) const
{
    stream.WriteQuotedString(GetText());
}

void GuiButton::myLoad(GuiStream& stream)
{
    if (std::string text; stream.ReadQuotedString(text))
        SetText(text);
}

void GuiCheckBox::SetChecked(bool checked)
{
    m_isChecked = checked;
    Redraw();
}

void GuiCheckBox::myOnReleased(bool isInside)
{
    if (!isInside)
        return;
    SetChecked(!m_isChecked);
    GuiEvent event{GET_CHECKBOX_CHANGED};
    event.SetInt(0, m_isChecked ? 1 : 0);
    myEmitEvent(GetId(), event);
}

void GuiCheckBox::Render()
{
    const GuiStyleData& style = myGetStyle();
    const GuiRecti mark = GetMarkRect(GetRect());
    myDrawButton(mark, myIsHoverWidget(), myIsPressed(), IsLocked(), myIsFocusWidget());
    if (m_isChecked)
    {
        const Color color = IsLocked() ? style.textDisabled : style.accent;
        myGetDraw().Line({mark.x + 3, mark.y + 7}, {mark.x + 6, mark.y + 10}, color, 2.0F);
        myGetDraw().Line({mark.x + 6, mark.y + 10}, {mark.x + 11, mark.y + 4}, color, 2.0F);
    }
    myDrawText(kMarkSize);
}

void GuiCheckBox::mySave(GuiStream& stream) const
{
    stream.WriteQuotedString(GetText());
    stream.WriteInteger(m_isChecked ? 1 : 0);
}

void GuiCheckBox::myLoad(GuiStream& stream)
{
    if (std::string text; stream.ReadQuotedString(text))
        SetText(text);
    if (int checked = 0; stream.ReadInteger(checked))
        m_isChecked = checked != 0;
}

std::vector<GuiRadioButton*> GuiRadioButton::i_GetGroup()
{
    const GuiLayout* const layout = GetOwner();
    if (!layout)
        return {this};
    std::vector<GuiRadioButton*> group;
    for (std::size_t i = 0; i < layout->GetChildCount(); ++i)
    {
        auto* const other = dynamic_cast<GuiRadioButton*>(layout->GetChild(i));
        if (other && other->m_group == m_group)
            group.push_back(other);
    }
    return group;
}

void GuiRadioButton::Select()
{
    for (GuiRadioButton* const other : i_GetGroup())
    {
        if (other->m_isSelected != (other == this))
            other->Redraw();
        other->m_isSelected = other == this;
    }
}

void GuiRadioButton::OnKeyPress(unsigned key)
{
    const bool isForward = key == kGuiKeyDown || key == kGuiKeyRight;
    if (!isForward && key != kGuiKeyUp && key != kGuiKeyLeft)
        return GuiClickable::OnKeyPress(key);
    if (!IsVisible() || IsLocked())
        return;
    std::vector<GuiRadioButton*> group = i_GetGroup();
    if (!isForward)
        std::reverse(group.begin(), group.end());
    std::rotate(group.begin(), std::find(group.begin(), group.end(), this), group.end());
    const auto next = std::find_if(group.begin() + 1, group.end(),
                                   [](const auto* other) { return other->IsVisible() && !other->IsLocked(); });
    if (next == group.end())
        return;
    (*next)->myGrabFocus();
    (*next)->i_SelectByHand();
}

void GuiRadioButton::myOnReleased(bool isInside)
{
    if (isInside && !m_isSelected)
        i_SelectByHand();
}

void GuiRadioButton::i_SelectByHand()
{
    Select();
    GuiEvent event{GET_RADIOBUTTON_SELECTED};
    event.SetInt(0, m_value);
    myEmitEvent(GetId(), event);
}

void GuiRadioButton::Render()
{
    const GuiStyleData& style = myGetStyle();
    const GuiRecti mark = GetMarkRect(GetRect());
    Draw& draw = myGetDraw();
    draw.FillRoundRect(mark, kMarkSize / 2, myIsHoverWidget() && !IsLocked() ? style.faceHover : style.face);
    draw.FrameRoundRect(mark, kMarkSize / 2, myIsFocusWidget() ? style.accent : style.border);
    if (m_isSelected)
        draw.FillRoundRect({mark.x + 4, mark.y + 4, kMarkSize - 8, kMarkSize - 8}, kMarkSize / 2 - 4,
                           IsLocked() ? style.textDisabled : style.accent);
    myDrawText(kMarkSize);
}

void GuiRadioButton::mySave(GuiStream& stream) const
{
    stream.WriteQuotedString(GetText());
    stream.WriteInteger(m_group);
    stream.WriteInteger(m_value);
    stream.WriteInteger(m_isSelected ? 1 : 0);
}

void GuiRadioButton::myLoad(GuiStream& stream)
{
    if (std::string text; stream.ReadQuotedString(text))
        SetText(text);
    stream.ReadInteger(m_group);
    stream.ReadInteger(m_value);
    int selected = 0;
    if (!stream.ReadInteger(selected))
        return;
    m_isSelected = selected != 0;
    if (m_isSelected)
        Select();
}

void GuiRadioButton::KeepLastSelected(GuiLayout& layout)
{
    std::unordered_set<int> groups;
    for (std::size_t i = layout.GetChildCount(); i > 0; --i)
    {
        GuiWidget* const child = layout.GetChild(i - 1);
        auto* const radio =
            child->GetType() == GuiWidgetType::RadioButton ? dynamic_cast<GuiRadioButton*>(child) : nullptr;
        if (!radio || !radio->m_isSelected || groups.insert(radio->m_group).second)
            continue;
        radio->m_isSelected = false;
        radio->Redraw();
    }
}
} // namespace gui
