// Any bytes are survived as a text of widgets, and the widgets can be used. What was read is the same after
// writing and reading it again, but for numbers beyond the ten characters that the format reads.

#include "fuzz/check.h"
#include "gameengine/gui/guiWidget/guiContext.h"
#include "gameengine/gui/guiWidget/guiLayout.h"
#include "gameengine/gui/guiWidget/guiStream.h"
#include "gameengine/gui/guiWidget/guiWidgetFile.h"
#include "tamradeps/core/log.h"
#include "tests/support/recordingDraw.h"

#include <algorithm>
#include <cstdint>
#include <sstream>

namespace
{
// Whatever the numbers of the text are, the widgets can be placed, drawn and clicked.
void Use(gui::GuiContext& context)
{
    for (const int place : {5, 50})
    {
        context.SetMousePos(place, place);
        context.PushMouseClick(1);
        context.PushKeyPress(258);
        context.PushKeyChar('a');
        context.Update(0.5F);
        context.PushMouseRelease(1);
        context.Update(0.5F);
        context.Render(640, 480);
    }
}

// The widgets of the text after reading it, as text; empty for none, and for a tree too deep to be written.
std::string ReadAndWrite(const std::string& text)
{
    test::RecordingDraw draw;
    const auto context = gui::GuiContext::Create(draw);
    gui::GuiStream stream(text);
    std::vector<gui::GuiReadFault> faults;
    Check(gui::ReadWidgets(context->GetRoot(), stream, &faults) == faults.empty());
    for (const gui::GuiReadFault& fault : faults)
        Check(fault.line >= 1 && fault.column >= 1 && !fault.reason.empty());
    gui::GuiStream written;
    const bool isWritten = gui::WriteWidgets(context->GetRoot(), written);
    Use(*context);
    Check(draw.clips == 0);
    return isWritten ? written.GetData() : std::string();
}

bool IsLongFloat(const std::string& token)
{
    return token.size() > gui::GuiStream::kMaxNumberLength && token.find('.') != std::string::npos &&
           token.find_first_not_of("-.0123456789") == std::string::npos;
}

bool SameTokens(const std::string& left, const std::string& right)
{
    std::istringstream lefts(left);
    std::istringstream rights(right);
    std::string a;
    std::string b;
    while (lefts >> a)
        if (!(rights >> b) || (a != b && !IsLongFloat(a)))
            return false;
    return !(rights >> b);
}
} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    tamra::log::SetStandardErrorEnabled(false);
    const std::string written = ReadAndWrite(std::string(reinterpret_cast<const char*>(data), size));
    // Without the root's own line: the others then stand below the next root as they did below this one.
    const std::string tree = written.substr(std::min(written.find('\n'), written.size() - 1) + 1);
    if (!tree.empty())
        Check(SameTokens(written, ReadAndWrite(tree)));
    return 0;
}
