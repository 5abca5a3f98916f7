#include "gameengine/gui/guiWidget/guiTextEdit.h"

#include <algorithm>

namespace gui
{
namespace
{
constexpr int kShortestHandle = 16;
constexpr int kWheelLines = 3;

// A part of a number, without overflow.
int Scale(int number, int part, int whole)
{
    return whole > 0 ? static_cast<int>(static_cast<std::int64_t>(number) * part / whole) : 0;
}
} // namespace

GuiTextEditBox::Panes GuiTextEditBox::i_GetPanes() const
{
    const GuiRecti rect = GetRect();
    const GuiStyleData& style = myGetStyle();
    const Vec2<int> content = myGetContentSize();
    const int bar = style.scrollBarSize;
    const Vec2<int> inner{std::max(rect.w - 2, 0), std::max(rect.h - 2, 0)};
    const Vec2<int> room{inner.x - 2 * style.padding, inner.y - 2 * style.padding};
    // A bar takes from the other's room.
    bool isTall = content.y > room.y;
    const bool isWide = content.x > room.x - (isTall ? bar : 0);
    isTall = isTall || (isWide && content.y > room.y - bar);
    const int right = isTall ? bar : 0;
    const int below = isWide ? bar : 0;
    Panes panes;
    panes.text = {rect.x + 1 + style.padding, rect.y + 1 + style.padding, std::max(room.x - right, 0),
                  std::max(room.y - below, 0)};
    if (isWide)
        panes.bars[0] = {rect.x + 1, rect.y + 1 + inner.y - bar, std::max(inner.x - right, 0), bar};
    if (isTall)
        panes.bars[1] = {rect.x + 1 + inner.x - bar, rect.y + 1, bar, std::max(inner.y - below, 0)};
    return panes;
}

GuiRecti GuiTextEditBox::myGetTextRect() const
{
    return i_GetPanes().text;
}

GuiRecti GuiTextEditBox::i_GetHandle(std::size_t axis, const Panes& panes) const
{
    GuiRecti handle = panes.bars[axis];
    const int track = handle.Size()[axis];
    const int seen = panes.text.Size()[axis];
    const int content = myGetContentSize()[axis];
    const int length = std::clamp(Scale(track, seen, content), std::min(kShortestHandle, track), track);
    (axis == 0 ? handle.x : handle.y) += Scale(track - length, myGetScroll()[axis], content - seen);
    (axis == 0 ? handle.w : handle.h) = length;
    return handle;
}

bool GuiTextEditBox::myOnPressed()
{
    const Panes panes = i_GetPanes();
    const Vec2<int> mouse = myGetMousePos();
    for (std::size_t axis = 0; axis < kNone; ++axis)
    {
        if (!panes.bars[axis].Holds(mouse))
            continue;
        const GuiRecti handle = i_GetHandle(axis, panes);
        const int length = handle.Size()[axis];
        m_barGrip = mouse[axis] - (axis == 0 ? handle.x : handle.y);
        if (m_barGrip < 0 || m_barGrip >= length) // beside it: it comes
            m_barGrip = length / 2;
        m_dragged = axis;
        i_FollowHandle();
        return true;
    }
    return false;
}

void GuiTextEditBox::i_FollowHandle()
{
    const Panes panes = i_GetPanes();
    const GuiRecti bar = panes.bars[m_dragged];
    const int start = m_dragged == 0 ? bar.x : bar.y;
    const int room = bar.Size()[m_dragged] - i_GetHandle(m_dragged, panes).Size()[m_dragged];
    const int offset = std::clamp(myGetMousePos()[m_dragged], start, start + bar.Size()[m_dragged]) - start - m_barGrip;
    Vec2<int> scroll = myGetScroll();
    scroll[m_dragged] = Scale(myGetContentSize()[m_dragged] - panes.text.Size()[m_dragged], offset, room);
    myScrollTo(scroll);
}

void GuiTextEditBox::OnMouseRelease(unsigned button)
{
    if (button == kGuiMouseLeft && m_dragged != kNone)
        i_FollowHandle();
    GuiTextEdit::OnMouseRelease(button);
}

void GuiTextEditBox::myStopDragging()
{
    if (m_dragged != kNone)
        Redraw();
    m_dragged = kNone;
    GuiTextEdit::myStopDragging();
}

void GuiTextEditBox::Tick(float seconds)
{
    if (m_dragged != kNone && myIsInputWidget())
        i_FollowHandle();
    GuiTextEdit::Tick(seconds);
}

bool GuiTextEditBox::myOnWheel(int direction)
{
    Vec2<int> scroll = myGetScroll();
    const bool isAcross = (GetContext().GetModifiers() & kGuiShift) != 0;
    (isAcross ? scroll.x : scroll.y) += direction * kWheelLines * myGetLineHeight();
    return myScrollTo(scroll);
}

bool GuiTextEditBox::myOnKey(unsigned key)
{
    const unsigned modifiers = GetContext().GetModifiers();
    const bool isPlain = (modifiers & (kGuiControl | kGuiAlt)) == 0;
    if (!isPlain)
        return false;
    const bool isWritable = (GetFlags() & kTextReadOnly) == 0;
    const int page = std::max(myGetTextRect().h / myGetLineHeight() - 1, 1);
    switch (key)
    {
    case kGuiKeyUp: myMoveLines(-1); return true;
    case kGuiKeyDown: myMoveLines(1); return true;
    case kGuiKeyPageUp: myMoveLines(-page); return true;
    case kGuiKeyPageDown: myMoveLines(page); return true;
    case kGuiKeyEnter: myType('\n'); return isWritable;
    case kGuiKeyTab:
        // Only comes here when Tab is a character.
        if ((modifiers & kGuiShift) != 0)
            GetContext().MoveFocus(-1);
        else
            myType('\t');
        return true;
    default: return false;
    }
}

void GuiTextEditBox::Render()
{
    GuiTextEdit::Render();
    const GuiStyleData& style = myGetStyle();
    const Panes panes = i_GetPanes();
    for (std::size_t axis = 0; axis < kNone; ++axis)
    {
        if (panes.bars[axis].w <= 0 || panes.bars[axis].h <= 0)
            continue;
        myGetDraw().FillRoundRect(panes.bars[axis], style.radius, style.background);
        myDrawButton(i_GetHandle(axis, panes), false, m_dragged == axis, IsLocked(), false);
    }
}
} // namespace gui
