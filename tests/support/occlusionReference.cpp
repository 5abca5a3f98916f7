#include "support/occlusionReference.h"

#include <algorithm>
#include <cstddef>
#include <limits>

namespace test
{
double HitBox(const collision::PrimAABB& box, CVector3 origin, CVector3 direction)
{
    const double from[3] = {origin.x, origin.y, origin.z};
    const double way[3] = {direction.x, direction.y, direction.z};
    double enter = 0;
    double leave = std::numeric_limits<double>::infinity();
    for (int axis = 0; axis < 3; ++axis)
    {
        const double low = box.GetFloats()[axis] - from[axis];
        const double high = box.GetFloats()[axis + 3] - from[axis];
        if (way[axis] == 0 && low <= 0 && high >= 0)
            continue;
        if (way[axis] == 0)
            return std::numeric_limits<double>::infinity();
        enter = std::max(enter, std::min(low / way[axis], high / way[axis]));
        leave = std::min(leave, std::max(low / way[axis], high / way[axis]));
    }
    return enter <= leave ? enter : std::numeric_limits<double>::infinity();
}

std::vector<int> CountShownPixels(std::span<const collision::PrimAABB> boxes, const CMatrix& projectionView, int width,
                                  int height, float offsetX, float offsetY)
{
    const CMatrix inverse = projectionView.Inverse();
    const auto unproject = [&](float x, float y, float z)
    {
        const float* m = inverse.GetElements();
        const float w = m[3] * x + m[7] * y + m[11] * z + m[15];
        return inverse.TransformPoint({x, y, z}) * (1.0F / w);
    };
    std::vector<int> shown(boxes.size());
    for (int y = 0; y < height; ++y)
    {
        for (int x = 0; x < width; ++x)
        {
            const float clipX = (static_cast<float>(x) + 0.5F + offsetX) * 2.0F / static_cast<float>(width) - 1.0F;
            const float clipY = (static_cast<float>(y) + 0.5F + offsetY) * 2.0F / static_cast<float>(height) - 1.0F;
            const CVector3 start = unproject(clipX, clipY, -1.0F);
            const CVector3 way = unproject(clipX, clipY, 1.0F) - start;
            double nearest = 1;
            std::size_t found = boxes.size();
            for (std::size_t i = 0; i < boxes.size(); ++i)
            {
                const double distance = HitBox(boxes[i], start, way);
                if (distance < nearest)
                {
                    nearest = distance;
                    found = i;
                }
            }
            if (found < boxes.size())
                ++shown[found];
        }
    }
    return shown;
}
} // namespace test
