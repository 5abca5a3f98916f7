#include "gameengine/engine/aabbOctree.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <limits>
#include <memory>
#include <new>
#include <utility>

namespace
{
constexpr int kChildren = 8;
constexpr int kDeepest = 127; // a depth is eight bits

std::size_t ToPoolCount(int count) noexcept
{
    return count < 1 ? 1 : static_cast<std::size_t>(count);
}

// Bare memory, null when there is not that much.
CAABBOctreeNode* AllocateNodes(int count) noexcept
{
    const std::uint64_t size = static_cast<std::uint64_t>(std::max(count, 0)) * sizeof(CAABBOctreeNode);
    if (size > std::numeric_limits<std::size_t>::max() / 2)
        return nullptr;
    return static_cast<CAABBOctreeNode*>(std::malloc(static_cast<std::size_t>(size)));
}

// The children of a box beyond all numbers have sides that are NaN.
bool IsSameBox(const collision::PrimAABB& a, const collision::PrimAABB& b) noexcept
{
    return std::equal(a.GetFloats(), a.GetFloats() + 6, b.GetFloats(),
                      [](float x, float y) { return x == y || (std::isnan(x) && std::isnan(y)); });
}
} // namespace

struct CAABBOctree::ObjectCallback : CAABBOctree::walkCallback
{
    CAABBOctree* octree;
    void* object;
    bool result;
};

int CAABBOctreeNode::CountObjects() const noexcept
{
    int count = 0;
    for (const SpatialObjectOctree* record = objects; record; record = record->next)
        ++count;
    return count;
}

void CAABBOctreeNode::i_AppendObject(SpatialObjectOctree* record) noexcept
{
    record->next = objects;
    objects = record;
}

bool CAABBOctreeNode::i_RemoveObject(CAABBOctree* octree, const void* object) noexcept
{
    for (SpatialObjectOctree** place = &objects; SpatialObjectOctree* const record = *place; place = &record->next)
    {
        if (record->object != object)
            continue;
        *place = record->next;
        octree->i_DeallocateObject(record);
        return true;
    }
    return false;
}

CAABBOctree::CAABBOctree(const collision::PrimAABB& bounds, int maxNodes, int poolBlockCount, int maxDepth,
                         int maxObjectsPerNode)
    : CAABBOctreeNode(bounds),
      m_objectPool(sizeof(SpatialObjectOctree), ToPoolCount(poolBlockCount)),
      m_nodeArray(AllocateNodes(maxNodes)),
      m_nextFreeNode(m_nodeArray.get()),
      m_maxDepth(std::min(maxDepth, kDeepest)),
      m_maxObjectsPerNode(maxObjectsPerNode),
      m_maxNodes(m_nodeArray ? std::max(maxNodes, 0) : 0),
      m_poolBlockCount(poolBlockCount)
{
}

CAABBOctree::~CAABBOctree() = default;

void CAABBOctree::i_Walk(const collision::PrimAABB& box, CAABBOctreeNode* node, walkCallback& callback)
{
    if (!node->children)
    {
        callback.function(&callback, node);
        return;
    }
    CAABBOctreeNode* const children = node->children;
    for (int i = 0; i < kChildren; ++i)
    {
        if (children[i].Test(box))
            i_Walk(box, &children[i], callback);
    }
}

bool CAABBOctree::AddObject(const float* box, void* object, CAABBOctreeNode* start)
{
    ObjectCallback callback{{&i_AddObject_Callback, nullptr}, this, object, false};
    i_Walk(collision::PrimAABB(box), start, callback);
    return callback.result;
}

bool CAABBOctree::RemoveObject(const float* box, void* object, CAABBOctreeNode* start)
{
    ObjectCallback callback{{&i_RemoveObject_Callback, nullptr}, this, object, false};
    i_Walk(collision::PrimAABB(box), start, callback);
    return callback.result;
}

void CAABBOctree::i_AddObject_Callback(walkCallback* callback, CAABBOctreeNode* leaf)
{
    auto* const context = static_cast<ObjectCallback*>(callback);
    context->result = true;
    SpatialObjectOctree* const record = context->octree->i_AllocateObject();
    record->object = context->object;
    leaf->i_AppendObject(record);
    // A leaf that may not split may be long: it is not counted. Nor is one longer than need be known.
    if (leaf->depth >= context->octree->m_maxDepth)
        return;
    std::int64_t left = context->octree->m_maxObjectsPerNode;
    for (const SpatialObjectOctree* other = leaf->objects; other; other = other->next)
    {
        if (--left < 0)
        {
            context->octree->Subdivide(leaf);
            return;
        }
    }
}

void CAABBOctree::i_RemoveObject_Callback(walkCallback* callback, CAABBOctreeNode* leaf)
{
    const auto* const context = static_cast<ObjectCallback*>(callback);
    if (!leaf->i_RemoveObject(context->octree, context->object))
        std::abort();
}

