#pragma once

#include "tamradeps/math/matrix.h"

#include <array>
#include <cstdint>

// How boxes and triangles get onto the screen of the occlusion culler.
//
// "Closeness" is the depth: greater is nearer, and it is linear on the screen for points of a plane. With perspective
// it is 1 / w, which orders the points of a line of sight whatever the depth range of the matrix; without it is the
// distance from the far plane.

namespace occlusion
{
/// Closeness at pixel (x, y): a * x + b * y + c.
struct ScreenPlane
{
    float a;
    float b;
    float c;
};

/// Rounding of coordinates and of depths is less than this share of the terms that they are summed of.
constexpr float kRounding = 1.0F / (1 << 20);

/// A view-projection made ready for one resolution. All positions are relative to `origin`, which lies at the eye: far
/// from the origin of the world their differences still are as good as the floats that they come from.
struct OcclusionView
{
    /// False when the matrix has no inverse or numbers that are not finite: then nothing can be said.
    bool Set(const CMatrix& viewProjection, int columns, int rows) noexcept;

    /// Whether corners listed counter-clockwise around a face that is seen are clockwise on the screen.
    bool mirrored;
    bool perspective;
    float width;
    float height;
    /// Limits of least x, -x, y, -y: in less numbers of single precision are not exact enough, more is out of sight.
    float leastExtent[4];
    float mostExtent[4];
    /// The last column twice, and the end of rows, for what begins; ends are limited from 0.
    float lastPlaces[4];
    float origin[3];
    /// Where the camera is said to be: it sees the boxes around it. Not changed by `Set`.
    float camera[3];
    /// By how many pixels shapes that hide are drawn smaller, and boxes that may be hidden larger.
    float margin;

    /// Functions of a position, four factors each. Pixel (x / w, y / w); `near` is negative in front of the near plane;
    /// `depth` is the closeness without perspective.
    struct Row
    {
        double exact[4];
        float factors[4];

        double At(const double* p) const { return exact[0] * p[0] + exact[1] * p[1] + exact[2] * p[2] + exact[3]; }
    };
    Row x;
    Row y;
    Row w;
    Row nearPlane;
    Row depth;
    /// How much rounding does to the last three: factors of the position's absolutes.
    float error[4];

    /// The plane where coordinate `axis` is `position`. Numbers that are not finite when seen from its edge.
    ScreenPlane GetPlane(int axis, float position) const noexcept
    {
        const float scale = perspective ? 1.0F / (position - eye[axis]) : 1.0F;
        const auto& f = axisPlanes;
        return {f[0][axis] * scale, f[1][axis] * scale, f[2][axis] * scale + f[3][axis] * position};
    }
    /// The plane through three points, likewise.
    ScreenPlane GetPlane(const double (&a)[3], const double (&b)[3], const double (&c)[3]) const noexcept;

    /// Which face of a box along the axis is seen: 0 none, 1 the lower, 2 the upper.
    int GetSeenFace(int axis, float low, float high) const noexcept
    {
        return eye[axis] < low ? 1 : eye[axis] > high ? 2 : 0;
    }

    /// Without perspective it is infinitely far away; an axis that it looks across has no number then.
    float eye[3];
    /// Of the plane across each axis: three factors of `scale` and one of the position.
    float axisPlanes[4][3];

private:
    bool i_Normalize() noexcept;
    bool i_SetOrigin() noexcept;
    bool i_SetPlanes() noexcept;
    ScreenPlane i_MakePlane(const double* q, double distance) const noexcept;

    double m_exactEye[3];
    double m_inverse[3][3]; // of the factors of x, y and w, or of x, y and depth
};

/// For each of the 27 ways to see a box (GetSeenFace of x + 3 y + 9 z) the corners of its outline, counter-clockwise.
/// Bits of a corner: 1 upper x, 2 upper y, 4 upper z.
struct BoxOutline
{
    std::uint8_t count;
    std::uint8_t corners[6];
};
extern const BoxOutline kBoxOutlines[27];

/// The same closed, for shuffling corners: from the last one on the first is repeated. The second list is clockwise.
struct BoxRing
{
    std::uint8_t count;
    std::uint8_t corners[2][9];
};
/// By the axes whose lower faces are seen (bits 0 to 2) and whose upper ones are (bits 3 to 5).
extern const std::array<BoxRing, 64> kBoxRings;

/// The four corners of a face (1 lower, 2 upper) along an axis, counter-clockwise as seen from outside.
const std::uint8_t* GetFaceCorners(int axis, int face) noexcept;
} // namespace occlusion
