#pragma once

#include "gameengine/engine/occlusionVectorsInternal.h"

#include <algorithm>
#include <cmath>

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
        : x0(E::Load(corners.x)),
          y0(E::Load(corners.y)),
          x1(E::Load(corners.x + 1)),
          y1(E::Load(corners.y + 1)),
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

/// The rows of pixels whose middle may be inside, and the tiles that they touch; false if there are none. Rows are cut
/// where flat sides are.
template <class Arch>
TAMRA_INLINE bool SetBounds(const OcclusionView& view, const Sides<Arch>& sides, const EightBools<Arch>& flat,
                            OcclusionPolygon& polygon)
{
    using E = Eight<Arch>;
    // Downwards the inside is at the right, to the right it is above.
    const EightBools<Arch> bottom = flat & Less(E(0.0F), sides.dx);
    const EightBools<Arch> top = flat & Less(sides.dx, E(0.0F));
    const E flatLow = Select(bottom, Max(sides.y0, sides.y1) + E(view.margin), E(0.0F));
    const E flatHigh = Select(top, Min(sides.y0, sides.y1) - E(view.margin), E(view.height));
    float least[4];
    Target<Arch>::Extremes(sides.y0, E(0.0F) - sides.y0, E(0.0F) - flatLow, flatHigh, least);
    const float low = std::min(std::max({least[0], -least[2], 0.0F}), view.height);
    const float high = std::max(std::min({-least[1], least[3], view.height}), 0.0F);
    polygon.rowBegin = static_cast<std::int32_t>(low);
    polygon.rowBegin += static_cast<float>(polygon.rowBegin) < low;
    polygon.rowEnd = static_cast<std::int32_t>(high);
    Target<Arch>::Extremes(sides.x0, E(0.0F) - sides.x0, sides.x0, sides.x0, least);
    constexpr float kScale = 1.0F / static_cast<float>(kTileWidth);
    polygon.tileBegin = static_cast<std::int32_t>(std::max(least[0], 0.0F) * kScale);
    polygon.tileEnd = static_cast<std::int32_t>(std::min(-least[1], view.width - 1.0F) * kScale) + 1;
    return polygon.rowBegin < polygon.rowEnd;
}

/// The sides that are not flat, to the left and to the right of the inside.
template <class Arch>
TAMRA_INLINE void SetEdges(const PolygonCorners& corners, const Eight<Arch>& edge, const Eight<Arch>& slope,
                           std::uint32_t downs, std::uint32_t flats, OcclusionPolygon& polygon)
{
    // A flat side is written to a place that another takes later.
    float slopes[8];
    float edges[8];
    slope.Store(slopes);
    edge.Store(edges);
    int left = 0;
    int right = OcclusionPolygon::kEdges;
    for (int i = 0; i < corners.count; ++i)
    {
        const int isLeft = static_cast<int>(downs >> i & ~(flats >> i) & 1);
        const int isRight = static_cast<int>(~(downs >> i) & ~(flats >> i) & 1);
        right -= isRight;
        const int place = isRight ? right : left;
        left += isLeft;
        polygon.edgeX[place] = edges[i];
        polygon.edgeY[place] = corners.y[i];
        polygon.slope[place] = slopes[i];
    }
    polygon.leftCount = left;
    polygon.rightCount = OcclusionPolygon::kEdges - right;
}

template <class Arch>
bool MakePolygon(const OcclusionView& view, PolygonCorners& corners, OcclusionPolygon& polygon)
{
    using E = Eight<Arch>;
    CloseRing(corners);
    Sides<Arch> sides(corners);
    const EightBools<Arch> same = Less(Abs(sides.dx), E(kSameCorner)) & Less(Abs(sides.dy), E(kSameCorner));
    if ((same.Bits() & ((1U << corners.count) - 1)) != 0)
    {
        DropSameCorners(corners);
        if (corners.count < 3)
            return false;
        sides = Sides<Arch>(corners);
    }
    const EightBools<Arch> flat = Less(Abs(sides.dy), E(kFlat));
    const E slope = sides.dx / Select(flat, E(1.0F), sides.dy);
    const E inset = E(view.margin) + Abs(slope) * E(0.5F + view.margin);
    const EightBools<Arch> down = Less(sides.dy, E(0.0F));
    const E edge = sides.x0 + Select(down, inset, E(0.0F) - inset);

    if (!SetBounds(view, sides, flat, polygon))
        return false;
    SetEdges(corners, edge, slope, down.Bits(), flat.Bits(), polygon);
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

/// What rounding can do to the distances of any point of the box.
inline float GetError(const OcclusionView& view, const float (&low)[3], const float (&high)[3])
{
    float sum = view.error[3];
    for (int axis = 0; axis < 3; ++axis)
        sum += view.error[axis] * std::max(std::abs(low[axis]), std::abs(high[axis]));
    return sum;
}

template <class Arch>
TAMRA_INLINE void SetOutline(const BoxOutline& outline, bool mirrored, const Eight<Arch>& x, const Eight<Arch>& y,
                             PolygonCorners& corners)
{
    float xs[8];
    float ys[8];
    x.Store(xs);
    y.Store(ys);
    corners.count = outline.count;
    for (int i = 0; i < outline.count; ++i)
    {
        const int corner = outline.corners[mirrored ? outline.count - 1 - i : i];
        corners.x[i] = xs[corner];
        corners.y[i] = ys[corner];
    }
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
    const E inverse = E(1.0F) / w;
    const E x = boxCorners.Get(view.x) * inverse;
    const E y = boxCorners.Get(view.y) * inverse;
    const E closeness = view.perspective ? inverse : boxCorners.Get(view.depth);
    const float error = GetError(view, low, high);
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
    corners.farthest = farthest;
    corners.nearest = -least[2];
    SetOutline(outline, view.mirrored, x, y, corners);
    corners.planeCount = 0;
    for (int axis = 0; axis < 3; ++axis)
    {
        if (seen[axis] != 0)
            corners.planes[corners.planeCount++] = view.GetPlane(axis, seen[axis] == 1 ? low[axis] : high[axis]);
    }
    return MakePolygon<Arch>(view, corners, polygon) ? BoxOutcome::kPolygon : BoxOutcome::kEmpty;
}
} // namespace
} // namespace occlusion
