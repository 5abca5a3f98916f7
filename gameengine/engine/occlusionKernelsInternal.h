#pragma once

#include "gameengine/engine/occlusionDrawKernelsInternal.h"
#include "gameengine/engine/occlusionPolygonKernelsInternal.h"
#include "gameengine/engine/occlusionTestKernelsInternal.h"

namespace occlusion
{
namespace
{
template <class Arch>
constexpr OcclusionKernels MakeKernels(const char* name)
{
    return {name, &MakeBoxes<Arch>, &MakePolygon<Arch>, &Draw<Arch>, &KeepVisible<Arch>};
}
} // namespace
} // namespace occlusion
