#include "tools/sceneTools/outline.h"

#include <algorithm>
#include <cmath>
#include <random>

#include <gtest/gtest.h>

namespace
{
using outline::Point;
using outline::Rectangle;
using outline::Ring;

// Corners of a rectangle turned by an angle, from a corner that is not the lowest or leftmost.
Ring MakeRectangle(Point centre, double length, double width, double angle)
{
    Ring ring;
    for (const auto& [x, y] : {std::pair(0.5, -0.5), std::pair(0.5, 0.5), std::pair(-0.5, 0.5), std::pair(-0.5, -0.5)})
        ring.push_back({centre.x + x * length * std::cos(angle) - y * width * std::sin(angle),
                        centre.y + x * length * std::sin(angle) + y * width * std::cos(angle)});
    return ring;
}

bool Holds(const Rectangle& rectangle, Point point)
{
    const double x = point.x - rectangle.centre.x;
    const double y = point.y - rectangle.centre.y;
    const double along = x * rectangle.directionX + y * rectangle.directionY;
    const double across = y * rectangle.directionX - x * rectangle.directionY;
    return std::abs(along) <= rectangle.length * 0.5 + 1e-6 && std::abs(across) <= rectangle.width * 0.5 + 1e-6;
}

// Part of random points in the box around the ring that are in the ring and in no rectangle, or the other way round.
double GetMismatch(const Ring& ring, const std::vector<Rectangle>& rectangles, double extent)
{
    std::mt19937 random(7);
    const double scale = 2.0 * extent / 4294967296.0;
    int wrong = 0;
    int inside = 0;
    for (int i = 0; i < 20000; ++i)
    {
        const auto next = [&] { return static_cast<double>(random()) * scale - extent; };
        const Point point{next(), next()};
        const bool isCovered = std::ranges::any_of(rectangles, [&](const auto& r) { return Holds(r, point); });
        inside += outline::IsInside(ring, point);
        wrong += outline::IsInside(ring, point) != isCovered;
    }
    return static_cast<double>(wrong) / inside;
}
} // namespace

TEST(Outline, RectangleHoldsAllPointsAndIsNoLargerThanAnyOther)
{
    std::mt19937 random(11);
    for (int round = 0; round < 50; ++round)
    {
        Ring points;
        for (int i = 0; i < 3 + round; ++i)
            points.push_back({static_cast<double>(random() % 1000), static_cast<double>(random() % 700)});
        if (round % 5 == 0)
            points = MakeRectangle({1200.0, -340.0}, 30.0, 12.0, round * 0.13);
        // Closed, and with a corner in the middle of an edge.
        points.insert(points.end(),
                      {points[0], {(points[0].x + points[1].x) * 0.5, (points[0].y + points[1].y) * 0.5}});
        const Rectangle best = outline::GetMinimumRectangle(points);
        EXPECT_GE(best.length, best.width);
        EXPECT_GE(best.directionX, -1e-9);
        for (const Point point : points)
            EXPECT_TRUE(Holds(best, point));
        for (double angle = 0.0; angle < 1.6; angle += 0.01)
        {
            const auto extent = [&](double x, double y)
            {
                const auto along = [=](Point point) { return point.x * x + point.y * y; };
                const auto [low, high] = std::ranges::minmax_element(points, {}, along);
                return along(*high) - along(*low);
            };
            const double area = extent(std::cos(angle), std::sin(angle)) * extent(-std::sin(angle), std::cos(angle));
            EXPECT_LE(best.GetArea(), area * (1.0 + 1e-6));
        }
    }
    EXPECT_EQ(outline::GetMinimumRectangle({}).GetArea(), 0.0);
    EXPECT_EQ(outline::GetMinimumRectangle(Ring{{3, 4}, {3, 4}}).GetArea(), 0.0);
    const Rectangle line = outline::GetMinimumRectangle(Ring{{0, 0}, {5, 5}, {10, 10}});
    EXPECT_NEAR(line.GetArea(), 0.0, 1e-9);
    EXPECT_NEAR(line.length, std::sqrt(200.0), 1e-9);
}

TEST(Outline, SlicesCoverTheShapeAndNotItsHole)
{
    // A crescent as of a lake, and a square with a square court.
    Ring crescent;
    for (int i = 0; i <= 60; ++i)
        crescent.push_back({100.0 * std::cos(i * 0.05), 100.0 * std::sin(i * 0.05)});
    for (int i = 60; i >= 0; --i)
        crescent.push_back({70.0 * std::cos(i * 0.05), 70.0 * std::sin(i * 0.05)});
    const auto slices = outline::GetRectangles(std::span(&crescent, 1), 0.85, 1.0);
    EXPECT_GT(slices.size(), 20U);
    EXPECT_LT(GetMismatch(crescent, slices, 110.0), 0.1);

    const Ring court[] = {MakeRectangle({}, 100.0, 100.0, 0.4), MakeRectangle({}, 50.0, 50.0, 0.4)};
    double area = 0.0;
    for (const Rectangle& wall : outline::GetRectangles(court, 0.85, 1.0))
    {
        area += wall.GetArea();
        EXPECT_FALSE(Holds(wall, {0.0, 0.0}));
    }
    EXPECT_NEAR(area, 7500.0, 400.0);
    EXPECT_EQ(outline::GetRectangles(std::span(court, 1), 0.85, 1.0).size(), 1U);
}
