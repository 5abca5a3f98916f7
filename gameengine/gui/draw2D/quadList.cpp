#include "gameengine/gui/draw2D/quadListInternal.h"

namespace gui
{
void CQuadList::i_OpenTextured(Batch* last, const QuadTexture& source, const ClipBox& clip)
{
    if (!last || last->texture || source.white.x < 0.0F)
    {
        m_batches.push_back({source.texture, source.white, clip, m_count, 0});
        return;
    }
    // Plain colours until now: they can use this texture.
    last->texture = source.texture;
    last->white = source.white;
    for (Quad& quad : std::span(m_quads.get() + last->first, last->count))
    {
        for (QuadVertex& corner : quad.corners)
        {
            corner.u = source.white.x;
            corner.v = source.white.y;
        }
    }
}

void CQuadList::i_Grow(std::size_t count)
{
    const std::size_t capacity = std::max({m_capacity * 2, m_count + count, std::size_t{256}});
    auto quads = std::make_unique_for_overwrite<Quad[]>(capacity);
    if (m_count > 0)
        std::memcpy(quads.get(), m_quads.get(), m_count * sizeof(Quad));
    m_quads = std::move(quads);
    m_capacity = capacity;
}
} // namespace gui
