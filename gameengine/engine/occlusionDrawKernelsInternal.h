#pragma once

#include "gameengine/engine/occlusionVectorsInternal.h"

#include <algorithm>
#include <bit>
#include <cstring>

namespace occlusion
{
namespace
{
/// Without a branch; the condition is 0 or 1.
TAMRA_INLINE float Choose(int condition, float a, float b)
{
    const std::uint32_t bits = 0U - static_cast<std::uint32_t>(condition);
    return std::bit_cast<float>((std::bit_cast<std::uint32_t>(a) & bits) | (std::bit_cast<std::uint32_t>(b) & ~bits));
}

inline int CountPixels(const DepthTiles::Mask& mask)
{
    int sum = 0;
    for (const std::uint32_t row : mask.rows)
        sum += std::popcount(row);
    return sum;
}

/// Takes note that the pixels of `mask` are covered at `closeness`, or of as much of it as pays. Which of the cases a
/// tile is cannot be foretold: it costs less to work all of them out than to branch.
template <class Arch>
TAMRA_INLINE void AddPartial(float& full, float& known, DepthTiles::Mask& knownMask, const DepthTiles::Mask& mask,
                             float closeness)
{
    DepthTiles::Mask both;
    // What is not nearer than all of the tile is as good as nothing.
    const MaskRelation relation = Target<Arch>::Unite(mask, knownMask, known > full, both);
    const float farther = std::min(known, closeness);
    const float nearer = std::max(known, closeness);
    if (relation.isAll) [[unlikely]]
    {
        full = std::max(full, farther);
        known = kNothing;
        return;
    }
    // Whether the nearer one covers the other.
    const int isCovered = (relation.isSecondInFirst & static_cast<int>(closeness >= known)) |
                          (relation.isFirstInSecond & static_cast<int>(closeness <= known));
    // A far surface that covers a bit of a tile must not drag the near one that covers most of it away.
    if (farther < Choose(isCovered, kNothing, 0.5F * nearer)) [[unlikely]]
    {
        if (CountPixels(mask) > CountPixels(knownMask))
        {
            known = closeness;
            knownMask = mask;
        }
        return;
    }
    known = Choose(isCovered, nearer, farther);
    knownMask = both;
}

/// The pixels of a polygon in one row of tiles.
template <class Arch>
struct RowSpans
{
    using E = Eight<Arch>;

    TAMRA_INLINE void Set(const OcclusionPolygon& polygon, float width, int tileRow)
    {
        const E rows = E(static_cast<float>(tileRow * kTileHeight) + 0.5F) + E::Load(kNumbers);
        const auto edge = [&](int i)
        { return (rows - E(polygon.edgeY[i])) * E(polygon.slope[i]) + E(polygon.edgeX[i]); };
        // Three of either are enough for nearly all; loops of another length each time cost more than that.
        constexpr int kLast = OcclusionPolygon::kEdges - 1;
        E begin(0.0F);
        E end(width);
        int done = 0;
        if (polygon.hasThree) [[likely]]
        {
            begin = Max(Max(edge(0), edge(1)), Max(edge(2), begin));
            end = Min(Min(edge(kLast), edge(kLast - 1)), Min(edge(kLast - 2), end));
            done = 3;
        }
        for (int i = done; i < polygon.leftCount; ++i)
            begin = Max(edge(i), begin);
        for (int i = done; i < polygon.rightCount; ++i)
            end = Min(edge(kLast - i), end);
        const EightBools<Arch> inside = Less(E(static_cast<float>(polygon.bounds.rowBegin)), rows) &
                                        Less(rows, E(static_cast<float>(polygon.bounds.rowEnd)));
        begin = Select(inside, Min(begin, E(width)), E(width)).Ceil();
        end = Select(inside, Max(end, E(0.0F)), E(0.0F)).Truncate();
        begin.StoreIntegers(begins);
        end.StoreIntegers(ends);
        const Four extremes = Target<Arch>::Extremes(begin, E(0.0F) - begin, end, E(0.0F) - end);
        (extremes * Lanes(1.0F, -1.0F, 1.0F, -1.0F) + Lanes(0.0F, -1.0F, 1.0F, 0.0F)).store_unaligned(limits);
    }

