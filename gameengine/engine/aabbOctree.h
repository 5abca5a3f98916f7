#pragma once

#include "gameengine/export.h"
#include "tamradeps/collision/primAABB.h"
#include "tamradeps/core/memoryDynamicPoolAllocator.h"

#include <cstdint>
#include <cstdlib>
#include <memory>
#include <type_traits>

class CAABBOctree;
class CAABBOctreeNode;

/// An object in a leaf of the octree. Records belong to the octree's pool.
struct SpatialObjectOctree
{
    void* object;
    float box[6]; ///< Stays zero, see `CAABBOctree`.
    SpatialObjectOctree* next;
};
static_assert(sizeof(void*) != 4 || sizeof(SpatialObjectOctree) == 32, "a record is two pointers and a box");

/// A node of the octree: its box, and either eight children or a list of objects, the one added last first.
class TAMRAGAMEENGINE_API CAABBOctreeNode : public collision::PrimAABB
{
public:
    CAABBOctreeNode() noexcept = default;
    explicit CAABBOctreeNode(const collision::PrimAABB& box) noexcept : PrimAABB(box) {}

    /// Length of the node's own list. Walks it.
    int CountObjects() const noexcept;

    SpatialObjectOctree* objects = nullptr;
    CAABBOctreeNode* children = nullptr; ///< The first of eight in a row, null for a leaf.
    std::int8_t depth = 0;               ///< 0 at the root.

protected:
    friend class CAABBOctree;

    void i_AppendObject(SpatialObjectOctree* record) noexcept;
    /// Takes the first record of the object off the list and gives it back; false when there is none.
    bool i_RemoveObject(CAABBOctree* octree, const void* object) noexcept;
};
static_assert(std::is_trivially_destructible_v<CAABBOctreeNode>, "the octree frees its nodes as bare memory");

/// An octree over a box of the world, whose leaves split when they hold too many objects. Boxes are six floats, min x,
/// y, z, max x, y, z; objects are pointers that it neither owns nor follows. The octree is its own root node.
///
/// IT LOSES OBJECTS WHEN A LEAF SPLITS. A record does not know the box of its object, so the objects of the leaf are
/// handed to those children that touch the origin of the world, wherever they really are, and to none if the leaf does
/// not touch it. Worlds depend on it staying so. Use `CAABBDynamicGrid`, or a depth of 0, which never splits.
///
/// Two mistakes end the program at once, without a message: a split for which `maxNodes` does not suffice, and removing
/// an object under a box that reaches a leaf without it (which is where a split may have left it).
///
/// Nodes come from one array and are not given back; leaves never merge. Nothing else is allocated but blocks of
/// records. One thread uses an octree at a time.
class TAMRAGAMEENGINE_API CAABBOctree : public CAABBOctreeNode
{
public:
    /// A walk calls `function` with the record itself and each leaf in turn.
    struct walkCallback
    {
        void (*function)(walkCallback* callback, CAABBOctreeNode* leaf) = nullptr;
        void* context = nullptr;
    };

    /// `maxNodes` is the number of nodes below the root, none if memory does not suffice for them; `poolBlockCount`
    /// that of the first block of records. A leaf splits when it gets more than `maxObjectsPerNode` objects, unless its
    /// depth is `maxDepth` (at most 127). Takes constant time: nodes are written when a split takes them.
    CAABBOctree(const collision::PrimAABB& bounds, int maxNodes, int poolBlockCount, int maxDepth,
                int maxObjectsPerNode);
    CAABBOctree(const CAABBOctree&) = delete;
    CAABBOctree& operator=(const CAABBOctree&) = delete;
    ~CAABBOctree();

    /// Enters the object into every leaf under `start` that the box reaches; `start` itself is not tested. True when a
    /// leaf took it.
    bool AddObject(const float* box, void* object, CAABBOctreeNode* start);
    /// Takes the object out of every leaf under `start` that the box reaches; each of them must hold it. Always false.
    bool RemoveObject(const float* box, void* object, CAABBOctreeNode* start);
    /// Takes every record of the object out of every leaf; returns their number. Walks the whole tree.
    std::uint32_t RemoveEverywhere(const void* object);

    /// The deepest node, from `start` downwards, whose children do not share the box; null when it lies outside them.
    CAABBOctreeNode* FindBestFitNodeAABB(const collision::PrimAABB& box, CAABBOctreeNode* start) const noexcept;

    /// Splits a leaf into eight; a node with children, or at depth 127, is left as it is.
    void Subdivide(CAABBOctreeNode* node);

    /// Checks nodes, depths and records. For tests; walks everything.
    bool Validate() const;

    /// Eight new nodes in a row, or the end of the program.
    CAABBOctreeNode* i_Allocate8Node();
    /// Gives back the records of eight nodes and of all below them; the nodes themselves stay used.
    void i_Deallocate8Node(CAABBOctreeNode* group) noexcept;
    SpatialObjectOctree* i_AllocateObject();
    void i_DeallocateObject(SpatialObjectOctree* record) noexcept;
    void i_DeallocateObjectsInNode(SpatialObjectOctree* list) noexcept;

protected:
    // The walk's callbacks that add and remove one object; `callback` is an ObjectCallback.
    static void i_AddObject_Callback(walkCallback* callback, CAABBOctreeNode* leaf);
    static void i_RemoveObject_Callback(walkCallback* callback, CAABBOctreeNode* leaf);

private:
    struct ObjectCallback;
    struct FreeNodes
    {
        void operator()(CAABBOctreeNode* nodes) const noexcept { std::free(nodes); }
    };

    static void i_Walk(const collision::PrimAABB& box, CAABBOctreeNode* node, walkCallback& callback);
    static void i_SetChildBox(const CAABBOctreeNode& node, int child, CAABBOctreeNode& out) noexcept;

    CMemoryDynamicPoolAllocator m_objectPool;
    std::unique_ptr<CAABBOctreeNode[], FreeNodes> m_nodeArray; // bare memory from m_nextFreeNode on
    CAABBOctreeNode* m_nextFreeNode;
    std::int32_t m_maxDepth;
    std::int32_t m_maxObjectsPerNode;
    std::int32_t m_maxNodes;
    [[maybe_unused]] std::int32_t m_poolBlockCount;
};
