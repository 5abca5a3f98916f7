#pragma once

#include "tamradeps/collision/simdKernels.h"

#include <cstring>

#include <xsimd/xsimd.hpp>

#if defined(__GNUC__)
#define TAMRA_INLINE [[gnu::always_inline]] inline
#else
#define TAMRA_INLINE __forceinline
#endif

namespace collision
{
extern const SimdKernels kSse2Kernels;
extern const SimdKernels kAvx2Kernels;
extern const SimdKernels kAvx512Kernels;

/// For each mask of eight bits: the numbers of those that are set, lowest first, a byte each; and how many are.
struct BitTables
{
    std::uint64_t numbers[256] = {};
    std::uint8_t counts[256] = {};
};
extern const BitTables kBitTables;

// The kernels are compiled once for each instruction set. All of them have internal linkage: of inline functions with
// one name the linker keeps any, and could give plain code one that is full of instructions the processor lacks.
namespace
{
/// What differs by instruction set; the source of each defines its own:
/// LoadFours(start, stride): four floats from each place, `stride` floats apart.
/// LoadTwo(low, high): a vector of two rows; only where a vector is longer than a row.
/// Bits(outcome): bit i tells the outcome in lane i.
/// Transpose(boxes, block): puts eight boxes in a row into a block.
/// Write(found, first, mask): `first` plus the number of each bit of `mask`; writes eight elements, and returns how
/// many of them count.
template <class Arch>
struct Target;

template <int kSelection>
TAMRA_INLINE __m128 Shuffle(__m128 a, __m128 b)
{
    return _mm_shuffle_ps(a, b, kSelection);
}
#ifdef __AVX2__
template <int kSelection>
TAMRA_INLINE __m256 Shuffle(__m256 a, __m256 b)
{
    return _mm256_shuffle_ps(a, b, kSelection);
}
#endif
#ifdef __AVX512F__
template <int kSelection>
TAMRA_INLINE __m512 Shuffle(__m512 a, __m512 b)
{
    return _mm512_shuffle_ps(a, b, kSelection);
}
#endif

constexpr std::size_t kRowBytes = sizeof(BoxBlock::values[0]);

/// The rows of `kBlocks` blocks as vectors, and what is found out about their boxes.
template <class Arch, std::size_t kBlocks>
class Lanes
{
public:
    using Batch = xsimd::batch<float, Arch>;
    using Outcome = typename Batch::batch_bool_type;

    static constexpr std::size_t kSize = Batch::size;
    static constexpr std::size_t kCount = (kBlocks * BoxBlock::kBoxes + kSize - 1) / kSize;

    explicit Lanes(const BoxBlock* blocks) : m_blocks(reinterpret_cast<const std::byte*>(blocks)) {}

    /// Of vector `i`, the row that begins `rowStart` bytes into a block.
    Batch Load(std::size_t i, std::size_t rowStart) const
    {
        const std::size_t box = i * kSize;
        const std::size_t start = box / BoxBlock::kBoxes * sizeof(BoxBlock) + box % BoxBlock::kBoxes * sizeof(float);
        const std::byte* row = m_blocks + start + rowStart;
        if constexpr (kSize <= BoxBlock::kBoxes)
            return Batch::load_aligned(reinterpret_cast<const float*>(row));
        else
            return Target<Arch>::LoadTwo(reinterpret_cast<const float*>(row),
                                         // a single block goes twice
                                         reinterpret_cast<const float*>(kBlocks > 1 ? row + sizeof(BoxBlock) : row));
    }

