#pragma once

#include "gameengine/engine/occlusionRasterInternal.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstring>

#include <xsimd/xsimd.hpp>

#if defined(__GNUC__)
#define TAMRA_INLINE [[gnu::always_inline]] inline
#else
#define TAMRA_INLINE __forceinline
#endif

namespace occlusion
{
extern const OcclusionKernels kSse2Kernels;
extern const OcclusionKernels kAvx2Kernels;

// The kernels are compiled once for each instruction set. All of them have internal linkage: of inline functions with
// one name the linker keeps any, and could give plain code one that is full of instructions the processor lacks.
namespace
{
/// What differs by instruction set; the source of each defines its own:
/// Bits(outcome): bit i tells the outcome in lane i.
/// Spans(begins, ends, first): in row i, the bits from begins[i] - first to ends[i] - first that lie in the mask.
/// Extremes(a, b, c, d, out): the least of each of four times eight floats.
template <class Arch>
struct Target;

/// Eight floats: the corners of a box, the edges of a polygon, rows of pixels, tiles of a row or boxes.
template <class Arch>
struct Eight
{
    using Batch = xsimd::batch<float, Arch>;
    static constexpr std::size_t kSize = Batch::size;
    static constexpr std::size_t kParts = 8 / kSize;

    Batch parts[kParts];

    TAMRA_INLINE Eight() = default;
    TAMRA_INLINE Eight(float value)
    {
        for (Batch& part : parts)
            part = Batch(value);
    }
    TAMRA_INLINE static Eight Load(const float* from)
    {
        Eight result;
        for (std::size_t i = 0; i < kParts; ++i)
            result.parts[i] = Batch::load_unaligned(from + i * kSize);
        return result;
    }
    TAMRA_INLINE void Store(float* to) const
    {
        for (std::size_t i = 0; i < kParts; ++i)
            parts[i].store_unaligned(to + i * kSize);
    }
    /// Rounds towards zero.
    TAMRA_INLINE void StoreIntegers(std::int32_t* to) const
    {
        for (std::size_t i = 0; i < kParts; ++i)
            xsimd::to_int(parts[i]).store_unaligned(to + i * kSize);
    }
    TAMRA_INLINE Eight Truncate() const
    {
        Eight result;
        for (std::size_t i = 0; i < kParts; ++i)
            result.parts[i] = xsimd::to_float(xsimd::to_int(parts[i]));
        return result;
    }

    TAMRA_INLINE static Eight Apply(const Eight& a, const Eight& b, auto function)
    {
        Eight result;
        for (std::size_t i = 0; i < kParts; ++i)
            result.parts[i] = function(a.parts[i], b.parts[i]);
        return result;
    }
    TAMRA_INLINE friend Eight operator+(const Eight& a, const Eight& b)
    {
        return Apply(a, b, [](Batch x, Batch y) { return x + y; });
    }
    TAMRA_INLINE friend Eight operator-(const Eight& a, const Eight& b)
    {
        return Apply(a, b, [](Batch x, Batch y) { return x - y; });
    }
    TAMRA_INLINE friend Eight operator*(const Eight& a, const Eight& b)
    {
        return Apply(a, b, [](Batch x, Batch y) { return x * y; });
    }
    TAMRA_INLINE friend Eight operator/(const Eight& a, const Eight& b)
    {
        return Apply(a, b, [](Batch x, Batch y) { return x / y; });
    }
};

/// An outcome for each of the eight.
template <class Arch>
struct EightBools
{
    using E = Eight<Arch>;

    typename E::Batch::batch_bool_type parts[E::kParts];

