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
    GetRegistry()[typeId] = this;
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

CEntityComponentRepository::CEntityComponentRepository(std::int32_t typeId)
    : CEntityComponentRepositoryBase(typeId),
      m_threshold(GetThreshold(kFirstCapacity)),
      m_mask(kFirstCapacity - 1),
      m_slots(std::make_unique<Slot[]>(kFirstCapacity))
{
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
    Slot* slot = &i_FindSlot(index);
    if (slot->key == kEmptyKey)
    {
        if (m_occupied == m_threshold)
        {
            i_Double();
            slot = &i_FindSlot(index);
        }
        slot->key = index;
        ++m_occupied;
    }
    slot->value = component;
}

void CEntityComponentRepository::i_Double()
{
    const unsigned int oldCapacity = GetCapacity();
    const std::unique_ptr<Slot[]> old = std::exchange(m_slots, std::make_unique<Slot[]>(std::size_t{oldCapacity} * 2));
    m_mask = oldCapacity * 2 - 1;
    m_threshold = GetThreshold(oldCapacity * 2);
    for (unsigned int i = 0; i < oldCapacity; ++i)
    {
        if (old[i].key != kEmptyKey)
            i_FindSlot(old[i].key) = old[i];
    }
}

bool CEntityComponentRepository::Validate()
{
    unsigned int occupied = m_hasZero ? 1 : 0;
    for (unsigned int i = 0; i <= m_mask; ++i)
    {
        if (m_slots[i].key == kEmptyKey)
            continue;
        ++occupied;
        if (&i_FindSlot(m_slots[i].key) != &m_slots[i])
            return false;
    }
    return occupied == m_occupied && m_occupied <= m_threshold && (GetCapacity() & m_mask) == 0;
}

CEntityComponentRepositoryFast::CEntityComponentRepositoryFast(std::int32_t typeId)
    : CEntityComponentRepositoryBase(typeId)
{
}

const char* CEntityComponentRepositoryFast::GetTypeString()
{
    return "CEntityComponentRepositoryFast";
}

void CEntityComponentRepositoryFast::i_SetOverflow(unsigned int index, void* component)
{
    AssertionFailed(kModule, 52);
    m_overflow[index] = component;
}

void CEntityComponentRepositoryFast::Remove(unsigned int index)
{
    if (index < kCapacity)
    {
        m_components[index] = nullptr;
        return;
    }
    AssertionFailed(kModule, 53);
    m_overflow.erase(index);
}

void CEntityComponentRepositoryFast::i_RemoveOverflow(unsigned int index, const void* component)
{
    AssertionFailed(kModule, 53);
    if (const auto found = m_overflow.find(index); found != m_overflow.end() && found->second == component)
        m_overflow.erase(found);
}

void* CEntityComponentRepositoryFast::i_FindOverflow(unsigned int index)
{
    AssertionFailed(kModule, 51);
    const auto found = m_overflow.find(index);
    return found != m_overflow.end() ? found->second : nullptr;
}
