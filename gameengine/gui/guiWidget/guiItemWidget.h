#pragma once

#include "gameengine/gui/guiWidget/guiContext.h"
#include "gameengine/gui/guiWidget/guiItemRows.h"
#include "gameengine/gui/guiWidget/guiWidget.h"

namespace gui
{
/// Common to widgets from whose items the user chooses: list boxes and drop lists. Items are numbered from 0; a number
/// without an item is refused everywhere. What is chosen follows its item when others are inserted or removed; when it
/// goes itself, it is not chosen any more. Calls emit nothing.
class TAMRAGAMEENGINE_API GuiItemWidget : public GuiWidget, public GuiTextReceiver
{
public:
    void SetVisible(bool visible) override;
    void SetLocked(bool locked) override;

    int GetItemCount() const noexcept { return m_rows.GetCount(); }
    /// Valid until the items change; empty for a number without an item.
    const std::string& GetItem(int index) const;
    /// The first item from `first` on that is this text; -1 for none.
    int Find(std::string_view text, int first = 0) const;
    void AddItem(std::string_view text) { InsertItem(GetItemCount(), text); }
    /// In front of an item, or at the end.
    bool InsertItem(int index, std::string_view text);
    bool SetItem(int index, std::string_view text);
    bool RemoveItem(int index);
    /// Replaces all of them; nothing is chosen then.
    void SetItems(std::vector<std::string> items);
    void Clear() { SetItems({}); }

protected:
    GuiItemWidget(GuiContext& context, GuiStyle style, const GuiRecti& rect, GuiSizePolicy sizePolicy);

    /// The rows have changed like this.
    virtual void myOnInserted(int index) = 0;
    virtual void myOnRemoved(int index) = 0;
    virtual void myOnReplaced() = 0;
    /// Ends what the user was about to do, and keeps no input.
    virtual void myStop() = 0;

    GuiItemRows& myGetRows() noexcept { return m_rows; }
    const GuiItemRows& myGetRows() const noexcept { return m_rows; }
    bool myIsUsable() const noexcept { return IsVisible() && !IsLocked(); }
    /// Whether a key, with the modifiers that are held, comes as a character, too.
    bool myIsTyped(unsigned key) const;
    /// Places the rows inside of a border.
    void myPlaceRows(const GuiRecti& rect);
    int myGetRowHeight() const;
    /// GET_DROPLIST_CHANGED, with the number in word 0 and whether it was confirmed in word 1.
    void myEmitSelected(int index, bool isConfirmed);
    /// Item count and items, then the number of the chosen one, which has to exist or be -1.
    void mySaveItems(GuiStream& stream, int selected) const;
    int myLoadItems(GuiStream& stream);

private:
    GuiItemRows m_rows;
};
} // namespace gui
