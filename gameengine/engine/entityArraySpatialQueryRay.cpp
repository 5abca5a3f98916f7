// Questions that are answered in order of distance: along a ray, and near a point.

#include "gameengine/engine/entityArraySpatialQueryInternal.h"

#include <algorithm>
#include <cmath>
#include <functional>

using collision::BoxBlock;
using tamra::SpatialOwners;

namespace
{
constexpr double kNever = std::numeric_limits<double>::infinity();

// From cell to cell along a ray. The border cells reach outward without end, as what is filed in them may.
class RayWalk
{
public:
    RayWalk(const CAABBDynamicGrid& grid, CVector3 origin, const double* direction) noexcept : m_grid(grid)
    {
        const float point[6] = {origin.x, origin.y, origin.z, origin.x, origin.y, origin.z};
        const CAABBDynamicGrid::CellRange range = grid.GetRange(point);
        for (int axis = 0; axis < 3; ++axis)
        {
            m_origin[axis] = static_cast<double>(point[axis]);
            m_direction[axis] = direction[axis];
            m_cell[axis] = std::min(range.first[axis], grid.GetCellCount(axis) - 1);
            i_FindExit(axis);
        }
    }

    std::uint32_t GetCell() const noexcept { return m_grid.GetCellIndex(m_cell[0], m_cell[1], m_cell[2]); }
    /// Distance at which the ray leaves the cell; infinite in the last one.
    double GetExit() const noexcept { return m_exit[i_GetAxis()]; }
    void Step() noexcept
    {
        const int axis = i_GetAxis();
        m_cell[axis] += m_direction[axis] > 0.0 ? 1 : -1;
        i_FindExit(axis);
    }

private:
    int i_GetAxis() const noexcept
    {
        const int axis = i_IsSooner(1, 0) ? 1 : 0;
        return i_IsSooner(2, axis) ? 2 : axis;
    }
    // Through an edge of cells by way of the cell to which the edge belongs: upward first.
    bool i_IsSooner(int a, int b) const noexcept
    {
        return m_exit[a] < m_exit[b] || (m_exit[a] == m_exit[b] && m_direction[a] > m_direction[b]);
    }
    void i_FindExit(int axis) noexcept
    {
        const bool isUp = m_direction[axis] > 0.0;
        m_exit[axis] = kNever;
        if (m_direction[axis] == 0.0 || m_cell[axis] == (isUp ? m_grid.GetCellCount(axis) - 1 : 0))
            return;
        const double face = static_cast<double>(m_grid.GetBounds().GetFloats()[axis]) +
                            static_cast<double>(m_grid.GetCellSize(axis)) * (m_cell[axis] + (isUp ? 1 : 0));
        m_exit[axis] = (face - m_origin[axis]) / m_direction[axis];
    }

    const CAABBDynamicGrid& m_grid;
    double m_origin[3];
    double m_direction[3];
    double m_exit[3];
    std::int32_t m_cell[3];
};

// Distance at which a ray enters a box, 0 when it starts inside, negative when it misses.
double GetEntry(const BoxBlock& block, std::size_t lane, const double* origin, const double* direction) noexcept
{
    double entry = 0.0;
    double exit = kNever;
    for (std::size_t axis = 0; axis < 3; ++axis)
    {
        const double low = static_cast<double>(block.values[axis][lane]) - origin[axis];
        const double high = static_cast<double>(block.values[axis + 3][lane]) - origin[axis];
        if (direction[axis] == 0.0)
        {
            if (low > 0.0 || high < 0.0)
                return -1.0;
            continue;
        }
        const double a = low / direction[axis];
        const double b = high / direction[axis];
        entry = std::max(entry, std::min(a, b));
        exit = std::min(exit, std::max(a, b));
    }
    return entry <= exit ? entry : -1.0;
}

// Squared distance from a point to a box.
double GetDistanceSquared(const BoxBlock& block, std::size_t lane, const double* point) noexcept
{
    double sum = 0.0;
    for (std::size_t axis = 0; axis < 3; ++axis)
    {
        const double below = static_cast<double>(block.values[axis][lane]) - point[axis];
        const double above = point[axis] - static_cast<double>(block.values[axis + 3][lane]);
        const double distance = std::max(std::max(below, above), 0.0);
        sum += distance * distance;
    }
    return sum;
}

// The block of cells that has been searched around a point; grows toward the nearest cells that have not.
class NearSearch
{
public:
    NearSearch(const CAABBDynamicGrid& grid, const float* point) noexcept : m_grid(grid)
    {
        const float box[6] = {point[0], point[1], point[2], point[0], point[1], point[2]};
        range = grid.GetRange(box);
        for (int axis = 0; axis < 3; ++axis)
        {
            m_point[axis] = static_cast<double>(point[axis]);
            range.first[axis] = std::min(range.first[axis], grid.GetCellCount(axis) - 1);
            range.end[axis] = range.first[axis] + 1;
        }
    }

