#include "apps/sandbox/sandbox.h"
#include "gameengine/engine/entityComponentTypeDatabase.h"
#include "tamradeps/io/fileSystem.h"
#include "tamradeps/platform/programFolder.h"

#include <algorithm>

#include <CLI/CLI.hpp>

namespace
{
// What the command line says that needs a second look.
struct Words
{
    std::vector<std::string> parts;
    std::string size;
    std::string style = "dark";
};

void AddOptions(CLI::App& app, SandboxOptions& options, Words& words)
{
    app.add_option("parts", words.parts, "what to do: stream, view, edit; the first two when left out")
        ->check(CLI::IsMember({"stream", "view", "edit"}));
    app.add_option("--world", options.world, "manhattan, liechtenstein, or the path of an .osm.pbf file")
        ->capture_default_str();
    app.add_option("--out", options.out, "folder for the scene file and the pictures")->capture_default_str();
    app.add_option("--frames", options.frames, "frames of the flights; 900 streamed and 48 viewed when left out")
        ->check(CLI::Range(1, 1000000));
    app.add_option("--seed", options.seed, "of the path and the edits")->capture_default_str();
    app.add_option("--culler", options.culler, "who leaves out what is hidden")
        ->check(CLI::IsMember({"none", "bruteforce", "tree", "software", "gpu"}))
        ->capture_default_str();
    app.add_flag("--headless", options.headless, "write pictures and summary.json, without a window");
    app.add_option("--size", words.size, "of the pictures, as 1280x720")
        ->check(
            [&options](const std::string& text)
            {
                const bool isGood =
                    CLI::detail::lexical_cast(text.substr(0, text.find('x')), options.width) &&
                    CLI::detail::lexical_cast(text.substr(std::min(text.find('x') + 1, text.size())), options.height);
                return std::string(isGood ? "" : "a size looks like 1280x720");
            },
            "WxH");
    app.add_option("--viewpoints", options.viewpoints,
                   "without a window: so many still pictures in place of the flight")
        ->check(CLI::Range(1, 10000));
    app.add_option("--style", words.style, "of the editor's windows")
        ->check(CLI::IsMember({"dark", "light"}))
        ->capture_default_str();
    app.add_option("--commands", options.commands,
                   "of the editor's console, run at its start, with semicolons between");
    app.add_option("--debug", options.debug, "show boxes, cells, culled, figures: words with commas between");
}
} // namespace

int main(int argc, char** argv)
{
    SandboxOptions options;
    Words words;
    CLI::App app(
        "A real town: flies over it while it is streamed from its file, edits it, proves that saving works, and "
        "shows it in 3-D, also in an editor.");
    AddOptions(app, options, words);
    try
    {
        app.parse(argc, argv);
    }
    catch (const CLI::ParseError& error)
    {
        return app.exit(error) == 0 ? 0 : 1;
    }

    options.isLight = words.style == "light";
    std::vector<std::string>& parts = words.parts;
    const auto isWanted = [&](const char* part) { return std::find(parts.begin(), parts.end(), part) != parts.end(); };
    if (parts.empty())
        parts = {"stream", "view"};
    GetFileSystem().AddRoot("assets");
    // As installed, and as built.
    GetFileSystem().AddRoot(tamra::platform::GetProgramFolder() + "/../share/TamraGameEngine");
    GetFileSystem().AddRoot(TAMRA_ASSET_FOLDER);
    RegisterBuiltInComponents();
    SandboxFiles files;
    const bool isGood = PrepareSandbox(options, files) && (!isWanted("stream") || RunStreaming(options, files)) &&
                        (!isWanted("view") || RunView(options, files)) &&
                        (!isWanted("edit") || RunEdit(options, files));
    return isGood ? 0 : 1;
}
