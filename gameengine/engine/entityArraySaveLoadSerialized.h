#pragma once

#include "gameengine/engine/entityArraySaveLoad.h"
#include "gameengine/engine/interfaceArrayManager.h"
#include "gameengine/engine/interfaceCollection.h"
#include "gameengine/export.h"
#include "tamradeps/core/refPtr.h"

#include <cstddef>
#include <span>
#include <string>
#include <vector>

/// A whole scene in one file, replaced in one step: whoever reads it finds the old scene or the new one.
///
/// The file is little-endian: the eight bytes "TAMRAMFS", a 32-bit version (1), a 32-bit count of entities, the CRC-64
/// of all that follows the header; then for each entity a 32-bit length and the binary form of its data group. A file
/// that is damaged anywhere is refused as a whole, with one log line.
class TAMRAGAMEENGINE_API CEntityArray_SaveLoad_Serialized : public CEntityArray_SaveLoad_Base
{
public:
    /// Names are resolved as for the database. A scene without an array manager is reported; nothing can then be saved
    /// or loaded.
    CEntityArray_SaveLoad_Serialized(const char* file, CInterfaceCollection* scene);
    ~CEntityArray_SaveLoad_Serialized() override;

    /// Replaces the file by the scene's entities.
    bool Save() override;
    /// Adds the entities whose position lies in the box to the scene.
    bool Load(const float* min, const float* max) override;
    /// What `Save` writes, without a file.
    bool SaveBytes(std::vector<std::byte>& content) const;
    /// As `Load`, from what a file held. Damaged bytes are refused as a whole, with one log line.
    bool LoadBytes(std::span<const std::byte> content, const float* min, const float* max);

    /// Replaces the file by a scene without entities.
    bool CreateEmpty() override;
    void ClearCache() override;
    void RemoveEntity(CEntity* entity) override;
    CEntity* Get(int i) override;
    int GetEntityCount() override { return static_cast<int>(m_entities.size()); }
    void IterateOverEntities(const std::function<void(CEntity*)>& visit) override;
    void SetSceneAddition(bool enabled) override { m_sceneAddition = enabled; }

private:
    std::vector<RefPtr<CEntity>> i_GetEntities() const;
    bool i_Serialize(std::span<const RefPtr<CEntity>> entities, std::vector<std::byte>& content) const;

    RefPtr<CInterfaceCollection> m_scene;
    RefPtr<CInterfaceArrayManager> m_manager;
    std::string m_path;
    std::vector<RefPtr<CEntity>> m_entities; // loaded or saved by this back end
    bool m_sceneAddition = true;
};
