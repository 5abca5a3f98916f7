#pragma once

#include <cstdint>
#include <string>

/// What the sandbox is asked to do.
struct SandboxOptions
{
    std::string world = "manhattan"; ///< A name below "worlds/" in the assets, or the path of an .osm.pbf file.
    std::string out = "out";         ///< Folder for the scene file and the pictures, made when missing.
    std::uint32_t seed = 1;
    int frames = 0; ///< 0 for as many as each part likes.

    // The view.
    std::string culler = "software"; ///< A name of a `TownCuller`.
    bool headless = false;           ///< No window, also where there is a display.
    int width = 1280;
    int height = 720;
    int viewpoints = 0;   ///< Pictures of so many still viewpoints in place of a flight.
    bool isLight = false; ///< The editor's style.
    std::string commands; ///< Lines of the editor's console, with semicolons between.
    std::string debug;    ///< Words among "boxes", "cells", "culled" and "figures", with commas between.
};

/// The files of a town.
struct SandboxFiles
{
    std::string extract; ///< OpenStreetMap data.
    std::string scene;
    std::string map;
};

/// Finds the extract, makes the folder, and imports the town when there is no scene file yet. False and one log line
/// when that fails.
bool PrepareSandbox(const SandboxOptions& options, SandboxFiles& files);

/// Flies over a town while it is streamed, edits it, saves, opens the file anew, proves that all is there, and draws a
/// map of what was loaded. Prints a line for each phase. False when anything failed.
bool RunStreaming(const SandboxOptions& options, const SandboxFiles& files);

/// Shows the town in a window until that is closed; without a display, or when asked, writes pictures of a flight and
/// "summary.json" into the folder. False when anything failed.
bool RunView(const SandboxOptions& options, const SandboxFiles& files);

/// Shows the town in the editor until that is closed; without a display, or when asked, runs the commands and writes
/// "editor.png" and "console.png" into the folder. False when anything failed.
bool RunEdit(const SandboxOptions& options, const SandboxFiles& files);
