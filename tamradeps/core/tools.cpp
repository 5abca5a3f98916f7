#include "tamradeps/core/tools.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <limits>

std::string Tools_StringToUppercase(std::string_view text)
{
    std::string result(text);
    for (char& c : result)
    {
        if (c >= 'a' && c <= 'z')
            c = static_cast<char>(c - 'a' + 'A');
    }
    return result;
}

std::string Tools_StringToLowercase(std::string_view text)
{
    std::string result(text);
    for (char& c : result)
    {
        if (c >= 'A' && c <= 'Z')
            c = static_cast<char>(c - 'A' + 'a');
    }
    return result;
}

std::string_view Tools_StringTrim(std::string_view text) noexcept
{
    constexpr std::string_view kBlanks = " \t\r\n";
    const std::size_t first = text.find_first_not_of(kBlanks);
    if (first == std::string_view::npos)
        return {};
    return text.substr(first, text.find_last_not_of(kBlanks) - first + 1);
}

std::vector<std::string_view> Tools_StringSplit(std::string_view text, char separator)
{
    std::vector<std::string_view> pieces;
    for (;;)
    {
        const std::size_t end = text.find(separator);
        pieces.push_back(text.substr(0, end));
        if (end == std::string_view::npos)
            return pieces;
        text.remove_prefix(end + 1);
    }
}

std::string Tools_FileExtension3(std::string_view fileName)
{
    return Tools_StringToUppercase(fileName.substr(fileName.size() - std::min<std::size_t>(fileName.size(), 3)));
}

bool Tools_IsValidUtf8(std::string_view text) noexcept
{
    for (std::size_t i = 0; i < text.size();)
    {
        const auto byte = [&](std::size_t at) { return static_cast<std::uint8_t>(text[at]); };
        const std::uint32_t lead = byte(i);
        const std::size_t length = lead < 0x80 ? 1 : lead >= 0xF0 ? 4 : lead >= 0xE0 ? 3 : 2;
        if (lead >= 0x80 && (lead < 0xC2 || lead > 0xF4))
            return false;
        if (text.size() - i < length)
            return false;
        std::uint32_t code = length == 1 ? lead : lead & (0x7FU >> length);
        for (std::size_t k = 1; k < length; ++k)
        {
            if ((byte(i + k) & 0xC0U) != 0x80U)
                return false;
            code = code << 6 | (byte(i + k) & 0x3FU);
        }
        constexpr std::uint32_t kSmallest[] = {0, 0, 0x80, 0x800, 0x10000};
        if (code < kSmallest[length] || code > 0x10FFFF || (code >= 0xD800 && code < 0xE000))
            return false;
        i += length;
    }
    return true;
}

std::int32_t Tools_ToInt32(double value) noexcept
{
    using Limits = std::numeric_limits<std::int32_t>;
    if (std::isnan(value))
        return 0;
    return static_cast<std::int32_t>(std::clamp<double>(value, Limits::min(), Limits::max()));
}
