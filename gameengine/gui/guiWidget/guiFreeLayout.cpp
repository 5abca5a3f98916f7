#include "gameengine/gui/guiWidget/guiLayout.h"

#include <algorithm>

namespace gui
{
namespace
{
// Takes the docked widget's edge off what is left.
GuiRectf TakeDocked(GuiDock dock, Vec2<float> wanted, GuiRectf& left)
{
    left.w = std::max(left.w, 0.0F);
    left.h = std::max(left.h, 0.0F);
    GuiRectf rect = left;
    switch (dock)
    {
    case GuiDock::Left:
        rect.w = std::clamp(wanted.x, 0.0F, left.w);
        left.x += rect.w;
        left.w -= rect.w;
        break;
    case GuiDock::Right:
        rect.w = std::clamp(wanted.x, 0.0F, left.w);
        rect.x = left.x + left.w - rect.w;
        left.w -= rect.w;
        break;
    case GuiDock::Top:
        rect.h = std::clamp(wanted.y, 0.0F, left.h);
        left.y += rect.h;
        left.h -= rect.h;
        break;
    case GuiDock::Bottom:
        rect.h = std::clamp(wanted.y, 0.0F, left.h);
        rect.y = left.y + left.h - rect.h;
        left.h -= rect.h;
        break;
    case GuiDock::None:
    case GuiDock::Center: break;
    }
    return rect;
}

// One axis of an anchored widget, when the room that was [oldStart, oldStart + oldSize) becomes another.
void MoveAnchored(bool low, bool high, float oldStart, float oldSize, float newStart, float newSize, float& start,
                  float& size)
{
    const float growth = newSize - oldSize;
    float moved = start - oldStart;
    if (low && high)
        size = std::max(size + growth, 0.0F);
    else if (high)
        moved += growth;
    else if (!low && oldSize > 0.0F)
        moved = (moved + size * 0.5F) * newSize / oldSize - size * 0.5F;
    start = newStart + moved;
}
} // namespace

GuiFreeLayout::GuiFreeLayout(GuiContext& context, GuiStyle style, const GuiRecti& rect, GuiSizePolicy sizePolicy)
    : GuiLayoutMulti(context, style, rect, sizePolicy)
{
}

void GuiFreeLayout::OnUpdateLayout(const GuiRectf& rect)
{
    GuiLayoutMulti::OnUpdateLayout(rect);
    // Children are placed for the rectangle that they are put into, such as that of a file.
    if (GetChildCount() == 0 && rect.w > 0.0F && rect.h > 0.0F)
    {
        m_lastRect = rect;
        m_hasLast = true;
    }
}

GuiWidget* GuiFreeLayout::AddChild(std::unique_ptr<GuiWidget> child)
{
    // It stands where it shall stand in the room of now, and those that are there are still to follow to that.
    const GuiRecti room = GetContainingRect();
    if (m_hasLast && GetChildCount() > 0 && room.w > 0 && room.h > 0 && ToFloat(room) != m_lastRect)
        AdjustLayout();
    return GuiLayoutMulti::AddChild(std::move(child));
}

std::unique_ptr<GuiWidget> GuiFreeLayout::RemoveChild(GuiWidget* child)
{
    m_anchored.erase(child);
    return GuiLayoutMulti::RemoveChild(child);
}

void GuiFreeLayout::AdjustLayout()
{
    const GuiRectf now = ToFloat(GetContainingRect());
    const GuiRectf before = m_hasLast ? m_lastRect : now;
    GuiRectf left = now;
    for (std::size_t i = 0; i < GetChildCount(); ++i)
    {
        GuiWidget& child = *GetChild(i);
        if (child.GetDockingPosition() == GuiDock::None)
            i_PlaceAnchored(child, before, now);
        else if (child.IsVisible()) // what is not seen takes no room
            child.PlaceAt(TakeDocked(child.GetDockingPosition(), child.GetPreferredSize(), left));
    }
    m_lastRect = now;
    m_hasLast = true;
}

void GuiFreeLayout::i_PlaceAnchored(GuiWidget& child, const GuiRectf& before, const GuiRectf& now)
{
    const std::uint32_t mask = child.GetAnchorMask();
    GuiRectf rect = child.GetLayoutRect();
    if (mask == (kAnchorLeft | kAnchorTop))
    {
        rect.x += now.x - before.x;
        rect.y += now.y - before.y;
        child.PlaceAt(rect);
        return;
    }
    // From where it was put, and not from where it came by resizing: nothing is left when there is no room for it.
    const auto [entry, isNew] = m_anchored.try_emplace(&child);
    Anchored& anchored = entry->second;
    if (isNew || rect != anchored.placed || mask != anchored.mask)
        anchored = {mask, before, rect, rect};
    rect = anchored.rect;
    const GuiRectf& start = anchored.room;
    MoveAnchored((mask & kAnchorLeft) != 0, (mask & kAnchorRight) != 0, start.x, start.w, now.x, now.w, rect.x, rect.w);
    MoveAnchored((mask & kAnchorTop) != 0, (mask & kAnchorBottom) != 0, start.y, start.h, now.y, now.h, rect.y, rect.h);
    anchored.placed = rect;
    child.PlaceAt(rect);
}
} // namespace gui
