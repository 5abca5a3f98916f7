#pragma once

#include "gameengine/engine/entityArraySaveLoadSqliteDB.h"
#include "tools/soak/life.h"
#include "tools/soak/world.h"

#include <array>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <unordered_map>
#include <vector>

namespace soak
{
/// Saves the world to a database and to whole files, and loads it again: all of it, regions, damaged, while locked.
class CFileLife final : public CLife
{
public:
    CFileLife(CJournal& journal, CWorld& world);
    ~CFileLife() override;

    const char* GetName() const override { return "files"; }
    void Step(CRandom& random) override;
    /// Saves, then compares the scene that a new one makes of the file with the model of the file.
    void Check() override;
    void AppendState(std::string& state) const override;
    void Empty() override;

private:
    struct Row
    {
        EntityModel model;
        std::int64_t row;
    };
    using Store = CEntityArray_SaveLoad_SqliteDB;
    using Contents = std::vector<std::string>; // encoded entities, sorted

    void i_OnLeaving(Id id, CEntity* entity, CRandom& random);
    void i_Open();
    void i_Save();
    void i_FailToSave();
    void i_LoadRegion(CRandom& random);
    void i_Load(const float* min, const float* max);
    void i_Forget();
    void i_Reopen();
    void i_SaveWhole();
    void i_RefuseDamaged(CRandom& random);
    void i_ReloadWhole();
    void i_CheckFile(const std::string& path, const Contents& expected);
    Contents i_GetContents(const std::string& path);
    Contents i_GetExpectedRows() const;
    Contents i_GetExpectedScene() const;

    CWorld& m_world;
    const std::string m_databasePath = m_journal.GetPath("world.sdb");
    const std::string m_wholePath = m_journal.GetPath("world.mfs");
    std::unique_ptr<Store> m_store;
    std::map<Id, Row> m_rows; // what is in the file
    std::unordered_map<std::int64_t, Id> m_idOfRow;
    std::set<Id> m_known;   // whose entity the store knows
    std::set<Id> m_deleted; // whose row goes with the next save
};
} // namespace soak
