#pragma once

#include "tamradeps/collision/primAABB.h"
#include "tamradeps/export.h"
#include "tamradeps/math/matrix.h"

namespace collision
{
/// The six planes around what a camera sees.
class TAMRADEPS_API PrimFrustum
{
public:
    /// A frustum that holds everything.
    PrimFrustum() noexcept { m_projectionView.Identity(0.0F); }

    /// From `projection * view` with OpenGL clip space (z from -1 to 1).
    explicit PrimFrustum(const CMatrix& projectionView) noexcept { Set(projectionView); }
    void Set(const CMatrix& projectionView) noexcept;

    /// False only when the box lies wholly outside one of the planes: no box that is inside is dropped, and one that is
    /// outside near a corner may be kept. Boxes that touch a plane are kept.
    bool Test(const PrimAABB& box) const noexcept;

    /// True when the point is inside or on a plane.
    bool Test(CVector3 point) const noexcept;

    /// Plane 0 to 5 (left, right, bottom, top, near, far) as four floats a, b, c, d, not normalised;
    /// a * x + b * y + c * z + d is negative outside.
    const float* GetPlane(int index) const noexcept { return m_planes[index]; }

    /// The matrix that the planes were made from; the zero matrix for a frustum that holds everything.
    const CMatrix& GetProjectionView() const noexcept { return m_projectionView; }
    bool HoldsEverything() const noexcept { return m_holdsEverything; }

private:
    float m_planes[6][4] = {};
    bool m_holdsEverything = true;
    CMatrix m_projectionView;
};
} // namespace collision
