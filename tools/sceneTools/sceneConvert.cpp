#include "tools/sceneTools/sceneConvert.h"

#include "gameengine/engine/entityArraySaveLoadSqliteDB.h"
#include "gameengine/engine/scene.h"
#include "tamradeps/core/log.h"
#include "tamradeps/io/utf8Path.h"
#include "tools/sceneTools/sceneCopy.h"

#include <algorithm>
#include <filesystem>
#include <functional>
#include <system_error>
#include <vector>

namespace
{
namespace fs = std::filesystem;

bool Fail(const std::string& path, const std::string& reason)
{
    tamra::log::Error(tamra::log::Quoted(path) + " " + reason);
    return false;
}

bool CanWrite(const std::string& path, bool force)
{
    if (CSceneFile::GetFormat(path) == CSceneFile::Format::None)
        return Fail(path, "cannot be written: its name ends neither in .sdb nor in .mfs");
    std::error_code error;
    const auto status = fs::status(tamra::ToPath(path), error);
    if (!fs::exists(status))
    {
        const fs::path folder = tamra::ToPath(path).parent_path();
        return folder.empty() || fs::is_directory(folder, error) ||
               Fail(path, "cannot be written: there is no such folder");
    }
    if (!fs::is_regular_file(status))
        return Fail(path, "cannot be written: it is not a file");
    if (!force)
        return Fail(path, "exists already; it is replaced only by force");
    if (fs::exists(tamra::ToPath(path + "-journal"), error))
        return Fail(path, "cannot be replaced: it is being written, or was interrupted; open it once to repair it");
    return true;
}

void Remove(const std::string& path)
{
    std::error_code ignored;
    fs::remove(tamra::ToPath(path), ignored);
    fs::remove(tamra::ToPath(path + "-journal"), ignored);
}

std::string GetAbsolute(const std::string& path)
{
    std::error_code ignored;
    return tamra::ToUtf8(fs::absolute(tamra::ToPath(path), ignored));
}

// Rows in the order in which the entities were made: saving the scene as a whole goes by address.
bool SaveDatabase(const std::string& path, CInterfaceCollection* scene)
{
    CEntityArray_SaveLoad_SqliteDB store(path.c_str(), scene);
    CInterfaceArrayManager* manager = scene->GetArrayManager();
    if (!manager || !store.CreateEmpty())
        return false;
    std::vector<CEntity*> entities;
    for (int i = 0; i < manager->GetArray()->GetCount(); ++i)
        entities.push_back(manager->GetArray()->Get(i));
    std::sort(entities.begin(), entities.end(),
              [](const CEntity* a, const CEntity* b) { return a->GetSerial() < b->GetSerial(); });
    return store.SaveEntities(entities);
}

// Beside the file, whose place it takes when it is whole.
bool WriteDatabase(const std::string& path, const std::function<bool(const std::string& path)>& write)
{
    const std::string scratch = path + ".partial.sdb";
    Remove(scratch);
    std::error_code error;
    if (!write(scratch))
    {
        Remove(scratch);
        return false;
    }
    fs::rename(tamra::ToPath(scratch), tamra::ToPath(path), error);
    if (!error)
        return true;
    Remove(scratch);
    return Fail(path, "cannot be replaced: " + error.message());
}

bool IsSameFile(const std::string& a, const std::string& b)
{
    std::error_code error;
    return fs::equivalent(tamra::ToPath(a), tamra::ToPath(b), error) && !error;
}
} // namespace

bool WriteSceneFile(const std::string& path, CInterfaceCollection* scene, bool force)
{
    if (!CanWrite(path, force))
        return false;
    const std::string absolute = GetAbsolute(path);
    if (CSceneFile::GetFormat(path) == CSceneFile::Format::Serialized)
        return CEntityArray_SaveLoad::Save(absolute.c_str(), scene);
    return WriteDatabase(absolute, [scene](const std::string& scratch) { return SaveDatabase(scratch, scene); });
}

bool LoadSceneFile(const std::string& path, CInterfaceCollection* scene)
{
    return CEntityArray_SaveLoad::Load(GetAbsolute(path).c_str(), scene, nullptr, nullptr);
}

bool ConvertScene(const std::string& from, const std::string& to, bool force, const SceneProgress& progress)
{
    CSceneFile file;
    if (!CanWrite(to, force) || !file.Open(from))
        return false;
    if (IsSameFile(from, to))
        return Fail(to, "is the file to be converted");
    SceneCheck check;
    if (!CheckScene(file, check, progress))
        return false;
    if (!check.problems.empty())
        return Fail(from, "has " + std::to_string(check.problems.size()) +
                              " problems and is not converted; 'check' names them");
    const std::string absolute = GetAbsolute(to);
    if (CSceneFile::GetFormat(to) == CSceneFile::Format::Serialized)
        return CopyEntities(file, absolute);
    return WriteDatabase(absolute, [&file](const std::string& scratch) { return CopyEntities(file, scratch); });
}

bool ImportOsmToFile(const std::string& pbfPath, const std::string& to, bool force, const OsmImportOptions& options,
                     OsmImportStatistics& statistics, const SceneProgress& progress)
{
    if (!CanWrite(to, force))
        return false;
    CScene scene;
    return ImportOsm(pbfPath, scene.GetInterfaces(), options, &statistics, progress) &&
           WriteSceneFile(to, scene.GetInterfaces(), force);
}
