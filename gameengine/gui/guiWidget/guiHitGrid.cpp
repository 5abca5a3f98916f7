#include "gameengine/gui/guiWidget/guiHitGridInternal.h"

#include <algorithm>
#include <limits>
#include <numeric>

namespace gui
{
namespace
{
constexpr std::int64_t kMaxCellsOfOne = 16; // more make a rectangle a large one
constexpr std::int64_t kCellsPerItem = 2;   // at most

bool HasArea(const GuiRecti& rect)
{
    return rect.w > 0 && rect.h > 0;
}
} // namespace

void CHitGrid::Build(std::span<const GuiRecti> rects)
{
    *this = {};
    if (!i_ChooseCells(rects))
        return;
    // Once to count, once to fill.
    m_starts.assign(static_cast<std::size_t>(m_columns * m_rows) + 1, 0);
    const auto forEachCell = [&](const auto& visit)
    {
        for (std::size_t i = 0; i < rects.size(); ++i)
        {
            const Cells cells = i_GetCells(rects[i]);
            if (!HasArea(rects[i]) || cells.Count() > kMaxCellsOfOne)
                continue;
            for (std::int64_t row = cells.top; row <= cells.bottom; ++row)
            {
                for (std::int64_t column = cells.left; column <= cells.right; ++column)
                    visit(static_cast<std::size_t>(row * m_columns + column), static_cast<std::uint32_t>(i));
            }
        }
    };
    forEachCell([&](std::size_t cell, std::uint32_t) { ++m_starts[cell + 1]; });
    std::partial_sum(m_starts.begin(), m_starts.end(), m_starts.begin());
    m_items.resize(m_starts.back());
    std::vector<std::uint32_t> next(m_starts.begin(), m_starts.end() - 1);
    forEachCell([&](std::size_t cell, std::uint32_t item) { m_items[next[cell]++] = item; });
    for (std::size_t i = 0; i < rects.size(); ++i)
    {
        if (HasArea(rects[i]) && i_GetCells(rects[i]).Count() > kMaxCellsOfOne)
            m_large.push_back(static_cast<std::uint32_t>(i));
    }
}

// Cells twice as wide and high as the average; false when there is nothing to be found.
bool CHitGrid::i_ChooseCells(std::span<const GuiRecti> rects)
{
    std::int64_t right = std::numeric_limits<std::int64_t>::min();
    std::int64_t bottom = right;
    std::int64_t widths = 0;
    std::int64_t heights = 0;
    std::int64_t count = 0;
    m_left = m_top = std::numeric_limits<std::int64_t>::max();
    for (const GuiRecti& rect : rects)
    {
        if (!HasArea(rect))
            continue;
        m_left = std::min<std::int64_t>(m_left, rect.x);
        m_top = std::min<std::int64_t>(m_top, rect.y);
        right = std::max(right, std::int64_t{rect.x} + rect.w);
        bottom = std::max(bottom, std::int64_t{rect.y} + rect.h);
        widths += rect.w;
        heights += rect.h;
        ++count;
    }
    if (count == 0)
        return false;
    m_cellWidth = std::max<std::int64_t>(2 * widths / count, 1);
    m_cellHeight = std::max<std::int64_t>(2 * heights / count, 1);
    const auto divide = [&]
    {
        m_columns = (right - m_left + m_cellWidth - 1) / m_cellWidth;
        m_rows = (bottom - m_top + m_cellHeight - 1) / m_cellHeight;
    };
    // Few rectangles far apart: larger cells.
    for (divide(); m_columns > kCellsPerItem * count / m_rows && m_columns * m_rows > 1; divide())
    {
        m_cellWidth *= 2;
        m_cellHeight *= 2;
    }
    return true;
}

CHitGrid::Cells CHitGrid::i_GetCells(const GuiRecti& rect) const
{
    const std::int64_t left = rect.x - m_left;
    const std::int64_t top = rect.y - m_top;
    return {left / m_cellWidth, top / m_cellHeight, (left + rect.w - 1) / m_cellWidth,
            (top + rect.h - 1) / m_cellHeight};
}

std::span<const std::uint32_t> CHitGrid::i_GetCell(int x, int y) const
{
    if (x < m_left || y < m_top)
        return {};
    const std::int64_t column = (x - m_left) / m_cellWidth;
    const std::int64_t row = (y - m_top) / m_cellHeight;
    if (column >= m_columns || row >= m_rows)
        return {};
    const auto cell = static_cast<std::size_t>(row * m_columns + column);
    return std::span(m_items).subspan(m_starts[cell], m_starts[cell + 1] - m_starts[cell]);
}
} // namespace gui
