#pragma once

#include "gameengine/engine/entityArraySaveLoadSqliteDB.h"
#include "gameengine/engine/scene.h"
#include "gameengine/engine/sceneStreamer.h"
#include "tools/soak/entityModel.h"
#include "tools/soak/life.h"

#include <map>
#include <memory>
#include <string>
#include <vector>

namespace soak
{
/// Streams a world of its own by region while the focus wanders and jumps, and edits it meanwhile.
class CStreamLife final : public CLife
{
public:
    explicit CStreamLife(CJournal& journal);

    const char* GetName() const override { return "streaming"; }
    void Step(CRandom& random) override;
    /// Saves all and compares the file.
    void Check() override;
    void AppendState(std::string& state) const override;
    void Empty() override;

private:
    using Store = CEntityArray_SaveLoad_SqliteDB;

    void i_Begin(CRandom& random);
    void i_Open();
    void i_Reopen();
    void i_Save();
    void i_Create(CRandom& random, CVector3 place);
    void i_Edit(CRandom& random);
    void i_Rename(Id id, CEntity& entity, CRandom& random);
    /// All within reach is loaded, and what is loaded is as in the model.
    void i_Finish();
    bool i_IsWithin(CVector3 place, double radius) const;
    CEntity* i_FindEntity(Id id) const;
    Id i_GetId(const CEntity& entity) const;

    const std::string m_path = m_journal.GetPath("streamed.sdb");
    std::unique_ptr<CScene> m_scene;
    std::unique_ptr<Store> m_store;
    std::unique_ptr<CSceneStreamer> m_streamer;
    std::map<Id, EntityModel> m_model; // whatever is loaded; names begin with the number
    CVector3 m_focus;
    Id m_nextId = 1;
};
} // namespace soak
