#include "gameengine/engine/entityArraySpatialQueryInternal.h"

#include <algorithm>
#include <cmath>

// ---- The copies of the cells

void CEntityArray_SpatialQuery::CellCache::Begin(const CAABBDynamicGrid& grid)
{
    candidates = 0;
    m_grid = &grid;
    if (m_gridSerial != grid.GetSerial())
    {
        m_gridSerial = grid.GetSerial();
        m_cells.assign(grid.GetTotalCellCount(), {});
        m_boxes.clear();
        m_owners.clear();
        for (auto& runs : m_freeRuns)
            runs.clear();
    }
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
    copy.first = static_cast<std::uint32_t>(m_boxes.size());
    m_boxes.resize(m_boxes.size() + copy.room);
    m_owners.resize(m_boxes.size());
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
    i_MakeRoom(copy, (cell.GetCount() + kBoxes - 1) / kBoxes);
    copy.revision = cell.GetRevision();
    copy.count = 0;
    for (const SpatialObjectGrid* link = cell.objects; link; link = link->next)
    {
        const auto* const entry = static_cast<const Internal_AccelerationTreeEntry*>(link->object);
        // A second Add leaves one behind at each move.
        if (entry->insertions > 1 && !i_IsFiledIn(index, *entry))
            continue;
        const std::uint32_t block = copy.first + copy.count / kBoxes;
        const std::uint32_t lane = copy.count++ % kBoxes;
        m_boxes[block].Set(lane, entry->box);
        tamra::SpatialOwners& owners = m_owners[block];
        owners.entities[lane] = entry->entity;
        const CAABBDynamicGrid::CellRange range = m_grid->GetRange(entry->box.GetFloats());
        const bool isAlone = entry->insertions == 1 && range.end[0] - range.first[0] == 1 &&
                             range.end[1] - range.first[1] == 1 && range.end[2] - range.first[2] == 1;
        owners.slots[lane] = entry->slot;
        if (entry->slot >= m_stamps.size()) [[unlikely]]
            m_stamps.resize(std::max<std::size_t>(entry->slot + std::size_t{1}, m_stamps.size() * 2));
        owners.several = (lane == 0 ? 0 : owners.several) | (isAlone ? 0U : 1U << lane);
    }
}

// ---- The questions

namespace
{
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
    m_cache->Begin(*grid);
    return grid;
}

// Takes from the cells of the range what `test` lets pass; with `takesInterior`, all from cells that have a neighbour
// within the range on every side.
template <class Test>
void CEntityArray_SpatialQuery::i_Sweep(const CAABBDynamicGrid::CellRange& range, bool takesInterior,
                                        Collector& collector, const Test& test)
{
    const CAABBDynamicGrid& grid = *m_tree->GetGrid();
    for (std::int32_t z = range.first[2]; z < range.end[2]; ++z)
    {
        for (std::int32_t y = range.first[1]; y < range.end[1]; ++y)
        {
            const bool isInnerRow = takesInterior && z > range.first[2] && z < range.end[2] - 1 && y > range.first[1] &&
                                    y < range.end[1] - 1;
            std::uint32_t index = grid.GetCellIndex(range.first[0], y, z);
            for (std::int32_t x = range.first[0]; x < range.end[0]; ++x, ++index)
            {
                const CellCache::Content content = m_cache->GetContent(index);
                if (isInnerRow && x > range.first[0] && x < range.end[0] - 1)
                    collector.TakeAll(content);
                else
                    collector.TakeFrom(content, test);
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
    i_Sweep(GetQueryRange(*grid, values), true, collector,
            [&box, test = collision::SimdKernels::Get().testBox](const auto* boxes, std::size_t count, auto* masks)
            { test(box, boxes, count, masks); });
    return collector.GetAnswer();
}

CEntityArray_SpatialQuery::Answer CEntityArray_SpatialQuery::InSphere(CVector3 center, float radius, Buffer& buffer)
{
    const CAABBDynamicGrid* const grid = i_Begin();
    if (!grid || !(radius >= 0.0F) || std::isnan(center.x + center.y + center.z))
        return {};
    const CVector3 extent(radius, radius, radius);
    const collision::PrimAABB box(center - extent, center + extent);
    const collision::SphereQuery sphere{center, radius};
    Collector collector(buffer, *m_cache);
    i_Sweep(GetQueryRange(*grid, box.GetFloats()), false, collector,
            [&sphere, test = collision::SimdKernels::Get().testSphere](
                const auto* boxes, std::size_t count, auto* masks) { test(sphere, boxes, count, masks); });
    return collector.GetAnswer();
}
