#pragma once

#include "tamradeps/export.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <span>

namespace tamra
{
/// The rare part of `CPointerArray`, kept out of line so that the usual part stays small: room for `capacity` pointers
/// with the first `count` of the old ones, whose memory is freed if it came from here.
TAMRADEPS_API void* GrowPointers(void* old, bool isOwned, std::uint32_t count, std::uint32_t capacity);
/// Frees what `GrowPointers` gave.
TAMRADEPS_API void FreePointers(void* pointers) noexcept;
} // namespace tamra

/// A growing array of pointers whose first `InlineCount` entries lie inside the object: short lists cost no heap
/// memory. Copies copy the pointers.
template <class T, std::uint32_t InlineCount>
class CPointerArray
{
    static_assert(InlineCount > 0, "growing doubles the capacity");

public:
    CPointerArray() noexcept = default;
    CPointerArray(const CPointerArray& other) { *this = other; }
    CPointerArray& operator=(const CPointerArray& other)
    {
        if (this == &other)
            return *this;
        m_count = 0;
        while (m_capacity < other.m_count)
            i_Grow();
        std::copy_n(other.m_items, other.m_count, m_items);
        m_count = other.m_count;
        return *this;
    }
    ~CPointerArray()
    {
        if (m_items != m_inline)
            tamra::FreePointers(m_items);
    }

    std::uint32_t GetCount() const noexcept { return m_count; }
    std::uint32_t GetCapacity() const noexcept { return m_capacity; }
    bool IsEmpty() const noexcept { return m_count == 0; }
    T*& operator[](std::uint32_t i) noexcept { return m_items[i]; }
    T* operator[](std::uint32_t i) const noexcept { return m_items[i]; }
    /// All entries, valid until the array changes.
    std::span<T* const> GetSpan() const noexcept { return {m_items, m_count}; }

    void Append(T* item)
    {
        if (m_count == m_capacity)
            i_Grow();
        m_items[m_count++] = item;
    }

    void InsertAt(std::uint32_t position, T* item)
    {
        Append(item);
        std::rotate(m_items + position, m_items + m_count - 1, m_items + m_count);
    }

    /// Removes the first entry that equals `item`, keeping the order of the rest. False when there is none.
    bool EraseFirst(const T* item) noexcept
    {
        T** const end = m_items + m_count;
        T** const found = std::find(m_items, end, item);
        if (found == end)
            return false;
        std::copy(found + 1, end, found);
        --m_count;
        return true;
    }

    /// Drops the last entry and clears its place.
    void RemoveLast() noexcept { m_items[--m_count] = nullptr; }
    void Clear() noexcept { m_count = 0; }

private:
    void i_Grow()
    {
        m_items = static_cast<T**>(tamra::GrowPointers(m_items, m_items != m_inline, m_count, m_capacity * 2));
        m_capacity *= 2;
    }

    T** m_items = m_inline;
    std::uint32_t m_count = 0;
    std::uint32_t m_capacity = InlineCount;
    T* m_inline[InlineCount];
};
