#include "tamradeps/collision/simdKernelsInternal.h"

namespace collision
{
namespace
{
constexpr BitTables MakeBitTables()
{
    BitTables tables;
    for (unsigned mask = 0; mask < 256; ++mask)
    {
        for (unsigned bit = 0; bit < 8; ++bit)
        {
            if (mask >> bit & 1)
                tables.numbers[mask] |= std::uint64_t{bit} << (8 * tables.counts[mask]++);
        }
    }
    return tables;
}

struct Sets
{
    const SimdKernels* kernels[3] = {&kSse2Kernels};
    std::size_t count = 1;
};

// What a processor has counts only if the operating system saves the registers; the compiler's function looks at both.
Sets FindSets() noexcept
{
    Sets sets;
#if defined(__GNUC__)
    __builtin_cpu_init();
    if (__builtin_cpu_supports("avx2") && __builtin_cpu_supports("popcnt"))
        sets.kernels[sets.count++] = &kAvx2Kernels;
    if (sets.count == 2 && __builtin_cpu_supports("avx512f"))
        sets.kernels[sets.count++] = &kAvx512Kernels;
#endif
    return sets;
}

const Sets& GetSets() noexcept
{
    static const Sets sets = FindSets();
    return sets;
}
} // namespace

constexpr BitTables kBitTables = MakeBitTables();

const SimdKernels& SimdKernels::Get() noexcept
{
    const Sets& sets = GetSets();
    return *sets.kernels[sets.count - 1];
}

std::span<const SimdKernels* const> SimdKernels::GetAll() noexcept
{
    const Sets& sets = GetSets();
    return {sets.kernels, sets.count};
}

FrustumQuery::FrustumQuery(const PrimFrustum& frustum) noexcept
{
    constexpr int kOrder[6] = {0, 1, 5, 2, 3, 4};
    for (int i = 0; i < 6; ++i)
    {
        const float* plane = frustum.GetPlane(kOrder[i]);
        planes[i].distance = plane[3];
        for (std::uint32_t axis = 0; axis < 3; ++axis)
        {
            planes[i].normal[axis] = plane[axis];
            planes[i].farRows[axis] = static_cast<std::uint32_t>((plane[axis] >= 0.0F ? axis + 3 : axis) * kRowBytes);
        }
    }
}
} // namespace collision
