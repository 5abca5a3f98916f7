#pragma once

#include "gameengine/export.h"
#include "tamradeps/core/memoryDynamicPoolAllocator.h"
#include "tamradeps/core/pointerArray.h"

#include <cstdint>

class CEntityComponent;

/// Where a component database lists its components: a hash table of 1024 chains whose nodes hold four (hash, position)
/// pairs each.
///
/// The hash mixes the low 32 bits of the pointer; distinct pointers may share it, so a look-up confirms each match
/// against the component stored at that position.
class CEntityComponentPositionIndex
{
public:
    using Components = CPointerArray<CEntityComponent, 16>;

    CEntityComponentPositionIndex();
    CEntityComponentPositionIndex(const CEntityComponentPositionIndex&) = delete;
    CEntityComponentPositionIndex& operator=(const CEntityComponentPositionIndex&) = delete;

    void Add(const CEntityComponent* component, std::uint32_t position);
    /// The position of the component's first entry, -1 when there is none.
    std::int64_t Find(const CEntityComponent* component, const Components& components) const;
    /// Drops the entry of a component at a position.
    void Remove(const CEntityComponent* component, std::uint32_t position);
    /// Gives the component's entry at one position another.
    void Move(const CEntityComponent* component, std::uint32_t from, std::uint32_t to);

    /// Entries in all chains, and whether every one names the component at its position. For tests.
    bool Validate(const Components& components) const;

    static std::uint32_t Hash(const CEntityComponent* component) noexcept;

private:
    static constexpr std::uint32_t kBuckets = 1024;
    static constexpr std::uint32_t kNodeSize = 4;

    struct Node
    {
        std::uint32_t count;
        Node* next;
        struct Entry
        {
            std::uint32_t hash;
            std::uint32_t position;
        } entries[kNodeSize];
    };
    struct Chain
    {
        Node* first = nullptr;
        Node* last = nullptr;
    };

    Node::Entry* i_FindEntry(const CEntityComponent* component, std::uint32_t position) const;

    CMemoryDynamicPoolAllocator m_pool;
    Chain m_chains[kBuckets];
};
