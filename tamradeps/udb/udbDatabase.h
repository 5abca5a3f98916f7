#pragma once

#include "tamradeps/core/memoryDynamicPoolAllocator.h"
#include "tamradeps/export.h"

#include <cstddef>

class UDBGroup;

/// Owns the memory of a tree of groups, keys and texts.
///
/// Memory is handed out in a row from blocks and comes back only as a whole, so that building a tree costs no heap call
/// per entry and one database serves any number of trees, one after the other:
///
///     UDBDatabase database;
///     for (const CEntity* entity : entities) {
///         database.Clear();
///         UDBGroup* root = database.AllocateGroup();
///         root->AddNumber("id", 7);
///         writer.Write(*root, bytes);
///     }
///
/// One thread at a time uses a database and its groups, for reading too.
class TAMRADEPS_API UDBDatabase
{
public:
    UDBDatabase() noexcept = default;
    UDBDatabase(const UDBDatabase&) = delete;
    UDBDatabase& operator=(const UDBDatabase&) = delete;
    ~UDBDatabase();

    /// A new empty group, never null, valid until `Clear` or the database's death. A tree's root is nothing special.
    UDBGroup* AllocateGroup();

    /// Ends every group, key and text of this database at once. The blocks stay: building a tree of the same size again
    /// costs no heap call.
    void Clear() noexcept;

    /// Bytes of all blocks, used or not.
    std::size_t GetReservedBytes() const noexcept { return m_reserved; }

private:
    friend class UDBGroup;
    friend class UDBReadWriteBinary;
    friend class UDBReadWriteAscii;

    struct Block;

    // A fill level to go back to.
    struct Mark
    {
        Block* block;
        std::byte* next;
    };

    // Aligned for pointers and numbers; not cleared.
    void* i_Allocate(std::size_t size)
    {
        size = (size + (kAlignment - 1)) & ~(kAlignment - 1);
        if (size > static_cast<std::size_t>(m_end - m_next))
            i_OpenBlock(size);
        void* memory = m_next;
        m_next += size;
        i_Unpoison(memory, size);
        return memory;
    }
    void i_OpenBlock(std::size_t size);
    Mark i_GetMark() const noexcept { return {m_block, m_next}; }
    void i_GoBack(const Mark& mark) noexcept;
#if defined(TAMRADEPS_POOL_POISONS)
    static void i_Unpoison(void* memory, std::size_t size) noexcept;
#else
    static void i_Unpoison(void*, std::size_t) noexcept {}
#endif

    static constexpr std::size_t kAlignment = 8;

    std::byte* m_next = nullptr;
    std::byte* m_end = nullptr;
    // The block being filled; those behind it in the chain are unused. Null before the first allocation.
    Block* m_block = nullptr;
    Block* m_firstBlock = nullptr;
    std::size_t m_reserved = 0;
};
