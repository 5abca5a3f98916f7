#include "tools/soak/boxes.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <limits>

namespace soak
{
namespace
{
constexpr float kInfinity = std::numeric_limits<float>::infinity();

struct Ray
{
    CVector3 start;
    CVector3 way;
};

Ray MakeRay(const CMatrix& inverse, float x, float y)
{
    const auto unproject = [&](float z)
    {
        const float* m = inverse.GetElements();
        return inverse.TransformPoint({x, y, z}) * (1.0F / (m[3] * x + m[7] * y + m[11] * z + m[15]));
    };
    const CVector3 start = unproject(-1.0F);
    return {start, unproject(1.0F) - start};
}

std::size_t FindFirst(std::span<const collision::PrimAABB> boxes, const Ray& ray)
{
    std::size_t found = boxes.size();
    float nearest = 1.0F;
    for (std::size_t i = 0; i < boxes.size(); ++i)
    {
        const float entry = GetEntry(boxes[i], ray.start, ray.way);
        if (entry < nearest)
        {
            nearest = entry;
            found = i;
        }
    }
    return found;
}
} // namespace

float GetDistance(const collision::PrimAABB& box, CVector3 point)
{
    const CVector3 low = box.GetMin() - point;
    const CVector3 high = point - box.GetMax();
    return CVector3(std::max({low.x, high.x, 0.0F}), std::max({low.y, high.y, 0.0F}), std::max({low.z, high.z, 0.0F}))
        .Length();
}

float GetEntry(const collision::PrimAABB& box, CVector3 origin, CVector3 direction, float margin)
{
    const float* values = box.GetFloats();
    const float from[] = {origin.x, origin.y, origin.z};
    const float way[] = {direction.x, direction.y, direction.z};
    float enter = 0.0F;
    float leave = kInfinity;
    for (int axis = 0; axis < 3; ++axis)
    {
        const float a = (values[axis] - margin - from[axis]) / way[axis];
        const float b = (values[axis + 3] + margin - from[axis]) / way[axis];
        enter = std::max(enter, std::min(a, b));
        leave = std::min(leave, std::max(a, b));
    }
    return enter <= leave ? enter : kInfinity;
}

std::vector<bool> FindShown(std::span<const collision::PrimAABB> boxes, const CMatrix& projectionView, int width,
                            int height)
{
    const CMatrix inverse = projectionView.Inverse();
    const float pixelX = 2.0F / static_cast<float>(width);
    const float pixelY = 2.0F / static_cast<float>(height);
    std::vector<bool> shown(boxes.size());
    for (int y = 0; y < height; ++y)
    {
        for (int x = 0; x < width; ++x)
        {
            const float clipX = (static_cast<float>(x) + 0.5F) * pixelX - 1.0F;
            const float clipY = (static_cast<float>(y) + 0.5F) * pixelY - 1.0F;
            const std::size_t found = FindFirst(boxes, MakeRay(inverse, clipX, clipY));
            if (found == boxes.size() || shown[found])
                continue;
            bool isCertain = true;
            for (const float side : {-0.01F, 0.01F})
            {
                for (const float end : {-0.01F, 0.01F})
                    isCertain = isCertain && FindFirst(boxes, MakeRay(inverse, clipX + side * pixelX,
                                                                      clipY + end * pixelY)) == found;
            }
            shown[found] = isCertain;
        }
    }
    return shown;
}
} // namespace soak
