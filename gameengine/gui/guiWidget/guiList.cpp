#include "gameengine/gui/guiWidget/guiList.h"

#include <algorithm>

namespace gui
{
namespace
{
std::int32_t GetPolicy(const GuiWidget& widget, std::size_t axis)
{
    const GuiSizePolicy policy = widget.GetSizePolicy();
    return axis == 0 ? policy.horizontal : policy.vertical;
}

float GetAcross(const GuiWidget& child, std::size_t axis, float room)
{
    const std::int32_t policy = GetPolicy(child, axis);
    const float preferred = child.GetPreferredSize()[axis];
    if ((policy & (kSizeGrow | kSizeExpand)) != 0 && preferred < room)
        return room;
    if ((policy & kSizeShrink) != 0 && preferred > room)
        return std::max(room, std::min(child.GetMinimumSize()[axis], preferred));
    return preferred;
}
} // namespace

GuiRecti GuiList::GetContainingRect() const
{
    const int padding = myGetStyle().padding;
    const GuiRecti rect = GetRect();
    return {rect.x + padding, rect.y + padding, std::max(rect.w - 2 * padding, 0), std::max(rect.h - 2 * padding, 0)};
}

void GuiList::AdjustLayout()
{
    const GuiRecti room = GetContainingRect();
    const Vec2<float> size = ToFloat(room).Size();
    const auto spacing = static_cast<float>(myGetStyle().spacing);
    m_parts.clear();
    float total = 0.0F;
    for (const std::unique_ptr<GuiWidget>& child : myGetChildren())
    {
        if (!child->IsVisible())
            continue;
        const float preferred = std::max(child->GetPreferredSize()[m_axis], child->GetMinimumSize()[m_axis]);
        total += preferred + (m_parts.empty() ? 0.0F : spacing);
        m_parts.push_back({child.get(), preferred, GetPolicy(*child, m_axis)});
    }
    if (total < size[m_axis])
        i_Distribute(size[m_axis] - total);
    else if (total > size[m_axis])
        i_Shrink(total - size[m_axis]);

    Vec2<float> place{static_cast<float>(room.x), static_cast<float>(room.y)};
    for (const Part& part : m_parts)
    {
        Vec2<float> partSize;
        partSize[m_axis] = part.size;
        partSize[1 - m_axis] = GetAcross(*part.child, 1 - m_axis, size[1 - m_axis]);
        part.child->PlaceAt(GuiRectf(place, partSize));
        place[m_axis] += part.size + spacing;
    }
}

void GuiList::i_Distribute(float spare)
{
    for (const std::int32_t bit : {kSizeExpand, kSizeGrow})
    {
        // Who prefers nothing counts as a pixel, so that it gets its share.
        float weights = 0.0F;
        for (const Part& part : m_parts)
            weights += (part.policy & bit) != 0 ? std::max(part.size, 1.0F) : 0.0F;
        if (weights == 0.0F)
            continue;
        for (Part& part : m_parts)
        {
            if ((part.policy & bit) != 0)
                part.size += spare * std::max(part.size, 1.0F) / weights;
        }
        return;
    }
}

void GuiList::i_Shrink(float missing)
{
    const auto getSlack = [this](const Part& part)
    {
        const bool mayShrink = (part.policy & kSizeShrink) != 0;
        return mayShrink ? std::max(part.size - part.child->GetMinimumSize()[m_axis], 0.0F) : 0.0F;
    };
    float slack = 0.0F;
    for (const Part& part : m_parts)
        slack += getSlack(part);
    if (slack == 0.0F)
        return;
    const float share = std::min(missing / slack, 1.0F);
    for (Part& part : m_parts)
        part.size -= getSlack(part) * share;
}
} // namespace gui
