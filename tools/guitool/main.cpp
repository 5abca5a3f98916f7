// guitool: checks, formats and draws .gui files.
//
// Exit codes: 0 all is well; 1 a file has faults, or would be formatted; 2 wrong usage, or a file that cannot be read
// or written. What goes wrong is one line on standard error.

#include "corvex/context.h"
#include "tamradeps/core/log.h"
#include "tamradeps/io/fileSystem.h"
#include "tamradeps/platform/programFolder.h"
#include "tamraengine/renderer/imageEncoder.h"
#include "tamraengine/renderer/renderTarget.h"
#include "tamraengine/renderer/renderer.h"
#include "tools/guitool/guiFile.h"
#include "tools/terminal/terminal.h"

#include <algorithm>
#include <cstdio>
#include <exception>

#include <CLI/CLI.hpp>

namespace
{
constexpr int kFound = 1;
constexpr int kFailed = 2;
constexpr int kMaxSize = 8192;
constexpr float kPass = 1.0F / 60.0F;

struct Arguments
{
    std::vector<std::string> files;
    std::string file; // the only one
    std::string picture;
    bool check = false;
    int width = 1280;
    int height = 720;
    std::string style = "dark";
};

void PrintFaults(const std::string& file, const std::vector<gui::GuiReadFault>& faults)
{
    for (const gui::GuiReadFault& fault : faults)
        std::printf("%s:%d:%d: %s: \"%s\": %s\n", tamra::log::Quoted(file).c_str(), fault.line, fault.column,
                    fault.leftOut ? "error" : "warning", fault.word.c_str(), fault.reason.c_str());
}

// Calls `handle` with each file's name and text; answers the worst exit code.
template <class Handle>
int ForEachFile(const Arguments& arguments, Handle handle)
{
    int worst = 0;
    for (const std::string& file : arguments.files)
    {
        std::string text;
        worst = std::max(worst, ReadGuiFile(file, text) ? handle(file, text) : kFailed);
    }
    return worst;
}

int Lint(const Arguments& arguments)
{
    renderer::CRenderer renderer; // without a device: measures text, draws nothing
    const std::unique_ptr<gui::Draw> draw = gui::Draw::Create(renderer);
    return ForEachFile(arguments,
                       [&](const std::string& file, const std::string& text)
                       {
                           std::vector<gui::GuiReadFault> faults;
                           const bool isGood = CGuiScreen(*draw).Read(text, faults);
                           PrintFaults(file, faults);
                           return isGood ? 0 : kFound;
                       });
}

int Format(const Arguments& arguments)
{
    renderer::CRenderer renderer;
    const std::unique_ptr<gui::Draw> draw = gui::Draw::Create(renderer);
    const auto format = [&](const std::string& file, const std::string& text)
    {
        std::string canonical;
        std::vector<gui::GuiReadFault> faults;
        if (const char* why = MakeCanonical(*draw, text, canonical, faults))
        {
            PrintFaults(file, faults);
            tamra::log::Error(tamra::log::Quoted(file) + " " + why + " and is left as it is");
            return kFound;
        }
        if (canonical == text)
            return 0;
        if (arguments.check)
        {
            std::printf("%s is not in its canonical form\n", tamra::log::Quoted(file).c_str());
            return kFound;
        }
        return GetFileSystem().FileReplace(file, canonical.data(), canonical.size()) ? 0 : kFailed;
    };
    return ForEachFile(arguments, format);
}

CVector3 ToVector(gui::Color color)
{
    const auto part = [color](int shift) { return static_cast<float>(color >> shift & 0xFFU) / 255.0F; };
    return {part(0), part(8), part(16)};
}

bool DrawScreen(gui::GuiContext& context, renderer::CRenderer& renderer, const Arguments& arguments)
{
    const auto target = renderer::CRenderTarget::Create(renderer, arguments.width, arguments.height);
    if (!target)
        return false;
    context.SetMousePos(-1, -1);
    // The first picture tells everybody its size, the second one shows it.
    for (int picture = 0; picture < 2; ++picture)
    {
        renderer.BeginFrame(kPass);
        target->Bind();
        renderer.Clear(ToVector(context.GetStyleData(0).panel));
        context.Render(arguments.width, arguments.height);
        context.GetDraw().RenderAll(arguments.width, arguments.height);
        context.Update(kPass);
    }
    return renderer::WritePng(arguments.picture, target->ReadPixels());
}

int Render(const Arguments& arguments)
{
    std::string text;
    if (!ReadGuiFile(arguments.file, text))
        return kFailed;
    const std::unique_ptr<COffscreenContext> device = COffscreenContext::Create();
    renderer::CRenderer renderer;
    if (!device || !renderer.InitializeDevice())
        return kFailed;
    const std::unique_ptr<gui::Draw> draw = gui::Draw::Create(renderer);
    CGuiScreen screen(*draw);
    if (arguments.style == "light")
        screen.GetContext().SetStyleData(0, gui::GuiStyleData::MakeLight());
    std::vector<gui::GuiReadFault> faults;
    const bool isGood = screen.Read(text, faults);
    PrintFaults(arguments.file, faults);
    if (!DrawScreen(screen.GetContext(), renderer, arguments))
        return kFailed;
    return isGood ? 0 : kFound;
}

class CCommandLine
{
public:
    CCommandLine() : m_app("Checks, formats and draws files of widgets (.gui).", "guitool")
    {
        m_app.set_version_flag("--version", "guitool " TAMRA_VERSION);
        m_app.require_subcommand(1);
        m_app.failure_message([](const CLI::App*, const CLI::Error& error)
                              { return "guitool: " + i_GetFirstLine(error.what()) + " (see guitool --help)\n"; });
        m_app.footer("Exit codes: 0 all is well, 1 a file has faults or would be formatted, 2 wrong usage or a file "
                     "that cannot be read or written.");
        i_AddFiles(i_Add("lint", "Prints file:line:column of each fault", Lint));
        CLI::App* format = i_Add("format", "Writes files in their canonical form; those with faults stay", Format);
        i_AddFiles(format);
        format->add_flag("--check", m_arguments.check, "Only say which files would be changed");
        CLI::App* render = i_Add("render", "Draws a file off-screen, without a display", Render);
        render->add_option("FILE", m_arguments.file, "The file to draw")->required();
        render->add_option("OUT.png", m_arguments.picture, "The picture to write")->required();
        render->add_option("--size", m_size, "Of the picture as WxH, 1280x720")
            ->check([this](const std::string& size) { return i_ReadSize(size); });
        render->add_option("--style", m_arguments.style, "How style 0 looks: dark or light")
            ->check(CLI::IsMember({"dark", "light"}));
    }

