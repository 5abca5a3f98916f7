#pragma once

#include "gameengine/export.h"
#include "gameengine/gui/guiWidget/guiTypes.h"
#include "tamradeps/core/refPtr.h"
#include "tamraengine/renderer/texture.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace gui
{
/// Where a character lies in the bitmap of its font, and where it stands on a line. All in pixels; between -99 and 999
/// and, in a font, rounded to six decimals, so that a file of text holds each value to the last digit.
struct Glyph
{
    float textureX = 0.0F; ///< In the bitmap, from its upper left corner.
    float textureY = 0.0F;
    float textureWidth = 0.0F;
    float textureHeight = 0.0F;
    float width = 0.0F; ///< On the screen.
    float height = 0.0F;
    float offsetX = 0.0F; ///< From the pen, and from the upper edge of the line.
    float offsetY = 0.0F;
    float advance = 0.0F; ///< How far the pen moves; rounded when text is laid out, and never back.

    friend bool operator==(const Glyph&, const Glyph&) = default;
};
static_assert(sizeof(Glyph) == 9 * sizeof(float));

/// What a font is made of.
struct TAMRAGAMEENGINE_API FontBody
{
    static constexpr int kNoGlyph = -1;

    FontBody() { map.fill(kNoGlyph); }

    bool valid = false; ///< Set by `Font`.
    std::array<std::int32_t, 256> map;
    std::vector<Glyph> glyphs;
    std::int32_t bitmapWidth = 0;
    std::int32_t bitmapHeight = 0;
    std::int32_t fontSize = 0;          ///< From line to line.
    std::vector<std::uint8_t> bitmap;   ///< R, G, B, A bytes, rows from top to bottom.
    RefPtr<renderer::CTexture> texture; ///< Set by `Font`; null without a device.
};

/// A font of bitmaps for the 256 characters of Latin-1, a byte for each.
///
/// The texture is made with the active renderer; where that has no device the font can still be measured. A `Create`
/// that fails leaves the font invalid, whatever it was before, and logs one line; those that are not supported do not.
///
///     gui::Font font;
///     if (font.Create("fonts/segoe.fnt"))
///         width = font.GetTextWidth("Hello");
class TAMRAGAMEENGINE_API Font : public NonCopyable
{
public:
    /// The character that is shown for those without a glyph, where the font has it.
    static constexpr unsigned char kBox = 0x81;

    Font();
    ~Font();

    /// From a .fnt file that the file system finds.
    bool Create(const std::string& fileName);
    /// From a picture of equal cells, left to right and top to bottom, one for each character of the charset. `pixels`
    /// are `imageWidth` x `imageHeight` colours 0xAABBGGRR, rows from top to bottom. Characters are a pixel apart. A
    /// picture is at most 999 wide and high, because a file would not hold a glyph's place beyond that; a cell 512.
    bool Create(int imageWidth, int imageHeight, const std::uint32_t* pixels, int cellWidth, int cellHeight,
                int lineHeight, const char* charset);
    /// Not supported: lets go of the font and answers false.
    bool Create(const RefPtr<renderer::CTexture>& texture, int cellWidth, int cellHeight, int lineHeight,
                const char* charset);
    /// Not supported: lets go of the font and answers false.
    bool Create(const char* faceName, int size, bool flag);
    /// From parts that somebody put together.
    bool Create(FontBody body);
    /// From the content of a .fnt file; `name` is for messages.
    bool CreateFromAscii(const std::string& name, std::string_view content);

    /// Writes the font in the format of .fnt files. False, with `out` empty, when the font is not valid.
    bool ConvertFontToAscii(std::string& out) const;

    void Destroy();
    bool IsValid() const noexcept { return m_body->valid; }
    /// Distance between lines in pixels; 0 when not valid.
    int GetFontSize() const noexcept { return m_body->fontSize; }
    const FontBody& GetBody() const noexcept { return *m_body; }

    /// Null for a character without one. Valid until the font is created anew or destroyed.
    const Glyph* GetGlyph(unsigned char character) const noexcept;
    /// Pixels from the start of the text to its end.
    int GetTextWidth(std::string_view text) const noexcept;
    /// The number of characters that lie left of a distance from the start, one counts from its middle.
    std::size_t FindCharacter(std::string_view text, int x) const noexcept;

    /// A glyph made ready for drawing. Both rectangles are left, top, right, bottom.
    struct Cell
    {
        float edges[4]; ///< Around the pen.
        float uvs[4];   ///< As OpenGL has them.
        int advance;
        int count; ///< Of quads: none for a space.
    };
    /// What is shown for a character: its glyph, a box, or nothing.
    const Cell& GetCell(unsigned char character) const noexcept { return (*m_cells)[character]; }
    /// What the cells of all characters cover around the pen: from the smallest offset to the largest right and lower
    /// end.
    const GuiRectf& GetReach() const noexcept { return m_reach; }

private:
    void i_MakeCells();

    std::unique_ptr<FontBody> m_body;
    std::unique_ptr<std::array<Cell, 256>> m_cells;
    GuiRectf m_reach;
};
} // namespace gui
