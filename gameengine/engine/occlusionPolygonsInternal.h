#pragma once

#include "gameengine/engine/occlusionRasterInternal.h"
#include "tamradeps/math/vector3.h"

namespace occlusion
{
/// A triangle, or two triangles 0 1 2 and 0 2 3 with a common side.
struct OcclusionPrimitive
{
    CVector3 corners[4];
    int count;
};

// The way for what is not in front of the eye as a whole: exact, clipped, and slower. Both return the number of
// polygons that they made.

int AddDifficultBox(const OcclusionView& view, const OcclusionKernels& kernels, const float* box,
                    OcclusionPolygon* polygons);
int AddPrimitive(const OcclusionView& view, const OcclusionKernels& kernels, const OcclusionPrimitive& primitive,
                 OcclusionPolygon* polygons);
} // namespace occlusion
