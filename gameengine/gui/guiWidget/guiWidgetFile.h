#pragma once

#include "gameengine/export.h"

#include <memory>
#include <string>
#include <vector>

namespace gui
{
class GuiContext;
class GuiStream;
class GuiWidget;

/// A new widget with the fields of the line at the cursor, which is then behind that line. It is not yet a child of its
/// parent: `GetParent` answers the widget that the stream has for the level above, or null.
///
/// Null at the end of the data, for a level that the stream cannot hold (logged), and for a type that cannot be read,
/// which is printed to standard output; the cursor is then where it was.
TAMRAGAMEENGINE_API std::unique_ptr<GuiWidget> CreateWidgetFromStream(GuiContext& context, GuiStream& stream);

/// What was wrong with a line of a text of widgets.
struct GuiReadFault
{
    int line = 0;   ///< from 1
    int column = 0; ///< from 1; a tab counts as one
    /// What stands there, cut and without control characters; empty at the end of the line.
    std::string word;
    std::string reason;
    /// Whether the line and those below it are left out. Otherwise the widget has its default for what was wrong.
    bool leftOut = false;
};

/// Reads widgets from the cursor to the end of the text and makes the outermost ones children of `parent`, the others
/// children of the widget that their indentation says.
///
/// A line with another number of fields than its type has, of an unknown type, or in a place without a parent that
/// takes it is left out together with the lines below it; a field that is not what it should be keeps its default. Each
/// is one entry of `faults`, if given. After 1000 of them, what remains is left out. Of several selected radio buttons
/// of a group the last one stays selected.
///
/// False if there was any fault. The cost is that of the bytes.
TAMRAGAMEENGINE_API bool ReadWidgets(GuiWidget& parent, GuiStream& stream, std::vector<GuiReadFault>* faults = nullptr);

/// Reads widgets from a file that the program's file system finds, of 64 MiB at most. Logs each fault with file, line
/// and word, and goes on behind it. False, and nothing is added, if the file cannot be read.
TAMRAGAMEENGINE_API bool LoadWidgetFile(GuiWidget& parent, const std::string& name);

/// Appends the widget and everything below it. False, logged, with nothing written, for a tree with a widget that has
/// more than 15 ancestors.
TAMRAGAMEENGINE_API bool WriteWidgets(GuiWidget& root, GuiStream& stream);

/// Replaces the file by the widget and everything below it, or leaves it as it is and answers false, logged.
TAMRAGAMEENGINE_API bool SaveWidgetFile(GuiWidget& root, const std::string& path);
} // namespace gui
