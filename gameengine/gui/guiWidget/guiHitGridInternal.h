#pragma once

#include "gameengine/gui/guiWidget/guiTypes.h"

#include <cstdint>
#include <span>
#include <vector>

namespace gui
{
/// Finds which of many rectangles hold a point without asking all of them: a uniform grid with cells of the size of a
/// few of them. Those that cover many cells are asked for every point.
class CHitGrid
{
public:
    /// Rectangles without an area are left out.
    void Build(std::span<const GuiRecti> rects);

    /// Calls `visit(index)` for what may hold the point, from the last to the first, until it answers true.
    template <class Visitor>
    void Visit(int x, int y, const Visitor& visit) const
    {
        const std::span<const std::uint32_t> cell = i_GetCell(x, y);
        std::size_t inCell = cell.size();
        std::size_t large = m_large.size();
        while (inCell > 0 || large > 0)
        {
            const bool isLarge = inCell == 0 || (large > 0 && m_large[large - 1] > cell[inCell - 1]);
            if (visit(isLarge ? m_large[--large] : cell[--inCell]))
                return;
        }
    }

private:
    struct Cells
    {
        std::int64_t left, top, right, bottom; // first and last
        std::int64_t Count() const { return (right - left + 1) * (bottom - top + 1); }
    };

    bool i_ChooseCells(std::span<const GuiRecti> rects);
    std::span<const std::uint32_t> i_GetCell(int x, int y) const;
    Cells i_GetCells(const GuiRecti& rect) const;

    std::int64_t m_left = 0;
    std::int64_t m_top = 0;
    std::int64_t m_cellWidth = 1;
    std::int64_t m_cellHeight = 1;
    std::int64_t m_columns = 0;
    std::int64_t m_rows = 0;
    std::vector<std::uint32_t> m_starts; // of each cell in m_items, and the end
    std::vector<std::uint32_t> m_items;  // ascending in each cell
    std::vector<std::uint32_t> m_large;  // ascending
};
} // namespace gui
