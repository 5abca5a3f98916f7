#include "tamradeps/collision/primAABB.h"

#include <xsimd/xsimd.hpp>

namespace collision
{
void PrimAABB::TransformAABB(const PrimAABB& box, const CMatrix& matrix) noexcept
{
    using Column = xsimd::batch<float, xsimd::sse2>;
    const float* elements = matrix.GetElements();
    Column low = Column::load_unaligned(elements + 12);
    Column high = low;
    for (int axis = 0; axis < 3; ++axis)
    {
        const Column column = Column::load_unaligned(elements + axis * 4);
        const Column a = column * box.m_values[axis];
        const Column b = column * box.m_values[axis + 3];
        low = low + xsimd::min(a, b);
        high = high + xsimd::max(a, b);
    }
    alignas(16) float values[4];
    low.store_aligned(values);
    m_values[0] = values[0];
    m_values[1] = values[1];
    m_values[2] = values[2];
    high.store_aligned(values);
    m_values[3] = values[0];
    m_values[4] = values[1];
    m_values[5] = values[2];
}
} // namespace collision
