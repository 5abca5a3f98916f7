#pragma once

#include "tamradeps/export.h"
#include "tamradeps/udb/udbDatabase.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <iterator>
#include <new>
#include <string_view>

class UDBGroup;

/// One key and its value in a group. Lives in the database; valid until the database is cleared or dies.
class UDBEntry
{
public:
    /// What the value is.
    enum class Kind : std::uint8_t
    {
        Number,
        String,
        Group
    };

    UDBEntry(const UDBEntry&) = delete;
    UDBEntry& operator=(const UDBEntry&) = delete;

    /// Any bytes, zeros included; one more zero follows the last byte, so `data()` also serves as a C string.
    std::string_view GetKey() const noexcept { return {m_key, m_keyLength}; }
    Kind GetKind() const noexcept { return m_kind; }

    /// The value; 0, "" or null for an entry of another kind. Strings end with a zero, as keys do.
    double GetNumber() const noexcept { return m_kind == Kind::Number ? m_value.number : 0.0; }
    std::string_view GetString() const noexcept
    {
        return m_kind == Kind::String ? std::string_view{m_value.string, m_stringLength} : std::string_view{""};
    }
    UDBGroup* GetGroup() const noexcept { return m_kind == Kind::Group ? m_value.group : nullptr; }

private:
    friend class UDBGroup;
    friend class UDBReadWriteBinary;

    union Value
    {
        double number;
        const char* string;
        UDBGroup* group;
    };

    UDBEntry(const char* key, std::size_t keyLength, Kind kind) noexcept
        : m_key(key),
          m_keyLength(static_cast<std::uint16_t>(keyLength)),
          m_kind(kind)
    {
    }

    bool i_Is(std::string_view key, Kind kind) const noexcept
    {
        // With a literal's length this is a comparison or two of words.
        return m_keyLength == key.size() && m_kind == kind &&
               (key.empty() || std::memcmp(m_key, key.data(), key.size()) == 0);
    }

    const char* m_key;
    Value m_value;
    UDBEntry* m_next = nullptr;
    std::uint32_t m_stringLength = 0;
    std::uint16_t m_keyLength;
    Kind m_kind;
    // Known to be the first entry of its group with this key and kind. False may only mean "not known".
    mutable bool m_isFirst : 1 = false;
    // Some bits of the hash of key and kind, once the group's index knows the entry.
    mutable std::uint8_t m_hash : 7 = 0;
};
static_assert(sizeof(void*) != 8 || sizeof(UDBEntry) == 32, "saving a scene makes 25 of these for each entity");

/// A list of (key, value) in the order of adding, repeated keys allowed. Values are numbers, strings and groups.
///
///     UDBGroup* component = root->AddNewGroup("component");
///     component->AddString("type", "transform");
///     component->AddNumber("x", 1.5);
///     ...
///     for (const UDBEntry& entry : *root)
///         if (const UDBGroup* group = entry.GetGroup())
///             Load(group->GetString("type", ""), group->GetNumber("x"));
///
/// Groups are made by `UDBDatabase::AllocateGroup` and `AddNewGroup`, belong to the database, and die when it is
/// cleared. Keys and strings are copied into it.
///
/// Looking up goes on where the last look-up of this group ended: values asked for in stored order cost one comparison
/// each. Other orders walk at most `kMaxWalk` entries or, in larger groups, ask a hash table that the first look-up
/// builds in the database's memory. Because look-ups remember their place, they count as changes between threads.
class TAMRADEPS_API UDBGroup
{
public:
    /// Bytes of the longest key; an entry under a longer one is refused with an assertion line.
    static constexpr std::size_t kMaxKeyLength = 0xFFFF;
    /// Bytes of the longest string; a longer one is refused likewise.
    static constexpr std::size_t kMaxStringLength = 0xFFFFFFFF;
    /// Entries of the largest group that does without a hash table.
    static constexpr std::size_t kMaxWalk = 64;

    /// Goes through the entries in stored order; valid until the group or its database is cleared.
    class Iterator
    {
    public:
        using iterator_category = std::forward_iterator_tag;
        using value_type = UDBEntry;
        using difference_type = std::ptrdiff_t;
        using pointer = const UDBEntry*;
        using reference = const UDBEntry&;

        explicit Iterator(const UDBEntry* entry = nullptr) noexcept : m_entry(entry) {}
        const UDBEntry& operator*() const noexcept { return *m_entry; }
        const UDBEntry* operator->() const noexcept { return m_entry; }
        inline Iterator& operator++() noexcept;
        inline Iterator operator++(int) noexcept;
        friend bool operator==(Iterator a, Iterator b) noexcept { return a.m_entry == b.m_entry; }

    private:
        const UDBEntry* m_entry;
    };

    UDBGroup(const UDBGroup&) = delete;
    UDBGroup& operator=(const UDBGroup&) = delete;

    UDBDatabase& GetDatabase() const noexcept { return *m_database; }

    void AddNumber(std::string_view key, double value)
    {
        if (UDBEntry* entry = i_AddEntry(key, UDBEntry::Kind::Number, 0))
            entry->m_value.number = value;
    }

    void AddString(std::string_view key, std::string_view value)
    {
        if (value.size() > kMaxStringLength)
            return i_RefuseLongText();
        if (UDBEntry* entry = i_AddEntry(key, UDBEntry::Kind::String, value.size() + 1))
        {
            char* text = reinterpret_cast<char*>(entry + 1) + key.size() + 1;
            i_CopyText(text, value);
            entry->m_value.string = text;
            entry->m_stringLength = static_cast<std::uint32_t>(value.size());
        }
    }

