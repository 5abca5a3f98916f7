#include "tools/sceneTools/townMap.h"

#include "gameengine/engine/componentTransform.h"
#include "gameengine/engine/entityArray.h"
#include "tamraengine/renderer/imageEncoder.h"
#include "tools/sceneTools/outline.h"

#include <algorithm>
#include <cmath>
#include <vector>

namespace
{
using Color = CMapRaster::Color;
using Point = CMapRaster::Point;

constexpr Color kGround = {243, 240, 233};
constexpr Color kWater = {156, 199, 225};
constexpr Color kPark = {193, 221, 170};
constexpr Color kLowRoof = {226, 210, 194};
constexpr Color kTallRoof = {158, 104, 82};
constexpr Color kRoofEdge = {128, 106, 92};
constexpr Color kFootpath = {205, 180, 148};
constexpr Color kStreet = {255, 255, 255};
constexpr Color kStreetEdge = {184, 178, 170};
constexpr Color kMainStreet = {252, 226, 150};
constexpr Color kMainStreetEdge = {196, 158, 82};
constexpr Color kHighway = {242, 172, 110};
constexpr Color kHighwayEdge = {188, 112, 60};
constexpr Color kPlace = {176, 36, 44};
constexpr Color kOther = {150, 90, 190};
constexpr Color kInView = {94, 170, 160};
constexpr Color kCar = {20, 60, 200};
constexpr Color kInk = {40, 40, 44};
constexpr Color kPaper = {255, 255, 255};

// Layers; within one, what is wider or taller counts up by less than 1.
constexpr float kWaterLayer = 0.0F;
constexpr float kParkLayer = 1.0F;
constexpr float kStreetEdgeLayer = 2.0F;
constexpr float kStreetLayer = 3.0F;
constexpr float kShadowLayer = 4.0F;
constexpr float kBuildingLayer = 5.0F;
constexpr float kInViewLayer = 6.0F;
constexpr float kOtherLayer = 6.2F;
constexpr float kCarLayer = 6.5F;
constexpr float kPlaceLayer = 7.0F;
constexpr float kLineLayer = 8.0F;
constexpr float kLegendLayer = 9.0F;

// Streets from this width in metres are main streets and highways; below the first, paths for feet and wheels.
constexpr float kRealStreet = 3.5F;
constexpr float kMainStreetWidth = 9.0F;
constexpr float kHighwayWidth = 15.0F;
// Small streets that have fewer pixels than this are a single dark line.
constexpr float kThinStreet = 2.0F;

// Where the end of one metre's shadow falls, in metres: the light comes from the upper left.
constexpr float kShadowX = 0.30F;
constexpr float kShadowY = 0.36F;
// Roofs are darkest at this height in metres.
constexpr float kTallBuilding = 70.0F;
constexpr float kMaxHeight = 1000.0F;

struct StreetStyle
{
    Color color;
    Color edge;
    float minimumPixels;
};

StreetStyle GetStreetStyle(float metres)
{
    if (metres >= kHighwayWidth)
        return {kHighway, kHighwayEdge, 3.0F};
    if (metres >= kMainStreetWidth)
        return {kMainStreet, kMainStreetEdge, 2.4F};
    return {kStreet, kStreetEdge, 1.2F};
}

Color Mix(Color a, Color b, float part)
{
    const auto mix = [part](std::uint8_t from, std::uint8_t to)
    {
        const auto start = static_cast<float>(from);
        return static_cast<std::uint8_t>(start + (static_cast<float>(to) - start) * part + 0.5F);
    };
    return {mix(a.red, b.red), mix(a.green, b.green), mix(a.blue, b.blue)};
}

float GetExtent(float low, float high)
{
    const float length = high - low;
    return std::isfinite(length) && length > 0.0F ? length : 1.0F;
}

int GetHeightInPixels(float extent, float scale)
{
    return static_cast<int>(std::clamp(std::ceil(extent * scale), 16.0F, static_cast<float>(CTownMap::kMaxSide)));
}

// 1, 2 or 5 times a power of ten, at most `length`.
float GetRoundLength(float length)
{
    const float power = std::pow(10.0F, std::floor(std::log10(length)));
    for (const float factor : {5.0F, 2.0F})
    {
        if (power * factor <= length)
            return power * factor;
    }
    return power;
}
} // namespace

CTownMap::CTownMap(float minX, float minY, float maxX, float maxY, int width)
    : m_minX(minX),
      m_maxY(maxY),
      m_scale(static_cast<float>(std::clamp(width, 16, kMaxSide)) / GetExtent(minX, maxX)),
      m_raster(std::clamp(width, 16, kMaxSide), GetHeightInPixels(GetExtent(minY, maxY), m_scale), kGround)
{
}

