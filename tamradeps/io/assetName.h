#pragma once

#include "tamradeps/export.h"

#include <string_view>

namespace tamra
{
/// Whether a name that came from outside names a file below the folders of the file system, and nothing else: relative,
/// with "/" between its parts, without "..", drives and control characters, of 256 bytes at most.
TAMRADEPS_API bool IsAssetName(std::string_view name);
} // namespace tamra
