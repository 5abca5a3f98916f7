#include "tools/guitool/guiFile.h"

#include "gameengine/gui/guiWidget/guiLayout.h"
#include "gameengine/gui/guiWidget/guiStream.h"
#include "tamradeps/io/fileSystem.h"
#include "tamradeps/io/utf8Path.h"

#include <system_error>

namespace
{
constexpr std::size_t kMaxFileSize = std::size_t{64} << 20;
} // namespace

bool ReadGuiFile(const std::string& path, std::string& text)
{
    // What is asked for is a file, not an asset of this name.
    std::error_code fault;
    const std::string absolute = tamra::ToUtf8(std::filesystem::absolute(tamra::ToPath(path), fault));
    std::vector<std::byte> content;
    if (!GetFileSystem().FileIn(fault ? path : absolute, content, kMaxFileSize))
        return false;
    text.assign(reinterpret_cast<const char*>(content.data()), content.size());
    return true;
}

CGuiScreen::CGuiScreen(gui::Draw& draw) : m_context(gui::GuiContext::Create(draw)) {}

bool CGuiScreen::Read(const std::string& text, std::vector<gui::GuiReadFault>& faults)
{
    gui::GuiStream stream(text);
    return gui::ReadWidgets(m_context->GetRoot(), stream, &faults);
}

bool CGuiScreen::TakeText(std::string& text)
{
    gui::GuiStream stream;
    gui::GuiLayout& root = m_context->GetRoot();
    std::vector<std::unique_ptr<gui::GuiWidget>> widgets;
    while (root.GetChildCount() > 0)
    {
        // Without the root around them, they are what a file starts with.
        widgets.push_back(root.RemoveChild(root.GetChild(0)));
        if (!gui::WriteWidgets(*widgets.back(), stream))
            return false;
    }
    text = stream.GetData();
    return true;
}

const char* MakeCanonical(gui::Draw& draw, const std::string& text, std::string& canonical,
                          std::vector<gui::GuiReadFault>& faults)
{
    CGuiScreen screen(draw);
    if (!screen.Read(text, faults) || !screen.TakeText(canonical))
        return "has faults";
    CGuiScreen again(draw);
    std::string second;
    const bool isStable = again.Read(canonical, faults) && again.TakeText(second) && second == canonical;
    return isStable ? nullptr : "holds numbers of more characters than are read back";
}
