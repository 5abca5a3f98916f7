#pragma once

#include <cmath>

/// Three 32-bit floats: a point, a direction or a size. Lengths are in world units, metres by convention.
class CVector3
{
public:
    float x = 0.0F;
    float y = 0.0F;
    float z = 0.0F;

    constexpr CVector3() noexcept = default;
    constexpr CVector3(float ax, float ay, float az) noexcept : x(ax), y(ay), z(az) {}

    friend constexpr CVector3 operator+(CVector3 a, CVector3 b) noexcept { return {a.x + b.x, a.y + b.y, a.z + b.z}; }
    friend constexpr CVector3 operator-(CVector3 a, CVector3 b) noexcept { return {a.x - b.x, a.y - b.y, a.z - b.z}; }
    friend constexpr CVector3 operator*(CVector3 a, float s) noexcept { return {a.x * s, a.y * s, a.z * s}; }
    friend constexpr CVector3 operator*(float s, CVector3 a) noexcept { return a * s; }
    friend constexpr bool operator==(CVector3 a, CVector3 b) noexcept = default;

    constexpr float Dot(CVector3 b) const noexcept { return x * b.x + y * b.y + z * b.z; }
    constexpr CVector3 Cross(CVector3 b) const noexcept
    {
        return {y * b.z - z * b.y, z * b.x - x * b.z, x * b.y - y * b.x};
    }
    float Length() const noexcept { return std::sqrt(Dot(*this)); }
    /// The vector at length 1; a vector without length, or not finite, is given back as it is.
    CVector3 Normalized() const noexcept
    {
        const float length = Length();
        return length > 0.0F && std::isfinite(length) ? *this * (1.0F / length) : *this;
    }
};
