#pragma once

#include "gameengine/engine/occlusionRasterInternal.h"

#include <bit>

#include <xsimd/xsimd.hpp>

#if defined(__GNUC__)
#define TAMRA_INLINE [[gnu::always_inline]] inline
#else
#define TAMRA_INLINE __forceinline
#endif

namespace occlusion
{
// The kernels are compiled once for each instruction set. All of them have internal linkage: of inline functions with
// one name the linker keeps any, and could give plain code one that is full of instructions the processor lacks.
namespace
{
/// Each 0 or 1.
struct MaskRelation
{
    int isFirstInSecond;
    int isSecondInFirst;
    int isAll; ///< Both together are the whole tile.
};

/// What differs by instruction set; the source of each defines its own:
/// Bits(outcome): bit i tells the outcome in lane i.
/// Spans(begins, ends, first): in row i, the bits from begins[i] - first to ends[i] - first that lie in the mask.
/// Extremes(a, b, c, d): the least of each of four times eight floats.
/// Unite(a, b, takesB, both): the pixels of two masks, and how they relate; unless `takesB` the second one is empty.
/// Load(from, out): out[j] is float j, up to 3, behind each of eight pointers.
/// Transpose(rows): lane j of row i becomes lane i of row j.
/// Permute(a, places): lane i is that of `a` at places[i].
/// StoreFour(a, to): the first four.
template <class Arch>
struct Target;

/// What is known of four sides.
using Four = xsimd::batch<float, xsimd::sse2>;

TAMRA_INLINE Four Lanes(float a, float b, float c, float d)
{
    const float lanes[4] = {a, b, c, d};
    return Four::load_unaligned(lanes);
}

/// Eight floats: the corners of a box, the edges of a polygon, rows of pixels, tiles of a row or boxes.
template <class Arch>
struct Eight
{
    using Batch = xsimd::batch<float, Arch>;
    static constexpr std::size_t kSize = Batch::size;
    static constexpr std::size_t kParts = 8 / kSize;

    Batch parts[kParts];

    TAMRA_INLINE Eight() = default;
    TAMRA_INLINE Eight(float value)
    {
        for (Batch& part : parts)
            part = Batch(value);
    }
    TAMRA_INLINE static Eight Load(const float* from)
    {
        Eight result;
        for (std::size_t i = 0; i < kParts; ++i)
            result.parts[i] = Batch::load_unaligned(from + i * kSize);
        return result;
    }
    TAMRA_INLINE void Store(float* to) const
    {
        for (std::size_t i = 0; i < kParts; ++i)
            parts[i].store_unaligned(to + i * kSize);
    }
    /// Rounds towards zero.
    TAMRA_INLINE void StoreIntegers(std::int32_t* to) const
    {
        for (std::size_t i = 0; i < kParts; ++i)
            xsimd::to_int(parts[i]).store_unaligned(to + i * kSize);
    }
    TAMRA_INLINE Eight Truncate() const
    {
        Eight result;
        for (std::size_t i = 0; i < kParts; ++i)
            result.parts[i] = xsimd::trunc(parts[i]);
        return result;
    }
    TAMRA_INLINE Eight Ceil() const
    {
        Eight result;
        for (std::size_t i = 0; i < kParts; ++i)
            result.parts[i] = xsimd::ceil(parts[i]);
        return result;
    }

    TAMRA_INLINE static Eight Apply(const Eight& a, const Eight& b, auto function)
    {
        Eight result;
        for (std::size_t i = 0; i < kParts; ++i)
            result.parts[i] = function(a.parts[i], b.parts[i]);
        return result;
    }
    TAMRA_INLINE friend Eight operator+(const Eight& a, const Eight& b)
    {
        return Apply(a, b, [](Batch x, Batch y) { return x + y; });
    }
    TAMRA_INLINE friend Eight operator-(const Eight& a, const Eight& b)
    {
        return Apply(a, b, [](Batch x, Batch y) { return x - y; });
    }
    TAMRA_INLINE friend Eight operator*(const Eight& a, const Eight& b)
    {
        return Apply(a, b, [](Batch x, Batch y) { return x * y; });
    }
    TAMRA_INLINE friend Eight operator/(const Eight& a, const Eight& b)
    {
        return Apply(a, b, [](Batch x, Batch y) { return x / y; });
    }
};

/// An outcome for each of the eight.
template <class Arch>
struct EightBools
{
    using E = Eight<Arch>;

    typename E::Batch::batch_bool_type parts[E::kParts];

