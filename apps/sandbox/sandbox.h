#pragma once

#include <cstdint>
#include <string>

/// What the sandbox is asked to do.
struct SandboxOptions
{
    std::string world = "manhattan"; ///< A name below "worlds/" in the assets, or the path of an .osm.pbf file.
    std::string out = "out";         ///< Folder for the scene file and the picture, made when missing.
    int frames = 900;
    std::uint32_t seed = 1;
};

/// Imports a town on the first start, flies over it while it is streamed, edits it, saves, opens the file anew, proves
/// that all is there, and draws a map of what was loaded. Prints a line for each phase. False when anything failed.
bool RunSandbox(const SandboxOptions& options);
