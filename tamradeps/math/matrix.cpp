#include "tamradeps/math/matrix.h"

#include "tamradeps/math/angle.h"

#include <algorithm>
#include <cmath>
#include <cstring>

#include <glm/gtc/matrix_transform.hpp>
#include <glm/gtc/type_ptr.hpp>
#include <xsimd/xsimd.hpp>

namespace
{
using Column = xsimd::batch<float, xsimd::sse2>;

// One load and four of these are quicker than four loads of single floats.
template <int kLane>
Column Splat(__m128 values)
{
    return _mm_shuffle_ps(values, values, _MM_SHUFFLE(kLane, kLane, kLane, kLane));
}

glm::mat4 ToGlm(const CMatrix& m)
{
    return glm::make_mat4(m.GetElements());
}

CMatrix FromGlm(const glm::mat4& m)
{
    return CMatrix(glm::value_ptr(m));
}

// A direction across `axis`, for frames that their inputs leave open.
CVector3 SomePerpendicular(CVector3 axis)
{
    const CVector3 helper = std::abs(axis.z) < 0.9F ? CVector3(0, 0, 1) : CVector3(1, 0, 0);
    return axis.Cross(helper).Normalized();
}

// Turns the first column towards the second.
void Turn(glm::vec4& first, glm::vec4& second, float angle) noexcept
{
    const auto [sine, cosine] = GetSineAndCosine(angle);
    const glm::vec4 turned = first * cosine + second * sine;
    second = second * cosine - first * sine;
    first = turned;
}

CVector3 UnitOr(CVector3 v, CVector3 otherwise)
{
    const float length = v.Length();
    return length > 0.0F && std::isfinite(length) ? v * (1.0F / length) : otherwise;
}
} // namespace

CMatrix::CMatrix(const float* elements) noexcept
{
    std::memcpy(m_elements, elements, sizeof(m_elements));
}

void CMatrix::Identity(float diagonal) noexcept
{
    std::fill(std::begin(m_elements), std::end(m_elements), 0.0F);
    for (int i = 0; i < 16; i += 5)
        m_elements[i] = diagonal;
}

void CMatrix::RotateEuler(float x, float y, float z) noexcept
{
    glm::mat4 m = ToGlm(*this);
    Turn(m[0], m[1], z);
    Turn(m[2], m[0], y);
    Turn(m[1], m[2], x);
    *this = FromGlm(m);
}

CVector3 CMatrix::GetEuler() const noexcept
{
    const CVector3 localX = UnitOr(GetLocalX(), {1, 0, 0});
    const CVector3 localY = UnitOr(GetLocalY(), {0, 1, 0});
    const CVector3 localZ = UnitOr(GetLocalZ(), {0, 0, 1});
    const float cosY = std::hypot(localX.x, localX.y);
    const float z = cosY < 1e-6F ? 0.0F : std::atan2(localX.y, localX.x);
    // Near the poles z is mostly rounding error; x is read with that z taken back, which makes up for it.
    const float sinZ = std::sin(z);
    const float cosZ = std::cos(z);
    const float x = std::atan2(sinZ * localZ.x - cosZ * localZ.y, cosZ * localY.y - sinZ * localY.x);
    return {x, std::atan2(-localX.z, cosY), z};
}

void CMatrix::Scale3(float x, float y, float z) noexcept
{
    SetLocalX(GetLocalX() * x);
    SetLocalY(GetLocalY() * y);
    SetLocalZ(GetLocalZ() * z);
}

CVector3 CMatrix::TransformPoint(CVector3 p) const noexcept
{
    return TransformDirection(p) + Translation();
}

CVector3 CMatrix::TransformDirection(CVector3 d) const noexcept
{
    return GetLocalX() * d.x + GetLocalY() * d.y + GetLocalZ() * d.z;
}

CMatrix CMatrix::Inverse() const noexcept
{
    const glm::mat4 inverse = glm::inverse(ToGlm(*this));
    const CMatrix result = FromGlm(inverse);
    return std::all_of(std::begin(result.m_elements), std::end(result.m_elements),
                       [](float f) { return std::isfinite(f); })
               ? result
               : CMatrix();
}

CMatrix CMatrix::Projection(float fovDegrees, float aspect, float nearDistance, float farDistance) noexcept
{
    // Written out because glm asserts on an aspect of 0, which a minimised window has.
    const float f = 1.0F / std::tan(glm::radians(fovDegrees) * 0.5F);
    CMatrix m;
    m.Identity(0.0F);
    m.m_elements[0] = f / aspect;
    m.m_elements[5] = f;
    m.m_elements[10] = -(farDistance + nearDistance) / (farDistance - nearDistance);
    m.m_elements[11] = -1.0F;
    m.m_elements[14] = -(2.0F * farDistance * nearDistance) / (farDistance - nearDistance);
    return m;
}

CMatrix CMatrix::View(CVector3 eye, CVector3 target, CVector3 up) noexcept
{
    const CVector3 forward = UnitOr(target - eye, {1, 0, 0});
    // The product of nearly parallel vectors is mostly rounding error and need not be across the view.
    constexpr float kParallel = 1e-6F;
    CVector3 right = forward.Cross(UnitOr(up, {0, 0, 1}));
    right = right.Length() > kParallel ? right.Normalized() : SomePerpendicular(forward);
    right = (right - forward * right.Dot(forward)).Normalized();
    const CVector3 above = right.Cross(forward);
    CMatrix m;
    const CVector3 rows[3] = {right, above, forward * -1.0F};
    for (int row = 0; row < 3; ++row)
    {
        m.m_elements[row] = rows[row].x;
        m.m_elements[row + 4] = rows[row].y;
        m.m_elements[row + 8] = rows[row].z;
        m.m_elements[row + 12] = -rows[row].Dot(eye);
    }
    return m;
}

CMatrix operator*(const CMatrix& a, const CMatrix& b) noexcept
{
    Column columns[4];
    for (int k = 0; k < 4; ++k)
        columns[k] = Column::load_unaligned(a.m_elements + k * 4);
    CMatrix result;
    for (int column = 0; column < 4; ++column)
    {
        const __m128 factors = Column::load_unaligned(b.m_elements + column * 4);
        Column sum = columns[0] * Splat<0>(factors);
        sum = sum + columns[1] * Splat<1>(factors);
        sum = sum + columns[2] * Splat<2>(factors);
        sum = sum + columns[3] * Splat<3>(factors);
        sum.store_unaligned(result.m_elements + column * 4);
    }
    return result;
}

bool operator==(const CMatrix& a, const CMatrix& b) noexcept
{
    return std::equal(std::begin(a.m_elements), std::end(a.m_elements), std::begin(b.m_elements));
}
