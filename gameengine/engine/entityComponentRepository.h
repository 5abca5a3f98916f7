#pragma once

#include "gameengine/export.h"
#include "tamradeps/core/baseObject.h"

#include <cstdint>
#include <memory>
#include <unordered_map>

// Keeps what hardly ever runs out of the way of what always does.
#if defined(__GNUC__)
#define TAMRA_COLD __attribute__((cold, noinline))
#else
#define TAMRA_COLD
#endif

/// From an entity's index to its component of one type: how components find their siblings.
///
///     auto* transform = static_cast<ComponentTransform*>(ComponentTransform::REPOSITORY().Find(entity->GetIndex()));
///
/// Repositories hold plain pointers and live until the process exits. A repository enters itself into a process-wide
/// map under its type id, replacing the former one of that id, and leaves it when destroyed.
class TAMRAGAMEENGINE_API CEntityComponentRepositoryBase : public BaseObject
{
public:
    explicit CEntityComponentRepositoryBase(std::int32_t typeId);
    CEntityComponentRepositoryBase(const CEntityComponentRepositoryBase&) = delete;
    CEntityComponentRepositoryBase& operator=(const CEntityComponentRepositoryBase&) = delete;
    ~CEntityComponentRepositoryBase() override;

    const char* GetTypeString() override;

    /// The component stored for the index, or null.
    virtual void* Find(unsigned int index) = 0;
    /// Stores a component for the index in place of the former one.
    virtual void Set(unsigned int index, void* component) = 0;
    /// Stores null for the index.
    virtual void Remove(unsigned int index) = 0;

    std::int32_t GetTypeID() const noexcept { return m_typeId; }

    /// The repository registered under the type id, or null. For id 10000, which all transforms share, the one created
    /// last.
    static CEntityComponentRepositoryBase* GetRepository(std::int32_t typeId);

private:
    std::int32_t m_typeId;
};

/// A repository as a hash table with linear probing, for types that few entities carry.
///
/// It starts with 32 slots and doubles when three quarters are occupied. An index keeps its slot when its component is
/// removed: indices are recycled, so the slot is used again soon. Index 0, which marks an empty slot in the table, has
/// a place of its own and counts like any other.
class TAMRAGAMEENGINE_API CEntityComponentRepository final : public CEntityComponentRepositoryBase
{
public:
    explicit CEntityComponentRepository(std::int32_t typeId);

    const char* GetTypeString() override;

    void* Find(unsigned int index) override
    {
        if (index == kEmptyKey) [[unlikely]]
            return m_zeroValue;
        for (const Slot* slot = &m_slots[index & m_mask];; slot = i_Next(slot))
        {
            if (slot->key == index)
                return slot->value;
            if (slot->key == kEmptyKey)
                return nullptr;
        }
    }
    void Set(unsigned int index, void* component) override
    {
        Slot& slot = i_FindSlot(index);
        if (slot.key == index && index != kEmptyKey) [[likely]]
            slot.value = component;
        else
            i_SetNew(index, component);
    }
    void Remove(unsigned int index) override { Set(index, nullptr); }
    /// Stores null for the index if it has just this component.
    void RemoveIf(unsigned int index, const void* component) noexcept
    {
        if (index == kEmptyKey)
        {
            if (m_zeroValue == component)
                m_zeroValue = nullptr;
        }
        else if (Slot& slot = i_FindSlot(index); slot.value == component)
        {
            slot.value = nullptr;
        }
    }

    /// Indices that ever had a component.
    unsigned int GetOccupiedCount() const noexcept { return m_occupied; }
    unsigned int GetCapacity() const noexcept { return m_mask + 1; }

    /// Checks that every occupied slot can be found and that the counts are right. For tests; walks the table.
    bool Validate();

private:
    static constexpr unsigned int kEmptyKey = 0;

    struct Slot
    {
        unsigned int key = kEmptyKey;
        void* value = nullptr;
    };

    TAMRA_COLD void i_SetNew(unsigned int index, void* component);
    const Slot* i_Next(const Slot* slot) const noexcept { return slot == &m_slots[m_mask] ? &m_slots[0] : slot + 1; }
    // The slot of the index, or the empty one where it would go.
    Slot& i_FindSlot(unsigned int index) noexcept
    {
        const Slot* slot = &m_slots[index & m_mask];
        while (slot->key != index && slot->key != kEmptyKey)
            slot = i_Next(slot);
        return const_cast<Slot&>(*slot);
    }
    void i_Double();

    unsigned int m_occupied = 0;
    unsigned int m_threshold;
    unsigned int m_mask;
    bool m_hasZero = false;
    void* m_zeroValue = nullptr;
    std::unique_ptr<Slot[]> m_slots;
};

/// A repository as a plain array of 100000 pointers, for types that almost every entity carries: a look-up is one array
/// read. An index of 100000 or more is the caller's error: it is reported, and served from a slow map.
class TAMRAGAMEENGINE_API CEntityComponentRepositoryFast final : public CEntityComponentRepositoryBase
{
public:
    static constexpr unsigned int kCapacity = 100000;

    explicit CEntityComponentRepositoryFast(std::int32_t typeId);

    const char* GetTypeString() override;

    void* Find(unsigned int index) override
    {
        // The place past the end is always null, so that only a look-up without a result has to test the index.
        void* const component = m_components[index < kCapacity ? index : kCapacity];
        if (component) [[likely]]
            return component;
        return index < kCapacity ? nullptr : i_FindOverflow(index);
    }
    void Set(unsigned int index, void* component) override
    {
        if (index < kCapacity) [[likely]]
            m_components[index] = component;
        else
            i_SetOverflow(index, component);
    }
    void Remove(unsigned int index) override;
    /// Stores null for the index if it has just this component.
    void RemoveIf(unsigned int index, const void* component)
    {
        if (index >= kCapacity) [[unlikely]]
            i_RemoveOverflow(index, component);
        else if (m_components[index] == component)
            m_components[index] = nullptr;
    }

private:
    TAMRA_COLD void i_SetOverflow(unsigned int index, void* component);
    TAMRA_COLD void i_RemoveOverflow(unsigned int index, const void* component);
    TAMRA_COLD void* i_FindOverflow(unsigned int index);

    std::unordered_map<unsigned int, void*> m_overflow;
    void* m_components[kCapacity + 1] = {};
};
