#include "tamradeps/io/assetName.h"

#include <algorithm>

namespace tamra
{
bool IsAssetName(std::string_view name)
{
    constexpr std::size_t kMaxLength = 256;
    const auto isForbidden = [](unsigned char c) { return c < ' ' || c == 0x7F || c == ':' || c == '\\'; };
    return !name.empty() && name.size() <= kMaxLength && name[0] != '/' && name.find("..") == std::string_view::npos &&
           std::none_of(name.begin(), name.end(), isForbidden);
}
} // namespace tamra
