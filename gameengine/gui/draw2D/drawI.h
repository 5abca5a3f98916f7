#pragma once

#include "gameengine/gui/draw2D/draw.h"
#include "gameengine/gui/draw2D/fontTable.h"
#include "gameengine/gui/draw2D/image.h"

#include <cstddef>
#include <memory>
#include <string>
#include <string_view>

class CProgrammableMaterial;

namespace gui
{
struct Quad;
enum class QuadKind : std::uint32_t;

/// The drawer on OpenGL: one buffer a frame and one for each picture, one draw call for each change of texture, pass or
/// clip. The pass for textures draws plain areas and round corners too, so that those between texts are no change; nor
/// are clips, for upright areas are cut by the drawer itself.
class TAMRAGAMEENGINE_API DrawI final : public Draw
{
public:
    /// Loads the fonts and, with a device, "textures/roundcorners.png" and "materials/gui_default.lua". Whatever of
    /// that is missing is logged; rectangles are not rounded without the first, and nothing is drawn without the other.
    /// The renderer must be the active one meanwhile.
    explicit DrawI(renderer::CRenderer& renderer);
    ~DrawI() override;

    void Line(Vec2<int> from, Vec2<int> to, Color color, float width) override;
    void FillRect(const GuiRecti& rect, Color color) override;
    void FrameRect(const GuiRecti& rect, Color color, int width) override;
    void FillRoundRect(const GuiRecti& rect, int radius, Color color) override;
    void FrameRoundRect(const GuiRecti& rect, int radius, Color color) override;
    void FillTriangle(Vec2<float> a, Vec2<float> b, Vec2<float> c, Color color) override;
    void Gradient(const GuiRecti& rect, Color upperLeft, Color upperRight, Color lowerRight, Color lowerLeft) override;
    void DrawImage(const Image& image, const GuiRecti& rect, Color tint) override;
    void DrawNinePatch(const Image& image, const GuiRecti& rect, const Vec4<int>& border, Color tint) override;

    void Text(int x, int y, std::string_view text, Color color, int font) override;
    void Text3D(std::string_view text, int xOffset, int yOffset, CVector3 position, Color color) override;
    int GetTextWidth(std::string_view text, int font) const override { return m_fonts.Get(font).GetTextWidth(text); }
    int GetLineHeight(int font) const override { return m_fonts.Get(font).GetFontSize(); }
    std::size_t FindCharacter(std::string_view text, int x, int font) const override
    {
        return m_fonts.Get(font).FindCharacter(text, x);
    }

    void PushClip(const GuiRecti& rect) override;
    void PopClip() override;

    std::shared_ptr<DrawPicture> CreatePicture() override;
    void BeginPicture(DrawPicture& picture) override;
    void EndPicture() override;
    void BeginPiece() override;
    int EndPiece() override;
    void BeginReplace(DrawPicture& picture, int piece) override;
    bool EndReplace() override;
    void AddPicture(const std::shared_ptr<DrawPicture>& picture) override;

    void RenderAll(int width, int height) override;

    FontTable& GetFonts() noexcept { return m_fonts; }

    /// What the last `RenderAll` sent.
    struct Statistics
    {
        std::size_t drawCalls = 0;
        std::size_t quads = 0;
    };
    const Statistics& GetStatistics() const noexcept { return m_statistics; }

private:
    struct Frame;

    void i_LoadDevice();
    void i_LeavePicture();
    void i_Fill(float left, float top, float right, float bottom, Color color);
    void i_SlantedLine(Vec2<float> from, Vec2<float> to, Color color, float width);
    void i_Round(const GuiRecti& part, const GuiRecti& rect, int radius, QuadKind kind, Color color);
    bool i_CanRound(const GuiRecti& rect, int& radius) const;
    void i_Upright(const Quad& quad);
    void i_Image(const RefPtr<renderer::CTexture>& texture, Quad quad);
    bool i_BindPasses(int width, int height, int (&passes)[2]);
    void i_Send(int width, int height);
    void i_LogFault(const std::string& fault);

    renderer::CRenderer& m_renderer;
    FontTable m_fonts;
    Image m_corners;
    RefPtr<CProgrammableMaterial> m_material;
    std::unique_ptr<Frame> m_frame;
    Statistics m_statistics;
    bool m_isFaultLogged = false;
};
} // namespace gui
