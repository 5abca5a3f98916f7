#include "gameengine/engine/entityArraySpatialQueryInternal.h"

#include <algorithm>
#include <cmath>

using tamra::SpatialBlock;

// ---- The copies of the cells

void CEntityArray_SpatialQuery::CellCache::Begin(const CEntityArray_AccelerationTree& tree,
                                                 const CAABBDynamicGrid& grid)
{
    candidates = 0;
    m_grid = &grid;
    if (m_gridSerial != grid.GetSerial())
    {
        m_gridSerial = grid.GetSerial();
        m_cells.assign(grid.GetTotalCellCount(), {});
        m_blocks.clear();
        for (auto& runs : m_freeRuns)
            runs.clear();
    }
    if (m_stamps.size() < tree.GetSlotCount())
        m_stamps.resize(std::max<std::size_t>(tree.GetSlotCount(), m_stamps.size() * 2));
    if (++m_stamp == 0) [[unlikely]]
    {
        std::fill(m_stamps.begin(), m_stamps.end(), 0);
        m_stamp = 1;
    }
}

void CEntityArray_SpatialQuery::CellCache::i_MakeRoom(Cell& copy, std::uint32_t blocks)
{
    if (blocks <= copy.room)
        return;
    if (copy.room != 0)
        m_freeRuns[static_cast<std::size_t>(std::countr_zero(copy.room))].push_back(copy.first);
    copy.room = std::bit_ceil(blocks);
    auto& runs = m_freeRuns[static_cast<std::size_t>(std::countr_zero(copy.room))];
    if (!runs.empty())
    {
        copy.first = runs.back();
        runs.pop_back();
        return;
    }
    copy.first = static_cast<std::uint32_t>(m_blocks.size());
    m_blocks.resize(m_blocks.size() + copy.room);
}

bool CEntityArray_SpatialQuery::CellCache::i_IsFiledIn(std::uint32_t index,
                                                       const Internal_AccelerationTreeEntry& entry) const noexcept
{
    const CAABBDynamicGrid::CellRange range = m_grid->GetRange(entry.box.GetFloats());
    for (int axis = 0; axis < 3; ++axis)
    {
        const auto count = static_cast<std::uint32_t>(m_grid->GetCellCount(axis));
        const auto position = static_cast<std::int32_t>(index % count);
        if (position < range.first[axis] || position >= range.end[axis])
            return false;
        index /= count;
    }
    return true;
}

void CEntityArray_SpatialQuery::CellCache::i_Renew(std::uint32_t index, Cell& copy)
{
    const CAABBDynamicGridCell& cell = m_grid->GetCell(index);
    i_MakeRoom(copy, (cell.GetCount() + SpatialBlock::kBoxes - 1) / SpatialBlock::kBoxes);
    copy.revision = cell.GetRevision();
    copy.count = 0;
    for (const SpatialObjectGrid* link = cell.objects; link; link = link->next)
    {
        const auto* const entry = static_cast<const Internal_AccelerationTreeEntry*>(link->object);
        // A second Add leaves one behind at each move.
        if (entry->insertions > 1 && !i_IsFiledIn(index, *entry))
            continue;
        SpatialBlock& block = m_blocks[copy.first + copy.count / SpatialBlock::kBoxes];
        const std::uint32_t lane = copy.count++ % SpatialBlock::kBoxes;
        const float* const box = entry->box.GetFloats();
        for (std::size_t i = 0; i < 6; ++i)
            block.values[i][lane] = box[i];
        block.entities[lane] = entry->entity;
        const CAABBDynamicGrid::CellRange range = m_grid->GetRange(box);
        const bool isAlone = entry->insertions == 1 && range.end[0] - range.first[0] == 1 &&
                             range.end[1] - range.first[1] == 1 && range.end[2] - range.first[2] == 1;
        block.slots[lane] = entry->slot;
        block.several = (lane == 0 ? 0 : block.several) | (isAlone ? 0U : 1U << lane);
    }
}

// ---- The questions