void CAABBOctree::i_SetChildBox(const CAABBOctreeNode& node, int child, CAABBOctreeNode& out) noexcept
{
    const CVector3 half = node.GetSize() * 0.5F;
    const CVector3 offset(half.x * static_cast<float>(child & 1), half.y * static_cast<float>(child >> 1 & 1),
                          half.z * static_cast<float>(child >> 2 & 1));
    const CVector3 minimum = node.GetMin() + offset;
    out.SetMinMax(minimum, minimum + half);
}

void CAABBOctree::Subdivide(CAABBOctreeNode* node)
{
    if (node->children || node->depth == kDeepest)
        return;
    node->children = i_Allocate8Node();
    for (int i = 0; i < kChildren; ++i)
    {
        node->children[i].depth = static_cast<std::int8_t>(node->depth + 1);
        i_SetChildBox(*node, i, node->children[i]);
    }
    SpatialObjectOctree* const list = std::exchange(node->objects, nullptr);
    for (const SpatialObjectOctree* record = list; record; record = record->next)
    {
        ObjectCallback callback{{&i_AddObject_Callback, nullptr}, this, record->object, false};
        i_Walk(collision::PrimAABB(record->box), node, callback);
    }
    i_DeallocateObjectsInNode(list);
}

CAABBOctreeNode* CAABBOctree::FindBestFitNodeAABB(const collision::PrimAABB& box, CAABBOctreeNode* start) const noexcept
{
    CAABBOctreeNode* node = start;
    while (node && node->children)
    {
        CAABBOctreeNode* only = nullptr;
        for (int i = 0; i < kChildren; ++i)
        {
            if (!node->children[i].Test(box))
                continue;
            if (only)
                return node;
            only = &node->children[i];
        }
        node = only;
    }
    return node;
}

CAABBOctreeNode* CAABBOctree::i_Allocate8Node()
{
    if (m_nodeArray.get() + m_maxNodes - m_nextFreeNode < kChildren)
        std::abort();
    CAABBOctreeNode* const group = m_nextFreeNode;
    std::uninitialized_default_construct_n(group, kChildren);
    m_nextFreeNode += kChildren;
    return group;
}

void CAABBOctree::i_Deallocate8Node(CAABBOctreeNode* group) noexcept
{
    for (int i = 0; i < kChildren; ++i)
    {
        i_DeallocateObjectsInNode(std::exchange(group[i].objects, nullptr));
        if (group[i].children)
            i_Deallocate8Node(std::exchange(group[i].children, nullptr));
    }
}

SpatialObjectOctree* CAABBOctree::i_AllocateObject()
{
    return new (m_objectPool.Allocate()) SpatialObjectOctree{};
}

void CAABBOctree::i_DeallocateObject(SpatialObjectOctree* record) noexcept
{
    *record = {};
    m_objectPool.Deallocate(record);
}

void CAABBOctree::i_DeallocateObjectsInNode(SpatialObjectOctree* list) noexcept
{
    while (list)
        i_DeallocateObject(std::exchange(list, list->next));
}

std::uint32_t CAABBOctree::RemoveEverywhere(const void* object)
{
    std::uint32_t found = 0;
    while (i_RemoveObject(this, object))
        ++found;
    for (CAABBOctreeNode* node = m_nodeArray.get(); node != m_nextFreeNode; ++node)
    {
        while (node->i_RemoveObject(this, object))
            ++found;
    }
    return found;
}

bool CAABBOctree::Validate() const
{
    std::size_t records = 0;
    std::size_t groups = 0;
    const auto isSound = [&](const CAABBOctreeNode& node)
    {
        const std::size_t limit = m_objectPool.GetUsedCount();
        for (const SpatialObjectOctree* record = node.objects; record; record = record->next)
        {
            if (++records > limit || node.children ||
                std::any_of(record->box, record->box + 6, [](float value) { return value != 0.0F; }))
                return false;
        }
        if (!node.children)
            return true;
        ++groups;
        const std::ptrdiff_t first = node.children - m_nodeArray.get();
        if (first < 0 || first % kChildren != 0 || node.children >= m_nextFreeNode)
            return false;
        for (int i = 0; i < kChildren; ++i)
        {
            CAABBOctreeNode expected;
            i_SetChildBox(node, i, expected);
            if (node.children[i].depth != node.depth + 1 || !IsSameBox(node.children[i], expected))
                return false;
        }
        return true;
    };
    if (!isSound(*this) || m_nextFreeNode > m_nodeArray.get() + m_maxNodes)
        return false;
    if (!std::all_of(m_nodeArray.get(), m_nextFreeNode, isSound))
        return false;
    return records == m_objectPool.GetUsedCount() &&
           groups * kChildren == static_cast<std::size_t>(m_nextFreeNode - m_nodeArray.get());
}
