#include "tools/sceneTools/sceneInspect.h"

#include "gameengine/engine/entityComponentTypeDatabase.h"
#include "tamradeps/core/crc64.h"
#include "tamradeps/core/log.h"
#include "tamradeps/sqlite/query.h"
#include "tamradeps/udb/udbGroup.h"
#include "tamradeps/udb/udbReadWriteBinary.h"

#include <algorithm>
#include <cstdio>
#include <utility>

namespace
{
constexpr std::uint64_t kProgressStep = 512;

// Visits all entities and reports progress between `start` and `start + share`.
bool VisitAll(CSceneFile& file, const SceneProgress& progress, double start, double share,
              const std::function<void(const CSceneFile::Entry&)>& visit)
{
    std::uint64_t done = 0;
    const auto count = static_cast<double>(std::max<std::uint64_t>(file.GetEntityCount(), 1));
    return file.Visit(
        [&](const CSceneFile::Entry& entry)
        {
            visit(entry);
            if (progress && ++done % kProgressStep == 0)
                progress(start + share * static_cast<double>(done) / count);
            return true;
        });
}

std::string FormatPosition(const std::array<double, 3>& position)
{
    char text[128];
    std::snprintf(text, sizeof(text), "(%.9g, %.9g, %.9g)", position[0], position[1], position[2]);
    return text;
}

void CheckDatabase(const std::string& path, SceneCheck& result)
{
    const auto report = [&result](const std::string& line) { result.problems.push_back(line); };
    sqlite::database database;
    sqlite::query check;
    if (!database.open(path, sqlite::OpenMode::ReadOnly) || !check.prepare(database, "PRAGMA integrity_check(20)"))
        return report("SQLite cannot check the file");
    sqlite::query::Step step = check.step();
    for (; step == sqlite::query::Step::Row; step = check.step())
    {
        if (check.getText(0) != "ok")
            report("SQLite: " + tamra::log::Quoted(check.getText(0)));
    }
}

void CheckEntity(const CSceneFile::Entry& entry, SceneCheck& result)
{
    const auto report = [&](const std::string& what)
    { result.problems.push_back("entity " + std::to_string(entry.id) + ": " + what); };
    if (!entry.data)
        return report("its data cannot be read");
    for (const std::string& type : GetEntitySummary(*entry.data).components)
    {
        if (CEntityComponentTypeDatabase::Instance().FindByName(type.c_str()) < 0)
            ++result.unknownTypes[type];
    }
    const std::array<double, 3> position = CSceneFile::GetPosition(*entry.data);
    if (position != entry.position)
        report("stored at " + FormatPosition(entry.position) + ", but its transform is at " + FormatPosition(position));
}

using Hashes = std::vector<std::pair<std::uint64_t, std::int64_t>>;

bool CollectHashes(CSceneFile& file, const SceneProgress& progress, double start, Hashes& hashes)
{
    const bool done = VisitAll(file, progress, start, 0.5,
                               [&hashes](const CSceneFile::Entry& entry)
                               {
                                   // Unreadable data is compared as it is.
                                   hashes.emplace_back(entry.data ? GetContentHash(*entry.data)
                                                                  : HashCRC64Data(entry.blob.data(), entry.blob.size()),
                                                       entry.id);
                               });
    std::sort(hashes.begin(), hashes.end());
    return done;
}
} // namespace

bool SummarizeScene(CSceneFile& file, SceneSummary& summary, const SceneProgress& progress)
{
    summary = {};
    return VisitAll(file, progress, 0.0, 1.0,
                    [&summary](const CSceneFile::Entry& entry)
                    {
                        CSceneFile::Box& box = summary.positions;
                        for (std::size_t axis = 0; axis < 3; ++axis)
                        {
                            const double value = entry.position[axis];
                            box.min[axis] = summary.entities == 0 ? value : std::min(box.min[axis], value);
                            box.max[axis] = summary.entities == 0 ? value : std::max(box.max[axis], value);
                        }
                        ++summary.entities;
                        summary.dataBytes += entry.blob.size();
                        summary.largestBytes = std::max<std::uint64_t>(summary.largestBytes, entry.blob.size());
                        summary.unreadable += entry.data ? 0 : 1;
                        if (!entry.data)
                            return;
                        for (const std::string& type : GetEntitySummary(*entry.data).components)
                            ++summary.components[type];
                    });
}

bool CheckScene(CSceneFile& file, SceneCheck& check, const SceneProgress& progress)
{
    check = {};
    if (file.GetFormat() == CSceneFile::Format::Database)
        CheckDatabase(file.GetPath(), check);
    return VisitAll(file, progress, 0.0, 1.0, [&check](const CSceneFile::Entry& entry) { CheckEntity(entry, check); });
}

std::uint64_t GetContentHash(const UDBGroup& data)
{
    // Each entry as a group of its own, so that they can be sorted.
    const UDBReadWriteBinary writer(true);
    UDBDatabase& database = data.GetDatabase();
    std::vector<std::byte> bytes;
    std::vector<std::uint64_t> hashes;
    for (const UDBEntry& entry : data)
    {
        UDBGroup* single = database.AllocateGroup();
        switch (entry.GetKind())
        {
        case UDBEntry::Kind::Number: single->AddNumber(entry.GetKey(), entry.GetNumber()); break;
        case UDBEntry::Kind::String: single->AddString(entry.GetKey(), entry.GetString()); break;
        case UDBEntry::Kind::Group: single->AddGroup(entry.GetKey(), entry.GetGroup()); break;
        }
        writer.Write(*single, bytes);
        hashes.push_back(HashCRC64Data(bytes.data(), bytes.size()));
    }
    std::sort(hashes.begin(), hashes.end());
    return HashCRC64Data(hashes.data(), hashes.size() * sizeof(std::uint64_t));
}

bool DiffScenes(CSceneFile& first, CSceneFile& second, SceneDifferences& differences, const SceneProgress& progress)
{
    differences = {};
    Hashes a;
    Hashes b;
    if (!CollectHashes(first, progress, 0.0, a) || !CollectHashes(second, progress, 0.5, b))
        return false;
    auto i = a.begin();
    auto j = b.begin();
    while (i != a.end() || j != b.end())
    {
        if (j == b.end() || (i != a.end() && i->first < j->first))
            differences.onlyInFirst.push_back((i++)->second);
        else if (i == a.end() || j->first < i->first)
            differences.onlyInSecond.push_back((j++)->second);
        else
        {
            ++differences.common;
            ++i;
            ++j;
        }
    }
    std::sort(differences.onlyInFirst.begin(), differences.onlyInFirst.end());
    std::sort(differences.onlyInSecond.begin(), differences.onlyInSecond.end());
    return true;
}
