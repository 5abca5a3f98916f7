#pragma once

#include "gameengine/gui/guiWidget/guiWidget.h"

#include <string_view>

void LogMissingWidget(std::string_view id);

/// The widget of a file by its id, if it is of this class. Null and one log line when it is not, or is missing.
template <class Widget>
Widget* FindWidget(gui::GuiWidget& root, std::string_view id)
{
    auto* widget = dynamic_cast<Widget*>(root.FindChild(id));
    if (!widget)
        LogMissingWidget(id);
    return widget;
}