    /// Adds a group of the same database; null and a foreign group are refused with an assertion line. A group may be
    /// added in several places and is then one group, not copies. A group that contains itself cannot be written.
    void AddGroup(std::string_view key, UDBGroup* group)
    {
        if (!group || group->m_database != m_database)
            return i_RefuseGroup();
        if (UDBEntry* entry = i_AddEntry(key, UDBEntry::Kind::Group, 0))
            entry->m_value.group = group;
    }

    /// Adds a new empty group and returns it, never null. Under a key too long the group is returned, but not added.
    UDBGroup* AddNewGroup(std::string_view key)
    {
        UDBGroup* group = m_database->AllocateGroup();
        AddGroup(key, group);
        return group;
    }

    /// The first number under the key; false, and `*out` as it was, when there is none. As in all look-ups, entries of
    /// another kind under the same key are passed over.
    bool FindNumber(std::string_view key, double* out) const
    {
        const UDBEntry* entry = i_Find(key, UDBEntry::Kind::Number);
        if (entry)
            *out = entry->m_value.number;
        return entry != nullptr;
    }

    double GetNumber(std::string_view key, double otherwise = 0.0) const
    {
        const UDBEntry* entry = i_Find(key, UDBEntry::Kind::Number);
        return entry ? entry->m_value.number : otherwise;
    }

    /// The first string under the key, zeros inside included; false, and `*out` as it was, when there is none.
    bool FindString(std::string_view key, std::string_view* out) const
    {
        const UDBEntry* entry = i_Find(key, UDBEntry::Kind::String);
        if (entry)
            *out = {entry->m_value.string, entry->m_stringLength};
        return entry != nullptr;
    }

    /// The first string under the key as a C string, valid until the database is cleared.
    const char* GetString(std::string_view key, const char* otherwise = nullptr) const
    {
        const UDBEntry* entry = i_Find(key, UDBEntry::Kind::String);
        return entry ? entry->m_value.string : otherwise;
    }

    /// The first group under the key, null when there is none.
    UDBGroup* GetGroup(std::string_view key) const
    {
        const UDBEntry* entry = i_Find(key, UDBEntry::Kind::Group);
        return entry ? entry->m_value.group : nullptr;
    }

    /// Entries may be added during an iteration, and are met by it.
    Iterator begin() const noexcept { return Iterator(m_first); }
    Iterator end() const noexcept { return Iterator(); }

    std::size_t GetEntryCount() const noexcept { return m_count; }

    /// Forgets the entries; their memory comes back when the database is cleared. Groups among them live on till then.
    void Clear() noexcept;

    /// Turns the stored order round. Takes linear time.
    void ReverseEntries() noexcept;

private:
    friend class UDBDatabase;
    friend class UDBReadWriteBinary;

    explicit UDBGroup(UDBDatabase& database) noexcept : m_database(&database) {}

    static void i_CopyText(char* to, std::string_view text)
    {
        if (!text.empty())
            std::memcpy(to, text.data(), text.size());
        to[text.size()] = '\0';
    }

    // The key's copy and `extra` bytes lie behind the entry.
    UDBEntry* i_AddEntry(std::string_view key, UDBEntry::Kind kind, std::size_t extra)
    {
        if (key.size() > kMaxKeyLength)
        {
            i_RefuseLongText();
            return nullptr;
        }
        void* memory = m_database->i_Allocate(sizeof(UDBEntry) + key.size() + 1 + extra);
        char* text = static_cast<char*>(memory) + sizeof(UDBEntry);
        i_CopyText(text, key);
        return i_Append(new (memory) UDBEntry(text, key.size(), kind));
    }

    UDBEntry* i_Append(UDBEntry* entry) noexcept
    {
        (m_last ? m_last->m_next : m_first) = entry;
        m_last = entry;
        ++m_count;
        return entry;
    }

    void i_SetCursorBehind(const UDBEntry& entry) const noexcept { m_cursor = entry.m_next ? entry.m_next : m_first; }

    const UDBEntry* i_Find(std::string_view key, UDBEntry::Kind kind) const
    {
        const UDBEntry* entry = m_cursor;
        if (!entry || !entry->m_isFirst || !entry->i_Is(key, kind))
            return i_FindElsewhere(key, kind);
        i_SetCursorBehind(*entry);
        return entry;
    }
    const UDBEntry* i_FindElsewhere(std::string_view key, UDBEntry::Kind kind) const;
    const UDBEntry* i_FindInList(std::string_view key, UDBEntry::Kind kind) const noexcept;
    const UDBEntry** i_FindSlot(std::string_view key, UDBEntry::Kind kind) const noexcept;
    void i_IndexNewEntries() const;
    void i_ForgetIndex() noexcept;

    static void i_RefuseLongText();
    static void i_RefuseGroup();

    UDBDatabase* m_database;
    UDBEntry* m_first = nullptr;
    UDBEntry* m_last = nullptr;
    std::size_t m_count = 0;

    // What look-ups remember. The index knows the entries up to `m_indexed`: in small groups as one bit for each key's
    // hash, in larger ones as a table of the first entries.
    mutable const UDBEntry* m_cursor = nullptr;
    mutable const UDBEntry* m_indexed = nullptr;
    mutable std::array<std::uint64_t, 2> m_hashBits{};
    mutable const UDBEntry** m_table = nullptr;
    mutable std::size_t m_tableSize = 0;
};

inline UDBGroup::Iterator& UDBGroup::Iterator::operator++() noexcept
{
    m_entry = m_entry->m_next;
    return *this;
}

inline UDBGroup::Iterator UDBGroup::Iterator::operator++(int) noexcept
{
    const Iterator before = *this;
    ++*this;
    return before;
}
