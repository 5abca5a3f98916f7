#include "gameengine/engine/entityArrayAccelerationTree.h"

#include "gameengine/engine/componentRuntimeData.h"
#include "gameengine/engine/componentTransform.h"
#include "gameengine/engine/entity.h"
#include "gameengine/engine/entityArray.h"
#include "tamradeps/core/assertion.h"
#include "tamradeps/core/log.h"

#include <algorithm>
#include <string>
#include <utility>

namespace
{
constexpr const char* kModule = "gameengine/engine/entityArrayAccelerationTree";
constexpr std::size_t kFirstEntries = 64;
} // namespace

std::uint32_t CEntityArray_AccelerationTree::s_onceCounter = 0;

CEntityArray_AccelerationTree::CEntityArray_AccelerationTree()
    : m_entryPool(sizeof(Internal_AccelerationTreeEntry), kFirstEntries)
{
}

CEntityArray_AccelerationTree::~CEntityArray_AccelerationTree()
{
    m_octree.reset();
    m_grid.reset();
    for (Internal_AccelerationTreeEntry* entry : m_entries)
        i_FreeEntry(entry);
    m_initialized = false;
}

const char* CEntityArray_AccelerationTree::GetTypeString()
{
    return "CEntityArray_AccelerationTree";
}

void CEntityArray_AccelerationTree::InitializeWithDynamicGrid(const float* bounds, float cellX, float cellY,
                                                              float cellZ)
{
    // Made before the old index goes: the box may be the old one's.
    auto grid = std::make_unique<CAABBDynamicGrid>(bounds, cellX, cellY, cellZ);
    i_DropIndex();
    m_grid = std::move(grid);
}

void CEntityArray_AccelerationTree::InitializeWithOctree(const collision::PrimAABB& bounds, int maxNodes,
                                                         int poolBlockCount, int maxDepth, int maxObjectsPerNode)
{
    auto octree = std::make_unique<CAABBOctree>(bounds, maxNodes, poolBlockCount, maxDepth, maxObjectsPerNode);
    i_DropIndex();
    m_octree = std::move(octree);
}

void CEntityArray_AccelerationTree::i_DropIndex() noexcept
{
    m_initialized = true;
    m_grid.reset();
    m_octree.reset();
    for (Internal_AccelerationTreeEntry* entry : m_entries)
    {
        if (entry)
            entry->insertions = 0;
    }
}

void CEntityArray_AccelerationTree::AddSource(CEntityArray* array)
{
    if (!m_initialized)
        AssertionFailed(kModule, 203);
    if (!array)
        return;
    auto& source = m_sources.emplace_back(std::make_unique<Source>());
    source->array = array;
    source->changedDelegate.SetCallback([this](const EventMessage& message) { i_OnEntityArrayChanged(message); });
    source->changedDelegate.Subscribe(array->Events());
}

Internal_AccelerationTreeEntry* CEntityArray_AccelerationTree::i_GetEntry(CEntity* entity) const
{
    const auto* const runtimeData = entity ? entity->Find<ComponentRuntimeData>() : nullptr;
    // A negative slot is beyond every table.
    const auto slot = runtimeData ? static_cast<std::size_t>(runtimeData->index) : m_entries.size();
    if (slot >= m_entries.size() || !m_entries[slot] || m_entries[slot]->entity != entity)
        return nullptr;
    return m_entries[slot];
}

Internal_AccelerationTreeEntry* CEntityArray_AccelerationTree::i_AddEntry(CEntity* entity)
{
    auto* const runtimeData = entity->Find<ComponentRuntimeData>();
    if (!runtimeData)
    {
        tamra::log::Error("Entity " + std::to_string(entity->GetIndex()) +
                          " has no ComponentRuntimeData and cannot be in an acceleration tree.");
        return nullptr;
    }
    auto* const entry = new (m_entryPool.Allocate()) Internal_AccelerationTreeEntry;
    entry->entity = entity;
    entry->tree = this;
    if (auto* const transform = entity->Find<ComponentTransform>())
        entry->box = transform->GetBoundingBox();
    entry->slot = GetSlotCount();
    entry->diedDelegate.SetCallback(
        [entry](const EventMessage& message)
        {
            if (message.id == CEntity::kDestroyed)
                entry->tree->i_RemoveEntry(*entry);
        });
    entry->diedDelegate.Subscribe(entity->Events());
    m_entries.push_back(entry);
    ++m_entityCount;
    runtimeData->index = static_cast<std::int32_t>(entry->slot);
    return entry;
}

