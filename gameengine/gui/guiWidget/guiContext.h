#pragma once

#include "gameengine/gui/guiWidget/guiEvent.h"
#include "gameengine/gui/guiWidget/guiKey.h"
#include "gameengine/gui/guiWidget/guiStyle.h"
#include "gameengine/gui/guiWidget/guiTypes.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <string_view>

namespace gui
{
class GuiFreeLayout;
class GuiWidget;

/// What a widget that takes text is besides: it hears of characters while it is in focus.
class GuiTextReceiver
{
public:
    /// A Unicode code point.
    virtual void OnKeyChar(unsigned character) = 0;

protected:
    ~GuiTextReceiver() = default;
};

/// The widgets of one screen, with the state of mouse and keyboard. The host pushes input as it comes and once a frame
/// calls `Update` and `Render`:
///
///     context->SetMousePos(x, y);
///     context->PushMouseClick(1);
///     context->Update(seconds);
///     context->Render(width, height);
///
/// `Update` hands input to the widgets in the order in which it came, brings the layouts up to date, and delivers the
/// events that were posted before; those posted meanwhile follow with the next one. Keys go to the widget in focus, the
/// mouse to the one under it, unless a widget has grabbed the input: then everything goes there. Tab and Shift and Tab
/// move the focus.
///
/// A frame in which nothing changes places, ticks and draws nothing anew.
class TAMRAGAMEENGINE_API GuiContext : public NonCopyable
{
public:
    /// A context that draws with `draw`, which must outlive it.
    static std::unique_ptr<GuiContext> Create(Draw& draw);
    /// The same, stored. True when it was made.
    static bool Create(Draw& draw, std::unique_ptr<GuiContext>& context);
    /// Destroys all widgets below the root.
    virtual ~GuiContext() = default;

    virtual void PushKeyPress(unsigned key) = 0;
    virtual void PushKeyRelease(unsigned key) = 0;
    virtual void PushMouseClick(unsigned button) = 0;
    virtual void PushMouseRelease(unsigned button) = 0;
    /// A character that was typed; goes to the widget in focus if it is a `GuiTextReceiver`.
    virtual void PushKeyChar(unsigned character) = 0;
    virtual void SetMousePos(int x, int y) = 0;
    virtual Vec2<int> GetMousePos() const = 0;
    virtual bool IsKeyDown(unsigned key) const = 0;
    virtual bool IsMouseDown(unsigned button) const = 0;
    /// Of the input that is being delivered; outside of that, of the input pushed last. Bits of `GuiModifier`.
    virtual unsigned GetModifiers() const = 0;
    /// How many clicks in a row the one being delivered is: 1, 2, 3, and 1 again. At most 0.4 seconds and 4 pixels lie
    /// between them.
    virtual int GetClickCount() const = 0;
    /// Whether the key being delivered is held, and not pressed anew.
    virtual bool IsKeyRepeated() const = 0;
    /// A held key is pressed again after the delay, and then in intervals, in seconds. At the start 0.5 and 0.04; a
    /// delay of 0 ends it, as does a host that pushes held keys again by itself.
    virtual void SetKeyRepeat(float delay, float interval) = 0;

    /// Text that is copied and pasted; the context keeps it by itself unless the host has a place for it. Both
    /// functions or none.
    virtual void SetClipboardAccess(std::function<void(const std::string&)> set, std::function<std::string()> get) = 0;
    virtual void SetClipboard(std::string_view text) = 0;
    virtual std::string GetClipboard() const = 0;
    /// What the mouse shows now.
    virtual GuiCursor GetCursor() const = 0;

    virtual GuiWidget* GetHoverWidget() const = 0;
    virtual GuiWidget* GetFocusWidget() const = 0;
    virtual GuiWidget* GetInputWidget() const = 0;
    /// Null for none.
    virtual void GrabInput(GuiWidget* widget) = 0;
    virtual void GrabFocus(GuiWidget* widget) = 0;
    /// To the next (1) or last (-1) widget that Tab stops at.
    virtual void MoveFocus(int step) = 0;
    /// While it is modal, the mouse finds this widget and what is in it only. Of several the one that became so last.
    virtual void SetModal(GuiWidget& widget, bool modal) = 0;
    virtual GuiWidget* GetModal() const = 0;
    /// Called when a widget is destroyed: nothing points at it from here on.
    virtual void ForgetWidget(GuiWidget* widget) = 0;
    /// Queues an event for a callback, which hears of it at the end of the pass, or of the next one when a callback
    /// posts it, unless it is gone by then.
    virtual void PostEvent(GuiCallback* callback, std::string_view name, const GuiEvent& event) = 0;

    /// One pass: input, ticks, layout, events.
    virtual void Update(float seconds) = 0;
    /// Draws everything for a target of so many pixels, which becomes the root's size.
    virtual void Render(int width, int height) = 0;

    /// Holds everything: a free layout with the id "__root".
    virtual GuiFreeLayout& GetRoot() = 0;
    virtual Draw& GetDraw() = 0;
    virtual const GuiStyleData& GetStyleData(GuiStyle style) const = 0;
    /// Changes a style from 0 to `kStyleCount` - 1, at once for everything drawn in it.
    virtual void SetStyleData(GuiStyle style, const GuiStyleData& data) = 0;
    /// Calls of `AdjustLayout` in the last pass.
    virtual int GetLayoutCount() const = 0;
    /// Calls of `GuiWidget::Render` for the last picture.
    virtual int GetRenderCount() const = 0;

    // What widgets and layouts call.

    virtual void SetTicking(GuiWidget& widget, bool ticking) = 0;
    virtual void SetOverlay(GuiWidget& widget, bool overlay) = 0;
    /// Draws a widget anew with the next picture, or everything.
    virtual void RequestRedraw(GuiWidget& widget) = 0;
    virtual void RequestPicture() = 0;
    /// Draws a child of a layout that is being drawn, if it is visible.
    virtual void RenderWidget(GuiWidget& widget) = 0;
    /// Gives the focus back to whoever had it when the widget became modal. False when there is none to be seen.
    virtual bool ReturnFocus(const GuiWidget& modal) = 0;
};
} // namespace gui
