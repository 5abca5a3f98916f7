// Any bytes are survived as a .fnt file. The font that comes out can be measured, and written as a file that reads and
// writes back the same.

#include "fuzz/check.h"
#include "gameengine/gui/draw2D/font.h"
#include "tamradeps/core/log.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    tamra::log::SetStandardErrorEnabled(false);
    const std::string_view content(reinterpret_cast<const char*>(data), size);
    gui::Font font;
    const bool isRead = font.CreateFromAscii("input.fnt", content);
    Check(isRead == font.IsValid());
    std::string once;
    Check(font.ConvertFontToAscii(once) == isRead);
    Check(font.FindCharacter(content, font.GetTextWidth(content)) <= size);
    if (!isRead)
        return 0;
    Check(font.GetBody().bitmap.size() <= size && font.GetBody().glyphs.size() <= size);
    std::string twice;
    Check(font.CreateFromAscii("again.fnt", once) && font.ConvertFontToAscii(twice));
    Check(once == twice);
    return 0;
}