    /// No entity that stands only in cells outside the range is nearer than this.
    double GetReach() const noexcept
    {
        double reach = kNever;
        for (int side = 0; side < 6; ++side)
            reach = std::min(reach, i_GetDistance(side));
        return reach;
    }

    /// Adds the layer of cells that is nearest, and gives it in `layer`; false when there is none.
    bool Grow(CAABBDynamicGrid::CellRange& layer) noexcept
    {
        int nearest = 0;
        for (int side = 1; side < 6; ++side)
            nearest = i_GetDistance(side) < i_GetDistance(nearest) ? side : nearest;
        if (i_GetDistance(nearest) == kNever)
            return false;
        const int axis = nearest % 3;
        layer = range;
        if (nearest < 3)
        {
            layer.end[axis] = range.first[axis]--;
            layer.first[axis] = range.first[axis];
        }
        else
        {
            layer.first[axis] = range.end[axis]++;
            layer.end[axis] = range.end[axis];
        }
        return true;
    }

    CAABBDynamicGrid::CellRange range;

private:
    // To the low (0 to 2) or high (3 to 5) face of the range; infinite at the border. Less what rounding may move.
    double i_GetDistance(int side) const noexcept
    {
        const int axis = side % 3;
        const std::int32_t cell = side < 3 ? range.first[axis] : range.end[axis];
        if (cell == (side < 3 ? 0 : m_grid.GetCellCount(axis)))
            return kNever;
        const double origin = static_cast<double>(m_grid.GetBounds().GetFloats()[axis]);
        const double size = static_cast<double>(m_grid.GetCellSize(axis));
        const double face = origin + size * cell;
        const double slack = (std::abs(origin) + size * m_grid.GetCellCount(axis)) * 1e-6;
        return std::max((side < 3 ? m_point[axis] - face : face - m_point[axis]) - slack, 0.0);
    }

    const CAABBDynamicGrid& m_grid;
    double m_point[3];
};
} // namespace

void CEntityArray_SpatialQuery::i_VisitAlongRay(CVector3 origin, CVector3 direction, float maxDistance,
                                                RayVisitor visitor, void* context)
{
    const CAABBDynamicGrid* const grid = i_Begin();
    const double start[3] = {static_cast<double>(origin.x), static_cast<double>(origin.y),
                             static_cast<double>(origin.z)};
    double unit[3] = {static_cast<double>(direction.x), static_cast<double>(direction.y),
                      static_cast<double>(direction.z)};
    const double length = std::sqrt(unit[0] * unit[0] + unit[1] * unit[1] + unit[2] * unit[2]);
    if (!grid || !std::isfinite(start[0] + start[1] + start[2]) || !(length > 0.0) || !std::isfinite(length) ||
        !(maxDistance >= 0.0F))
        return;
    for (double& number : unit)
        number /= length;

    // Hits behind the present cell wait for their turn in a heap, the nearest on top.
    auto& waiting = m_cache->hits;
    waiting.clear();
    const auto isLater = [](const CellCache::Hit& a, const CellCache::Hit& b) { return b < a; };
    const std::uint64_t serial = grid->GetSerial(); // the visitor may replace the grid
    RayWalk walk(*grid, origin, unit);
    for (;;)
    {
        m_cache->ForEach(walk.GetCell(),
                         [&](const BoxBlock& boxes, const SpatialOwners& owners, std::uint32_t lane)
                         {
                             const double entry = GetEntry(boxes, lane, start, unit);
                             if (entry < 0.0 || entry > static_cast<double>(maxDistance) ||
                                 !m_cache->MeetFirstEvenIfMoved(owners, lane))
                                 return;
                             waiting.push_back({entry, owners.entities[lane], owners.slots[lane]});
                             std::push_heap(waiting.begin(), waiting.end(), isLater);
                         });
        const double exit = walk.GetExit();
        const bool isLast = exit == kNever || exit > static_cast<double>(maxDistance);
        // What is entered at the cell's far face may have to wait for the next cell's boxes.
        const double ready = exit - std::abs(exit) * 1e-6 - 1e-6;
        while (!waiting.empty() && (isLast || waiting.front().distance < ready))
        {
            const CellCache::Hit hit = waiting.front();
            std::pop_heap(waiting.begin(), waiting.end(), isLater);
            waiting.pop_back();
            // The visitor may have removed it meanwhile.
            if (!m_tree->i_HasSlot(hit.slot, hit.entity))
                continue;
            if (!visitor(context, hit.entity, static_cast<float>(hit.distance)) || !m_tree->GetGrid() ||
                m_tree->GetGrid()->GetSerial() != serial)
                return;
        }
        if (isLast)
            return;
        walk.Step();
    }
}

