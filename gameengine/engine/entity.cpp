#include "gameengine/engine/entity.h"

#include "gameengine/engine/entityArray.h"
#include "gameengine/engine/entityComponent.h"
#include "gameengine/engine/entityComponentDatabase.h"
#include "gameengine/engine/entityComponentTypeDatabase.h"
#include "gameengine/engine/interfaceCollection.h"
#include "tamradeps/core/assertion.h"
#include "tamradeps/core/log.h"
#include "tamradeps/core/memoryDynamicPoolAllocator.h"
#include "tamradeps/udb/udbGroup.h"

#include <algorithm>
#include <functional>
#include <string>
#include <utility>
#include <vector>

namespace
{
constexpr const char* kModule = "gameengine/engine/entity";

// The indices of all entities of the process. Never destroyed: entities may outlive static objects.
struct EntityIndices
{
    std::int32_t next = 0;
    std::vector<std::int32_t> released;

    std::int32_t Take()
    {
        if (released.empty())
            return next++;
        const std::int32_t index = released.back();
        released.pop_back();
        return index;
    }
};

EntityIndices& GetIndices()
{
    static auto& indices = *new EntityIndices;
    return indices;
}

CMemoryDynamicPoolAllocator& GetPool()
{
    static auto& pool = *new CMemoryDynamicPoolAllocator(sizeof(CEntity), 256);
    return pool;
}

std::int32_t g_liveCount = 0;
std::uint32_t g_nextSerial = 0;
} // namespace

CEntity::CEntity(CInterfaceCollection* interfaces)
    : m_interfaces(interfaces),
      m_index(GetIndices().Take()),
      m_serial(g_nextSerial++)
{
    if (!interfaces)
        AssertionFailed(kModule, 52);
    ++g_liveCount;
}

CEntity::~CEntity()
{
    // Of an entity deleted directly, a listener's reference must not be the last one.
    _AddRef();
    m_isBeingDestroyed = true;
    --g_liveCount;
    i_LeaveArrays();
    if (!m_events.Empty())
        m_events.Raise(kDestroyed, variant(this, "CEntity"), variant(0));
    i_DestroyComponents();
    // What listeners gave the dying entity goes too.
    if (!m_events.Empty())
        m_events.DropAll();
    while (!m_components.IsEmpty())
        i_DestroyComponents();
    GetIndices().released.push_back(std::exchange(m_index, -1));
}

const char* CEntity::GetTypeString()
{
    return "CEntity";
}

void* CEntity::operator new(std::size_t size)
{
    return size == sizeof(CEntity) ? GetPool().Allocate() : ::operator new(size);
}

void CEntity::operator delete(void* memory, std::size_t size) noexcept
{
    if (size == sizeof(CEntity))
        GetPool().Deallocate(memory);
    else
        ::operator delete(memory);
}

std::int32_t CEntity::GetLiveCount() noexcept
{
    return g_liveCount;
}

bool CEntity::HasComponent(const CEntityComponent* component) const noexcept
{
    const auto components = m_components.GetSpan();
    return std::find(components.begin(), components.end(), component) != components.end();
}

void CEntity::RemoveComponent(CEntityComponent* component)
{
    if (!m_components.EraseFirst(component))
        return;
    component->m_inEntity = 0;
    component->m_isListed = 0;
    if (component->m_databaseEntries != 0)
        CEntityComponentDatabase::i_RemoveFromAll(component);
    i_RemovedComponent(component);
}

void CEntity::i_LeaveEachArray()
{
    while (!m_arrays.IsEmpty())
    {
        CEntityArray* array = m_arrays[0];
        array->i_Remove(this);
        m_arrays.EraseFirst(array);
    }
}

void CEntity::i_ScanInEachArray(bool add)
{
    std::uint32_t i = 0;
    // A listener that locks the list again has settled the rest.
    while (i < m_arrays.GetCount() && m_componentListLocked != add)
    {
        CEntityArray* const array = m_arrays[i];
        array->i_ScanComponents(this, add);
        // Listeners may have changed the arrays, which are sorted. This one may be gone.
        const auto arrays = m_arrays.GetSpan();
        i = static_cast<std::uint32_t>(
            std::upper_bound(arrays.begin(), arrays.end(), array, std::less<CEntityArray*>()) - arrays.begin());
    }
}

