#include "tamradeps/collision/primFrustum.h"

namespace collision
{
void PrimFrustum::Set(const CMatrix& projectionView) noexcept
{
    m_projectionView = projectionView;
    m_holdsEverything = false;
    const float* m = projectionView.GetElements();
    for (int plane = 0; plane < 6; ++plane)
    {
        const int row = plane / 2;
        const float sign = plane % 2 == 0 ? 1.0F : -1.0F;
        for (int column = 0; column < 4; ++column)
            m_planes[plane][column] = m[column * 4 + 3] + sign * m[column * 4 + row];
    }
}

bool PrimFrustum::Test(const PrimAABB& box) const noexcept
{
    const float* values = box.GetFloats();
    for (const auto& plane : m_planes)
    {
        // The corner farthest along the plane's normal.
        float distance = plane[3];
        for (int axis = 0; axis < 3; ++axis)
            distance += plane[axis] * values[plane[axis] >= 0.0F ? axis + 3 : axis];
        if (distance < 0.0F)
            return false;
    }
    return true;
}

bool PrimFrustum::Test(CVector3 point) const noexcept
{
    return Test(PrimAABB(point, point));
}
} // namespace collision
