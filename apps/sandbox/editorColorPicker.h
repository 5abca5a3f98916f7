#pragma once

#include "gameengine/gui/guiWidget/guiContext.h"
#include "gameengine/gui/guiWidget/guiImage.h"
#include "gameengine/gui/guiWidget/guiSpinner.h"
#include "gameengine/gui/guiWidget/guiTextEdit.h"
#include "gameengine/gui/guiWidget/guiWindow.h"

#include <array>
#include <functional>
#include <string>

using EditorColor = std::array<float, 4>; ///< R, G, B, A, from 0 to 1.

/// Hue in degrees, saturation and value from 0 to 1. A grey has the hue 0.
std::array<float, 3> GetHsv(const EditorColor& color);
/// Keeps alpha.
EditorColor WithHsv(const EditorColor& color, const std::array<float, 3>& hsv);
/// Eight hexadecimal digits, RRGGBBAA; six leave alpha as it is. False, with nothing changed, for anything else.
bool ParseHex(std::string_view text, EditorColor& color);
std::string FormatHex(const EditorColor& color);
gui::Color ToGuiColor(const EditorColor& color);

/// The window in which a colour is chosen, by "gui/colorpicker.gui". What it is for hears of each change at once;
/// "Cancel", or closing the window, brings the colour back that was there before.
class CEditorColorPicker : public gui::GuiCallback
{
public:
    using Changed = std::function<void(const EditorColor& color)>;

    /// Loads the window, which stays hidden. Valid when `IsLoaded`.
    explicit CEditorColorPicker(gui::GuiContext& context);
    bool IsLoaded() const noexcept { return m_window && m_before && m_preview && m_hex; }

    void Open(const std::string& title, const EditorColor& color, Changed changed);
    /// Keeps the colour.
    void Close();
    bool IsOpen() const { return m_window->IsVisible(); }

    bool OnGuiEvent(const char* name, const gui::GuiEvent& event) override;

private:
    void i_Change(const EditorColor& color);
    void i_Cancel();
    void i_Show();

    gui::GuiWindow* m_window = nullptr;
    gui::GuiImage* m_before = nullptr;
    gui::GuiImage* m_preview = nullptr;
    gui::GuiTextEditLine* m_hex = nullptr;
    std::array<gui::GuiSpinner*, 4> m_channels{};
    std::array<gui::GuiSpinner*, 3> m_hsv{};
    EditorColor m_color{};
    EditorColor m_old{};
    std::array<float, 3> m_shownHsv{}; // keeps the hue of a grey
    Changed m_changed;
    bool m_wasOpen = false; // then it stays where it was put
};