CTownMap::Point CTownMap::i_ToPixel(CVector3 position) const noexcept
{
    return {(position.x - m_minX) * m_scale, (m_maxY - position.y) * m_scale};
}

std::array<int, 2> CTownMap::GetPixelAt(float x, float y) const noexcept
{
    const auto toInt = [](float value)
    { return std::isnan(value) ? -1 : static_cast<int>(std::clamp(std::floor(value), -1e6F, 1e6F)); };
    const Point pixel = i_ToPixel({x, y, 0.0F});
    return {toInt(pixel.x), toInt(pixel.y)};
}

void CTownMap::DrawEntity(const CEntity& entity)
{
    auto* transform = entity.Find<ComponentTransform>();
    if (!transform)
        return;
    const TownKind kind = GetTownKind(entity);
    if (kind != TownKind::None)
        return DrawBox(kind, transform->GetTransform());

    const collision::PrimAABB& box = transform->GetBoundingBox();
    CMatrix matrix;
    matrix.Scale3(box.GetSize().x, box.GetSize().y, box.GetSize().z);
    matrix.SetTranslation(box.GetCenter());
    DrawBox(kind, matrix);
}

void CTownMap::DrawScene(const CEntityArray& scene)
{
    // The array's order is that of memory; the picture's must be the same each time.
    std::vector<const CEntity*> entities;
    for (int i = 0; i < scene.GetCount(); ++i)
        entities.push_back(scene.Get(i));
    std::sort(entities.begin(), entities.end(),
              [](const CEntity* a, const CEntity* b) { return a->GetSerial() < b->GetSerial(); });
    for (const CEntity* entity : entities)
        DrawEntity(*entity);
}

CTownMap::Corners CTownMap::i_GetCorners(const CMatrix& matrix) const noexcept
{
    const CVector3 middle = matrix.Translation();
    const CVector3 x = matrix.GetLocalX() * 0.5F;
    const CVector3 y = matrix.GetLocalY() * 0.5F;
    return {i_ToPixel(middle - x - y), i_ToPixel(middle + x - y), i_ToPixel(middle + x + y), i_ToPixel(middle - x + y)};
}

void CTownMap::DrawInView(const CMatrix& matrix)
{
    m_raster.AddPolygon(i_GetCorners(matrix), kInView, kInViewLayer);
}

void CTownMap::DrawCar(CVector3 position)
{
    const Point pixel = i_ToPixel(position);
    m_raster.AddDisc(pixel, 2.6F, kPaper, kCarLayer);
    m_raster.AddDisc(pixel, 1.8F, kCar, kCarLayer + 0.1F);
}

void CTownMap::DrawBox(TownKind kind, const CMatrix& matrix)
{
    const CVector3 middle = matrix.Translation();
    const CVector3 x = matrix.GetLocalX() * 0.5F;
    const Corners corners = i_GetCorners(matrix);
    switch (kind)
    {
    case TownKind::Water: m_raster.AddPolygon(corners, kWater, kWaterLayer); break;
    case TownKind::Park: m_raster.AddPolygon(corners, kPark, kParkLayer); break;
    case TownKind::Street:
        i_DrawStreet(i_ToPixel(middle - x), i_ToPixel(middle + x), matrix.GetLocalY().Length());
        break;
    case TownKind::Building:
    {
        const float half = matrix.GetLocalZ().Length() * 0.5F;
        i_DrawBuilding(corners, middle.z - half, middle.z + half);
        break;
    }
    case TownKind::Place:
    {
        const float radius = std::clamp(x.Length() * 0.15F, 3.0F, 9.0F);
        m_raster.AddDisc(i_ToPixel(middle), radius + 1.5F, kPaper, kPlaceLayer);
        m_raster.AddDisc(i_ToPixel(middle), radius, kPlace, kPlaceLayer);
        break;
    }
    case TownKind::None: m_raster.AddPolygon(corners, kOther, kOtherLayer); break;
    }
}