    TAMRA_INLINE std::uint32_t Bits() const
    {
        std::uint32_t bits = 0;
        for (std::size_t i = 0; i < E::kParts; ++i)
            bits |= Target<Arch>::Bits(parts[i]) << (i * E::kSize);
        return bits;
    }
    TAMRA_INLINE friend EightBools operator&(const EightBools& a, const EightBools& b)
    {
        EightBools result;
        for (std::size_t i = 0; i < E::kParts; ++i)
            result.parts[i] = a.parts[i] & b.parts[i];
        return result;
    }
    TAMRA_INLINE friend EightBools operator|(const EightBools& a, const EightBools& b)
    {
        EightBools result;
        for (std::size_t i = 0; i < E::kParts; ++i)
            result.parts[i] = a.parts[i] | b.parts[i];
        return result;
    }
};

// Where either is NaN the second operand is the result.
template <class Arch>
TAMRA_INLINE Eight<Arch> Min(const Eight<Arch>& a, const Eight<Arch>& b)
{
    return Eight<Arch>::Apply(a, b, [](auto x, auto y) { return xsimd::min(x, y); });
}
template <class Arch>
TAMRA_INLINE Eight<Arch> Max(const Eight<Arch>& a, const Eight<Arch>& b)
{
    return Eight<Arch>::Apply(a, b, [](auto x, auto y) { return xsimd::max(x, y); });
}
template <class Arch>
TAMRA_INLINE Eight<Arch> Abs(const Eight<Arch>& a)
{
    return Eight<Arch>::Apply(a, a, [](auto x, auto) { return xsimd::abs(x); });
}
template <class Arch>
TAMRA_INLINE EightBools<Arch> Less(const Eight<Arch>& a, const Eight<Arch>& b)
{
    EightBools<Arch> result;
    for (std::size_t i = 0; i < Eight<Arch>::kParts; ++i)
        result.parts[i] = a.parts[i] < b.parts[i];
    return result;
}
template <class Arch>
TAMRA_INLINE Eight<Arch> Select(const EightBools<Arch>& condition, const Eight<Arch>& a, const Eight<Arch>& b)
{
    Eight<Arch> result;
    for (std::size_t i = 0; i < Eight<Arch>::kParts; ++i)
        result.parts[i] = xsimd::select(condition.parts[i], a.parts[i], b.parts[i]);
    return result;
}

constexpr float kNumbers[8] = {0, 1, 2, 3, 4, 5, 6, 7};

// Making polygons

/// Edges with less rise than this limit the rows instead of their pixels.
constexpr float kFlat = 1.0F / 64;
/// Corners nearer to the one before are left out, which makes the polygon smaller.
constexpr float kSameCorner = 1.0F / 8;

/// Closes the ring, and fills up with the first corner.
inline void CloseRing(PolygonCorners& corners)
{
    for (int i = corners.count; i <= OcclusionPolygon::kEdges; ++i)
    {
        corners.x[i] = corners.x[0];
        corners.y[i] = corners.y[0];
    }
}

inline bool AreSame(const PolygonCorners& corners, int a, int b)
{
    return std::abs(corners.x[a] - corners.x[b]) < kSameCorner && std::abs(corners.y[a] - corners.y[b]) < kSameCorner;
}

inline void DropSameCorners(PolygonCorners& corners)
{
    int kept = 1;
    for (int i = 1; i < corners.count; ++i)
    {
        corners.x[kept] = corners.x[i];
        corners.y[kept] = corners.y[i];
        kept += !AreSame(corners, kept, kept - 1);
    }
    while (kept > 1 && AreSame(corners, kept - 1, 0))
        --kept;
    corners.count = kept;
}

inline void SetDepth(const OcclusionView& view, const PolygonCorners& corners, OcclusionPolygon& polygon)
{
    polygon.farthest = corners.farthest - std::abs(corners.farthest) * kRounding;
    polygon.nearest = corners.nearest;
    polygon.planeCount = corners.planeCount;
    for (int i = 0; i < corners.planeCount; ++i)
    {
        const ScreenPlane& plane = corners.planes[i];
        float* out = polygon.planes[i];
        out[0] = plane.a * static_cast<float>(kTileWidth);
        out[1] = plane.b * static_cast<float>(kTileHeight);
        const float size = std::abs(plane.a) * view.width + std::abs(plane.b) * view.height + std::abs(plane.c);
        if (size < 1.0e30F)
        {
            out[2] = plane.c - size * kRounding + std::min(out[0], 0.0F) + std::min(out[1], 0.0F);
            continue;
        }
        out[0] = out[1] = 0.0F;
        out[2] = polygon.farthest;
    }
}

template <class Arch>
bool MakePolygon(const OcclusionView& view, PolygonCorners& corners, OcclusionPolygon& polygon)
{
    using E = Eight<Arch>;
    DropSameCorners(corners);
    if (corners.count < 3)
        return false;
    CloseRing(corners);
    const E x0 = E::Load(corners.x);
    const E y0 = E::Load(corners.y);
    const E x1 = E::Load(corners.x + 1);
    const E y1 = E::Load(corners.y + 1);
    const E dx = x1 - x0;
    const E dy = y1 - y0;
    const EightBools<Arch> flat = Less(Abs(dy), E(kFlat));
    const E slope = dx / Select(flat, E(1.0F), dy);
    const E inset = E(view.margin) + Abs(slope) * E(0.5F + view.margin);
    const EightBools<Arch> down = Less(dy, E(0.0F));

    // Downwards the inside is at the right, to the right it is above.
    const EightBools<Arch> bottom = flat & Less(E(0.0F), dx);
    const EightBools<Arch> top = flat & Less(dx, E(0.0F));
    const E flatLow = Select(bottom, Max(y0, y1) + E(view.margin), E(0.0F));
    const E flatHigh = Select(top, Min(y0, y1) - E(view.margin), E(view.height));
    float least[4];
    Target<Arch>::Extremes(y0, E(0.0F) - y0, E(0.0F) - flatLow, flatHigh, least);
    const float low = std::min(std::max({least[0], -least[2], 0.0F}), view.height);
    const float high = std::max(std::min({-least[1], least[3], view.height}), 0.0F);
    polygon.rowBegin = static_cast<std::int32_t>(low);
    polygon.rowBegin += static_cast<float>(polygon.rowBegin) < low;
    polygon.rowEnd = static_cast<std::int32_t>(high);
    if (polygon.rowBegin >= polygon.rowEnd)
        return false;

    const std::uint32_t flats = flat.Bits();
    const std::uint32_t downs = down.Bits();
    float slopes[8];
    float insets[8];
    slope.Store(slopes);
    inset.Store(insets);
    int left = 0;
    int right = OcclusionPolygon::kEdges;
    for (int i = 0; i < corners.count; ++i)
    {
        if (flats >> i & 1)
            continue;
        const bool isLeft = downs >> i & 1;
        const int place = isLeft ? left++ : --right;
        polygon.edgeX[place] = isLeft ? corners.x[i] + insets[i] : corners.x[i] - insets[i];
        polygon.edgeY[place] = corners.y[i];
        polygon.slope[place] = slopes[i];
    }
    polygon.leftCount = left;
    polygon.rightCount = OcclusionPolygon::kEdges - right;
    if (polygon.leftCount == 0 || polygon.rightCount == 0)
        return false;
    SetDepth(view, corners, polygon);
    return true;
}

/// The eight corners of a box.
template <class Arch>
struct BoxCorners
{
    using E = Eight<Arch>;

