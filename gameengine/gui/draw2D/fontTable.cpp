#include "gameengine/gui/draw2D/fontTable.h"

#include "gameengine/gui/draw2D/pixelFontInternal.h"

#include <cstdlib>

namespace gui
{
namespace
{
void CheckBank(int bank)
{
    if (bank < TFB_COUNT)
        return;
    PrintFontAssertion("bank >= 0 && bank < TFB_COUNT");
    std::abort();
}
} // namespace

FontTable::FontTable()
{
    CreatePixelFont(m_fonts[TFB_PIXEL]);
    if (!m_fonts[TFB_CONSOLAS].Create("fonts/consolas.fnt"))
        PrintFontAssertion(R"(myFontBank[TFB_CONSOLAS].Create(PREFIX_FOLDER "fonts/consolas.fnt"))");
    if (!m_fonts[TFB_SEGOE].Create("fonts/segoe_small.fnt"))
        PrintFontAssertion(R"(myFontBank[TFB_SEGOE].Create(PREFIX_FOLDER "fonts/segoe_small.fnt"))");
    if (!m_fonts[TFB_SEGOE_16].Create("fonts/segoe.fnt"))
        PrintFontAssertion(R"(myFontBank[TFB_SEGOE_16].Create(PREFIX_FOLDER "fonts/segoe.fnt"))");
}

Font& FontTable::Edit(int bank)
{
    CheckBank(bank);
    return m_fonts[static_cast<std::size_t>(bank < 0 ? 0 : bank)];
}

const Font& FontTable::i_GetFallback(int bank) const
{
    CheckBank(bank);
    return m_fonts[TFB_PIXEL];
}
} // namespace gui
