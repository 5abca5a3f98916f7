#include "tamradeps/udb/udbGroup.h"

#include "tamradeps/core/assertion.h"

#include <algorithm>
#include <bit>
#include <type_traits>

static_assert(std::is_trivially_destructible_v<UDBEntry> && std::is_trivially_destructible_v<UDBGroup>,
              "the database drops its memory without calling destructors");

namespace
{
constexpr const char* kModule = "tamradeps/udb/udbGroup";

template <class T>
std::uint64_t Load(const char* from)
{
    T value;
    std::memcpy(&value, from, sizeof value);
    return value;
}

// Never leaves the process, so byte order does not matter.
inline std::uint64_t HashOf(std::string_view key, UDBEntry::Kind kind)
{
    constexpr std::uint64_t kMultiplier = 0x9E3779B97F4A7C15;
    const char* next = key.data();
    std::size_t left = key.size();
    std::uint64_t hash = left * 4 + static_cast<std::uint64_t>(kind);
    for (; left > 8; next += 8, left -= 8)
        hash = std::rotl((hash ^ Load<std::uint64_t>(next)) * kMultiplier, 29);

    std::uint64_t tail = 0;
    if (left >= 4)
        tail = Load<std::uint32_t>(next) | Load<std::uint32_t>(next + left - 4) << 32;
    else if (left > 0)
        tail = Load<std::uint8_t>(next) | Load<std::uint8_t>(next + left / 2) << 8 |
               Load<std::uint8_t>(next + left - 1) << 16;
    hash = (hash ^ tail) * kMultiplier;
    return hash ^ hash >> 32;
}

// The multiplication mixes the highest bits best. Small groups take seven of them for the place of their bit, which is
// two words and a bit in one of them; the next seven distinguish the entries that still meet.
std::uint64_t WordOf(std::uint64_t hash)
{
    return hash >> 63;
}
std::uint64_t BitOf(std::uint64_t hash)
{
    return std::uint64_t{1} << (hash >> 57 & 63);
}
unsigned ShortHash(std::uint64_t hash)
{
    return static_cast<unsigned>(hash >> 50 & 0x7F);
}
} // namespace

void UDBGroup::Clear() noexcept
{
    m_first = nullptr;
    m_last = nullptr;
    m_count = 0;
    i_ForgetIndex();
}

void UDBGroup::ReverseEntries() noexcept
{
    UDBEntry* reversed = nullptr;
    m_last = m_first;
    for (UDBEntry* entry = m_first; entry;)
    {
        UDBEntry* next = entry->m_next;
        entry->m_next = reversed;
        reversed = entry;
        entry = next;
    }
    m_first = reversed;
    i_ForgetIndex();
}

void UDBGroup::i_ForgetIndex() noexcept
{
    m_cursor = nullptr;
    m_indexed = nullptr;
    m_hashBits = {};
    m_table = nullptr;
    m_tableSize = 0;
}

const UDBEntry* UDBGroup::i_FindElsewhere(std::string_view key, UDBEntry::Kind kind) const
{
    if (m_indexed != m_last)
    {
        i_IndexNewEntries();
        if (!m_cursor)
            m_cursor = m_first;
        return i_Find(key, kind);
    }
    if (!m_first)
        return nullptr;
    const UDBEntry* found = m_table ? *i_FindSlot(key, kind) : i_FindInList(key, kind);
    if (found)
        i_SetCursorBehind(*found);
    return found;
}

const UDBEntry* UDBGroup::i_FindInList(std::string_view key, UDBEntry::Kind kind) const noexcept
{
    const std::uint64_t hash = HashOf(key, kind);
    if (!(m_hashBits[WordOf(hash)] & BitOf(hash)))
        return nullptr;

    const auto is = [&](const UDBEntry& entry) { return entry.m_hash == ShortHash(hash) && entry.i_Is(key, kind); };
    for (const UDBEntry* entry = m_cursor; entry; entry = entry->m_next)
        if (is(*entry))
        {
            if (entry->m_isFirst)
                return entry;
            break;
        }
    for (const UDBEntry* entry = m_first; entry; entry = entry->m_next)
        if (is(*entry))
        {
            entry->m_isFirst = true;
            return entry;
        }
    return nullptr;
}

// The place in the table of the first entry with this key and kind; null is in it when there is none.
const UDBEntry** UDBGroup::i_FindSlot(std::string_view key, UDBEntry::Kind kind) const noexcept
{
    std::size_t slot = HashOf(key, kind) & (m_tableSize - 1);
    while (m_table[slot] && !m_table[slot]->i_Is(key, kind))
        slot = (slot + 1) & (m_tableSize - 1);
    return &m_table[slot];
}

void UDBGroup::i_IndexNewEntries() const
{
    const UDBEntry* next = m_indexed ? m_indexed->m_next : m_first;
    m_indexed = m_last;
    if (m_count <= kMaxWalk)
    {
        // Kept in registers: a loop through memory would wait for every store.
        auto [bits0, bits1] = m_hashBits;
        for (; next; next = next->m_next)
        {
            const std::uint64_t hash = HashOf(next->GetKey(), next->m_kind);
            const std::uint64_t in1 = 0 - WordOf(hash);
            const std::uint64_t bit0 = BitOf(hash) & ~in1;
            const std::uint64_t bit1 = BitOf(hash) & in1;
            next->m_isFirst = ((bits0 & bit0) | (bits1 & bit1)) == 0;
            next->m_hash = ShortHash(hash) & 0x7F;
            bits0 |= bit0;
            bits1 |= bit1;
        }
        m_hashBits = {bits0, bits1};
        return;
    }
    if (m_count > m_tableSize / 2)
    {
        m_tableSize = std::bit_ceil(m_count * 3);
        m_table = static_cast<const UDBEntry**>(m_database->i_Allocate(m_tableSize * sizeof(void*)));
        std::fill_n(m_table, m_tableSize, nullptr);
        next = m_first;
    }
    for (; next; next = next->m_next)
    {
        const UDBEntry** slot = i_FindSlot(next->GetKey(), next->m_kind);
        next->m_isFirst = *slot == nullptr;
        if (next->m_isFirst)
            *slot = next;
    }
}

void UDBGroup::i_RefuseLongText()
{
    AssertionFailed(kModule, 1);
}

void UDBGroup::i_RefuseGroup()
{
    AssertionFailed(kModule, 2);
}