CEntityArray_SpatialQuery::Answer CEntityArray_SpatialQuery::AlongRay(CVector3 origin, CVector3 direction,
                                                                      float maxDistance, std::size_t maxHits,
                                                                      Buffer& buffer)
{
    std::size_t count = 0;
    if (maxHits == 0)
        return {};
    VisitAlongRay(origin, direction, maxDistance,
                  [&](CEntity* entity, float)
                  {
                      if (count == buffer.size())
                          buffer.resize(buffer.size() * 2 + 64);
                      buffer[count] = entity;
                      return ++count < maxHits;
                  });
    return {buffer.data(), count};
}

CEntityArray_SpatialQuery::Answer CEntityArray_SpatialQuery::i_Nearest(CVector3 point, std::size_t count,
                                                                       Buffer& buffer, float maxDistance,
                                                                       EntityFilter filter, void* context)
{
    const CAABBDynamicGrid* const grid = i_Begin();
    const float values[3] = {point.x, point.y, point.z};
    if (!grid || count == 0 || !std::isfinite(point.x + point.y + point.z) || !(maxDistance >= 0.0F))
        return {};
    const double start[3] = {static_cast<double>(values[0]), static_cast<double>(values[1]),
                             static_cast<double>(values[2])};
    // The best so far in a heap, the worst of them on top.
    auto& best = m_cache->hits;
    best.clear();
    double worst = static_cast<double>(maxDistance) * static_cast<double>(maxDistance);
    const auto look = [&](const BoxBlock& boxes, const SpatialOwners& owners, std::uint32_t lane)
    {
        const double distance = GetDistanceSquared(boxes, lane, start);
        const CellCache::Hit hit{distance, owners.entities[lane], owners.slots[lane]};
        if (distance > worst || (best.size() == count && !(hit < best.front())) ||
            (filter && !filter(context, owners.entities[lane])) || !m_cache->MeetFirst(owners, lane))
            return;
        if (best.size() == count)
        {
            std::pop_heap(best.begin(), best.end());
            best.pop_back();
        }
        best.push_back(hit);
        std::push_heap(best.begin(), best.end());
    };
    NearSearch search(*grid, values);
    CAABBDynamicGrid::CellRange layer = search.range;
    do
    {
        for (std::int32_t z = layer.first[2]; z < layer.end[2]; ++z)
        {
            for (std::int32_t y = layer.first[1]; y < layer.end[1]; ++y)
            {
                for (std::int32_t x = layer.first[0]; x < layer.end[0]; ++x)
                    m_cache->ForEach(grid->GetCellIndex(x, y, z), look);
            }
        }
        const double reach = search.GetReach() * search.GetReach();
        if (reach > worst || (best.size() == count && reach > best.front().distance))
            break;
    } while (search.Grow(layer));

    std::sort_heap(best.begin(), best.end());
    if (buffer.size() < best.size())
        buffer.resize(best.size());
    std::transform(best.begin(), best.end(), buffer.begin(), [](const CellCache::Hit& hit) { return hit.entity; });
    return {buffer.data(), best.size()};
}
