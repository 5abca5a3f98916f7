#pragma once

#include "gameengine/gui/guiWidget/guiLayout.h"

#include <cstdint>
#include <string>
#include <string_view>

namespace gui
{
/// What the user can do with a window, and how it is.
enum GuiWindowFlag : std::uint32_t
{
    kWindowMovable = 1,
    kWindowResizable = 2,
    kWindowClosable = 4, ///< Has a button for it, and Escape closes it too.
    kWindowCollapsible = 8,
    kWindowModal = 16,       ///< Other widgets get no input while it can be seen.
    kWindowAsksToClose = 32, ///< Emits that it shall be closed, and stays.
    kWindowCollapsed = 64,   ///< Only its title bar is there.
};

/// A frame with a title bar around one widget, which gets the room within.
///
/// The title bar moves it, edges and corners resize it, the button in the title bar or Escape closes it, a double click
/// on the title bar collapses it. While the window itself has the focus, which a click on the frame gives it, arrows
/// move it, and with Shift they resize it; with Control by one pixel. Escape takes back what the mouse is about to do.
/// Wherever it goes, enough of the title bar stays inside its parent to get hold of it.
///
/// One window of a parent is the active one: the last one that was clicked or shown. It is drawn over its siblings
/// where their order means nothing else, that is in a free layout, unless it is docked.
///
/// Emits GET_WINDOW_GRAB_FOCUS when a click on it, or on something in it, made it the active one; and GET_WINDOW_CLOSE
/// when the user closes it, with word 0 as 1 when that has hidden it, and 0 when the program decides. Calls emit
/// nothing.
class TAMRAGAMEENGINE_API GuiWindow final : public GuiLayoutSingle
{
public:
    static constexpr std::uint32_t kUsualFlags =
        kWindowMovable | kWindowResizable | kWindowClosable | kWindowCollapsible;

    explicit GuiWindow(GuiContext& context, GuiStyle style = 0, const GuiRecti& rect = {},
                       GuiSizePolicy sizePolicy = GuiSizePolicy::Fixed());

    GuiWidgetType GetType() const override { return GuiWidgetType::Window; }
    const char* GetTypeString() const override { return "GWT_WINDOW"; }
    void AdjustLayout() override;
    void OnUpdateRect(const GuiRecti& rect) override;
    void OnKeyPress(unsigned key) override;
    void OnMouseClick(unsigned button) override;
    void OnMouseRelease(unsigned button) override;
    void OnClickBelow(unsigned button) override;
    GuiWidget* GetHoverWidget(int x, int y) override;
    void Tick(float seconds) override;
    void Render() override;
    /// A window that is shown becomes the active one, a modal one gets the focus too. From one that is hidden the focus
    /// goes to the next window below.
    void SetVisible(bool visible) override;
    void SetLocked(bool locked) override;
    /// The room for the child.
    GuiRecti GetContainingRect() const override;
    GuiWidget* AddChild(std::unique_ptr<GuiWidget> child) override;
    std::unique_ptr<GuiWidget> RemoveChild(GuiWidget* child) override;

    const std::string& GetTitle() const noexcept { return m_title; }
    void SetTitle(std::string_view title);
    /// Bits of `GuiWindowFlag`.
    std::uint32_t GetFlags() const noexcept { return m_flags; }
    void SetFlags(std::uint32_t flags);
    bool IsCollapsed() const noexcept { return (m_flags & kWindowCollapsed) != 0; }
    /// The rectangle stays, and with it the layout of what is inside.
    void SetCollapsed(bool collapsed);
    /// In pixels, 0 for no limit. Counts, as does the minimum size, when the user resizes the window.
    Vec2<int> GetMaximumSize() const noexcept { return m_maximumSize; }
    void SetMaximumSize(Vec2<int> size) noexcept { m_maximumSize = size; }

    bool IsActive() const noexcept { return m_isActive; }
    /// Makes it the active window of its parent, over its siblings.
    void Activate();

protected:
    /// Title; least width and height; greatest width and height; flags.
    void mySave(GuiStream& stream) const override;
    void myLoad(GuiStream& stream) override;

private:
    enum class Action : std::uint8_t
    {
        None,
        Move,
        Resize,
        Close
    };

    bool i_Has(std::uint32_t flag) const noexcept { return (m_flags & flag) != 0; }
    bool i_TakesInput() const noexcept { return IsVisible() && !IsLocked(); }
    int i_GetTitleHeight() const;
    GuiRecti i_GetCloseRect() const;
    GuiRecti i_GetRoom() const;
    GuiRecti i_Resized(std::uint32_t edges, Vec2<int> by) const;
    GuiRecti i_KeepReachable(GuiRecti rect) const;
    std::uint32_t i_FindEdges(Vec2<int> point) const;
    bool i_IsOnClose(Vec2<int> point) const;
    void i_Start(Action action);
    void i_Follow();
    void i_Stop();
    void i_FollowHover();
    bool i_MoveByKey(unsigned key);
    void i_CloseByHand();
    void i_LetGo();
    GuiWindow* i_FindNextWindow() const;
    void i_HideChild(bool hide);
    void i_DrawShadow(const GuiRecti& rect);
    void i_DrawTitle(const GuiRecti& bar);

    std::string m_title;
    std::uint32_t m_flags = kUsualFlags;
    Vec2<int> m_maximumSize;
    GuiRecti m_lastRoom;       // the parent's, when it last kept inside of it
    GuiRecti m_startRect;      // when the mouse went down,
    Vec2<int> m_startMouse;    // and where
    std::uint32_t m_edges = 0; // that are resized; bits of GuiAnchor
    Action m_action = Action::None;
    bool m_isActive = false;
    bool m_isCloseHot = false;
    bool m_hidesChild = false;
};
} // namespace gui
