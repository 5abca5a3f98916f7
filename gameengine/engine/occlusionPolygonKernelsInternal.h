#pragma once

#include "gameengine/engine/occlusionVectorsInternal.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstring>

namespace occlusion
{
namespace
{
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
    CloseRing(corners);
}

/// The sides of a polygon.
template <class Arch>
struct Sides
{
    using E = Eight<Arch>;

    TAMRA_INLINE explicit Sides(const PolygonCorners& corners)
        : Sides(E::Load(corners.x), E::Load(corners.y), E::Load(corners.x + 1), E::Load(corners.y + 1))
    {
    }
    TAMRA_INLINE Sides(const E& fromX, const E& fromY, const E& toX, const E& toY)
        : x0(fromX),
          y0(fromY),
          x1(toX),
          y1(toY),
          dx(x1 - x0),
          dy(y1 - y0)
    {
    }

    E x0;
    E y0;
    E x1;
    E y1;
    E dx;
    E dy;
};

/// Least x, least -x, least y, least -y.
template <class Arch>
TAMRA_INLINE Four GetExtent(const Sides<Arch>& sides)
{
    const Eight<Arch> zero(0.0F);
    return Target<Arch>::Extremes(sides.x0, zero - sides.x0, sides.y0, zero - sides.y0);
}

/// What is kept of eight planes that surfaces lie on.
template <class Arch>
struct PlaneTerms
{
    using E = Eight<Arch>;

    TAMRA_INLINE PlaneTerms(const OcclusionView& view, const E& a, const E& b, const E& c,
                            const EightBools<Arch>& isThere, const E& farthest)
    {
        constexpr float kOutOfTheWay = -kNothing;
        const E zero(0.0F);
        const E size = Abs(a) * E(view.width) + Abs(b) * E(view.height) + Abs(c);
        // Of a plane that is seen from its edge nothing is known but that it is not farther than the farthest corner.
        const EightBools<Arch> isKnown = isThere & Less(size, E(1.0e30F));
        byColumn = Select(isKnown, a * E(static_cast<float>(kTileWidth)), zero);
        byRow = Select(isKnown, b * E(static_cast<float>(kTileHeight)), zero);
        start = Select(isKnown, c - size * E(kRounding) + Min(byColumn, zero) + Min(byRow, zero),
                       Select(isThere, farthest, E(kOutOfTheWay)));
    }

