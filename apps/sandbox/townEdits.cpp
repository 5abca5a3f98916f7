#include "apps/sandbox/townEdits.h"

#include "gameengine/engine/componentEditorData.h"
#include "gameengine/engine/componentRuntimeData.h"
#include "gameengine/engine/componentTransform.h"
#include "tamradeps/udb/udbGroup.h"
#include "tools/sceneTools/sceneInspect.h"
#include "tools/sceneTools/townEntity.h"

#include <cstdio>

CTownEdits::CTownEdits(CScene& scene, CEntityArray_SaveLoad_SqliteDB& store, std::uint32_t seed)
    : m_scene(scene),
      m_store(store),
      m_random(seed)
{
}

bool CTownEdits::ReadModel(const std::string& path)
{
    CSceneFile file;
    return file.Open(path) && file.Visit(
                                  [this](const CSceneFile::Entry& entry)
                                  {
                                      if (entry.data)
                                          m_model[entry.id] = GetContentHash(*entry.data);
                                      return true;
                                  });
}

std::uint64_t CTownEdits::i_HashContent(CEntity* entity)
{
    m_data.Clear();
    UDBGroup* group = m_data.AllocateGroup();
    entity->SerializerSave(*group);
    return GetContentHash(*group);
}

CEntity* CTownEdits::i_PickStored()
{
    const auto count = static_cast<unsigned>(m_scene.GetArray().GetCount());
    for (int attempt = 0; count != 0 && attempt < 100; ++attempt)
    {
        CEntity* entity = m_scene.GetArray().Get(static_cast<int>(m_random() % count));
        const TownKind kind = GetTownKind(*entity);
        if (m_store.FindRow(entity) >= 0 && (kind == TownKind::Building || kind == TownKind::Street))
            return entity;
    }
    return nullptr;
}

void CTownEdits::EditSome()
{
    CEntity* entity = i_PickStored();
    if (!entity)
        return;
    CEntityComponentProperty property;
    auto* name = entity->Find<ComponentEditorData>();
    const std::string text = std::string(name->GetData()) + " (edited)";
    property.SetText("Editor Name", text.c_str());
    name->SetPropertyTo("Editor Name", property);

    auto* transform = entity->Find<ComponentTransform>();
    const CVector3 position = transform->GetTransform().Translation();
    property.SetVector3("Translation", position.x + 0.25F, position.y, position.z);
    transform->SetPropertyTo("Translation", property);

    m_model[m_store.FindRow(entity)] = i_HashContent(entity);
    ++m_edited;
}

void CTownEdits::AddTower(CVector3 position)
{
    TownBox box;
    box.kind = TownKind::Building;
    box.name = "Tower " + std::to_string(m_added + 1);
    box.size = {12, 12, 120};
    box.centre = {position.x, position.y, box.size.z / 2};
    const RefPtr<CEntity> entity = CreateTownEntity(box, m_scene.GetInterfaces());
    // Entities from a file have one by themselves.
    entity->LockComponentList();
    ComponentRuntimeData::CreateComponent(entity.Get());
    entity->UnlockComponentList();
    m_scene.GetArray().Add(entity.Get());
    m_new.push_back(entity);
    ++m_added;
}

void CTownEdits::DeleteSome()
{
    CEntity* entity = i_PickStored();
    if (!entity)
        return;
    m_model.erase(m_store.FindRow(entity));
    m_store.DeleteEntity(entity);
    m_scene.GetArray().Remove(entity);
    ++m_deleted;
}

void CTownEdits::NoteNewRows()
{
    for (const auto& entity : m_new)
        m_model[m_store.FindRow(entity.Get())] = i_HashContent(entity.Get());
    m_new.clear();
}

std::int64_t CTownEdits::CompareWithFile(const std::string& path, CEntityArray_SaveLoad_SqliteDB::Counters& counters)
{
    CScene scene;
    CEntityArray_SaveLoad_SqliteDB store(path.c_str(), scene.GetInterfaces());
    if (!store.Load(nullptr, nullptr))
        return -1;
    counters = store.GetCounters();
    std::int64_t differences = 0;
    const auto report = [&differences](const char* what, std::int64_t row)
    {
        if (++differences <= 5)
            std::printf("  row %lld %s\n", static_cast<long long>(row), what);
    };
    for (const auto& [row, hash] : m_model)
    {
        CEntity* entity = store.FindEntity(row);
        if (!entity)
            report("is missing", row);
        else if (i_HashContent(entity) != hash)
            report("has other content", row);
    }
    for (int i = 0; i < store.GetEntityCount(); ++i)
    {
        if (const std::int64_t row = store.FindRow(store.Get(i)); !m_model.contains(row))
            report("should not be there", row);
    }
    return differences == 0 ? store.GetEntityCount() : -1;
}
