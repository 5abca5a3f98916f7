#pragma once

#include "gameengine/gui/guiWidget/guiEvent.h"
#include "gameengine/gui/guiWidget/guiStyle.h"
#include "gameengine/gui/guiWidget/guiTypes.h"

#include <cstdint>
#include <memory>
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
/// mouse to the one under it, unless a widget has grabbed the input: then everything goes there.
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

    virtual GuiWidget* GetHoverWidget() const = 0;
    virtual GuiWidget* GetFocusWidget() const = 0;
    virtual GuiWidget* GetInputWidget() const = 0;
    /// Null for none.
    virtual void GrabInput(GuiWidget* widget) = 0;
    virtual void GrabFocus(GuiWidget* widget) = 0;
    /// Called when a widget is destroyed: nothing points at it from here on.
    virtual void ForgetWidget(GuiWidget* widget) = 0;
    /// Queues an event for a callback, which hears of it in the next pass unless it is gone by then.
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
};
} // namespace gui
