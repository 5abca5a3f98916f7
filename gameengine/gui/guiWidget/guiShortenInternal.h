#pragma once

#include "gameengine/gui/draw2D/draw.h"

#include <algorithm>
#include <string>
#include <string_view>

namespace gui
{
/// The text, or, put together in `buffer`, its start and an ellipsis if it is wider than `width`.
inline std::string_view Shorten(const Draw& draw, std::string_view text, int width, int font, std::string& buffer)
{
    if (draw.GetTextWidth(text, font) <= width)
        return text;
    constexpr std::string_view kEllipsis = "...";
    std::size_t count = draw.FindCharacter(text, std::max(width - draw.GetTextWidth(kEllipsis, font), 0), font);
    for (;; --count)
    {
        buffer.assign(text.substr(0, count)).append(kEllipsis);
        if (count == 0 || draw.GetTextWidth(buffer, font) <= width)
            return buffer;
    }
}
} // namespace gui
