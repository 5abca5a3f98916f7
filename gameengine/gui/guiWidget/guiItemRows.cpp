#include "gameengine/gui/guiWidget/guiItemRows.h"

#include "gameengine/gui/guiWidget/guiKey.h"

#include <algorithm>
#include <cstddef>
#include <utility>

namespace gui
{
namespace
{
constexpr int kShortestHandle = 16;
constexpr std::size_t kMostTyped = 64;

// A Latin-1 letter as a small one.
char ToSmall(char character)
{
    const auto code = static_cast<unsigned char>(character);
    const bool isCapital = (code >= 'A' && code <= 'Z') || (code >= 0xC0 && code <= 0xDE && code != 0xD7);
    return static_cast<char>(isCapital ? code + 0x20 : code);
}

bool BeginsWith(std::string_view text, std::string_view smallPrefix)
{
    return text.size() >= smallPrefix.size() && std::equal(smallPrefix.begin(), smallPrefix.end(), text.begin(),
                                                           [](char a, char b) { return a == ToSmall(b); });
}
} // namespace

void GuiItemRows::Insert(int row, std::string_view text)
{
    m_items.emplace(m_items.begin() + row, text);
    if (row <= m_current)
        ++m_current;
    if (row < m_top)
        ++m_top;
}

void GuiItemRows::Remove(int row)
{
    m_items.erase(m_items.begin() + row);
    if (row < m_current || m_current == GetCount())
        --m_current;
    if (row < m_top)
        --m_top;
}

void GuiItemRows::Assign(std::vector<std::string> items)
{
    m_items = std::move(items);
    m_current = -1;
    m_top = 0;
    m_isDragged = false;
    EndTyping();
}

void GuiItemRows::SetCurrent(int row, bool show) noexcept
{
    m_current = row;
    m_mustShow = show && row >= 0;
}

void GuiItemRows::Place(const GuiRecti& rect, int rowHeight, int barWidth)
{
    const bool wasSeen = m_current >= m_top && m_current < i_GetEnd();
    const int heightBefore = m_rect.h;
    m_rect = {rect.x, rect.y, std::max(rect.w, 0), std::max(rect.h, 0)};
    m_rowHeight = std::max(rowHeight, 1);
    m_barWidth = GetCount() > i_GetWholeRows() ? std::clamp(barWidth, 0, m_rect.w) : 0;
    if (m_rect.h > 0 && (m_mustShow || (wasSeen && heightBefore != m_rect.h)))
    {
        m_top = std::clamp(m_top, m_current - i_GetWholeRows() + 1, m_current);
        m_mustShow = false;
    }
    m_top = std::clamp(m_top, 0, i_GetLastTop());
}

int GuiItemRows::FindRow(Vec2<int> point) const noexcept
{
    const bool isInside =
        point.x >= m_rect.x && point.x < m_rect.x + m_rect.w - m_barWidth && !IsBeyond(point.y) && m_rect.h > 0;
    const int row = isInside ? m_top + (point.y - m_rect.y) / m_rowHeight : -1;
    return HasRow(row) ? row : -1;
}

int GuiItemRows::FindDragRow(int y) const noexcept
{
    int row = m_top - 1;
    if (y >= m_rect.y)
        row = IsBeyond(y) ? m_top + i_GetWholeRows() : m_top + (y - m_rect.y) / m_rowHeight;
    return std::min(std::max(row, 0), GetCount() - 1);
}

bool GuiItemRows::Scroll(int rows) noexcept
{
    if (m_barWidth == 0)
        return false;
    m_top = std::clamp(m_top + rows, 0, i_GetLastTop());
    return true;
}

bool GuiItemRows::BeginDrag(Vec2<int> point) noexcept
{
    const GuiRecti bar = i_GetBar();
    if (point.x < bar.x || point.x >= bar.x + bar.w || IsBeyond(point.y))
        return false;
    const GuiRecti handle = i_GetHandle();
    m_grip = point.y - handle.y;
    if (m_grip < 0 || m_grip >= handle.h)
        m_grip = handle.h / 2;
    m_isDragged = true;
    Drag(point.y);
    return true;
}

bool GuiItemRows::Drag(int y) noexcept
{
    const GuiRecti handle = i_GetHandle();
    const std::int64_t room = m_rect.h - handle.h;
    const std::int64_t offset =
        std::clamp<std::int64_t>(std::int64_t{y} - m_rect.y - m_grip, 0, std::max<std::int64_t>(room, 0));
    // A handle that has not left its pixel keeps its row, of which several may have that pixel.
    if (room <= 0 || offset == handle.y - m_rect.y)
        return false;
    const auto top = static_cast<int>((offset * i_GetLastTop() + room / 2) / room);
    return std::exchange(m_top, top) != top;
}

int GuiItemRows::FindKeyTarget(unsigned key) const noexcept
{
    const int last = GetCount() - 1;
    const int page = i_GetWholeRows();
    int target = 0;
    if (key == kGuiKeyUp)
        target = m_current - 1;
    else if (key == kGuiKeyDown)
        target = m_current + 1;
    else if (key == kGuiKeyPageUp) // first to the edge of what is seen, then on by what is seen
        target = m_current > m_top ? m_top : m_current - page;
    else if (key == kGuiKeyPageDown)
        target = m_current < m_top + page - 1 ? m_top + page - 1 : m_current + page;
    else if (key == kGuiKeyEnd)
        target = last;
    else if (key != kGuiKeyHome)
        return -1;
    return std::min(std::max(target, 0), last);
}

int GuiItemRows::Type(unsigned character)
{
    const bool isText = (character >= ' ' && character < 0x7F) || (character >= 0xA0 && character <= 0xFF);
    if (!isText || (character == ' ' && !IsTyping()) || m_typed.size() == kMostTyped)
        return -1;
    m_typed += ToSmall(static_cast<char>(character));
    m_typingRest = kTypingPause;
    const int found = i_FindPrefix(m_typed, m_typed.size() == 1 ? m_current + 1 : m_current);
    if (found >= 0 || m_typed.find_first_not_of(m_typed[0]) != std::string::npos)
        return found;
    return i_FindPrefix(std::string_view(m_typed).substr(0, 1), m_current + 1);
}

void GuiItemRows::Tick(float seconds) noexcept
{
    m_typingRest -= seconds;
    if (!(m_typingRest > 0.0F))
        EndTyping();
}

// From the row on, and then from the first one.
int GuiItemRows::i_FindPrefix(std::string_view prefix, int start) const
{
    const auto begins = [prefix](const std::string& item) { return BeginsWith(item, prefix); };
    const auto from = m_items.begin() + std::clamp(start, 0, GetCount());
    auto found = std::find_if(from, m_items.end(), begins);
    if (found == m_items.end())
    {
        found = std::find_if(m_items.begin(), from, begins);
        if (found == from)
            return -1;
    }
    return static_cast<int>(found - m_items.begin());
}

void GuiItemRows::Render(Draw& draw, const GuiStyleData& style, const Look& look) const
{
    if (m_rect.w == 0 || m_rect.h == 0)
        return;
    const int end = i_GetEnd();
    draw.PushClip({m_rect.x, m_rect.y, m_rect.w - m_barWidth, m_rect.h});
    // All that is plain before all text: the drawer changes its texture once.
    for (int row = m_top; row < end; ++row)
    {
        if (row == look.marked || (look.chosen && (*look.chosen)[static_cast<std::size_t>(row)]))
            draw.FillRect(i_GetRow(row), look.isLocked ? style.face : style.selection);
        else if (row == look.hovered)
            draw.FillRect(i_GetRow(row), style.faceHover);
        if (row == m_current && look.isFocused)
            draw.FrameRect(i_GetRow(row), style.accent);
    }
    const int offset = (m_rowHeight - draw.GetLineHeight(style.font)) / 2;
    for (int row = m_top; row < end; ++row)
    {
        const GuiRecti place = i_GetRow(row);
        draw.Text(place.x + style.padding, place.y + offset, m_items[static_cast<std::size_t>(row)],
                  look.isLocked ? style.textDisabled : style.text, style.font);
    }
    draw.PopClip();
    i_RenderBar(draw, style, look.isLocked);
}

void GuiItemRows::i_RenderBar(Draw& draw, const GuiStyleData& style, bool isLocked) const
{
    if (m_barWidth == 0)
        return;
    draw.FillRect(i_GetBar(), style.background);
    const Color face = m_isDragged ? style.facePressed : style.face;
    const GuiRecti handle = i_GetHandle();
    draw.FillRoundRect(handle, style.radius, isLocked ? style.background : face);
    draw.FrameRoundRect(handle, style.radius, style.border);
}

int GuiItemRows::i_GetWholeRows() const noexcept
{
    return std::max(m_rect.h / m_rowHeight, 1);
}

// Behind the last row that is seen, also in part.
int GuiItemRows::i_GetEnd() const noexcept
{
    const int partly = m_rect.h / m_rowHeight + (m_rect.h % m_rowHeight != 0 ? 1 : 0);
    return m_top + std::min(partly, std::max(GetCount() - m_top, 0));
}

int GuiItemRows::i_GetLastTop() const noexcept
{
    return std::max(GetCount() - i_GetWholeRows(), 0);
}

GuiRecti GuiItemRows::i_GetRow(int row) const noexcept
{
    return {m_rect.x, m_rect.y + (row - m_top) * m_rowHeight, m_rect.w - m_barWidth, m_rowHeight};
}

GuiRecti GuiItemRows::i_GetBar() const noexcept
{
    return {m_rect.x + m_rect.w - m_barWidth, m_rect.y, m_barWidth, m_rect.h};
}

GuiRecti GuiItemRows::i_GetHandle() const noexcept
{
    GuiRecti handle = i_GetBar();
    const std::int64_t height = m_rect.h;
    const std::int64_t share = height * i_GetWholeRows() / std::max(GetCount(), 1);
    const std::int64_t length = std::min(std::max<std::int64_t>(share, kShortestHandle), height);
    handle.h = static_cast<int>(length);
    handle.y += static_cast<int>((height - length) * m_top / std::max(i_GetLastTop(), 1));
    return handle;
}
} // namespace gui
