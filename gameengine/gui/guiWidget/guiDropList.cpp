#include "gameengine/gui/guiWidget/guiDropList.h"

#include "gameengine/gui/guiWidget/guiKey.h"
#include "gameengine/gui/guiWidget/guiLayout.h"
#include "gameengine/gui/guiWidget/guiStream.h"

#include <algorithm>

namespace gui
{
namespace
{
constexpr int kMostRows = 12;
constexpr int kWheelRows = 3;
constexpr int kArrowSize = 8;
constexpr int kShadow = 3;
} // namespace

bool GuiDropList::SetSelected(int index)
{
    if (index != -1 && !myGetRows().HasRow(index))
        return false;
    m_selected = index;
    myGetRows().SetCurrent(index);
    Redraw();
    return true;
}

void GuiDropList::Open()
{
    if (m_isOpen || GetItemCount() == 0 || !myIsUsable() || !IsShown())
        return;
    m_isOpen = true;
    m_isPressed = false;
    m_lastMouse = myGetMousePos();
    myGetRows().EndTyping();
    myGetRows().SetCurrent(m_selected);
    GetContext().SetModal(*this, true); // so that nothing below the list is hovered
    myGrabInput();
    myGrabFocus();
    SetTicking(true);
    SetOverlay(true);
    Redraw();
}

void GuiDropList::Close()
{
    myGetRows().EndTyping();
    SetTicking(false);
    if (!m_isOpen)
        return;
    m_isOpen = false;
    myGetRows().EndDrag();
    myGetRows().SetCurrent(m_selected);
    GetContext().SetModal(*this, false);
    SetOverlay(false);
    myReleaseInput();
    Redraw();
}

void GuiDropList::myOnInserted(int index)
{
    if (index <= m_selected)
        ++m_selected;
}

void GuiDropList::myOnRemoved(int index)
{
    if (index == m_selected)
        m_selected = -1;
    else if (index < m_selected)
        --m_selected;
    if (GetItemCount() == 0)
        Close();
}

void GuiDropList::myOnReplaced()
{
    m_selected = -1;
}

GuiRecti GuiDropList::i_GetList() const
{
    const GuiRecti rect = GetRect();
    const GuiRecti screen = GetContext().GetRoot().GetRect();
    const int rowHeight = myGetRowHeight();
    const int above = rect.y - screen.y - 2;
    const int below = screen.BR().y - rect.BR().y - 2;
    const int wanted = std::clamp(GetItemCount(), 1, kMostRows);
    const bool isBelow = below >= wanted * rowHeight || below >= above;
    const int height = std::clamp((isBelow ? below : above) / rowHeight, 1, wanted) * rowHeight + 2;
    return {rect.x, isBelow ? rect.BR().y : rect.y - height, rect.w, height};
}

GuiWidget* GuiDropList::GetHoverWidget(int x, int y)
{
    const bool isOnList = m_isOpen && IsVisible() && i_GetList().Holds({x, y});
    return isOnList ? this : GuiWidget::GetHoverWidget(x, y);
}

void GuiDropList::OnKeyPress(unsigned key)
{
    if (!myIsUsable())
        return;
    i_Place();
    if (m_isOpen)
        i_OnOpenKey(key);
    else if (!i_OnClosedKey(key))
        myPassKey(key);
}

// Enter, or a space that is no part of what is typed.
bool GuiDropList::i_IsConfirming(unsigned key) const
{
    return key == kGuiKeyEnter || (key == kGuiKeySpace && !myGetRows().IsTyping());
}

void GuiDropList::i_OnOpenKey(unsigned key)
{
    GuiItemRows& rows = myGetRows();
    const int chosen = rows.GetCurrent();
    if (key == kGuiKeyEscape)
        Close();
    else if (key == kGuiKeyTab)
    {
        Close();
        GetContext().MoveFocus((GetContext().GetModifiers() & kGuiShift) != 0 ? -1 : 1);
    }
    else if (i_IsConfirming(key))
    {
        if (GetContext().IsKeyRepeated())
            return;
        Close();
        i_Choose(chosen);
    }
    else if (const int target = rows.FindKeyTarget(key); target >= 0)
    {
        rows.EndTyping();
        rows.SetCurrent(target);
    }
}

// Whether it was of use.
bool GuiDropList::i_OnClosedKey(unsigned key)
{
    GuiItemRows& rows = myGetRows();
    const bool isAlt = (GetContext().GetModifiers() & kGuiAlt) != 0;
    const bool isArrow = key == kGuiKeyDown || key == kGuiKeyUp;
    if (GetItemCount() > 0 && (i_IsConfirming(key) || (isAlt && isArrow)))
    {
        if (!GetContext().IsKeyRepeated())
            Open();
        return true;
    }
    const int target = isAlt ? -1 : rows.FindKeyTarget(key);
    if (target >= 0)
    {
        rows.EndTyping();
        i_Choose(target);
    }
    return target >= 0 || myIsTyped(key);
}

void GuiDropList::OnKeyChar(unsigned character)
{
    if (!myIsUsable())
        return;
    const int row = myGetRows().Type(character);
    SetTicking(true);
    if (row < 0)
        return;
    if (m_isOpen)
        myGetRows().SetCurrent(row);
    else
        i_Choose(row);
}

void GuiDropList::OnMouseClick(unsigned button)
{
    if (button == kGuiMouseWheelUp || button == kGuiMouseWheelDown)
    {
        if (!i_OnWheel(button == kGuiMouseWheelUp ? -1 : 1))
            myPassClick(button);
        return;
    }
    if (button != kGuiMouseLeft && !m_isOpen)
        return myPassClick(button);
    const Vec2<int> mouse = myGetMousePos();
    if (!m_isOpen)
    {
        if (!myIsHoverWidget() || !myIsUsable())
            return;
        myGrabFocus();
        Open();
        m_isPressed = m_isOpen;
        m_beganOnRow = false;
        m_pressedAt = mouse;
        return;
    }
    if (!i_GetList().Holds(mouse))
        return Close();
    i_Place();
    GuiItemRows& rows = myGetRows();
    if (button != kGuiMouseLeft || rows.BeginDrag(mouse))
        return;
    m_isPressed = true;
    m_beganOnRow = true;
    if (const int row = rows.FindRow(mouse); row >= 0)
        rows.SetCurrent(row);
}

void GuiDropList::OnMouseRelease(unsigned button)
{
    if (button != kGuiMouseLeft || !m_isOpen)
        return;
    GuiItemRows& rows = myGetRows();
    const bool wasDragged = rows.IsDragged();
    const bool wasPressed = m_isPressed;
    const Vec2<int> mouse = myGetMousePos();
    i_Place();
    if (wasDragged)
        rows.Drag(mouse.y);
    rows.EndDrag();
    m_isPressed = false;
    const int row = rows.FindRow(mouse);
    // The mouse may also come up on a row after it opened the list.
    if (row < 0 || wasDragged || !wasPressed || (!m_beganOnRow && mouse == m_pressedAt))
        return;
    Close();
    i_Choose(row);
}

bool GuiDropList::i_OnWheel(int rows)
{
    if (m_isOpen)
    {
        i_Place();
        myGetRows().Scroll(rows * kWheelRows);
        return true;
    }
    if (!myIsUsable() || !myIsHoverWidget() || !myIsFocusWidget() || GetItemCount() == 0)
        return false;
    i_Choose(std::clamp(m_selected + rows, 0, GetItemCount() - 1));
    return true;
}

void GuiDropList::i_Choose(int index)
{
    if (!myGetRows().HasRow(index) || index == m_selected)
        return;
    SetSelected(index);
    myEmitSelected(index, false);
}

void GuiDropList::Tick(float seconds)
{
    GuiItemRows& rows = myGetRows();
    rows.Tick(seconds);
    if (m_isOpen && (!IsShown() || !myIsFocusWidget() || !myIsInputWidget()))
        return Close();
    if (!m_isOpen)
        return SetTicking(rows.IsTyping());
    i_Place();
    const Vec2<int> mouse = myGetMousePos();
    if (rows.IsDragged())
        rows.Drag(mouse.y);
    else if (mouse != m_lastMouse)
    {
        m_lastMouse = mouse;
        if (const int row = rows.FindRow(mouse); row >= 0)
            rows.SetCurrent(row);
    }
}

void GuiDropList::Render()
{
    const GuiStyleData& style = myGetStyle();
    const GuiRecti rect = GetRect();
    Draw& draw = myGetDraw();
    const Color color = IsLocked() ? style.textDisabled : style.text;
    myDrawButton(rect, myIsHoverWidget(), m_isOpen, IsLocked(), myIsFocusWidget());
    const int arrowRoom = kArrowSize + 2 * style.padding;
    const GuiRecti place(rect.x + style.padding, rect.y, std::max(rect.w - style.padding - arrowRoom, 0), rect.h);
    draw.PushClip(rect);
    myDrawArrow(static_cast<float>(rect.BR().x - arrowRoom / 2), static_cast<float>(rect.y + rect.h / 2), kArrowSize,
                color);
    draw.PushClip(place);
    if (m_selected >= 0)
        draw.Text(place.x, rect.y + (rect.h - draw.GetLineHeight(style.font)) / 2, GetItem(m_selected), color,
                  style.font);
    draw.PopClip();
    draw.PopClip();
}

void GuiDropList::RenderOverlay()
{
    if (!m_isOpen)
        return;
    i_Place();
    const GuiStyleData& style = myGetStyle();
    const GuiRecti list = i_GetList();
    Draw& draw = myGetDraw();
    draw.FillRect({list.x + kShadow, list.y + kShadow, list.w, list.h}, style.shadow);
    draw.FillRect(list, style.panel);
    myGetRows().Render(draw, style, {.marked = myGetRows().GetCurrent()});
    draw.FrameRect(list, style.border);
}

void GuiDropList::mySave(GuiStream& stream) const
{
    mySaveItems(stream, m_selected);
}

void GuiDropList::myLoad(GuiStream& stream)
{
    SetSelected(myLoadItems(stream));
}
} // namespace gui
