#include "gameengine/engine/entityArray.h"

#include "gameengine/engine/entityComponent.h"
#include "gameengine/engine/entityComponentDatabase.h"

#include <algorithm>

CEntityArray::CEntityArray() = default;

CEntityArray::~CEntityArray()
{
    // Of an array deleted directly, a listener's reference must not be the last one.
    _AddRef();
    m_isBeingDestroyed = true;
    Clear();
}

const char* CEntityArray::GetTypeString()
{
    return "CEntityArray";
}

void CEntityArray::Add(CEntity* entity)
{
    if (!entity || m_isBeingDestroyed || entity->IsBeingDestroyed())
        return;
    // Counted by hand: entities added twice hold two references and stand in the set once.
    entity->_AddRef();
    m_entities.Insert(entity);
    if (!i_IsHeard()) [[likely]]
    {
        i_ScanComponents(entity, true);
        entity->i_AddedToArray(this);
        return;
    }
    const RefPtr<CEntityArray> keepThis = i_Keep();
    const RefPtr<CEntity> keep(entity);
    if (!i_ScanComponents(entity, true) || !m_entities.Contains(entity))
        return;
    if (!m_events.Raise(kEntityAdded, variant(entity, "CEntity"), variant(this, "CEntityArray")) ||
        !m_entities.Contains(entity))
        return;
    entity->i_AddedToArray(this);
    // Whoever changed the list before did not find the array there. Listeners may turn the lock again.
    bool isLocked = false;
    do
    {
        isLocked = entity->IsComponentListLocked();
        if (!i_ScanComponents(entity, !isLocked) || !m_entities.Contains(entity))
            return;
    } while (isLocked != entity->IsComponentListLocked());
}

void CEntityArray::Remove(CEntity* entity)
{
    if (entity)
        i_RemoveAndRelease(entity);
}

bool CEntityArray::i_RemoveAndRelease(CEntity* entity)
{
    // Its references are gone; one more to release would destroy it again.
    if (entity->IsBeingDestroyed())
        return i_Remove(entity);
    // As it takes no more references, it has none to release but those of the entities that are left.
    if (m_isBeingDestroyed && !m_entities.Contains(entity))
        return true;
    const RefPtr<CEntityArray> keepThis = i_Keep();
    const bool isReferenced = entity->GetReferenceCount() > 0;
    entity->_AddRef();
    const bool isAlive = i_Remove(entity);
    // A listener that removed it as well may have released the array's reference already.
    if (isAlive && entity->GetReferenceCount() > 1)
        entity->_RemoveRef();
    if (isReferenced)
        entity->_RemoveRef();
    else
        entity->_UndoAddRef();
    return isAlive;
}

bool CEntityArray::i_Remove(CEntity* entity)
{
    const RefPtr<CEntityArray> keepThis = i_Keep();
    const bool isHeard = i_IsHeard();
    if (isHeard && !m_events.Raise(kEntityRemoved, variant(entity, "CEntity"), variant(this, "CEntityArray")))
        return false;
    if (!i_ScanComponents(entity, false))
        return false;
    if (m_entities.Erase(entity))
        entity->i_RemovedFromArray(this);
    // Listeners may have had components entered behind the scan; now nothing enters them any more.
    return !isHeard || i_ScanComponents(entity, false);
}

void CEntityArray::Clear()
{
    const RefPtr<CEntityArray> keepThis = i_Keep();
    std::vector<CEntity*> entities;
    entities.reserve(m_entities.GetCount());
    for (std::size_t i = 0; i < m_entities.GetCount(); ++i)
        entities.push_back(m_entities[i]);
    // Whoever hears that an entity dies may delete an array that nobody references: then they die at the end.
    std::vector<RefPtr<CEntity>> kept;
    if (!keepThis)
        kept.assign(entities.begin(), entities.end());
    for (CEntity* entity : entities)
    {
        // A listener may have removed it, and so deleted it.
        if (m_entities.Contains(entity) && !i_RemoveAndRelease(entity))
            return;
    }
}

bool CEntityArray::i_IsHeard() const noexcept
{
    return !m_events.Empty() || std::any_of(m_componentDatabases.begin(), m_componentDatabases.end(),
                                            [](const DatabaseEntry& entry) { return entry.database->i_IsHeard(); });
}

bool CEntityArray::i_ScanComponents(CEntity* entity, bool add)
{
    if (m_componentDatabases.empty())
        return true;
    RefPtr<CEntityArray> keepThis;
    for (int i = 0; i < entity->GetComponentCount(); ++i)
    {
        // Locked entities are withdrawn until they are unlocked.
        if (add && entity->IsComponentListLocked())
            break;
        CEntityComponent* component = entity->GetComponent(i);
        CEntityComponentDatabase* database = FindComponentDatabase(component->GetType());
        if (!database)
            continue;
        if (!database->i_IsHeard()) [[likely]]
        {
            if (!add)
                database->Remove(component);
            else if (!database->i_Lists(component))
                database->Add(component);
            continue;
        }
        if (database->i_Lists(component) == add)
            continue;
        keepThis = i_Keep();
        const bool isIn = m_entities.Contains(entity);
        if (!(add ? database->Add(component) : database->Remove(component)))
            return false;
        // The listener may have taken the entity out or in, which settled the rest.
        if (m_entities.Contains(entity) != isIn)
            break;
        // Or it has changed the list. While it can have others entered for what is withdrawn, starting over might never
        // end; whoever removes an entity looks again when it cannot.
        const bool isOpen = isIn && !entity->IsComponentListLocked();
        if (entity->GetComponent(i) != component && (add || !isOpen))
            i = -1;
    }
    return true;
}

CEntityComponentDatabase* CEntityArray::FindComponentDatabase(std::int32_t typeId) const noexcept
{
    for (const DatabaseEntry& entry : m_componentDatabases)
    {
        if (entry.typeId >= typeId)
            return entry.typeId == typeId ? entry.database.get() : nullptr;
    }
    return nullptr;
}

CEntityComponentDatabase* CEntityArray::CreateComponentDatabase(std::int32_t typeId)
{
    if (CEntityComponentDatabase* existing = FindComponentDatabase(typeId))
        return existing;
    const auto place = std::lower_bound(m_componentDatabases.begin(), m_componentDatabases.end(), typeId,
                                        [](const DatabaseEntry& entry, std::int32_t id) { return entry.typeId < id; });
    CEntityComponentDatabase* database =
        m_componentDatabases.insert(place, {typeId, std::make_unique<CEntityComponentDatabase>()})->database.get();
    for (std::size_t i = 0; i < m_entities.GetCount(); ++i)
    {
        const CEntity* entity = m_entities[i];
        if (entity->IsComponentListLocked())
            continue;
        for (int k = 0; k < entity->GetComponentCount(); ++k)
        {
            if (CEntityComponent* component = entity->GetComponent(k); component->GetType() == typeId)
                database->Add(component);
        }
    }
    return database;
}

CEntityComponent* CEntityArray::FindFirstComponentByType(std::int32_t typeId)
{
    return CreateComponentDatabase(typeId)->Get(0);
}

bool CEntityArray::Validate() const
{
    return m_entities.Validate() && std::all_of(m_componentDatabases.begin(), m_componentDatabases.end(),
                                                [](const DatabaseEntry& entry) { return entry.database->Validate(); });
}
