#include "gameengine/gui/guiWidget/guiItemWidget.h"

#include "gameengine/gui/guiWidget/guiKey.h"
#include "gameengine/gui/guiWidget/guiStream.h"

#include <algorithm>
#include <utility>

namespace gui
{
GuiItemWidget::GuiItemWidget(GuiContext& context, GuiStyle style, const GuiRecti& rect, GuiSizePolicy sizePolicy)
    : GuiWidget(context, style, rect, sizePolicy)
{
    SetFocusable(true);
    myKeepPicture();
}

void GuiItemWidget::SetVisible(bool visible)
{
    GuiWidget::SetVisible(visible);
    if (!visible)
        myStop();
}

void GuiItemWidget::SetLocked(bool locked)
{
    GuiWidget::SetLocked(locked);
    if (locked)
        myStop();
}

const std::string& GuiItemWidget::GetItem(int index) const
{
    static const std::string none;
    return m_rows.HasRow(index) ? m_rows.GetItems()[static_cast<std::size_t>(index)] : none;
}

int GuiItemWidget::Find(std::string_view text, int first) const
{
    const std::vector<std::string>& items = m_rows.GetItems();
    const auto found = std::find(items.begin() + std::clamp(first, 0, GetItemCount()), items.end(), text);
    return found != items.end() ? static_cast<int>(found - items.begin()) : -1;
}

bool GuiItemWidget::InsertItem(int index, std::string_view text)
{
    if (index < 0 || index > GetItemCount())
        return false;
    m_rows.Insert(index, text);
    myOnInserted(index);
    Redraw();
    return true;
}

bool GuiItemWidget::SetItem(int index, std::string_view text)
{
    if (!m_rows.HasRow(index))
        return false;
    m_rows.Replace(index, text);
    Redraw();
    return true;
}

bool GuiItemWidget::RemoveItem(int index)
{
    if (!m_rows.HasRow(index))
        return false;
    m_rows.Remove(index);
    myOnRemoved(index);
    Redraw();
    return true;
}

void GuiItemWidget::SetItems(std::vector<std::string> items)
{
    myStop();
    m_rows.Assign(std::move(items));
    myOnReplaced();
    Redraw();
}

bool GuiItemWidget::myIsTyped(unsigned key) const
{
    return key < kGuiKeyEscape && (GetContext().GetModifiers() & (kGuiControl | kGuiAlt)) == 0;
}

void GuiItemWidget::myPlaceRows(const GuiRecti& rect)
{
    m_rows.Place({rect.x + 1, rect.y + 1, rect.w - 2, rect.h - 2}, myGetRowHeight(), myGetStyle().scrollBarSize);
}

int GuiItemWidget::myGetRowHeight() const
{
    const GuiStyleData& style = myGetStyle();
    return std::max(myGetDraw().GetLineHeight(style.font) + style.padding, 1);
}

void GuiItemWidget::myEmitSelected(int index, bool isConfirmed)
{
    GuiEvent event{GET_DROPLIST_CHANGED};
    event.SetInt(0, index);
    event.SetInt(1, isConfirmed ? 1 : 0);
    myEmitEvent(GetId(), event);
}

void GuiItemWidget::mySaveItems(GuiStream& stream, int selected) const
{
    stream.WriteQuotedStrings(m_rows.GetItems());
    stream.WriteInteger(selected);
}

int GuiItemWidget::myLoadItems(GuiStream& stream)
{
    if (std::vector<std::string> items; stream.ReadQuotedStrings(items))
        SetItems(std::move(items));
    const std::int32_t start = stream.GetDataPosition();
    int selected = -1;
    if (!stream.ReadInteger(selected) || selected == -1 || m_rows.HasRow(selected))
        return selected;
    stream.MarkFault(start);
    return -1;
}
} // namespace gui
