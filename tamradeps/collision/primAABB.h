#pragma once

#include "tamradeps/export.h"
#include "tamradeps/math/matrix.h"
#include "tamradeps/math/vector3.h"

namespace collision
{
/// An axis-aligned box: six floats, the smaller corner first. Tests are inclusive: boxes that touch overlap, a point on
/// a face is inside. A box with a NaN overlaps and holds nothing.
class TAMRADEPS_API PrimAABB
{
public:
    /// The box of the origin alone.
    constexpr PrimAABB() noexcept = default;
    constexpr PrimAABB(CVector3 minimum, CVector3 maximum) noexcept
        : m_values{minimum.x, minimum.y, minimum.z, maximum.x, maximum.y, maximum.z}
    {
    }
    /// Six floats: min x, min y, min z, max x, max y, max z.
    explicit PrimAABB(const float* values) noexcept
        : m_values{values[0], values[1], values[2], values[3], values[4], values[5]}
    {
    }

    void SetMinMax(CVector3 minimum, CVector3 maximum) noexcept { *this = PrimAABB(minimum, maximum); }

    constexpr CVector3 GetMin() const noexcept { return {m_values[0], m_values[1], m_values[2]}; }
    constexpr CVector3 GetMax() const noexcept { return {m_values[3], m_values[4], m_values[5]}; }
    constexpr CVector3 GetCenter() const noexcept { return (GetMin() + GetMax()) * 0.5F; }
    constexpr CVector3 GetSize() const noexcept { return GetMax() - GetMin(); }

    /// The six floats, min x to max z, valid as long as the box.
    constexpr const float* GetFloats() const noexcept { return m_values; }

    bool Test(const PrimAABB& other) const noexcept
    {
        return m_values[0] <= other.m_values[3] && m_values[3] >= other.m_values[0] &&
               m_values[1] <= other.m_values[4] && m_values[4] >= other.m_values[1] &&
               m_values[2] <= other.m_values[5] && m_values[5] >= other.m_values[2];
    }
    bool Test(CVector3 point) const noexcept
    {
        return point.x >= m_values[0] && point.x <= m_values[3] && point.y >= m_values[1] && point.y <= m_values[4] &&
               point.z >= m_values[2] && point.z <= m_values[5];
    }

    /// Makes this the axis-aligned box around `box` moved by `matrix`. The identity gives the same six numbers. The
    /// sides must be finite; "everywhere" is a box of large numbers.
    void TransformAABB(const PrimAABB& box, const CMatrix& matrix) noexcept;

    friend constexpr bool operator==(const PrimAABB&, const PrimAABB&) noexcept = default;

private:
    float m_values[6] = {};
};
} // namespace collision
