#pragma once

#include "gameengine/export.h"

#include <bit>
#include <cstdint>
#include <memory>

namespace gui
{
class GuiWidget;

/// What a widget can tell; docs/gui.md says which type emits what, and what the words mean. The numbers are fixed.
enum GuiEventType : std::int32_t
{
    GET_BUTTON_PRESSED = 3,
    GET_BUTTON_RELEASED = 4,
    GET_CHECKBOX_CHANGED = 5,
    GET_RADIOBUTTON_SELECTED = 6,
    GET_SLIDER_PRESSED = 7,
    GET_SLIDER_RELEASED = 8,
    GET_SLIDER_CHANGED = 9,
    GET_SCROLLBAR_PRESSED = 10,
    GET_SCROLLBAR_RELEASED = 11,
    GET_SCROLLBAR_CHANGED = 12,
    GET_TEXTEDIT_CHANGED = 13,
    GET_TEXTEDIT_RETURNPRESSED = 14,
    GET_TEXTEDIT_FINALIZED = 15,
    GET_SPINNER_CHANGED = 17,
    GET_DROPLIST_CHANGED = 18,
    GET_WINDOW_GRAB_FOCUS = 19,
    GET_WINDOW_CLOSE = 20,
};

/// The name as it is written above; "Unknown GuiEventType" for every other value.
TAMRAGAMEENGINE_API const char* GuiEventType_GetString(std::int32_t type);

/// What happened to a widget. Copied by value.
struct GuiEvent
{
    std::int32_t type = 0;
    GuiWidget* source = nullptr;   ///< Who emitted it; null when it was destroyed before the event was delivered.
    std::uint32_t payload[4] = {}; ///< Four words, to which each widget gives a meaning.

    int GetInt(int word) const noexcept { return static_cast<int>(payload[word]); }
    float GetFloat(int word) const noexcept { return std::bit_cast<float>(payload[word]); }
    void SetInt(int word, int value) noexcept { payload[word] = static_cast<std::uint32_t>(value); }
    void SetFloat(int word, float value) noexcept { payload[word] = std::bit_cast<std::uint32_t>(value); }
};

/// Hears of the events of a widget and of everything below it that has no nearer callback. May be destroyed at any
/// time: what was posted to it and not yet delivered is dropped.
class TAMRAGAMEENGINE_API GuiCallback
{
public:
    GuiCallback() : m_self(std::make_shared<GuiCallback*>(this)) {}
    GuiCallback(const GuiCallback&) = delete;
    GuiCallback& operator=(const GuiCallback&) = delete;
    virtual ~GuiCallback() { *m_self = nullptr; }

    /// The emitting widget's id, and what happened. Whether it was of interest.
    virtual bool OnGuiEvent(const char* name, const GuiEvent& event) = 0;

    /// Holds null once the callback is gone.
    const std::shared_ptr<GuiCallback*>& GetSelf() const noexcept { return m_self; }

private:
    std::shared_ptr<GuiCallback*> m_self;
};
} // namespace gui
