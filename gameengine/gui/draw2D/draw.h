#pragma once

#include "gameengine/export.h"
#include "gameengine/gui/guiWidget/guiTypes.h"
#include "tamradeps/math/matrix.h"
#include "tamradeps/math/vector3.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string_view>

namespace renderer
{
class CRenderer;
}

namespace gui
{
class Image;

/// 0xAABBGGRR: R, G, B, A bytes in memory order, not multiplied by alpha.
using Color = std::uint32_t;

/// The fonts that everybody can use. A slot whose font could not be loaded shows the pixel font.
enum FontBank : int
{
    TFB_PIXEL = 0,
    TFB_SEGOE = 1,
    TFB_SEGOE_16 = 2,
    TFB_CONSOLAS = 3,
    TFB_COUNT = 12
};

/// What a drawer drew once, kept to be drawn again without being put together anew. Made by a drawer, for itself.
class TAMRAGAMEENGINE_API DrawPicture : public NonCopyable
{
public:
    virtual ~DrawPicture() = default;
};

/// Draws in pixels from the upper left corner of the target. Calls are collected in order, later ones over earlier
/// ones, and sent to the device by `RenderAll`.
///
/// Text is Latin-1, a byte for a character. Nothing outside the innermost clip is drawn.
class TAMRAGAMEENGINE_API Draw : public NonCopyable
{
public:
    /// A drawer on the renderer, which must outlive it.
    /// Without a device text can be measured, and nothing is drawn.
    static std::unique_ptr<Draw> Create(renderer::CRenderer& renderer);
    virtual ~Draw() = default;

    /// From the middle of one pixel to that of another.
    virtual void Line(Vec2<int> from, Vec2<int> to, Color color, float width = 1.0F) = 0;
    virtual void FillRect(const GuiRecti& rect, Color color) = 0;
    /// The outline, inside of the rectangle.
    virtual void FrameRect(const GuiRecti& rect, Color color, int width = 1) = 0;
    /// Radii are at most 16 pixels, and half of the rectangle; larger ones count as these.
    virtual void FillRoundRect(const GuiRecti& rect, int radius, Color color) = 0;
    virtual void FrameRoundRect(const GuiRecti& rect, int radius, Color color) = 0;
    virtual void FillTriangle(Vec2<float> a, Vec2<float> b, Vec2<float> c, Color color) = 0;
    /// Blends between the colours of the four corners.
    virtual void Gradient(const GuiRecti& rect, Color upperLeft, Color upperRight, Color lowerRight,
                          Color lowerLeft) = 0;
    /// The image, stretched, its colours multiplied by `tint`. An image that is not valid is left out.
    virtual void DrawImage(const Image& image, const GuiRecti& rect, Color tint = 0xFFFFFFFF) = 0;
    /// The image with its borders (left, top, right, bottom, in pixels of it) as they are and the rest stretched.
    virtual void DrawNinePatch(const Image& image, const GuiRecti& rect, const Vec4<int>& border,
                               Color tint = 0xFFFFFFFF) = 0;

    // A `font` below 0, or one that is not there, is the pixel font; one of `TFB_COUNT` or more ends the program.

    /// One line of text with the upper left corner of its first character's cell there.
    virtual void Text(int x, int y, std::string_view text, Color color, int font = TFB_SEGOE) = 0;
    /// At the screen projection of a point of the world, moved by pixels. Nothing behind the camera, nor before
    /// `SetView`.
    virtual void Text3D(std::string_view text, int xOffset, int yOffset, CVector3 position, Color color) = 0;
    /// Width of a line of text, and the distance between lines, in pixels.
    virtual int GetTextWidth(std::string_view text, int font = TFB_SEGOE) const = 0;
    virtual int GetLineHeight(int font = TFB_SEGOE) const = 0;
    /// The number of characters left of a distance from the start of the line: the nearest place for a cursor.
    virtual std::size_t FindCharacter(std::string_view text, int x, int font = TFB_SEGOE) const = 0;

    /// Narrows drawing to the rectangle and to what the clip was before; `PopClip` ends that. They may be nested.
    virtual void PushClip(const GuiRecti& rect) = 0;
    virtual void PopClip() = 0;

    /// An empty picture; null when this drawer keeps none, then the other functions for pictures do nothing.
    virtual std::shared_ptr<DrawPicture> CreatePicture() { return nullptr; }
    /// What is drawn in between goes into the picture, which is emptied first, and not into the frame; outside of all
    /// clips. Not nested: one that is begun within another becomes a part of that.
    virtual void BeginPicture(DrawPicture&) {}
    virtual void EndPicture() {}
    /// Marks what is drawn in between as a piece of the picture that can be replaced. Answers its number. Not nested.
    virtual void BeginPiece() {}
    virtual int EndPiece() { return -1; }
    /// What is drawn in between takes the place of a piece, in the clip of then. False when it does not fit: then the
    /// piece stays as it was, and the picture should be drawn anew. Costs the piece only.
    virtual void BeginReplace(DrawPicture&, int) {}
    virtual bool EndReplace() { return false; }
    /// Puts the picture, as it is in the end, into the frame, over what is there. The frame's clips do not touch it.
    virtual void AddPicture(const std::shared_ptr<DrawPicture>&) {}

    /// From where `Text3D` sees the world: `projection * view` of a camera, and the size of the target in pixels.
    void SetView(const CMatrix& projectionView, int width, int height) noexcept
    {
        m_projectionView = projectionView;
        m_viewSize = {width, height};
    }

    /// Sends everything to the device, for a target of so many pixels, and starts anew.
    virtual void RenderAll(int width, int height) = 0;

protected:
    CMatrix m_projectionView;
    Vec2<int> m_viewSize;
};
} // namespace gui
