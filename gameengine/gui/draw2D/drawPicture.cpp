#include "gameengine/gui/draw2D/drawFrameInternal.h"

#include <algorithm>

namespace gui
{
namespace
{
constexpr std::size_t kRoomStep = 4;  // quads
constexpr std::size_t kSpareRoom = 3; // at least; for a few characters more, or a cursor
constexpr ClipBox kNoClip{1, 1, 0, 0};
} // namespace

void CQuadPicture::Clear() noexcept
{
    quads.Clear();
    m_pieces.clear();
    m_isNew = true;
}

int CQuadPicture::AddPiece(std::size_t first, std::size_t batchesBefore, const ClipBox& clip)
{
    const std::size_t count = quads.GetQuads().size() - first;
    const std::size_t batches = quads.GetBatches().size();
    const bool isInOne =
        batches == batchesBefore || (batches == batchesBefore + 1 && quads.GetBatches().back().first == first);
    // A piece that began elsewhere may begin behind the end.
    if (!isInOne || first > quads.GetQuads().size())
        return -1;
    std::size_t room = count;
    if (count > 0)
    {
        room = (count + kSpareRoom + kRoomStep - 1) / kRoomStep * kRoomStep;
        quads.AppendEmpty(room - count);
    }
    m_pieces.push_back({batches - (batches > 0 ? 1 : 0), first, room, clip});
    return static_cast<int>(m_pieces.size()) - 1;
}

const CQuadPicture::Piece* CQuadPicture::GetPiece(int number) const noexcept
{
    return number >= 0 && static_cast<std::size_t>(number) < m_pieces.size()
               ? &m_pieces[static_cast<std::size_t>(number)]
               : nullptr;
}

bool CQuadPicture::Replace(const Piece& piece, const CQuadList& replacement)
{
    const std::size_t count = replacement.GetQuads().size();
    const auto& batches = replacement.GetBatches();
    if (count == 0 && piece.room == 0)
        return true;
    if (count > piece.room || batches.size() != 1 || batches[0].texture != quads.GetBatches()[piece.batch].texture)
        return false;
    quads.Overwrite(piece.first, replacement.GetQuads(), piece.room);
    m_changedFirst = std::min(m_changedFirst, piece.first);
    m_changedEnd = std::max(m_changedEnd, piece.first + piece.room);
    return true;
}

bool CQuadPicture::Upload(renderer::CRenderer& renderer)
{
    if (!buffer || !buffer->IsAlive())
    {
        buffer = CQuadBuffer::Create(renderer);
        m_isNew = true;
    }
    bool isDone = buffer != nullptr;
    if (isDone && m_isNew)
        isDone = buffer->Upload(quads.GetQuads());
    else if (isDone && m_changedFirst < m_changedEnd)
        isDone =
            buffer->UploadPart(quads.GetQuads().subspan(m_changedFirst, m_changedEnd - m_changedFirst), m_changedFirst);
    m_isNew = !isDone;
    m_changedFirst = quads.GetQuads().size();
    m_changedEnd = 0;
    return isDone;
}

std::shared_ptr<DrawPicture> DrawI::CreatePicture()
{
    return std::make_shared<CQuadPicture>();
}

void DrawI::BeginPicture(DrawPicture& picture)
{
    auto* const own = dynamic_cast<CQuadPicture*>(&picture);
    if (!own || m_frame->picture)
    {
        ++m_frame->ignored;
        return;
    }
    own->Clear();
    m_frame->picture = own;
    m_frame->list = &own->quads;
    m_frame->clipsBefore = m_frame->clips.size();
    m_frame->clips.push_back(ClipBox{});
}

void DrawI::EndPicture()
{
    if (m_frame->ignored > 0)
        --m_frame->ignored;
    else if (m_frame->picture && !m_frame->replaced)
        i_LeavePicture();
}

void DrawI::i_LeavePicture()
{
    m_frame->picture = nullptr;
    m_frame->list = &m_frame->quads;
    m_frame->clips.resize(m_frame->clipsBefore);
}

void DrawI::BeginPiece()
{
    m_frame->pieceFirst = m_frame->list->GetQuads().size();
    m_frame->pieceBatches = m_frame->list->GetBatches().size();
}

int DrawI::EndPiece()
{
    Frame& frame = *m_frame;
    const bool isNew = frame.picture && !frame.replaced;
    return isNew ? frame.picture->AddPiece(frame.pieceFirst, frame.pieceBatches, frame.GetClip()) : -1;
}

void DrawI::BeginReplace(DrawPicture& picture, int piece)
{
    Frame& frame = *m_frame;
    auto* const own = dynamic_cast<CQuadPicture*>(&picture);
    const CQuadPicture::Piece* const place = own ? own->GetPiece(piece) : nullptr;
    if (!place || frame.picture)
    {
        ++frame.ignored;
        return;
    }
    frame.picture = own;
    frame.replaced = place;
    frame.replacement.Clear();
    if (place->room > 0)
        frame.replacement.Seed(own->quads.GetBatches()[place->batch]);
    frame.list = &frame.replacement;
    frame.clipsBefore = frame.clips.size();
    frame.clips.push_back(place->clip);
}

bool DrawI::EndReplace()
{
    Frame& frame = *m_frame;
    if (frame.ignored > 0)
    {
        --frame.ignored;
        return false;
    }
    if (!frame.replaced)
        return false;
    const bool fits = frame.picture->Replace(*frame.replaced, frame.replacement);
    frame.replaced = nullptr;
    i_LeavePicture();
    return fits;
}

void DrawI::AddPicture(const std::shared_ptr<DrawPicture>& picture)
{
    auto own = std::dynamic_pointer_cast<CQuadPicture>(picture);
    if (!own || m_frame->picture)
        return;
    // An empty batch that nothing joins keeps its place.
    m_frame->pictures.emplace_back(m_frame->quads.GetBatches().size(), std::move(own));
    m_frame->quads.Seed({nullptr, kNoClip, 0, 0});
}
} // namespace gui
