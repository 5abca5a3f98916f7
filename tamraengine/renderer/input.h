#pragma once

#include "tamradeps/core/baseObject.h"
#include "tamraengine/export.h"

#include <cstddef>
#include <vector>

namespace renderer
{
/// Mouse buttons are bits; turning the wheel by one notch presses and releases a button of its own.
enum MouseButton : int
{
    kMouseLeft = 1,
    kMouseRight = 2,
    kMouseMiddle = 4,
    kMouseFourth = 8,
    kMouseFifth = 16,
    kMouseWheelUp = 32,
    kMouseWheelDown = 64,
};

/// The keys that the engine itself uses. Printable keys have the code of their character in capitals.
enum Key : int
{
    kKeySpace = 32,
    kKeyEscape = 256,
    kKeyEnter = 257,
    kKeyTab = 258,
    kKeyBackspace = 259,
    kKeyRight = 262,
    kKeyLeft = 263,
    kKeyDown = 264,
    kKeyUp = 265,
    kKeyF1 = 290,
    kKeyLeftShift = 340,
    kKeyLeftControl = 341,
};

/// Hears of the window's input. What answers true is consumed: listeners of lower priority do not hear of it. Positions
/// are pixels from the upper left corner.
class TAMRAENGINE_API CInputListener : public BaseObject
{
public:
    const char* GetTypeString() override;

    /// A character that was typed, as Unicode code point, or 8, 9, 13 for backspace, tab and enter.
    virtual bool OnKeyChar(int character);
    virtual bool OnKeyDown(int key);
    virtual bool OnKeyUp(int key);
    virtual bool OnMouseDown(int button);
    virtual bool OnMouseUp(int button);
    virtual bool OnMouseMove(int x, int y);
    /// Higher ones hear first; those of equal priority in the order in which they came. Asked when it is added.
    virtual int GetPriority();
};

/// Brings input to listeners. They may be added and removed while an event is delivered: who comes hears the next one.
class TAMRAENGINE_API CInput
{
public:
    CInput() = default;
    CInput(const CInput&) = delete;
    CInput& operator=(const CInput&) = delete;

    /// Not owned; must be removed before it dies. Adding one twice has no effect.
    void AddListener(CInputListener* listener);
    void RemoveListener(CInputListener* listener);

    /// Everything goes to this listener alone until it is released, added or not.
    void Capture(CInputListener* listener) noexcept { m_captured = listener; }
    /// Ends the capture when it is this listener's.
    void Release(CInputListener* listener) noexcept;
    CInputListener* GetCaptured() const noexcept { return m_captured; }

    /// Called by whoever has the window. True when some listener consumed it.
    bool KeyChar(int character);
    bool KeyDown(int key);
    bool KeyUp(int key);
    bool MouseDown(int button);
    bool MouseUp(int button);
    bool MouseMove(int x, int y);

private:
    template <class Event>
    bool i_Deliver(const Event& event);

    struct Entry
    {
        CInputListener* listener; // null: left while an event is delivered
        int priority;
        bool isNew; // came while an event is delivered
    };

    std::vector<Entry> m_listeners;
    CInputListener* m_captured = nullptr;
    int m_depth = 0; // of deliveries
};
} // namespace renderer
