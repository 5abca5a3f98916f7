#include "tamradeps/collision/simdKernelsInternal.h"

namespace collision
{
namespace
{
template <>
struct Target<xsimd::avx512f>
{
    static __m512 LoadFours(const float* start, std::size_t stride)
    {
        return Join(LoadTwoFours(start, stride), LoadTwoFours(start + 2 * stride, stride));
    }

    static __m512 LoadTwo(const float* low, const float* high)
    {
        return Join(_mm256_load_ps(low), _mm256_load_ps(high));
    }

    static std::uint32_t Bits(__mmask16 outcome) { return outcome; }

    static void Transpose(const float* boxes, BoxBlock& block) { TransposeEight(boxes, block); }

    static std::size_t Write(std::uint32_t* found, std::uint32_t first, std::uint8_t mask)
    {
        return WriteEight(found, first, mask);
    }

private:
    static __m512 Join(__m256 low, __m256 high)
    {
        const __m512d lower = _mm512_castpd256_pd512(_mm256_castps_pd(low));
        return _mm512_castpd_ps(_mm512_insertf64x4(lower, _mm256_castps_pd(high), 1));
    }
};
} // namespace

const SimdKernels kAvx512Kernels = MakeKernels<xsimd::avx512f>("avx512");
} // namespace collision
