#pragma once

#include "gameengine/export.h"
#include "gameengine/gui/draw2D/draw.h"

#include <cstdint>

namespace gui
{
/// Chooses a `GuiStyleData` of the context.
using GuiStyle = std::int32_t;

/// Light on dark. A context has this style and the next one by itself.
inline constexpr GuiStyle kStyleDark = 0;
/// Dark on light.
inline constexpr GuiStyle kStyleLight = 1;
/// Styles that a context has room for; what names another is drawn in style 0.
inline constexpr GuiStyle kStyleCount = 16;

/// Colours and measures, in pixels, of everything that is drawn in a style.
struct GuiStyleData
{
    Color background; ///< Of windows and boxes.
    Color panel;      ///< Of what lies in them: lists, text.
    Color border;
    Color text;
    Color textDisabled;
    Color face; ///< Of buttons and handles.
    Color faceHover;
    Color facePressed;
    Color accent; ///< What is chosen, checked or in focus.
    Color accentText;
    Color selection; ///< Behind chosen text.
    Color titleBar;
    Color shadow;

    int font = TFB_SEGOE;
    int padding = 4; ///< Between a border and what is in it.
    int spacing = 4; ///< Between neighbours.
    int radius = 3;  ///< Of corners.
    int scrollBarSize = 14;
    int titleHeight = 22;

    TAMRAGAMEENGINE_API static GuiStyleData MakeDark() noexcept;
    TAMRAGAMEENGINE_API static GuiStyleData MakeLight() noexcept;
};
} // namespace gui
