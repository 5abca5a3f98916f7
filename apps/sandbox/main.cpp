#include "apps/sandbox/sandbox.h"
#include "tamradeps/io/fileSystem.h"

#include <CLI/CLI.hpp>

int main(int argc, char** argv)
{
    SandboxOptions options;
    CLI::App app("Flies over a real town while it is streamed from its file, edits it and proves that saving works.");
    app.add_option("--world", options.world, "manhattan, liechtenstein, or the path of an .osm.pbf file")
        ->capture_default_str();
    app.add_option("--out", options.out, "folder for the scene file and the map")->capture_default_str();
    app.add_option("--frames", options.frames, "frames of the flight")
        ->check(CLI::Range(1, 1000000))
        ->capture_default_str();
    app.add_option("--seed", options.seed, "of the path and the edits")->capture_default_str();
    CLI11_PARSE(app, argc, argv);

    GetFileSystem().AddRoot("assets");
    GetFileSystem().AddRoot(TAMRA_ASSET_FOLDER);
    return RunSandbox(options) ? 0 : 1;
}
