#include "gameengine/engine/occlusionKernelsInternal.h"

namespace occlusion
{
namespace
{
template <>
struct Target<xsimd::avx2>
{
    static std::uint32_t Bits(__m256 outcome) { return static_cast<std::uint32_t>(_mm256_movemask_ps(outcome)); }

    static void Spans(const std::int32_t (&begins)[8], const std::int32_t (&ends)[8], int first, DepthTiles::Mask& mask)
    {
        // A shift by more than 31 leaves nothing.
        const auto clear = [first](const std::int32_t* places)
        {
            const __m256i bits = _mm256_sub_epi32(_mm256_loadu_si256(reinterpret_cast<const __m256i*>(places)),
                                                  _mm256_set1_epi32(first));
            return _mm256_sllv_epi32(_mm256_set1_epi32(-1), _mm256_max_epi32(bits, _mm256_setzero_si256()));
        };
        const __m256i spans = _mm256_andnot_si256(clear(ends), clear(begins));
        _mm256_storeu_si256(reinterpret_cast<__m256i*>(mask.rows), spans);
    }

    static Four Extremes(Eight<xsimd::avx2> a, Eight<xsimd::avx2> b, Eight<xsimd::avx2> c, Eight<xsimd::avx2> d)
    {
        const auto pairs = [](__m256 e, __m256 f)
        { return _mm256_min_ps(_mm256_unpacklo_ps(e, f), _mm256_unpackhi_ps(e, f)); };
        const __m256 ab = pairs(a.parts[0], b.parts[0]);
        const __m256 cd = pairs(c.parts[0], d.parts[0]);
        const __m256 both = _mm256_min_ps(_mm256_shuffle_ps(ab, cd, _MM_SHUFFLE(1, 0, 1, 0)),
                                          _mm256_shuffle_ps(ab, cd, _MM_SHUFFLE(3, 2, 3, 2)));
        return _mm_min_ps(_mm256_castps256_ps128(both), _mm256_extractf128_ps(both, 1));
    }

    static MaskRelation Unite(const DepthTiles::Mask& a, const DepthTiles::Mask& b, bool takesB, DepthTiles::Mask& both)
    {
        const __m256i bitsA = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(a.rows));
        const __m256i bitsB = _mm256_and_si256(_mm256_loadu_si256(reinterpret_cast<const __m256i*>(b.rows)),
                                               _mm256_set1_epi32(-static_cast<int>(takesB)));
        const __m256i united = _mm256_or_si256(bitsA, bitsB);
        _mm256_storeu_si256(reinterpret_cast<__m256i*>(both.rows), united);
        return {_mm256_testc_si256(bitsB, bitsA), _mm256_testc_si256(bitsA, bitsB),
                _mm256_testc_si256(united, _mm256_set1_epi32(-1))};
    }

    static void Load(const float* const (&from)[8], Eight<xsimd::avx2> (&out)[4])
    {
        const auto both = [&](int i)
        { return _mm256_insertf128_ps(_mm256_castps128_ps256(_mm_loadu_ps(from[i])), _mm_loadu_ps(from[i + 4]), 1); };
        const __m256 a = _mm256_unpacklo_ps(both(0), both(1));
        const __m256 b = _mm256_unpackhi_ps(both(0), both(1));
        const __m256 c = _mm256_unpacklo_ps(both(2), both(3));
        const __m256 d = _mm256_unpackhi_ps(both(2), both(3));
        out[0].parts[0] = _mm256_shuffle_ps(a, c, _MM_SHUFFLE(1, 0, 1, 0));
        out[1].parts[0] = _mm256_shuffle_ps(a, c, _MM_SHUFFLE(3, 2, 3, 2));
        out[2].parts[0] = _mm256_shuffle_ps(b, d, _MM_SHUFFLE(1, 0, 1, 0));
        out[3].parts[0] = _mm256_shuffle_ps(b, d, _MM_SHUFFLE(3, 2, 3, 2));
    }

    static void Transpose(Eight<xsimd::avx2> (&rows)[8])
    {
        __m256 pairs[8];
        for (int i = 0; i < 8; i += 2)
        {
            pairs[i] = _mm256_unpacklo_ps(rows[i].parts[0], rows[i + 1].parts[0]);
            pairs[i + 1] = _mm256_unpackhi_ps(rows[i].parts[0], rows[i + 1].parts[0]);
        }
        __m256 fours[8];
        for (int i = 0; i < 8; i += 4)
        {
            for (int j = 0; j < 2; ++j)
            {
                fours[i + 2 * j] = _mm256_shuffle_ps(pairs[i + j], pairs[i + j + 2], _MM_SHUFFLE(1, 0, 1, 0));
                fours[i + 2 * j + 1] = _mm256_shuffle_ps(pairs[i + j], pairs[i + j + 2], _MM_SHUFFLE(3, 2, 3, 2));
            }
        }
        for (int i = 0; i < 4; ++i)
        {
            rows[i].parts[0] = _mm256_permute2f128_ps(fours[i], fours[i + 4], 0x20);
            rows[i + 4].parts[0] = _mm256_permute2f128_ps(fours[i], fours[i + 4], 0x31);
        }
    }

    static Eight<xsimd::avx2> Permute(Eight<xsimd::avx2> a, const std::uint8_t* places)
    {
        const __m256i lanes = _mm256_cvtepu8_epi32(_mm_loadl_epi64(reinterpret_cast<const __m128i*>(places)));
        Eight<xsimd::avx2> result;
        result.parts[0] = _mm256_permutevar8x32_ps(a.parts[0], lanes);
        return result;
    }

    static void StoreFour(Eight<xsimd::avx2> a, float* to) { _mm_storeu_ps(to, _mm256_castps256_ps128(a.parts[0])); }
};
} // namespace

const OcclusionKernels kAvx2Kernels = MakeKernels<xsimd::avx2>("avx2");
} // namespace occlusion
