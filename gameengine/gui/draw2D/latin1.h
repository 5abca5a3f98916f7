#pragma once

#include "gameengine/export.h"

#include <string>
#include <string_view>

namespace gui
{
/// Text as widgets have it, a byte for a character, of UTF-8: characters that Latin-1 does not have become
/// `Font::kBox`, bytes that are not UTF-8 stay as they are.
TAMRAGAMEENGINE_API std::string ToLatin1(std::string_view utf8);
/// The same into a text whose memory is used again; `utf8` must not lie in it.
TAMRAGAMEENGINE_API void ToLatin1(std::string_view utf8, std::string& text);

/// The other way.
TAMRAGAMEENGINE_API std::string ToUtf8(std::string_view latin1);
} // namespace gui
