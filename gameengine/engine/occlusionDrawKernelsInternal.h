#pragma once

#include "gameengine/engine/occlusionVectorsInternal.h"

#include <algorithm>
#include <bit>

namespace occlusion
{
namespace
{
/// Takes note that the pixels of `mask` are covered at `closeness`, or of as much of it as pays.
template <class Arch>
TAMRA_INLINE void AddPartial(DepthTiles& tiles, std::size_t tile, const DepthTiles::Mask& mask, float closeness)
{
    float& known = tiles.partial[tile];
    DepthTiles::Mask& knownMask = tiles.masks[tile];
    if (known <= tiles.full[tile])
    {
        known = closeness;
        knownMask = mask;
        return;
    }
    DepthTiles::Mask both;
    const MaskRelation relation = Target<Arch>::Unite(mask, knownMask, both);
    const float farther = std::min(known, closeness);
    if (relation.isAll)
    {
        tiles.full[tile] = std::max(tiles.full[tile], farther);
        known = kNothing;
        return;
    }
    if (!relation.addsAny && closeness <= known)
        return;
    if (!relation.lacksAny && closeness >= known)
    {
        known = closeness;
        knownMask = mask;
        return;
    }
    // A far surface that covers a bit of a tile must not drag the near one that covers most of it away.
    if (farther < 0.5F * std::max(known, closeness))
    {
        const auto count = [](const DepthTiles::Mask& of)
        {
            int sum = 0;
            for (const std::uint32_t row : of.rows)
                sum += std::popcount(row);
            return sum;
        };
        if (count(mask) > count(knownMask))
        {
            known = closeness;
            knownMask = mask;
        }
        return;
    }
    knownMask = both;
    known = farther;
}

/// The pixels of a polygon in one row of tiles.
template <class Arch>
struct RowSpans
{
    using E = Eight<Arch>;

    TAMRA_INLINE RowSpans(const OcclusionPolygon& polygon, float width, int tileRow)
    {
        const E rows = E(static_cast<float>(tileRow * kTileHeight) + 0.5F) + E::Load(kNumbers);
        E begin(0.0F);
        E end(width);
        for (int i = 0; i < polygon.leftCount; ++i)
            begin = Max((rows - E(polygon.edgeY[i])) * E(polygon.slope[i]) + E(polygon.edgeX[i]), begin);
        for (int i = OcclusionPolygon::kEdges - polygon.rightCount; i < OcclusionPolygon::kEdges; ++i)
            end = Min((rows - E(polygon.edgeY[i])) * E(polygon.slope[i]) + E(polygon.edgeX[i]), end);
        const EightBools<Arch> inside =
            Less(E(static_cast<float>(polygon.rowBegin)), rows) & Less(rows, E(static_cast<float>(polygon.rowEnd)));
        begin = Select(inside, Min(begin, E(width)), E(width));
        end = Select(inside, Max(end, E(0.0F)), E(0.0F)).Truncate();
        const E truncated = begin.Truncate();
        begin = truncated + Select(Less(truncated, begin), E(1.0F), E(0.0F));
        begin.StoreIntegers(begins);
        end.StoreIntegers(ends);
        float least[4];
        Target<Arch>::Extremes(begin, E(0.0F) - begin, end, E(0.0F) - end, least);
        constexpr float kScale = 1.0F / static_cast<float>(kTileWidth);
        firstTile = static_cast<int>(least[0] * kScale);
        fullBegin = static_cast<int>(-least[1] * kScale + (1.0F - kScale));
        fullEnd = static_cast<int>(least[2] * kScale);
        endTile = static_cast<int>(-least[3] * kScale + (1.0F - kScale));
    }

    std::int32_t begins[8];
    std::int32_t ends[8];
    int firstTile;
    int endTile;
    int fullBegin;
    int fullEnd;
};

/// Whether all that the polygon could cover in a row of tiles is covered by something nearer.
template <class Arch>
TAMRA_INLINE bool IsRowHidden(const OcclusionPolygon& polygon, const DepthTiles& tiles, int tileRow)
{
    using E = Eight<Arch>;
    for (int first = polygon.tileBegin; first < polygon.tileEnd; first += 8)
    {
        const std::uint32_t inside = (2U << std::min(polygon.tileEnd - first - 1, 7)) - 1;
        const E known = E::Load(&tiles.full[tiles.Index(first, tileRow)]);
        if ((inside & ~Less(E(polygon.nearest), known).Bits()) != 0)
            return false;
    }
    return true;
}

template <class Arch>
TAMRA_INLINE void DrawRow(const OcclusionPolygon& polygon, DepthTiles& tiles, int tileRow)
{
    using E = Eight<Arch>;
    const RowSpans<Arch> spans(polygon, static_cast<float>(tiles.columns * kTileWidth), tileRow);
    float starts[3];
    for (int i = 0; i < polygon.planeCount; ++i)
        starts[i] = polygon.planes[i][1] * static_cast<float>(tileRow) + polygon.planes[i][2];
    for (int first = spans.firstTile; first < spans.endTile; first += 8)
    {
        const std::size_t index = tiles.Index(first, tileRow);
        const E columns = E(static_cast<float>(first)) + E::Load(kNumbers);
        E closeness = columns * E(polygon.planes[0][0]) + E(starts[0]);
        for (int i = 1; i < polygon.planeCount; ++i)
            closeness = Min(columns * E(polygon.planes[i][0]) + E(starts[i]), closeness);
        closeness = Max(closeness, E(polygon.farthest));
        const E known = E::Load(&tiles.full[index]);
        const EightBools<Arch> isNew = Less(known, closeness);
        std::uint32_t news = isNew.Bits() & ((1U << std::min(spans.endTile - first, 8)) - 1);
        if (news == 0)
            continue;
        if (spans.fullBegin < spans.fullEnd)
        {
            const EightBools<Arch> isFull = isNew & Less(columns, E(static_cast<float>(spans.fullEnd))) &
                                            Less(E(static_cast<float>(spans.fullBegin - 1)), columns);
            Select(isFull, closeness, known).Store(&tiles.full[index]);
            news &= ~isFull.Bits();
        }
        if (news == 0)
            continue;
        float values[8];
        closeness.Store(values);
        for (; news != 0; news &= news - 1)
        {
            const int i = std::countr_zero(news);
            DepthTiles::Mask mask;
            Target<Arch>::Spans(spans.begins, spans.ends, (first + i) * kTileWidth, mask);
            AddPartial<Arch>(tiles, index + static_cast<std::size_t>(i), mask, values[i]);
        }
    }
}

template <class Arch>
void Draw(const OcclusionPolygon* polygons, std::span<const DrawEntry> order, DepthTiles& tiles, int rowBegin,
          int rowEnd)
{
    for (const DrawEntry& entry : order)
    {
        const int end = std::min<int>(entry.tileRowEnd, rowEnd);
        for (int row = std::max<int>(entry.tileRowBegin, rowBegin); row < end; ++row)
        {
            if (!IsRowHidden<Arch>(polygons[entry.polygon], tiles, row))
                DrawRow<Arch>(polygons[entry.polygon], tiles, row);
        }
    }
}
} // namespace
} // namespace occlusion