    int Run(int count, char** values)
    {
        try
        {
            m_app.parse(count, values);
        }
        catch (const CLI::ParseError& error)
        {
            return m_app.exit(error) == 0 ? 0 : kFailed;
        }
        return m_command(m_arguments);
    }

private:
    using Command = int (*)(const Arguments&);

    static std::string i_GetFirstLine(const std::string& text) { return text.substr(0, text.find('\n')); }

    CLI::App* i_Add(const char* name, const char* help, Command command)
    {
        CLI::App* app = m_app.add_subcommand(name, help);
        app->callback([this, command] { m_command = command; });
        return app;
    }

    void i_AddFiles(CLI::App* app) { app->add_option("FILE", m_arguments.files, "The files")->required(); }

    // Empty, or what is wrong.
    std::string i_ReadSize(const std::string& size)
    {
        const std::size_t cross = size.find('x');
        const bool isGood = cross != std::string::npos &&
                            CLI::detail::lexical_cast(size.substr(0, cross), m_arguments.width) &&
                            CLI::detail::lexical_cast(size.substr(cross + 1), m_arguments.height) &&
                            std::min(m_arguments.width, m_arguments.height) >= 1 &&
                            std::max(m_arguments.width, m_arguments.height) <= kMaxSize;
        return isGood ? "" : "a size looks like 1280x720 and is at most " + std::to_string(kMaxSize);
    }

    CLI::App m_app;
    Arguments m_arguments;
    std::string m_size;
    Command m_command = nullptr;
};

// Those of the current folder come first, for screens of another game.
void AddAssets()
{
    const std::string folder = tamra::platform::GetProgramFolder();
    GetFileSystem().AddRoot("assets");
    GetFileSystem().AddRoot(folder + "/" TAMRA_INSTALLED_ASSETS);
    GetFileSystem().AddRoot(folder + "/" TAMRA_BUILT_ASSETS);
}
} // namespace

int main(int count, char** values)
{
    CTerminalLog log("guitool");
    AddAssets();
    try
    {
        return CCommandLine().Run(count, values);
    }
    catch (const std::exception& exception)
    {
        tamra::log::Error(exception.what());
        return kFailed;
    }
}
