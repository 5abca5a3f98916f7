#pragma once

namespace gui
{
class GuiWidget;

/// Where Tab (step 1) and Shift and Tab (step -1) take the focus: the next or last widget, in the order of the tree,
/// that is focusable, can be seen and is not locked, in the window of the one in focus; round in circles. Null for
/// none.
GuiWidget* FindNextFocus(GuiWidget& root, GuiWidget* focus, int step);
} // namespace gui
