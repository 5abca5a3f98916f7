#include "gameengine/gui/guiWidget/guiGroupBox.h"

#include "gameengine/gui/guiWidget/guiStream.h"

#include <algorithm>

namespace gui
{
GuiRecti GuiGroupBox::GetContainingRect() const
{
    const GuiStyleData& style = myGetStyle();
    const GuiRecti rect = GetRect();
    const int top = myGetDraw().GetLineHeight(style.font) + style.padding;
    return {rect.x + style.padding, rect.y + top, std::max(rect.w - 2 * style.padding, 0),
            std::max(rect.h - top - style.padding, 0)};
}

void GuiGroupBox::AdjustLayout()
{
    const GuiRecti room = GetContainingRect();
    if (GuiWidget* const child = GetChild(0))
        child->PlaceAt(ToFloat(room));
}

void GuiGroupBox::Render()
{
    const GuiStyleData& style = myGetStyle();
    const GuiRecti rect = GetRect();
    Draw& draw = myGetDraw();
    const int half = draw.GetLineHeight(style.font) / 2;
    draw.FrameRoundRect({rect.x, rect.y + half, rect.w, std::max(rect.h - half, 0)}, style.radius, style.border);
    if (!m_title.empty())
    {
        const int x = rect.x + 2 * style.padding;
        const int width = std::min(draw.GetTextWidth(m_title, style.font), std::max(rect.w - 4 * style.padding, 0));
        const GuiRecti place(x - style.padding / 2, rect.y, width + style.padding, 2 * half);
        draw.PushClip(place);
        draw.FillRect(place, style.background);
        draw.Text(x, rect.y, m_title, IsLocked() ? style.textDisabled : style.text, style.font);
        draw.PopClip();
    }
    GuiLayoutSingle::Render();
}

void GuiGroupBox::SetTitle(std::string_view title)
{
    m_title = title;
    Redraw();
}

void GuiGroupBox::mySave(GuiStream& stream) const
{
    stream.WriteOptionalQuotedString(m_title);
}

void GuiGroupBox::myLoad(GuiStream& stream)
{
    stream.ReadOptionalQuotedString(m_title);
}
} // namespace gui
