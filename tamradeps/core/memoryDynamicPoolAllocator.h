#pragma once

#include "tamradeps/export.h"

#include <cstddef>

#if defined(__SANITIZE_ADDRESS__)
#define TAMRADEPS_POOL_POISONS 1
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
#define TAMRADEPS_POOL_POISONS 1
#endif
#endif

/// Fixed-size elements from growing blocks.
///
/// `Allocate` returns the element released last, else the next one of the current block; a full block is followed by
/// one of twice its size, so elements taken in a row lie in a row. Memory is not cleared. Blocks are given back when
/// the pool is destroyed, whether or not elements are still in use.
///
/// Both operations take constant time. Elements are aligned for any object of their size, up to
/// `alignof(std::max_align_t)`, and to 64 bytes if their size is a multiple of that. Under AddressSanitizer released
/// elements are poisoned.
class TAMRADEPS_API CMemoryDynamicPoolAllocator
{
public:
    /// `elementSize` in bytes, enlarged to hold a pointer; `count` elements in the first block. Values below 1 count
    /// as 1.
    CMemoryDynamicPoolAllocator(std::size_t elementSize, std::size_t count) noexcept;
    CMemoryDynamicPoolAllocator(const CMemoryDynamicPoolAllocator&) = delete;
    CMemoryDynamicPoolAllocator& operator=(const CMemoryDynamicPoolAllocator&) = delete;
    ~CMemoryDynamicPoolAllocator();

    /// Never null: exhausted memory ends the program.
    void* Allocate() noexcept
    {
        if (m_free)
            return i_TakeFree();
        if (m_next == m_end)
            i_AddBlock();
        void* element = m_next;
        m_next += m_elementSize;
        ++m_used;
        i_Unpoison(element);
        return element;
    }

    /// Takes back an element of this pool; null is ignored.
    void Deallocate(void* element) noexcept
    {
        if (!element)
            return;
        auto* freed = static_cast<FreeElement*>(element);
        freed->next = m_free;
        m_free = freed;
        --m_used;
        i_Poison(element);
    }

    /// Elements handed out and not yet taken back.
    std::size_t GetUsedCount() const noexcept { return m_used; }
    /// Elements in all blocks.
    std::size_t GetCapacity() const noexcept { return m_capacity; }

private:
    struct Block;
    struct FreeElement
    {
        FreeElement* next;
    };

    void* i_TakeFree() noexcept
    {
        FreeElement* element = m_free;
        i_Unpoison(element);
        m_free = element->next;
        ++m_used;
        return element;
    }
    void i_AddBlock() noexcept;
#if defined(TAMRADEPS_POOL_POISONS)
    void i_Unpoison(void* element) const noexcept;
    void i_Poison(void* element) const noexcept;
#else
    void i_Poison(void*) const noexcept {}
    void i_Unpoison(void*) const noexcept {}
#endif

    FreeElement* m_free = nullptr;
    std::byte* m_next = nullptr;
    std::byte* m_end = nullptr;
    std::size_t m_elementSize;
    std::size_t m_blockElements;
    std::size_t m_used = 0;
    std::size_t m_capacity = 0;
    Block* m_blocks = nullptr;
};
