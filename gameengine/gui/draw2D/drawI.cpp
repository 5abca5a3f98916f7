#include "gameengine/gui/draw2D/drawI.h"

#include "gameengine/gui/draw2D/drawFrameInternal.h"
#include "tamradeps/core/assertion.h"
#include "tamradeps/core/log.h"
#include "tamradeps/core/tools.h"
#include "tamraengine/renderer/programmableMaterial.h"
#include "tamraengine/renderer/renderer.h"

#include <algorithm>
#include <bit>
#include <cmath>

#include <xsimd/xsimd.hpp>

namespace gui
{
namespace
{
using Four = xsimd::batch<float, xsimd::sse2>;

Four Twice(float x, float y)
{
    return xsimd::zip_lo(Four(x), Four(y));
}

// "textures/roundcorners.png", as scripts/make-roundcorners.py draws it: the upper left corners of discs, and below of
// rings a pixel wide, of radius 1, 2, 3 ... side by side with a pixel around each. "shaders/gui.frag" knows the rows.
constexpr int kCornersWidth = 256;
constexpr int kCornersHeight = 64;
constexpr int kMaxRadius = 16;
// Frames of so many pixels are drawn with their empty middle, larger ones in pieces.
constexpr std::int64_t kLargestHollow = 8192;

constexpr int GetCornerColumn(int radius)
{
    return 1 + radius * (radius - 1) / 2 + 2 * (radius - 1);
}

constexpr std::size_t kTextChunk = 1024; // characters

Quad MakeImage(float left, float top, float right, float bottom, const GuiRectf& uvs, Color color)
{
    return {{left, top, right, bottom}, {uvs.x, uvs.y, uvs.x + uvs.w, uvs.y + uvs.h}, color, QuadKind::Image};
}

// Images measure their texture from the upper edge, OpenGL from the lower one.
GuiRectf FlipUVs(const GuiRectf& uvs)
{
    return {uvs.x, 1.0F - uvs.y, uvs.w, -uvs.h};
}

// A rectangle's edges, without overflow.
struct Edges
{
    explicit Edges(const GuiRecti& rect)
        : left(static_cast<float>(rect.x)),
          top(static_cast<float>(rect.y)),
          right(left + static_cast<float>(std::max(rect.w, 0))),
          bottom(top + static_cast<float>(std::max(rect.h, 0)))
    {
    }
    float left;
    float top;
    float right;
    float bottom;
};

ClipBox Intersect(const ClipBox& clip, const GuiRecti& rect)
{
    const auto end = [](int position, int size)
    { return static_cast<int>(std::min<std::int64_t>(std::int64_t{position} + std::max(size, 0), ClipBox::kFar)); };
    return {std::max(clip.left, rect.x), std::max(clip.top, rect.y), std::min(clip.right, end(rect.x, rect.w)),
            std::min(clip.bottom, end(rect.y, rect.h))};
}
} // namespace

std::unique_ptr<Draw> Draw::Create(renderer::CRenderer& renderer)
{
    return std::make_unique<DrawI>(renderer);
}

DrawI::DrawI(renderer::CRenderer& renderer) : m_renderer(renderer), m_frame(std::make_unique<Frame>())
{
    if (renderer.HasDevice())
        i_LoadDevice();
}

DrawI::~DrawI() = default;

void DrawI::i_LoadDevice()
{
    const bool isLoaded = m_corners.Create("textures/roundcorners.png");
    if (isLoaded && m_corners.GetSize() != Vec2<int>(kCornersWidth, kCornersHeight))
    {
        tamra::log::Error("gui::DrawI: \"textures/roundcorners.png\" has another size than " +
                          std::to_string(kCornersWidth) + " x " + std::to_string(kCornersHeight));
        m_corners.Destroy();
    }
    m_material = new CProgrammableMaterial(m_renderer);
    m_material->Load("materials/gui_default.lua");
    m_frame->buffer = CQuadBuffer::Create(m_renderer);
}

// Cut at the clip, so that it needs none.
void DrawI::i_Upright(const Quad& quad)
{
    const ClipBox& clip = m_frame->GetClip();
    const auto [left, top, right, bottom] = quad.first;
    const bool isWhole = clip.Holds(left, top, right, bottom);
    if (!isWhole && (clip.IsEmpty() || clip.IsApart(left, top, right, bottom)))
        return;
    Quad* const place = m_frame->list->BeginPlain({}, 1);
    *place = quad;
    if (isWhole || CutQuad(clip, *place))
        m_frame->list->Commit(1);
}

void DrawI::i_Image(const RefPtr<renderer::CTexture>& texture, Quad quad)
{
    const ClipBox& clip = m_frame->GetClip();
    const auto& [left, top, right, bottom] = quad.first;
    if (clip.IsEmpty() || clip.IsApart(left, top, right, bottom) ||
        (!clip.Holds(left, top, right, bottom) && !CutQuad(clip, quad)))
        return;
    *m_frame->list->BeginTextured(texture, {}, 1) = quad;
    m_frame->list->Commit(1);
}

void DrawI::i_Fill(float left, float top, float right, float bottom, Color color)
{
    i_Upright({{left, top, right, bottom}, {}, color, QuadKind::Plain});
}

void DrawI::FillRect(const GuiRecti& rect, Color color)
{
    const Edges e(rect);
    i_Fill(e.left, e.top, e.right, e.bottom, color);
}

void DrawI::FrameRect(const GuiRecti& rect, Color color, int width)
{
    const Edges e(rect);
    const float w = static_cast<float>(std::max(width, 0));
    if (2.0F * w >= std::min(e.right - e.left, e.bottom - e.top))
        return FillRect(rect, color);
    if (w <= 0.0F)
        return;
    i_Fill(e.left, e.top, e.right, e.top + w, color);
    i_Fill(e.left, e.top + w, e.left + w, e.bottom - w, color);
    i_Fill(e.right - w, e.top + w, e.right, e.bottom - w, color);
    i_Fill(e.left, e.bottom - w, e.right, e.bottom, color);
}

void DrawI::Gradient(const GuiRecti& rect, Color upperLeft, Color upperRight, Color lowerRight, Color lowerLeft)
{
    const Edges e(rect);
    const ClipBox clip = m_frame->GetClipFor(e.left, e.top, e.right, e.bottom);
    if (clip.IsEmpty() || clip.IsApart(e.left, e.top, e.right, e.bottom))
        return;
    const auto bits = [](Color color) { return std::bit_cast<float>(color); };
    *m_frame->list->BeginPlain(clip, 1) = {{e.left, e.top, e.right, e.bottom},
                                           {bits(upperLeft), bits(upperRight), bits(lowerRight), bits(lowerLeft)},
                                           0,
                                           QuadKind::Gradient};
    m_frame->list->Commit(1);
}

void DrawI::FillTriangle(Vec2<float> a, Vec2<float> b, Vec2<float> c, Color color)
{
    const auto [left, right] = std::minmax({a.x, b.x, c.x});
    const auto [top, bottom] = std::minmax({a.y, b.y, c.y});
    const ClipBox clip = m_frame->GetClipFor(left, top, right, bottom);
    if (clip.IsEmpty() || clip.IsApart(left, top, right, bottom))
        return;
    *m_frame->list->BeginPlain(clip, 1) = {{a.x, a.y, b.x, b.y}, {c.x, c.y, c.x, c.y}, color, QuadKind::Corners};
    m_frame->list->Commit(1);
}

void DrawI::Line(Vec2<int> from, Vec2<int> to, Color color, float width)
{
    if (!(width > 0.0F))
        return;
    const Vec2<float> a{static_cast<float>(from.x) + 0.5F, static_cast<float>(from.y) + 0.5F};
    const Vec2<float> b{static_cast<float>(to.x) + 0.5F, static_cast<float>(to.y) + 0.5F};
    if (a.x != b.x && a.y != b.y)
        return i_SlantedLine(a, b, color, width);
    const float thickness = std::max(std::round(width), 1.0F);
    const auto start = [thickness](float middle) { return std::ceil(middle - thickness / 2.0F); };
    if (a.y == b.y)
        i_Fill(std::min(a.x, b.x) - 0.5F, start(a.y), std::max(a.x, b.x) + 0.5F, start(a.y) + thickness, color);
    else
        i_Fill(start(a.x), std::min(a.y, b.y) - 0.5F, start(a.x) + thickness, std::max(a.y, b.y) + 0.5F, color);
}

// The edges fade out over a pixel.
void DrawI::i_SlantedLine(Vec2<float> from, Vec2<float> to, Color color, float width)
{
    const float reach = width + 1.0F;
    const float left = std::min(from.x, to.x) - reach;
    const float top = std::min(from.y, to.y) - reach;
    const float right = std::max(from.x, to.x) + reach;
    const float bottom = std::max(from.y, to.y) + reach;
    const ClipBox clip = m_frame->GetClipFor(left, top, right, bottom);
    if (clip.IsEmpty() || clip.IsApart(left, top, right, bottom))
        return;
    const float length = std::hypot(to.x - from.x, to.y - from.y);
    const Vec2<float> along{(to.x - from.x) / length, (to.y - from.y) / length};
    from = {from.x - along.x * 0.5F, from.y - along.y * 0.5F};
    to = {to.x + along.x * 0.5F, to.y + along.y * 0.5F};
    const float inner = std::max(width / 2.0F - 0.5F, 0.0F);
    const float outer = width / 2.0F + 0.5F;
    const auto band = [&](float firstEdge, float secondEdge, QuadKind kind)
    {
        const Vec2<float> a{-along.y * firstEdge, along.x * firstEdge};
        const Vec2<float> b{-along.y * secondEdge, along.x * secondEdge};
        return Quad{{from.x + a.x, from.y + a.y, to.x + a.x, to.y + a.y},
                    {to.x + b.x, to.y + b.y, from.x + b.x, from.y + b.y},
                    color,
                    kind};
    };
    Quad* const quads = m_frame->list->BeginPlain(clip, 3);
    quads[0] = band(-outer, -inner, QuadKind::Fading);
    quads[1] = band(outer, inner, QuadKind::Fading);
    quads[2] = band(-inner, inner, QuadKind::Corners);
    m_frame->list->Commit(inner > 0.0F ? 3 : 2);
}

bool DrawI::i_CanRound(const GuiRecti& rect, int& radius) const
{
    radius = std::min({radius, kMaxRadius, rect.w / 2, rect.h / 2});
    return radius > 0 && m_corners.IsValid();
}

void DrawI::i_Round(const GuiRecti& part, const GuiRecti& rect, int radius, QuadKind kind, Color color)
{
    const Edges p(part);
    const Edges e(rect);
    const auto packed = static_cast<std::uint32_t>(kind) | static_cast<std::uint32_t>(GetCornerColumn(radius)) << 8 |
                        static_cast<std::uint32_t>(radius) << 16;
    i_Upright(
        {{p.left, p.top, p.right, p.bottom}, {e.left, e.top, e.right, e.bottom}, color, static_cast<QuadKind>(packed)});
}

void DrawI::FillRoundRect(const GuiRecti& rect, int radius, Color color)
{
    if (!i_CanRound(rect, radius))
        return FillRect(rect, color);
    i_Round(rect, rect, radius, QuadKind::Disc, color);
}

void DrawI::FrameRoundRect(const GuiRecti& rect, int radius, Color color)
{
    if (!i_CanRound(rect, radius))
        return FrameRect(rect, color, 1);
    if (static_cast<std::int64_t>(rect.w) * rect.h <= kLargestHollow)
        return i_Round(rect, rect, radius, QuadKind::Ring, color);
    const int right = Tools_ToInt32(static_cast<double>(rect.x) + rect.w - radius);
    const int lower = Tools_ToInt32(static_cast<double>(rect.y) + rect.h - radius);
    for (const auto& [x, y] : {Vec2<int>(rect.x, rect.y), {right, rect.y}, {rect.x, lower}, {right, lower}})
        i_Round({x, y, radius, radius}, rect, radius, QuadKind::Ring, color);
    const Edges e(rect);
    const auto r = static_cast<float>(radius);
    i_Fill(e.left + r, e.top, e.right - r, e.top + 1.0F, color);
    i_Fill(e.left, e.top + r, e.left + 1.0F, e.bottom - r, color);
    i_Fill(e.right - 1.0F, e.top + r, e.right, e.bottom - r, color);
    i_Fill(e.left + r, e.bottom - 1.0F, e.right - r, e.bottom, color);
}

void DrawI::DrawImage(const Image& image, const GuiRecti& rect, Color tint)
{
    const Edges e(rect);
    if (image.IsValid())
        i_Image(image.GetTexture(), MakeImage(e.left, e.top, e.right, e.bottom, FlipUVs(image.GetUVs()), tint));
}

void DrawI::DrawNinePatch(const Image& image, const GuiRecti& rect, const Vec4<int>& border, Color tint)
{
    const Edges e(rect);
    if (!image.IsValid())
        return;
    // Where columns or rows meet: on the screen, and in the texture.
    const auto divide = [](float begin, float end, int first, int last, int imageSize, float uv, float uvSize,
                           float(&places)[4], float(&uvs)[4])
    {
        const float size = std::max(static_cast<float>(imageSize), 1.0F);
        const float a = std::clamp(static_cast<float>(first), 0.0F, size);
        const float b = std::clamp(static_cast<float>(last), 0.0F, size - a);
        const float squeeze = std::min(1.0F, (end - begin) / std::max(a + b, 1.0F)); // when there is too little room
        const float screen[4] = {begin, begin + a * squeeze, end - b * squeeze, end};
        const float texture[4] = {uv, uv + uvSize * a / size, uv + uvSize * (size - b) / size, uv + uvSize};
        std::copy_n(screen, 4, places);
        std::copy_n(texture, 4, uvs);
    };
    float x[4];
    float y[4];
    float u[4];
    float v[4];
    const GuiRectf uvs = FlipUVs(image.GetUVs());
    divide(e.left, e.right, border.x, border.z, image.GetW(), uvs.x, uvs.w, x, u);
    divide(e.top, e.bottom, border.y, border.w, image.GetH(), uvs.y, uvs.h, y, v);
    for (int row = 0; row < 3; ++row)
    {
        for (int column = 0; column < 3; ++column)
            i_Image(image.GetTexture(),
                    MakeImage(x[column], y[row], x[column + 1], y[row + 1],
                              GuiRectf(u[column], v[row], u[column + 1] - u[column], v[row + 1] - v[row]), tint));
    }
}

void DrawI::Text(int x, int y, std::string_view text, Color color, int font)
{
    const Font& face = m_fonts.Get(font);
    const ClipBox& clip = m_frame->GetClip();
    const GuiRectf& reach = face.GetReach();
    const float top = static_cast<float>(y);
    const float right = static_cast<float>(clip.right);
    if (!face.GetBody().texture || text.empty() || clip.IsEmpty() ||
        clip.IsApart(static_cast<float>(x) + reach.x, top + reach.y, right, top + reach.BR().y))
        return;
    float pen = static_cast<float>(x);
    const float firstPen = static_cast<float>(clip.left) - reach.BR().x; // from here on something can be seen
    const float endPen = right - reach.x;
    const Four clipBegin = Twice(static_cast<float>(clip.left), static_cast<float>(clip.top));
    const Four clipEnd = Twice(right, static_cast<float>(clip.bottom));
    while (!text.empty() && pen < endPen)
    {
        const std::string_view chunk = text.substr(0, kTextChunk);
        text.remove_prefix(chunk.size());
        Quad* const quads = m_frame->list->BeginTextured(face.GetBody().texture, {}, chunk.size());
        Quad* quad = quads;
        for (const char character : chunk)
        {
            const Font::Cell& cell = face.GetCell(static_cast<unsigned char>(character));
            const Four place = Twice(pen, top) + Four::load_unaligned(cell.edges);
            place.store_unaligned(quad->first);
            Four::load_unaligned(cell.uvs).store_unaligned(quad->second);
            quad->color = color;
            quad->kind = QuadKind::Image;
            const bool isWhole = xsimd::all(place >= clipBegin && place <= clipEnd);
            if (isWhole || (pen > firstPen && pen < endPen && CutQuad(clip, *quad)))
                quad += cell.count;
            pen += static_cast<float>(cell.advance);
        }
        m_frame->list->Commit(static_cast<std::size_t>(quad - quads));
    }
}

void DrawI::Text3D(std::string_view text, int xOffset, int yOffset, CVector3 position, Color color)
{
    const float* m = m_projectionView.GetElements();
    const auto row = [&](int i)
    { return m[i] * position.x + m[i + 4] * position.y + m[i + 8] * position.z + m[i + 12]; };
    const float w = row(3);
    if (!(w > 0.0F) || m_viewSize.x < 1 || m_viewSize.y < 1)
        return;
    const auto place = [w](float clip, int size, int offset)
    {
        const double pixel = (static_cast<double>(clip) / static_cast<double>(w) * 0.5 + 0.5) * size + offset;
        // Far outside it makes no difference where.
        return Tools_ToInt32(std::floor(std::clamp(pixel, -1.0e6, 1.0e6)));
    };
    Text(place(row(0), m_viewSize.x, xOffset), place(-row(1), m_viewSize.y, yOffset), text, color, TFB_SEGOE);
}

void DrawI::PushClip(const GuiRecti& rect)
{
    m_frame->clips.push_back(Intersect(m_frame->GetClip(), rect));
}

void DrawI::PopClip()
{
    // Within a picture those of its surroundings are not to be had.
    if (m_frame->clips.size() > (m_frame->picture ? m_frame->clipsBefore + 1 : 1))
        m_frame->clips.pop_back();
    else
        AssertionFailed("gameengine/gui/draw2D/drawI", 1);
}

void DrawI::RenderAll(int width, int height)
{
    m_statistics = {};
    if (m_renderer.HasDevice() && width > 0 && height > 0 && !m_frame->quads.GetBatches().empty())
        i_Send(width, height);
    m_frame->quads.Clear();
    m_frame->pictures.clear();
    m_frame->clips.resize(1);
}

// Once: what is wrong in one frame is so in the next.
void DrawI::i_LogFault(const std::string& fault)
{
    if (!m_isFaultLogged)
        tamra::log::Error("gui::DrawI::RenderAll: " + fault);
    m_isFaultLogged = true;
}

bool DrawI::i_BindPasses(int width, int height, int (&passes)[2])
{
    passes[0] = m_material ? m_material->GetPass("GUI_COLOR") : -1;
    passes[1] = m_material ? m_material->GetPass("GUI_TEXTURE") : -1;
    if (!m_material || !m_material->HasPass(passes[0]) || !m_material->HasPass(passes[1]))
    {
        i_LogFault("\"materials/gui_default.lua\" lacks GUI_COLOR or GUI_TEXTURE");
        return false;
    }
    const float scale[4] = {2.0F / static_cast<float>(width), -2.0F / static_cast<float>(height), -1.0F, 1.0F};
    for (const int pass : passes)
        m_material->GetProgram(pass)->SetVector4("scale", scale);
    return true;
}

void DrawI::i_Send(int width, int height)
{
    int passes[2];
    if (!i_BindPasses(width, height, passes))
        return;
    const renderer::CPreservedState guard(m_renderer.GetState());
    if (m_corners.IsValid())
        m_corners.GetTexture()->Bind(1);
    int boundPass = -1;
    const auto sendBatch = [&](const CQuadBuffer& buffer, const CQuadList::Batch& batch)
    {
        const int left = std::clamp(batch.clip.left, 0, width);
        const int top = std::clamp(batch.clip.top, 0, height);
        const int right = std::clamp(batch.clip.right, left, width);
        const int bottom = std::clamp(batch.clip.bottom, top, height);
        if (batch.count == 0 || left == right || top == bottom || (batch.texture && !batch.texture->IsAlive()))
            return;
        const int pass = passes[batch.texture ? 1 : 0];
        if (pass != boundPass && !m_material->Bind(pass))
            return;
        boundPass = pass;
        if (batch.texture)
            batch.texture->Bind(0);
        m_renderer.GetState().SetScissorBox(left, height - bottom, right - left, bottom - top);
        buffer.Draw(batch.first, batch.count);
        ++m_statistics.drawCalls;
        m_statistics.quads += batch.count;
    };
    const auto sendBatches = [&](const CQuadBuffer& buffer, std::span<const CQuadList::Batch> batches)
    {
        buffer.Bind();
        for (const CQuadList::Batch& batch : batches)
            sendBatch(buffer, batch);
    };

    Frame& frame = *m_frame;
    const std::span<const CQuadList::Batch> batches = frame.quads.GetBatches();
    if (!frame.buffer || !frame.buffer->Upload(frame.quads.GetQuads()))
        return i_LogFault("there is no room for " + std::to_string(frame.quads.GetQuads().size()) + " quads");
    std::size_t first = 0;
    for (const auto& [place, picture] : frame.pictures)
    {
        sendBatches(*frame.buffer, batches.subspan(first, place - first));
        first = place;
        if (picture->Upload(m_renderer))
            sendBatches(*picture->buffer, picture->quads.GetBatches());
        else
            i_LogFault("there is no room for a picture of " + std::to_string(picture->quads.GetQuads().size()) +
                       " quads");
    }
    sendBatches(*frame.buffer, batches.subspan(first));
}
} // namespace gui
