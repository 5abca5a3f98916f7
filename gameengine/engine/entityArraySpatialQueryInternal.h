#pragma once

#include "gameengine/engine/entityArraySpatialQuery.h"

#include <algorithm>
#include <array>
#include <bit>

namespace tamra
{
/// Eight boxes and whose they are, number by number: what one test of a vector kernel takes.
struct alignas(64) SpatialBlock
{
    static constexpr std::uint32_t kBoxes = 8;

    float values[6][kBoxes]; // min x of all, min y, min z, max x, max y, max z
    CEntity* entities[kBoxes];
    std::uint32_t slots[kBoxes]; // in the tree's table
    std::uint32_t several;       // lanes whose entity stands in other cells too, or twice in this one

    collision::PrimAABB GetBox(std::uint32_t lane) const noexcept
    {
        const float box[6] = {values[0][lane], values[1][lane], values[2][lane],
                              values[3][lane], values[4][lane], values[5][lane]};
        return collision::PrimAABB(box);
    }
};

/// The first `count` lanes of a block.
constexpr std::uint32_t GetLaneMask(std::uint32_t count) noexcept
{
    return count >= SpatialBlock::kBoxes ? 0xFFU : (1U << count) - 1U;
}
} // namespace tamra

/// The copies of the cells, each a run of blocks, and which entities the present question has met.
class CEntityArray_SpatialQuery::CellCache
{
public:
    /// A question begins.
    void Begin(const CEntityArray_AccelerationTree& tree, const CAABBDynamicGrid& grid);

    /// What stands in a cell as it is now, valid until the next call.
    struct Content
    {
        const tamra::SpatialBlock* blocks;
        std::uint32_t count; // of entities
    };
    Content GetContent(std::uint32_t index)
    {
        Cell& copy = m_cells[index];
        if (copy.revision != m_grid->GetCell(index).GetRevision()) [[unlikely]]
            i_Renew(index, copy);
        return {m_blocks.data() + copy.first, copy.count};
    }

    /// Calls `visit(block, lane)` for all that stands in a cell.
    template <class Visit>
    void ForEach(std::uint32_t index, Visit visit)
    {
        const Content content = GetContent(index);
        candidates += content.count;
        for (std::uint32_t i = 0; i < content.count; ++i)
            visit(content.blocks[i / tamra::SpatialBlock::kBoxes], i % tamra::SpatialBlock::kBoxes);
    }

    /// True for an entity that the question has not met.
    bool MeetFirst(const tamra::SpatialBlock& block, std::uint32_t lane)
    {
        if ((block.several >> lane & 1U) == 0)
            return true;
        std::uint32_t& stamp = m_stamps[block.slots[lane]];
        const bool isFirst = stamp != m_stamp;
        stamp = m_stamp;
        return isFirst;
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
    std::vector<tamra::SpatialBlock> m_blocks;
    std::array<std::vector<std::uint32_t>, 32> m_freeRuns; // by logarithm of their length
    std::vector<std::uint32_t> m_stamps;                   // by slot of the tree
    std::uint32_t m_stamp = 0;
};

/// Writes entities into the caller's buffer.
class CEntityArray_SpatialQuery::Collector
{
public:
    Collector(Buffer& buffer, CellCache& cache) noexcept : m_buffer(buffer), m_cache(cache) {}

    /// The entities of the lanes that the question has not met yet.
    void Take(const tamra::SpatialBlock& block, std::uint32_t lanes)
    {
        if (m_buffer.size() - m_count < tamra::SpatialBlock::kBoxes) [[unlikely]]
            m_buffer.resize(m_buffer.size() * 2 + 64);
        CEntity** out = m_buffer.data() + m_count;
        // Most often the first lanes of a block, all of them in this cell alone.
        if ((lanes & (lanes + 1)) == 0 && (lanes & block.several) == 0)
        {
            std::copy_n(block.entities, tamra::SpatialBlock::kBoxes, out);
            m_count += static_cast<std::size_t>(std::popcount(lanes));
            return;
        }
        for (; lanes != 0; lanes &= lanes - 1)
        {
            const auto lane = static_cast<std::uint32_t>(std::countr_zero(lanes));
            if (m_cache.MeetFirst(block, lane))
                *out++ = block.entities[lane];
        }
        m_count = static_cast<std::size_t>(out - m_buffer.data());
    }

    /// The same for a cell's content; `test` gives the lanes of a block that belong to the answer.
    template <class Test>
    void TakeFrom(const CellCache::Content& content, Test test)
    {
        m_cache.candidates += content.count;
        const tamra::SpatialBlock* block = content.blocks;
        for (std::uint32_t first = 0; first < content.count; first += tamra::SpatialBlock::kBoxes, ++block)
            Take(*block, test(*block) & tamra::GetLaneMask(content.count - first));
    }

    Answer GetAnswer() const noexcept { return {m_buffer.data(), m_count}; }

private:
    Buffer& m_buffer;
    CellCache& m_cache;
    std::size_t m_count = 0;
};
