#pragma once

#include "gameengine/engine/aabbDynamicGrid.h"
#include "gameengine/engine/aabbOctree.h"
#include "gameengine/export.h"
#include "tamradeps/collision/primAABB.h"
#include "tamradeps/core/eventHandler.h"
#include "tamradeps/core/memoryDynamicPoolAllocator.h"
#include "tamradeps/core/refClass.h"
#include "tamradeps/core/refPtr.h"

#include <cstdint>
#include <memory>
#include <span>
#include <vector>

class CEntity;
class CEntityArray;
class CEntityArray_AccelerationTree;

/// What the tree knows of one entity, and the object that stands in the tree's index for it.
struct alignas(64) Internal_AccelerationTreeEntry
{
    CEventSubscription movedDelegate; ///< Listens to the entity's transform.
    CEntity* entity = nullptr;
    collision::PrimAABB box;      ///< Under which the entry stands in the index.
    std::uint32_t onceStamp = 0;  ///< The once counter when the entry was reported last.
    std::uint32_t insertions = 0; ///< How often it was entered; more than once after a second `Add`.
    CEntityArray_AccelerationTree* tree = nullptr;
    std::uint32_t slot = 0;          ///< Its place in the tree's table.
    CEventSubscription diedDelegate; ///< Listens to the entity, which may die while it is tracked.
};

/// Where the entities of one or more arrays are: keeps each one's world box in a `CAABBDynamicGrid` or a `CAABBOctree`
/// and follows the entities as they come, go and move.
///
///     RefPtr<CEntityArray_AccelerationTree> tree = new CEntityArray_AccelerationTree;
///     tree->InitializeWithDynamicGrid(bounds, 50.0F, 50.0F, 50.0F);
///     tree->AddSource(&scene.GetArray());
///
/// Take the grid: the octree loses objects when it splits. Questions about what is near or in view go to
/// `CEntityArray_SpatialQuery`; whoever walks the grid turns its objects into entities with `GetEntityFromTreeObject`.
///
/// An entity needs a `ComponentRuntimeData`, whose `index` is its slot here, so it can be in one tree at a time. Remove
/// it before another tree adds it, and before that component is replaced: a tree that has lost the slot neither follows
/// nor finds the entity, whose old entry stays where it is until the entity dies. An entity that dies leaves the tree.
/// Nothing here takes a reference to an entity. One thread uses a tree and its entities.
class TAMRAGAMEENGINE_API CEntityArray_AccelerationTree : public RefClass
{
public:
    CEntityArray_AccelerationTree();
    CEntityArray_AccelerationTree(const CEntityArray_AccelerationTree&) = delete;
    CEntityArray_AccelerationTree& operator=(const CEntityArray_AccelerationTree&) = delete;
    ~CEntityArray_AccelerationTree() override;

    const char* GetTypeString() override;

    /// Call one of these two, once, before anything else; the parameters are those of the two classes. After a second
    /// call what was tracked before is not found until it moves.
    void InitializeWithDynamicGrid(const float* bounds, float cellX, float cellY, float cellZ);
    void InitializeWithOctree(const collision::PrimAABB& bounds, int maxNodes, int poolBlockCount, int maxDepth,
                              int maxObjectsPerNode);

    /// Tracks from now on every entity that is added to the array and has a transform, until it is removed from it.
    /// Entities that are in the array already are not added.
    void AddSource(CEntityArray* array);

    /// Starts to track an entity; without a transform its box is the origin. An entity that is tracked already is
    /// entered a second time. Without a `ComponentRuntimeData`, which is reported, nothing happens, nor to an entity
    /// that is being destroyed.
    void Add(CEntity* entity);
    /// Stops tracking it; nothing happens if it is not tracked.
    void Remove(CEntity* entity);

    /// Whether an entity's entry follows its transform as it moves, at once (true at first). Turned off, moves cost
    /// nothing here, and what moved is found at its old place until `Refresh`.
    void SetFollowMoves(bool follow);
    bool GetFollowMoves() const noexcept { return m_followMoves; }
    /// Re-files the entities whose box has changed, in one pass over the table, and returns how many those were.
    std::uint32_t Refresh();
    /// The same for these entities alone.
    std::uint32_t Refresh(std::span<CEntity* const> entities);

    /// The grid, null with an octree. Objects in it are entries of this tree: put in nothing else.
    CAABBDynamicGrid* GetGrid() const noexcept { return m_grid.get(); }
    /// Places in the table, those of removed entities included: they are not used again.
    std::uint32_t GetSlotCount() const noexcept { return static_cast<std::uint32_t>(m_entries.size()); }
    /// Entities tracked.
    std::uint32_t GetEntityCount() const noexcept { return m_entityCount; }

    /// The entity of an object of the index.
    static CEntity* GetEntityFromTreeObject(void* object) noexcept
    {
        return static_cast<Internal_AccelerationTreeEntry*>(object)->entity;
    }
    /// The same, but null if it was returned since the last `IncrementOnceCounter()`. An entity stands in every cell
    /// that its box reaches; this way a walk sees it once.
    static CEntity* GetEntityFromTreeObject_Once(void* object) noexcept
    {
        auto* const entry = static_cast<Internal_AccelerationTreeEntry*>(object);
        if (entry->onceStamp == s_onceCounter)
            return nullptr;
        entry->onceStamp = s_onceCounter;
        return entry->entity;
    }
    /// To be called before each such walk.
    static void IncrementOnceCounter() noexcept { ++s_onceCounter; }

    /// The entity's entry, or null.
    Internal_AccelerationTreeEntry* i_GetEntry(CEntity* entity) const;
    /// Whether the entity has this place in the table.
    bool i_HasSlot(std::uint32_t slot, const CEntity* entity) const noexcept
    {
        return slot < m_entries.size() && m_entries[slot] && m_entries[slot]->entity == entity;
    }
    void i_OnEntityArrayChanged(const EventMessage& message);
    void i_OnEntityMoved(const EventMessage& message);
    /// Re-files the entity under its transform's present box.
    void i_Update(CEntity* entity);

    /// Checks the table against the index. For tests; walks everything.
    bool Validate() const;

private:
    struct Source
    {
        CEntityArray* array;
        CEventSubscription changedDelegate;
    };

    void i_DropIndex() noexcept;
    Internal_AccelerationTreeEntry* i_AddEntry(CEntity* entity);
    void i_Follow(Internal_AccelerationTreeEntry& entry);
    void i_Insert(Internal_AccelerationTreeEntry& entry);
    void i_RemoveEntry(Internal_AccelerationTreeEntry& entry);
    void i_Refile(Internal_AccelerationTreeEntry& entry, const collision::PrimAABB& box);
    bool i_RefileIfChanged(Internal_AccelerationTreeEntry& entry);
    void i_FreeEntry(Internal_AccelerationTreeEntry* entry) noexcept;

    static std::uint32_t s_onceCounter;

    std::vector<std::unique_ptr<Source>> m_sources;
    bool m_initialized = false;
    bool m_followMoves = true;
    // Room for whatever shares the tree's life; nothing here sets it.
    RefPtr<RefClass> m_heldReference;
    [[maybe_unused]] std::int32_t m_heldValue = -1;
    std::unique_ptr<CAABBDynamicGrid> m_grid;
    std::unique_ptr<CAABBOctree> m_octree;
    std::vector<Internal_AccelerationTreeEntry*> m_entries;
    std::uint32_t m_entityCount = 0;
    CMemoryDynamicPoolAllocator m_entryPool;
};
