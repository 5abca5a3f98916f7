#pragma once

#include <memory>
#include <string_view>

namespace test
{
/// Somebody at the keyboard and mouse of an X server: what happens comes to windows as from devices. Coordinates are
/// pixels of the window.
class XUser
{
public:
    /// Keys besides printable ASCII.
    enum Key : unsigned long
    {
        kEnter = 0xFF0D,
        kEscape = 0xFF1B,
        kEnd = 0xFF57,
        kShift = 0xFFE1
    };

    XUser();
    XUser(const XUser&) = delete;
    XUser& operator=(const XUser&) = delete;
    ~XUser();

    /// The visible window of this size. False when there is none, or no way to act.
    bool FindWindow(int width, int height);
    void Hold(unsigned long key, bool isDown);
    /// A key, or a character that a keyboard has, with another one held meanwhile if that is not 0.
    void Press(unsigned long key, unsigned long held = 0);
    /// Text of printable ASCII.
    void Type(std::string_view text);
    void MoveTo(int x, int y);
    /// Buttons of X: 1 left, 3 right, 4 and 5 the wheel upwards and downwards.
    void Click(unsigned button = 1);
    /// Asks the program to close the window, as its title bar does.
    void CloseWindow();

private:
    struct State;
    std::unique_ptr<State> m_state;
};
} // namespace test
