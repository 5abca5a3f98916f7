#include "gameengine/engine/aabbDynamicGrid.h"

#include "tamradeps/core/log.h"

#include <cmath>
#include <limits>
#include <new>
#include <string>

namespace
{
constexpr std::size_t kLinksPerBlock = 1024;

std::uint64_t g_nextSerial = 1;

// Truncates a position in cells toward zero within 0 and `count`. What is not a number becomes `count`.
std::int32_t ClampFirst(float position, std::int32_t count) noexcept
{
    if (position <= 0.0F)
        return 0;
    if (!(position < static_cast<float>(count)))
        return count;
    const auto cell = static_cast<std::int32_t>(position);
    return cell < count ? cell : count;
}

// One more than that. What is not a number becomes 0.
std::int32_t ClampEnd(float position, std::int32_t count) noexcept
{
    if (!(position > -1.0F))
        return 0;
    if (!(position < static_cast<float>(count)))
        return count;
    const auto cell = static_cast<std::int32_t>(position);
    return cell < count ? cell + 1 : count;
}

// Cells along an axis, 0 when that is no number of cells.
std::int32_t CountCells(float minimum, float maximum, float size) noexcept
{
    const float count = std::ceil((maximum - minimum) / size);
    if (!(size > 0.0F) || !(count >= 1.0F))
        return 0;
    return count <= static_cast<float>(CAABBDynamicGrid::kMaxCells) ? static_cast<std::int32_t>(count)
                                                                    : std::numeric_limits<std::int32_t>::max();
}
} // namespace

struct CAABBDynamicGrid::ObjectCallback : CAABBDynamicGrid::walkCallback
{
    CAABBDynamicGrid* grid;
    void* object;
};

CAABBDynamicGridCell::~CAABBDynamicGridCell() = default;

CAABBDynamicGrid::CAABBDynamicGrid(const float* bounds, float cellX, float cellY, float cellZ)
    : m_linkPool(sizeof(SpatialObjectGrid), kLinksPerBlock),
      m_bounds(bounds),
      m_cellSize{cellX, cellY, cellZ},
      m_serial(g_nextSerial++)
{
    std::uint64_t total = 1;
    for (int axis = 0; axis < 3; ++axis)
    {
        m_cellsPerUnit[axis] = 1.0F / m_cellSize[axis];
        m_cellCount[axis] = CountCells(bounds[axis], bounds[axis + 3], m_cellSize[axis]);
        // The product of two axes fits; the third one is looked at only if it is not too large by then.
        total = total <= kMaxCells ? total * static_cast<std::uint64_t>(m_cellCount[axis]) : total;
    }
    if (total > 0 && total <= kMaxCells)
        m_cells.reset(new (std::nothrow) CAABBDynamicGridCell[static_cast<std::size_t>(total)]);
    if (m_cells)
    {
        m_totalCells = static_cast<std::uint32_t>(total);
        return;
    }
    m_cellCount[0] = m_cellCount[1] = m_cellCount[2] = 0;
    if (total > kMaxCells)
        tamra::log::Error("A grid of more than " + std::to_string(kMaxCells) + " cells was asked for; it has none.");
    else if (total > 0)
        tamra::log::Error("There is no memory for a grid of " + std::to_string(total) + " cells; it has none.");
}

CAABBDynamicGrid::~CAABBDynamicGrid() = default;

const char* CAABBDynamicGrid::GetTypeString()
{
    return "CAABBDynamicGrid";
}

CAABBDynamicGrid::CellRange CAABBDynamicGrid::GetRange(const float* box) const noexcept
{
    CellRange range;
    const float* const origin = m_bounds.GetFloats();
    for (int axis = 0; axis < 3; ++axis)
    {
        range.first[axis] = ClampFirst((box[axis] - origin[axis]) * m_cellsPerUnit[axis], m_cellCount[axis]);
        range.end[axis] = ClampEnd((box[axis + 3] - origin[axis]) * m_cellsPerUnit[axis], m_cellCount[axis]);
    }
    return range;
}

template <class Visit>
void CAABBDynamicGrid::i_ForEachCell(const CellRange& range, Visit visit)
{
    if (range.IsEmpty())
        return;
    for (std::int32_t z = range.first[2]; z < range.end[2]; ++z)
    {
        for (std::int32_t y = range.first[1]; y < range.end[1]; ++y)
        {
            CAABBDynamicGridCell* cell = &m_cells[GetCellIndex(range.first[0], y, z)];
            CAABBDynamicGridCell* const end = cell + (range.end[0] - range.first[0]);
            for (; cell != end; ++cell)
                visit(*cell);
        }
    }
}

