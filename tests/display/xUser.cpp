#include "tests/display/xUser.h"

#include <X11/XKBlib.h>
#include <X11/Xlib.h>
#include <X11/extensions/XTest.h>

namespace test
{
struct XUser::State
{
    Display* display = XOpenDisplay(nullptr);
    Window window = 0;
};

XUser::XUser() : m_state(std::make_unique<State>()) {}

XUser::~XUser()
{
    if (m_state->display)
        XCloseDisplay(m_state->display);
}

bool XUser::FindWindow(int width, int height)
{
    int ignored[4];
    Display* const display = m_state->display;
    if (!display || !XTestQueryExtension(display, &ignored[0], &ignored[1], &ignored[2], &ignored[3]))
        return false;
    Window root = 0;
    Window parent = 0;
    Window* children = nullptr;
    unsigned count = 0;
    if (!XQueryTree(display, DefaultRootWindow(display), &root, &parent, &children, &count))
        return false;
    for (unsigned i = 0; i < count; ++i)
    {
        XWindowAttributes attributes;
        if (XGetWindowAttributes(display, children[i], &attributes) && attributes.map_state == IsViewable &&
            attributes.width == width && attributes.height == height)
            m_state->window = children[i];
    }
    if (children)
        XFree(children);
    return m_state->window != 0;
}

void XUser::Hold(unsigned long key, bool isDown)
{
    XTestFakeKeyEvent(m_state->display, XKeysymToKeycode(m_state->display, key), isDown ? True : False, CurrentTime);
    XSync(m_state->display, False);
}

void XUser::Press(unsigned long key, unsigned long held)
{
    if (held != 0)
        Hold(held, true);
    Hold(key, true);
    Hold(key, false);
    if (held != 0)
        Hold(held, false);
}

void XUser::Type(std::string_view text)
{
    for (const char c : text)
    {
        const auto key = static_cast<unsigned char>(c);
        const bool isPlain = XkbKeycodeToKeysym(m_state->display, XKeysymToKeycode(m_state->display, key), 0, 0) == key;
        Press(key, isPlain ? 0 : static_cast<unsigned long>(kShift));
    }
}

void XUser::MoveTo(int x, int y)
{
    Window child = 0;
    XTranslateCoordinates(m_state->display, m_state->window, DefaultRootWindow(m_state->display), x, y, &x, &y, &child);
    XTestFakeMotionEvent(m_state->display, -1, x, y, CurrentTime);
    XSync(m_state->display, False);
}

void XUser::Click(unsigned button)
{
    for (const int isDown : {True, False})
        XTestFakeButtonEvent(m_state->display, button, isDown, CurrentTime);
    XSync(m_state->display, False);
}

void XUser::CloseWindow()
{
    XEvent event{};
    event.xclient.type = ClientMessage;
    event.xclient.window = m_state->window;
    event.xclient.message_type = XInternAtom(m_state->display, "WM_PROTOCOLS", False);
    event.xclient.format = 32;
    event.xclient.data.l[0] = static_cast<long>(XInternAtom(m_state->display, "WM_DELETE_WINDOW", False));
    XSendEvent(m_state->display, m_state->window, False, NoEventMask, &event);
    XSync(m_state->display, False);
}
} // namespace test
