#pragma once

#include "tamradeps/collision/primAABB.h"
#include "tamradeps/math/matrix.h"

#include <span>
#include <vector>

namespace test
{
/// Where a ray enters a box, in lengths of its direction and never before the start; infinity when it misses.
double HitBox(const collision::PrimAABB& box, CVector3 origin, CVector3 direction);

/// How many pixels of a picture each box shows in, when all boxes are solid: the ray through each pixel's centre, from
/// the near plane to the far one, shows the first box that it meets. The rays may be moved by parts of a pixel.
std::vector<int> CountShownPixels(std::span<const collision::PrimAABB> boxes, const CMatrix& projectionView, int width,
                                  int height, float offsetX = 0.0F, float offsetY = 0.0F);
} // namespace test