    TAMRA_INLINE explicit BoxCorners(const float (&low)[3], const float (&high)[3])
    {
        for (int axis = 0; axis < 3; ++axis)
        {
            float values[8];
            for (int i = 0; i < 8; ++i)
                values[i] = i >> axis & 1 ? high[axis] : low[axis];
            positions[axis] = E::Load(values);
        }
    }
    TAMRA_INLINE E Get(const OcclusionView::Row& row) const
    {
        return (positions[0] * E(row.factors[0]) + positions[1] * E(row.factors[1])) +
               (positions[2] * E(row.factors[2]) + E(row.factors[3]));
    }

    E positions[3];
};

/// What rounding can do to the value of a row anywhere in the box.
inline float GetError(const OcclusionView::Row& row, const float (&low)[3], const float (&high)[3])
{
    float sum = std::abs(row.factors[3]);
    for (int axis = 0; axis < 3; ++axis)
        sum += std::abs(row.factors[axis]) * std::max(std::abs(low[axis]), std::abs(high[axis]));
    return sum * kRounding;
}

template <class Arch>
BoxOutcome MakeBox(const OcclusionView& view, const float* box, OcclusionPolygon& polygon)
{
    using E = Eight<Arch>;
    float low[3];
    float high[3];
    int way = 0;
    int weight = 1;
    int seen[3];
    bool sound = true;
    for (int axis = 0; axis < 3; ++axis, weight *= 3)
    {
        low[axis] = box[axis] - view.origin[axis];
        high[axis] = box[axis + 3] - view.origin[axis];
        sound = sound && low[axis] <= high[axis] && low[axis] > -1.0e15F && high[axis] < 1.0e15F;
        seen[axis] = view.GetSeenFace(axis, low[axis], high[axis]);
        way += seen[axis] * weight;
    }
    const BoxOutline& outline = kBoxOutlines[way];
    if (!sound || outline.count == 0)
        return BoxOutcome::kEmpty;

    const BoxCorners<Arch> boxCorners(low, high);
    const E distance = boxCorners.Get(view.nearPlane);
    const E w = boxCorners.Get(view.w);
    const E x = boxCorners.Get(view.x) / w;
    const E y = boxCorners.Get(view.y) / w;
    const E closeness = view.perspective ? E(1.0F) / w : boxCorners.Get(view.depth);
    const float error = std::max(GetError(view.nearPlane, low, high), GetError(view.w, low, high));
    float least[4];
    Target<Arch>::Extremes(Min(distance, w), closeness, x, E(0.0F) - x, least);
    if (!(least[0] > error) || least[2] < -view.width || least[3] < -2.0F * view.width)
        return BoxOutcome::kDifficult;
    if (-least[3] < 0.0F || least[2] > view.width)
        return BoxOutcome::kEmpty;
    const float farthest = least[1];
    Target<Arch>::Extremes(y, E(0.0F) - y, E(0.0F) - closeness, x, least);
    if (least[0] < -view.height || least[1] < -2.0F * view.height)
        return BoxOutcome::kDifficult;
    if (-least[1] < 0.0F || least[0] > view.height)
        return BoxOutcome::kEmpty;

    PolygonCorners corners;
    corners.count = outline.count;
    corners.farthest = farthest;
    corners.nearest = -least[2];
    float xs[8];
    float ys[8];
    x.Store(xs);
    y.Store(ys);
    for (int i = 0; i < outline.count; ++i)
    {
        const int corner = outline.corners[view.mirrored ? outline.count - 1 - i : i];
        corners.x[i] = xs[corner];
        corners.y[i] = ys[corner];
    }
    corners.planeCount = 0;
    for (int axis = 0; axis < 3; ++axis)
    {
        if (seen[axis] != 0)
            corners.planes[corners.planeCount++] = view.GetPlane(axis, seen[axis] == 1 ? low[axis] : high[axis]);
    }
    return MakePolygon<Arch>(view, corners, polygon) ? BoxOutcome::kPolygon : BoxOutcome::kEmpty;
}

// Drawing

/// Takes note that the pixels of `mask` are covered at `closeness`, or of as much of it as pays.
inline void AddPartial(DepthTiles& tiles, std::size_t tile, const DepthTiles::Mask& mask, float closeness)
{
    constexpr std::size_t kWords = sizeof(mask) / sizeof(std::uint64_t);
    float& known = tiles.partial[tile];
    if (known <= tiles.full[tile])
    {
        known = closeness;
        tiles.masks[tile] = mask;
        return;
    }
    std::uint64_t added[kWords];
    std::uint64_t both[kWords];
    std::memcpy(added, &mask, sizeof(mask));
    std::memcpy(both, &tiles.masks[tile], sizeof(mask));
    std::uint64_t inAll = ~std::uint64_t{0};
    std::uint64_t isNew = 0;
    std::uint64_t isMissing = 0;
    for (std::size_t i = 0; i < kWords; ++i)
    {
        isNew |= added[i] & ~both[i];
        isMissing |= both[i] & ~added[i];
        both[i] |= added[i];
        inAll &= both[i];
    }
    const float farther = std::min(known, closeness);
    if (inAll == ~std::uint64_t{0})
    {
        tiles.full[tile] = std::max(tiles.full[tile], farther);
        known = kNothing;
        return;
    }
    if (isNew == 0 && closeness <= known)
        return;
    if (isMissing == 0 && closeness >= known)
    {
        known = closeness;
        tiles.masks[tile] = mask;
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
        if (count(mask) > count(tiles.masks[tile]))
        {
            known = closeness;
            tiles.masks[tile] = mask;
        }
        return;
    }
    std::memcpy(&tiles.masks[tile], both, sizeof(mask));
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
            AddPartial(tiles, index + static_cast<std::size_t>(i), mask, values[i]);
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
            DrawRow<Arch>(polygons[entry.polygon], tiles, row);
    }
}

// Testing

/// Eight boxes side by side, and where on the screen they are.
template <class Arch>
struct BoxGroup
{
    using E = Eight<Arch>;

