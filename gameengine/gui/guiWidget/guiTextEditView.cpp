#include "gameengine/gui/guiWidget/guiTextColumnsInternal.h"
#include "gameengine/gui/guiWidget/guiTextEdit.h"

#include <algorithm>

// What of an edit's text is seen, and where: measuring, scrolling and drawing.

namespace gui
{
namespace
{
constexpr char kAsterisk = '*';
constexpr int kMostPixels = 1'000'000'000; // of a text in each direction, so that sums fit an integer
constexpr int kLineEndWidth = 5;           // pixels, of one that is selected

int LimitPixels(std::int64_t pixels)
{
    return static_cast<int>(std::min<std::int64_t>(pixels, kMostPixels));
}
} // namespace

int GuiTextEdit::myGetLineHeight() const
{
    return std::max(myGetDraw().GetLineHeight(myGetStyle().font), 1);
}

std::string_view GuiTextEdit::i_GetShown(std::size_t line) const
{
    const std::string_view text = m_buffer.GetLine(line);
    return (m_flags & kTextPassword) != 0 ? std::string_view(m_mask).substr(0, text.size()) : text;
}

// Only the lines that changed since the last time.
void GuiTextEdit::myMeasure()
{
    GuiTextBuffer::SameLines same = m_buffer.TakeSameLines();
    const int font = myGetStyle().font;
    if (font != m_measuredFont)
        same = {0, 0};
    m_measuredFont = font;
    const std::size_t before = m_widths.size();
    const std::size_t count = m_buffer.GetLineCount();
    if (same.before >= count && before == count)
        return;
    if ((m_flags & kTextPassword) != 0)
        m_mask.assign(m_buffer.GetLength(), kAsterisk);

    const std::size_t least = std::min(before, count);
    const std::size_t first = std::min(same.before, least);
    const std::size_t after = std::min(same.after, least - first);
    const auto begin = m_widths.begin() + static_cast<std::ptrdiff_t>(first);
    const auto end = m_widths.end() - static_cast<std::ptrdiff_t>(after);
    const bool isWidestGone = std::find(begin, end, m_widest) != end;
    if (count > before)
        m_widths.insert(begin, count - before, 0);
    else
        m_widths.erase(begin, begin + static_cast<std::ptrdiff_t>(before - count));
    int widest = isWidestGone ? 0 : m_widest;
    for (std::size_t line = first; line < count - after; ++line)
    {
        m_widths[line] = LimitPixels(myGetDraw().GetTextWidth(i_GetShown(line), font));
        widest = std::max(widest, m_widths[line]);
    }
    if (isWidestGone && widest < m_widest)
        widest = *std::max_element(m_widths.begin(), m_widths.end());
    m_widest = widest;
}

Vec2<int> GuiTextEdit::myGetContentSize() const
{
    // The cursor stands behind the last character.
    return {LimitPixels(std::int64_t{m_widest} + 1),
            LimitPixels(static_cast<std::int64_t>(m_buffer.GetLineCount()) * myGetLineHeight())};
}

Vec2<int> GuiTextEdit::i_LimitScroll(Vec2<int> scroll) const
{
    const GuiRecti area = myGetTextRect();
    const Vec2<int> content = myGetContentSize();
    return {std::clamp(scroll.x, 0, std::max(content.x - area.w, 0)),
            std::clamp(scroll.y, 0, m_hasLines ? std::max(content.y - area.h, 0) : 0)};
}

bool GuiTextEdit::myScrollTo(Vec2<int> scroll)
{
    const Vec2<int> limited = i_LimitScroll(scroll);
    if (limited == m_scroll)
        return false;
    m_scroll = limited;
    Redraw();
    return true;
}

void GuiTextEdit::i_ShowCursor()
{
    m_isCursorShown = true;
    m_blinkTime = 0.0F;
    Redraw();
    myMeasure();
    const GuiRecti area = myGetTextRect();
    const int height = myGetLineHeight();
    const std::size_t line = m_buffer.FindLine(m_buffer.GetCursor());
    const int x = LimitPixels(FontColumns(myGetDraw(), m_measuredFont)
                                  .GetX(i_GetShown(line), m_buffer.GetCursor() - m_buffer.GetLineStart(line)));
    const int y = LimitPixels(static_cast<std::int64_t>(line) * height);
    Vec2<int> scroll = m_scroll;
    if (x < scroll.x)
        scroll.x = x - area.w / 4; // with some of what stands before
    else if (x - area.w >= scroll.x)
        scroll.x = x - area.w + 1;
    if (y + height - area.h > scroll.y)
        scroll.y = y + height - area.h;
    myScrollTo({scroll.x, std::min(scroll.y, y)});
}

// Of the character at the start of the first line.
Vec2<int> GuiTextEdit::i_GetOrigin(const GuiRecti& area) const
{
    return {area.x - m_scroll.x, m_hasLines ? area.y - m_scroll.y : area.y + (area.h - myGetLineHeight()) / 2};
}

std::size_t GuiTextEdit::i_FindPlace(Vec2<int> point)
{
    myMeasure();
    const GuiRecti area = myGetTextRect();
    const Vec2<int> origin = i_GetOrigin(area);
    const int x = std::clamp(point.x, area.x, area.x + std::max(area.w - 1, 0));
    const int y = std::clamp(point.y, area.y, area.y + std::max(area.h - 1, 0));
    const auto below = static_cast<std::size_t>(std::max(y - origin.y, 0) / myGetLineHeight());
    const std::size_t line = std::min(below, m_buffer.GetLineCount() - 1);
    return m_buffer.GetLineStart(line) +
           FontColumns(myGetDraw(), m_measuredFont).FindColumn(i_GetShown(line), x - origin.x);
}

void GuiTextEdit::Render()
{
    // The focus may have come without a key.
    i_NoticeFocus();
    myMeasure();
    m_scroll = i_LimitScroll(m_scroll);
    const GuiStyleData& style = myGetStyle();
    Draw& draw = myGetDraw();
    draw.FillRoundRect(GetRect(), style.radius, IsLocked() ? style.background : style.panel);
    draw.FrameRoundRect(GetRect(), style.radius, myIsFocusWidget() && !IsLocked() ? style.accent : style.border);
    const GuiRecti area = myGetTextRect();
    if (area.w <= 0 || area.h <= 0)
        return;
    draw.PushClip(area);
    const Vec2<int> origin = i_GetOrigin(area);
    const int height = myGetLineHeight();
    const auto first = static_cast<std::size_t>(m_scroll.y / height);
    const auto last = static_cast<std::size_t>((std::int64_t{m_scroll.y} + area.h - 1) / height);
    for (std::size_t line = first; line <= std::min(last, m_buffer.GetLineCount() - 1); ++line)
        i_RenderLine(line, area, origin);
    if (myIsFocusWidget() && m_isCursorShown && !IsLocked())
        i_RenderCursor(origin);
    draw.PopClip();
}

void GuiTextEdit::i_RenderLine(std::size_t line, const GuiRecti& area, Vec2<int> origin)
{
    const GuiStyleData& style = myGetStyle();
    Draw& draw = myGetDraw();
    const FontColumns columns(draw, style.font);
    const std::string_view text = i_GetShown(line);
    // The characters that are seen, and one more at each side.
    std::size_t first = columns.FindColumn(text, m_scroll.x);
    first -= first > 0 ? 1 : 0;
    const int x = origin.x + columns.GetX(text, first);
    std::string_view seen = text.substr(first);
    seen = seen.substr(0, columns.FindColumn(seen, area.x + area.w - x) + 1);
    const int height = myGetLineHeight();
    const int y = static_cast<int>(origin.y + static_cast<std::int64_t>(line) * height);

    const GuiTextBuffer::Range range = m_buffer.GetSelection();
    const std::size_t start = m_buffer.GetLineStart(line) + first;
    const std::size_t end = start + seen.size();
    if (range.begin != range.end && range.begin <= end && range.end >= start && myIsFocusWidget())
    {
        const int left = columns.GetX(seen, std::max(range.begin, start) - start);
        int right = columns.GetX(seen, std::min(range.end, end) - start);
        if (range.end > end && first + seen.size() == text.size())
            right += kLineEndWidth;
        if (right > left)
            draw.FillRect({x + left, y, right - left, height}, style.selection);
    }
    if (!seen.empty())
        draw.Text(x, y, seen, IsLocked() ? style.textDisabled : style.text, style.font);
}

void GuiTextEdit::i_RenderCursor(Vec2<int> origin)
{
    const std::size_t line = m_buffer.FindLine(m_buffer.GetCursor());
    const int height = myGetLineHeight();
    const int x = FontColumns(myGetDraw(), m_measuredFont)
                      .GetX(i_GetShown(line), m_buffer.GetCursor() - m_buffer.GetLineStart(line));
    const std::int64_t y = origin.y + static_cast<std::int64_t>(line) * height;
    myGetDraw().FillRect({origin.x + LimitPixels(x), LimitPixels(y), 1, height}, myGetStyle().text);
}
} // namespace gui
