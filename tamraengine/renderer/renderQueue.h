#pragma once

#include "tamradeps/math/vector3.h"
#include "tamraengine/export.h"

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

    /// Empties the queue and keeps its memory.
    void Clear() noexcept { m_lines.clear(); }

private:
    std::vector<RenderLineVertex> m_lines;
};
