#include "gameengine/gui/guiInputAdapter.h"

#include "corvex/window.h"
#include "gameengine/gui/draw2D/font.h"
#include "gameengine/gui/draw2D/latin1.h"
#include "gameengine/gui/guiWidget/guiFocusInternal.h"
#include "gameengine/gui/guiWidget/guiLayout.h"

namespace gui
{
namespace
{
WindowCursor ToWindowCursor(GuiCursor cursor)
{
    switch (cursor)
    {
    case GuiCursor::Arrow: return WindowCursor::Arrow;
    case GuiCursor::Text: return WindowCursor::Text;
    case GuiCursor::Hand: return WindowCursor::Hand;
    case GuiCursor::SizeHorizontal: return WindowCursor::SizeHorizontal;
    case GuiCursor::SizeVertical: return WindowCursor::SizeVertical;
    case GuiCursor::SizeDiagonalDown: return WindowCursor::SizeDiagonalDown;
    case GuiCursor::SizeDiagonalUp: return WindowCursor::SizeDiagonalUp;
    case GuiCursor::Move: return WindowCursor::Move;
    case GuiCursor::None: return WindowCursor::None;
    }
    return WindowCursor::Arrow;
}
} // namespace

GuiInputAdapter::GuiInputAdapter(GuiContext& context, CWindow* window) : m_context(context), m_window(window)
{
    if (m_window)
        m_context.SetClipboardAccess([window](const std::string& text) { window->SetClipboard(ToUtf8(text)); },
                                     [window] { return ToLatin1(window->GetClipboard()); });
}

GuiInputAdapter::~GuiInputAdapter()
{
    if (m_window)
        m_context.SetClipboardAccess(nullptr, nullptr);
}

const char* GuiInputAdapter::GetTypeString()
{
    return "GuiInputAdapter";
}

bool GuiInputAdapter::TakesMouse() const
{
    const Vec2<int> mouse = m_context.GetMousePos();
    GuiFreeLayout& root = m_context.GetRoot();
    if (m_context.GetInputWidget() || m_context.GetModal())
        return true;
    const GuiWidget* const hover = root.GetHoverWidget(mouse.x, mouse.y);
    return hover && hover != &root;
}

bool GuiInputAdapter::TakesKeys() const
{
    const GuiWidget* const focus = m_context.GetFocusWidget();
    return m_context.GetInputWidget() || (focus && focus->IsShown()) || m_context.GetModal();
}

bool GuiInputAdapter::OnKeyChar(int character)
{
    // Widgets know these as keys.
    if (character >= 32 && character != 127)
        m_context.PushKeyChar(static_cast<unsigned>(character));
    return TakesKeys();
}

bool GuiInputAdapter::OnKeyDown(int key)
{
    m_keys.insert(key);
    m_context.PushKeyPress(static_cast<unsigned>(key));
    return TakesKeys() ||
           (key == renderer::kKeyTab && FindNextFocus(m_context.GetRoot(), m_context.GetFocusWidget(), 1));
}

bool GuiInputAdapter::OnKeyUp(int key)
{
    m_keys.erase(key);
    m_context.PushKeyRelease(static_cast<unsigned>(key));
    return false;
}

bool GuiInputAdapter::OnMouseDown(int button)
{
    if (!TakesMouse())
        return false;
    m_buttons.insert(button);
    m_context.PushMouseClick(static_cast<unsigned>(button));
    return true;
}

bool GuiInputAdapter::OnMouseUp(int button)
{
    if (m_buttons.erase(button) == 0)
        return false;
    m_context.PushMouseRelease(static_cast<unsigned>(button));
    return true;
}

bool GuiInputAdapter::OnMouseMove(int x, int y)
{
    m_context.SetMousePos(x, y);
    return TakesMouse() || !m_buttons.empty();
}

void GuiInputAdapter::Release()
{
    for (const int key : m_keys)
        m_context.PushKeyRelease(static_cast<unsigned>(key));
    for (const int button : m_buttons)
        m_context.PushMouseRelease(static_cast<unsigned>(button));
    m_keys.clear();
    m_buttons.clear();
}

void GuiInputAdapter::UpdateCursor()
{
    const GuiCursor cursor = m_context.GetCursor();
    if (!m_window || cursor == m_cursor)
        return;
    m_cursor = cursor;
    m_window->SetCursor(ToWindowCursor(cursor));
}
} // namespace gui
