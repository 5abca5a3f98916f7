#include "gameengine/gui/guiWidget/guiTextEdit.h"

namespace gui
{
bool GuiTextEditLine::myAccepts(std::string_view text) const
{
    return (GetFlags() & kTextNumber) == 0 || myMakesNumber(text);
}

bool GuiTextEditLine::myOnKey(unsigned key)
{
    if (key != kGuiKeyEnter)
        return false;
    if (GetContext().IsKeyRepeated())
        return true;
    myClearChanged();
    myEmitText(GET_TEXTEDIT_RETURNPRESSED);
    myEmitText(GET_TEXTEDIT_FINALIZED, 1);
    return true;
}
} // namespace gui
