#pragma once

#include "gameengine/engine/entityArraySaveLoadSqliteDB.h"
#include "gameengine/engine/scene.h"
#include "tamradeps/math/vector3.h"
#include "tamradeps/udb/udbDatabase.h"

#include <cstdint>
#include <map>
#include <random>
#include <string>
#include <vector>

/// Changes a town while it is streamed, and keeps a model of what its file must hold afterwards: a hash of the content
/// of every row.
class CTownEdits
{
public:
    CTownEdits(CScene& scene, CEntityArray_SaveLoad_SqliteDB& store, std::uint32_t seed);

    /// Takes the file as it is now for the model. False when it cannot be read.
    bool ReadModel(const std::string& path);

    /// Changes some loaded building or street by way of its properties: its name, and its place by some centimetres.
    void EditSome();
    /// Adds a tower near the position.
    void AddTower(CVector3 position);
    /// Deletes some loaded entity that has a row.
    void DeleteSome();

    /// Enters the rows that new entities got by saving. Call it after a save, while they are loaded.
    void NoteNewRows();

    /// Compares the model with a file, loaded anew into a scene of its own. Prints what differs; the number of entities
    /// compared, or -1 when something does.
    std::int64_t CompareWithFile(const std::string& path, CEntityArray_SaveLoad_SqliteDB::Counters& counters);

    int GetEdited() const noexcept { return m_edited; }
    int GetAdded() const noexcept { return m_added; }
    int GetDeleted() const noexcept { return m_deleted; }

private:
    CEntity* i_PickStored();
    std::uint64_t i_HashContent(CEntity* entity);

    CScene& m_scene;
    CEntityArray_SaveLoad_SqliteDB& m_store;
    std::minstd_rand m_random;
    std::map<std::int64_t, std::uint64_t> m_model;
    std::vector<RefPtr<CEntity>> m_new;
    UDBDatabase m_data;
    int m_edited = 0;
    int m_added = 0;
    int m_deleted = 0;
};
