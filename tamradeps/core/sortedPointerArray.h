#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <vector>

/// A set of pointers in the order of their values, with access by position.
///
/// Pointers lie in blocks of up to 128, so adding or removing one moves a kilobyte at most, whatever the order of
/// the addresses: about the logarithm of the count plus one short move. Going through all positions in a row costs an
/// array read each; a jump to any position costs a binary search over the blocks, and after a change a pass over them.
template <class T>
class CSortedPointerArray
{
public:
    std::size_t GetCount() const noexcept { return m_count; }

    bool Contains(const T* item) const noexcept
    {
        if (m_blocks.empty())
            return false;
        const Block& block = *m_blocks[i_FindBlock(item)].items;
        return std::binary_search(block.items, block.items + block.count, item, std::less<const T*>());
    }

    /// The pointer at a position below `GetCount()`.
    T* operator[](std::size_t position) const noexcept
    {
        if (position - m_cursorStart >= m_blocks[m_cursor].items->count)
            i_MoveCursor(position);
        return m_blocks[m_cursor].items->items[position - m_cursorStart];
    }

    /// False when the pointer is there already.
    bool Insert(T* item)
    {
        if (m_blocks.empty())
            m_blocks.push_back({item, std::make_unique<Block>()});
        std::size_t index = i_FindBlock(item);
        std::uint32_t at = i_LowerBound(*m_blocks[index].items, item);
        if (at < m_blocks[index].items->count && m_blocks[index].items->items[at] == item)
            return false;
        if (m_blocks[index].items->count == kBlockSize)
        {
            i_Split(index, at);
            index = i_FindBlock(item);
            at = i_LowerBound(*m_blocks[index].items, item);
        }
        Block& block = *m_blocks[index].items;
        std::copy_backward(block.items + at, block.items + block.count, block.items + block.count + 1);
        block.items[at] = item;
        ++block.count;
        m_blocks[index].first = block.items[0];
        m_hint = index;
        ++m_count;
        i_Changed();
        return true;
    }

    /// False when the pointer is not there.
    bool Erase(const T* item)
    {
        if (m_blocks.empty())
            return false;
        const std::size_t index = i_FindBlock(item);
        Block& block = *m_blocks[index].items;
        const std::uint32_t at = i_LowerBound(block, item);
        if (at == block.count || block.items[at] != item)
            return false;
        std::copy(block.items + at + 1, block.items + block.count, block.items + at);
        --block.count;
        --m_count;
        if (block.count != 0)
            m_blocks[index].first = block.items[0];
        i_Shrink(index);
        i_Changed();
        return true;
    }

    /// Walks the whole structure: order, block bounds, counts. For tests.
    bool Validate() const noexcept
    {
        std::size_t count = 0;
        const T* last = nullptr;
        for (const BlockEntry& entry : m_blocks)
        {
            const Block& block = *entry.items;
            if (block.count == 0 || block.count > kBlockSize || entry.first != block.items[0])
                return false;
            for (std::uint32_t i = 0; i < block.count; ++i)
            {
                if (last && !std::less<const T*>()(last, block.items[i]))
                    return false;
                last = block.items[i];
            }
            count += block.count;
        }
        return count == m_count;
    }

private:
    static constexpr std::uint32_t kBlockSize = 128;

    struct Block
    {
        std::uint32_t count = 0;
        T* items[kBlockSize];
    };
    struct BlockEntry
    {
        const T* first;
        std::unique_ptr<Block> items;
    };

    static std::uint32_t i_LowerBound(const Block& block, const T* item) noexcept
    {
        // Objects from a pool come in rising order.
        if (block.count != 0 && std::less<const T*>()(block.items[block.count - 1], item))
            return block.count;
        return static_cast<std::uint32_t>(
            std::lower_bound(block.items, block.items + block.count, item, std::less<const T*>()) - block.items);
    }

