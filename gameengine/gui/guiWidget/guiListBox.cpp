#include "gameengine/gui/guiWidget/guiListBox.h"

#include "gameengine/gui/guiWidget/guiKey.h"
#include "gameengine/gui/guiWidget/guiStream.h"

#include <algorithm>

namespace gui
{
namespace
{
constexpr int kWheelRows = 3;
constexpr float kScrollPause = 0.04F; // seconds for a row
} // namespace

int GuiListBox::GetSelected() const
{
    const int current = myGetRows().GetCurrent();
    if (IsSelected(current))
        return current;
    const auto first = std::find(m_chosen.begin(), m_chosen.end(), true);
    return first != m_chosen.end() ? static_cast<int>(first - m_chosen.begin()) : -1;
}

bool GuiListBox::SetSelected(int index)
{
    if (index != -1 && !myGetRows().HasRow(index))
        return false;
    std::fill(m_chosen.begin(), m_chosen.end(), false);
    if (index >= 0)
        m_chosen[static_cast<std::size_t>(index)] = true;
    m_start = index;
    myGetRows().SetCurrent(index);
    Redraw();
    return true;
}

bool GuiListBox::IsSelected(int index) const
{
    return myGetRows().HasRow(index) && m_chosen[static_cast<std::size_t>(index)];
}

std::vector<int> GuiListBox::GetSelection() const
{
    std::vector<int> selection;
    for (std::size_t i = 0; i < m_chosen.size(); ++i)
    {
        if (m_chosen[i])
            selection.push_back(static_cast<int>(i));
    }
    return selection;
}

void GuiListBox::SetSelectsSeveral(bool selectsSeveral)
{
    if (m_selectsSeveral && !selectsSeveral)
        SetSelected(GetSelected());
    m_selectsSeveral = selectsSeveral;
}

bool GuiListBox::SetItemSelected(int index, bool selected)
{
    if (!m_selectsSeveral || !myGetRows().HasRow(index))
        return false;
    m_chosen[static_cast<std::size_t>(index)] = selected;
    Redraw();
    return true;
}

void GuiListBox::myOnInserted(int index)
{
    m_chosen.insert(m_chosen.begin() + index, false);
    if (index <= m_start)
        ++m_start;
}

void GuiListBox::myOnRemoved(int index)
{
    m_chosen.erase(m_chosen.begin() + index);
    if (index < m_start || m_start == GetItemCount())
        --m_start;
}

void GuiListBox::myOnReplaced()
{
    m_chosen.assign(static_cast<std::size_t>(GetItemCount()), false);
    m_start = -1;
}

void GuiListBox::myStop()
{
    m_press = Press::None;
    m_hovered = -1;
    myGetRows().EndDrag();
    myGetRows().EndTyping();
    myReleaseInput();
    SetTicking(false);
}

void GuiListBox::OnKeyPress(unsigned key)
{
    if (!myIsUsable() || m_press != Press::None)
        return;
    i_Place();
    GuiItemRows& rows = myGetRows();
    const unsigned modifiers = GetContext().GetModifiers();
    const bool isControl = (modifiers & kGuiControl) != 0;
    const int target = (modifiers & kGuiAlt) == 0 ? rows.FindKeyTarget(key) : -1;
    const int selected = GetSelected();
    if (target >= 0)
        i_OnKeyTarget(target, modifiers);
    else if (key == kGuiKeyEnter && selected >= 0)
        i_Confirm(selected);
    else if (key == 'A' && isControl && m_selectsSeveral)
        i_SelectAll();
    else if (key == kGuiKeySpace && isControl && m_selectsSeveral)
        i_Toggle(rows.GetCurrent());
    else if (!myIsTyped(key))
        myPassKey(key);
    else if (key == kGuiKeySpace && !rows.IsTyping())
        i_Choose(rows.GetCurrent(), false, true);
}

void GuiListBox::i_OnKeyTarget(int row, unsigned modifiers)
{
    myGetRows().EndTyping();
    const bool extends = m_selectsSeveral && (modifiers & kGuiShift) != 0;
    if (!m_selectsSeveral || extends || (modifiers & kGuiControl) == 0)
        return i_Choose(row, extends, true);
    myGetRows().SetCurrent(row);
    Redraw();
}

void GuiListBox::OnKeyChar(unsigned character)
{
    if (!myIsUsable() || m_press != Press::None)
        return;
    const int row = myGetRows().Type(character);
    if (row >= 0)
        i_Choose(row, false, true);
    SetTicking(true);
}

void GuiListBox::OnMouseClick(unsigned button)
{
    const bool isWheel = button == kGuiMouseWheelUp || button == kGuiMouseWheelDown;
    i_Place();
    GuiItemRows& rows = myGetRows();
    if (isWheel && myIsUsable() && rows.Scroll(button == kGuiMouseWheelUp ? -kWheelRows : kWheelRows))
        return Redraw();
    if (button != kGuiMouseLeft)
        return myPassClick(button);
    if (!myIsHoverWidget() || !myIsUsable())
        return;
    myGrabInput();
    myGrabFocus();
    rows.EndTyping();
    m_lastMouse = myGetMousePos();
    m_pause = 0.0F;
    if (rows.BeginDrag(m_lastMouse))
        m_press = Press::ScrollBar;
    else
        i_ClickRow(rows.FindRow(m_lastMouse));
    SetTicking(true);
    Redraw();
}

void GuiListBox::i_ClickRow(int row)
{
    const unsigned modifiers = GetContext().GetModifiers();
    const bool extends = m_selectsSeveral && (modifiers & kGuiShift) != 0;
    const bool toggles = m_selectsSeveral && !extends && (modifiers & kGuiControl) != 0;
    m_press = toggles ? Press::Nothing : Press::Selection;
    if (row < 0)
    {
        m_start = extends ? m_start : -1;
        return;
    }
    const bool isSame = row == GetSelected();
    if (toggles)
        return i_Toggle(row);
    i_Choose(row, extends, false);
    if (isSame && GetContext().GetClickCount() == 2)
        i_Confirm(row);
}

void GuiListBox::OnMouseRelease(unsigned button)
{
    if (button != kGuiMouseLeft || m_press == Press::None)
        return;
    i_Place();
    i_Drag(0.0F);
    myStop();
    Redraw();
}

void GuiListBox::Tick(float seconds)
{
    i_Place();
    GuiItemRows& rows = myGetRows();
    rows.Tick(seconds);
    if (m_press != Press::None && !myIsInputWidget())
        myStop();
    if (m_press != Press::None)
        i_Drag(seconds);
    const int hovered = m_hovered;
    i_UpdateHover();
    if (hovered != m_hovered)
        Redraw();
    if (m_press == Press::None && !rows.IsTyping() && !myIsHoverWidget())
        SetTicking(false);
}

void GuiListBox::i_Drag(float seconds)
{
    GuiItemRows& rows = myGetRows();
    const Vec2<int> mouse = myGetMousePos();
    if (m_press == Press::ScrollBar && rows.Drag(mouse.y))
        Redraw();
    if (m_press != Press::Selection)
        return;
    const bool isBeyond = rows.IsBeyond(mouse.y);
    // A mouse that stays where it is may get another row under it; that is not meant.
    if (!isBeyond && mouse == m_lastMouse)
        return;
    m_pause -= seconds;
    if (isBeyond && m_pause > 0.0F)
        return;
    m_pause = isBeyond ? kScrollPause : 0.0F;
    m_lastMouse = mouse;
    const int row = rows.FindDragRow(mouse.y);
    if (row >= 0 && row != rows.GetCurrent())
        i_Choose(row, m_selectsSeveral, isBeyond);
}

// Nobody tells of a mouse that moves, so it is looked for while it is here.
void GuiListBox::i_UpdateHover()
{
    const bool isHere = myIsHoverWidget() && myIsUsable();
    m_hovered = isHere && !myGetRows().IsDragged() ? myGetRows().FindRow(myGetMousePos()) : -1;
    if (isHere)
        SetTicking(true);
}

void GuiListBox::Render()
{
    i_Place();
    i_UpdateHover();
    const GuiStyleData& style = myGetStyle();
    const GuiRecti rect = GetRect();
    Draw& draw = myGetDraw();
    draw.FillRect(rect, style.panel);
    myGetRows().Render(
        draw, style,
        {.chosen = &m_chosen, .hovered = m_hovered, .isLocked = IsLocked(), .isFocused = myIsFocusWidget()});
    draw.FrameRect(rect, myIsFocusWidget() && !IsLocked() ? style.accent : style.border);
}

void GuiListBox::i_Confirm(int row)
{
    if (!GetContext().IsKeyRepeated())
        myEmitSelected(row, true);
}

void GuiListBox::i_Choose(int row, bool extends, bool show)
{
    if (row < 0)
        return;
    if (!extends || m_start < 0)
        m_start = row;
    std::vector<bool> chosen(m_chosen.size());
    std::fill(chosen.begin() + std::min(row, m_start), chosen.begin() + std::max(row, m_start) + 1, true);
    myGetRows().SetCurrent(row, show);
    Redraw();
    if (chosen == m_chosen)
        return;
    m_chosen.swap(chosen);
    myEmitSelected(GetSelected(), false);
}

void GuiListBox::i_Toggle(int row)
{
    if (row < 0 || GetContext().IsKeyRepeated())
        return;
    m_start = row;
    myGetRows().SetCurrent(row, false);
    m_chosen[static_cast<std::size_t>(row)].flip();
    Redraw();
    myEmitSelected(GetSelected(), false);
}

void GuiListBox::i_SelectAll()
{
    if (std::find(m_chosen.begin(), m_chosen.end(), false) == m_chosen.end())
        return;
    std::fill(m_chosen.begin(), m_chosen.end(), true);
    Redraw();
    myEmitSelected(GetSelected(), false);
}

void GuiListBox::mySave(GuiStream& stream) const
{
    mySaveItems(stream, GetSelected());
    stream.WriteInteger(m_selectsSeveral ? 1 : 0);
}

void GuiListBox::myLoad(GuiStream& stream)
{
    SetSelected(myLoadItems(stream));
    if (int several = 0; stream.ReadInteger(several))
        SetSelectsSeveral(several != 0);
}
} // namespace gui