    /// Bit i tells that box i lies behind the near plane and not around the camera, and that the members about it hold.
    TAMRA_INLINE std::uint32_t Place(const OcclusionView& view)
    {
        E low[3];
        E high[3];
        E extent[3];
        EightBools<Arch> sound = Less(E(0.0F), E(1.0F));
        EightBools<Arch> outside = Less(E(0.0F), E(0.0F));
        for (int axis = 0; axis < 3; ++axis)
        {
            const E camera(view.camera[axis]);
            low[axis] = E::Load(coordinates[axis]);
            high[axis] = E::Load(coordinates[axis + 3]);
            outside = outside | Less(camera, low[axis]) | Less(high[axis], camera);
            low[axis] = low[axis] - E(view.origin[axis]);
            high[axis] = high[axis] - E(view.origin[axis]);
            extent[axis] = Max(Abs(low[axis]), Abs(high[axis]));
            // Not of extents: they drop a NaN.
            sound = sound & Less(E(-1.0e15F), low[axis]) & Less(high[axis], E(1.0e15F)) &
                    Less(E(-1.0F) * (high[axis] - low[axis]), E(1.0e-30F));
        }
        const E distance = Sum<false>(view.nearPlane, low, high) - Error(view.nearPlane, extent);
        const E leastW = Sum<false>(view.w, low, high) - Error(view.w, extent);
        sound = sound & outside & Less(E(0.0F), distance) & Less(E(1.0e-15F), leastW);
        const E nearest = view.perspective ? E(1.0F + kRounding) / leastW
                                           : Sum<true>(view.depth, low, high) + Error(view.depth, extent);
        nearest.Store(closeness);
        PlaceCorners(view, low, high);
        return sound.Bits();
    }

