#include "corvex/window.h"

#include "corvex/contextInternal.h"
#include "tamradeps/core/log.h"
#include "tamraengine/renderer/input.h"

#include <cstdlib>

#define GLFW_INCLUDE_NONE
#include <GLFW/glfw3.h>

namespace
{
int g_windows = 0; // GLFW belongs to all of them
}

struct CWindow::State
{
    GLFWwindow* window = nullptr;
    renderer::CInput* input = nullptr;
    GLFWcursor* cursor = nullptr;
    int mode = GLFW_CURSOR_NORMAL; // without mouse look
    bool isLooking = false;

    ~State()
    {
        if (cursor)
            glfwDestroyCursor(cursor);
        glfwDestroyWindow(window);
        if (--g_windows == 0)
            glfwTerminate();
    }
};

namespace
{
constexpr int kMaxSide = 16384;

// GLFW's codes for keys are ours.
static_assert(GLFW_KEY_SPACE == renderer::kKeySpace && GLFW_KEY_ESCAPE == renderer::kKeyEscape);
static_assert(GLFW_KEY_ENTER == renderer::kKeyEnter && GLFW_KEY_TAB == renderer::kKeyTab);
static_assert(GLFW_KEY_BACKSPACE == renderer::kKeyBackspace && GLFW_KEY_RIGHT == renderer::kKeyRight);
static_assert(GLFW_KEY_UP == renderer::kKeyUp && GLFW_KEY_F1 == renderer::kKeyF1);
static_assert(GLFW_KEY_LEFT_SHIFT == renderer::kKeyLeftShift && GLFW_KEY_LEFT_CONTROL == renderer::kKeyLeftControl);

std::string g_lastError;

void OnError(int, const char* text)
{
    g_lastError = text;
}

void LogFailure(const std::string& why)
{
    tamra::log::Error("Cannot open a window: " + tamra::log::Quoted(why, 300));
}

renderer::CInput* GetInput(GLFWwindow* window)
{
    return static_cast<renderer::CInput*>(glfwGetWindowUserPointer(window));
}

void OnKey(GLFWwindow* window, int key, int, int action, int)
{
    renderer::CInput* const input = GetInput(window);
    if (action == GLFW_RELEASE)
    {
        input->KeyUp(key);
        return;
    }
    input->KeyDown(key);
    // Text takes these as characters, as terminals do.
    if (key == GLFW_KEY_BACKSPACE)
        input->KeyChar(8);
    else if (key == GLFW_KEY_TAB)
        input->KeyChar(9);
    else if (key == GLFW_KEY_ENTER || key == GLFW_KEY_KP_ENTER)
        input->KeyChar(13);
}

void OnCharacter(GLFWwindow* window, unsigned character)
{
    GetInput(window)->KeyChar(static_cast<int>(character));
}

void OnMouseButton(GLFWwindow* window, int button, int action, int)
{
    if (button > GLFW_MOUSE_BUTTON_5)
        return;
    if (action == GLFW_PRESS)
        GetInput(window)->MouseDown(1 << button);
    else
        GetInput(window)->MouseUp(1 << button);
}

void OnScroll(GLFWwindow* window, double, double y)
{
    if (y == 0.0)
        return;
    const int button = y > 0.0 ? renderer::kMouseWheelUp : renderer::kMouseWheelDown;
    GetInput(window)->MouseDown(button);
    GetInput(window)->MouseUp(button);
}

void OnMouseMove(GLFWwindow* window, double x, double y)
{
    GetInput(window)->MouseMove(static_cast<int>(x), static_cast<int>(y));
}

GLFWwindow* OpenWindow(const WindowSettings& settings)
{
    glfwDefaultWindowHints();
    glfwWindowHint(GLFW_CONTEXT_VERSION_MAJOR, 4);
    glfwWindowHint(GLFW_CONTEXT_VERSION_MINOR, 5);
    glfwWindowHint(GLFW_OPENGL_PROFILE, GLFW_OPENGL_CORE_PROFILE);
    glfwWindowHint(GLFW_OPENGL_DEBUG_CONTEXT, GLFW_TRUE);
    glfwWindowHint(GLFW_DEPTH_BITS, 24);
    glfwWindowHint(GLFW_VISIBLE, settings.isVisible ? GLFW_TRUE : GLFW_FALSE);
    return glfwCreateWindow(settings.width, settings.height, settings.title.c_str(), nullptr, nullptr);
}
} // namespace

CWindow::CWindow(std::unique_ptr<State> state) : m_state(std::move(state)) {}

CWindow::~CWindow() = default;

bool CWindow::HasDisplay()
{
#ifdef _WIN32
    return true;
#else
    return std::getenv("DISPLAY") || std::getenv("WAYLAND_DISPLAY");
#endif
}