namespace
{
constexpr std::size_t kBoxes = SpatialBlock::kBoxes;

// The cells that hold everything which touches the box: what is filed in a border cell may reach out of the region.
CAABBDynamicGrid::CellRange GetQueryRange(const CAABBDynamicGrid& grid, const float* box) noexcept
{
    CAABBDynamicGrid::CellRange range = grid.GetRange(box);
    for (int axis = 0; axis < 3; ++axis)
    {
        range.first[axis] = std::min(range.first[axis], grid.GetCellCount(axis) - 1);
        range.end[axis] = std::max(range.end[axis], 1);
    }
    return range;
}

std::uint32_t TestBox(const SpatialBlock& block, const float* box) noexcept
{
    std::uint32_t lanes = 0;
    for (std::size_t i = 0; i < kBoxes; ++i)
    {
        const bool touches = block.values[0][i] <= box[3] && block.values[3][i] >= box[0] &&
                             block.values[1][i] <= box[4] && block.values[4][i] >= box[1] &&
                             block.values[2][i] <= box[5] && block.values[5][i] >= box[2];
        lanes |= static_cast<std::uint32_t>(touches) << i;
    }
    return lanes;
}

// Squared distance from a point to box `lane` of a block.
float GetDistanceSquared(const SpatialBlock& block, std::size_t lane, const float* point) noexcept
{
    float sum = 0.0F;
    for (std::size_t axis = 0; axis < 3; ++axis)
    {
        const float below = block.values[axis][lane] - point[axis];
        const float above = point[axis] - block.values[axis + 3][lane];
        const float distance = std::max(std::max(below, above), 0.0F);
        sum += distance * distance;
    }
    return sum;
}

std::uint32_t TestSphere(const SpatialBlock& block, const float* center, float radiusSquared) noexcept
{
    std::uint32_t lanes = 0;
    for (std::size_t i = 0; i < kBoxes; ++i)
        lanes |= static_cast<std::uint32_t>(GetDistanceSquared(block, i, center) <= radiusSquared) << i;
    return lanes;
}
} // namespace

CEntityArray_SpatialQuery::CEntityArray_SpatialQuery(CEntityArray_AccelerationTree* tree)
    : m_tree(tree),
      m_cache(std::make_unique<CellCache>())
{
}

CEntityArray_SpatialQuery::~CEntityArray_SpatialQuery() = default;

std::uint32_t CEntityArray_SpatialQuery::GetLastCandidateCount() const noexcept
{
    return m_cache->candidates;
}

CAABBDynamicGrid* CEntityArray_SpatialQuery::i_Begin()
{
    CAABBDynamicGrid* const grid = m_tree ? m_tree->GetGrid() : nullptr;
    m_cache->candidates = 0;
    if (!grid || grid->GetTotalCellCount() == 0)
        return nullptr;
    m_cache->Begin(*m_tree, *grid);
    return grid;
}

// Asks `test(block, isInterior)` for the lanes to take of each block of the cells in the range; interior cells are
// those with a neighbour within the range on every side.
template <class Test>
void CEntityArray_SpatialQuery::i_Sweep(const CAABBDynamicGrid::CellRange& range, Collector& collector, Test test)
{
    const CAABBDynamicGrid& grid = *m_tree->GetGrid();
    for (std::int32_t z = range.first[2]; z < range.end[2]; ++z)
    {
        for (std::int32_t y = range.first[1]; y < range.end[1]; ++y)
        {
            const bool isInnerRow =
                z > range.first[2] && z < range.end[2] - 1 && y > range.first[1] && y < range.end[1] - 1;
            std::uint32_t index = grid.GetCellIndex(range.first[0], y, z);
            for (std::int32_t x = range.first[0]; x < range.end[0]; ++x, ++index)
            {
                const CellCache::Content content = m_cache->GetContent(index);
                const bool isInterior = isInnerRow && x > range.first[0] && x < range.end[0] - 1;
                collector.TakeFrom(content,
                                   [&test, isInterior](const SpatialBlock& block) { return test(block, isInterior); });
            }
        }
    }
}

CEntityArray_SpatialQuery::Answer CEntityArray_SpatialQuery::InBox(const collision::PrimAABB& box, Buffer& buffer)
{
    const CAABBDynamicGrid* const grid = i_Begin();
    const float* const values = box.GetFloats();
    if (!grid || !(values[0] <= values[3] && values[1] <= values[4] && values[2] <= values[5]))
        return {};
    Collector collector(buffer, *m_cache);
    // Whatever is filed in an interior cell touches the box.
    i_Sweep(GetQueryRange(*grid, values), collector,
            [values](const SpatialBlock& block, bool isInterior)
            { return isInterior ? 0xFFU : TestBox(block, values); });
    return collector.GetAnswer();
}

CEntityArray_SpatialQuery::Answer CEntityArray_SpatialQuery::InSphere(CVector3 center, float radius, Buffer& buffer)
{
    const CAABBDynamicGrid* const grid = i_Begin();
    const float point[3] = {center.x, center.y, center.z};
    if (!grid || !(radius >= 0.0F) || std::isnan(center.x + center.y + center.z))
        return {};
    const CVector3 extent(radius, radius, radius);
    const collision::PrimAABB box(center - extent, center + extent);
    Collector collector(buffer, *m_cache);
    i_Sweep(GetQueryRange(*grid, box.GetFloats()), collector,
            [&point, squared = radius * radius](const SpatialBlock& block, bool)
            { return TestSphere(block, point, squared); });
    return collector.GetAnswer();
}