void CEntityArray_AccelerationTree::Add(CEntity* entity)
{
    if (!m_initialized)
        AssertionFailed(kModule, 93);
    // One that is dying may have said so already, and would never be removed.
    if (!entity || entity->IsBeingDestroyed())
        return;
    Internal_AccelerationTreeEntry* entry = i_GetEntry(entity);
    if (!entry)
        entry = i_AddEntry(entity);
    if (!entry)
        return;
    if (m_followMoves)
        i_Follow(*entry);
    i_Insert(*entry);
    ++entry->insertions;
}

void CEntityArray_AccelerationTree::i_Follow(Internal_AccelerationTreeEntry& entry)
{
    auto* const transform = entry.entity->Find<ComponentTransform>();
    if (!transform)
        return;
    entry.movedDelegate.SetCallback([this](const EventMessage& message) { i_OnEntityMoved(message); });
    entry.movedDelegate.Subscribe(transform->Events());
}

void CEntityArray_AccelerationTree::i_Insert(Internal_AccelerationTreeEntry& entry)
{
    if (m_grid)
        m_grid->AddObject(entry.box.GetFloats(), &entry);
    if (m_octree)
        m_octree->AddObject(entry.box.GetFloats(), &entry, m_octree.get());
}

void CEntityArray_AccelerationTree::Remove(CEntity* entity)
{
    if (!m_initialized)
        AssertionFailed(kModule, 122);
    if (Internal_AccelerationTreeEntry* const entry = i_GetEntry(entity))
        i_RemoveEntry(*entry);
}

void CEntityArray_AccelerationTree::i_RemoveEntry(Internal_AccelerationTreeEntry& entry)
{
    entry.movedDelegate.Leave();
    // What a second Add, or a move after it, left elsewhere must not outlive the entry; nor must what the octree
    // mislaid when it split.
    const bool isFiled = entry.insertions > 0;
    if (m_grid && isFiled)
    {
        m_grid->RemoveObject(entry.box.GetFloats(), &entry);
        if (entry.insertions > 1)
            m_grid->RemoveEverywhere(&entry);
    }
    if (m_octree && isFiled)
    {
        m_octree->RemoveObject(entry.box.GetFloats(), &entry, m_octree.get());
        if (entry.insertions > 1 || m_octree->children)
            m_octree->RemoveEverywhere(&entry);
    }
    m_entries[entry.slot] = nullptr;
    --m_entityCount;
    i_FreeEntry(&entry);
}

void CEntityArray_AccelerationTree::i_FreeEntry(Internal_AccelerationTreeEntry* entry) noexcept
{
    if (!entry)
        return;
    entry->~Internal_AccelerationTreeEntry();
    m_entryPool.Deallocate(entry);
}

void CEntityArray_AccelerationTree::i_Refile(Internal_AccelerationTreeEntry& entry, const collision::PrimAABB& box)
{
    if (m_grid)
        m_grid->MoveObject(entry.box.GetFloats(), box.GetFloats(), &entry);
    if (m_octree)
    {
        // The octree ends the program when asked to remove what it never got.
        if (entry.insertions > 0)
            m_octree->RemoveObject(entry.box.GetFloats(), &entry, m_octree.get());
        m_octree->AddObject(box.GetFloats(), &entry, m_octree.get());
    }
    entry.insertions = std::max(entry.insertions, 1U);
    entry.box = box;
}

