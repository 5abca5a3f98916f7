#include "gameengine/engine/entityComponentPositionIndexInternal.h"

CEntityComponentPositionIndex::CEntityComponentPositionIndex() : m_pool(sizeof(Node), 512) {}

std::uint32_t CEntityComponentPositionIndex::Hash(const CEntityComponent* component) noexcept
{
    const auto key = static_cast<std::uint32_t>(reinterpret_cast<std::uintptr_t>(component));
    std::uint32_t h = ~key + (key << 15);
    h ^= h >> 12;
    h += h << 2;
    h ^= h >> 4;
    h *= 2057;
    h ^= h >> 16;
    return h;
}

void CEntityComponentPositionIndex::Add(const CEntityComponent* component, std::uint32_t position)
{
    const std::uint32_t hash = Hash(component);
    Chain& chain = m_chains[hash % kBuckets];
    if (!chain.last || chain.last->count == kNodeSize)
    {
        auto* node = static_cast<Node*>(m_pool.Allocate());
        node->count = 0;
        node->next = nullptr;
        (chain.last ? chain.last->next : chain.first) = node;
        chain.last = node;
    }
    chain.last->entries[chain.last->count++] = {hash, position};
}

std::int64_t CEntityComponentPositionIndex::Find(const CEntityComponent* component, const Components& components) const
{
    const std::uint32_t hash = Hash(component);
    for (const Node* node = m_chains[hash % kBuckets].first; node; node = node->next)
    {
        for (std::uint32_t i = 0; i < node->count; ++i)
        {
            const Node::Entry& entry = node->entries[i];
            if (entry.hash == hash && components[entry.position] == component)
                return entry.position;
        }
    }
    return -1;
}

CEntityComponentPositionIndex::Node::Entry*
CEntityComponentPositionIndex::i_FindEntry(const CEntityComponent* component, std::uint32_t position) const
{
    const std::uint32_t hash = Hash(component);
    for (Node* node = m_chains[hash % kBuckets].first; node; node = node->next)
    {
        for (std::uint32_t i = 0; i < node->count; ++i)
        {
            if (node->entries[i].hash == hash && node->entries[i].position == position)
                return &node->entries[i];
        }
    }
    return nullptr;
}

void CEntityComponentPositionIndex::Remove(const CEntityComponent* component, std::uint32_t position)
{
    Node::Entry* const entry = i_FindEntry(component, position);
    if (!entry)
        return;
    // The chain's last entry fills the gap, so only the last node is ever partly full.
    Chain& chain = m_chains[Hash(component) % kBuckets];
    *entry = chain.last->entries[--chain.last->count];
    if (chain.last->count != 0)
        return;
    Node* emptied = chain.last;
    Node* previous = nullptr;
    for (Node* node = chain.first; node != emptied; node = node->next)
        previous = node;
    (previous ? previous->next : chain.first) = nullptr;
    chain.last = previous;
    m_pool.Deallocate(emptied);
}

void CEntityComponentPositionIndex::Move(const CEntityComponent* component, std::uint32_t from, std::uint32_t to)
{
    if (Node::Entry* const entry = i_FindEntry(component, from))
        entry->position = to;
}

bool CEntityComponentPositionIndex::Validate(const Components& components) const
{
    std::size_t entries = 0;
    for (std::uint32_t bucket = 0; bucket < kBuckets; ++bucket)
    {
        for (const Node* node = m_chains[bucket].first; node; node = node->next)
        {
            const bool isLast = node == m_chains[bucket].last;
            if (isLast != (node->next == nullptr) || node->count == 0 || (!isLast && node->count != kNodeSize))
                return false;
            for (std::uint32_t i = 0; i < node->count; ++i, ++entries)
            {
                const Node::Entry& entry = node->entries[i];
                if (entry.position >= components.GetCount() || entry.hash % kBuckets != bucket ||
                    Hash(components[entry.position]) != entry.hash)
                    return false;
            }
        }
    }
    return entries == components.GetCount();
}
