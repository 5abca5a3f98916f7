#include "gameengine/engine/occlusionKernelsInternal.h"

namespace occlusion
{
namespace
{
template <>
struct Target<xsimd::sse2>
{
    static std::uint32_t Bits(__m128 outcome) { return static_cast<std::uint32_t>(_mm_movemask_ps(outcome)); }

    static void Spans(const std::int32_t (&begins)[8], const std::int32_t (&ends)[8], int first, DepthTiles::Mask& mask)
    {
        const auto clear = [first](std::int32_t place)
        {
            const int bits = std::clamp(place - first, 0, kTileWidth);
            return static_cast<std::uint32_t>(std::uint64_t{0xFFFFFFFF} << bits);
        };
        for (int row = 0; row < kTileHeight; ++row)
            mask.rows[row] = clear(begins[row]) & ~clear(ends[row]);
    }

    static void Extremes(Eight<xsimd::sse2> a, Eight<xsimd::sse2> b, Eight<xsimd::sse2> c, Eight<xsimd::sse2> d,
                         float (&least)[4])
    {
        const auto halve = [](const Eight<xsimd::sse2>& e) { return _mm_min_ps(e.parts[0], e.parts[1]); };
        __m128 rows[4] = {halve(a), halve(b), halve(c), halve(d)};
        _MM_TRANSPOSE4_PS(rows[0], rows[1], rows[2], rows[3]);
        _mm_storeu_ps(least, _mm_min_ps(_mm_min_ps(rows[0], rows[1]), _mm_min_ps(rows[2], rows[3])));
    }
};
} // namespace

const OcclusionKernels kSse2Kernels = MakeKernels<xsimd::sse2>("sse2");
} // namespace occlusion
