#include "tools/sceneTools/mapRaster.h"

#include <algorithm>
#include <cmath>

namespace
{
// Samples of a pixel along each side, and rows of pixels that are drawn at a time, so that memory does not grow with
// the picture and stays in the cache.
constexpr int kSamples = 4;
constexpr int kBandRows = 16;
// Farther out the arithmetic of edges has no meaning.
constexpr float kMaxCoordinate = 1e9F;
constexpr unsigned kShadowBrightness = 184; // of 256
} // namespace

CMapRaster::CMapRaster(int width, int height, Color ground)
    : m_image{std::max(width, 1), std::max(height, 1), {}},
      m_ground(ground)
{
}

void CMapRaster::i_Add(std::span<const Point> corners, float radius, Color color, float layer, bool isShadow)
{
    Shape shape{layer,        radius,           corners[0].y,
                corners[0].y, m_corners.size(), static_cast<std::uint32_t>(corners.size()),
                color,        isShadow};
    for (const Point corner : corners)
    {
        if (!(std::abs(corner.x) < kMaxCoordinate && std::abs(corner.y) < kMaxCoordinate))
            return;
        shape.top = std::min(shape.top, corner.y - radius);
        shape.bottom = std::max(shape.bottom, corner.y + radius);
    }
    m_corners.insert(m_corners.end(), corners.begin(), corners.end());
    m_shapes.push_back(shape);
}

void CMapRaster::AddPolygon(std::span<const Point> corners, Color color, float layer)
{
    if (corners.size() >= 3)
        i_Add(corners, 0.0F, color, layer, false);
}

void CMapRaster::AddShadow(std::span<const Point> corners, float layer)
{
    if (corners.size() >= 3)
        i_Add(corners, 0.0F, {}, layer, true);
}

void CMapRaster::AddDisc(Point centre, float radius, Color color, float layer)
{
    if (radius > 0.0F)
        i_Add(std::span(&centre, 1), radius, color, layer, false);
}

void CMapRaster::AddLine(Point a, Point b, float width, Color color, float layer)
{
    const float length = std::hypot(b.x - a.x, b.y - a.y);
    const float half = width * 0.5F;
    if (length > 0.0F)
    {
        const float x = (b.x - a.x) / length * half;
        const float y = (b.y - a.y) / length * half;
        const Point corners[] = {{a.x - y, a.y + x}, {b.x - y, b.y + x}, {b.x + y, b.y - x}, {a.x + y, a.y - x}};
        AddPolygon(corners, color, layer);
    }
    AddDisc(a, half, color, layer);
    AddDisc(b, half, color, layer);
}

bool CMapRaster::i_GetSpan(const Shape& shape, float y, float& from, float& to) const
{
    const std::span corners = std::span(m_corners).subspan(shape.firstCorner, shape.cornerCount);
    if (corners.size() == 1)
    {
        const float distance = y - corners[0].y;
        const float squared = shape.radius * shape.radius - distance * distance;
        if (squared < 0.0F)
            return false;
        from = corners[0].x - std::sqrt(squared);
        to = corners[0].x + std::sqrt(squared);
        return true;
    }
    bool found = false;
    for (std::size_t i = 0; i < corners.size(); ++i)
    {
        const Point a = corners[i];
        const Point b = corners[i + 1 < corners.size() ? i + 1 : 0];
        if ((a.y <= y) == (b.y <= y))
            continue;
        const float x = a.x + (b.x - a.x) * ((y - a.y) / (b.y - a.y));
        from = found ? std::min(from, x) : x;
        to = found ? std::max(to, x) : x;
        found = true;
    }
    return found;
}

