#pragma once

#include "tamradeps/collision/primAABB.h"
#include "tamradeps/math/matrix.h"

#include <algorithm>
#include <cstddef>
#include <limits>
#include <span>
#include <vector>

namespace test
{
/// Where a ray enters a box, in lengths of its direction and never before the start; infinity when it misses.
inline float HitBox(const collision::PrimAABB& box, CVector3 origin, CVector3 direction)
{
    const float* values = box.GetFloats();
    const float from[3] = {origin.x, origin.y, origin.z};
    const float way[3] = {direction.x, direction.y, direction.z};
    float enter = 0.0F;
    float leave = std::numeric_limits<float>::infinity();
    for (int axis = 0; axis < 3; ++axis)
    {
        const float a = (values[axis] - from[axis]) / way[axis];
        const float b = (values[axis + 3] - from[axis]) / way[axis];
        enter = std::max(enter, std::min(a, b));
        leave = std::min(leave, std::max(a, b));
    }
    return enter <= leave ? enter : std::numeric_limits<float>::infinity();
}

/// How many pixels of a picture each box shows in, when all boxes are solid: the ray through each pixel's centre, from
/// the near plane to the far one, shows the first box that it meets. The rays may be moved by parts of a pixel.
inline std::vector<int> CountShownPixels(std::span<const collision::PrimAABB> boxes, const CMatrix& projectionView,
                                         int width, int height, float offsetX = 0.0F, float offsetY = 0.0F)
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
            float nearest = 1.0F;
            std::size_t found = boxes.size();
            for (std::size_t i = 0; i < boxes.size(); ++i)
            {
                const float distance = HitBox(boxes[i], start, way);
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
