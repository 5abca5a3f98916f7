#include "tamradeps/collision/simdKernelsInternal.h"

namespace collision
{
namespace
{
template <>
struct Target<xsimd::avx2>
{
    static __m256 LoadFours(const float* start, std::size_t stride) { return LoadTwoFours(start, stride); }

    static std::uint32_t Bits(__m256 outcome) { return static_cast<std::uint32_t>(_mm256_movemask_ps(outcome)); }

    static void Transpose(const float* boxes, BoxBlock& block) { TransposeEight(boxes, block); }

    static std::size_t Write(std::uint32_t* found, std::uint32_t first, std::uint8_t mask)
    {
        return WriteEight(found, first, mask);
    }
};
} // namespace

const SimdKernels kAvx2Kernels = MakeKernels<xsimd::avx2>("avx2");
} // namespace collision
