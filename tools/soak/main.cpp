// soak: lives a random scene life for as long as it is told, beside a model of what must come of it.
//
// Exit codes: 0 all is well; 1 something differed from the model, or memory grew; 2 wrong usage.

#include "tamradeps/io/fileSystem.h"
#include "tools/soak/soak.h"

#include <algorithm>
#include <cstdio>
#include <exception>
#include <filesystem>
#include <random>
#include <string>

#include <CLI/CLI.hpp>

#if defined(__SANITIZE_ADDRESS__)
// Freed memory is held back for a while: less than usual, so that growth shows early.
extern "C" const char* __asan_default_options()
{
    return "quarantine_size_mb=32:malloc_context_size=12";
}
#endif

namespace
{
constexpr int kFailed = 2;

void PrintReport(const soak::CSoak& soak, const soak::Options& options)
{
    const soak::Tally& tally = soak.GetTally();
    const auto print = [](const char* what, std::uint64_t count)
    { std::printf("%-24s %12llu\n", what, static_cast<unsigned long long>(count)); };
    print("rounds", soak.GetRound());
    print("entities created", tally.created);
    print("entities destroyed", tally.destroyed);
    print("edits", tally.edits);
    print("saves", tally.saves);
    print("loads", tally.loads);
    print("spatial questions", tally.queries);
    print("culled pictures", tally.culls);
    print("passes on the device", soak.GetDeviceName().empty() ? 0 : tally.devicePasses);
    print("inputs to windows", tally.guiInputs);
    print("events of windows", tally.guiEvents);
    print("console commands", tally.commands);
    print("comparisons", tally.comparisons);
    const auto& samples = soak.GetMemory().GetSamples();
    if (!samples.empty())
    {
        const auto& warm = samples[std::min(soak.GetMemory().GetWarm(), samples.size() - 1)];
        constexpr double kMiB = 1024.0 * 1024.0;
        std::printf("allocations after warm-up and last  %lld  %lld  (trend %+.0f)\n",
                    static_cast<long long>(warm.allocations), static_cast<long long>(samples.back().allocations),
                    soak.GetMemory().GetAllocationGrowth());
        std::printf("resident after warm-up and last     %.1f MiB  %.1f MiB  (trend %+.1f MiB)\n",
                    static_cast<double>(warm.resident) / kMiB, static_cast<double>(samples.back().resident) / kMiB,
                    soak.GetMemory().GetResidentGrowth() / kMiB);
    }
    std::printf("seed %llu, end hash %016llx\n", static_cast<unsigned long long>(options.seed),
                static_cast<unsigned long long>(soak.GetHash()));
}

int Run(soak::Options options)
{
    const bool isOwnFolder = options.folder.empty();
    if (isOwnFolder)
        options.folder =
            (std::filesystem::temp_directory_path() / ("soak-" + std::to_string(std::random_device()()))).string();
    std::filesystem::create_directories(options.folder);
    int code = 0;
    {
        soak::CSoak soak(options);
        std::printf("seed %llu, device: %s\n", static_cast<unsigned long long>(options.seed),
                    soak.GetDeviceName().empty() ? "none" : soak.GetDeviceName().c_str());
        const std::string fault = soak.Run(
            [](const std::string& line)
            {
                std::printf("%s\n", line.c_str());
                std::fflush(stdout);
            });
        PrintReport(soak, options);
        if (!fault.empty())
        {
            std::printf("files are in %s\n", options.folder.c_str());
            std::printf("FAILED: seed %llu, round %llu: %s\n", static_cast<unsigned long long>(options.seed),
                        static_cast<unsigned long long>(soak.GetRound()), fault.c_str());
            code = 1;
        }
    }
    if (isOwnFolder && code == 0)
        std::filesystem::remove_all(options.folder);
    return code;
}
} // namespace

int main(int count, char** values)
{
    soak::Options options;
    bool hasNoDevice = false;
    CLI::App app("Lives a random scene life beside a model, and compares.", "soak");
    app.set_version_flag("--version", "soak " TAMRA_VERSION);
    app.add_option("--minutes", options.minutes, "End after so many minutes, 20 unless there are rounds")
        ->check(CLI::Range(0.01, 1e5));
    app.add_option("--rounds", options.rounds, "End after so many rounds");
    app.add_option("--seed", options.seed, "Another life for each, 1");
    app.add_option("--folder", options.folder, "Where files go, a temporary folder unless given");
    app.add_flag("--no-device", hasNoDevice, "Cull without a device even if there is one");
    app.add_flag("--lives", options.showsLives, "Print a hash of each kind of life after each season");
    app.footer("Exit codes: 0 all is well, 1 a difference or growing memory, 2 wrong usage.");
    try
    {
        app.parse(count, values);
    }
    catch (const CLI::ParseError& error)
    {
        return app.exit(error) == 0 ? 0 : kFailed;
    }
    if (options.minutes <= 0.0 && options.rounds == 0)
        options.minutes = 20.0;
    options.hasDevice = !hasNoDevice;
    GetFileSystem().AddRoot("assets");
    GetFileSystem().AddRoot(TAMRA_ASSET_FOLDER);
    try
    {
        return Run(options);
    }
    catch (const std::exception& exception)
    {
        std::printf("FAILED: %s\n", exception.what());
        return kFailed;
    }
}
