#include "tools/sceneTools/outline.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <utility>

namespace outline
{
namespace
{
constexpr double kMaxSlices = 512.0;
constexpr double kMaxWork = 2e7; // slices times points
// Slices in each direction of a compact shape: enough for a shore to look like one.
constexpr double kSlicesPerSide = 32.0;
// Slices up to this many times wider than long follow the outline's direction, if it climbs at most so steeply.
constexpr double kMaxFollowingWidth = 3.0;
constexpr double kMaxFollowingSlope = 3.0;
// How far, in widths, they reach into their neighbours, so that no wedge stays open where the outline bends.
constexpr double kOverlap = 0.12;
// Hull edges that are tried as the rectangle's direction.
constexpr std::size_t kMaxDirections = 512;

double Cross(Point a, Point b, Point c)
{
    return (b.x - a.x) * (c.y - a.y) - (b.y - a.y) * (c.x - a.x);
}

// Where the outline crosses a line across the slices' direction; pairs of neighbours enclose the inside.
using Crossings = std::vector<double>;

// Rings seen in the frame of a rectangle: x along its length from 0, y across.
std::vector<Ring> ToFrame(std::span<const Ring> rings, const Rectangle& frame)
{
    std::vector<Ring> result;
    for (const Ring& ring : rings)
    {
        Ring& local = result.emplace_back();
        local.reserve(ring.size());
        for (const Point point : ring)
        {
            const double x = point.x - frame.centre.x;
            const double y = point.y - frame.centre.y;
            local.push_back({x * frame.directionX + y * frame.directionY + frame.length * 0.5,
                             y * frame.directionX - x * frame.directionY});
        }
    }
    return result;
}

Rectangle FromFrame(const Rectangle& local, const Rectangle& frame)
{
    const double x = local.centre.x - frame.length * 0.5;
    const double y = local.centre.y;
    Rectangle result = local;
    result.centre = {frame.centre.x + x * frame.directionX - y * frame.directionY,
                     frame.centre.y + x * frame.directionY + y * frame.directionX};
    result.directionX = local.directionX * frame.directionX - local.directionY * frame.directionY;
    result.directionY = local.directionX * frame.directionY + local.directionY * frame.directionX;
    return result;
}

Crossings GetCrossings(std::span<const Ring> rings, double x)
{
    Crossings crossings;
    for (const Ring& ring : rings)
    {
        for (std::size_t i = 0; i < ring.size(); ++i)
        {
            const Point a = ring[i];
            const Point b = ring[i + 1 < ring.size() ? i + 1 : 0];
            if ((a.x <= x) != (b.x <= x))
                crossings.push_back(a.y + (b.y - a.y) * (x - a.x) / (b.x - a.x));
        }
    }
    std::sort(crossings.begin(), crossings.end());
    return crossings;
}

void AddSlice(std::span<const Ring> rings, double from, double to, std::vector<Rectangle>& out)
{
    const double length = to - from;
    const Crossings start = GetCrossings(rings, from + length * 0.001);
    const Crossings middle = GetCrossings(rings, from + length * 0.5);
    const Crossings end = GetCrossings(rings, to - length * 0.001);
    for (std::size_t i = 0; i + 1 < middle.size(); i += 2)
    {
        const double width = middle[i + 1] - middle[i];
        if (width < 0.5)
            continue;
        Rectangle slice{{from + length * 0.5, (middle[i] + middle[i + 1]) * 0.5}, 1.0, 0.0, length, width};
        if (start.size() == middle.size() && end.size() == middle.size())
        {
            const Point a{from, (start[i] + start[i + 1]) * 0.5};
            const Point b{to, (end[i] + end[i + 1]) * 0.5};
            Rectangle along = GetSegmentRectangle(a, b, width);
            along.width *= length / along.length;
            if (along.width < along.length * kMaxFollowingWidth && std::abs(b.y - a.y) < length * kMaxFollowingSlope)
            {
                along.length += along.width * kOverlap;
                slice = along;
            }
        }
        out.push_back(slice);
    }
}
} // namespace

Ring ConvexHull(std::span<const Point> points)
{
    Ring sorted(points.begin(), points.end());
    std::sort(sorted.begin(), sorted.end(), [](Point a, Point b) { return a.x < b.x || (a.x == b.x && a.y < b.y); });
    sorted.erase(std::unique(sorted.begin(), sorted.end()), sorted.end());
    if (sorted.size() < 3)
        return sorted;

    Ring hull;
    const auto add = [&hull](Point point, std::size_t keep)
    {
        while (hull.size() > keep && Cross(hull[hull.size() - 2], hull.back(), point) <= 0.0)
            hull.pop_back();
        hull.push_back(point);
    };
    for (const Point point : sorted)
        add(point, 1);
    const std::size_t lower = hull.size();
    for (std::size_t i = sorted.size() - 1; i-- > 0;)
        add(sorted[i], lower);
    hull.pop_back();
    return hull;
}

Rectangle GetMinimumRectangle(std::span<const Point> points)
{
    const Ring hull = ConvexHull(points);
    Rectangle best;
    if (hull.size() < 2)
    {
        best.centre = hull.empty() ? Point{} : hull.front();
        return best;
    }
    double bestArea = std::numeric_limits<double>::infinity();
    const std::size_t stride = hull.size() / kMaxDirections + 1;
    for (std::size_t i = 0; i < hull.size(); i += stride)
    {
        const Point a = hull[i];
        const Point b = hull[i + 1 < hull.size() ? i + 1 : 0];
        const double edge = std::hypot(b.x - a.x, b.y - a.y);
        const double dx = (b.x - a.x) / edge;
        const double dy = (b.y - a.y) / edge;
        double low[2] = {0.0, 0.0};
        double high[2] = {0.0, 0.0};
        for (const Point point : hull)
        {
            const double along[2] = {(point.x - a.x) * dx + (point.y - a.y) * dy,
                                     (point.y - a.y) * dx - (point.x - a.x) * dy};
            for (int axis = 0; axis < 2; ++axis)
            {
                low[axis] = std::min(low[axis], along[axis]);
                high[axis] = std::max(high[axis], along[axis]);
            }
        }
        const double area = (high[0] - low[0]) * (high[1] - low[1]);
        if (!(area < bestArea * (1.0 - 1e-9)))
            continue;
        bestArea = area;
        const double x = (low[0] + high[0]) * 0.5;
        const double y = (low[1] + high[1]) * 0.5;
        best = {{a.x + x * dx - y * dy, a.y + x * dy + y * dx}, dx, dy, high[0] - low[0], high[1] - low[1]};
    }
    if (best.length < best.width)
    {
        std::swap(best.length, best.width);
        best = {best.centre, -best.directionY, best.directionX, best.length, best.width};
    }
    if (best.directionX < 0.0 || (best.directionX == 0.0 && best.directionY < 0.0))
    {
        best.directionX = -best.directionX;
        best.directionY = -best.directionY;
    }
    return best;
}

Rectangle GetSegmentRectangle(Point a, Point b, double width)
{
    const double length = std::hypot(b.x - a.x, b.y - a.y);
    Rectangle result{{(a.x + b.x) * 0.5, (a.y + b.y) * 0.5}, 1.0, 0.0, length, width};
    if (length > 0.0)
    {
        result.directionX = (b.x - a.x) / length;
        result.directionY = (b.y - a.y) / length;
    }
    return result;
}

bool IsInside(std::span<const Point> ring, Point point)
{
    bool inside = false;
    for (std::size_t i = 0; i < ring.size(); ++i)
    {
        const Point a = ring[i];
        const Point b = ring[i + 1 < ring.size() ? i + 1 : 0];
        if ((a.x <= point.x) != (b.x <= point.x) && point.y < a.y + (b.y - a.y) * (point.x - a.x) / (b.x - a.x))
            inside = !inside;
    }
    return inside;
}

double GetArea(std::span<const Point> ring)
{
    double doubled = 0.0;
    for (std::size_t i = 2; i < ring.size(); ++i)
        doubled += Cross(ring[0], ring[i - 1], ring[i]);
    return std::abs(doubled) * 0.5;
}

std::vector<Rectangle> GetRectangles(std::span<const Ring> rings, double minimumFill, double minimumSlice)
{
    if (rings.empty())
        return {};
    const double area = GetArea(rings[0]);
    const Rectangle frame = GetMinimumRectangle(rings[0]);
    if (rings.size() == 1 && area >= minimumFill * frame.GetArea())
        return {frame};

    const double slice = std::max(minimumSlice, std::sqrt(area) / kSlicesPerSide);
    std::size_t points = 1;
    for (const Ring& ring : rings)
        points += ring.size();
    const double maxSlices = std::clamp(kMaxWork / static_cast<double>(points), 8.0, kMaxSlices);
    const double count = std::clamp(std::ceil(frame.length / slice), 1.0, maxSlices);
    const std::vector<Ring> local = ToFrame(rings, frame);
    std::vector<Rectangle> slices;
    for (double i = 0.0; i < count; i += 1.0)
        AddSlice(local, frame.length * i / count, frame.length * (i + 1.0) / count, slices);
    for (Rectangle& rectangle : slices)
        rectangle = FromFrame(rectangle, frame);
    return slices;
}
} // namespace outline
