#include "gameengine/engine/entityComponentDatabase.h"

#include "gameengine/engine/entityComponent.h"
#include "gameengine/engine/entityComponentPositionIndexInternal.h"

namespace
{
CEntityComponentDatabase* g_firstDatabase = nullptr;
} // namespace

CEntityComponentDatabase::CEntityComponentDatabase()
{
    i_Link();
}

CEntityComponentDatabase::CEntityComponentDatabase(const CEntityComponentDatabase& other)
    : BaseObject(other),
      m_components(other.m_components)
{
    i_Link();
    i_CountEntries(1);
}

CEntityComponentDatabase& CEntityComponentDatabase::operator=(const CEntityComponentDatabase& other)
{
    if (this == &other)
        return *this;
    i_CountEntries(-1);
    m_components = other.m_components;
    m_index.reset();
    i_CountEntries(1);
    return *this;
}

CEntityComponentDatabase::~CEntityComponentDatabase()
{
    i_CountEntries(-1);
    if (m_events)
        m_events->DropAll();
    (m_previous ? m_previous->m_next : g_firstDatabase) = m_next;
    if (m_next)
        m_next->m_previous = m_previous;
}

const char* CEntityComponentDatabase::GetTypeString()
{
    return "CEntityComponentDatabase";
}

void CEntityComponentDatabase::i_Link() noexcept
{
    m_next = g_firstDatabase;
    if (m_next)
        m_next->m_previous = this;
    g_firstDatabase = this;
}

void CEntityComponentDatabase::i_CountEntries(int change) noexcept
{
    for (CEntityComponent* component : m_components.GetSpan())
        component->m_databaseEntries += static_cast<std::uint32_t>(change);
}

bool CEntityComponentDatabase::Add(CEntityComponent* component)
{
    const std::uint32_t position = m_components.GetCount();
    m_components.Append(component);
    if (m_index)
        m_index->Add(component, position);
    component->m_databasePosition = position;
    ++component->m_databaseEntries;
    return !m_events ||
           m_events->Raise(kAdded, variant(component, "CEntityComponent"), variant(this, "CEntityComponentDatabase"));
}

bool CEntityComponentDatabase::Remove(CEntityComponent* component)
{
    const std::int64_t found = i_FindPosition(component);
    if (found < 0)
        return true;
    const auto position = static_cast<std::uint32_t>(found);
    const std::uint32_t last = m_components.GetCount() - 1;
    CEntityComponent* moved = m_components[last];
    if (m_index)
        m_index->Remove(component, position);
    if (position != last)
    {
        if (m_index)
            m_index->Move(moved, last, position);
        if (moved->m_databasePosition == last)
            moved->m_databasePosition = position;
        m_components[position] = moved;
    }
    m_components.RemoveLast();
    if (m_components.IsEmpty())
        m_index.reset();
    --component->m_databaseEntries;
    return !m_events ||
           m_events->Raise(kRemoved, variant(component, "CEntityComponent"), variant(this, "CEntityComponentDatabase"));
}

std::int64_t CEntityComponentDatabase::i_FindPosition(const CEntityComponent* component) const
{
    if (component->m_databaseEntries == 0)
        return -1;
    const std::uint32_t position = component->m_databasePosition;
    if (position < m_components.GetCount() && m_components[position] == component)
        return position;
    if (!m_index)
        i_BuildIndex();
    return m_index->Find(component, m_components);
}

void CEntityComponentDatabase::i_BuildIndex() const
{
    m_index = std::make_unique<CEntityComponentPositionIndex>();
    for (std::uint32_t i = 0; i < m_components.GetCount(); ++i)
        m_index->Add(m_components[i], i);
}

void CEntityComponentDatabase::i_RemoveFromAll(CEntityComponent* component)
{
    CEntityComponentDatabase* database = g_firstDatabase;
    while (database && component->m_databaseEntries != 0)
    {
        if (database->i_FindPosition(component) < 0)
        {
            database = database->m_next;
            continue;
        }
        database->Remove(component);
        // A listener may have destroyed this database or its neighbours.
        database = g_firstDatabase;
    }
}

CEventHandler& CEntityComponentDatabase::Events()
{
    if (!m_events)
        m_events = new CEventHandler;
    return *m_events;
}

bool CEntityComponentDatabase::Validate() const
{
    for (std::uint32_t i = 0; i < m_components.GetCount(); ++i)
    {
        const std::int64_t position = i_FindPosition(m_components[i]);
        if (position < 0 || m_components[static_cast<std::uint32_t>(position)] != m_components[i] ||
            m_components[i]->m_databaseEntries == 0)
            return false;
    }
    return !m_index || m_index->Validate(m_components);
}
