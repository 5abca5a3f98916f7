#include "apps/sandbox/sandbox.h"

#include "apps/sandbox/townFlight.h"
#include "gameengine/engine/entityComponentTypeDatabase.h"
#include "tamradeps/core/log.h"
#include "tamradeps/io/fileSystem.h"
#include "tamradeps/io/utf8Path.h"
#include "tools/sceneTools/osmImport.h"
#include "tools/sceneTools/sceneConvert.h"

#include <cstdio>
#include <filesystem>
#include <memory>

namespace
{
constexpr int kFrames = 900;

bool FindFiles(const SandboxOptions& options, SandboxFiles& files)
{
    files.extract = GetFileSystem().FindFile(options.world);
    if (files.extract.empty())
        files.extract = GetFileSystem().FindFile("worlds/" + options.world + ".osm.pbf");
    if (files.extract.empty())
    {
        tamra::log::Error("there is no world " + tamra::log::Quoted(options.world) +
                          ", neither in the assets nor as a file");
        return false;
    }
    const std::filesystem::path folder = tamra::ToPath(options.out);
    std::error_code error;
    std::filesystem::create_directories(folder, error);
    if (error)
    {
        tamra::log::Error("cannot make the folder " + tamra::log::Quoted(options.out) + ": " + error.message());
        return false;
    }
    std::string name = tamra::ToUtf8(tamra::ToPath(files.extract).filename());
    name = name.substr(0, name.find('.'));
    files.scene = tamra::ToUtf8(std::filesystem::absolute(folder / tamra::ToPath(name + ".sdb")));
    files.map = tamra::ToUtf8(folder / tamra::ToPath(name + ".png"));
    return true;
}

bool ImportOnce(const SandboxFiles& files)
{
    if (std::filesystem::exists(tamra::ToPath(files.scene)))
        return true;
    CPhaseReport report("import");
    report.BeginFrame();
    OsmImportStatistics statistics;
    if (!ImportOsmToFile(files.extract, files.scene, false, {}, statistics))
        return false;
    report.EndFrame();
    report.AddRows({}, {.inserted = statistics.entities});
    report.Print(statistics.entities);
    return true;
}

// The rows' extent, with the margins of wide parks and woods left out.
bool GetArea(CEntityArray_SaveLoad_SqliteDB& store, CTownFlight::Area& area)
{
    sqlite::query query;
    if (!query.prepare(store.GetDatabase(), "SELECT min(pos_x), min(pos_y), max(pos_x), max(pos_y) FROM entities") ||
        query.step() != sqlite::query::Step::Row || query.isNull(0))
        return false;
    const auto get = [&query](int column) { return static_cast<float>(query.getDouble(column)); };
    area.min = {get(0), get(1), 0};
    area.max = {get(2), get(3), 0};
    return area.max.x > area.min.x && area.max.y > area.min.y;
}

} // namespace

bool PrepareSandbox(const SandboxOptions& options, SandboxFiles& files)
{
    if (!FindFiles(options, files))
        return false;
    return ImportOnce(files);
}

bool RunStreaming(const SandboxOptions& options, const SandboxFiles& files)
{
    CScene scene;
    auto store = std::make_unique<CEntityArray_SaveLoad_SqliteDB>(files.scene.c_str(), scene.GetInterfaces());
    CTownFlight::Area area;
    CTownEdits edits(scene, *store, options.seed);
    if (!store->IsOpen() || !edits.ReadModel(files.scene) || !GetArea(*store, area))
    {
        tamra::log::Error(tamra::log::Quoted(files.scene) + " holds no town; delete it to have it imported again");
        return false;
    }

    CPhaseReport flying("flight");
    CTownFlight flight(scene, *store, area, options.seed);
    auto before = store->GetCounters();
    flight.Fly(options.frames > 0 ? options.frames : kFrames, edits, flying);
    flying.AddRows(before, store->GetCounters());
    flying.Print(static_cast<std::uint64_t>(scene.GetArray().GetCount()));

    CPhaseReport saving("save");
    before = store->GetCounters();
    saving.BeginFrame();
    const bool saved = store->Save();
    saving.EndFrame();
    if (!saved)
        return false;
    edits.NoteNewRows();
    saving.AddRows(before, store->GetCounters());
    saving.Print(static_cast<std::uint64_t>(scene.GetArray().GetCount()));
    store->ClearCache();

    CPhaseReport comparing("read back");
    CEntityArray_SaveLoad_SqliteDB::Counters counters;
    comparing.BeginFrame();
    const std::int64_t equal = edits.CompareWithFile(files.scene, counters);
    comparing.EndFrame();
    comparing.AddRows({}, counters);
    comparing.Print(static_cast<std::uint64_t>(std::max<std::int64_t>(equal, 0)));

    std::printf("\n%d loaded and %d let go on the way; %d edited, %d added, %d deleted; %llu seen\n",
                flight.GetLoaded(), flight.GetReleased(), edits.GetEdited(), edits.GetAdded(), edits.GetDeleted(),
                static_cast<unsigned long long>(flight.GetSeen()));
    flight.PrintQueries();
    std::printf("\n");
    if (equal < 0)
    {
        std::printf("the file is NOT what it should be\n");
        return false;
    }
    std::printf("the file was opened anew: all %lld entities are there, with the content that they should have\n",
                static_cast<long long>(equal));
    if (!flight.WriteMap(files.map))
        return false;
    std::printf("map of what was loaded: %s\n", files.map.c_str());
    return true;
}
