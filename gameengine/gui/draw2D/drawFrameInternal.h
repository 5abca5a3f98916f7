#pragma once

#include "gameengine/gui/draw2D/drawI.h"
#include "gameengine/gui/draw2D/quadListInternal.h"

#include <memory>
#include <utility>
#include <vector>

namespace gui
{
/// A picture of `DrawI`: quads that stay in the device's memory.
class CQuadPicture final : public DrawPicture
{
public:
    /// Where a piece lies. Behind what it needs there is a little room to grow, filled with quads without an area.
    struct Piece
    {
        std::size_t batch;
        std::size_t first;
        std::size_t room;
        ClipBox clip; // that it was drawn in
    };

    void Clear() noexcept;
    /// For what was drawn behind `first`, when there were so many batches. Pads it. -1 when it cannot be replaced
    /// because it has quads in several batches.
    int AddPiece(std::size_t first, std::size_t batchesBefore, const ClipBox& clip);
    const Piece* GetPiece(int number) const noexcept;
    /// False, with nothing changed, when the quads do not fit. `quads` is what the piece's own batch, alone, became.
    bool Replace(const Piece& piece, const CQuadList& quads);
    /// Brings what changed to the device. False when there is no room for it.
    bool Upload(renderer::CRenderer& renderer);

    CQuadList quads;
    RefPtr<CQuadBuffer> buffer;

private:
    std::vector<Piece> m_pieces;
    std::size_t m_changedFirst = 0;
    std::size_t m_changedEnd = 0;
    bool m_isNew = true; // all of it changed
};

/// What was drawn since the last `RenderAll`.
struct DrawI::Frame
{
    CQuadList quads;
    std::vector<ClipBox> clips{ClipBox{}}; // the first is that of nobody
    RefPtr<CQuadBuffer> buffer;
    std::vector<std::pair<std::size_t, std::shared_ptr<CQuadPicture>>> pictures; // in place of an empty batch

    CQuadList* list = &quads; // where quads go: here, to a picture, or to what replaces a piece
    CQuadPicture* picture = nullptr;
    std::size_t clipsBefore = 0;
    std::size_t ignored = 0; // pictures begun within another one, until they end
    std::size_t pieceFirst = 0;
    std::size_t pieceBatches = 0;
    CQuadList replacement;
    const CQuadPicture::Piece* replaced = nullptr;

    const ClipBox& GetClip() const { return clips.back(); }
    /// What slanted areas need: no clip at all when it does not cut them.
    ClipBox GetClipFor(float left, float top, float right, float bottom) const
    {
        return GetClip().Holds(left, top, right, bottom) ? ClipBox{} : GetClip();
    }
};
} // namespace gui
