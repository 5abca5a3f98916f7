#pragma once

#include <cstddef>
#include <span>
#include <vector>

// Plane geometry of outlines: how a closed polygon becomes one upright box or a few of them.

namespace outline
{
struct Point
{
    double x = 0.0;
    double y = 0.0;

    friend bool operator==(const Point&, const Point&) = default;
};

using Ring = std::vector<Point>;

/// A rectangle that may be turned: `directionX`, `directionY` is the unit vector along which `length` is measured,
/// `width` is across.
struct Rectangle
{
    Point centre;
    double directionX = 1.0;
    double directionY = 0.0;
    double length = 0.0;
    double width = 0.0;

    double GetArea() const noexcept { return length * width; }
};

/// Corners of the convex hull, anticlockwise, without those on a straight edge. Fewer than three for points in a row.
Ring ConvexHull(std::span<const Point> points);

/// The rectangle of the least area that holds all the points. Its longer side is the length, and the direction points
/// to the right. Rectangles of the same area are told apart by the order of the hull's corners.
Rectangle GetMinimumRectangle(std::span<const Point> points);

/// The rectangle from `a` to `b`, `width` across.
Rectangle GetSegmentRectangle(Point a, Point b, double width);

/// Whether the point is inside a ring, by the even-odd rule.
bool IsInside(std::span<const Point> ring, Point point);

/// Area of a ring, closed or not; 0 or more.
double GetArea(std::span<const Point> ring);

/// Rectangles that cover about the inside of the first ring without the others, its holes. A ring without holes that
/// fills at least `minimumFill` of the rectangle around it is that one rectangle. Else the rectangle is cut across its
/// length into slices, each a rectangle for every stretch that is inside; narrow ones, as of a river, follow the
/// outline. Slices are at least `minimumSlice` metres long. There are at most 512 slices, fewer for rings of more
/// than 40,000 points, and the work grows with slices times points.
std::vector<Rectangle> GetRectangles(std::span<const Ring> rings, double minimumFill, double minimumSlice);
} // namespace outline
