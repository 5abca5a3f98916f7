#pragma once

#include <cstdint>
#include <span>
#include <string>

/// Writes a picture of three bytes a pixel (red, green, blue, rows from the top) as a PNG file, replacing the file in
/// one step. False, with one log line, when it fails.
bool WritePng(const std::string& path, int width, int height, std::span<const std::uint8_t> pixels);
