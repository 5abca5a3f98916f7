#pragma once

#include "gameengine/gui/guiWidget/guiButton.h"
#include "gameengine/gui/guiWidget/guiContext.h"
#include "gameengine/gui/guiWidget/guiWindow.h"

#include <functional>

/// The question what becomes of changes that are not saved, by "gui/editor_closing.gui". It is modal.
class CEditorClosing : public gui::GuiCallback
{
public:
    enum class Answer
    {
        Save,
        Discard,
        Cancel, ///< Also by closing the window of the question.
    };
    using Answered = std::function<void(Answer answer)>;

    /// Loads the window, which stays hidden. Valid when `IsLoaded`. `answered` hears of the answer after the window is
    /// hidden.
    CEditorClosing(gui::GuiContext& context, Answered answered);
    bool IsLoaded() const noexcept { return m_save != nullptr; }

    /// Shows it in the middle, with the keyboard on "Save".
    void Open();
    bool IsOpen() const { return m_window->IsVisible(); }

    bool OnGuiEvent(const char* name, const gui::GuiEvent& event) override;

private:
    gui::GuiWindow* m_window = nullptr;
    gui::GuiButton* m_save = nullptr;
    Answered m_answered;
};