void CTownMap::i_DrawStreet(Point a, Point b, float metres)
{
    const float order = std::clamp(metres / 100.0F, 0.0F, 0.9F);
    if (metres < kRealStreet)
    {
        m_raster.AddLine(a, b, std::clamp(metres * m_scale, 0.6F, 3.0F), kFootpath, kStreetEdgeLayer);
        return;
    }
    const StreetStyle style = GetStreetStyle(metres);
    if (metres * m_scale < kThinStreet && metres < kMainStreetWidth)
        return m_raster.AddLine(a, b, style.minimumPixels, style.edge, kStreetLayer + order);
    const float width = std::max(metres * m_scale, style.minimumPixels);
    m_raster.AddLine(a, b, width + std::min(2.0F, width * 0.6F), style.edge, kStreetEdgeLayer + order);
    m_raster.AddLine(a, b, width, style.color, kStreetLayer + order);
}

void CTownMap::i_DrawBuilding(const Corners& corners, float bottom, float top)
{
    const auto limit = [](float value) { return value > 0.0F ? std::min(value, kMaxHeight) : 0.0F; };
    const float height = limit(top);
    i_DrawShadow(corners, height);
    // What starts above the ground lies on top of what stands on it.
    const float order = (height + limit(bottom)) / (2.1F * kMaxHeight);
    const Color roof = Mix(kLowRoof, kTallRoof, std::sqrt(std::min(height / kTallBuilding, 1.0F)));
    const float layer = kBuildingLayer + order;
    m_raster.AddPolygon(corners, roof, layer);
    const float edge = std::min(1.0F, m_scale * 0.9F);
    for (std::size_t i = 0; i < corners.size(); ++i)
        m_raster.AddLine(corners[i], corners[(i + 1) % corners.size()], edge, Mix(roof, kRoofEdge, 0.8F), layer);
}

void CTownMap::i_DrawShadow(const Corners& corners, float height)
{
    const Point offset = {kShadowX * height * m_scale, kShadowY * height * m_scale};
    outline::Ring points;
    for (const Point corner : corners)
    {
        points.push_back({corner.x, corner.y});
        points.push_back({corner.x + offset.x, corner.y + offset.y});
    }
    std::vector<Point> shadow;
    for (const outline::Point point : outline::ConvexHull(points))
        shadow.push_back({static_cast<float>(point.x), static_cast<float>(point.y)});
    m_raster.AddShadow(shadow, kShadowLayer);
}

void CTownMap::DrawLines(std::span<const RenderLineVertex> vertices, float pixels)
{
    for (std::size_t i = 0; i + 1 < vertices.size(); i += 2)
    {
        const std::uint32_t color = vertices[i].color;
        m_raster.AddLine(i_ToPixel(vertices[i].position), i_ToPixel(vertices[i + 1].position), pixels,
                         {static_cast<std::uint8_t>(color), static_cast<std::uint8_t>(color >> 8),
                          static_cast<std::uint8_t>(color >> 16)},
                         kLineLayer);
    }
}

float CTownMap::DrawScaleBar()
{
    constexpr int kFields = 5;
    constexpr float kBarHeight = 8.0F;
    const auto width = static_cast<float>(GetWidth());
    const auto height = static_cast<float>(GetHeight());
    const auto rectangle = [this](float left, float top, float right, float bottom, Color color)
    {
        const Corners corners = {{{left, top}, {right, top}, {right, bottom}, {left, bottom}}};
        m_raster.AddPolygon(corners, color, kLegendLayer);
    };

    const float metres = GetRoundLength(width * 0.25F / m_scale);
    const float length = metres * m_scale;
    const float left = 16.0F;
    const float bottom = height - 16.0F;
    rectangle(left - 5.0F, bottom - kBarHeight - 5.0F, left + length + 5.0F, bottom + 5.0F, kPaper);
    rectangle(left - 1.0F, bottom - kBarHeight - 1.0F, left + length + 1.0F, bottom + 1.0F, kInk);
    for (int field = 1; field < kFields; field += 2)
        rectangle(left + length * static_cast<float>(field) / kFields, bottom - kBarHeight,
                  left + length * static_cast<float>(field + 1) / kFields, bottom, kPaper);

    const Point tip = {left + 9.0F, bottom - 58.0F};
    const Point notch = {tip.x, tip.y + 25.0F};
    m_raster.AddDisc({tip.x, tip.y + 17.0F}, 22.0F, kPaper, kLegendLayer);
    const Point leftHalf[] = {tip, {tip.x - 10.0F, tip.y + 32.0F}, notch};
    const Point rightHalf[] = {tip, {tip.x + 10.0F, tip.y + 32.0F}, notch};
    m_raster.AddPolygon(leftHalf, kInk, kLegendLayer);
    m_raster.AddPolygon(rightHalf, kPlace, kLegendLayer);
    return metres;
}

bool CTownMap::WritePng(const std::string& path)
{
    Render();
    return renderer::WritePng(path, m_raster.GetImage());
}
