#pragma once

#include "tamraengine/export.h"
#include "tamraengine/renderer/image.h"

#include <cstddef>
#include <string>
#include <vector>

namespace renderer
{
/// The bytes of a PNG file of the picture, without an alpha channel when all of it is opaque. Empty when the picture
/// has no pixels, fewer than its size says, or more than 900 million bytes of them, or when memory runs out.
TAMRAENGINE_API std::vector<std::byte> EncodePng(const Image& image);

/// Writes the picture as a PNG file, replacing the file in one step. False, with one log line, when it fails.
TAMRAENGINE_API bool WritePng(const std::string& path, const Image& image);
} // namespace renderer