void CEntityArray_AccelerationTree::i_Update(CEntity* entity)
{
    Internal_AccelerationTreeEntry* const entry = i_GetEntry(entity);
    if (!entry)
        return;
    auto* const transform = entity->Find<ComponentTransform>();
    i_Refile(*entry, transform ? transform->GetBoundingBox() : entry->box);
}

void CEntityArray_AccelerationTree::i_OnEntityMoved(const EventMessage& message)
{
    if (message.id != ComponentTransform::kBoundsChanged)
        return;
    if (const auto* const component = message.first.GetObjectPointer<CEntityComponent>("CEntityComponent"))
        i_Update(component->GetEntity());
}

void CEntityArray_AccelerationTree::i_OnEntityArrayChanged(const EventMessage& message)
{
    auto* const entity = message.first.GetObjectPointer<CEntity>("CEntity");
    if (!entity)
        return;
    if (message.id == CEntityArray::kEntityAdded && entity->Find<ComponentTransform>())
        Add(entity);
    else if (message.id == CEntityArray::kEntityRemoved)
        Remove(entity);
}

void CEntityArray_AccelerationTree::SetFollowMoves(bool follow)
{
    if (m_followMoves == follow)
        return;
    m_followMoves = follow;
    for (Internal_AccelerationTreeEntry* entry : m_entries)
    {
        if (!entry)
            continue;
        if (follow)
            i_Follow(*entry);
        else
            entry->movedDelegate.Leave();
    }
    if (follow)
        Refresh();
}

bool CEntityArray_AccelerationTree::i_RefileIfChanged(Internal_AccelerationTreeEntry& entry)
{
    auto* const transform = entry.entity->Find<ComponentTransform>();
    if (!transform || transform->GetBoundingBox() == entry.box)
        return false;
    i_Refile(entry, transform->GetBoundingBox());
    return true;
}

std::uint32_t CEntityArray_AccelerationTree::Refresh()
{
    std::uint32_t changed = 0;
    for (Internal_AccelerationTreeEntry* entry : m_entries)
        changed += entry && i_RefileIfChanged(*entry) ? 1 : 0;
    return changed;
}

std::uint32_t CEntityArray_AccelerationTree::Refresh(std::span<CEntity* const> entities)
{
    std::uint32_t changed = 0;
    for (CEntity* entity : entities)
    {
        Internal_AccelerationTreeEntry* const entry = i_GetEntry(entity);
        changed += entry && i_RefileIfChanged(*entry) ? 1 : 0;
    }
    return changed;
}

bool CEntityArray_AccelerationTree::Validate() const
{
    std::size_t expected = 0;
    std::uint32_t count = 0;
    bool hasSecondInsertions = false;
    for (std::uint32_t slot = 0; slot < GetSlotCount(); ++slot)
    {
        const Internal_AccelerationTreeEntry* const entry = m_entries[slot];
        if (!entry)
            continue;
        ++count;
        if (entry->slot != slot || entry->tree != this)
            return false;
        hasSecondInsertions = hasSecondInsertions || entry->insertions > 1;
        if (!m_grid || entry->insertions == 0)
            continue;
        const CAABBDynamicGrid::CellRange range = m_grid->GetRange(entry->box.GetFloats());
        for (std::int32_t z = range.first[2]; z < range.end[2]; ++z)
        {
            for (std::int32_t y = range.first[1]; y < range.end[1]; ++y)
            {
                for (std::int32_t x = range.first[0]; x < range.end[0]; ++x, ++expected)
                {
                    const auto* link = m_grid->GetCell(m_grid->GetCellIndex(x, y, z)).objects;
                    while (link && link->object != entry)
                        link = link->next;
                    if (!link)
                        return false;
                }
            }
        }
    }
    if (count != m_entityCount || (m_grid && !m_grid->Validate()) || (m_octree && !m_octree->Validate()))
        return false;
    return !m_grid || hasSecondInsertions || m_grid->GetEntryCount() == expected;
}
