#include "gameengine/engine/occlusionViewInternal.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace occlusion
{
namespace
{
constexpr std::uint8_t kFaces[3][2][4] = {
    {{0, 4, 6, 2}, {1, 3, 7, 5}},
    {{0, 1, 5, 4}, {2, 6, 7, 3}},
    {{0, 2, 3, 1}, {4, 5, 7, 6}},
};

// The outline is made of the edges of seen faces that no other seen face runs along in the other direction.
constexpr BoxOutline MakeOutline(int way)
{
    int next[8] = {-1, -1, -1, -1, -1, -1, -1, -1};
    bool edges[8][8] = {};
    const int seen[3] = {way % 3, way / 3 % 3, way / 9};
    for (int axis = 0; axis < 3; ++axis)
    {
        for (int i = 0; seen[axis] != 0 && i < 4; ++i)
        {
            const auto& face = kFaces[axis][seen[axis] - 1];
            edges[face[i]][face[(i + 1) % 4]] = true;
        }
    }
    int start = -1;
    for (int a = 0; a < 8; ++a)
    {
        for (int b = 0; b < 8; ++b)
        {
            if (edges[a][b] && !edges[b][a])
            {
                next[a] = b;
                start = a;
            }
        }
    }
    BoxOutline outline = {};
    for (int corner = start; corner >= 0 && (outline.count == 0 || corner != start); corner = next[corner])
        outline.corners[outline.count++] = static_cast<std::uint8_t>(corner);
    return outline;
}

constexpr std::array<BoxRing, 64> MakeRings()
{
    std::array<BoxRing, 64> rings = {};
    for (int lower = 0; lower < 8; ++lower)
    {
        for (int upper = 0; upper < 8; ++upper)
        {
            if ((lower & upper) != 0)
                continue;
            int way = 0;
            for (int axis = 2; axis >= 0; --axis)
                way = way * 3 + ((lower >> axis) & 1) + ((upper >> axis) & 1) * 2;
            const BoxOutline outline = MakeOutline(way);
            BoxRing& ring = rings[static_cast<std::size_t>(lower + upper * 8)];
            ring.count = outline.count;
            for (int i = 0; i < 9; ++i)
            {
                const int place = i < outline.count ? i : 0;
                ring.corners[0][i] = outline.corners[place];
                ring.corners[1][i] = outline.count > 0 ? outline.corners[outline.count - 1 - place] : std::uint8_t{0};
            }
        }
    }
    return rings;
}

bool Invert(const double* const (&rows)[3], double (&inverse)[3][3])
{
    double size = 1.0;
    for (int row = 0; row < 3; ++row)
    {
        const double* a = rows[(row + 1) % 3];
        const double* b = rows[(row + 2) % 3];
        for (int i = 0; i < 3; ++i)
            inverse[i][row] = a[(i + 1) % 3] * b[(i + 2) % 3] - a[(i + 2) % 3] * b[(i + 1) % 3];
        size *= std::hypot(rows[row][0], rows[row][1], rows[row][2]);
    }
    double determinant = 0.0;
    for (int i = 0; i < 3; ++i)
        determinant += rows[0][i] * inverse[i][0];
    if (!(std::abs(determinant) > 1.0e-9 * size) || !std::isfinite(determinant))
        return false;
    for (auto& row : inverse)
    {
        for (double& element : row)
            element /= determinant;
    }
    return true;
}

double Determinant(const double* const (&rows)[3])
{
    double sum = 0.0;
    for (int i = 0; i < 3; ++i)
        sum += rows[0][i] * (rows[1][(i + 1) % 3] * rows[2][(i + 2) % 3] - rows[1][(i + 2) % 3] * rows[2][(i + 1) % 3]);
    return sum;
}

double Length(const OcclusionView::Row& row)
{
    return std::hypot(row.exact[0], row.exact[1], row.exact[2]);
}
} // namespace

constexpr BoxOutline kBoxOutlines[27] = {
    MakeOutline(0),  MakeOutline(1),  MakeOutline(2),  MakeOutline(3),  MakeOutline(4),  MakeOutline(5),
    MakeOutline(6),  MakeOutline(7),  MakeOutline(8),  MakeOutline(9),  MakeOutline(10), MakeOutline(11),
    MakeOutline(12), MakeOutline(13), MakeOutline(14), MakeOutline(15), MakeOutline(16), MakeOutline(17),
    MakeOutline(18), MakeOutline(19), MakeOutline(20), MakeOutline(21), MakeOutline(22), MakeOutline(23),
    MakeOutline(24), MakeOutline(25), MakeOutline(26)};

constexpr std::array<BoxRing, 64> kBoxRings = MakeRings();

const std::uint8_t* GetFaceCorners(int axis, int face) noexcept
{
    return kFaces[axis][face - 1];
}

bool OcclusionView::Set(const CMatrix& viewProjection, int columns, int rows) noexcept
{
    const float* elements = viewProjection.GetElements();
    if (!std::all_of(elements, elements + 16, [](float element) { return std::abs(element) < 1.0e15F; }))
        return false;
    width = static_cast<float>(columns);
    height = static_cast<float>(rows);
    const float least[4] = {-width, -2.0F * width, -height, -2.0F * height};
    const float most[4] = {width, 0.0F, height, 0.0F};
    const float last[4] = {width - 1.0F, width - 1.0F, height, 0.0F};
    std::copy_n(least, 4, leastExtent);
    std::copy_n(most, 4, mostExtent);
    std::copy_n(last, 4, lastPlaces);
    for (int i = 0; i < 4; ++i)
    {
        const float* column = elements + i * 4;
        const double wFactor = column[3];
        x.exact[i] = (column[0] + wFactor) * 0.5 * columns;
        y.exact[i] = (column[1] + wFactor) * 0.5 * rows;
        w.exact[i] = wFactor;
        nearPlane.exact[i] = column[2] + wFactor;
        depth.exact[i] = wFactor - column[2];
    }
    perspective = w.exact[0] != 0.0 || w.exact[1] != 0.0 || w.exact[2] != 0.0;
    if (!perspective && !i_Normalize())
        return false;
    const double* const factors[3] = {x.exact, y.exact, perspective ? w.exact : depth.exact};
    if (!Invert(factors, m_inverse))
        return false;
    // Seen along a line of sight, w grows into the picture and the depth out of it.
    mirrored = (Determinant(factors) > 0.0) == perspective;
    return i_SetOrigin() && i_SetPlanes();
}

bool OcclusionView::i_Normalize() noexcept
{
    const double scale = w.exact[3];
    if (!(scale > 0.0))
        return false;
    for (Row* row : {&x, &y, &w, &nearPlane, &depth})
    {
        for (double& factor : row->exact)
            factor /= scale;
    }
    return true;
}

bool OcclusionView::i_SetOrigin() noexcept
{
    const Row& last = perspective ? w : depth;
    const double rest[3] = {x.exact[3], y.exact[3], last.exact[3]};
    double exactOrigin[3];
    for (int i = 0; i < 3; ++i)
    {
        const double place = -(m_inverse[i][0] * rest[0] + m_inverse[i][1] * rest[1] + m_inverse[i][2] * rest[2]);
        if (!(std::abs(place) < 1.0e15))
            return false;
        origin[i] = static_cast<float>(place);
        exactOrigin[i] = origin[i];
        m_exactEye[i] = place - exactOrigin[i];
        const double across = m_inverse[i][2];
        const float sign = static_cast<float>((across > 0.0) - (across < 0.0));
        eye[i] = perspective ? static_cast<float>(m_exactEye[i]) : sign * std::numeric_limits<float>::infinity();
    }
    for (Row* row : {&x, &y, &w, &nearPlane, &depth})
    {
        row->exact[3] = row->At(exactOrigin);
        for (int i = 0; i < 4; ++i)
            row->factors[i] = static_cast<float>(row->exact[i]);
    }
    for (int i = 0; i < 4; ++i)
        error[i] =
            std::max({std::abs(w.factors[i]), std::abs(nearPlane.factors[i]), std::abs(depth.factors[i])}) * kRounding;
    return true;
}

bool OcclusionView::i_SetPlanes() noexcept
{
    double share = 0.0;
    if (perspective)
        share = (Length(x) + Length(y) + (width + height) * Length(w)) / Length(w);
    else
    {
        double extent = 0.0; // of what is in the picture, in the world
        const double sizes[3] = {width, height, 2.0};
        for (int i = 0; i < 3; ++i)
            extent += std::hypot(m_inverse[0][i], m_inverse[1][i], m_inverse[2][i]) * sizes[i];
        share = (Length(x) + Length(y)) * extent;
    }
    margin = static_cast<float>(1.0 / 64 + share * kRounding);
    for (int axis = 0; axis < 3; ++axis)
    {
        const double* q = m_inverse[axis];
        const ScreenPlane plane = i_MakePlane(q, perspective ? 1.0 : 0.0);
        axisPlanes[0][axis] = plane.a;
        axisPlanes[1][axis] = plane.b;
        axisPlanes[2][axis] = plane.c;
        axisPlanes[3][axis] = perspective ? 0.0F : static_cast<float>(1.0 / q[2]);
    }
    return margin < 64.0F;
}

// The points of a plane are p = eye + w * inverse * (x, y, 1), or inverse * ((x, y, depth) - what the rows give at the
// origin). `q` is normal * inverse, `distance` what the product of normal and point is, seen from the eye.
ScreenPlane OcclusionView::i_MakePlane(const double* q, double distance) const noexcept
{
    if (perspective)
    {
        return {static_cast<float>(q[0] / distance), static_cast<float>(q[1] / distance),
                static_cast<float>(q[2] / distance)};
    }
    const double start = distance + q[0] * x.exact[3] + q[1] * y.exact[3];
    return {static_cast<float>(-q[0] / q[2]), static_cast<float>(-q[1] / q[2]),
            static_cast<float>(depth.exact[3] + start / q[2])};
}

ScreenPlane OcclusionView::GetPlane(const double (&a)[3], const double (&b)[3], const double (&c)[3]) const noexcept
{
    double normal[3];
    double distance = 0.0;
    for (int i = 0; i < 3; ++i)
    {
        const int j = (i + 1) % 3;
        const int k = (i + 2) % 3;
        normal[i] = (b[j] - a[j]) * (c[k] - a[k]) - (b[k] - a[k]) * (c[j] - a[j]);
        distance += normal[i] * (a[i] - (perspective ? m_exactEye[i] : 0.0));
    }
    double q[3];
    for (int i = 0; i < 3; ++i)
        q[i] = normal[0] * m_inverse[0][i] + normal[1] * m_inverse[1][i] + normal[2] * m_inverse[2][i];
    return i_MakePlane(q, distance);
}
} // namespace occlusion
