#include "apps/sandbox/editor.h"
#include "apps/sandbox/sandbox.h"
#include "corvex/window.h"
#include "tamradeps/platform/counters.h"
#include "tamraengine/renderer/imageEncoder.h"

#include <algorithm>
#include <cstdio>

using namespace renderer;

namespace
{
constexpr float kFrameTime = 1.0F / 60.0F;
constexpr float kLongestFrame = 0.25F; // seconds that a camera moves on at once
constexpr int kSettlingFrames = 20;    // until cullers and layouts have made up their minds

void RunCommands(const std::string& commands, CGuiConsole& console)
{
    for (std::size_t start = 0; start < commands.size();)
    {
        const std::size_t end = std::min(commands.find(';', start), commands.size());
        const std::size_t first = commands.find_first_not_of(' ', start);
        if (first < end)
        {
            console.AddMessage("> " + commands.substr(first, end - first));
            console.Execute(commands.substr(first, end - first));
        }
        start = end + 1;
    }
}

// The editor as it is after the commands, and with the console over it.
bool WritePictures(const SandboxOptions& options, CEditor& editor, CGuiConsole& console)
{
    editor.Update(kFrameTime);
    RunCommands(options.commands, console);
    for (int i = 0; i < std::max(options.frames, kSettlingFrames); ++i)
        editor.Update(kFrameTime);
    if (!WritePng(options.out + "/editor.png", editor.GetTarget().ReadPixels()))
        return false;
    console.SetVisible(true);
    console.SetInputActive(true);
    editor.Update(kFrameTime);
    const bool isGood = WritePng(options.out + "/console.png", editor.GetTarget().ReadPixels());
    std::printf("pictures: %s\n", options.out.c_str());
    return isGood;
}

void ShowWindow(CEditor& editor)
{
    std::printf("%s\n", CEditor::GetHelp());
    tamra::platform::CStopwatch stopwatch;
    float seconds = 0.0F;
    while (editor.ShowFrame(seconds))
    {
        seconds = std::min(static_cast<float>(stopwatch.GetSeconds()), kLongestFrame);
        stopwatch.Restart();
    }
}
} // namespace

bool RunEdit(const SandboxOptions& options, const SandboxFiles& files)
{
    const auto culler = FindTownCuller(options.culler);
    if (!culler)
        return false;
    CRenderer renderer;
    std::unique_ptr<CWindow> window;
    std::unique_ptr<CContext> context;
    if (options.headless || !CWindow::HasDisplay())
        context = COffscreenContext::Create();
    else
        window = CWindow::Create({.title = "Tamra editor", .width = options.width, .height = options.height},
                                 &renderer.GetInput());
    if ((!context && !window) || !renderer.InitializeDevice())
        return false;
    const auto engine = CTamraGameEngine::Create(renderer);
    if (!engine)
        return false;
    CEditor editor(*engine);
    if (!editor.Initialize(files.scene, options.width, options.height, *culler, window.get()))
        return false;
    if (options.isLight)
        editor.SetStyle(gui::GuiStyleData::MakeLight());
    if (!window)
        return WritePictures(options, editor, engine->GetConsole());
    RunCommands(options.commands, engine->GetConsole());
    ShowWindow(editor);
    return true;
}