void CMapRaster::i_FillRow(const Shape& shape, float from, float to, std::span<Sample> row) const
{
    // Samples stand in the middle of their square.
    const float last = static_cast<float>(row.size());
    const auto first = static_cast<std::size_t>(std::clamp(std::ceil(from * kSamples - 0.5F), 0.0F, last));
    const auto end = static_cast<std::size_t>(std::clamp(std::ceil(to * kSamples - 0.5F), 0.0F, last));
    for (std::size_t i = first; i < end; ++i)
    {
        Sample& sample = row[i];
        if (!shape.isShadow)
        {
            sample.color = shape.color;
            continue;
        }
        if (sample.isInShadow)
            continue;
        sample.isInShadow = true;
        for (std::uint8_t* channel : {&sample.color.red, &sample.color.green, &sample.color.blue})
            *channel = static_cast<std::uint8_t>(*channel * kShadowBrightness / 256);
    }
}

void CMapRaster::i_DrawBand(int firstRow, int rowCount, std::vector<Sample>& samples) const
{
    const auto rowSize = static_cast<std::size_t>(m_image.width) * kSamples;
    const auto top = static_cast<float>(firstRow);
    const auto bottom = static_cast<float>(firstRow + rowCount);
    for (const Shape& shape : m_shapes)
    {
        if (shape.bottom < top || shape.top > bottom)
            continue;
        const float start = std::max(std::floor((shape.top - top) * kSamples), 0.0F);
        const float end = std::min((shape.bottom - top) * kSamples, static_cast<float>(rowCount * kSamples));
        for (int row = static_cast<int>(start); static_cast<float>(row) < end; ++row)
        {
            float from = 0.0F;
            float to = 0.0F;
            if (i_GetSpan(shape, top + (static_cast<float>(row) + 0.5F) / kSamples, from, to))
                i_FillRow(shape, from, to,
                          std::span(samples).subspan(static_cast<std::size_t>(row) * rowSize, rowSize));
        }
    }
}

void CMapRaster::i_Resolve(std::span<const Sample> samples, int firstRow, int rowCount)
{
    const auto rowSize = static_cast<std::size_t>(m_image.width) * kSamples;
    std::uint8_t* out =
        &m_image.pixels[static_cast<std::size_t>(firstRow) * static_cast<std::size_t>(m_image.width) * 4];
    for (std::size_t row = 0; row < static_cast<std::size_t>(rowCount); ++row)
    {
        for (std::size_t x = 0; x < static_cast<std::size_t>(m_image.width); ++x)
        {
            unsigned red = 0;
            unsigned green = 0;
            unsigned blue = 0;
            for (std::size_t i = 0; i < kSamples * kSamples; ++i)
            {
                const Color color =
                    samples[(row * kSamples + i / kSamples) * rowSize + x * kSamples + i % kSamples].color;
                red += color.red;
                green += color.green;
                blue += color.blue;
            }
            for (const unsigned sum : {red, green, blue})
                *out++ = static_cast<std::uint8_t>((sum + kSamples * kSamples / 2) / (kSamples * kSamples));
            *out++ = 255;
        }
    }
}

void CMapRaster::Render()
{
    std::stable_sort(m_shapes.begin(), m_shapes.end(),
                     [](const Shape& a, const Shape& b) { return a.layer < b.layer; });
    m_image.pixels.resize(m_image.GetPixelCount() * 4);
    std::vector<Sample> samples;
    for (int row = 0; row < m_image.height; row += kBandRows)
    {
        const int rowCount = std::min(kBandRows, m_image.height - row);
        samples.assign(static_cast<std::size_t>(m_image.width) * static_cast<std::size_t>(rowCount) * kSamples *
                           kSamples,
                       Sample{m_ground, false});
        i_DrawBand(row, rowCount, samples);
        i_Resolve(samples, row, rowCount);
    }
}

std::array<std::uint8_t, 3> CMapRaster::GetPixel(int x, int y) const noexcept
{
    if (m_image.pixels.empty() || x < 0 || y < 0 || x >= m_image.width || y >= m_image.height)
        return {};
    const std::uint8_t* pixel = m_image.GetPixel(x, y);
    return {pixel[0], pixel[1], pixel[2]};
}
