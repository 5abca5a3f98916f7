#pragma once

#include "gameengine/engine/componentCamera.h"
#include "gameengine/engine/componentRenderSettings.h"
#include "gameengine/engine/entityArrayAccelerationTree.h"
#include "gameengine/engine/entityArraySaveLoadSqliteDB.h"
#include "gameengine/engine/scene.h"
#include "tools/sceneTools/townEntity.h"

#include <array>
#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <vector>

/// A town that is wholly loaded, with what belongs to a view of it: a camera, the sun, lamps, and settings of the
/// renderer. A grid keeps track of what is where.
class CTownModel
{
public:
    /// Loads the scene file. False and one log line when it cannot be read or holds no town. Entities with a place
    /// whose name tells no kind are boxes as buildings are.
    bool Load(const std::string& path);

    CScene& GetScene() noexcept { return m_scene; }
    /// The file, which knows the row of every entity.
    CEntityArray_SaveLoad_SqliteDB& GetStore() noexcept { return *m_store; }
    CEntityArray_AccelerationTree& GetTree() noexcept { return *m_tree; }
    ComponentCamera& GetCamera() noexcept { return *m_camera; }
    const ComponentRenderSettings& GetSettings() const noexcept { return *m_settings; }
    /// Has camera and settings; is in no array and is not saved.
    CEntity& GetViewer() noexcept { return *m_viewer; }

    /// The town's entities in the order of their rows, so that runs can be compared. Valid as long as the model.
    std::span<CEntity* const> GetEntities() const noexcept { return m_entities; }
    /// The place of an entity in `GetEntities`, -1 for others.
    int GetNumber(const CEntity* entity) const noexcept;
    TownKind GetKind(std::size_t number) const noexcept { return m_kinds[number]; }
    const collision::PrimAABB& GetBox(std::size_t number) const noexcept { return m_boxes[number]; }
    /// Chooses how it looks, and stays when others come and go.
    std::size_t GetSeed(std::size_t number) const noexcept { return m_seeds[number]; }

    /// Puts in an entity that is none of the town's and need not be in the scene. It gets what all of them have. Those
    /// from the number on move down.
    void Insert(CEntity* entity, int number, std::size_t seed);
    /// The same with a new entity, behind all others.
    void Add(CEntity* entity);
    /// Takes an entity out of the scene, and its row out of the file with the next save. Those behind it move up.
    void Remove(int number);
    /// Reads an entity's place and kind anew, after it was changed. Whether its kind is another now; a name that tells
    /// none leaves it as it was.
    bool Refresh(int number);

    /// The sun and the lamps.
    CEntityArray& GetLights() noexcept { return *m_lights; }

    /// Puts the camera somewhere, looking along a direction that is not vertical.
    void SetCamera(CVector3 eye, CVector3 direction);
    CVector3 GetEye() const;

    CVector3 GetMin() const noexcept { return m_min; }
    CVector3 GetMax() const noexcept { return m_max; }

private:
    void i_Insert(CEntity* entity, int number, std::size_t seed);
    void i_SetNumber(int number);
    void i_MakeTree();
    void i_MakeView();
    void i_MakeLamps();
    CEntity* i_MakeLight(const CMatrix& matrix);

    CScene m_scene;
    std::unique_ptr<CEntityArray_SaveLoad_SqliteDB> m_store;
    RefPtr<CEntityArray_AccelerationTree> m_tree{new CEntityArray_AccelerationTree};
    RefPtr<CEntityArray> m_lights{new CEntityArray};
    RefPtr<CEntity> m_viewer;
    ComponentCamera* m_camera = nullptr;
    ComponentRenderSettings* m_settings = nullptr;
    std::vector<CEntity*> m_entities;
    std::vector<TownKind> m_kinds;
    std::vector<collision::PrimAABB> m_boxes;
    std::vector<std::size_t> m_seeds;
    std::size_t m_nextSeed = 0;
    std::vector<std::int32_t> m_numbers; // by entity index
    CVector3 m_min;
    CVector3 m_max;
};