    E start;
    E byColumn;
    E byRow;
};

template <class Arch>
TAMRA_INLINE Eight<Arch> GetFarthest(const Eight<Arch>& closeness)
{
    return closeness - Abs(closeness) * Eight<Arch>(kRounding);
}

/// The columns of tiles that are touched, and the rows of pixels that may be inside; false if there are none. Rows are
/// cut where flat sides are: `flats` are 0, 0, the greatest low one with a minus, and the least high one.
inline bool SetBounds(const OcclusionView& view, const Four& extent, const Four& flats, OcclusionPolygon& polygon)
{
    constexpr float kTile = 1.0F / static_cast<float>(kTileWidth);
    const Four least = flats * Lanes(0.0F, 0.0F, -1.0F, 0.0F);
    const Four most = flats * Lanes(0.0F, 0.0F, 0.0F, 1.0F) + Four::load_unaligned(view.lastPlaces);
    const Four places =
        xsimd::min(xsimd::max(extent * Lanes(1.0F, -1.0F, 1.0F, -1.0F), least), most) * Lanes(kTile, kTile, 1.0F, 1.0F);
    const Four begun = xsimd::to_float(xsimd::to_int(places));
    const Four isRounded = xsimd::select(begun < places, Lanes(0.0F, 0.0F, 1.0F, 0.0F), Four(0.0F));
    xsimd::to_int(begun + isRounded + Lanes(0.0F, 1.0F, 0.0F, 0.0F)).store_unaligned(&polygon.bounds.tileBegin);
    return polygon.bounds.rowBegin < polygon.bounds.rowEnd;
}

/// The sides that are not flat, to the left and to the right of the inside. False if either are missing.
template <class Arch>
TAMRA_INLINE bool SetEdges(const Sides<Arch>& sides, const Eight<Arch>& edge, const Eight<Arch>& slope,
                           std::uint32_t lefts, std::uint32_t rights, OcclusionPolygon& polygon)
{
    polygon.leftCount = std::popcount(lefts);
    polygon.rightCount = std::popcount(rights);
    if (lefts == 0 || rights == 0)
        return false;
    // What both leave free is filled up.
    const int middle = std::clamp(4, polygon.leftCount, OcclusionPolygon::kEdges - polygon.rightCount);
    polygon.hasThree = middle >= 3 && middle <= OcclusionPolygon::kEdges - 3;
    const std::uint64_t isFront = (std::uint64_t{1} << (8 * middle)) - 1;
    const std::uint64_t places = (kPackTable.front[lefts] & isFront) | (kPackTable.back[rights] & ~isFront);
    std::uint8_t lanes[8];
    std::memcpy(lanes, &places, sizeof(lanes));
    Permute(edge, lanes).Store(polygon.edgeX);
    Permute(sides.y0, lanes).Store(polygon.edgeY);
    Permute(slope, lanes).Store(polygon.slope);
    return true;
}

template <class Arch>
TAMRA_INLINE bool DropSameCorners(Sides<Arch>& sides, int& count, Four& extent)
{
    PolygonCorners corners = {};
    sides.x0.Store(corners.x);
    sides.y0.Store(corners.y);
    corners.count = count;
    DropSameCorners(corners);
    count = corners.count;
    sides = Sides<Arch>(corners);
    extent = GetExtent(sides);
    return count >= 3;
}

/// All but the depth; false if no pixel is inside.
template <class Arch>
TAMRA_INLINE bool SetShape(const OcclusionView& view, Sides<Arch>& sides, int count, Four extent,
                           OcclusionPolygon& polygon)
{
    using E = Eight<Arch>;
    const EightBools<Arch> same = Less(Abs(sides.dx), E(kSameCorner)) & Less(Abs(sides.dy), E(kSameCorner));
    if ((same.Bits() & ((1U << count) - 1)) != 0 && !DropSameCorners(sides, count, extent))
        return false;
    const E zero(0.0F);
    const EightBools<Arch> flat = Less(Abs(sides.dy), E(kFlat));
    const E slope = sides.dx / Select(flat, E(1.0F), sides.dy);
    const E inset = E(view.margin) + Abs(slope) * E(0.5F + view.margin);
    const EightBools<Arch> down = Less(sides.dy, zero);
    const E edge = sides.x0 + Select(down, inset, zero - inset);

    // Downwards the inside is at the right, to the right it is above.
    const EightBools<Arch> bottom = flat & Less(zero, sides.dx);
    const EightBools<Arch> top = flat & Less(sides.dx, zero);
    const E flatLow = Select(bottom, Max(sides.y0, sides.y1) + E(view.margin), zero);
    const E flatHigh = Select(top, Min(sides.y0, sides.y1) - E(view.margin), E(view.height));
    const Four flats = Target<Arch>::Extremes(zero, zero, zero - flatLow, flatHigh);
    const std::uint32_t steep = ~flat.Bits() & ((1U << count) - 1);
    const std::uint32_t downs = down.Bits();
    return SetBounds(view, extent, flats, polygon) &&
           SetEdges(sides, edge, slope, steep & downs, steep & ~downs, polygon);
}

template <class Arch>
bool MakePolygon(const OcclusionView& view, PolygonCorners& corners, OcclusionPolygon& polygon)
{
    using E = Eight<Arch>;
    CloseRing(corners);
    Sides<Arch> sides(corners);
    if (!SetShape(view, sides, corners.count, GetExtent(sides), polygon))
        return false;
    float planes[3][8] = {};
    for (int i = 0; i < corners.planeCount; ++i)
    {
        planes[0][i] = corners.planes[i].a;
        planes[1][i] = corners.planes[i].b;
        planes[2][i] = corners.planes[i].c;
    }
    const E farthest = GetFarthest<Arch>(E(corners.farthest));
    const PlaneTerms<Arch> terms(view, E::Load(planes[0]), E::Load(planes[1]), E::Load(planes[2]),
                                 Less(E::Load(kNumbers), E(static_cast<float>(corners.planeCount))), farthest);
    Target<Arch>::StoreFour(terms.start, polygon.planeStart);
    Target<Arch>::StoreFour(terms.byColumn, polygon.planeX);
    Target<Arch>::StoreFour(terms.byRow, polygon.planeY);
    float values[8];
    farthest.Store(values);
    polygon.farthest = values[0];
    polygon.nearest = corners.nearest;
    return true;
}

/// Eight boxes side by side, from the eye's origin.
template <class Arch>
struct OccluderGroup
{
    using E = Eight<Arch>;

