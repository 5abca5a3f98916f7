#pragma once

#include "gameengine/gui/draw2D/draw.h"
#include "gameengine/gui/guiWidget/guiTextBuffer.h"

namespace gui
{
/// Places of characters in pixels of a font.
class FontColumns final : public GuiTextColumns
{
public:
    FontColumns(const Draw& draw, int font) : m_draw(draw), m_font(font) {}

    int GetX(std::string_view line, std::size_t column) const override
    {
        return m_draw.GetTextWidth(line.substr(0, column), m_font);
    }
    std::size_t FindColumn(std::string_view line, int x) const override
    {
        return m_draw.FindCharacter(line, x, m_font);
    }

private:
    const Draw& m_draw;
    int m_font;
};
} // namespace gui
