#pragma once

#include "tamradeps/export.h"
#include "tamradeps/math/vector3.h"

/// A 4 x 4 matrix of floats for column vectors, stored column by column: elements 0-2 are the local X axis, 4-6 the
/// local Y axis, 8-10 the local Z axis, 12-14 the translation. The world is right-handed with Z up, and an object looks
/// along its local +X axis.
///
/// A child's world matrix is `parent * local`. Angles are radians. A new matrix is the identity.
class TAMRADEPS_API CMatrix
{
public:
    constexpr CMatrix() noexcept = default;
    /// Copies 16 floats in storage order.
    explicit CMatrix(const float* elements) noexcept;

    /// The 16 elements in storage order, valid as long as the matrix.
    constexpr const float* GetElements() const noexcept { return m_elements; }
    constexpr float* GetElements() noexcept { return m_elements; }

    /// Makes this `diagonal` times the identity.
    void Identity(float diagonal = 1.0F) noexcept;

    CVector3 Translation() const noexcept { return i_Axis(12); }
    CVector3 GetLocalX() const noexcept { return i_Axis(0); }
    CVector3 GetLocalY() const noexcept { return i_Axis(4); }
    CVector3 GetLocalZ() const noexcept { return i_Axis(8); }
    void SetTranslation(CVector3 v) noexcept { i_SetAxis(12, v); }
    void SetLocalX(CVector3 v) noexcept { i_SetAxis(0, v); }
    void SetLocalY(CVector3 v) noexcept { i_SetAxis(4, v); }
    void SetLocalZ(CVector3 v) noexcept { i_SetAxis(8, v); }

    /// Turns the local axes: about the fixed X axis by `x`, then Y by `y`, then Z by `z` (Rz * Ry * Rx).
    void RotateEuler(float x, float y, float z) noexcept;

    /// The angles that `RotateEuler` takes, of the matrix's rotation with its axes at length 1. At the poles (y at plus
    /// or minus a quarter turn) z is 0 and x takes all of the turn. Axes without length count as those of the identity.
    CVector3 GetEuler() const noexcept;

    /// Scales the local axes and leaves the translation.
    void Scale3(float x, float y, float z) noexcept;

    /// Where the matrix takes a point, and a direction (without the translation).
    CVector3 TransformPoint(CVector3 p) const noexcept;
    CVector3 TransformDirection(CVector3 d) const noexcept;

    /// The inverse; of a matrix that has none, the identity.
    CMatrix Inverse() const noexcept;

    /// Perspective projection to OpenGL's clip space (z from -1 to 1): vertical field of view in degrees, width over
    /// height, distances of the near and far plane. Any numbers are taken as they are.
    static CMatrix Projection(float fovDegrees, float aspect, float nearDistance, float farDistance) noexcept;

    /// World to view space (right +X, up +Y, looking along -Z) of an eye that looks at `target`. With a target at the
    /// eye or an `up` along the view, some right-angled frame is chosen.
    static CMatrix View(CVector3 eye, CVector3 target, CVector3 up) noexcept;

    /// Applies `b` first, then `a`.
    friend TAMRADEPS_API CMatrix operator*(const CMatrix& a, const CMatrix& b) noexcept;
    /// Compares element by element; -0 equals 0, a NaN equals nothing.
    friend TAMRADEPS_API bool operator==(const CMatrix& a, const CMatrix& b) noexcept;

private:
    CVector3 i_Axis(int first) const noexcept
    {
        return {m_elements[first], m_elements[first + 1], m_elements[first + 2]};
    }
    void i_SetAxis(int first, CVector3 v) noexcept
    {
        m_elements[first] = v.x;
        m_elements[first + 1] = v.y;
        m_elements[first + 2] = v.z;
    }

    float m_elements[16] = {1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1};
};
