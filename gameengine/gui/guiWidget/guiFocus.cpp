#include "gameengine/gui/guiWidget/guiFocusInternal.h"
#include "gameengine/gui/guiWidget/guiLayout.h"

#include <algorithm>
#include <vector>

namespace gui
{
namespace
{
void Collect(GuiWidget& widget, std::vector<GuiWidget*>& stops)
{
    if (!widget.IsVisible() || widget.IsLocked())
        return;
    if (widget.IsFocusable())
        stops.push_back(&widget);
    if (const GuiLayout* layout = widget.AsLayout())
    {
        for (std::size_t i = 0; i < layout->GetChildCount(); ++i)
            Collect(*layout->GetChild(i), stops);
    }
}
} // namespace

GuiWidget* FindNextFocus(GuiWidget& root, GuiWidget* focus, int step)
{
    GuiWidget* scope = focus;
    while (scope && scope != &root && scope->GetType() != GuiWidgetType::Window)
        scope = scope->GetParent();
    std::vector<GuiWidget*> stops;
    Collect(scope ? *scope : root, stops);
    if (stops.empty())
        return nullptr;
    const auto current = std::find(stops.begin(), stops.end(), focus);
    if (current == stops.end())
        return step > 0 ? stops.front() : stops.back();
    const auto count = static_cast<std::ptrdiff_t>(stops.size());
    return stops[static_cast<std::size_t>(((current - stops.begin() + step) % count + count) % count)];
}
} // namespace gui
