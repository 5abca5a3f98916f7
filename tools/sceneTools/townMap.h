#pragma once

#include "tamraengine/renderer/renderQueue.h"
#include "tools/sceneTools/mapRaster.h"
#include "tools/sceneTools/townEntity.h"

#include <array>
#include <cstdint>
#include <span>
#include <string>

class CEntityArray;

/// A picture of a town from above, north up.
///
///     CTownMap map(min.x, min.y, max.x, max.y, 1600);
///     map.DrawScene(scene.GetArray());
///     map.DrawLines(renderQueue.GetLines());
///     map.DrawScaleBar();
///     map.WritePng("town.png");
///
/// What is drawn is kept and turned into pixels by `Render`, kind upon kind whatever the order of the calls: water,
/// parks, streets (wide upon narrow), shadows, buildings (tall upon low), what is in view, other entities, cars,
/// places, lines, the scale bar.
class CTownMap
{
public:
    static constexpr int kMaxSide = 16384;

    /// The area in metres and the picture's width in pixels; the height follows, and both stay from 16 to `kMaxSide`.
    /// An area without extent is made one metre large.
    CTownMap(float minX, float minY, float maxX, float maxY, int width);

    int GetWidth() const noexcept { return m_raster.GetWidth(); }
    int GetHeight() const noexcept { return m_raster.GetHeight(); }

    /// Draws the box of the entity's transform in the way of its kind. Entities that belong to no town are violet world
    /// boxes; those without a transform are left out.
    void DrawEntity(const CEntity& entity);
    void DrawScene(const CEntityArray& scene);
    /// Draws the unit box that the matrix moves, see `TownBox::GetMatrix`.
    void DrawBox(TownKind kind, const CMatrix& matrix);

    /// Draws the outline of a unit box that the matrix moves as something that is in view.
    void DrawInView(const CMatrix& matrix);
    void DrawCar(CVector3 position);

    /// Draws lines in their own colours, seen from above: two vertices each, an odd last one is left out.
    void DrawLines(std::span<const RenderLineVertex> vertices, float pixels = 2.0F);

    /// Draws a bar of five fields in the lower left corner and an arrow to the north; returns the bar's length in
    /// metres, a round number.
    float DrawScaleBar();

    /// Makes the picture of what was drawn so far.
    void Render() { m_raster.Render(); }

    /// Red, green and blue of a pixel of the last `Render`, the first row being the northernmost. Black outside.
    std::array<std::uint8_t, 3> GetPixel(int x, int y) const noexcept { return m_raster.GetPixel(x, y); }
    /// The pixel that shows a place in the town, which may lie outside of the picture.
    std::array<int, 2> GetPixelAt(float x, float y) const noexcept;

    /// Calls `Render` and writes the picture, replacing the file in one step. False, with one log line, when it fails.
    bool WritePng(const std::string& path);

private:
    using Point = CMapRaster::Point;
    using Color = CMapRaster::Color;
    using Corners = std::array<Point, 4>;

    Corners i_GetCorners(const CMatrix& matrix) const noexcept;

    Point i_ToPixel(CVector3 position) const noexcept;
    void i_DrawStreet(Point a, Point b, float metres);
    void i_DrawBuilding(const Corners& corners, float bottom, float top);
    void i_DrawShadow(const Corners& corners, float height);

    float m_minX;
    float m_maxY;
    float m_scale; // pixels a metre
    CMapRaster m_raster;
};
