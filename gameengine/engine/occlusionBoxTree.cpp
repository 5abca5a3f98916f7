#include "gameengine/engine/occlusionBoxTreeInternal.h"

#include <algorithm>
#include <cmath>

using collision::PrimAABB;

namespace
{
constexpr float kEverywhere = 1.0e18F; // still finite when multiplied by a matrix
constexpr double kLoose = 1.6;

PrimAABB Join(const PrimAABB& a, const PrimAABB& b)
{
    const CVector3 low(std::min(a.GetMin().x, b.GetMin().x), std::min(a.GetMin().y, b.GetMin().y),
                       std::min(a.GetMin().z, b.GetMin().z));
    const CVector3 high(std::max(a.GetMax().x, b.GetMax().x), std::max(a.GetMax().y, b.GetMax().y),
                        std::max(a.GetMax().z, b.GetMax().z));
    return {low, high};
}

// A box of which the numbers can be compared, at least as large as the given one.
PrimAABB MakeFinite(const PrimAABB& box)
{
    float values[6];
    for (int i = 0; i < 6; ++i)
    {
        const float value = box.GetFloats()[i];
        if (std::isnan(value))
            return {{-kEverywhere, -kEverywhere, -kEverywhere}, {kEverywhere, kEverywhere, kEverywhere}};
        values[i] = std::clamp(value, -kEverywhere, kEverywhere);
    }
    return PrimAABB(values);
}
} // namespace

void COcclusionBoxTree::Build(std::span<const PrimAABB> boxes)
{
    const auto count = static_cast<std::int32_t>(boxes.size());
    m_nodes.clear();
    m_order.resize(boxes.size());
    m_items.resize(boxes.size());
    for (std::int32_t i = 0; i < count; ++i)
    {
        const CVector3 center = MakeFinite(boxes[static_cast<std::size_t>(i)]).GetCenter();
        m_items[static_cast<std::size_t>(i)] = {{center.x, center.y, center.z}, i};
    }
    if (count > 0)
        i_Build(boxes, 0, count);
    m_builtArea = i_GetArea();
}

// Halves the set across its longest side, so that the depth is that of a full tree whatever the boxes are.
std::int32_t COcclusionBoxTree::i_Build(std::span<const PrimAABB> boxes, std::int32_t first, std::int32_t end)
{
    const auto index = static_cast<std::int32_t>(m_nodes.size());
    m_nodes.emplace_back();
    Node node;
    if (end - first <= kLeafBoxes)
    {
        node.first = first;
        node.count = end - first;
        for (std::int32_t i = first; i < end; ++i)
            m_order[static_cast<std::size_t>(i)] = m_items[static_cast<std::size_t>(i)].number;
        node.box = i_MakeLeafBox(boxes, node);
    }
    else
    {
        float low[3] = {kEverywhere, kEverywhere, kEverywhere};
        float high[3] = {-kEverywhere, -kEverywhere, -kEverywhere};
        for (std::int32_t i = first; i < end; ++i)
        {
            for (int axis = 0; axis < 3; ++axis)
            {
                low[axis] = std::min(low[axis], m_items[static_cast<std::size_t>(i)].center[axis]);
                high[axis] = std::max(high[axis], m_items[static_cast<std::size_t>(i)].center[axis]);
            }
        }
        int axis = 0;
        for (int other = 1; other < 3; ++other)
        {
            if (high[other] - low[other] > high[axis] - low[axis])
                axis = other;
        }
        const std::int32_t middle = first + (end - first) / 2;
        // Equal centres by number, so that equal sets give equal trees everywhere.
        std::nth_element(m_items.begin() + first, m_items.begin() + middle, m_items.begin() + end,
                         [axis](const Item& a, const Item& b) {
                             return a.center[axis] != b.center[axis] ? a.center[axis] < b.center[axis]
                                                                     : a.number < b.number;
                         });
        const std::int32_t left = i_Build(boxes, first, middle);
        node.first = i_Build(boxes, middle, end);
        node.box = Join(m_nodes[static_cast<std::size_t>(left)].box, m_nodes[static_cast<std::size_t>(node.first)].box);
    }
    m_nodes[static_cast<std::size_t>(index)] = node;
    return index;
}

PrimAABB COcclusionBoxTree::i_MakeLeafBox(std::span<const PrimAABB> boxes, const Node& leaf) const
{
    PrimAABB box;
    for (std::int32_t i = 0; i < leaf.count; ++i)
    {
        const auto number = static_cast<std::size_t>(m_order[static_cast<std::size_t>(leaf.first + i)]);
        const PrimAABB other = MakeFinite(boxes[number]);
        box = i == 0 ? other : Join(box, other);
    }
    return box;
}

bool COcclusionBoxTree::Refit(std::span<const PrimAABB> boxes)
{
    // Children lie behind their parents.
    for (std::size_t i = m_nodes.size(); i-- > 0;)
    {
        Node& node = m_nodes[i];
        node.box = node.IsLeaf() ? i_MakeLeafBox(boxes, node)
                                 : Join(m_nodes[i + 1].box, m_nodes[static_cast<std::size_t>(node.first)].box);
    }
    return i_GetArea() <= m_builtArea * kLoose;
}

double COcclusionBoxTree::i_GetArea() const
{
    double area = 0.0;
    for (const Node& node : m_nodes)
    {
        const CVector3 size = node.box.GetSize();
        area += static_cast<double>(size.x) * static_cast<double>(size.y) +
                static_cast<double>(size.y) * static_cast<double>(size.z) +
                static_cast<double>(size.z) * static_cast<double>(size.x);
    }
    return area;
}
