#pragma once

#include "gameengine/gui/draw2D/font.h"

#include <cstddef>
#include <optional>
#include <span>
#include <string>

struct BakeOptions
{
    float size = 16.0F;  ///< Of the em in pixels; changed a little so that small letters are whole pixels high.
    int lineHeight = 0;  ///< 0 for that of the face.
    int padding = 1;     ///< Clear pixels around each character.
    std::string charset; ///< Latin-1; characters that the face lacks are left out.
};

/// Every printable character of ASCII, and of Latin-1.
std::string GetAsciiCharset();
std::string GetLatin1Charset();

/// Rasters the characters of a TrueType face, each moved by less than a pixel so that its left edge is sharp, and a box
/// at `gui::Font::kBox`. Nothing, with the reason in `fault`, when the bytes are no face or the characters do not fit.
/// The face must come from somebody trusted: the reader of TrueType is not made for damaged files.
std::optional<gui::FontBody> BakeFont(std::span<const std::byte> face, const BakeOptions& options, std::string& fault);
