#pragma once

#include "gameengine/engine/entityArraySpatialQuery.h"
#include "tamradeps/collision/simdKernels.h"

#include <algorithm>
#include <array>
#include <bit>
#include <utility>

namespace tamra
{
/// Whose the eight boxes of a block are.
struct SpatialOwners
{
    CEntity* entities[collision::BoxBlock::kBoxes];
    std::uint32_t slots[collision::BoxBlock::kBoxes]; // in the tree's table
    std::uint32_t several; // boxes whose entity stands in other cells too, or twice in this one
};

/// The first `count` lanes of a block.
constexpr std::uint32_t GetLaneMask(std::uint32_t count) noexcept
{
    return count >= collision::BoxBlock::kBoxes ? 0xFFU : (1U << count) - 1U;
}
} // namespace tamra

/// The copies of the cells, each a run of blocks, and which entities the present question has met.
class CEntityArray_SpatialQuery::CellCache
{
public:
    static constexpr std::uint32_t kBoxes = collision::BoxBlock::kBoxes;

    /// A question begins.
    void Begin(const CAABBDynamicGrid& grid);

    /// What stands in a cell as it is now, valid until the next call.
    struct Content
    {
        const collision::BoxBlock* boxes;
        const tamra::SpatialOwners* owners;
        std::uint32_t count; // of entities

        std::uint32_t GetBlockCount() const noexcept { return (count + kBoxes - 1) / kBoxes; }
    };
    Content GetContent(std::uint32_t index)
    {
        Cell& copy = m_cells[index];
        if (copy.revision != m_grid->GetCell(index).GetRevision()) [[unlikely]]
            i_Renew(index, copy);
        return {m_boxes.data() + copy.first, m_owners.data() + copy.first, copy.count};
    }

    /// Calls `visit(boxes, owners, lane)` for all that stands in a cell.
    template <class Visit>
    void ForEach(std::uint32_t index, Visit visit)
    {
        const Content content = GetContent(index);
        candidates += content.count;
        for (std::uint32_t i = 0; i < content.count; ++i)
            visit(content.boxes[i / kBoxes], content.owners[i / kBoxes], i % kBoxes);
    }

    /// True for an entity that the question has not met.
    bool MeetFirst(const tamra::SpatialOwners& owners, std::uint32_t lane)
    {
        return (owners.several >> lane & 1U) == 0 || MeetFirstEvenIfMoved(owners, lane);
    }
    /// The same for questions during which an entity may go from one cell to another.
    bool MeetFirstEvenIfMoved(const tamra::SpatialOwners& owners, std::uint32_t lane)
    {
        return std::exchange(m_stamps[owners.slots[lane]], m_stamp) != m_stamp;
    }

    std::uint32_t candidates = 0;

    /// What is found along a ray or near a point and not handed out yet.
    struct Hit
    {
        double distance;
        CEntity* entity;
        std::uint32_t slot;

        bool operator<(const Hit& other) const noexcept
        {
            return distance != other.distance ? distance < other.distance : slot < other.slot;
        }
    };
    std::vector<Hit> hits;

private:
    struct Cell
    {
        std::uint32_t revision = 0;
        std::uint32_t first = 0; // block
        std::uint32_t count = 0; // entities
        std::uint32_t room = 0;  // blocks, 0 or a power of two
    };

    void i_Renew(std::uint32_t index, Cell& copy);
    bool i_IsFiledIn(std::uint32_t index, const Internal_AccelerationTreeEntry& entry) const noexcept;
    void i_MakeRoom(Cell& copy, std::uint32_t blocks);

    const CAABBDynamicGrid* m_grid = nullptr;
    std::uint64_t m_gridSerial = 0;
    std::vector<Cell> m_cells;
    std::vector<collision::BoxBlock> m_boxes;
    std::vector<tamra::SpatialOwners> m_owners;
    std::array<std::vector<std::uint32_t>, 32> m_freeRuns; // by logarithm of their length
    std::vector<std::uint32_t> m_stamps;                   // by slot of the tree, for all in the copies
    std::uint32_t m_stamp = 0;
};

/// Writes entities into the caller's buffer.
class CEntityArray_SpatialQuery::Collector
{
public:
    Collector(Buffer& buffer, CellCache& cache) noexcept : m_buffer(buffer), m_cache(cache) {}

    /// Everything in a cell.
    void TakeAll(const CellCache::Content& content)
    {
        m_cache.candidates += content.count;
        for (std::uint32_t block = 0; block < content.GetBlockCount(); ++block)
            i_Take(content.owners[block], tamra::GetLaneMask(content.count - block * CellCache::kBoxes));
    }

    /// What `test(boxes, blockCount, masks)` lets pass of a cell.
    template <class Test>
    void TakeFrom(const CellCache::Content& content, const Test& test)
    {
        constexpr std::uint32_t kAtOnce = 32;
        std::uint8_t masks[kAtOnce];
        m_cache.candidates += content.count;
        for (std::uint32_t first = 0; first < content.GetBlockCount(); first += kAtOnce)
        {
            const std::uint32_t blocks = std::min(content.GetBlockCount() - first, kAtOnce);
            test(content.boxes + first, blocks, masks);
            for (std::uint32_t i = 0; i < blocks; ++i)
            {
                const std::uint32_t left = content.count - (first + i) * CellCache::kBoxes;
                i_Take(content.owners[first + i], masks[i] & tamra::GetLaneMask(left));
            }
        }
    }

    Answer GetAnswer() const noexcept { return {m_buffer.data(), m_count}; }

private:
    // The entities of the lanes that the question has not met yet.
    void i_Take(const tamra::SpatialOwners& owners, std::uint32_t lanes)
    {
        if (m_buffer.size() - m_count < CellCache::kBoxes) [[unlikely]]
            m_buffer.resize(m_buffer.size() * 2 + 64);
        CEntity** out = m_buffer.data() + m_count;
        // Most often the first lanes of a block, all of them in this cell alone.
        if ((lanes & (lanes + 1)) == 0 && (lanes & owners.several) == 0)
        {
            std::copy_n(owners.entities, CellCache::kBoxes, out);
            m_count += static_cast<std::size_t>(std::popcount(lanes));
            return;
        }
        for (; lanes != 0; lanes &= lanes - 1)
        {
            const auto lane = static_cast<std::uint32_t>(std::countr_zero(lanes));
            if (m_cache.MeetFirst(owners, lane))
                *out++ = owners.entities[lane];
        }
        m_count = static_cast<std::size_t>(out - m_buffer.data());
    }

    Buffer& m_buffer;
    CellCache& m_cache;
    std::size_t m_count = 0;
};