    // The last block whose first pointer is not above the item, or block 0.
    std::size_t i_FindBlock(const T* item) const noexcept
    {
        const std::less<const T*> less;
        if (m_hint < m_blocks.size() && !less(item, m_blocks[m_hint].first) &&
            (m_hint + 1 == m_blocks.size() || less(item, m_blocks[m_hint + 1].first)))
            return m_hint;
        const auto above =
            std::upper_bound(m_blocks.begin(), m_blocks.end(), item,
                             [less](const T* p, const BlockEntry& entry) { return less(p, entry.first); });
        m_hint = above == m_blocks.begin() ? 0 : static_cast<std::size_t>(above - m_blocks.begin()) - 1;
        return m_hint;
    }

    // Makes room in a full block. At either end of the block the new pointer gets a block of its own, so that rising
    // and falling addresses fill blocks to the brim.
    void i_Split(std::size_t index, std::uint32_t at)
    {
        Block& full = *m_blocks[index].items;
        auto added = std::make_unique<Block>();
        const std::uint32_t kept = at == kBlockSize ? kBlockSize - 1 : at == 0 ? 1 : kBlockSize / 2;
        added->count = kBlockSize - kept;
        std::copy(full.items + kept, full.items + kBlockSize, added->items);
        full.count = kept;
        const T* first = added->items[0];
        m_blocks.insert(m_blocks.begin() + static_cast<std::ptrdiff_t>(index) + 1, {first, std::move(added)});
    }

    // Joins a block that became small with its successor or predecessor.
    void i_Shrink(std::size_t index)
    {
        if (m_blocks[index].items->count > kBlockSize / 4)
            return;
        const auto join = [this](std::size_t left)
        {
            if (left + 1 >= m_blocks.size())
                return false;
            Block& a = *m_blocks[left].items;
            const Block& b = *m_blocks[left + 1].items;
            if (a.count + b.count > kBlockSize / 2)
                return false;
            std::copy_n(b.items, b.count, a.items + a.count);
            a.count += b.count;
            if (a.count != 0)
                m_blocks[left].first = a.items[0];
            m_blocks.erase(m_blocks.begin() + static_cast<std::ptrdiff_t>(left) + 1);
            return true;
        };
        if (!join(index) && index > 0)
            join(index - 1);
        for (std::size_t i = index > 0 ? index - 1 : 0; i < m_blocks.size() && i <= index + 1;)
        {
            if (m_blocks[i].items->count == 0)
                m_blocks.erase(m_blocks.begin() + static_cast<std::ptrdiff_t>(i));
            else
                ++i;
        }
    }

    void i_Changed() noexcept
    {
        m_cursor = 0;
        m_cursorStart = 0;
        m_startsValid = false;
    }

    void i_MoveCursor(std::size_t position) const
    {
        if (const std::size_t last = m_blocks.size() - 1; position >= m_count - m_blocks[last].items->count)
        {
            m_cursor = last;
            m_cursorStart = m_count - m_blocks[last].items->count;
            return;
        }
        const std::size_t next = m_cursorStart + m_blocks[m_cursor].items->count;
        if (position == next)
        {
            ++m_cursor;
            m_cursorStart = next;
            return;
        }
        if (!m_startsValid)
        {
            m_starts.clear();
            std::size_t start = 0;
            for (const BlockEntry& entry : m_blocks)
            {
                m_starts.push_back(start);
                start += entry.items->count;
            }
            m_startsValid = true;
        }
        const auto above = std::upper_bound(m_starts.begin(), m_starts.end(), position);
        m_cursor = static_cast<std::size_t>(above - m_starts.begin()) - 1;
        m_cursorStart = m_starts[m_cursor];
    }

    std::vector<BlockEntry> m_blocks;
    std::size_t m_count = 0;
    mutable std::size_t m_hint = 0;
    // The block of the position read last, and the position of its first pointer.
    mutable std::size_t m_cursor = 0;
    mutable std::size_t m_cursorStart = 0;
    mutable std::vector<std::size_t> m_starts;
    mutable bool m_startsValid = false;
};
