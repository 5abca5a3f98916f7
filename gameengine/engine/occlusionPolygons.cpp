#include "gameengine/engine/occlusionPolygonsInternal.h"

#include <algorithm>
#include <cmath>

namespace occlusion
{
namespace
{
struct Point
{
    double values[3];
};

/// A corner as the rows of the view give it; after the projection x and y are pixels.
struct Corner
{
    double x;
    double y;
    double w;
    double distance; ///< From the near plane.
    double closeness;
};

constexpr double kLeastW = 1.0e-12;

Corner Mix(const Corner& a, const Corner& b, double share)
{
    const auto mix = [share](double from, double to) { return from + (to - from) * share; };
    return {mix(a.x, b.x), mix(a.y, b.y), mix(a.w, b.w), mix(a.distance, b.distance), mix(a.closeness, b.closeness)};
}

/// A convex polygon that is cut down until it can be drawn.
class Outline
{
public:
    Outline(const OcclusionView& view, const Point* points, int count) : m_view(view), m_count(count)
    {
        for (int i = 0; i < count; ++i)
        {
            const double* p = points[i].values;
            m_corners[i] = {view.x.At(p), view.y.At(p), view.w.At(p), view.nearPlane.At(p), view.depth.At(p)};
        }
    }

    bool IsInFront() const
    {
        return std::all_of(m_corners, m_corners + m_count,
                           [](const Corner& corner) { return corner.distance > 0.0 && corner.w > kLeastW; });
    }

    /// False when nothing is left.
    bool Project()
    {
        if (!IsInFront())
        {
            Clip([](const Corner& corner) { return corner.distance; });
            Clip([](const Corner& corner) { return corner.w - kLeastW; });
        }
        for (int i = 0; i < m_count; ++i)
        {
            Corner& corner = m_corners[i];
            corner.x /= corner.w;
            corner.y /= corner.w;
            if (m_view.perspective)
                corner.closeness = 1.0 / corner.w;
        }
        return m_count >= 3;
    }

    /// Of a projected one: positive when counter-clockwise.
    double GetTurn(int corner) const
    {
        const Corner& a = m_corners[(corner + m_count - 1) % m_count];
        const Corner& b = m_corners[corner];
        const Corner& c = m_corners[(corner + 1) % m_count];
        return (b.x - a.x) * (c.y - b.y) - (b.y - a.y) * (c.x - b.x);
    }

    bool IsConvex() const
    {
        int left = 0;
        int right = 0;
        for (int i = 0; i < m_count; ++i)
        {
            left += GetTurn(i) > 0.0;
            right += GetTurn(i) < 0.0;
        }
        return left == m_count || right == m_count;
    }

    /// Cuts what reaches farther out of the screen than numbers of single precision are exact enough for.
    bool Finish(const ScreenPlane* planes, int planeCount, PolygonCorners& out)
    {
        const double width = m_view.width;
        const double height = m_view.height;
        Clip([=](const Corner& corner) { return corner.x + width; });
        Clip([=](const Corner& corner) { return 2.0 * width - corner.x; });
        Clip([=](const Corner& corner) { return corner.y + height; });
        Clip([=](const Corner& corner) { return 2.0 * height - corner.y; });
        while (m_count > OcclusionPolygon::kEdges)
            DropFlattest();
        if (m_count < 3)
            return false;
        const bool turned = GetArea() < 0.0;
        double farthest = m_corners[0].closeness;
        double nearest = farthest;
        for (int i = 0; i < m_count; ++i)
        {
            const Corner& corner = m_corners[turned ? m_count - 1 - i : i];
            out.x[i] = static_cast<float>(corner.x);
            out.y[i] = static_cast<float>(corner.y);
            farthest = std::min(farthest, corner.closeness);
            nearest = std::max(nearest, corner.closeness);
        }
        out.count = m_count;
        out.farthest = static_cast<float>(farthest);
        out.nearest = static_cast<float>(nearest);
        std::copy_n(planes, planeCount, out.planes);
        out.planeCount = planeCount;
        return true;
    }

private:
    // Each of the six cuts adds one corner at most.
    static constexpr int kMostCorners = 12;

    template <class Distance>
    void Clip(Distance distance)
    {
        Corner kept[kMostCorners + 1];
        int count = 0;
        for (int i = 0; i < m_count && count < kMostCorners; ++i)
        {
            const Corner& a = m_corners[i];
            const Corner& b = m_corners[(i + 1) % m_count];
            const double atA = distance(a);
            const double atB = distance(b);
            if (atA >= 0.0)
                kept[count++] = a;
            if ((atA >= 0.0) != (atB >= 0.0))
                kept[count++] = Mix(a, b, atA / (atA - atB));
        }
        m_count = std::min(count, kMostCorners);
        std::copy_n(kept, m_count, m_corners);
    }