    float coordinates[6][8];
    float closeness[8];
    // The pixels that they touch, the last ones too.
    std::int32_t left[8];
    std::int32_t right[8];
    std::int32_t bottom[8];
    std::int32_t top[8];

private:
    /// The least or greatest value of a row over each box.
    template <bool kGreatest>
    TAMRA_INLINE static E Sum(const OcclusionView::Row& row, const E (&low)[3], const E (&high)[3])
    {
        E sum(row.factors[3]);
        for (int axis = 0; axis < 3; ++axis)
            sum = sum + ((row.factors[axis] > 0.0F) == kGreatest ? high[axis] : low[axis]) * E(row.factors[axis]);
        return sum;
    }
    TAMRA_INLINE static E Error(const OcclusionView::Row& row, const E (&extent)[3])
    {
        E sum(std::abs(row.factors[3]) * kRounding);
        for (int axis = 0; axis < 3; ++axis)
            sum = sum + extent[axis] * E(std::abs(row.factors[axis]) * kRounding);
        return sum;
    }

    TAMRA_INLINE void PlaceCorners(const OcclusionView& view, const E (&low)[3], const E (&high)[3])
    {
        E minX(1.0e30F);
        E maxX(-1.0e30F);
        E minY(1.0e30F);
        E maxY(-1.0e30F);
        const OcclusionView::Row* rows[3] = {&view.x, &view.y, &view.w};
        for (int xy = 0; xy < 4; ++xy)
        {
            E flat[3];
            for (int i = 0; i < 3; ++i)
            {
                const float* f = rows[i]->factors;
                flat[i] = (xy & 1 ? high[0] : low[0]) * E(f[0]) + (xy & 2 ? high[1] : low[1]) * E(f[1]);
            }
            for (int z = 0; z < 2; ++z)
            {
                E values[3];
                for (int i = 0; i < 3; ++i)
                    values[i] = flat[i] + ((z ? high[2] : low[2]) * E(rows[i]->factors[2]) + E(rows[i]->factors[3]));
                const E inverse = E(1.0F) / values[2];
                const E x = values[0] * inverse;
                const E y = values[1] * inverse;
                minX = Min(x, minX);
                maxX = Max(x, maxX);
                minY = Min(y, minY);
                maxY = Max(y, maxY);
            }
        }
        const E zero(0.0F);
        const E margin(view.margin);
        const E lastX(view.width - 1.0F);
        const E lastY(view.height - 1.0F);
        Min(Max(minX - margin, zero), lastX).StoreIntegers(left);
        Min(Max(maxX + margin, zero), lastX).StoreIntegers(right);
        Min(Max(minY - margin, zero), lastY).StoreIntegers(bottom);
        Min(Max(maxY + margin, zero), lastY).StoreIntegers(top);
    }
};

/// Whether the pixels of a tile from `left` to `right` and `bottom` to `top` (of the screen) are masked.
inline bool IsMasked(const DepthTiles::Mask& mask, int tileColumn, int tileRow, int left, int right, int bottom,
                     int top)
{
    const int first = std::max(left - tileColumn * kTileWidth, 0);
    const int last = std::min(right - tileColumn * kTileWidth, kTileWidth - 1);
    const std::uint32_t wanted = (~0U << first) & (~0U >> (kTileWidth - 1 - last));
    const int begin = std::max(bottom - tileRow * kTileHeight, 0);
    const int end = std::min(top - tileRow * kTileHeight, kTileHeight - 1);
    std::uint32_t missing = 0;
    for (int row = begin; row <= end; ++row)
        missing |= wanted & ~mask.rows[row];
    return missing == 0;
}

template <class Arch>
TAMRA_INLINE bool IsHidden(const DepthTiles& tiles, int left, int right, int bottom, int top, float closeness)
{
    using E = Eight<Arch>;
    const E limit(closeness);
    const int lastColumn = right / kTileWidth;
    for (int row = bottom / kTileHeight; row <= top / kTileHeight; ++row)
    {
        for (int first = left / kTileWidth; first <= lastColumn; first += 8)
        {
            const std::size_t index = tiles.Index(first, row);
            const std::uint32_t inside = (2U << std::min(lastColumn - first, 7)) - 1;
            std::uint32_t open = inside & ~Less(limit, E::Load(&tiles.full[index])).Bits();
            for (; open != 0; open &= open - 1)
            {
                const int i = std::countr_zero(open);
                const std::size_t tile = index + static_cast<std::size_t>(i);
                if (!(tiles.partial[tile] > closeness) ||
                    !IsMasked(tiles.masks[tile], first + i, row, left, right, bottom, top))
                    return false;
            }
        }
    }
    return true;
}

template <class Arch>
std::size_t KeepVisible(const OcclusionView& view, const DepthTiles& tiles, const float* boxes, std::uint32_t* found,
                        std::size_t count)
{
    std::size_t kept = 0;
    BoxGroup<Arch> group = {};
    for (std::size_t begin = 0; begin < count; begin += 8)
    {
        const std::size_t size = std::min<std::size_t>(count - begin, 8);
        std::uint32_t ids[8];
        for (std::size_t i = 0; i < size; ++i)
        {
            ids[i] = found[begin + i];
            const float* box = boxes + std::size_t{ids[i]} * 6;
            for (std::size_t row = 0; row < 6; ++row)
                group.coordinates[row][i] = box[row];
        }
        const std::uint32_t placed = group.Place(view);
        for (std::size_t i = 0; i < size; ++i)
        {
            const bool hidden = placed >> i & 1 && IsHidden<Arch>(tiles, group.left[i], group.right[i], group.bottom[i],
                                                                  group.top[i], group.closeness[i]);
            found[kept] = ids[i];
            kept += !hidden;
        }
    }
    return kept;
}

template <class Arch>
constexpr OcclusionKernels MakeKernels(const char* name)
{
    return {name, &MakeBox<Arch>, &MakePolygon<Arch>, &Draw<Arch>, &KeepVisible<Arch>};
}
} // namespace
} // namespace occlusion
