#pragma once

#include "tamradeps/collision/primAABB.h"
#include "tamradeps/math/matrix.h"

#include <span>
#include <vector>

namespace soak
{
/// From a point to the nearest point of a box, 0 inside.
float GetDistance(const collision::PrimAABB& box, CVector3 point);
/// Where a ray enters a box that is larger by `margin` on all sides, in lengths of its direction, never before the
/// start; infinity when it misses.
float GetEntry(const collision::PrimAABB& box, CVector3 origin, CVector3 direction, float margin = 0.0F);

/// Whether each box shows in a picture of so many pixels when all are solid, however the pixels' corners are rounded:
/// the rays through a spot of a fiftieth of a pixel's width all hit it first.
std::vector<bool> FindShown(std::span<const collision::PrimAABB> boxes, const CMatrix& projectionView, int width,
                            int height);
} // namespace soak