    TAMRA_INLINE std::uint32_t Bits() const
    {
        std::uint32_t bits = 0;
        for (std::size_t i = 0; i < E::kParts; ++i)
            bits |= Target<Arch>::Bits(parts[i]) << (i * E::kSize);
        return bits;
    }
    TAMRA_INLINE friend EightBools operator&(const EightBools& a, const EightBools& b)
    {
        EightBools result;
        for (std::size_t i = 0; i < E::kParts; ++i)
            result.parts[i] = a.parts[i] & b.parts[i];
        return result;
    }
    TAMRA_INLINE friend EightBools operator|(const EightBools& a, const EightBools& b)
    {
        EightBools result;
        for (std::size_t i = 0; i < E::kParts; ++i)
            result.parts[i] = a.parts[i] | b.parts[i];
        return result;
    }
};

// Where either is NaN the second operand is the result.
template <class Arch>
TAMRA_INLINE Eight<Arch> Min(const Eight<Arch>& a, const Eight<Arch>& b)
{
    return Eight<Arch>::Apply(a, b, [](auto x, auto y) { return xsimd::min(x, y); });
}
template <class Arch>
TAMRA_INLINE Eight<Arch> Max(const Eight<Arch>& a, const Eight<Arch>& b)
{
    return Eight<Arch>::Apply(a, b, [](auto x, auto y) { return xsimd::max(x, y); });
}
template <class Arch>
TAMRA_INLINE Eight<Arch> Abs(const Eight<Arch>& a)
{
    return Eight<Arch>::Apply(a, a, [](auto x, auto) { return xsimd::abs(x); });
}
template <class Arch>
TAMRA_INLINE EightBools<Arch> LessOrEqual(const Eight<Arch>& a, const Eight<Arch>& b)
{
    EightBools<Arch> result;
    for (std::size_t i = 0; i < Eight<Arch>::kParts; ++i)
        result.parts[i] = a.parts[i] <= b.parts[i];
    return result;
}
template <class Arch>
TAMRA_INLINE EightBools<Arch> Less(const Eight<Arch>& a, const Eight<Arch>& b)
{
    EightBools<Arch> result;
    for (std::size_t i = 0; i < Eight<Arch>::kParts; ++i)
        result.parts[i] = a.parts[i] < b.parts[i];
    return result;
}
template <class Arch>
TAMRA_INLINE Eight<Arch> Select(const EightBools<Arch>& condition, const Eight<Arch>& a, const Eight<Arch>& b)
{
    Eight<Arch> result;
    for (std::size_t i = 0; i < Eight<Arch>::kParts; ++i)
        result.parts[i] = xsimd::select(condition.parts[i], a.parts[i], b.parts[i]);
    return result;
}

template <class Arch>
TAMRA_INLINE Eight<Arch> Permute(const Eight<Arch>& a, const std::uint8_t* places)
{
    return Target<Arch>::Permute(a, places);
}

/// The corners of eight boxes.
template <class Arch>
TAMRA_INLINE void LoadBoxes(const float* const (&boxes)[8], Eight<Arch> (&low)[3], Eight<Arch> (&high)[3])
{
    // The floats 0 to 3 of each box, and 2 to 5.
    Eight<Arch> front[4];
    Eight<Arch> back[4];
    const float* rest[8];
    for (int i = 0; i < 8; ++i)
        rest[i] = boxes[i] + 2;
    Target<Arch>::Load(boxes, front);
    Target<Arch>::Load(rest, back);
    for (int axis = 0; axis < 3; ++axis)
    {
        low[axis] = front[axis];
        high[axis] = axis == 0 ? front[3] : back[axis + 1];
    }
}

/// For each set of lanes (bit i for lane i) places for `Permute`, a byte each, which bring the set to the first places
/// or to the last ones. The other places repeat the first lane of the set.
struct PackTable
{
    constexpr PackTable()
    {
        for (std::uint32_t set = 0; set < 256; ++set)
        {
            const std::uint64_t first = set == 0 ? 0 : static_cast<std::uint64_t>(std::countr_zero(set));
            int count = 0;
            for (std::uint64_t lane = 0; lane < 8; ++lane)
            {
                if ((set >> lane & 1) == 0)
                    continue;
                front[set] |= lane << (8 * count);
                back[set] |= lane << (8 * (7 - count));
                ++count;
            }
            for (; count < 8; ++count)
            {
                front[set] |= first << (8 * count);
                back[set] |= first << (8 * (7 - count));
            }
        }
    }

    std::uint64_t front[256] = {};
    std::uint64_t back[256] = {};
};
constexpr PackTable kPackTable;

constexpr float kNumbers[8] = {0, 1, 2, 3, 4, 5, 6, 7};
} // namespace
} // namespace occlusion
