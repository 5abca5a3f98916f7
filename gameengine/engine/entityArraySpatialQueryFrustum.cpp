// The frustum's question: which cells lie inside, which may, row by row.

#include "gameengine/engine/entityArraySpatialQueryInternal.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace
{
using CellRange = CAABBDynamicGrid::CellRange;

// Farther out than any box reaches.
constexpr double kEndOfWorld = 1e39;
// Of the coordinates at hand: more than what rounding moves a box or a plane.
constexpr double kSlack = 1e-5;

struct Interval
{
    double first;
    double last;
};

struct Plane
{
    double normal[3];
    double offset;
    double slack; // added to a distance for safety
};

// The grid as numbers to calculate with.
struct GridShape
{
    double origin[3];
    double size[3];
    std::int32_t count[3];
    double reach[3]; // the largest coordinate of the region

    explicit GridShape(const CAABBDynamicGrid& grid) noexcept
    {
        for (int axis = 0; axis < 3; ++axis)
        {
            origin[axis] = static_cast<double>(grid.GetBounds().GetFloats()[axis]);
            size[axis] = static_cast<double>(grid.GetCellSize(axis));
            count[axis] = grid.GetCellCount(axis);
            reach[axis] = std::max(std::abs(origin[axis]), std::abs(origin[axis] + size[axis] * (count[axis] + 1)));
        }
    }

    // Where a box that is filed in a cell has a point for certain. The first cell also holds boxes that end up to a
    // cell below the region.
    Interval GetCore(int axis, std::int32_t cell) const noexcept
    {
        const double first = origin[axis] + size[axis] * cell;
        return {cell == 0 ? first - size[axis] : first, first + size[axis]};
    }
    // Where it may have points beyond those of its other cells: border cells hold what reaches out of the region.
    Interval GetReach(int axis, std::int32_t cell) const noexcept
    {
        const double first = origin[axis] + size[axis] * cell;
        return {cell == 0 ? -kEndOfWorld : first, cell == count[axis] - 1 ? kEndOfWorld : first + size[axis]};
    }
};

// A number of cells as an index from 0 to `count`; what is not a number becomes `fallback`.
std::int32_t ToCell(double position, std::int32_t count, std::int32_t fallback) noexcept
{
    if (std::isnan(position))
        return fallback;
    return static_cast<std::int32_t>(std::clamp(position, 0.0, static_cast<double>(count)));
}

// The point where three planes meet; false when they hardly do.
bool Intersect(const Plane& a, const Plane& b, const Plane& c, double* point) noexcept
{
    const auto cross = [](const double* u, const double* v, double* out)
    {
        out[0] = u[1] * v[2] - u[2] * v[1];
        out[1] = u[2] * v[0] - u[0] * v[2];
        out[2] = u[0] * v[1] - u[1] * v[0];
    };
    double bc[3];
    double ca[3];
    double ab[3];
    cross(b.normal, c.normal, bc);
    cross(c.normal, a.normal, ca);
    cross(a.normal, b.normal, ab);
    const double determinant = a.normal[0] * bc[0] + a.normal[1] * bc[1] + a.normal[2] * bc[2];
    if (!(std::abs(determinant) > 1e-9))
        return false;
    for (int axis = 0; axis < 3; ++axis)
    {
        point[axis] = -(a.offset * bc[axis] + b.offset * ca[axis] + c.offset * ab[axis]) / determinant;
        if (!std::isfinite(point[axis]))
            return false;
    }
    return true;
}

class FrustumRows
{
public:
    FrustumRows(const collision::PrimFrustum& frustum, const CAABBDynamicGrid& grid) noexcept : m_shape(grid)
    {
        for (int i = 0; i < 6; ++i)
            i_SetPlane(m_planes[i], frustum.GetPlane(i));
    }

    // The cells around the frustum's corners, or all.
    CellRange GetRange() const noexcept;

    // Cuts a row down to the cells that may hold something in view, and finds those in which everything is.
    void Cut(std::int32_t y, std::int32_t z, Interval& seen, Interval& whole) const noexcept;

    const GridShape& GetShape() const noexcept { return m_shape; }

private:
    void i_SetPlane(Plane& plane, const float* values) noexcept
    {
        double length = 0.0;
        for (int axis = 0; axis < 3; ++axis)
            length += static_cast<double>(values[axis]) * static_cast<double>(values[axis]);
        // Planes through nothing, of the frustum that holds everything, stay as they are.
        const double scale = length > 0.0 && std::isfinite(length) ? 1.0 / std::sqrt(length) : 1.0;
        plane.offset = static_cast<double>(values[3]) * scale;
        plane.slack = std::abs(plane.offset) * kSlack;
        for (int axis = 0; axis < 3; ++axis)
        {
            plane.normal[axis] = static_cast<double>(values[axis]) * scale;
            plane.slack += std::abs(plane.normal[axis]) * m_shape.reach[axis] * kSlack;
        }
    }

    GridShape m_shape;
    Plane m_planes[6];
};

CellRange FrustumRows::GetRange() const noexcept
{
    CellRange range{{0, 0, 0}, {m_shape.count[0], m_shape.count[1], m_shape.count[2]}};
    double low[3] = {kEndOfWorld, kEndOfWorld, kEndOfWorld};
    double high[3] = {-kEndOfWorld, -kEndOfWorld, -kEndOfWorld};
    for (int corner = 0; corner < 8; ++corner)
    {
        double point[3];
        if (!Intersect(m_planes[corner & 1], m_planes[2 + ((corner >> 1) & 1)], m_planes[4 + (corner >> 2)], point))
            return range;
        for (int axis = 0; axis < 3; ++axis)
        {
            const double slack = (std::abs(point[axis]) + m_shape.reach[axis]) * kSlack;
            low[axis] = std::min(low[axis], point[axis] - slack);
            high[axis] = std::max(high[axis], point[axis] + slack);
        }
    }
    for (int axis = 0; axis < 3; ++axis)
    {
        const std::int32_t last = m_shape.count[axis] - 1;
        const double first = (low[axis] - m_shape.origin[axis]) / m_shape.size[axis];
        const double end = (high[axis] - m_shape.origin[axis]) / m_shape.size[axis];
        range.first[axis] = std::min(ToCell(first, last, 0), last);
        range.end[axis] = std::min(ToCell(end, last, last), last) + 1;
    }
    return range;
}

void FrustumRows::Cut(std::int32_t y, std::int32_t z, Interval& seen, Interval& whole) const noexcept
{
    const Interval reach[2] = {m_shape.GetReach(1, y), m_shape.GetReach(2, z)};
    const Interval core[2] = {m_shape.GetCore(1, y), m_shape.GetCore(2, z)};
    seen = whole = {-kEndOfWorld, kEndOfWorld};
    for (const Plane& plane : m_planes)
    {
        // Distances of the row's farthest and nearest edge, without x.
        double most = plane.offset + plane.slack;
        double least = plane.offset - plane.slack;
        for (int i = 0; i < 2; ++i)
        {
            const double normal = plane.normal[i + 1];
            if (normal == 0.0)
                continue;
            most += normal * (normal > 0.0 ? reach[i].last : reach[i].first);
            least += normal * (normal > 0.0 ? core[i].first : core[i].last);
        }
        const double slope = plane.normal[0];
        if (slope > 0.0)
        {
            seen.first = std::max(seen.first, -most / slope);
            whole.first = std::max(whole.first, -least / slope);
        }
        else if (slope < 0.0)
        {
            seen.last = std::min(seen.last, -most / slope);
            whole.last = std::min(whole.last, -least / slope);
        }
        else
        {
            if (most < 0.0)
                seen.last = -kEndOfWorld;
            if (!(least >= 0.0))
                whole.last = -kEndOfWorld;
        }
    }
}
} // namespace

