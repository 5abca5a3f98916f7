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
    const RefPtr<CEntityArray> keepThis = i_Keep();
    const RefPtr<CEntity> keep(entity);
    if (m_isBeingDestroyed)
        return;
    // Counted by hand: entities added twice hold two references and stand in the set once.
    entity->_AddRef();
    bool mayBeListed = !m_entities.Insert(entity);
    // Before any listener runs, so that one that changes the entity's list finds the array there.
    entity->i_AddedToArray(this);
    if (i_EnterComponents(entity, mayBeListed))
        m_events.Raise(kEntityAdded, variant(entity, "CEntity"), variant(this, "CEntityArray"));
}

void CEntityArray::Remove(CEntity* entity)
{
    i_RemoveAndRelease(entity);
}

bool CEntityArray::i_RemoveAndRelease(CEntity* entity)
{
    const RefPtr<CEntityArray> keepThis = i_Keep();
    const bool isReferenced = entity->GetReferenceCount() > 0;
    entity->_AddRef();
    const bool isAlive = i_Remove(entity);
    // A listener that removed it as well may have released the array's reference already.
    if (isAlive && entity->GetReferenceCount() > 1)
        entity->_RemoveRef();
    if (isReferenced)
        entity->_RemoveRef();
    return isAlive;
}

bool CEntityArray::i_Remove(CEntity* entity)
{
    const RefPtr<CEntityArray> keepThis = i_Keep();
    if (!m_events.Raise(kEntityRemoved, variant(entity, "CEntity"), variant(this, "CEntityArray")))
        return false;
    bool isHeard = false;
    if (!i_WithdrawComponents(entity, isHeard))
        return false;
    if (m_entities.Erase(entity))
        entity->i_RemovedFromArray(this);
    // Listeners may have had components entered behind the scan; now nothing enters them any more.
    return !isHeard || m_entities.Contains(entity) || i_WithdrawComponents(entity, isHeard);
}

void CEntityArray::Clear()
{
    const RefPtr<CEntityArray> keepThis = i_Keep();
    std::vector<CEntity*> entities;
    entities.reserve(m_entities.GetCount());
    for (std::size_t i = 0; i < m_entities.GetCount(); ++i)
        entities.push_back(m_entities[i]);
    for (CEntity* entity : entities)
    {
        // A listener may have removed it, and so deleted it.
        if (m_entities.Contains(entity) && !i_RemoveAndRelease(entity))
            return;
    }
}

bool CEntityArray::i_EnterComponents(CEntity* entity, bool& mayBeListed)
{
    const RefPtr<CEntityArray> keepThis = i_Keep();
    if (m_componentDatabases.empty())
        return true;
    // Locked entities are withdrawn until they are unlocked.
    for (int i = 0; i < entity->GetComponentCount() && !entity->IsComponentListLocked(); ++i)
    {
        CEntityComponent* component = entity->GetComponent(i);
        CEntityComponentDatabase* database = FindComponentDatabase(component->GetType());
        if (!database || (mayBeListed && database->i_Lists(component)))
            continue;
        const bool isHeard = database->i_IsHeard();
        if (!database->Add(component))
            return false;
        if (!isHeard) [[likely]]
            continue;
        // The listener may have locked and unlocked the list, made databases, or taken the entity out.
        mayBeListed = true;
        if (!m_entities.Contains(entity))
            return false;
        if (entity->GetComponent(i) != component)
            i = -1;
    }
    return true;
}

bool CEntityArray::i_WithdrawComponents(CEntity* entity, bool& isHeard)
{
    const RefPtr<CEntityArray> keepThis = i_Keep();
    if (m_componentDatabases.empty())
        return true;
    for (int i = 0; i < entity->GetComponentCount(); ++i)
    {
        CEntityComponent* component = entity->GetComponent(i);
        CEntityComponentDatabase* database = FindComponentDatabase(component->GetType());
        if (!database)
            continue;
        const bool isTold = database->i_IsHeard() && database->i_Lists(component);
        if (!database->Remove(component))
            return false;
        if (!isTold) [[likely]]
            continue;
        isHeard = true;
        if (entity->GetComponent(i) != component)
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
