#pragma once

#include "gameengine/gui/guiWidget/guiItemWidget.h"

namespace gui
{
/// Shows the chosen one of its items, and a list of all of them while it is open. The list lies over everything below
/// the box, or above it where there is more room, and shows twelve items at most; the others are scrolled to.
///
/// A click, Enter, space, or Alt with an arrow opens it. While it is open all input is its own: a click on a row, Enter
/// or space chooses, a click elsewhere or Escape closes it without a change; the click is not meant for anybody else.
/// Closed, too, arrows, Page, Home, End and typed letters choose, and so does the wheel while it is in focus.
///
/// Emits GET_DROPLIST_CHANGED with the number of the item in word 0 when another one was chosen.
class TAMRAGAMEENGINE_API GuiDropList final : public GuiItemWidget
{
public:
    explicit GuiDropList(GuiContext& context, GuiStyle style = 0, const GuiRecti& rect = {},
                         GuiSizePolicy sizePolicy = GuiSizePolicy::ResizeH())
        : GuiItemWidget(context, style, rect, sizePolicy)
    {
    }

    GuiWidgetType GetType() const override { return GuiWidgetType::DropList; }
    const char* GetTypeString() const override { return "GWT_DROPLIST"; }
    void OnKeyPress(unsigned key) override;
    void OnKeyChar(unsigned character) override;
    void OnMouseClick(unsigned button) override;
    void OnMouseRelease(unsigned button) override;
    /// Also for a point of the open list.
    GuiWidget* GetHoverWidget(int x, int y) override;
    void Tick(float seconds) override;
    void Render() override;
    void RenderOverlay() override;

    /// -1 for none.
    int GetSelected() const noexcept { return m_selected; }
    /// -1 for none. False, and nothing changes, for an item that is not there.
    bool SetSelected(int index);

    bool IsOpen() const noexcept { return m_isOpen; }
    /// Has no effect while it is empty, locked or not seen.
    void Open();
    /// Without choosing.
    void Close();

protected:
    void myOnInserted(int index) override;
    void myOnRemoved(int index) override;
    void myOnReplaced() override;
    void myStop() override { Close(); }
    /// Items, number of the chosen one.
    void mySave(GuiStream& stream) const override;
    void myLoad(GuiStream& stream) override;

private:
    GuiRecti i_GetList() const;
    void i_Place() { myPlaceRows(i_GetList()); }
    bool i_OnWheel(int rows);
    bool i_IsConfirming(unsigned key) const;
    void i_OnOpenKey(unsigned key);
    bool i_OnClosedKey(unsigned key);
    void i_Choose(int index);

    int m_selected = -1;
    bool m_isOpen = false;
    bool m_isPressed = false;  // the mouse went down since it is open,
    bool m_beganOnRow = false; // on a row,
    Vec2<int> m_pressedAt;     // there
    Vec2<int> m_lastMouse;
};
} // namespace gui
