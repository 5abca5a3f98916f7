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

    static MaskRelation Unite(const DepthTiles::Mask& a, const DepthTiles::Mask& b, DepthTiles::Mask& both)
    {
        const auto load = [](const std::uint32_t* rows)
        { return _mm_loadu_si128(reinterpret_cast<const __m128i*>(rows)); };
        const auto areSame = [](__m128i c, __m128i d) { return _mm_movemask_epi8(_mm_cmpeq_epi8(c, d)) == 0xFFFF; };
        MaskRelation relation = {false, false, true};
        for (int half = 0; half < kTileHeight; half += 4)
        {
            const __m128i bitsA = load(a.rows + half);
            const __m128i bitsB = load(b.rows + half);
            const __m128i united = _mm_or_si128(bitsA, bitsB);
            _mm_storeu_si128(reinterpret_cast<__m128i*>(both.rows + half), united);
            relation.addsAny = relation.addsAny || !areSame(united, bitsB);
            relation.lacksAny = relation.lacksAny || !areSame(united, bitsA);
            relation.isAll = relation.isAll && areSame(united, _mm_set1_epi32(-1));
        }
        return relation;
    }

    static void Load(const float* const (&from)[8], Eight<xsimd::sse2> (&out)[4])
    {
        for (int part = 0; part < 2; ++part)
        {
            __m128 rows[4];
            for (int i = 0; i < 4; ++i)
                rows[i] = _mm_loadu_ps(from[part * 4 + i]);
            _MM_TRANSPOSE4_PS(rows[0], rows[1], rows[2], rows[3]);
            for (int i = 0; i < 4; ++i)
                out[i].parts[part] = rows[i];
        }
    }
};
} // namespace

const OcclusionKernels kSse2Kernels = MakeKernels<xsimd::sse2>("sse2");
} // namespace occlusion
