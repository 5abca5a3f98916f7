#pragma once

#include "tamradeps/core/refPtr.h"
#include "tamradeps/math/matrix.h"
#include "tamraengine/renderer/program.h"
#include "tamraengine/renderer/vertexCache.h"

#include <cstdint>
#include <span>
#include <vector>

/// One end of a coloured line in world space. `color` is 0xAABBGGRR: R, G, B, A bytes in memory order.
struct RenderLineVertex
{
    CVector3 position;
    std::uint32_t color = 0xFFFFFFFF;
};

/// What the subsystems hand to the renderer for one frame, in the order in which it was handed in.
class TAMRAENGINE_API CRenderQueue
{
public:
    /// Appends copies of the vertices, two for each line; an odd last vertex is left out.
    void AddLines(std::span<const RenderLineVertex> vertices);

    /// All line vertices so far, valid until the queue changes.
    std::span<const RenderLineVertex> GetLines() const noexcept { return m_lines; }

    /// Draws everything into what is bound, with its depth test and blending; the queue keeps it. Nothing without a
    /// device.
    void Render(renderer::CRenderer& renderer, const CMatrix& projectionView);

    /// Empties the queue and keeps its memory.
    void Clear() noexcept { m_lines.clear(); }

private:
    std::vector<RenderLineVertex> m_lines;
    std::vector<renderer::Vertex> m_vertices; // what of it goes to the device
    RefPtr<renderer::CProgram> m_program;
};
