#include "gameengine/engine/entityArraySaveLoad.h"

#include "gameengine/engine/entityArraySaveLoadSerialized.h"
#include "gameengine/engine/entityArraySaveLoadSqliteDB.h"
#include "tamradeps/core/tools.h"

#include <memory>
#include <string>

CEntityArray_SaveLoad_Base::~CEntityArray_SaveLoad_Base() = default;

bool CEntityArray_SaveLoad_Base::Save()
{
    return false;
}

bool CEntityArray_SaveLoad_Base::Load(const float*, const float*)
{
    return false;
}

bool CEntityArray_SaveLoad_Base::CreateEmpty()
{
    return false;
}

void CEntityArray_SaveLoad_Base::ClearCache() {}

void CEntityArray_SaveLoad_Base::RemoveEntity(CEntity*) {}

CEntity* CEntityArray_SaveLoad_Base::Get(int)
{
    return nullptr;
}

int CEntityArray_SaveLoad_Base::GetEntityCount()
{
    return 0;
}

void CEntityArray_SaveLoad_Base::IterateOverEntities(const std::function<void(CEntity*)>&) {}

void CEntityArray_SaveLoad_Base::SetSceneAddition(bool) {}

namespace
{
std::unique_ptr<CEntityArray_SaveLoad_Base> CreateBackEnd(const char* file, CInterfaceCollection* scene,
                                                          sqlite::OpenMode mode)
{
    const std::string extension = Tools_FileExtension3(file ? file : "");
    if (extension == "MFS")
        return std::make_unique<CEntityArray_SaveLoad_Serialized>(file, scene);
    if (extension == "SDB")
        return std::make_unique<CEntityArray_SaveLoad_SqliteDB>(file, scene, mode);
    return nullptr;
}
} // namespace

bool CEntityArray_SaveLoad::Save(const char* file, CInterfaceCollection* scene)
{
    const auto backEnd = CreateBackEnd(file, scene, sqlite::OpenMode::ReadWriteCreate);
    return backEnd && backEnd->Save();
}

bool CEntityArray_SaveLoad::Load(const char* file, CInterfaceCollection* scene, const float* min, const float* max)
{
    return Load(file, scene, Setup(), min, max);
}

bool CEntityArray_SaveLoad::Load(const char* file, CInterfaceCollection* scene, const Setup& setup, const float* min,
                                 const float* max, const Visit& loaded)
{
    const auto backEnd = CreateBackEnd(file, scene, sqlite::OpenMode::ReadWrite);
    if (!backEnd)
        return false;
    if (setup)
        setup(*backEnd);
    const bool done = backEnd->Load(min, max);
    if (loaded)
        backEnd->IterateOverEntities(loaded);
    return done;
}
