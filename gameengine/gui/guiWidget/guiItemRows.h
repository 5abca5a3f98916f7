#pragma once

#include "gameengine/export.h"
#include "gameengine/gui/guiWidget/guiStyle.h"
#include "gameengine/gui/guiWidget/guiTypes.h"

#include <string>
#include <string_view>
#include <vector>

namespace gui
{
/// Rows of text of which a window shows some, with a scroll bar where it cannot show all: what list boxes and open drop
/// lists have in common. One row at most is the current one, where the keyboard is; what is chosen is up to the owner.
///
/// The owner calls `Place` before it draws and before it asks where something is. Drawing costs what is seen, not what
/// there is.
class TAMRAGAMEENGINE_API GuiItemRows
{
public:
    /// Seconds without a letter, after which the next one begins a new word.
    static constexpr float kTypingPause = 1.0F;

    /// What is special about rows when they are drawn.
    struct Look
    {
        const std::vector<bool>* chosen = nullptr; ///< One for each row.
        int marked = -1;                           ///< Looks as if it were chosen.
        int hovered = -1;
        bool isLocked = false;
        bool isFocused = false;
    };

    const std::vector<std::string>& GetItems() const noexcept { return m_items; }
    int GetCount() const noexcept { return static_cast<int>(m_items.size()); }
    bool HasRow(int row) const noexcept { return row >= 0 && row < GetCount(); }
    /// Rows are numbered from 0, and have to exist; inserting may be at the end. The current row and what is seen
    /// follow their items; when the current one goes, the next one takes its place.
    void Insert(int row, std::string_view text);
    void Remove(int row);
    void Replace(int row, std::string_view text) { m_items[static_cast<std::size_t>(row)] = text; }
    /// Starts anew: nothing is current.
    void Assign(std::vector<std::string> items);

    /// -1 for none.
    int GetCurrent() const noexcept { return m_current; }
    /// -1 for none. `show`: the next `Place` scrolls to it.
    void SetCurrent(int row, bool show = true) noexcept;

    /// Where the rows are, and how much of the width a scroll bar takes when it is needed. A current row that was seen
    /// stays in view when the size changes.
    void Place(const GuiRecti& rect, int rowHeight, int barWidth);
    /// The row at a point; -1 for none, and on the scroll bar.
    int FindRow(Vec2<int> point) const noexcept;
    /// The row that a mouse at this height drags the selection to: beyond the edges, the next one that is not seen. -1
    /// when there are no rows.
    int FindDragRow(int y) const noexcept;
    /// Whether the height lies beyond the edges.
    bool IsBeyond(int y) const noexcept { return y < m_rect.y || y >= m_rect.y + m_rect.h; }
    /// False when there is nothing to scroll.
    bool Scroll(int rows) noexcept;

    /// Takes hold of the scroll bar's handle, which comes to the point if it is beside it. False when the point is not
    /// on the bar.
    bool BeginDrag(Vec2<int> point) noexcept;
    /// Moves the handle. Whether other rows are seen now.
    bool Drag(int y) noexcept;
    void EndDrag() noexcept { m_isDragged = false; }
    bool IsDragged() const noexcept { return m_isDragged; }

    /// Where an arrow, Page, Home or End leads from the current row; -1 for other keys, and without rows.
    int FindKeyTarget(unsigned key) const noexcept;
    /// A character that was typed. The row that begins with what was typed so far, from the current one on; typing the
    /// same letter again goes through all that begin with it. -1 for none. The case of letters does not count.
    int Type(unsigned character);
    bool IsTyping() const noexcept { return !m_typed.empty(); }
    void EndTyping() noexcept { m_typed.clear(); }
    /// Time passes for what was typed.
    void Tick(float seconds) noexcept;

    void Render(Draw& draw, const GuiStyleData& style, const Look& look) const;

private:
    int i_GetWholeRows() const noexcept;
    int i_GetEnd() const noexcept;
    int i_GetLastTop() const noexcept;
    GuiRecti i_GetRow(int row) const noexcept;
    GuiRecti i_GetBar() const noexcept;
    GuiRecti i_GetHandle() const noexcept;
    int i_FindPrefix(std::string_view prefix, int start) const;
    void i_RenderBar(Draw& draw, const GuiStyleData& style, bool isLocked) const;

    std::vector<std::string> m_items;
    int m_current = -1;
    int m_top = 0; // the first row that is seen
    GuiRecti m_rect;
    int m_rowHeight = 1;
    int m_barWidth = 0; // 0: all rows are seen
    int m_grip = 0;     // from the handle's start to the mouse, while it is dragged
    bool m_isDragged = false;
    bool m_mustShow = false;
    std::string m_typed; // in small letters
    float m_typingRest = 0.0F;
};
} // namespace gui
