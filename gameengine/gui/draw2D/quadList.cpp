#include "gameengine/gui/draw2D/quadListInternal.h"

#include <algorithm>
#include <cstring>

namespace gui
{
namespace
{
constexpr Quad kEmptyQuad{{}, {}, 0, QuadKind::Plain};

// The edges `low` and `high`, between which an image goes from `a` to `b`.
bool CutAxis(float clipLow, float clipHigh, float& low, float& high, float& a, float& b) noexcept
{
    const float perPixel = (b - a) / (high - low);
    if (low < clipLow)
    {
        a += (clipLow - low) * perPixel;
        low = clipLow;
    }
    if (high > clipHigh)
    {
        b -= (high - clipHigh) * perPixel;
        high = clipHigh;
    }
    return low < high;
}
} // namespace

bool CutQuad(const ClipBox& clip, Quad& quad) noexcept
{
    auto& [left, top, right, bottom] = quad.first;
    if (quad.kind != QuadKind::Image)
    {
        left = std::max(left, static_cast<float>(clip.left));
        top = std::max(top, static_cast<float>(clip.top));
        right = std::min(right, static_cast<float>(clip.right));
        bottom = std::min(bottom, static_cast<float>(clip.bottom));
        return left < right && top < bottom;
    }
    auto& [u, v, rightU, lowerV] = quad.second;
    return CutAxis(static_cast<float>(clip.left), static_cast<float>(clip.right), left, right, u, rightU) &&
           CutAxis(static_cast<float>(clip.top), static_cast<float>(clip.bottom), top, bottom, v, lowerV);
}

void CQuadList::i_SetTexture(const RefPtr<renderer::CTexture>& texture, const ClipBox& clip)
{
    const bool isPlainUntilNow = !m_batches.empty() && m_batches.back().clip == clip && !m_batches.back().texture;
    if (isPlainUntilNow)
        m_batches.back().texture = texture;
    else
        m_batches.push_back({texture, clip, m_count, 0});
}

void CQuadList::AppendEmpty(std::size_t count)
{
    std::fill_n(i_Reserve(count), count, kEmptyQuad);
    Commit(count);
}

void CQuadList::Overwrite(std::size_t first, std::span<const Quad> quads, std::size_t room) noexcept
{
    Quad* const end = std::copy(quads.begin(), quads.end(), m_quads.get() + first);
    std::fill(end, m_quads.get() + first + room, kEmptyQuad);
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
