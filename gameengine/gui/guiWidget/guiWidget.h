#pragma once

#include "gameengine/export.h"
#include "gameengine/gui/guiWidget/guiEvent.h"
#include "gameengine/gui/guiWidget/guiKey.h"
#include "gameengine/gui/guiWidget/guiSizePolicy.h"
#include "gameengine/gui/guiWidget/guiStyle.h"
#include "gameengine/gui/guiWidget/guiTypes.h"

#include <cstdint>
#include <string>
#include <string_view>

namespace gui
{
class GuiContext;
class GuiLayout;
class GuiStream;

/// The concrete widget classes. Their names, "GWT_LABEL" and so on, are what `GetTypeString` answers.
enum class GuiWidgetType : std::int32_t
{
    Label,
    Image,
    Button,
    CheckBox,
    RadioButton,
    Slider,
    ScrollBarH,
    ScrollBarV,
    TextEditLine,
    TextEditBox,
    Spinner,
    DropList,
    ListBox,
    SpacerH,
    SpacerV,
    FreeLayout,
    ListH,
    ListV,
    GroupBox,
    Window,
    NodeWidget
};

/// Where a widget stands in a free layout.
enum class GuiDock : std::int32_t
{
    None,
    Left,
    Right,
    Top,
    Bottom,
    Center
};

/// Edges of a free layout to which a widget keeps its distance.
enum GuiAnchor : std::uint32_t
{
    kAnchorLeft = 1,
    kAnchorRight = 2,
    kAnchorTop = 4,
    kAnchorBottom = 8,
};

/// A rectangle on the screen that draws itself, and hears of the mouse and the keyboard.
///
/// A widget belongs to the layout that it was added to; one without a parent belongs to whoever made it. Context and
/// callback are not owned: the context must outlive its widgets. A widget may be destroyed at any time, also by a
/// callback or a virtual of its own, which must then touch it no more; only placing, drawing and finding what lies at a
/// point must not add or destroy any. All rectangles are absolute.
///
/// What nothing happens to costs nothing: only widgets that ask for it are ticked (`SetTicking`) and drawn over the
/// others (`SetOverlay`), and one that promises to call `Redraw` (`myKeepPicture`) is drawn again only then.
///
/// The order of the virtual functions is a contract with other modules: add new ones at the end of derived classes
/// only.
class TAMRAGAMEENGINE_API GuiWidget : public NonCopyable
{
public:
    GuiWidget(GuiContext& context, GuiStyle style, const GuiRecti& rect, GuiSizePolicy sizePolicy);
    /// Tells the context, which forgets it.
    virtual ~GuiWidget();

    virtual GuiWidgetType GetType() const = 0;
    virtual const char* GetTypeString() const = 0;
    /// Places what is inside.
    virtual void AdjustLayout();
    /// Takes a rectangle from a layout; only the floats are stored.
    virtual void OnUpdateLayout(const GuiRectf& rect);
    virtual void OnUpdateRect(const GuiRecti& rect);
    virtual void OnKeyPress(unsigned key);
    virtual void OnKeyRelease(unsigned key);
    virtual void OnMouseClick(unsigned button);
    virtual void OnMouseRelease(unsigned button);
    /// Who lies at a point of the screen: this or something inside; null when the point is outside or this is
    /// invisible.
    virtual GuiWidget* GetHoverWidget(int x, int y);
    /// Each pass after `SetTicking`.
    virtual void Tick(float seconds);
    virtual void Render();
    /// Drawn after everything that was rendered, after `SetOverlay`.
    virtual void RenderOverlay();
    virtual void SetVisible(bool visible);
    virtual void SetLocked(bool locked);
    /// The rectangle that is left for what is inside.
    virtual GuiRecti GetContainingRect() const;

protected:
    /// A class's own fields, in the same order.
    virtual void mySave(GuiStream& stream) const;
    virtual void myLoad(GuiStream& stream);

public:
    const std::string& GetId() const noexcept { return m_id; }
    void SetId(std::string_view id) { m_id = id; }
    GuiWidget* GetParent() const noexcept { return m_parent; }
    /// Where events, keys and clicks go on to, and what depth and relative position are told from. Not owned: it must
    /// live as long as it is the parent. The layout that owns the widget stays the same.
    void SetParent(GuiWidget* parent) noexcept { m_parent = parent; }
    /// The layout that owns it; null for none.
    GuiLayout* GetOwner() const noexcept { return m_owner; }
    /// This as what holds other widgets; null when it is none.
    GuiLayout* AsLayout() noexcept { return m_asLayout; }
    const GuiLayout* AsLayout() const noexcept { return m_asLayout; }
    GuiContext& GetContext() const noexcept { return *m_context; }
    GuiCallback* GetCallback() const noexcept;
    /// Not owned; forgotten when it dies.
    void SetCallback(GuiCallback* callback);
    GuiStyle GetStyle() const noexcept { return m_style; }
    void SetStyle(GuiStyle style);
    GuiSizePolicy GetSizePolicy() const noexcept { return m_sizePolicy; }
    void SetSizePolicy(GuiSizePolicy policy);
    bool IsVisible() const noexcept { return m_isVisible; }
    bool IsLocked() const noexcept { return m_isLocked; }
    bool IsHoveredOver() const { return myIsHoverWidget(); }

