#pragma once

#include "gameengine/gui/guiWidget/guiContext.h"
#include "gameengine/gui/guiWidget/guiWidgetFile.h"

#include <string>
#include <vector>

/// The text of a .gui file; the path is relative to the current folder. False, logged, if it cannot be read.
bool ReadGuiFile(const std::string& path, std::string& text);

/// A screen of widgets read from a text.
class CGuiScreen
{
public:
    /// `draw` must outlive it.
    explicit CGuiScreen(gui::Draw& draw);

    /// Adds the widgets of the text. False if there are faults.
    bool Read(const std::string& text, std::vector<gui::GuiReadFault>& faults);
    /// The outermost widgets and what is in them, as they were read: no layout has moved them. Ends the screen's use.
    /// False, logged, for a widget that lies too deep.
    bool TakeText(std::string& text);

    gui::GuiContext& GetContext() { return *m_context; }

private:
    std::unique_ptr<gui::GuiContext> m_context;
};

/// The text as it is written. Null, or why there is none: faults of the text, or numbers that would be others each time
/// that they are written and read.
const char* MakeCanonical(gui::Draw& draw, const std::string& text, std::string& canonical,
                          std::vector<gui::GuiReadFault>& faults);
