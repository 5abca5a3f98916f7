#include "gameengine/engine/entityComponentRepository.h"

#include "tamradeps/core/assertion.h"

#include <map>
#include <utility>

namespace
{
constexpr const char* kModule = "gameengine/engine/entityComponent";
constexpr unsigned int kFirstCapacity = 32;

constexpr unsigned int GetThreshold(unsigned int capacity)
{
    return capacity - capacity / 4;
}

std::map<std::int32_t, CEntityComponentRepositoryBase*>& GetRegistry()
{
    static auto& registry = *new std::map<std::int32_t, CEntityComponentRepositoryBase*>;
    return registry;
}
} // namespace

CEntityComponentRepositoryBase::CEntityComponentRepositoryBase(std::int32_t typeId) : m_typeId(typeId)
{
    i_Enter();
}

void CEntityComponentRepositoryBase::i_Enter()
{
    GetRegistry()[m_typeId] = this;
}

CEntityComponentRepositoryBase::~CEntityComponentRepositoryBase()
{
    GetRegistry().erase(m_typeId);
}

const char* CEntityComponentRepositoryBase::GetTypeString()
{
    return "CEntityComponentRepositoryBase";
}

CEntityComponentRepositoryBase* CEntityComponentRepositoryBase::GetRepository(std::int32_t typeId)
{
    const auto found = GetRegistry().find(typeId);
    return found != GetRegistry().end() ? found->second : nullptr;
}

CEntityComponentRepository::CEntityComponentRepository(std::int32_t typeId) : CEntityComponentRepositoryBase(typeId)
{
    i_Allocate(kFirstCapacity);
}

const char* CEntityComponentRepository::GetTypeString()
{
    return "CEntityComponentRepository";
}

void CEntityComponentRepository::i_SetNew(unsigned int index, void* component)
{
    if (index == kEmptyKey)
    {
        if (!m_hasZero)
        {
            if (m_occupied == m_threshold)
                i_Double();
            m_hasZero = true;
            ++m_occupied;
        }
        m_zeroValue = component;
        return;
    }
    unsigned int slot = i_FindSlot(index);
    if (m_keys[slot] == kEmptyKey)
    {
        if (m_occupied == m_threshold)
        {
            i_Double();
            slot = i_FindSlot(index);
        }
        m_keys[slot] = index;
        ++m_occupied;
    }
    m_values[slot] = component;
}

void CEntityComponentRepository::i_Allocate(unsigned int capacity)
{
    m_keys = std::make_unique<unsigned int[]>(capacity);
    m_values = std::make_unique<void*[]>(capacity);
    m_mask = capacity - 1;
    m_threshold = GetThreshold(capacity);
}

void CEntityComponentRepository::i_Double()
{
    const unsigned int oldCapacity = GetCapacity();
    const auto oldKeys = std::move(m_keys);
    const auto oldValues = std::move(m_values);
    i_Allocate(oldCapacity * 2);
    for (unsigned int i = 0; i < oldCapacity; ++i)
    {
        if (oldKeys[i] == kEmptyKey)
            continue;
        const unsigned int slot = i_FindSlot(oldKeys[i]);
        m_keys[slot] = oldKeys[i];
        m_values[slot] = oldValues[i];
    }
}

bool CEntityComponentRepository::Validate()
{
    unsigned int occupied = m_hasZero ? 1 : 0;
    for (unsigned int i = 0; i <= m_mask; ++i)
    {
        if (m_keys[i] == kEmptyKey)
            continue;
        ++occupied;
        if (i_FindSlot(m_keys[i]) != i)
            return false;
    }
    return occupied == m_occupied && m_occupied <= m_threshold && (GetCapacity() & m_mask) == 0;
}

CEntityComponentRepositoryFast::CEntityComponentRepositoryFast(std::int32_t typeId)
    : CEntityComponentRepositoryBase(typeId),
      m_ownPlaces(std::make_unique<void*[]>(kCapacity))
{
    m_components = m_ownPlaces.get();
}

const char* CEntityComponentRepositoryFast::GetTypeString()
{
    return "CEntityComponentRepositoryFast";
}

void CEntityComponentRepositoryFast::i_SetOverflow(unsigned int index, void* component)
{
    AssertionFailed(kModule, 52);
    if (!m_overflow)
        m_overflow = std::make_unique<std::unordered_map<unsigned int, void*>>();
    (*m_overflow)[index] = component;
}

void CEntityComponentRepositoryFast::Remove(unsigned int index)
{
    if (index < kCapacity)
    {
        m_components[index] = nullptr;
        return;
    }
    AssertionFailed(kModule, 53);
    if (m_overflow)
        m_overflow->erase(index);
}

void CEntityComponentRepositoryFast::i_RemoveOverflow(unsigned int index, const void* component)
{
    AssertionFailed(kModule, 53);
    if (!m_overflow)
        return;
    if (const auto found = m_overflow->find(index); found != m_overflow->end() && found->second == component)
        m_overflow->erase(found);
}

void* CEntityComponentRepositoryFast::i_FindOverflow(unsigned int index)
{
    AssertionFailed(kModule, 51);
    if (!m_overflow)
        return nullptr;
    const auto found = m_overflow->find(index);
    return found != m_overflow->end() ? found->second : nullptr;
}