std::unique_ptr<CWindow> CWindow::Create(const WindowSettings& settings, renderer::CInput* input)
{
    if (settings.width < 1 || settings.height < 1 || settings.width > kMaxSide || settings.height > kMaxSide)
    {
        LogFailure("its size is " + std::to_string(settings.width) + " x " + std::to_string(settings.height) +
                   ", sides must be from 1 to " + std::to_string(kMaxSide));
        return nullptr;
    }
    glfwSetErrorCallback(OnError);
    if (!glfwInit())
    {
        LogFailure(g_lastError);
        return nullptr;
    }
    auto state = std::make_unique<State>();
    ++g_windows;
    // Also here: GLFW makes a new context current for a moment.
    ReleaseOffscreenContext();
    state->window = OpenWindow(settings);
    if (!state->window)
    {
        LogFailure(g_lastError);
        return nullptr;
    }
    state->input = input;
    if (input)
    {
        glfwSetWindowUserPointer(state->window, input);
        glfwSetKeyCallback(state->window, OnKey);
        glfwSetCharCallback(state->window, OnCharacter);
        glfwSetMouseButtonCallback(state->window, OnMouseButton);
        glfwSetScrollCallback(state->window, OnScroll);
        glfwSetCursorPosCallback(state->window, OnMouseMove);
    }
    std::unique_ptr<CWindow> window(new CWindow(std::move(state)));
    window->MakeCurrent();
    glfwSwapInterval(settings.waitsForDisplay ? 1 : 0);
    return window;
}

const char* CWindow::GetTypeString()
{
    return "CWindow";
}

bool CWindow::MakeCurrent()
{
    ReleaseOffscreenContext();
    g_lastError.clear();
    glfwMakeContextCurrent(m_state->window);
    if (g_lastError.empty())
        return true;
    tamra::log::Error("Cannot make the window's context current: " + tamra::log::Quoted(g_lastError, 300));
    return false;
}

int CWindow::GetWidth() const
{
    int width = 0;
    int height = 0;
    glfwGetFramebufferSize(m_state->window, &width, &height);
    return width;
}

int CWindow::GetHeight() const
{
    int width = 0;
    int height = 0;
    glfwGetFramebufferSize(m_state->window, &width, &height);
    return height;
}

void CWindow::SwapBuffers()
{
    glfwSwapBuffers(m_state->window);
}

bool CWindow::PollEvents()
{
    glfwPollEvents();
    return glfwWindowShouldClose(m_state->window) == GLFW_FALSE;
}

void CWindow::Close()
{
    glfwSetWindowShouldClose(m_state->window, GLFW_TRUE);
}

void CWindow::KeepOpen()
{
    glfwSetWindowShouldClose(m_state->window, GLFW_FALSE);
}

bool CWindow::IsKeyHeld(int key) const
{
    return key >= GLFW_KEY_SPACE && key <= GLFW_KEY_LAST && glfwGetKey(m_state->window, key) == GLFW_PRESS;
}

std::string CWindow::GetClipboard() const
{
    const char* const text = glfwGetClipboardString(m_state->window);
    return text ? text : "";
}

void CWindow::SetClipboard(const std::string& text)
{
    glfwSetClipboardString(m_state->window, text.c_str());
}

void CWindow::SetCursor(WindowCursor cursor)
{
    // Only newer systems know the slanted ones.
#ifdef GLFW_RESIZE_NWSE_CURSOR
    constexpr int kDown = GLFW_RESIZE_NWSE_CURSOR;
    constexpr int kUp = GLFW_RESIZE_NESW_CURSOR;
    constexpr int kMove = GLFW_RESIZE_ALL_CURSOR;
#else
    constexpr int kDown = GLFW_CROSSHAIR_CURSOR;
    constexpr int kUp = GLFW_CROSSHAIR_CURSOR;
    constexpr int kMove = GLFW_HAND_CURSOR;
#endif
    constexpr int kShapes[] = {GLFW_ARROW_CURSOR,
                               GLFW_IBEAM_CURSOR,
                               GLFW_HAND_CURSOR,
                               GLFW_HRESIZE_CURSOR,
                               GLFW_VRESIZE_CURSOR,
                               kDown,
                               kUp,
                               kMove};
    m_state->mode = cursor == WindowCursor::None ? GLFW_CURSOR_HIDDEN : GLFW_CURSOR_NORMAL;
    SetMouseLook(m_state->isLooking);
    if (cursor == WindowCursor::None)
        return;
    GLFWcursor* const shape = glfwCreateStandardCursor(kShapes[static_cast<int>(cursor)]);
    glfwSetCursor(m_state->window, shape);
    if (m_state->cursor)
        glfwDestroyCursor(m_state->cursor);
    m_state->cursor = shape;
}

void CWindow::SetMouseLook(bool enabled)
{
    m_state->isLooking = enabled;
    glfwSetInputMode(m_state->window, GLFW_CURSOR, enabled ? GLFW_CURSOR_DISABLED : m_state->mode);
}

void ReleaseWindowContext()
{
    if (g_windows > 0 && glfwGetCurrentContext())
        glfwMakeContextCurrent(nullptr);
}
