#pragma once

#include "gameengine/engine/componentEditorData.h"
#include "gameengine/engine/componentTransformDirect.h"
#include "gameengine/engine/entityArraySaveLoadSerialized.h"
#include "gameengine/engine/entityArraySaveLoadSqliteDB.h"
#include "support/expectations.h"
#include "support/files.h"
#include "support/sceneFixture.h"

#include <cstdint>
#include <map>

namespace test
{
/// One line for each entity.
using Content = std::multimap<std::string, CVector3>;

inline const char* GetName(const CEntity* entity)
{
    const auto* data = entity->Find<ComponentEditorData>();
    return data ? data->GetData() : "";
}

inline CVector3 GetPosition(const CEntity* entity)
{
    auto* transform = entity->Find<ComponentTransform>();
    return transform ? transform->GetTransform().Translation() : CVector3();
}

inline void Move(CEntity* entity, CVector3 position)
{
    entity->Find<ComponentTransform>()->SetTransform(At(position));
}

inline void Rename(CEntity* entity, const std::string& name)
{
    entity->Find<ComponentEditorData>()->SetData(name.c_str());
}

/// A scene of entities that have a place and a name.
class StorageScene : public Scene
{
public:
    CEntity* Add(const std::string& name, CVector3 position) const
    {
        const RefPtr<CEntity> entity = Make<ComponentTransformDirect, ComponentEditorData>();
        Move(entity.Get(), position);
        Rename(entity.Get(), name);
        GetArray().Add(entity.Get());
        return entity.Get();
    }

    Content GetContent() const
    {
        Content content;
        for (int i = 0; i < GetArray().GetCount(); ++i)
            content.emplace(GetName(GetArray().Get(i)), GetPosition(GetArray().Get(i)));
        return content;
    }

    CEntity* Find(const std::string& name) const
    {
        for (int i = 0; i < GetArray().GetCount(); ++i)
            if (GetName(GetArray().Get(i)) == name)
                return GetArray().Get(i);
        return nullptr;
    }
};

/// A file of a new folder, a world that can be saved to it as a whole, and a scene with a store of this file.
template <class Store>
class StorageTest : public testing::Test
{
protected:
    explicit StorageTest(const char* name) : m_path(m_folder.Path(name)) {}
    void SaveWorld() { ASSERT_TRUE(CEntityArray_SaveLoad::Save(m_path.c_str(), m_world.GetInterfaces())); }

    TemporaryFolder m_folder;
    const std::string m_path;
    StorageScene m_world;
    StorageScene m_scene;
    Store m_store{m_path.c_str(), m_scene.GetInterfaces()};
};

/// What a new scene holds after loading the whole file.
inline Content LoadContent(const std::string& path)
{
    StorageScene scene;
    EXPECT_TRUE(CEntityArray_SaveLoad::Load(path.c_str(), scene.GetInterfaces(), nullptr, nullptr));
    return scene.GetContent();
}

/// Runs one statement on a scene file and gives its rows, columns separated by '|'.
inline std::vector<std::string> Query(const std::string& path, const std::string& sql)
{
    std::vector<std::string> rows;
    sqlite::database database;
    sqlite::query query;
    EXPECT_TRUE(database.open(path) && query.prepare(database, sql.c_str()));
    sqlite::query::Step step = sqlite::query::Step::Done;
    while ((step = query.step()) == sqlite::query::Step::Row)
    {
        std::string row;
        for (int i = 0; i < query.columnCount(); ++i)
            row.append(i > 0 ? "|" : "").append(query.getText(i));
        rows.push_back(row);
    }
    EXPECT_EQ(step, sqlite::query::Step::Done);
    return rows;
}

/// Replaces the data of a row.
inline void SetBlob(sqlite::database& database, std::int64_t row, const std::vector<std::byte>& blob)
{
    sqlite::query update;
    EXPECT_TRUE(update.prepare(database, "UPDATE entities SET componentData=? WHERE id=?") &&
                update.bind(1, blob.data(), blob.size()) && update.bind(2, row) &&
                update.step() == sqlite::query::Step::Done);
}
} // namespace test
