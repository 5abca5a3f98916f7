#pragma once

#include "tamraengine/renderer/image.h"

#include <array>
#include <cstdint>
#include <span>
#include <string>
#include <vector>

/// Turns polygons, discs and lines into an antialiased picture. Shapes are kept until `Render`, which draws them in
/// order of their layers, those of one layer in the order of the calls. Coordinates are pixels: x to the right, y down,
/// the first pixel from 0 to 1. Shapes that reach farther than 1e9 pixels,
/// or are not finite, are left out.
class CMapRaster
{
public:
    struct Color
    {
        std::uint8_t red;
        std::uint8_t green;
        std::uint8_t blue;
    };
    struct Point
    {
        float x;
        float y;
    };

    /// Sides in pixels, at least 1.
    CMapRaster(int width, int height, Color ground);

    int GetWidth() const noexcept { return m_image.width; }
    int GetHeight() const noexcept { return m_image.height; }

    /// A convex polygon, corners in either order.
    void AddPolygon(std::span<const Point> corners, Color color, float layer);
    /// A convex polygon that darkens what lies below it; where shadows overlap, once.
    void AddShadow(std::span<const Point> corners, float layer);
    void AddDisc(Point centre, float radius, Color color, float layer);
    /// A line with round ends.
    void AddLine(Point a, Point b, float width, Color color, float layer);

    /// Makes the picture of the shapes so far. Takes time for the pixels that they cover.
    void Render();

    /// A pixel of the last `Render`; black before it and outside.
    std::array<std::uint8_t, 3> GetPixel(int x, int y) const noexcept;
    /// The picture of the last `Render`, opaque; without pixels before it.
    const renderer::Image& GetImage() const noexcept { return m_image; }

private:
    struct Shape
    {
        float layer;
        float radius; // of a disc, which has one corner
        float top;
        float bottom;
        std::size_t firstCorner;
        std::uint32_t cornerCount;
        Color color;
        bool isShadow;
    };
    struct Sample
    {
        Color color;
        bool isInShadow;
    };

    void i_Add(std::span<const Point> corners, float radius, Color color, float layer, bool isShadow);
    bool i_GetSpan(const Shape& shape, float y, float& from, float& to) const;
    void i_DrawBand(int firstRow, int rowCount, std::vector<Sample>& samples) const;
    void i_FillRow(const Shape& shape, float from, float to, std::span<Sample> row) const;
    void i_Resolve(std::span<const Sample> samples, int firstRow, int rowCount);

    renderer::Image m_image;
    Color m_ground;
    std::vector<Shape> m_shapes;
    std::vector<Point> m_corners;
};