    /// What is left lies inside.
    void DropFlattest()
    {
        int flattest = 0;
        for (int i = 1; i < m_count; ++i)
        {
            if (std::abs(GetTurn(i)) < std::abs(GetTurn(flattest)))
                flattest = i;
        }
        std::copy(m_corners + flattest + 1, m_corners + m_count, m_corners + flattest);
        --m_count;
    }

    double GetArea() const
    {
        double sum = 0.0;
        for (int i = 1; i + 1 < m_count; ++i)
        {
            const Corner& a = m_corners[0];
            const Corner& b = m_corners[i];
            const Corner& c = m_corners[i + 1];
            sum += (b.x - a.x) * (c.y - a.y) - (b.y - a.y) * (c.x - a.x);
        }
        return sum;
    }

    const OcclusionView& m_view;
    Corner m_corners[kMostCorners];
    int m_count;
};

int Add(const OcclusionView& view, const OcclusionKernels& kernels, Outline& outline, const ScreenPlane* planes,
        int planeCount, OcclusionPolygon& polygon)
{
    PolygonCorners corners;
    return outline.Finish(planes, planeCount, corners) && kernels.makePolygon(view, corners, polygon) ? 1 : 0;
}
} // namespace

int AddDifficultBox(const OcclusionView& view, const OcclusionKernels& kernels, const float* box,
                    OcclusionPolygon* polygons)
{
    // The corners are those that the fast way sees, rounded as there: planes and outline must agree.
    Point points[8];
    int seen[3];
    ScreenPlane planes[3];
    int planeCount = 0;
    for (int axis = 0; axis < 3; ++axis)
    {
        const float low = box[axis] - view.origin[axis];
        const float high = box[axis + 3] - view.origin[axis];
        for (int i = 0; i < 8; ++i)
            points[i].values[axis] = i >> axis & 1 ? high : low;
        seen[axis] = view.GetSeenFace(axis, low, high);
        if (seen[axis] != 0)
            planes[planeCount++] = view.GetPlane(axis, seen[axis] == 1 ? low : high);
    }
    Point corners[6];
    if (Outline(view, points, 8).IsInFront())
    {
        const BoxOutline& indices = kBoxOutlines[seen[0] + 3 * seen[1] + 9 * seen[2]];
        for (int i = 0; i < indices.count; ++i)
            corners[i] = points[indices.corners[i]];
        Outline outline(view, corners, indices.count);
        return outline.Project() ? Add(view, kernels, outline, planes, planeCount, *polygons) : 0;
    }
    int count = 0;
    planeCount = 0;
    for (int axis = 0; axis < 3; ++axis)
    {
        if (seen[axis] == 0)
            continue;
        const ScreenPlane& plane = planes[planeCount++];
        const std::uint8_t* indices = GetFaceCorners(axis, seen[axis]);
        for (int i = 0; i < 4; ++i)
            corners[i] = points[indices[i]];
        Outline outline(view, corners, 4);
        if (outline.Project())
            count += Add(view, kernels, outline, &plane, 1, polygons[count]);
    }
    return count;
}

int AddPrimitive(const OcclusionView& view, const OcclusionKernels& kernels, const OcclusionPrimitive& primitive,
                 OcclusionPolygon* polygons)
{
    Point points[4];
    for (int i = 0; i < primitive.count; ++i)
    {
        const CVector3 corner = primitive.corners[i];
        const float values[3] = {corner.x, corner.y, corner.z};
        for (int axis = 0; axis < 3; ++axis)
        {
            if (!(std::abs(values[axis]) < 1.0e15F))
                return 0;
            points[i].values[axis] = double{values[axis]} - double{view.origin[axis]};
        }
    }
    ScreenPlane planes[2];
    const int planeCount = primitive.count - 2;
    for (int i = 0; i < planeCount; ++i)
        planes[i] = view.GetPlane(points[0].values, points[i + 1].values, points[i + 2].values);
    Outline whole(view, points, primitive.count);
    if (planeCount == 2 && whole.IsInFront() && whole.Project() && whole.IsConvex())
        return Add(view, kernels, whole, planes, 2, *polygons);
    int count = 0;
    for (int i = 0; i < planeCount; ++i)
    {
        const Point corners[3] = {points[0], points[i + 1], points[i + 2]};
        Outline outline(view, corners, 3);
        if (outline.Project())
            count += Add(view, kernels, outline, &planes[i], 1, polygons[count]);
    }
    return count;
}
} // namespace occlusion
