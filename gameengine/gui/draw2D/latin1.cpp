#include "gameengine/gui/draw2D/latin1.h"

#include "gameengine/gui/draw2D/font.h"
#include "tamradeps/core/tools.h"

namespace gui
{
std::string ToLatin1(std::string_view utf8)
{
    std::string text;
    ToLatin1(utf8, text);
    return text;
}

void ToLatin1(std::string_view utf8, std::string& text)
{
    text.clear();
    text.reserve(utf8.size());
    while (!utf8.empty())
    {
        const auto first = static_cast<unsigned char>(utf8[0]);
        const std::size_t length = first < 0xC0 ? 1 : first < 0xE0 ? 2 : first < 0xF0 ? 3 : 4;
        const std::string_view sequence = utf8.substr(0, length);
        if (length == 1 || sequence.size() < length || !Tools_IsValidUtf8(sequence))
        {
            text += utf8[0];
            utf8.remove_prefix(1);
            continue;
        }
        const unsigned point = (first & 0x1FU) << 6 | (static_cast<unsigned char>(sequence[1]) & 0x3FU);
        text += static_cast<char>(length == 2 && point <= 0xFF ? point : Font::kBox);
        utf8.remove_prefix(length);
    }
}

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
