#pragma once

#include "gameengine/gui/draw2D/quadBufferInternal.h"
#include "tamraengine/renderer/texture.h"

#include <memory>
#include <span>
#include <vector>

namespace gui
{
/// Edges of an area in pixels.
struct ClipBox
{
    static constexpr int kFar = 1 << 30;

    int left = -kFar;
    int top = -kFar;
    int right = kFar;
    int bottom = kFar;

    bool IsEmpty() const noexcept { return left >= right || top >= bottom; }
    /// Whether nothing of the area can be seen through the clip.
    bool IsApart(float aLeft, float aTop, float aRight, float aBottom) const noexcept
    {
        return !(aRight > static_cast<float>(left) && aLeft < static_cast<float>(right) &&
                 aBottom > static_cast<float>(top) && aTop < static_cast<float>(bottom));
    }
    /// Whether the clip cuts nothing off the area.
    bool Holds(float aLeft, float aTop, float aRight, float aBottom) const noexcept
    {
        return aLeft >= static_cast<float>(left) && aRight <= static_cast<float>(right) &&
               aTop >= static_cast<float>(top) && aBottom <= static_cast<float>(bottom);
    }
    friend bool operator==(const ClipBox&, const ClipBox&) = default;
};

/// Cuts an upright quad at the edges of the clip. False when nothing is left of it.
bool CutQuad(const ClipBox& clip, Quad& quad) noexcept;

/// The quads of a frame in the order in which they are drawn, cut into batches where texture or clip change. Plain
/// quads join whatever batch is there. Upright ones are cut before they come here and need no clip.
class CQuadList
{
public:
    struct Batch
    {
        RefPtr<renderer::CTexture> texture; ///< Null as long as all quads are plain.
        ClipBox clip;
        std::size_t first;
        std::size_t count;
    };

    /// Room for quads of the texture, to be written and then counted by `Commit`. Valid until the next call.
    Quad* BeginTextured(const RefPtr<renderer::CTexture>& texture, const ClipBox& clip, std::size_t count)
    {
        if (m_batches.empty() || m_batches.back().clip != clip || m_batches.back().texture != texture)
            i_SetTexture(texture, clip);
        return i_Reserve(count);
    }
    /// The same for quads of every kind but `Image`.
    Quad* BeginPlain(const ClipBox& clip, std::size_t count)
    {
        if (m_batches.empty() || m_batches.back().clip != clip)
            m_batches.push_back({nullptr, clip, m_count, 0});
        return i_Reserve(count);
    }
    void Commit(std::size_t count) noexcept
    {
        m_count += count;
        m_batches.back().count += count;
    }

    /// Starts a batch like another one.
    void Seed(const Batch& batch) { m_batches.push_back({batch.texture, batch.clip, m_count, 0}); }
    /// Quads without an area, in the last batch.
    void AppendEmpty(std::size_t count);
    /// Replaces quads from `first` on, and those behind up to `room` by quads without an area.
    void Overwrite(std::size_t first, std::span<const Quad> quads, std::size_t room) noexcept;

    void Clear() noexcept
    {
        m_batches.clear();
        m_count = 0;
    }

    std::span<const Quad> GetQuads() const noexcept { return {m_quads.get(), m_count}; }
    const std::vector<Batch>& GetBatches() const noexcept { return m_batches; }

private:
    void i_SetTexture(const RefPtr<renderer::CTexture>& texture, const ClipBox& clip);
    Quad* i_Reserve(std::size_t count)
    {
        if (count > m_capacity - m_count)
            i_Grow(count);
        return m_quads.get() + m_count;
    }
    void i_Grow(std::size_t count);

    // No vector: it would clear what is about to be written.
    std::unique_ptr<Quad[]> m_quads;
    std::size_t m_count = 0;
    std::size_t m_capacity = 0;
    std::vector<Batch> m_batches;
};
} // namespace gui
