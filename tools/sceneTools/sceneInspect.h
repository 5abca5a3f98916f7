#pragma once

#include "tools/sceneTools/sceneFile.h"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <string>
#include <vector>

/// Gets the part done, 0 to 1, now and then.
using SceneProgress = std::function<void(double)>;

/// A scene file in figures.
struct SceneSummary
{
    std::uint64_t entities = 0;
    std::uint64_t unreadable = 0;
    std::uint64_t dataBytes = 0;
    std::uint64_t largestBytes = 0;
    CSceneFile::Box positions; ///< Around all positions; open without entities.
    std::map<std::string, std::uint64_t> components;
};
bool SummarizeScene(CSceneFile& file, SceneSummary& summary, const SceneProgress& progress = {});

/// What would not load as it was saved.
struct SceneCheck
{
    /// A line for each: data that cannot be read, rows whose position is not that of their transform, and, in a
    /// database, what SQLite itself finds.
    std::vector<std::string> problems;
    /// Types that are not registered here, which a game may know, with the number of their components.
    std::map<std::string, std::uint64_t> unknownTypes;
};
/// False when reading failed altogether.
bool CheckScene(CSceneFile& file, SceneCheck& check, const SceneProgress& progress = {});

/// What two scenes do not have in common. Entities are the same when their components are, in whatever order; entities
/// that are there several times are paired off. Ids are those of the file.
struct SceneDifferences
{
    std::uint64_t common = 0;
    std::vector<std::int64_t> onlyInFirst;
    std::vector<std::int64_t> onlyInSecond;

    bool AreEqual() const noexcept { return onlyInFirst.empty() && onlyInSecond.empty(); }
};
bool DiffScenes(CSceneFile& first, CSceneFile& second, SceneDifferences& differences,
                const SceneProgress& progress = {});

/// The same for entities with the same components, whatever their order.
std::uint64_t GetContentHash(const UDBGroup& data);
