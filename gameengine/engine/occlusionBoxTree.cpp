#include "gameengine/engine/occlusionBoxTreeInternal.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>

using collision::PrimAABB;

namespace
{
constexpr float kEverywhere = 1.0e18F; // still finite when multiplied by a matrix
constexpr double kLoose = 1.6;
constexpr std::size_t kBins = 16;
constexpr int kMaxDepth = 40;

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

double GetArea(const PrimAABB& box)
{
    const CVector3 size = box.GetSize();
    const double x = size.x;
    const double y = size.y;
    const double z = size.z;
    return x * y + y * z + z * x;
}

struct Bin
{
    PrimAABB box;
    std::int32_t count = 0;

    void Add(const PrimAABB& other, std::int32_t number)
    {
        if (number > 0)
            box = count == 0 ? other : Join(box, other);
        count += number;
    }
    double GetCost() const { return count == 0 ? 0.0 : GetArea(box) * count; }
};

// The first bin of the right half.
std::size_t FindBestBin(const std::array<Bin, kBins>& bins)
{
    std::array<double, kBins> rightCosts{};
    Bin right;
    for (std::size_t i = kBins; i-- > 1;)
    {
        right.Add(bins[i].box, bins[i].count);
        rightCosts[i] = right.GetCost();
    }
    Bin left;
    std::size_t best = kBins / 2;
    double bestCost = std::numeric_limits<double>::infinity();
    for (std::size_t i = 1; i < kBins; ++i)
    {
        left.Add(bins[i - 1].box, bins[i - 1].count);
        const double cost = left.GetCost() + rightCosts[i];
        if (left.count > 0 && cost < bestCost)
        {
            bestCost = cost;
            best = i;
        }
    }
    return best;
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
        i_Build(boxes, 0, count, 0);
    m_builtArea = i_GetArea();
}

std::int32_t COcclusionBoxTree::i_Build(std::span<const PrimAABB> boxes, std::int32_t first, std::int32_t end,
                                        int depth)
{
    const auto index = static_cast<std::size_t>(m_nodes.size());
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
        const std::int32_t middle = i_Split(boxes, first, end, depth);
        i_Build(boxes, first, middle, depth + 1);
        node.first = i_Build(boxes, middle, end, depth + 1);
        node.box = Join(m_nodes[index + 1].box, m_nodes[static_cast<std::size_t>(node.first)].box);
    }
    m_nodes[index] = node;
    return static_cast<std::int32_t>(index);
}

// Divides the boxes, by the place of their centres along the set's longest side, so that the two halves get small
// surfaces: a node with a small one hides easily. What cannot be divided so, or was too often, is halved by number.
std::int32_t COcclusionBoxTree::i_Split(std::span<const PrimAABB> boxes, std::int32_t first, std::int32_t end,
                                        int depth)
{
    const std::span<Item> items(&m_items[static_cast<std::size_t>(first)], static_cast<std::size_t>(end - first));
    float low[3] = {kEverywhere, kEverywhere, kEverywhere};
    float high[3] = {-kEverywhere, -kEverywhere, -kEverywhere};
    for (const Item& item : items)
    {
        for (int axis = 0; axis < 3; ++axis)
        {
            low[axis] = std::min(low[axis], item.center[axis]);
            high[axis] = std::max(high[axis], item.center[axis]);
        }
    }
    int axis = 0;
    for (int other = 1; other < 3; ++other)
    {
        if (high[other] - low[other] > high[axis] - low[axis])
            axis = other;
    }
    const float scale = static_cast<float>(kBins) / (high[axis] - low[axis]);
    const auto findBin = [=](const Item& item)
    { return std::min(static_cast<std::size_t>((item.center[axis] - low[axis]) * scale), kBins - 1); };
    if (depth < kMaxDepth && scale > 0.0F && std::isfinite(scale))
    {
        std::array<Bin, kBins> bins;
        for (const Item& item : items)
            bins[findBin(item)].Add(MakeFinite(boxes[static_cast<std::size_t>(item.number)]), 1);
        const std::size_t best = FindBestBin(bins);
        const auto middle =
            std::partition(items.begin(), items.end(), [&](const Item& item) { return findBin(item) < best; });
        if (middle != items.begin() && middle != items.end())
            return first + static_cast<std::int32_t>(middle - items.begin());
    }
    // Equal centres by number, so that equal sets give equal trees everywhere.
    const std::int32_t middle = first + (end - first) / 2;
    std::nth_element(items.begin(), items.begin() + (middle - first), items.end(),
                     [axis](const Item& a, const Item& b) {
                         return a.center[axis] != b.center[axis] ? a.center[axis] < b.center[axis]
                                                                 : a.number < b.number;
                     });
    return middle;
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
        area += GetArea(node.box);
    return area;
}
