#include "tamradeps/collision/boxKernelsInternal.h"

namespace collision
{
namespace
{
template <>
struct Target<xsimd::avx512f>
{
    static __m512 LoadTwo(const float* low, const float* high)
    {
        const __m512d lower = _mm512_castpd256_pd512(_mm256_castps_pd(_mm256_load_ps(low)));
        return _mm512_castpd_ps(_mm512_insertf64x4(lower, _mm256_castps_pd(_mm256_load_ps(high)), 1));
    }

    static std::uint32_t Bits(__mmask16 outcome) { return outcome; }

    static void Transpose(const float* boxes, BoxBlock& block) { TransposeEight(boxes, block); }

    static std::size_t Write(std::uint32_t* found, std::uint32_t first, std::uint8_t mask)
    {
        return WriteEight(found, first, mask);
    }
};
} // namespace

const BoxKernels kAvx512Kernels = MakeKernels<xsimd::avx512f>("avx512");
} // namespace collision
