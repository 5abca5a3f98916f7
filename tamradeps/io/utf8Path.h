#pragma once

#include <exception>
#include <filesystem>
#include <string>
#include <string_view>

namespace tamra
{
/// A path from UTF-8. Where the system's paths are not bytes, a text that is not UTF-8 gives the empty path.
inline std::filesystem::path ToPath(std::string_view utf8)
{
    try
    {
        return std::u8string(utf8.begin(), utf8.end());
    }
    catch (const std::exception&)
    {
        return {};
    }
}

/// A path as UTF-8, with slashes between folders on every system; empty when it cannot be written so.
inline std::string ToUtf8(const std::filesystem::path& path)
{
    try
    {
        const std::u8string text = path.generic_u8string();
        return {text.begin(), text.end()};
    }
    catch (const std::exception&)
    {
        return {};
    }
}
} // namespace tamra
