#pragma once

#include "gameengine/engine/occlusionVectorsInternal.h"

#include <algorithm>
#include <bit>
#include <cmath>

namespace occlusion
{
namespace
{
/// Eight boxes side by side, and where on the screen they are.
template <class Arch>
struct BoxGroup
{
    using E = Eight<Arch>;

    /// Bit i tells that box i lies behind the near plane and not around the camera, and that the members about it hold.
    TAMRA_INLINE std::uint32_t Place(const OcclusionView& view, const float* const (&boxes)[8])
    {
        E low[3];
        E high[3];
        LoadBoxes<Arch>(boxes, low, high);
        E extent[3];
        EightBools<Arch> sound = Less(E(0.0F), E(1.0F));
        EightBools<Arch> outside = Less(E(0.0F), E(0.0F));
        for (int axis = 0; axis < 3; ++axis)
        {
            const E camera(view.camera[axis]);
            outside = outside | Less(camera, low[axis]) | Less(high[axis], camera);
            low[axis] = low[axis] - E(view.origin[axis]);
            high[axis] = high[axis] - E(view.origin[axis]);
            extent[axis] = Max(Abs(low[axis]), Abs(high[axis]));
            // Not of extents: they drop a NaN.
            sound = sound & Less(E(-1.0e15F), low[axis]) & Less(high[axis], E(1.0e15F)) &
                    Less(E(-1.0F) * (high[axis] - low[axis]), E(1.0e-30F));
        }
        E error(view.error[3]);
        for (int axis = 0; axis < 3; ++axis)
            error = error + extent[axis] * E(view.error[axis]);
        const E distance = Sum<false>(view.nearPlane, low, high) - error;
        const E leastW = Sum<false>(view.w, low, high) - error;
        sound = sound & outside & Less(E(0.0F), distance) & Less(E(1.0e-15F), leastW);
        const E nearest = view.perspective ? E(1.0F + kRounding) / leastW : Sum<true>(view.depth, low, high) + error;
        nearest.Store(closeness);
        PlaceCorners(view, low, high);
        return sound.Bits();
    }

    float closeness[8];
    // The pixels that they touch, the last ones too.
    std::int32_t left[8];
    std::int32_t right[8];
    std::int32_t bottom[8];
    std::int32_t top[8];
    /// The tiles of the four corners.
    std::int32_t tiles[4][8];
    /// Bit i tells that box i reaches into no others.
    std::uint32_t few;

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
        minX = Min(Max(minX - margin, zero), lastX);
        maxX = Min(Max(maxX + margin, zero), lastX);
        minY = Min(Max(minY - margin, zero), lastY);
        maxY = Min(Max(maxY + margin, zero), lastY);
        minX.StoreIntegers(left);
        maxX.StoreIntegers(right);
        minY.StoreIntegers(bottom);
        maxY.StoreIntegers(top);
        PlaceTiles(view, minX, maxX, minY, maxY);
    }
    TAMRA_INLINE void PlaceTiles(const OcclusionView& view, const E& minX, const E& maxX, const E& minY, const E& maxY)
    {
        const E byWidth(1.0F / static_cast<float>(kTileWidth));
        const E byHeight(1.0F / static_cast<float>(kTileHeight));
        const E stride(view.width * (1.0F / static_cast<float>(kTileWidth)) + static_cast<float>(kTilePadding));
        const E columns[2] = {(minX * byWidth).Truncate(), (maxX * byWidth).Truncate()};
        const E rows[2] = {(minY * byHeight).Truncate(), (maxY * byHeight).Truncate()};
        for (int i = 0; i < 4; ++i)
            (rows[i / 2] * stride + columns[i % 2]).StoreIntegers(tiles[i]); // exact: there are not that many
        few = (Less(columns[1] - columns[0], E(1.5F)) & Less(rows[1] - rows[0], E(1.5F))).Bits();
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
bool IsHidden(const DepthTiles& tiles, int left, int right, int bottom, int top, float closeness)
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

/// Of the boxes with few tiles, those that are behind what `closeness` tells of each of these.
template <class Arch>
TAMRA_INLINE std::uint32_t FindBehind(const BoxGroup<Arch>& group, const float* closeness)
{
    float farthest[8];
    for (int i = 0; i < 8; ++i)
    {
        const auto at = [&](int corner) { return closeness[group.tiles[corner][i]]; };
        farthest[i] = std::min(std::min(at(0), at(1)), std::min(at(2), at(3)));
    }
    return group.few & Less(Eight<Arch>::Load(group.closeness), Eight<Arch>::Load(farthest)).Bits();
}

template <class Arch>
std::size_t KeepVisible(const OcclusionView& view, const DepthTiles& tiles, const float* boxes, std::uint32_t* found,
                        std::size_t count)
{
    const float* const full = tiles.full.data();
    const float* const best = tiles.best.data();
    std::size_t kept = 0;
    BoxGroup<Arch> group;
    for (std::size_t begin = 0; begin < count; begin += 8)
    {
        // The last group repeats its last box.
        const std::size_t size = std::min<std::size_t>(count - begin, 8);
        std::uint32_t ids[8];
        const float* from[8];
        for (std::size_t i = 0; i < 8; ++i)
        {
            ids[i] = found[begin + std::min(i, size - 1)];
            from[i] = boxes + std::size_t{ids[i]} * 6;
        }
        const std::uint32_t placed = group.Place(view, from);
        std::uint32_t hidden = placed & FindBehind(group, full);
        std::uint32_t open = placed & ~hidden & ((1U << size) - 1);
        if (open != 0)
        {
            // Without the masks nearly all of those that are seen are known.
            open &= ~group.few | FindBehind(group, best);
        }
        for (; open != 0; open &= open - 1)
        {
            const int i = std::countr_zero(open);
            if (IsHidden<Arch>(tiles, group.left[i], group.right[i], group.bottom[i], group.top[i], group.closeness[i]))
                hidden |= 1U << i;
        }
        for (std::size_t i = 0; i < size; ++i)
        {
            found[kept] = ids[i];
            kept += ~hidden >> i & 1;
        }
    }
    return kept;
}
} // namespace
} // namespace occlusion