    /// Whether Tab stops at it. Controls are, others are not.
    bool IsFocusable() const noexcept { return m_isFocusable; }
    void SetFocusable(bool focusable) noexcept { m_isFocusable = focusable; }
    /// Whether it hears of Tab itself; Control and Tab then go to the next widget.
    bool TakesTab() const noexcept { return m_takesTab; }
    void SetTakesTab(bool takesTab) noexcept { m_takesTab = takesTab; }
    /// What is shown when the mouse rests on it, or on something inside without one; empty for nothing.
    const std::string& GetToolTip() const noexcept { return m_toolTip; }
    void SetToolTip(std::string_view text) { m_toolTip = text; }
    /// What the mouse shows over it.
    GuiCursor GetCursor() const noexcept { return m_cursor; }
    void SetCursor(GuiCursor cursor) noexcept { m_cursor = cursor; }
    /// Whether `Tick` is called, from the next pass on.
    void SetTicking(bool ticking);
    /// Whether `RenderOverlay` is called while it can be seen; who asked last lies over the others.
    void SetOverlay(bool overlay);

    const GuiRecti& GetRect() const noexcept { return m_rect; }
    const GuiRectf& GetLayoutRect() const noexcept { return m_layoutRect; }
    /// The layout rectangle with its fractions cut off.
    GuiRecti GetLayoutRectInteger() const noexcept;
    /// Both rectangles at once; its size is from then on the preferred one.
    void SetRect(const GuiRecti& rect);
    void SetRect(const GuiRectf& rect);
    void SetRect(int x, int y, int w, int h) { SetRect(GuiRecti(x, y, w, h)); }
    void SetPos(int x, int y) { SetRect(x, y, m_rect.w, m_rect.h); }
    void SetSize(int w, int h) { SetRect(m_rect.x, m_rect.y, w, h); }
    void SetX(int x) { SetPos(x, m_rect.y); }
    void SetY(int y) { SetPos(m_rect.x, y); }
    void SetWidth(int w) { SetSize(w, m_rect.h); }
    void SetHeight(int h) { SetSize(m_rect.w, h); }
    /// What layouts call: as `SetRect`, but the preferred size stays. The integer rectangle is the one between the
    /// rectangle's edges with their fractions cut off, so that neighbours leave no gap.
    void PlaceAt(const GuiRectf& rect);
    /// The size that layouts give it when they can, and the one below which they do not go while there is room.
    Vec2<float> GetPreferredSize() const noexcept { return m_preferredSize; }
    void SetPreferredSize(Vec2<float> size);
    Vec2<float> GetMinimumSize() const noexcept { return m_minimumSize; }
    void SetMinimumSize(Vec2<float> size);
    /// The position as seen from the parent; the absolute one without a parent.
    Vec2<int> GetRelativePos() const noexcept;
    Vec2<int> ConvertAbsoluteToRelative(int x, int y) const noexcept { return {x - m_rect.x, y - m_rect.y}; }

    GuiDock GetDockingPosition() const noexcept { return m_dock; }
    void SetDockPosition(GuiDock dock);
    std::uint32_t GetAnchorMask() const noexcept { return m_anchorMask; }
    /// Also ends docking: the two exclude each other.
    void SetAnchorMask(std::uint32_t mask);

