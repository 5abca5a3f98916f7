#pragma once

#include "gameengine/export.h"
#include "tamradeps/core/baseObject.h"
#include "tamradeps/core/hints.h"

#include <array>
#include <cstdint>
#include <memory>
#include <unordered_map>

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

protected:
    // For repositories that are there before any code runs: in no map until `i_Enter`.
    struct Unregistered
    {
    };
    constexpr CEntityComponentRepositoryBase(std::int32_t typeId, Unregistered) noexcept : m_typeId(typeId) {}
    void i_Enter();

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
        for (unsigned int slot = index & m_mask;; slot = (slot + 1) & m_mask)
        {
            if (m_keys[slot] == index) [[likely]]
                return m_values[slot];
            if (m_keys[slot] == kEmptyKey)
                return nullptr;
        }
    }
    void Set(unsigned int index, void* component) override
    {
        const unsigned int slot = i_FindSlot(index);
        if (m_keys[slot] == index && index != kEmptyKey) [[likely]]
            m_values[slot] = component;
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
        else if (const unsigned int slot = i_FindSlot(index); m_values[slot] == component)
        {
            m_values[slot] = nullptr;
        }
    }

    /// Indices that ever had a component.
    unsigned int GetOccupiedCount() const noexcept { return m_occupied; }
    unsigned int GetCapacity() const noexcept { return m_mask + 1; }

    /// Checks that every occupied slot can be found and that the counts are right. For tests; walks the table.
    bool Validate();

private:
    static constexpr unsigned int kEmptyKey = 0;

    TAMRA_COLD void i_SetNew(unsigned int index, void* component);
    // The slot of the index, or the empty one where it would go.
    unsigned int i_FindSlot(unsigned int index) const noexcept
    {
        unsigned int slot = index & m_mask;
        while (m_keys[slot] != index && m_keys[slot] != kEmptyKey)
            slot = (slot + 1) & m_mask;
        return slot;
    }
    void i_Allocate(unsigned int capacity);
    void i_Double();

    unsigned int m_occupied = 0;
    unsigned int m_threshold = 0;
    unsigned int m_mask = 0;
    bool m_hasZero = false;
    void* m_zeroValue = nullptr;
    // A slot's key and value, apart: without the padding between them more of the table stays in the cache.
    std::unique_ptr<unsigned int[]> m_keys;
    std::unique_ptr<void*[]> m_values;
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
        if (index >= kCapacity) [[unlikely]]
            return i_FindOverflow(index);
        // Callers that test the result shall get a branch, which is predicted, and not wait for the component.
        void* const component = m_components[index];
        if (TAMRA_SURELY(component != nullptr))
            return component;
        return nullptr;
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

    template <class Repository>
    friend class TComponentRepository;
    constexpr CEntityComponentRepositoryFast(std::int32_t typeId, void** places) noexcept
        : CEntityComponentRepositoryBase(typeId, Unregistered{}),
          m_components(places)
    {
    }

    void** m_components;
    std::unique_ptr<void*[]> m_ownPlaces;
    std::unique_ptr<std::unordered_map<unsigned int, void*>> m_overflow;
};

/// Where a component class keeps its repository; see `TAMRA_COMPONENT`. Repositories are never destroyed.
template <class Repository>
class TComponentRepository;

/// Made when it is asked for first.
template <>
class TComponentRepository<CEntityComponentRepository>
{
public:
    /// Needs none of its own.
    struct Places
    {
    };

    constexpr TComponentRepository(std::int32_t typeId, Places&) noexcept : m_typeId(typeId) {}
    CEntityComponentRepository& Get() { return m_repository ? *m_repository : i_Create(); }
    bool Enter() const noexcept { return false; }

private:
    TAMRA_COLD CEntityComponentRepository& i_Create()
    {
        m_repository = new CEntityComponentRepository(m_typeId);
        return *m_repository;
    }

    std::int32_t m_typeId;
    CEntityComponentRepository* m_repository = nullptr;
};

/// There before any code runs, so that a look-up has nothing to test; in the process-wide map from the time when its
/// module is initialised.
template <>
class TComponentRepository<CEntityComponentRepositoryFast>
{
public:
    using Places = std::array<void*, CEntityComponentRepositoryFast::kCapacity>;

    constexpr TComponentRepository(std::int32_t typeId, Places& places) noexcept : m_repository(typeId, places.data())
    {
    }
    TComponentRepository(const TComponentRepository&) = delete;
    TComponentRepository& operator=(const TComponentRepository&) = delete;
    ~TComponentRepository() {} // leaves the repository alone
    CEntityComponentRepositoryFast& Get() noexcept { return m_repository; }
    bool Enter()
    {
        m_repository.i_Enter();
        return true;
    }

private:
    union
    {
        CEntityComponentRepositoryFast m_repository;
    };
};
