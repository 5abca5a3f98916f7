// scenetool: looks into, checks, compares, converts and makes scene files.
//
// Exit codes: 0 all is well; 1 differences or problems were found; 2 wrong usage or input that cannot be read. What
// goes wrong is one line on standard error.

#include "gameengine/engine/entityComponentTypeDatabase.h"
#include "gameengine/engine/scene.h"
#include "tamradeps/core/log.h"
#include "tamradeps/udb/udbReadWriteAscii.h"
#include "tools/sceneTools/sceneConvert.h"
#include "tools/sceneTools/sceneInspect.h"
#include "tools/sceneTools/townMap.h"
#include "tools/terminal/terminal.h"

#include <algorithm>
#include <cinttypes>
#include <cstdio>
#include <exception>
#include <string>
#include <vector>

#include <CLI/CLI.hpp>

namespace
{
constexpr int kFound = 1;
constexpr int kFailed = 2;
constexpr std::size_t kDiffExamples = 10;

struct Arguments
{
    std::string file;
    std::string other;
    std::int64_t id = 0;
    std::vector<double> box;
    std::uint64_t limit = 0;
    bool force = false;
    int width = 1600;
    OsmImportOptions import;
};

void PrintPosition(const char* title, const std::array<double, 3>& position)
{
    std::printf("%s%.2f %.2f %.2f\n", title, position[0], position[1], position[2]);
}

void PrintEntity(const CSceneFile::Entry& entry, const char* prefix)
{
    std::printf("%s%" PRId64 "\t%.2f %.2f %.2f\t", prefix, entry.id, entry.position[0], entry.position[1],
                entry.position[2]);
    if (!entry.data)
    {
        std::printf("(unreadable)\n");
        return;
    }
    const EntitySummary summary = GetEntitySummary(*entry.data);
    std::printf("%s\t", summary.name.empty() ? "-" : summary.name.c_str());
    const char* separator = "";
    for (const std::string& type : summary.components)
    {
        std::printf("%s%s", separator, type.c_str());
        separator = ",";
    }
    std::printf("\n");
}

int Info(const Arguments& arguments)
{
    CSceneFile file;
    if (!file.Open(arguments.file))
        return kFailed;
    SceneSummary summary;
    {
        CProgressBar bar("Reading");
        if (!SummarizeScene(file, summary, [&bar](double done) { bar.Show(done); }))
            return kFailed;
    }
    std::printf("format      %s\n", file.GetFormat() == CSceneFile::Format::Database
                                        ? "sdb (database, a row for each entity)"
                                        : "mfs (whole scene)");
    std::printf("file        %" PRIu64 " bytes\n", file.GetFileSize());
    std::printf("entities    %" PRIu64 "\n", summary.entities);
    if (summary.entities == 0)
        return 0;
    std::printf("data        %" PRIu64 " bytes, %.1f an entity, at most %" PRIu64 "\n", summary.dataBytes,
                static_cast<double>(summary.dataBytes) / static_cast<double>(summary.entities), summary.largestBytes);
    if (summary.unreadable > 0)
        std::printf("unreadable  %" PRIu64 "\n", summary.unreadable);
    PrintPosition("from        ", summary.positions.min);
    PrintPosition("to          ", summary.positions.max);
    for (const auto& [type, count] : summary.components)
        std::printf("%-11" PRIu64 " %s\n", count, type.c_str());
    return 0;
}

int List(const Arguments& arguments)
{
    CSceneFile file;
    if (!file.Open(arguments.file))
        return kFailed;
    CSceneFile::Box box;
    if (arguments.box.size() == 6)
    {
        std::copy_n(arguments.box.begin(), 3, box.min.begin());
        std::copy_n(arguments.box.begin() + 3, 3, box.max.begin());
    }
    std::uint64_t count = 0;
    const auto print = [&](const CSceneFile::Entry& entry)
    {
        PrintEntity(entry, "");
        return ++count != arguments.limit;
    };
    return file.Visit(print, box) ? 0 : kFailed;
}

int Show(const Arguments& arguments)
{
    CSceneFile file;
    if (!file.Open(arguments.file))
        return kFailed;
    std::string text;
    bool isReadable = false;
    const auto write = [&](const CSceneFile::Entry& entry)
    {
        isReadable = entry.data && UDBReadWriteAscii().Write(*entry.data, text);
        return false;
    };
    if (!file.VisitOne(arguments.id, write))
    {
        tamra::log::Error(tamra::log::Quoted(arguments.file) + " has no entity " + std::to_string(arguments.id));
        return kFailed;
    }
    if (!isReadable)
    {
        tamra::log::Error(tamra::log::Quoted(arguments.file) + ": the data of entity " + std::to_string(arguments.id) +
                          " cannot be read");
        return kFound;
    }
    std::fwrite(text.data(), 1, text.size(), stdout);
    return 0;
}

int Check(const Arguments& arguments)
{
    CSceneFile file;
    if (!file.Open(arguments.file))
        return kFailed;
    SceneCheck check;
    {
        CProgressBar bar("Checking");
        if (!CheckScene(file, check, [&bar](double done) { bar.Show(done); }))
            return kFailed;
    }
    for (const std::string& problem : check.problems)
        std::printf("%s\n", problem.c_str());
    for (const auto& [type, count] : check.unknownTypes)
        std::printf("note: %" PRIu64 " of type \"%s\", which scenetool does not know: loads where it is registered\n",
                    count, type.c_str());
    std::printf("%" PRIu64 " entities, %zu problems\n", file.GetEntityCount(), check.problems.size());
    return check.problems.empty() ? 0 : kFound;
}

void PrintExamples(CSceneFile& file, const std::vector<std::int64_t>& ids)
{
    std::printf("only in %s: %zu\n", tamra::log::Quoted(file.GetPath()).c_str(), ids.size());
    for (std::size_t i = 0; i < ids.size() && i < kDiffExamples; ++i)
        file.VisitOne(ids[i],
                      [](const CSceneFile::Entry& entry)
                      {
                          PrintEntity(entry, "  ");
                          return false;
                      });
    if (ids.size() > kDiffExamples)
        std::printf("  ...\n");
}

int Diff(const Arguments& arguments)
{
    CSceneFile first;
    CSceneFile second;
    if (!first.Open(arguments.file) || !second.Open(arguments.other))
        return kFailed;
    SceneDifferences differences;
    {
        CProgressBar bar("Comparing");
        if (!DiffScenes(first, second, differences, [&bar](double done) { bar.Show(done); }))
            return kFailed;
    }
    std::printf("in both: %" PRIu64 "\n", differences.common);
    PrintExamples(first, differences.onlyInFirst);
    PrintExamples(second, differences.onlyInSecond);
    return differences.AreEqual() ? 0 : kFound;
}

int Convert(const Arguments& arguments)
{
    CProgressBar bar("Converting");
    return ConvertScene(arguments.file, arguments.other, arguments.force, [&bar](double done) { bar.Show(done); })
               ? 0
               : kFailed;
}

int Import(const Arguments& arguments)
{
    OsmImportStatistics statistics;
    {
        CProgressBar bar("Importing");
        if (!ImportOsmToFile(arguments.file, arguments.other, arguments.force, arguments.import, statistics,
                             [&bar](double done) { bar.Show(done); }))
            return kFailed;
    }
    std::printf("%zu buildings (%zu of them parts), %zu streets, %zu parks, %zu waters, %zu places\n",
                statistics.buildings, statistics.buildingParts, statistics.streets, statistics.parks, statistics.waters,
                statistics.places);
    std::printf("%zu entities around %.6f %.6f (longitude, latitude)\n", statistics.entities,
                statistics.originLongitude, statistics.originLatitude);
    std::printf("left out: %zu outside, %zu broken; repaired: %zu heights, %zu names\n", statistics.outside,
                statistics.skipped, statistics.repairedHeights, statistics.droppedNames);
    return 0;
}

int Map(const Arguments& arguments)
{
    CSceneFile file;
    CScene scene;
    SceneSummary summary;
    if (!file.Open(arguments.file) || !SummarizeScene(file, summary))
        return kFailed;
    if (!LoadSceneFile(arguments.file, scene.GetInterfaces()))
        return kFailed;
    for (int i = 0; i < scene.GetArray().GetCount(); ++i)
        PrepareTownEntity(*scene.GetArray().Get(i));
    const auto& box = summary.positions;
    CTownMap map(static_cast<float>(box.min[0]), static_cast<float>(box.min[1]), static_cast<float>(box.max[0]),
                 static_cast<float>(box.max[1]), arguments.width);
    map.DrawScene(scene.GetArray());
    const float bar = map.DrawScaleBar();
    if (!map.WritePng(arguments.other))
        return kFailed;
    std::printf("%d x %d pixels, the bar is %.0f m long\n", map.GetWidth(), map.GetHeight(), static_cast<double>(bar));
    return 0;
}

class CCommandLine
{
public:
    CCommandLine() : m_app("Looks into, checks, compares, converts and makes scene files (.sdb and .mfs).", "scenetool")
    {
        m_app.set_version_flag("--version", "scenetool " TAMRA_VERSION);
        m_app.require_subcommand(1);
        m_app.failure_message([](const CLI::App*, const CLI::Error& error)
                              { return "scenetool: " + i_GetFirstLine(error.what()) + " (see scenetool --help)\n"; });
        m_app.footer("Exit codes: 0 all is well, 1 differences or problems, 2 wrong usage or unreadable input.");

        i_Add("info", "Format, size, number of entities, bounds, components", Info);
        CLI::App* list = i_Add("list", "A line for each entity: id, position, name, components", List);
        list->add_option("--box", m_arguments.box, "Only positions in: minx miny minz maxx maxy maxz")->expected(6);
        list->add_option("--limit", m_arguments.limit, "Print at most so many");
        CLI::App* show = i_Add("show", "The data of one entity as text", Show);
        show->add_option("ID", m_arguments.id, "As list prints it")->required();
        i_Add("check", "Finds data that would not load as it was saved", Check);
        i_Add("diff", "Compares two scenes by the contents of their entities", Diff, "OTHER", "The other file to read");
        i_AddForce(i_Add("convert", "Writes the scene in the format of the new name", Convert, "OUT"));
        CLI::App* import = i_Add("import-osm", "Makes a town of an OpenStreetMap extract (.osm.pbf)", Import, "OUT");
        i_AddForce(import);
        import->add_option("--margin", m_arguments.import.margin, "Metres around the extract's area that are kept, 150")
            ->check(CLI::Range(0.0, 1e6));
        CLI::App* map = i_Add("map", "Draws a town from above", Map, "OUT.png");
        map->add_option("--width", m_arguments.width, "Of the picture in pixels, 1600")->check(CLI::Range(16, 16384));
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

    CLI::App* i_Add(const char* name, const char* help, Command command, const char* secondFile = nullptr,
                    const char* secondHelp = "The file to write")
    {
        CLI::App* app = m_app.add_subcommand(name, help);
        app->add_option("FILE", m_arguments.file, "The file to read")->required();
        if (secondFile)
            app->add_option(secondFile, m_arguments.other, secondHelp)->required();
        app->callback([this, command] { m_command = command; });
        return app;
    }

    void i_AddForce(CLI::App* app) { app->add_flag("--force", m_arguments.force, "Replace OUT if it exists"); }

    CLI::App m_app;
    Arguments m_arguments;
    Command m_command = nullptr;
};
} // namespace

int main(int count, char** values)
{
    CTerminalLog log("scenetool");
    RegisterBuiltInComponents();
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
