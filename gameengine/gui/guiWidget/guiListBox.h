#pragma once

#include "gameengine/gui/guiWidget/guiItemWidget.h"

#include <vector>

namespace gui
{
/// Shows items as rows, of which one, or several if so set, can be selected, with a scroll bar where it is needed.
///
/// A click selects its row and dragging the row under the mouse; the wheel scrolls. Arrows, Page, Home and End move the
/// selection, typed letters find the row that begins with them. Where several can be selected, Shift extends the
/// selection to a row; Control with a click or space adds the row or takes it away, with a key it moves without
/// selecting; Control and A selects all.
///
/// Emits GET_DROPLIST_CHANGED, with the selected row (-1 for none) in word 0 and in word 1: 0 when the selection
/// changed, 1 when the selected row was double-clicked or Enter was pressed.
class TAMRAGAMEENGINE_API GuiListBox final : public GuiItemWidget
{
public:
    explicit GuiListBox(GuiContext& context, GuiStyle style = 0, const GuiRecti& rect = {},
                        GuiSizePolicy sizePolicy = GuiSizePolicy::Resize())
        : GuiItemWidget(context, style, rect, sizePolicy)
    {
    }

    GuiWidgetType GetType() const override { return GuiWidgetType::ListBox; }
    const char* GetTypeString() const override { return "GWT_LISTBOX"; }
    void OnKeyPress(unsigned key) override;
    void OnKeyChar(unsigned character) override;
    void OnMouseClick(unsigned button) override;
    void OnMouseRelease(unsigned button) override;
    void Tick(float seconds) override;
    void Render() override;

    /// The row that was selected last, or the first of the others when that is selected no more; -1 for none.
    int GetSelected() const;
    /// Selects this row alone and scrolls to it; -1 selects none. False, and nothing changes, for a row that is not
    /// there.
    bool SetSelected(int index);
    bool IsSelected(int index) const;
    /// All that are selected, in their order.
    std::vector<int> GetSelection() const;

    bool SelectsSeveral() const noexcept { return m_selectsSeveral; }
    /// What is selected besides `GetSelected` is not when this ends.
    void SetSelectsSeveral(bool selectsSeveral);
    /// Selects a row besides the others, or takes it away. False when it is not there, or one alone can be selected.
    bool SetItemSelected(int index, bool selected);

protected:
    void myOnInserted(int index) override;
    void myOnRemoved(int index) override;
    void myOnReplaced() override;
    void myStop() override;
    /// Items, `GetSelected`, whether several can be selected. Of a selection of several, one is stored.
    void mySave(GuiStream& stream) const override;
    void myLoad(GuiStream& stream) override;

private:
    // What the mouse does since it went down here.
    enum class Press : std::uint8_t
    {
        None,
        ScrollBar,
        Selection,
        Nothing
    };

    void i_Place() { myPlaceRows(GetRect()); }
    void i_OnKeyTarget(int row, unsigned modifiers);
    void i_ClickRow(int row);
    void i_Drag(float seconds);
    void i_UpdateHover();
    // By the user; `extends`: all rows from where the selection began.
    void i_Choose(int row, bool extends, bool show);
    void i_Confirm(int row);
    void i_Toggle(int row);
    void i_SelectAll();

    std::vector<bool> m_chosen; // one for each row
    int m_start = -1;           // from where Shift extends
    int m_hovered = -1;
    bool m_selectsSeveral = false;
    Press m_press = Press::None;
    Vec2<int> m_lastMouse;
    float m_pause = 0.0F; // until dragging beyond an edge scrolls again
};
} // namespace gui
