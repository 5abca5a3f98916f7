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

    static Four Extremes(Eight<xsimd::sse2> a, Eight<xsimd::sse2> b, Eight<xsimd::sse2> c, Eight<xsimd::sse2> d)
    {
        const auto halve = [](const Eight<xsimd::sse2>& e) { return _mm_min_ps(e.parts[0], e.parts[1]); };
        __m128 rows[4] = {halve(a), halve(b), halve(c), halve(d)};
        _MM_TRANSPOSE4_PS(rows[0], rows[1], rows[2], rows[3]);
        return _mm_min_ps(_mm_min_ps(rows[0], rows[1]), _mm_min_ps(rows[2], rows[3]));
    }

    static MaskRelation Unite(const DepthTiles::Mask& a, const DepthTiles::Mask& b, bool takesB, DepthTiles::Mask& both)
    {
        const auto load = [](const std::uint32_t* rows)
        { return _mm_loadu_si128(reinterpret_cast<const __m128i*>(rows)); };
        const auto areSame = [](__m128i c, __m128i d)
        { return int{_mm_movemask_epi8(_mm_cmpeq_epi8(c, d)) == 0xFFFF}; };
        MaskRelation relation = {1, 1, 1};
        for (int half = 0; half < kTileHeight; half += 4)
        {
            const __m128i bitsA = load(a.rows + half);
            const __m128i bitsB = _mm_and_si128(load(b.rows + half), _mm_set1_epi32(-static_cast<int>(takesB)));
            const __m128i united = _mm_or_si128(bitsA, bitsB);
            _mm_storeu_si128(reinterpret_cast<__m128i*>(both.rows + half), united);
            relation.isFirstInSecond &= areSame(united, bitsB);
            relation.isSecondInFirst &= areSame(united, bitsA);
            relation.isAll &= areSame(united, _mm_set1_epi32(-1));
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

    static void Transpose(Eight<xsimd::sse2> (&rows)[8])
    {
        const auto transpose = [&](int first, int part)
        {
            __m128 r[4];
            for (int i = 0; i < 4; ++i)
                r[i] = rows[first + i].parts[part];
            _MM_TRANSPOSE4_PS(r[0], r[1], r[2], r[3]);
            for (int i = 0; i < 4; ++i)
                rows[first + i].parts[part] = r[i];
        };
        for (int first = 0; first < 8; first += 4)
        {
            transpose(first, 0);
            transpose(first, 1);
        }
        for (int i = 0; i < 4; ++i)
            std::swap(rows[i].parts[1], rows[i + 4].parts[0]);
    }

    static Eight<xsimd::sse2> Permute(const Eight<xsimd::sse2>& a, const std::uint8_t* places)
    {
        float from[8];
        float to[8];
        a.Store(from);
        for (int i = 0; i < 8; ++i)
            to[i] = from[places[i]];
        return Eight<xsimd::sse2>::Load(to);
    }

    static void StoreFour(const Eight<xsimd::sse2>& a, float* to) { _mm_storeu_ps(to, a.parts[0]); }
};
} // namespace

const OcclusionKernels kSse2Kernels = MakeKernels<xsimd::sse2>("sse2");
} // namespace occlusion
