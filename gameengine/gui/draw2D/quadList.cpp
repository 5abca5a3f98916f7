#include "gameengine/gui/draw2D/quadListInternal.h"

#include <algorithm>
#include <cstring>

namespace gui
{
void CQuadList::i_SetTexture(const RefPtr<renderer::CTexture>& texture, const ClipBox& clip)
{
    const bool isPlainUntilNow = !m_batches.empty() && m_batches.back().clip == clip && !m_batches.back().texture;
    if (isPlainUntilNow)
        m_batches.back().texture = texture;
    else
        m_batches.push_back({texture, clip, m_count, 0});
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