CEntityArray_SpatialQuery::Answer CEntityArray_SpatialQuery::InFrustum(const collision::PrimFrustum& frustum,
                                                                       Buffer& buffer)
{
    const CAABBDynamicGrid* const grid = i_Begin();
    if (!grid)
        return {};
    Collector collector(buffer, *m_cache);
    const FrustumRows rows(frustum, *grid);
    const collision::FrustumQuery planes(frustum);
    const auto test = [&planes, kernel = collision::SimdKernels::Get().testFrustum](
                          const auto* boxes, std::size_t count, auto* masks) { kernel(planes, boxes, count, masks); };
    const GridShape& shape = rows.GetShape();
    const CellRange range = rows.GetRange();
    for (std::int32_t z = range.first[2]; z < range.end[2]; ++z)
    {
        for (std::int32_t y = range.first[1]; y < range.end[1]; ++y)
        {
            Interval seen{};
            Interval whole{};
            rows.Cut(y, z, seen, whole);
            if (!(seen.first <= seen.last))
                continue;
            const std::int32_t last = shape.count[0] - 1;
            const double seenFirst = (seen.first - shape.origin[0]) / shape.size[0];
            const double seenLast = (seen.last - shape.origin[0]) / shape.size[0];
            const std::int32_t first = std::max(range.first[0], ToCell(seenFirst, last, 0));
            const std::int32_t end = std::min(range.end[0], ToCell(seenLast, last, last) + 1);
            // Cells that lie between the two ends, both taken inward; the first cell's core starts one cell earlier.
            const double wholeFirst = std::ceil((whole.first - shape.origin[0]) / shape.size[0]);
            const std::int32_t inner = wholeFirst <= -1.0 ? 0 : std::max(1, ToCell(wholeFirst, last + 1, last + 1));
            const std::int32_t innerEnd =
                ToCell(std::floor((whole.last - shape.origin[0]) / shape.size[0]), last + 1, 0);
            std::uint32_t index = grid->GetCellIndex(first, y, z);
            for (std::int32_t x = first; x < end; ++x, ++index)
            {
                const CellCache::Content content = m_cache->GetContent(index);
                if (x >= inner && x < innerEnd)
                    collector.TakeAll(content);
                else
                    collector.TakeFrom(content, test);
            }
        }
    }
    return collector.GetAnswer();
}
