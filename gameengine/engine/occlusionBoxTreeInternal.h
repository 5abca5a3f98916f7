#pragma once

#include "tamradeps/collision/primAABB.h"

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

/// A binary tree over a set of boxes: each node's box holds those of its children, each leaf has up to `kLeafBoxes`
/// boxes. Nodes lie in the order of a walk that goes left first; node 0 is the root.
class COcclusionBoxTree
{
public:
    static constexpr std::int32_t kLeafBoxes = 4;

    struct Node
    {
        collision::PrimAABB box;
        std::int32_t first = 0; ///< Of a leaf: its first place in `GetOrder`. Else the right child.
        std::int32_t count = 0; ///< Boxes of a leaf, 0 for others, whose left child is the next node.
        bool IsLeaf() const noexcept { return count > 0; }
    };

    /// Builds the tree anew, some 100 ms for 100,000 boxes. Boxes that are not finite make their leaf reach everywhere.
    void Build(std::span<const collision::PrimAABB> boxes);
    /// Fits the nodes to boxes that moved. False when the tree has become so loose that building it anew pays.
    bool Refit(std::span<const collision::PrimAABB> boxes);

    std::span<const Node> GetNodes() const noexcept { return m_nodes; }
    /// The boxes' numbers, leaf by leaf.
    std::span<const std::int32_t> GetOrder() const noexcept { return m_order; }

private:
    struct Item
    {
        float center[3];
        std::int32_t number;
    };

    std::int32_t i_Build(std::span<const collision::PrimAABB> boxes, std::int32_t first, std::int32_t end, int depth);
    std::int32_t i_Split(std::span<const collision::PrimAABB> boxes, std::int32_t first, std::int32_t end, int depth);
    collision::PrimAABB i_MakeLeafBox(std::span<const collision::PrimAABB> boxes, const Node& leaf) const;
    double i_GetArea() const;

    std::vector<Node> m_nodes;
    std::vector<std::int32_t> m_order;
    std::vector<Item> m_items; // while building
    double m_builtArea = 0.0;
};
