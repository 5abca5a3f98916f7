#pragma once

#include "tamradeps/collision/primAABB.h"
#include "tamraengine/renderer/renderState.h"
#include "tamraengine/renderer/vertexCache.h"

#include <array>
#include <cstddef>

namespace renderer
{
class CProgram;
class CRenderer;
} // namespace renderer

namespace occlusion
{
inline constexpr std::size_t kBoxVertices = 36;

/// The twelve triangles of a box, white.
std::array<renderer::Vertex, kBoxVertices> MakeBoxVertices(const collision::PrimAABB& box) noexcept;

/// A box larger by one unit on every side. A camera outside of it is farther from the box itself than a usual near
/// plane, which thus cuts nothing off.
collision::PrimAABB Grow(const collision::PrimAABB& box) noexcept;

/// A program that moves vertices by the matrix "projectionView" and writes no colour. Null and one log line when the
/// device refuses it.
RefPtr<renderer::CProgram> CreateQueryProgram(renderer::CRenderer& renderer);
/// The same for the box from 0 to 1, which it stretches from "low" to "high".
RefPtr<renderer::CProgram> CreateUnitQueryProgram(renderer::CRenderer& renderer);

/// Sets what queries are drawn with: both sides, compared with the depth that is there, writing nothing.
void SetQueryState(renderer::CRenderState& state);
} // namespace occlusion
