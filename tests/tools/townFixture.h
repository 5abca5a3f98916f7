#pragma once

#include "gameengine/engine/componentEditorData.h"
#include "gameengine/engine/componentTransform.h"
#include "gameengine/engine/entityArraySaveLoadSqliteDB.h"
#include "gameengine/engine/entityComponentTypeDatabase.h"
#include "gameengine/engine/scene.h"
#include "support/files.h"
#include "tools/sceneTools/townEntity.h"

#include <map>
#include <string>
#include <vector>

namespace test
{
/// An extract among the shipped worlds.
inline std::string GetExtract(const std::string& name)
{
    return TAMRA_SOURCE_FOLDER "/assets/worlds/" + name + ".osm.pbf";
}

/// A building without name of the given size that stands with its middle at the place.
inline TownBox MakeBuilding(CVector3 centre, CVector3 size)
{
    return {.kind = TownKind::Building, .name = {}, .centre = centre, .size = size};
}

/// Writes a town of five buildings along the X axis, 50 metres from one to the next: "House 0" to "House 4", of which
/// the one in the middle is "Caf\xC3\xA9".
inline bool WriteStreet(const std::string& path)
{
    RegisterBuiltInComponents();
    CScene scene;
    std::vector<RefPtr<CEntity>> entities;
    std::vector<CEntity*> inOrder;
    for (int i = 0; i < 5; ++i)
    {
        TownBox box = MakeBuilding({static_cast<float>(i) * 50.0F, 0, 15}, {20, 20, 30});
        box.name = i == 2 ? "Caf\xC3\xA9" : "House " + std::to_string(i);
        entities.push_back(CreateTownEntity(box, scene.GetInterfaces()));
        inOrder.push_back(entities.back().Get());
    }
    CEntityArray_SaveLoad_SqliteDB store(path.c_str(), scene.GetInterfaces());
    return store.CreateEmpty() && store.SaveEntities(inOrder);
}

/// The places of a file's entities by their names.
inline std::map<std::string, CMatrix> ReadPlaces(const std::string& path)
{
    CScene scene;
    CEntityArray_SaveLoad_SqliteDB store(path.c_str(), scene.GetInterfaces());
    std::map<std::string, CMatrix> places;
    store.Load(nullptr, nullptr);
    for (int i = 0; i < store.GetEntityCount(); ++i)
        places[store.Get(i)->Find<ComponentEditorData>()->GetData()] =
            store.Get(i)->Find<ComponentTransform>()->GetTransform();
    return places;
}
} // namespace test
