#pragma once

#include "corvex/export.h"
#include "tamradeps/collision/primAABB.h"
#include "tamraengine/renderer/renderQueue.h"

#include <cstdint>
#include <span>
#include <vector>

/// Collects lines and boxes that a programmer wants to see for one frame: bounds, paths, contacts. Colours are
/// 0xAABBGGRR.
class CORVEX_API CAuxRenderer
{
public:
    void AddLine(CVector3 from, CVector3 to, std::uint32_t color);
    /// The twelve edges of the box.
    void AddBox(const collision::PrimAABB& box, std::uint32_t color);

    /// Two vertices for each line, valid until the next change.
    std::span<const RenderLineVertex> GetLines() const noexcept { return m_lines; }

    /// Forgets all lines and keeps the memory.
    void Clear() noexcept { m_lines.clear(); }

private:
    std::vector<RenderLineVertex> m_lines;
};
