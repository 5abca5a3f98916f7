#pragma once

#include "gameengine/gui/draw2D/font.h"

namespace gui
{
/// Reads what stands in a .fnt file. False with the reason in `fault`. The body is as its lines say, not yet checked
/// beyond what reading needs.
bool ReadFontAscii(std::string_view content, FontBody& body, std::string& fault);
std::string WriteFontAscii(const FontBody& body);
} // namespace gui
