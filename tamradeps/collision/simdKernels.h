#pragma once

#include "tamradeps/collision/primAABB.h"
#include "tamradeps/collision/primFrustum.h"
#include "tamradeps/export.h"

#include <cstddef>
#include <cstdint>
#include <span>

namespace collision
{
/// Eight boxes side by side, the layout in which tests are quickest: the min x of all eight, then their min y, min z,
/// max x, max y and max z. As it is made it holds what was in memory; a test of a place without a box says something
/// without meaning, to be masked out.
struct alignas(32) BoxBlock
{
    static constexpr std::size_t kBoxes = 8;

    float values[6][kBoxes];

    void Set(std::size_t index, const PrimAABB& box) noexcept
    {
        for (std::size_t row = 0; row < 6; ++row)
            values[row][index] = box.GetFloats()[row];
    }
    PrimAABB Get(std::size_t index) const noexcept
    {
        return {{values[0][index], values[1][index], values[2][index]},
                {values[3][index], values[4][index], values[5][index]}};
    }
};

/// A frustum made ready for the tests of many boxes. Worth keeping for as long as the frustum is asked about: making it
/// costs about as much as testing ten boxes.
struct TAMRADEPS_API FrustumQuery
{
    FrustumQuery(const PrimFrustum& frustum) noexcept;

    /// A plane with what its test reads from a block.
    struct Plane
    {
        float normal[3];
        float distance;
        /// Where in a BoxBlock, in bytes, the coordinates of the corner farthest along the normal begin.
        std::uint32_t farRows[3];
    };
    /// The planes that drop most boxes come first.
    Plane planes[6];
};

/// All points up to `radius` from `center`. A box is found when the square of its distance is at most the square of the
/// radius; with a NaN on either side it is not.
struct SphereQuery
{
    CVector3 center;
    float radius = 0.0F;
};

/// Work on many boxes and matrices at once, in the widest vector instructions that the processor has. Keep the
/// reference that `Get` returns: a call through it costs as much as a virtual one. The results are the same to the last
/// bit on every set, and those of PrimFrustum::Test, PrimAABB::Test, PrimAABB::TransformAABB and the product of
/// matrices.
struct SimdKernels
{
    /// The best set of this processor, chosen once at start. Any thread, any time.
    TAMRADEPS_API static const SimdKernels& Get() noexcept;
    /// Every set that this processor and its operating system can run, the plainest first.
    TAMRADEPS_API static std::span<const SimdKernels* const> GetAll() noexcept;

    /// "sse2", "avx2" or "avx512".
    const char* name;

    /// Blocks: bit i of masks[b] says whether box i of block b passes. Writes `count` masks.
    void (*testFrustum)(const FrustumQuery& query, const BoxBlock* blocks, std::size_t count, std::uint8_t* masks);
    void (*testBox)(const PrimAABB& query, const BoxBlock* blocks, std::size_t count, std::uint8_t* masks);
    void (*testSphere)(const SphereQuery& query, const BoxBlock* blocks, std::size_t count, std::uint8_t* masks);

    /// Boxes in a row: write the indices of those that pass, in order, and return their number. `found` has room for
    /// `count` indices; elements behind the last index that was found may be overwritten up to there.
    std::size_t (*findInFrustum)(const FrustumQuery& query, const PrimAABB* boxes, std::size_t count,
                                 std::uint32_t* found);
    std::size_t (*findInBox)(const PrimAABB& query, const PrimAABB* boxes, std::size_t count, std::uint32_t* found);
    std::size_t (*findInSphere)(const SphereQuery& query, const PrimAABB* boxes, std::size_t count,
                                std::uint32_t* found);

    /// results[i] is the box around boxes[i] moved by matrices[i]. `results` may be `boxes`.
    void (*transformBoxes)(const CMatrix* matrices, const PrimAABB* boxes, PrimAABB* results, std::size_t count);
    /// results[i] = a[i] * b[i]. `results` may be `a` or `b`.
    void (*multiplyMatrices)(const CMatrix* a, const CMatrix* b, CMatrix* results, std::size_t count);
};
} // namespace collision
