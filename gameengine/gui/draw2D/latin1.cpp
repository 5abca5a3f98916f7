#include "gameengine/gui/draw2D/latin1.h"

namespace gui
{
std::string ToUtf8(std::string_view latin1)
{
    std::string text;
    text.reserve(latin1.size());
    for (const char c : latin1)
    {
        const auto byte = static_cast<unsigned char>(c);
        if (byte < 0x80)
        {
            text.push_back(c);
            continue;
        }
        text.push_back(static_cast<char>(0xC0 | byte >> 6));
        text.push_back(static_cast<char>(0x80 | (byte & 0x3F)));
    }
    return text;
}
} // namespace gui
