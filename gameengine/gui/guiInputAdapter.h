#pragma once

#include "gameengine/export.h"
#include "gameengine/gui/guiWidget/guiContext.h"
#include "tamraengine/renderer/input.h"

#include <unordered_set>

class CWindow;

namespace gui
{
/// Brings the renderer's input to widgets, and consumes what is meant for them: the mouse where it is on a widget, or
/// one has grabbed the input; keys while a widget that can be seen is in focus, and Tab where a widget can get it.
/// While a widget is modal, everything that goes down, moves or types. What lies behind the widgets hears of the rest.
///
///     gui::GuiInputAdapter adapter(*context, window.get());
///     renderer.GetInput().AddListener(&adapter);
///     while (window->PollEvents())
///     {
///         context->Update(seconds);
///         adapter.UpdateCursor();
///         ...
///     }
///     renderer.GetInput().RemoveListener(&adapter);
///
/// A key or a button that went down for the widgets comes up for them too, wherever the focus or the mouse is by then.
/// Nobody is kept from hearing that a key comes up.
class TAMRAGAMEENGINE_API GuiInputAdapter final : public renderer::CInputListener
{
public:
    /// Listens before those of usual priority, 0.
    static constexpr int kPriority = 100;

    /// The window, whose clipboard the widgets use from now on, may be null. Both must outlive it.
    explicit GuiInputAdapter(GuiContext& context, CWindow* window = nullptr);
    /// The context keeps its clipboard by itself again.
    ~GuiInputAdapter() override;

    const char* GetTypeString() override;
    bool OnKeyChar(int character) override;
    bool OnKeyDown(int key) override;
    bool OnKeyUp(int key) override;
    bool OnMouseDown(int button) override;
    bool OnMouseUp(int button) override;
    bool OnMouseMove(int x, int y) override;
    int GetPriority() override { return kPriority; }

    /// Lets go of every key and button that is held. For when somebody else captures the input, and the widgets will
    /// not hear how that ends.
    void Release();

    /// Lets the window's mouse show what the widget under it wants. Once a frame.
    void UpdateCursor();

    /// Whether the mouse, where it is now, is for the widgets; and whether keys are.
    bool TakesMouse() const;
    bool TakesKeys() const;

private:
    GuiContext& m_context;
    CWindow* m_window;
    std::unordered_set<int> m_keys;
    std::unordered_set<int> m_buttons; // that went down for the widgets
    GuiCursor m_cursor = GuiCursor::Arrow;
};
} // namespace gui
