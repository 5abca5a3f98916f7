#include "apps/sandbox/sandbox.h"
#include "apps/sandbox/townViewer.h"
#include "corvex/window.h"
#include "tamradeps/core/log.h"
#include "tamradeps/platform/counters.h"
#include "tamraengine/renderer/imageEncoder.h"

#include <algorithm>
#include <cstdio>
#include <filesystem>

using namespace renderer;

namespace
{
constexpr int kFrames = 48;
constexpr float kFrameTime = 1.0F / 60.0F;
constexpr float kLongestFrame = 0.25F; // seconds that a camera moves on at once

bool ReadDebug(const std::string& words, TownDebug& debug)
{
    for (std::size_t start = 0; start < words.size();)
    {
        const std::size_t end = std::min(words.find(',', start), words.size());
        const std::string word = words.substr(start, end - start);
        start = end + 1;
        if (word == "boxes")
            debug.boxes = true;
        else if (word == "cells")
            debug.cells = true;
        else if (word == "culled")
            debug.culled = true;
        else if (word == "figures")
            debug.figures = true;
        else
        {
            tamra::log::Error("there is no debug view " + tamra::log::Quoted(word));
            return false;
        }
    }
    return true;
}

std::string GetPicturePath(const std::string& folder, int number)
{
    char name[32];
    std::snprintf(name, sizeof name, "/frame%04d.png", number);
    return folder + name;
}

bool WritePictures(const SandboxOptions& options, CTownViewer& viewer, const CTownPath& path)
{
    const bool isStill = options.viewpoints > 0;
    const int count = isStill ? options.viewpoints : (options.frames > 0 ? options.frames : kFrames);
    const auto viewpoints = path.GetViewpoints(options.viewpoints, options.seed);
    for (int i = 0; i < count; ++i)
    {
        if (isStill)
            viewer.DrawStill(viewpoints[static_cast<std::size_t>(i)]);
        else
            viewer.Draw(path.GetFlight(static_cast<double>(i) / count), kFrameTime);
        const tamra::platform::CStopwatch stopwatch;
        if (!WritePng(GetPicturePath(options.out, i), viewer.GetTarget().ReadPixels()))
            return false;
        viewer.GetReport().GetLast().finish = stopwatch.GetSeconds();
    }
    return true;
}

void ShowWindow(CWindow& window, CRenderer& renderer, CTownViewer& viewer, const CTownPath& path)
{
    CTownControls controls(window, path, viewer.GetDebug());
    renderer.GetInput().AddListener(&controls);
    std::printf("%s\n", CTownControls::GetHelp());
    tamra::platform::CStopwatch stopwatch;
    while (window.PollEvents())
    {
        const auto seconds = static_cast<float>(stopwatch.GetSeconds());
        stopwatch.Restart();
        if (const int steps = controls.TakeCullerSteps())
            viewer.SetCuller(
                static_cast<TownCuller>((static_cast<int>(viewer.GetCuller()) + steps) % kTownCullerCount));
        // A window may be shut to nothing, and dragged to any size.
        const int width = window.GetWidth();
        const int height = window.GetHeight();
        if (width > 0 && height > 0 && viewer.Resize(width, height))
        {
            viewer.Draw(controls.Update(std::min(seconds, kLongestFrame)), seconds);
            viewer.Present(width, height);
        }
        window.SwapBuffers();
    }
    renderer.GetInput().RemoveListener(&controls);
}
} // namespace

bool RunView(const SandboxOptions& options, const SandboxFiles& files)
{
    const auto culler = FindTownCuller(options.culler);
    TownDebug debug;
    if (!culler || !ReadDebug(options.debug, debug))
        return false;

    CRenderer renderer;
    std::unique_ptr<CWindow> window;
    std::unique_ptr<CContext> context;
    const bool isHeadless = options.headless || options.viewpoints > 0 || !CWindow::HasDisplay();
    if (isHeadless)
        context = COffscreenContext::Create();
    else
        window = CWindow::Create({.title = "Tamra sandbox", .width = options.width, .height = options.height},
                                 &renderer.GetInput());
    if ((!context && !window) || !renderer.InitializeDevice())
        return false;
    std::printf("\n%s\n", renderer.GetDeviceName().c_str());

    CTownModel town;
    if (!town.Load(files.scene))
        return false;
    const CTownPath path(town);
    CTownViewer viewer(renderer, town);
    if (!viewer.Initialize(options.width, options.height, *culler))
        return false;
    viewer.GetDebug() = debug;

    bool isGood = true;
    if (window)
        ShowWindow(*window, renderer, viewer, path);
    else
        isGood = WritePictures(options, viewer, path);
    viewer.GetReport().Print();
    if (!window)
    {
        const std::string summary = options.out + "/summary.json";
        isGood = isGood && viewer.GetReport().WriteJson(summary, options.world, options.culler,
                                                        renderer.GetDeviceName(), options.width, options.height);
        std::printf("pictures and figures: %s\n", options.out.c_str());
    }
    return isGood;
}
