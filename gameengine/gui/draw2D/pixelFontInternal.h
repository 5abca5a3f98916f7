#pragma once

#include "gameengine/gui/draw2D/font.h"

namespace gui
{
/// Makes the font that needs no file: capitals are 5 x 7 pixels. Stops the program when that is not possible.
void CreatePixelFont(Font& font);

/// Prints "assertion failed: %s\n" to standard output.
void PrintFontAssertion(const char* text);
} // namespace gui