    /// This widget or the first one below it with this id, null when there is none.
    GuiWidget* FindChild(std::string_view id);
    /// The same; when there is none it is reported.
    GuiWidget* FindChildNotNull(std::string_view id);
    /// Leaves its layout and is deleted. Only for widgets made by `new`.
    void DestroySelf();

    /// Writes one line: type, own fields, and those that all widgets have. False, with nothing written, for a widget
    /// that lies too deep for the stream.
    bool Save(GuiStream& stream) const;
    /// Reads such a line. False when it is that of another type, or too deep: then nothing more of it was read. The
    /// parent becomes the one that the stream has for the level above; adding it there is up to the caller, and a
    /// layout that owns it already still does.
    bool Load(GuiStream& stream);

    /// Places what is inside anew before the next picture.
    void InvalidateLayout();
    /// Draws it anew in the next picture. Called by itself when its rectangle, style, visibility, locking, hover or
    /// focus change.
    void Redraw();
    /// Ancestors.
    int GetDepth() const noexcept;
    /// Whether it is this widget, or one that this is in.
    bool IsWithin(const GuiWidget& other) const noexcept;
    /// Whether it and all that it is in are visible, and belong to the context's root.
    bool IsShown() const;

protected:
    /// Promises that `Redraw` is called whenever it would draw something else.
    void myKeepPicture() noexcept { m_keepsPicture = true; }
    /// For a key or a button of the mouse that it has no use for: the parent hears of it.
    void myPassKey(unsigned key);
    void myPassClick(unsigned button);
    /// Posts an event to the nearest callback upwards; drops it when there is none.
    void myEmitEvent(std::string_view name, GuiEvent event);
    Draw& myGetDraw() const;
    Vec2<int> myGetMousePos() const;
    const GuiStyleData& myGetStyle() const;
    void myGrabFocus();
    void myReleaseFocus();
    void myGrabInput();
    void myReleaseInput();
    bool myIsFocusWidget() const;
    bool myIsHoverWidget() const;
    bool myIsInputWidget() const;
    bool myIsKeyDown(unsigned key) const;
    bool myIsMouseDown(unsigned button) const;
    /// A triangle that points down, in a square with its middle there.
    void myDrawArrow(float x, float y, int size, Color color);
    void myDrawButton(const GuiRecti& rect, bool isHovered, bool isPressed, bool isLocked, bool isFocused);

private:
    friend class GuiLayout;
    friend class GuiContextI;

    // First what placing and drawing read of thousands of widgets.
    bool m_isVisible = true;
    bool m_isLocked = false;
    bool m_isFocusable = false;
    bool m_takesTab = false;
    bool m_keepsPicture = false;
    GuiCursor m_cursor = GuiCursor::Arrow;
    GuiStyle m_style;
    GuiContext* m_context;
    GuiLayout* m_asLayout = nullptr;
    GuiLayout* m_owner = nullptr; // has it as a child, whatever m_parent is
    GuiSizePolicy m_sizePolicy;
    Vec2<float> m_minimumSize;
    Vec2<float> m_preferredSize;
    GuiRecti m_rect;
    GuiRectf m_layoutRect;
    int m_piece = -1;             // of the context's picture,
    unsigned m_pictureNumber = 0; // if it is still that one
    // In the context's lists; -1 for those that it is not in.
    int m_tickingPlace = -1;
    int m_overlayPlace = -1;
    int m_redrawnPlace = -1;
    int m_unkeptPlace = -1;
    GuiDock m_dock = GuiDock::None;
    std::uint32_t m_anchorMask = kAnchorLeft | kAnchorTop;
    GuiWidget* m_parent = nullptr;
    std::uint64_t m_modalNumber = 0;    // among the context's modals; 0 when it is none
    std::shared_ptr<GuiWidget*> m_self; // for those that refer to it; null until there are any
    std::shared_ptr<GuiCallback*> m_callback;
    std::string m_id;
    std::string m_toolTip;
};

/// Calls the function for the root and every widget below it, parents first. It must not add or remove any.
TAMRAGAMEENGINE_API void IterateOverWidgets(GuiWidget& root, void (*function)(GuiWidget& widget, void* user),
                                            void* user);
} // namespace gui
