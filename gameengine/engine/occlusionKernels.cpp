#include "gameengine/engine/occlusionRasterInternal.h"
#include "tamradeps/collision/simdKernels.h"

#include <algorithm>
#include <cstring>

namespace occlusion
{
namespace
{
struct Sets
{
    const OcclusionKernels* kernels[2] = {&kSse2Kernels};
    std::size_t count = 1;
};

// Those that other code has found fit for this machine. There is none for longer vectors: what is worked on is eight
// rows, corners, sides, tiles or boxes.
Sets FindSets() noexcept
{
    Sets sets;
    for (const collision::SimdKernels* available : collision::SimdKernels::GetAll())
    {
        if (std::strcmp(available->name, kAvx2Kernels.name) == 0)
            sets.kernels[sets.count++] = &kAvx2Kernels;
    }
    return sets;
}
} // namespace

std::span<const OcclusionKernels* const> GetOcclusionKernels() noexcept
{
    static const Sets sets = FindSets();
    return {sets.kernels, sets.count};
}

void DepthTiles::Resize(int width, int height)
{
    columns = width / kTileWidth;
    rows = height / kTileHeight;
    stride = static_cast<std::size_t>(columns) + kTilePadding;
    const std::size_t count = stride * static_cast<std::size_t>(rows);
    full.assign(count, kNothing);
    partial.assign(count, kNothing);
    masks.assign(count, Mask{});
    best.assign(count, kNothing);
}

void DepthTiles::Clear(int tileRowBegin, int tileRowEnd)
{
    const std::size_t begin = Index(0, tileRowBegin);
    const std::size_t end = Index(0, tileRowEnd);
    std::fill(full.begin() + static_cast<std::ptrdiff_t>(begin), full.begin() + static_cast<std::ptrdiff_t>(end),
              kNothing);
    std::fill(partial.begin() + static_cast<std::ptrdiff_t>(begin), partial.begin() + static_cast<std::ptrdiff_t>(end),
              kNothing);
}

void DepthTiles::Finish(int tileRowBegin, int tileRowEnd)
{
    const std::size_t end = Index(0, tileRowEnd);
    for (std::size_t i = Index(0, tileRowBegin); i < end; ++i)
        best[i] = std::max(full[i], partial[i]);
}
} // namespace occlusion
