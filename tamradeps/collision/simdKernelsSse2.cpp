#include "tamradeps/collision/simdKernelsInternal.h"

namespace collision
{
namespace
{
template <>
struct Target<xsimd::sse2>
{
    static __m128 LoadFours(const float* start, std::size_t) { return _mm_loadu_ps(start); }

    static std::uint32_t Bits(__m128 outcome) { return static_cast<std::uint32_t>(_mm_movemask_ps(outcome)); }

    static void Transpose(const float* boxes, BoxBlock& block)
    {
        for (int half = 0; half < 2; ++half)
        {
            const auto load = [=](int i) { return _mm_loadu_ps(boxes + half * 24 + i * 4); };
            TransposeFours(load, [&](int i, __m128 row) { _mm_store_ps(block.values[i] + half * 4, row); });
        }
    }

    static std::size_t Write(std::uint32_t* found, std::uint32_t first, std::uint8_t mask)
    {
        const __m128i base = _mm_set1_epi32(static_cast<int>(first));
        const __m128i zero = _mm_setzero_si128();
        const __m128i words =
            _mm_unpacklo_epi8(_mm_cvtsi64_si128(static_cast<long long>(kBitTables.numbers[mask])), zero);
        auto* place = reinterpret_cast<__m128i*>(found);
        _mm_storeu_si128(place, _mm_add_epi32(base, _mm_unpacklo_epi16(words, zero)));
        _mm_storeu_si128(place + 1, _mm_add_epi32(base, _mm_unpackhi_epi16(words, zero)));
        return kBitTables.counts[mask];
    }
};
} // namespace

const SimdKernels kSse2Kernels = MakeKernels<xsimd::sse2>("sse2");
} // namespace collision
