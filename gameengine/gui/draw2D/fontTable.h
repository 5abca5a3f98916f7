#pragma once

#include "gameengine/gui/draw2D/draw.h"
#include "gameengine/gui/draw2D/font.h"

#include <array>

namespace gui
{
/// The fonts of a drawer by their bank numbers. At the start it has the pixel font, which needs no file, and the three
/// of "fonts/"; a file that cannot be loaded prints one line "assertion failed: ..." and leaves its slot invalid.
class TAMRAGAMEENGINE_API FontTable : public NonCopyable
{
public:
    FontTable();

    /// The font of a bank, or the pixel font where that is not valid, so that there is one to draw with as long as
    /// nobody replaces the pixel font itself by one that fails. `TFB_COUNT` and above print a line and stop the
    /// program; below 0 is the pixel font.
    const Font& Get(int bank) const
    {
        if (static_cast<unsigned>(bank) < TFB_COUNT && m_fonts[static_cast<std::size_t>(bank)].IsValid())
            return m_fonts[static_cast<std::size_t>(bank)];
        return i_GetFallback(bank);
    }

    /// For making a font of a bank, such as one of the free ones from 4 on, with `Font::Create`. The same bounds.
    Font& Edit(int bank);

private:
    const Font& i_GetFallback(int bank) const;

    std::array<Font, TFB_COUNT> m_fonts;
};
} // namespace gui