    TAMRA_INLINE OccluderGroup(const OcclusionView& view, const float* const (&boxes)[8])
    {
        LoadBoxes<Arch>(boxes, low, high);
        E code(0.0F);
        E error(view.error[3]);
        EightBools<Arch> isSound = Less(E(0.0F), E(1.0F));
        for (int axis = 0; axis < 3; ++axis)
        {
            low[axis] = low[axis] - E(view.origin[axis]);
            high[axis] = high[axis] - E(view.origin[axis]);
            // Not of the greater one alone: that drops a NaN.
            isSound = isSound & Less(E(-1.0e15F), low[axis]) & Less(high[axis], E(1.0e15F)) &
                      LessOrEqual(low[axis], high[axis]);
            error = error + Max(Abs(low[axis]), Abs(high[axis])) * E(view.error[axis]);
            isLower[axis] = Less(E(view.eye[axis]), low[axis]);
            isUpper[axis] = Less(high[axis], E(view.eye[axis]));
            code = code + Select(isLower[axis], E(static_cast<float>(1 << axis)), E(0.0F)) +
                   Select(isUpper[axis], E(static_cast<float>(8 << axis)), E(0.0F));
        }
        code.StoreIntegers(codes);
        sound = isSound.Bits();
        inFront = (Less(error, GetLeast(view.nearPlane)) & Less(error, GetLeast(view.w))).Bits();
        SetCorners(view);
        SetPlanes(view);
    }