void CAABBDynamicGrid::WalkAABB(const float* box, walkCallback& callback)
{
    i_ForEachCell(GetRange(box), [&callback](CAABBDynamicGridCell& cell) { callback.function(&callback, &cell); });
}

void CAABBDynamicGrid::WalkAABBOnlyFilled(const float* box, walkCallback& callback)
{
    i_ForEachCell(GetRange(box),
                  [&callback](CAABBDynamicGridCell& cell)
                  {
                      if (cell.objects)
                          callback.function(&callback, &cell);
                  });
}

inline void CAABBDynamicGrid::i_Push(CAABBDynamicGridCell& cell, void* object)
{
    cell.objects = new (m_linkPool.Allocate()) SpatialObjectGrid{object, cell.objects};
    ++cell.m_count;
    ++cell.m_revision;
}

inline bool CAABBDynamicGrid::i_RemoveFirst(CAABBDynamicGridCell& cell, const void* object) noexcept
{
    for (SpatialObjectGrid** place = &cell.objects; SpatialObjectGrid* const link = *place; place = &link->next)
    {
        if (link->object != object)
            continue;
        *place = link->next;
        m_linkPool.Deallocate(link);
        --cell.m_count;
        ++cell.m_revision;
        return true;
    }
    return false;
}

inline void CAABBDynamicGrid::i_MoveToFront(CAABBDynamicGridCell& cell, void* object)
{
    for (SpatialObjectGrid** place = &cell.objects; SpatialObjectGrid* const link = *place; place = &link->next)
    {
        if (link->object != object)
            continue;
        *place = link->next;
        link->next = cell.objects;
        cell.objects = link;
        ++cell.m_revision;
        return;
    }
    i_Push(cell, object);
}

void CAABBDynamicGrid::i_AddObjectCallback(walkCallback* callback, CAABBDynamicGridCell* cell)
{
    const auto* const context = static_cast<ObjectCallback*>(callback);
    context->grid->i_Push(*cell, context->object);
}

void CAABBDynamicGrid::i_RemoveObjectCallback(walkCallback* callback, CAABBDynamicGridCell* cell)
{
    const auto* const context = static_cast<ObjectCallback*>(callback);
    context->grid->i_RemoveFirst(*cell, context->object);
}

bool CAABBDynamicGrid::AddObject(const float* box, void* object)
{
    ObjectCallback context{{}, this, object};
    i_ForEachCell(GetRange(box), [&context](CAABBDynamicGridCell& cell) { i_AddObjectCallback(&context, &cell); });
    return true;
}

bool CAABBDynamicGrid::RemoveObject(const float* box, void* object)
{
    ObjectCallback context{{}, this, object};
    i_ForEachCell(GetRange(box), [&context](CAABBDynamicGridCell& cell) { i_RemoveObjectCallback(&context, &cell); });
    return true;
}

bool CAABBDynamicGrid::MoveObject(const float* oldBox, const float* newBox, void* object)
{
    const CellRange oldRange = GetRange(oldBox);
    const CellRange newRange = GetRange(newBox);
    if (oldRange == newRange)
    {
        i_ForEachCell(newRange, [this, object](CAABBDynamicGridCell& cell) { i_MoveToFront(cell, object); });
        return true;
    }
    i_ForEachCell(oldRange, [this, object](CAABBDynamicGridCell& cell) { i_RemoveFirst(cell, object); });
    i_ForEachCell(newRange, [this, object](CAABBDynamicGridCell& cell) { i_Push(cell, object); });
    return true;
}

std::uint32_t CAABBDynamicGrid::RemoveEverywhere(const void* object)
{
    std::uint32_t found = 0;
    for (std::uint32_t i = 0; i < m_totalCells; ++i)
    {
        while (i_RemoveFirst(m_cells[i], object))
            ++found;
    }
    return found;
}

bool CAABBDynamicGrid::Validate() const
{
    std::size_t total = 0;
    for (std::uint32_t i = 0; i < m_totalCells; ++i)
    {
        std::uint32_t count = 0;
        for (const SpatialObjectGrid* link = m_cells[i].objects; link; link = link->next)
        {
            if (++count > m_cells[i].m_count)
                return false;
        }
        if (count != m_cells[i].m_count)
            return false;
        total += count;
    }
    return total == m_linkPool.GetUsedCount();
}
