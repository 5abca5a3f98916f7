#include "gameengine/gui/guiWidget/guiLabel.h"

#include "gameengine/gui/guiWidget/guiStream.h"

#include <algorithm>

namespace gui
{
namespace
{
int Align(GuiAlign align, int start, int room, int size)
{
    if (align == GuiAlign::Near)
        return start;
    return align == GuiAlign::Middle ? start + (room - size) / 2 : start + room - size;
}

GuiAlign ToAlign(int value, GuiAlign fallback)
{
    return value >= 0 && value <= 2 ? static_cast<GuiAlign>(value) : fallback;
}
} // namespace

GuiLabel::GuiLabel(GuiContext& context, GuiStyle style, const GuiRecti& rect, GuiSizePolicy sizePolicy)
    : GuiWidget(context, style, rect, sizePolicy)
{
    myKeepPicture();
}

void GuiLabel::SetText(std::string_view text)
{
    if (m_text == text)
        return;
    m_text = text;
    Redraw();
}

void GuiLabel::SetAlign(GuiAlign horizontal, GuiAlign vertical)
{
    m_horizontal = horizontal;
    m_vertical = vertical;
    Redraw();
}

void GuiLabel::SetFont(int font)
{
    m_font = font;
    Redraw();
}

void GuiLabel::Render()
{
    const GuiRecti rect = GetRect();
    const GuiStyleData& style = myGetStyle();
    const int font = m_font >= 0 && m_font < TFB_COUNT ? m_font : style.font;
    Draw& draw = myGetDraw();
    const int lineHeight = draw.GetLineHeight(font);
    const auto lines = static_cast<int>(std::count(m_text.begin(), m_text.end(), '\n')) + 1;
    int y = Align(m_vertical, rect.y, rect.h, lines * lineHeight);
    draw.PushClip(rect);
    const std::string_view text = m_text;
    for (std::size_t start = 0; start <= text.size(); y += lineHeight)
    {
        const std::size_t end = std::min(text.find('\n', start), text.size());
        const std::string_view line = text.substr(start, end - start);
        const int x = Align(m_horizontal, rect.x, rect.w, draw.GetTextWidth(line, font));
        if (!line.empty())
            draw.Text(x, y, line, IsLocked() ? style.textDisabled : style.text, font);
        start = end + 1;
    }
    draw.PopClip();
}

void GuiLabel::mySave(GuiStream& stream) const
{
    stream.WriteQuotedString(m_text);
    stream.WriteInteger(static_cast<int>(m_horizontal));
    stream.WriteInteger(static_cast<int>(m_vertical));
    stream.WriteInteger(m_font);
}

void GuiLabel::myLoad(GuiStream& stream)
{
    stream.ReadQuotedString(m_text);
    int value = 0;
    if (stream.ReadInteger(value))
        m_horizontal = ToAlign(value, m_horizontal);
    if (stream.ReadInteger(value))
        m_vertical = ToAlign(value, m_vertical);
    stream.ReadInteger(m_font);
}
} // namespace gui
