#pragma once

#include "tamraengine/export.h"
#include "tamraengine/renderer/image.h"

#include <cstddef>
#include <optional>
#include <span>
#include <string>

namespace renderer
{
/// No picture is read whose width or height is larger.
constexpr int kMaxImageSide = 16384;

/// Decodes the bytes of a PNG, JPEG, TGA or BMP file, of whatever depth and channels, as four bytes a pixel; without
/// alpha it is 255. Nothing, with the reason in `error` (null if nobody asks), for all other bytes, for a picture of
/// which a part is missing, and for one whose header claims more than so short a file can hold.
///
/// Memory is bounded by the claimed size, and that by the file's: a pixel is worth at least 1/1024 byte, except for the
/// first million. The largest file is 2 GiB.
TAMRAENGINE_API std::optional<Image> DecodeImage(std::span<const std::byte> file, std::string* error = nullptr);
} // namespace renderer
