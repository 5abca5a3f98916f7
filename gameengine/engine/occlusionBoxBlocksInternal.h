#pragma once

#include "tamradeps/collision/simdKernels.h"

#include <bit>
#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

/// Copies of a culler's boxes in the layout in which the frustum is tested quickest.
class COcclusionBoxBlocks
{
public:
    void Resize(std::size_t count)
    {
        m_count = count;
        m_blocks.resize((count + collision::BoxBlock::kBoxes - 1) / collision::BoxBlock::kBoxes);
    }
    void Set(std::size_t index, const collision::PrimAABB& box) noexcept
    {
        m_blocks[index / collision::BoxBlock::kBoxes].Set(index % collision::BoxBlock::kBoxes, box);
    }
    collision::PrimAABB Get(std::size_t index) const noexcept
    {
        return m_blocks[index / collision::BoxBlock::kBoxes].Get(index % collision::BoxBlock::kBoxes);
    }
    std::size_t GetCount() const noexcept { return m_count; }

    /// Bit i of mask b says whether `PrimFrustum::Test` is true for box 8 * b + i. Valid until the next call.
    std::span<const std::uint8_t> Test(const collision::PrimFrustum& frustum)
    {
        m_masks.resize(m_blocks.size());
        collision::SimdKernels::Get().testFrustum(frustum, m_blocks.data(), m_blocks.size(), m_masks.data());
        // The last block may have places without a box.
        if (const std::size_t rest = m_count % collision::BoxBlock::kBoxes; rest != 0)
            m_masks.back() &= static_cast<std::uint8_t>((1U << rest) - 1U);
        return m_masks;
    }

    /// The indices, ascending, of the boxes for which `PrimFrustum::Test` is true. Valid until the next call.
    std::span<const std::int32_t> Find(const collision::PrimFrustum& frustum)
    {
        m_found.resize(m_blocks.size() * collision::BoxBlock::kBoxes);
        Test(frustum);
        std::size_t found = 0;
        for (std::size_t block = 0; block < m_masks.size(); ++block)
        {
            for (unsigned mask = m_masks[block]; mask != 0; mask &= mask - 1)
                m_found[found++] = static_cast<std::int32_t>(block * collision::BoxBlock::kBoxes +
                                                             static_cast<std::size_t>(std::countr_zero(mask)));
        }
        return {m_found.data(), found};
    }

private:
    std::size_t m_count = 0;
    std::vector<collision::BoxBlock> m_blocks;
    std::vector<std::uint8_t> m_masks;
    std::vector<std::int32_t> m_found;
};
