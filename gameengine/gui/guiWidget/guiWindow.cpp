#include "gameengine/gui/guiWidget/guiWindow.h"

#include "gameengine/gui/guiWidget/guiContext.h"
#include "gameengine/gui/guiWidget/guiShortenInternal.h"
#include "gameengine/gui/guiWidget/guiStream.h"

#include <algorithm>
#include <cstdint>
#include <utility>

namespace gui
{
namespace
{
constexpr std::uint32_t kAllFlags = 127;
constexpr int kMaxSize = 100'000;
constexpr int kBorder = 4;  // edges are gripped this far inwards,
constexpr int kCorner = 12; // and corners this far along them
constexpr int kReach = 64;  // of the title bar, stays inside of the parent
constexpr int kKeyStep = 16;
constexpr Vec2<int> kShadow{10, 3}; // how far it reaches, and how much lower it lies

int LimitSize(float size)
{
    return size > 0.0F ? static_cast<int>(std::min(size, static_cast<float>(kMaxSize))) : 0;
}

bool IsInside(const GuiWidget* widget, const GuiWidget& other)
{
    return widget && widget->IsWithin(other);
}

GuiCursor CursorFor(std::uint32_t edges)
{
    switch (edges)
    {
    case kAnchorLeft:
    case kAnchorRight: return GuiCursor::SizeHorizontal;
    case kAnchorTop:
    case kAnchorBottom: return GuiCursor::SizeVertical;
    case kAnchorLeft | kAnchorTop:
    case kAnchorRight | kAnchorBottom: return GuiCursor::SizeDiagonalDown;
    case kAnchorRight | kAnchorTop:
    case kAnchorLeft | kAnchorBottom: return GuiCursor::SizeDiagonalUp;
    default: return GuiCursor::Arrow;
    }
}
} // namespace

GuiWindow::GuiWindow(GuiContext& context, GuiStyle style, const GuiRecti& rect, GuiSizePolicy sizePolicy)
    : GuiLayoutSingle(context, style, rect, sizePolicy)
{
}

void GuiWindow::AdjustLayout()
{
    m_lastRoom = i_GetRoom();
    const GuiRecti kept = i_KeepReachable(GetRect());
    if (kept != GetRect())
    {
        OnUpdateLayout(ToFloat(kept));
        GuiWidget::OnUpdateRect(kept);
    }
    const GuiRecti room = GetContainingRect();
    if (GuiWidget* const child = GetChild(0))
        child->PlaceAt(ToFloat(room));
}

void GuiWindow::OnUpdateRect(const GuiRecti& rect)
{
    GuiLayoutSingle::OnUpdateRect(rect);
    if (i_GetRoom() != m_lastRoom)
        InvalidateLayout();
}

void GuiWindow::OnKeyPress(unsigned key)
{
    if (m_action != Action::None)
    {
        if (key != kGuiKeyEscape)
            return;
        if (m_action != Action::Close)
            SetRect(m_startRect);
        i_Stop();
    }
    else if (key == kGuiKeyEscape && i_Has(kWindowClosable) && i_TakesInput())
        i_CloseByHand();
    else if (!myIsFocusWidget() || !i_TakesInput() || !i_MoveByKey(key))
        myPassKey(key);
}

void GuiWindow::OnMouseClick(unsigned button)
{
    if (button != kGuiMouseLeft)
        return myPassClick(button);
    if (!myIsHoverWidget() || !i_TakesInput() || m_action != Action::None)
        return;
    const Vec2<int> mouse = myGetMousePos();
    m_edges = i_FindEdges(mouse);
    if (i_IsOnClose(mouse))
        i_Start(Action::Close);
    else if (m_edges != 0)
        i_Start(Action::Resize);
    else if (mouse.y >= GetRect().y + i_GetTitleHeight())
        return;
    else if (i_Has(kWindowCollapsible) && GetContext().GetClickCount() == 2)
        SetCollapsed(!IsCollapsed());
    else if (i_Has(kWindowMovable))
        i_Start(Action::Move);
}

void GuiWindow::OnMouseRelease(unsigned button)
{
    if (button != kGuiMouseLeft || m_action == Action::None)
        return;
    const bool closes = m_action == Action::Close && i_IsOnClose(myGetMousePos());
    i_Follow();
    i_Stop();
    if (closes)
        i_CloseByHand();
}

void GuiWindow::OnClickBelow(unsigned button)
{
    if (button == kGuiMouseWheelUp || button == kGuiMouseWheelDown || !i_TakesInput())
        return;
    if (!m_isActive)
        myEmitEvent(GetId(), {GET_WINDOW_GRAB_FOCUS});
    Activate();
    // Escape shall reach it, also when what was clicked takes no focus.
    if (!IsInside(GetContext().GetFocusWidget(), *this))
        myGrabFocus();
}

GuiWidget* GuiWindow::GetHoverWidget(int x, int y)
{
    const bool isBehind = IsCollapsed() && y >= GetRect().y + i_GetTitleHeight();
    GuiWidget* const found = isBehind ? nullptr : GuiLayoutSingle::GetHoverWidget(x, y);
    if (found == this)
        SetTicking(true); // as long as the mouse is on the frame, whose parts differ
    return found;
}

void GuiWindow::Tick(float)
{
    if (!myIsInputWidget()) // a modal widget may have taken it away
        i_Stop();
    i_Follow();
    i_FollowHover();
}

void GuiWindow::SetVisible(bool visible)
{
    if (visible == IsVisible())
        return;
    GuiLayoutSingle::SetVisible(visible);
    if (visible)
    {
        Activate();
        if (i_Has(kWindowModal))
        {
            GetContext().SetModal(*this, true); // over others that are
            myGrabFocus();
        }
        return;
    }
    const bool hadFocus = IsInside(GetContext().GetFocusWidget(), *this);
    i_LetGo();
    GuiWindow* const next = std::exchange(m_isActive, false) ? i_FindNextWindow() : nullptr;
    if (next)
        next->Activate();
    if (hadFocus && !GetContext().ReturnFocus(*this))
        GetContext().GrabFocus(next);
}

void GuiWindow::SetLocked(bool locked)
{
    GuiLayoutSingle::SetLocked(locked);
    if (locked)
        i_Stop();
}

GuiRecti GuiWindow::GetContainingRect() const
{
    const GuiRecti rect = GetRect();
    const int top = i_GetTitleHeight();
    return {rect.x + kBorder, rect.y + top, std::max(rect.w - 2 * kBorder, 0), std::max(rect.h - top - kBorder, 0)};
}

GuiWidget* GuiWindow::AddChild(std::unique_ptr<GuiWidget> child)
{
    GuiWidget* const added = GuiLayoutSingle::AddChild(std::move(child));
    if (added && IsCollapsed())
        i_HideChild(true);
    return added;
}

std::unique_ptr<GuiWidget> GuiWindow::RemoveChild(GuiWidget* child)
{
    if (child && child == GetChild(0))
        i_HideChild(false);
    return GuiLayoutSingle::RemoveChild(child);
}

void GuiWindow::SetTitle(std::string_view title)
{
    m_title = title;
    Redraw();
}

void GuiWindow::SetFlags(std::uint32_t flags)
{
    const bool wasModal = i_Has(kWindowModal);
    const bool collapsed = (flags & kWindowCollapsed) != 0;
    m_flags = (flags & kAllFlags & ~std::uint32_t{kWindowCollapsed}) | (m_flags & kWindowCollapsed);
    // One that is invisible itself takes nobody's focus before it is shown.
    if (wasModal != i_Has(kWindowModal) && (wasModal || IsVisible()))
        GetContext().SetModal(*this, !wasModal);
    SetCollapsed(collapsed);
    i_Stop();
    Redraw();
}

void GuiWindow::SetCollapsed(bool collapsed)
{
    if (collapsed == IsCollapsed())
        return;
    m_flags ^= kWindowCollapsed;
    i_LetGo();
    if (collapsed && IsInside(GetContext().GetFocusWidget(), *this))
        myGrabFocus();
    i_HideChild(collapsed);
    Redraw();
}

// What is hidden keeps Tab from stopping there. A child that the program has hidden stays as it is.
void GuiWindow::i_HideChild(bool hide)
{
    GuiWidget* const child = GetChild(0);
    if (!child || hide == m_hidesChild || (hide && !child->IsVisible()))
        return;
    m_hidesChild = hide;
    child->SetVisible(!hide);
}

void GuiWindow::Activate()
{
    GuiLayout* const layout = GetOwner();
    const std::size_t count = layout ? layout->GetChildCount() : 0;
    for (std::size_t i = 0; i < count; ++i)
    {
        auto* const other = dynamic_cast<GuiWindow*>(layout->GetChild(i));
        if (other && other != this && std::exchange(other->m_isActive, false))
            other->Redraw();
    }
    if (!std::exchange(m_isActive, true))
        Redraw();
    auto* const free = dynamic_cast<GuiFreeLayout*>(layout);
    if (free && GetDockingPosition() == GuiDock::None && free->GetChild(count - 1) != this)
        free->RaiseChild(this);
}

int GuiWindow::i_GetTitleHeight() const
{
    return std::max(myGetStyle().titleHeight, 2 * kBorder);
}

GuiRecti GuiWindow::i_GetCloseRect() const
{
    const GuiRecti rect = GetRect();
    const int size = i_GetTitleHeight() - 2 * kBorder;
    return {rect.x + rect.w - size - kBorder, rect.y + kBorder, size, size};
}

// Of the parent; empty when there is none.
GuiRecti GuiWindow::i_GetRoom() const
{
    return GetParent() ? GetParent()->GetContainingRect() : GuiRecti();
}

GuiRecti GuiWindow::i_KeepReachable(GuiRecti rect) const
{
    const GuiRecti room = i_GetRoom();
    if (room.w <= 0 || room.h <= 0)
        return rect;
    const auto keep = [](std::int64_t value, std::int64_t low, std::int64_t high)
    { return static_cast<int>(std::max(std::min(value, high), low)); };
    const std::int64_t reach = std::min({rect.w, room.w, kReach});
    rect.x = keep(rect.x, std::int64_t{room.x} + reach - rect.w, std::int64_t{room.x} + room.w - reach);
    rect.y = keep(rect.y, room.y, std::int64_t{room.y} + room.h - i_GetTitleHeight());
    return rect;
}

// The rectangle of the start with some of its edges moved.
GuiRecti GuiWindow::i_Resized(std::uint32_t edges, Vec2<int> by) const
{
    const GuiRecti room = i_GetRoom();
    const Vec2<float> minimum = GetMinimumSize();
    GuiRecti rect = m_startRect;
    const auto limit = [](int size, float low, int least, int most) {
        return std::max({most > 0 ? std::min(size, most) : size, LimitSize(low), least});
    };
    const int change = (edges & kAnchorLeft) != 0 ? -by.x : (edges & kAnchorRight) != 0 ? by.x : 0;
    rect.w = limit(rect.w + change, minimum.x, 3 * i_GetTitleHeight(), m_maximumSize.x);
    int growth = (edges & kAnchorBottom) != 0 ? by.y : 0;
    // The title bar stops at the parent's upper edge.
    if ((edges & kAnchorTop) != 0)
        growth = room.h > 0 ? std::min(-by.y, std::max(rect.y - room.y, 0)) : -by.y;
    rect.h = limit(rect.h + growth, minimum.y, i_GetTitleHeight() + kBorder, m_maximumSize.y);
    if ((edges & kAnchorLeft) != 0)
        rect.x = m_startRect.x + m_startRect.w - rect.w;
    if ((edges & kAnchorTop) != 0)
        rect.y = m_startRect.y + m_startRect.h - rect.h;
    return rect;
}

// Bits of GuiAnchor.
std::uint32_t GuiWindow::i_FindEdges(Vec2<int> point) const
{
    if (!i_Has(kWindowResizable))
        return 0;
    const GuiRecti rect = GetRect();
    const int fromRight = rect.x + rect.w - 1 - point.x;
    const int fromBottom = rect.y + rect.h - 1 - point.y;
    const auto find = [&](int reach)
    {
        std::uint32_t edges = 0;
        if (point.x - rect.x < reach)
            edges |= kAnchorLeft;
        else if (fromRight < reach)
            edges |= kAnchorRight;
        if (IsCollapsed())
            return edges;
        if (point.y - rect.y < reach)
            edges |= kAnchorTop;
        else if (fromBottom < reach)
            edges |= kAnchorBottom;
        return edges;
    };
    return find(kBorder) != 0 ? find(kCorner) : 0;
}

bool GuiWindow::i_IsOnClose(Vec2<int> point) const
{
    return i_Has(kWindowClosable) && i_GetCloseRect().Holds(point);
}

void GuiWindow::i_Start(Action action)
{
    m_action = action;
    m_startMouse = myGetMousePos();
    m_startRect = GetRect();
    myGrabInput();
    SetTicking(true);
    if (action == Action::Move)
        SetCursor(GuiCursor::Move);
    Redraw();
}

void GuiWindow::i_Follow()
{
    if (m_action != Action::Move && m_action != Action::Resize)
        return;
    const Vec2<int> mouse = myGetMousePos();
    const Vec2<int> by{mouse.x - m_startMouse.x, mouse.y - m_startMouse.y};
    // A click that moves nothing does not change a size beyond the limits either.
    if (by == Vec2<int>() && GetRect() == m_startRect)
        return;
    GuiRecti rect = m_startRect;
    rect.x += by.x;
    rect.y += by.y;
    rect = i_KeepReachable(m_action == Action::Move ? rect : i_Resized(m_edges, by));
    if (rect != GetRect())
        SetRect(rect);
}

void GuiWindow::i_Stop()
{
    if (std::exchange(m_action, Action::None) == Action::None)
        return;
    myReleaseInput();
    Redraw();
}

void GuiWindow::i_FollowHover()
{
    if (m_action == Action::Move || m_action == Action::Resize)
        return;
    const Vec2<int> mouse = myGetMousePos();
    const bool isHere = i_TakesInput() && (myIsHoverWidget() || m_action == Action::Close);
    const bool isHot = isHere && i_IsOnClose(mouse);
    if (std::exchange(m_isCloseHot, isHot) != isHot)
        Redraw();
    SetCursor(isHere && !isHot ? CursorFor(i_FindEdges(mouse)) : GuiCursor::Arrow);
    if (!isHere)
        SetTicking(false);
}

bool GuiWindow::i_MoveByKey(unsigned key)
{
    Vec2<int> by;
    switch (key)
    {
    case kGuiKeyLeft: by.x = -1; break;
    case kGuiKeyRight: by.x = 1; break;
    case kGuiKeyUp: by.y = -1; break;
    case kGuiKeyDown: by.y = 1; break;
    default: return false;
    }
    const unsigned modifiers = GetContext().GetModifiers();
    const int step = (modifiers & kGuiControl) != 0 ? 1 : kKeyStep;
    by = {by.x * step, by.y * step};
    m_startRect = GetRect();
    const bool resizes = (modifiers & kGuiShift) != 0;
    if (!i_Has(resizes ? kWindowResizable : kWindowMovable) || (resizes && IsCollapsed()))
        return false;
    if (resizes)
        SetRect(i_Resized(kAnchorRight | kAnchorBottom, by));
    else
        SetRect(i_KeepReachable({m_startRect.x + by.x, m_startRect.y + by.y, m_startRect.w, m_startRect.h}));
    return true;
}

void GuiWindow::i_CloseByHand()
{
    const bool hides = !i_Has(kWindowAsksToClose);
    GuiEvent event{GET_WINDOW_CLOSE};
    event.SetInt(0, hides ? 1 : 0);
    myEmitEvent(GetId(), event);
    if (hides)
        SetVisible(false);
}

// Somebody inside who has the input learns of it as if it were hidden itself: then widgets let go of it.
void GuiWindow::i_LetGo()
{
    i_Stop();
    GuiWidget* const widget = GetContext().GetInputWidget();
    if (!IsInside(widget, *this))
        return;
    if (widget->IsVisible())
    {
        widget->SetVisible(false);
        widget->SetVisible(true);
    }
    if (widget == GetContext().GetInputWidget())
        GetContext().GrabInput(nullptr);
}

// The highest of the siblings that can be seen; null for none.
GuiWindow* GuiWindow::i_FindNextWindow() const
{
    const GuiLayout* const layout = GetOwner();
    for (std::size_t i = layout ? layout->GetChildCount() : 0; i > 0; --i)
    {
        auto* const other = dynamic_cast<GuiWindow*>(layout->GetChild(i - 1));
        if (other && other != this && other->IsVisible())
            return other;
    }
    return nullptr;
}

void GuiWindow::Render()
{
    const GuiStyleData& style = myGetStyle();
    Draw& draw = myGetDraw();
    const int titleHeight = i_GetTitleHeight();
    GuiRecti rect = GetRect();
    if (IsCollapsed())
        rect.h = std::min(rect.h, titleHeight);
    const GuiRecti bar(rect.x, rect.y, rect.w, std::min(rect.h, titleHeight));
    i_DrawShadow(rect);
    draw.FillRoundRect(rect, style.radius, style.background);
    i_DrawTitle(bar);
    draw.FrameRoundRect(rect, style.radius, m_isActive ? style.accent : style.border);
    if (IsCollapsed())
        return;
    draw.PushClip(GetContainingRect());
    GuiLayoutSingle::Render();
    draw.PopClip();
}

void GuiWindow::i_DrawShadow(const GuiRecti& rect)
{
    const Color dark = myGetStyle().shadow;
    const Color clear = dark & 0x00FFFFFFU;
    const int xs[] = {rect.x - kShadow.x, rect.x, rect.x + rect.w, rect.x + rect.w + kShadow.x};
    const int ys[] = {rect.y - kShadow.x + kShadow.y, rect.y + kShadow.y, rect.y + rect.h + kShadow.y,
                      rect.y + rect.h + kShadow.x + kShadow.y};
    // Dark are the four points of the grid in the middle.
    const auto at = [&](int x, int y) { return (x == 1 || x == 2) && (y == 1 || y == 2) ? dark : clear; };
    for (int y = 0; y < 3; ++y)
    {
        for (int x = 0; x < 3; ++x)
            myGetDraw().Gradient({xs[x], ys[y], xs[x + 1] - xs[x], ys[y + 1] - ys[y]}, at(x, y), at(x + 1, y),
                                 at(x + 1, y + 1), at(x, y + 1));
    }
}

void GuiWindow::i_DrawTitle(const GuiRecti& bar)
{
    const GuiStyleData& style = myGetStyle();
    Draw& draw = myGetDraw();
    const Color back = m_isActive ? style.selection : style.titleBar;
    draw.FillRoundRect(bar, style.radius, back);
    if (!IsCollapsed())
        draw.FillRect({bar.x, bar.y + bar.h / 2, bar.w, bar.h - bar.h / 2}, back);
    const GuiRecti close = i_GetCloseRect();
    const int left = bar.x + kBorder + style.padding;
    const int right = (i_Has(kWindowClosable) ? close.x : bar.x + bar.w) - style.padding;
    const int y = bar.y + (bar.h - draw.GetLineHeight(style.font)) / 2;
    const Color text = IsLocked() ? style.textDisabled : style.text;
    draw.PushClip(bar);
    std::string shortened;
    draw.Text(left, y, Shorten(draw, m_title, right - left, style.font, shortened), text, style.font);
    if (i_Has(kWindowClosable))
    {
        if (m_isCloseHot)
            draw.FillRoundRect(close, style.radius, m_action == Action::Close ? style.facePressed : style.faceHover);
        const int inset = close.w / 4;
        const Vec2<int> low{close.x + inset, close.y + inset};
        const Vec2<int> high{close.x + close.w - 1 - inset, close.y + close.h - 1 - inset};
        draw.Line(low, high, text, 2.0F);
        draw.Line({low.x, high.y}, {high.x, low.y}, text, 2.0F);
    }
    draw.PopClip();
}

void GuiWindow::mySave(GuiStream& stream) const
{
    stream.WriteQuotedString(m_title);
    for (const int size :
         {LimitSize(GetMinimumSize().x), LimitSize(GetMinimumSize().y), m_maximumSize.x, m_maximumSize.y})
        stream.WriteInteger(size);
    stream.WriteInteger(static_cast<int>(m_flags));
}

void GuiWindow::myLoad(GuiStream& stream)
{
    stream.ReadQuotedString(m_title);
    int sizes[] = {0, 0, 0, 0};
    for (int& size : sizes)
    {
        stream.ReadInteger(size);
        size = std::clamp(size, 0, kMaxSize);
    }
    SetMinimumSize({static_cast<float>(sizes[0]), static_cast<float>(sizes[1])});
    SetMaximumSize({sizes[2], sizes[3]});
    if (int flags = 0; stream.ReadInteger(flags))
        SetFlags(static_cast<std::uint32_t>(flags));
}
} // namespace gui