    /// One bit for each box, of an outcome for each vector.
    static std::uint32_t Bits(const Outcome (&outcomes)[kCount])
    {
        std::uint32_t bits = 0;
        for (std::size_t i = 0; i < kCount; ++i)
            bits |= Target<Arch>::Bits(outcomes[i]) << (i * kSize);
        return bits;
    }

private:
    const std::byte* m_blocks;
};

/// For each box of `kBlocks` (at most 4) blocks, whether it passes.
template <class Arch, std::size_t kBlocks>
TAMRA_INLINE std::uint32_t Test(const FrustumQuery& query, const BoxBlock* blocks)
{
    using L = Lanes<Arch, kBlocks>;
    using Batch = typename L::Batch;
    const L lanes(blocks);
    constexpr std::uint32_t kAll = static_cast<std::uint32_t>((std::uint64_t{1} << (L::kCount * L::kSize)) - 1);
    std::uint32_t outside = 0;
    for (int half = 0; half < 2; ++half)
    {
        typename L::Outcome out[L::kCount];
        for (auto& outcome : out)
            outcome = typename L::Outcome(false);
        for (int i = half * 3; i < half * 3 + 3; ++i)
        {
            const FrustumQuery::Plane& plane = query.planes[i];
            const Batch x(plane.normal[0]);
            const Batch y(plane.normal[1]);
            const Batch z(plane.normal[2]);
            for (std::size_t v = 0; v < L::kCount; ++v)
            {
                Batch distance = Batch(plane.distance) + x * lanes.Load(v, plane.farRows[0]);
                distance = distance + y * lanes.Load(v, plane.farRows[1]);
                distance = distance + z * lanes.Load(v, plane.farRows[2]);
                out[v] = out[v] | (distance < Batch(0.0F));
            }
        }
        outside |= L::Bits(out);
        if (outside == kAll)
            break;
    }
    return ~outside;
}

template <class Arch, std::size_t kBlocks>
TAMRA_INLINE std::uint32_t Test(const PrimAABB& query, const BoxBlock* blocks)
{
    using L = Lanes<Arch, kBlocks>;
    using Batch = typename L::Batch;
    const L lanes(blocks);
    const float* values = query.GetFloats();
    typename L::Outcome in[L::kCount];
    for (std::size_t v = 0; v < L::kCount; ++v)
    {
        in[v] = (lanes.Load(v, 0) <= Batch(values[3])) & (lanes.Load(v, 3 * kRowBytes) >= Batch(values[0]));
        in[v] =
            in[v] & (lanes.Load(v, kRowBytes) <= Batch(values[4])) & (lanes.Load(v, 4 * kRowBytes) >= Batch(values[1]));
        in[v] = in[v] & (lanes.Load(v, 2 * kRowBytes) <= Batch(values[5])) &
                (lanes.Load(v, 5 * kRowBytes) >= Batch(values[2]));
    }
    return L::Bits(in);
}

template <class Arch, std::size_t kBlocks>
TAMRA_INLINE std::uint32_t Test(const SphereQuery& query, const BoxBlock* blocks)
{
    using L = Lanes<Arch, kBlocks>;
    using Batch = typename L::Batch;
    const L lanes(blocks);
    const float center[3] = {query.center.x, query.center.y, query.center.z};
    typename L::Outcome in[L::kCount];
    for (std::size_t v = 0; v < L::kCount; ++v)
    {
        Batch sum(0.0F);
        for (std::size_t axis = 0; axis < 3; ++axis)
        {
            const Batch c(center[axis]);
            // The second operand is the result where either is NaN.
            const Batch below = xsimd::max(Batch(0.0F), lanes.Load(v, axis * kRowBytes) - c);
            const Batch above = xsimd::max(Batch(0.0F), c - lanes.Load(v, (axis + 3) * kRowBytes));
            const Batch distance = below + above;
            sum = sum + distance * distance;
        }
        in[v] = sum <= Batch(query.radius * query.radius);
    }
    return L::Bits(in);
}

constexpr std::size_t kChunk = 4;

template <class Arch, class Query>
void TestBlocks(const Query& query, const BoxBlock* blocks, std::size_t count, std::uint8_t* masks)
{
    std::size_t i = 0;
    for (; i + kChunk <= count; i += kChunk)
    {
        const std::uint32_t bits = Test<Arch, kChunk>(query, blocks + i);
        std::memcpy(masks + i, &bits, kChunk);
    }
    for (; i < count; ++i)
        masks[i] = static_cast<std::uint8_t>(Test<Arch, 1>(query, blocks + i));
}

template <class Arch, class Query>
std::size_t Find(const Query& query, const PrimAABB* boxes, std::size_t count, std::uint32_t* found)
{
    BoxBlock blocks[kChunk];
    std::size_t kept = 0;
    std::size_t i = 0;
    for (; i + kChunk * BoxBlock::kBoxes <= count; i += kChunk * BoxBlock::kBoxes)
    {
        for (std::size_t block = 0; block < kChunk; ++block)
            Target<Arch>::Transpose(boxes[i + block * BoxBlock::kBoxes].GetFloats(), blocks[block]);
        const std::uint32_t bits = Test<Arch, kChunk>(query, blocks);
        for (std::size_t block = 0; block < kChunk; ++block)
            kept += Target<Arch>::Write(found + kept, static_cast<std::uint32_t>(i + block * BoxBlock::kBoxes),
                                        static_cast<std::uint8_t>(bits >> (block * BoxBlock::kBoxes)));
    }
    for (; i + BoxBlock::kBoxes <= count; i += BoxBlock::kBoxes)
    {
        Target<Arch>::Transpose(boxes[i].GetFloats(), blocks[0]);
        const auto bits = static_cast<std::uint8_t>(Test<Arch, 1>(query, blocks));
        kept += Target<Arch>::Write(found + kept, static_cast<std::uint32_t>(i), bits);
    }
    if (i == count)
        return kept;
    float rest[BoxBlock::kBoxes * 6] = {};
    std::memcpy(rest, boxes[i].GetFloats(), (count - i) * sizeof(PrimAABB));
    Target<Arch>::Transpose(rest, blocks[0]);
    const std::uint32_t bits = Test<Arch, 1>(query, blocks);
    for (std::size_t box = 0; i + box < count; ++box)
    {
        if (bits >> box & 1)
            found[kept++] = static_cast<std::uint32_t>(i + box);
    }
    return kept;
}

/// Eight boxes in a row, four at a time in each 128 bits of a register, into a block. `load(i)` gives floats 4 * i to
/// 4 * i + 3 of each four boxes, `store(i, row)` takes coordinate i of theirs. (Arrays instead would go through
/// memory.)
TAMRA_INLINE void TransposeFours(auto load, auto store)
{
    constexpr int kLowHigh = _MM_SHUFFLE(3, 2, 1, 0);
    constexpr int kHighLow = _MM_SHUFFLE(1, 0, 3, 2);
    constexpr int kEven = _MM_SHUFFLE(2, 0, 2, 0);
    constexpr int kOdd = _MM_SHUFFLE(3, 1, 3, 1);
    const auto r0 = load(0);
    const auto r1 = load(1);
    const auto r2 = load(2);
    const auto r3 = load(3);
    const auto r4 = load(4);
    const auto r5 = load(5);
    // Coordinates 0 and 1, 2 and 3, 4 and 5 of two boxes each.
    const auto a01 = Shuffle<kLowHigh>(r0, r1);
    const auto a23 = Shuffle<kHighLow>(r0, r2);
    const auto a45 = Shuffle<kLowHigh>(r1, r2);
    const auto b01 = Shuffle<kLowHigh>(r3, r4);
    const auto b23 = Shuffle<kHighLow>(r3, r5);
    const auto b45 = Shuffle<kLowHigh>(r4, r5);
    store(0, Shuffle<kEven>(a01, b01));
    store(1, Shuffle<kOdd>(a01, b01));
    store(2, Shuffle<kEven>(a23, b23));
    store(3, Shuffle<kOdd>(a23, b23));
    store(4, Shuffle<kEven>(a45, b45));
    store(5, Shuffle<kOdd>(a45, b45));
}

#ifdef __AVX2__
TAMRA_INLINE __m256 LoadTwoFours(const float* start, std::size_t stride)
{
    return _mm256_insertf128_ps(_mm256_castps128_ps256(_mm_loadu_ps(start)), _mm_loadu_ps(start + stride), 1);
}

TAMRA_INLINE void TransposeEight(const float* boxes, BoxBlock& block)
{
    const auto load = [boxes](int i) { return LoadTwoFours(boxes + i * 4, 24); };
    TransposeFours(load, [&block](int i, __m256 row) { _mm256_store_ps(block.values[i], row); });
}

TAMRA_INLINE std::size_t WriteEight(std::uint32_t* found, std::uint32_t first, std::uint8_t mask)
{
    const __m128i numbers = _mm_cvtsi64_si128(static_cast<long long>(kBitTables.numbers[mask]));
    const __m256i indices = _mm256_add_epi32(_mm256_set1_epi32(static_cast<int>(first)), _mm256_cvtepu8_epi32(numbers));
    _mm256_storeu_si256(reinterpret_cast<__m256i*>(found), indices);
    return static_cast<std::size_t>(_mm_popcnt_u32(mask));
}
#endif
/// In each four lanes, lane `kLane` of theirs.
template <int kLane>
TAMRA_INLINE auto Splat(auto values)
{
    return Shuffle<_MM_SHUFFLE(kLane, kLane, kLane, kLane)>(values, values);
}

/// The steps of PrimAABB::TransformAABB, one box in each four lanes.
template <class Arch, std::size_t kBoxes>
TAMRA_INLINE void TransformSome(const CMatrix* matrices, const PrimAABB* boxes, PrimAABB* results)
{
    using Batch = xsimd::batch<float, Arch>;
    using Register = typename Batch::register_type;
    const float* elements = matrices->GetElements();
    const Register first = Target<Arch>::LoadFours(boxes->GetFloats(), 6);
    const Register last = Target<Arch>::LoadFours(boxes->GetFloats() + 2, 6);
    Batch low = Target<Arch>::LoadFours(elements + 12, 16);
    Batch high = low;
    const auto add = [&](int axis, Register minimum, Register maximum)
    {
        const Batch column = Target<Arch>::LoadFours(elements + axis * 4, 16);
        const Batch a = column * Batch(minimum);
        const Batch b = column * Batch(maximum);
        low = low + xsimd::min(a, b);
        high = high + xsimd::max(a, b);
    };
    add(0, Splat<0>(first), Splat<3>(first));
    add(1, Splat<1>(first), Splat<2>(last));
    add(2, Splat<2>(first), Splat<3>(last));
    const Register lowEnd = low;
    const Register highEnd = high;
    const Register corners = Shuffle<_MM_SHUFFLE(0, 0, 2, 2)>(lowEnd, highEnd); // low z twice, high x twice
    const Batch front(Shuffle<_MM_SHUFFLE(2, 0, 1, 0)>(lowEnd, corners));
    const Batch back(Shuffle<_MM_SHUFFLE(2, 1, 2, 1)>(highEnd, highEnd));
    alignas(Batch) float fronts[kBoxes * 4];
    alignas(Batch) float backs[kBoxes * 4];
    front.store_aligned(fronts);
    back.store_aligned(backs);
    for (std::size_t i = 0; i < kBoxes; ++i)
    {
        float values[6];
        std::memcpy(values, fronts + i * 4, 4 * sizeof(float));
        std::memcpy(values + 4, backs + i * 4, 2 * sizeof(float));
        results[i] = PrimAABB(values);
    }
}

template <class Arch>
void TransformBoxes(const CMatrix* matrices, const PrimAABB* boxes, PrimAABB* results, std::size_t count)
{
    constexpr std::size_t kBoxes = xsimd::batch<float, Arch>::size / 4;
    std::size_t i = 0;
    for (; i + kBoxes <= count; i += kBoxes)
        TransformSome<Arch, kBoxes>(matrices + i, boxes + i, results + i);
    if (i < count)
        kSse2Kernels.transformBoxes(matrices + i, boxes + i, results + i, count - i);
}

/// The steps of the product of two matrices, one column in each four lanes.
template <class Arch>
void MultiplyMatrices(const CMatrix* a, const CMatrix* b, CMatrix* results, std::size_t count)
{
    using Batch = xsimd::batch<float, Arch>;
    using Register = typename Batch::register_type;
    constexpr std::size_t kParts = 16 / Batch::size;
    for (std::size_t i = 0; i < count; ++i)
    {
        const float* left = a[i].GetElements();
        const Batch column0(Target<Arch>::LoadFours(left, 0));
        const Batch column1(Target<Arch>::LoadFours(left + 4, 0));
        const Batch column2(Target<Arch>::LoadFours(left + 8, 0));
        const Batch column3(Target<Arch>::LoadFours(left + 12, 0));
        for (std::size_t part = 0; part < kParts; ++part)
        {
            const Register factors = Batch::load_unaligned(b[i].GetElements() + part * Batch::size);
            Batch sum = column0 * Batch(Splat<0>(factors));
            sum = sum + column1 * Batch(Splat<1>(factors));
            sum = sum + column2 * Batch(Splat<2>(factors));
            sum = sum + column3 * Batch(Splat<3>(factors));
            sum.store_unaligned(results[i].GetElements() + part * Batch::size);
        }
    }
}

template <class Arch>
constexpr SimdKernels MakeKernels(const char* name)
{
    return {name,
            &TestBlocks<Arch, FrustumQuery>,
            &TestBlocks<Arch, PrimAABB>,
            &TestBlocks<Arch, SphereQuery>,
            &Find<Arch, FrustumQuery>,
            &Find<Arch, PrimAABB>,
            &Find<Arch, SphereQuery>,
            &TransformBoxes<Arch>,
            &MultiplyMatrices<Arch>};
}

} // namespace
} // namespace collision
