#pragma once

#include "gameengine/gui/draw2D/quadBufferInternal.h"
#include "gameengine/gui/guiWidget/guiTypes.h"
#include "tamraengine/renderer/texture.h"

#include <algorithm>
#include <cstring>
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
    bool IsApart(float aLeft, float aTop, float aRight, float aBottom) const noexcept
    {
        return !(aRight > static_cast<float>(left) && aLeft < static_cast<float>(right) &&
                 aBottom > static_cast<float>(top) && aTop < static_cast<float>(bottom));
    }
    friend bool operator==(const ClipBox&, const ClipBox&) = default;
};

/// The texture of a batch, and where in it an opaque white texel lies, with x below 0 for nowhere.
struct QuadTexture
{
    const RefPtr<renderer::CTexture>& texture;
    Vec2<float> white;
};

/// The quads of a frame in the order in which they are drawn, cut into batches where texture or clip change.
///
/// Areas of one colour have no texture of their own. Where the batch before or after them has a white texel in its
/// texture, they join that batch and take their white from there.
class CQuadList
{
public:
    struct Batch
    {
        RefPtr<renderer::CTexture> texture; ///< Null for plain colours.
        Vec2<float> white;
        ClipBox clip;
        std::size_t first;
        std::size_t count;
    };

    /// Room for quads of the texture, to be written and then counted by `Commit`. Valid until the next call.
    Quad* BeginTextured(const QuadTexture& source, const ClipBox& clip, std::size_t count)
    {
        Batch* const last = i_GetLast(clip);
        if (!last || last->texture != source.texture)
            i_OpenTextured(last, source, clip);
        return i_Reserve(count);
    }
    /// The same of plain colours; all corners take the texture coordinates `uv`.
    Quad* BeginPlain(const ClipBox& clip, std::size_t count, Vec2<float>& uv)
    {
        const Batch* last = i_GetLast(clip);
        if (!last || (last->texture && last->white.x < 0.0F))
        {
            m_batches.push_back({nullptr, {}, clip, m_count, 0});
            last = &m_batches.back();
        }
        uv = last->white;
        return i_Reserve(count);
    }
    void Commit(std::size_t count) noexcept
    {
        m_count += count;
        m_batches.back().count += count;
    }

    void Clear() noexcept
    {
        m_batches.clear();
        m_count = 0;
    }

    std::span<const Quad> GetQuads() const noexcept { return {m_quads.get(), m_count}; }
    const std::vector<Batch>& GetBatches() const noexcept { return m_batches; }

private:
    Batch* i_GetLast(const ClipBox& clip) noexcept
    {
        return m_batches.empty() || m_batches.back().clip != clip ? nullptr : &m_batches.back();
    }
    void i_OpenTextured(Batch* last, const QuadTexture& source, const ClipBox& clip);
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