void CEntity::LockComponentList()
{
    m_componentListLocked = true;
    if (m_arrays.IsEmpty())
        return;
    const RefPtr<CEntity> keep = i_Keep();
    const bool wasLocking = std::exchange(m_isLocking, true);
    i_ScanInEachArray(false);
    m_isLocking = wasLocking;
}

void CEntity::UnlockComponentList()
{
    // Whoever is in the middle of locking the list, and had this called by a listener, unlocks it.
    if (m_isLocking)
        return;
    const RefPtr<CEntity> keep = i_Keep();
    m_componentListLocked = false;
    if (!m_arrays.IsEmpty())
        i_ScanInEachArray(true);
    for (std::uint32_t i = 0; i < m_components.GetCount(); ++i)
        m_components[i]->i_OnEntityUnlockComponentList();
}

void CEntity::i_ReportUnlocked(int line)
{
    AssertionFailed(kModule, line);
}

void CEntity::i_RaiseComponentEvent(std::int32_t id, CEntityComponent* component)
{
    m_events.Raise(id, variant(component, "CEntityComponent"), variant(this, "CEntity"));
}

void CEntity::i_AddedToArray(CEntityArray* array)
{
    const auto arrays = m_arrays.GetSpan();
    const auto place = std::lower_bound(arrays.begin(), arrays.end(), array, std::less<CEntityArray*>());
    if (place == arrays.end() || *place != array)
        m_arrays.InsertAt(static_cast<std::uint32_t>(place - arrays.begin()), array);
}

void CEntity::i_RemovedFromArray(CEntityArray* array)
{
    m_arrays.EraseFirst(array);
}

void CEntity::i_Forget(const CEntityComponent* component) noexcept
{
    if (m_components.EraseFirst(component) || !m_dying)
        return;
    for (std::uint32_t i = 0; i < m_dying->GetCount(); ++i)
    {
        if ((*m_dying)[i] == component)
            (*m_dying)[i] = nullptr;
    }
}

void CEntity::i_DestroyComponents()
{
    auto components = m_components;
    // They lie in as many pools as there are classes.
    for (const CEntityComponent* component : components.GetSpan())
        TAMRA_PREFETCH(component);
    m_components.Clear();
    m_componentListLocked = true;
    m_dying = &components;
    // Front to back; a component that takes a sibling with it leaves a gap.
    for (std::uint32_t i = 0; i < components.GetCount(); ++i)
    {
        CEntityComponent* component = std::exchange(components[i], nullptr);
        if (!component)
            continue;
        component->m_isListed = 0;
        delete component;
    }
    m_dying = nullptr;
    if (m_components.IsEmpty() && m_arrays.IsEmpty())
        m_componentListLocked = false;
    else
        UnlockComponentList();
}

void CEntity::SerializerSave(UDBGroup& group)
{
    const CEntityComponentTypeDatabase& types = CEntityComponentTypeDatabase::Instance();
    for (int i = GetComponentCount(); i-- > 0;)
    {
        CEntityComponent* component = GetComponent(i);
        if (!component) // deleted by one that was saved before it
            continue;
        const char* type = std::as_const(*component).GetTypeString();
        if (types.FindByName(type) < 0)
            continue;
        UDBGroup* data = group.AddNewGroup("component");
        data->AddString("type", type);
        component->SerializerSave(*data);
    }
}

void CEntity::SerializerLoad(UDBGroup& group)
{
    CEntityComponentTypeDatabase& types = CEntityComponentTypeDatabase::Instance();
    CPointerArray<CEntityComponent, 16> created;
    CPointerArray<UDBGroup, 16> groups;
    for (const UDBEntry& entry : group)
    {
        if (entry.GetKind() != UDBEntry::Kind::Group || entry.GetKey() != "component")
            continue;
        UDBGroup* data = entry.GetGroup();
        const char* type = data->GetString("type");
        const int position = type ? types.FindByName(type) : -1;
        if (position < 0)
            continue;
        // What components do to one another must not grow with the size of a file.
        if (GetComponentCount() >= kMaxStoredComponents)
        {
            tamra::log::Error("an entity has more than " + std::to_string(kMaxStoredComponents) +
                              " components; those from " + tamra::log::Quoted(type) + " on are ignored");
            break;
        }
        if (CEntityComponent* component = types.Create(position, this))
        {
            created.Append(component);
            groups.Append(data);
        }
    }
    for (std::uint32_t i = 0; i < created.GetCount(); ++i)
    {
        // One that loaded before it may have deleted it.
        if (HasComponent(created[i]))
            created[i]->SerializerLoad(*groups[i]);
    }
}
