#pragma once

#include "gameengine/export.h"

#include <string>
#include <string_view>

namespace gui
{
/// Text as widgets have it, a byte for a character, as UTF-8. The other way is `ToLatin1`.
TAMRAGAMEENGINE_API std::string ToUtf8(std::string_view latin1);
} // namespace gui