    E low[3];
    E high[3];
    EightBools<Arch> isLower[3];
    EightBools<Arch> isUpper[3];
    std::int32_t codes[8]; ///< For kBoxRings.
    std::uint32_t sound;
    std::uint32_t inFront;
    /// The corners of each box in pixels.
    E x[8];
    E y[8];
    float nearest[8];
    float farthest[8];
    float planeStart[3][8];
    float planeX[3][8];
    float planeY[3][8];

private:
    TAMRA_INLINE E GetLeast(const OcclusionView::Row& row) const
    {
        E sum(row.factors[3]);
        for (int axis = 0; axis < 3; ++axis)
            sum = sum + (row.factors[axis] > 0.0F ? low[axis] : high[axis]) * E(row.factors[axis]);
        return sum;
    }
    /// At all corners of each box.
    TAMRA_INLINE void GetAll(const OcclusionView::Row& row, E (&values)[8]) const
    {
        const E factors[3] = {E(row.factors[0]), E(row.factors[1]), E(row.factors[2])};
        const E across[2] = {low[0] * factors[0], high[0] * factors[0]};
        const E along[2] = {low[1] * factors[1], high[1] * factors[1]};
        const E up[2] = {low[2] * factors[2] + E(row.factors[3]), high[2] * factors[2] + E(row.factors[3])};
        for (int i = 0; i < 4; ++i)
        {
            const E sum = across[i & 1] + along[i >> 1];
            values[i] = sum + up[0];
            values[i + 4] = sum + up[1];
        }
    }
    TAMRA_INLINE void SetCorners(const OcclusionView& view)
    {
        E closeness[8];
        GetAll(view.w, closeness);
        GetAll(view.x, x);
        GetAll(view.y, y);
        for (int i = 0; i < 8; ++i)
        {
            closeness[i] = E(1.0F) / closeness[i];
            x[i] = x[i] * closeness[i];
            y[i] = y[i] * closeness[i];
        }
        if (!view.perspective)
            GetAll(view.depth, closeness);
        E least = closeness[0];
        E greatest = closeness[0];
        for (int i = 1; i < 8; ++i)
        {
            least = Min(closeness[i], least);
            greatest = Max(closeness[i], greatest);
        }
        GetFarthest<Arch>(least).Store(farthest);
        greatest.Store(nearest);
        Target<Arch>::Transpose(x);
        Target<Arch>::Transpose(y);
    }
    TAMRA_INLINE void SetPlanes(const OcclusionView& view)
    {
        const E farthestOfAll = E::Load(farthest);
        for (int axis = 0; axis < 3; ++axis)
        {
            const E position = Select(isLower[axis], low[axis], high[axis]);
            const E scale = view.perspective ? E(1.0F) / (position - E(view.eye[axis])) : E(1.0F);
            const auto& f = view.axisPlanes;
            const PlaneTerms<Arch> terms(view, E(f[0][axis]) * scale, E(f[1][axis]) * scale,
                                         E(f[2][axis]) * scale + E(f[3][axis]) * position,
                                         isLower[axis] | isUpper[axis], farthestOfAll);
            terms.start.Store(planeStart[axis]);
            terms.byColumn.Store(planeX[axis]);
            terms.byRow.Store(planeY[axis]);
        }
    }
};

template <class Arch>
TAMRA_INLINE BoxOutcome MakeBox(const OcclusionView& view, const OccluderGroup<Arch>& group, int i,
                                OcclusionPolygon& polygon)
{
    const BoxRing& ring = kBoxRings[static_cast<std::size_t>(group.codes[i])];
    if ((group.sound >> i & 1) == 0 || ring.count == 0)
        return BoxOutcome::kEmpty;
    const std::uint8_t* outline = ring.corners[view.mirrored];
    Sides<Arch> sides(Permute(group.x[i], outline), Permute(group.y[i], outline), Permute(group.x[i], outline + 1),
                      Permute(group.y[i], outline + 1));
    const Four extent = GetExtent(sides);
    if ((group.inFront >> i & 1) == 0 || xsimd::any(extent < Four::load_unaligned(view.leastExtent)))
        return BoxOutcome::kDifficult;
    if (xsimd::any(extent > Four::load_unaligned(view.mostExtent)))
        return BoxOutcome::kEmpty;
    if (!SetShape(view, sides, ring.count, extent, polygon))
        return BoxOutcome::kEmpty;
    polygon.farthest = group.farthest[i];
    polygon.nearest = group.nearest[i];
    for (int axis = 0; axis < 3; ++axis)
    {
        polygon.planeStart[axis] = group.planeStart[axis][i];
        polygon.planeX[axis] = group.planeX[axis][i];
        polygon.planeY[axis] = group.planeY[axis][i];
    }
    return BoxOutcome::kPolygon;
}

template <class Arch>
void MakeBoxes(const OcclusionView& view, const float* boxes, std::span<const std::uint32_t> indices,
               OcclusionPolygon* polygons, BoxOutcome* outcomes)
{
    for (std::size_t begin = 0; begin < indices.size(); begin += 8)
    {
        const std::size_t count = std::min<std::size_t>(indices.size() - begin, 8);
        const float* group[8];
        for (std::size_t i = 0; i < 8; ++i)
            group[i] = boxes + std::size_t{indices[begin + std::min(i, count - 1)]} * 6;
        const OccluderGroup<Arch> eight(view, group);
        for (std::size_t i = 0; i < count; ++i)
            outcomes[begin + i] =
                MakeBox<Arch>(view, eight, static_cast<int>(i), polygons[(begin + i) * kMostPolygons]);
    }
}
} // namespace
} // namespace occlusion
