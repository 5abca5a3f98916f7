#pragma once

#include "corvex/context.h"

#include <string>

namespace renderer
{
class CInput;
}

/// What a window is opened with.
struct WindowSettings
{
    std::string title;
    int width = 1280; ///< Of what is drawn, in pixels, 1 to 16384.
    int height = 720;
    bool isVisible = true;
    bool waitsForDisplay = true; ///< SwapBuffers waits for the display's next picture.
};

/// What the mouse shows over a window. Where the system has no such shape it shows one that comes near.
enum class WindowCursor
{
    Arrow,
    Text,
    Hand,
    SizeHorizontal,
    SizeVertical,
    SizeDiagonalDown, ///< From the upper left to the lower right.
    SizeDiagonalUp,
    Move,
    None
};

/// A window with a context, and the keyboard and mouse that belong to it.
class CORVEX_API CWindow : public CContext
{
public:
    /// Whether there is a display that a window could be shown on.
    static bool HasDisplay();

    /// Opens the window and makes its context current. `input` hears of keys and the mouse while `PollEvents` runs; it
    /// may be null and must outlive the window. Null and one log line for a size that cannot be, without a display, and
    /// without OpenGL 4.5.
    static std::unique_ptr<CWindow> Create(const WindowSettings& settings, renderer::CInput* input);
    ~CWindow() override;

    const char* GetTypeString() override;
    bool MakeCurrent() override;
    int GetWidth() const override;
    int GetHeight() const override;
    void SwapBuffers() override;

    /// Takes what happened since the last call to the input, and answers whether the window is still wanted.
    bool PollEvents();
    /// Makes `PollEvents` answer false.
    void Close();
    /// Makes it answer true again, whoever wanted the window to be closed: for a program that has a question first.
    void KeepOpen();

    /// Whether a key is held, whoever consumed it; codes as in `renderer::Key`.
    bool IsKeyHeld(int key) const;
    /// The system's clipboard as UTF-8; empty when it holds no text. A text ends at its first zero byte.
    std::string GetClipboard() const;
    void SetClipboard(const std::string& text);
    /// Until the next call; an arrow at first. Mouse look goes before it.
    void SetCursor(WindowCursor cursor);
    /// Hides the mouse pointer and lets it move without end, for looking around.
    void SetMouseLook(bool enabled);

private:
    struct State;

    explicit CWindow(std::unique_ptr<State> state);

    std::unique_ptr<State> m_state;
};