    std::int32_t begins[8];
    std::int32_t ends[8];
    /// Least begin; greatest begin less one; least end and one; greatest end.
    float limits[4];
};

/// Whether something that the polygon could cover in a row of tiles is not covered by something nearer.
template <class Arch>
TAMRA_INLINE bool IsRowOpen(const OcclusionPolygon& polygon, const float* full)
{
    using E = Eight<Arch>;
    std::uint32_t open = 0;
    for (int first = polygon.bounds.tileBegin; first < polygon.bounds.tileEnd; first += 8)
    {
        const std::uint32_t inside = (2U << std::min(polygon.bounds.tileEnd - first - 1, 7)) - 1;
        const E known = E::Load(full + first);
        open |= inside & ~Less(E(polygon.nearest), known).Bits();
    }
    return open != 0;
}

constexpr int kRowsAtOnce = 8;

/// Tiles of eight columns and some rows that a polygon covers in part.
struct Pieces
{
    int count = 0;
    // Eight are written at once, what is too many is overwritten.
    float closeness[8 * kRowsAtOnce + 8];
    std::uint8_t columns[8 * kRowsAtOnce + 8];
    std::uint8_t rows[8 * kRowsAtOnce + 8];
};

/// Covers those of the eight tiles that are in the polygon as a whole, and adds the others to the pieces.
template <class Arch>
TAMRA_INLINE void CoverTiles(const OcclusionPolygon& polygon, const RowSpans<Arch>& spans, int tileRow, int first,
                             int place, float* full, Pieces& pieces)
{
    using E = Eight<Arch>;
    const E columns = E(static_cast<float>(first)) + E::Load(kNumbers);
    E closeness(-kNothing);
    for (int i = 0; i < 3; ++i)
    {
        const float start = polygon.planeY[i] * static_cast<float>(tileRow) + polygon.planeStart[i];
        closeness = Min(columns * E(polygon.planeX[i]) + E(start), closeness);
    }
    closeness = Max(closeness, E(polygon.farthest));
    full += first;
    const E known = E::Load(full);
    const E left = columns * E(static_cast<float>(kTileWidth));
    const E right = left + E(static_cast<float>(kTileWidth));
    const EightBools<Arch> isNew = Less(known, closeness);
    const EightBools<Arch> isTouched = Less(E(spans.limits[0]), right) & Less(left, E(spans.limits[3]));
    const EightBools<Arch> isFull = isNew & Less(E(spans.limits[1]), left) & Less(right, E(spans.limits[2]));
    Select(isFull, closeness, known).Store(full);

    const std::uint32_t parts = (isNew & isTouched).Bits() & ~isFull.Bits();
    const std::uint64_t lanes = kPackTable.front[parts];
    const std::uint64_t row = static_cast<std::uint64_t>(place) * 0x0101010101010101;
    std::memcpy(&pieces.columns[pieces.count], &lanes, sizeof(lanes));
    std::memcpy(&pieces.rows[pieces.count], &row, sizeof(row));
    Permute(closeness, &pieces.columns[pieces.count]).Store(&pieces.closeness[pieces.count]);
    pieces.count += std::popcount(parts);
}

/// In steps for all rows at once: which of the rows and tiles have something to do cannot be foretold, and is known
/// late.
template <class Arch>
TAMRA_INLINE void DrawRows(const OcclusionPolygon& polygon, DepthTiles& tiles, int rowBegin, int rowEnd)
{
    int rows[kRowsAtOnce];
    std::size_t starts[kRowsAtOnce];
    int count = 0;
    for (int row = rowBegin; row < rowEnd; ++row)
    {
        rows[count] = row;
        starts[count] = tiles.Index(0, row);
        count += IsRowOpen<Arch>(polygon, &tiles.full[starts[count]]);
    }
    RowSpans<Arch> spans[kRowsAtOnce];
    const float width = static_cast<float>(tiles.columns * kTileWidth);
    for (int i = 0; i < count; ++i)
        spans[i].Set(polygon, width, rows[i]);
    for (int first = polygon.bounds.tileBegin; first < polygon.bounds.tileEnd; first += 8)
    {
        Pieces pieces;
        for (int i = 0; i < count; ++i)
            CoverTiles<Arch>(polygon, spans[i], rows[i], first, i, &tiles.full[starts[i]], pieces);
        for (int i = 0; i < pieces.count; ++i)
        {
            const int column = first + pieces.columns[i];
            const int row = pieces.rows[i];
            DepthTiles::Mask mask;
            Target<Arch>::Spans(spans[row].begins, spans[row].ends, column * kTileWidth, mask);
            const std::size_t tile = starts[row] + static_cast<std::size_t>(column);
            AddPartial<Arch>(tiles.full[tile], tiles.partial[tile], tiles.masks[tile], mask, pieces.closeness[i]);
        }
    }
}

template <class Arch>
void Draw(const OcclusionPolygon* polygons, std::span<const DrawEntry> order, DepthTiles& tiles, int rowBegin,
          int rowEnd)
{
    // In this order the polygons lie anywhere.
    constexpr std::size_t kAhead = 4;
    for (std::size_t i = 0; i < order.size(); ++i)
    {
        const DrawEntry& entry = order[i];
        const auto* next =
            reinterpret_cast<const char*>(&polygons[order[std::min(i + kAhead, order.size() - 1)].polygon]);
        for (std::size_t line = 0; line < sizeof(OcclusionPolygon); line += 64)
            _mm_prefetch(next + line, _MM_HINT_T0);
        const int end = std::min<int>(entry.tileRowEnd, rowEnd);
        for (int row = std::max<int>(entry.tileRowBegin, rowBegin); row < end; row += kRowsAtOnce)
            DrawRows<Arch>(polygons[entry.polygon], tiles, row, std::min(row + kRowsAtOnce, end));
    }
}
} // namespace
} // namespace occlusion
