#pragma once

#include "gameengine/engine/interfaceArrayManager.h"
#include "gameengine/engine/interfaceCollection.h"
#include "tamradeps/math/vector3.h"

class UDBGroup;

// What the storage back ends share.
namespace entityStorage
{
/// The scene's array manager; a missing one is reported.
CInterfaceArrayManager* GetManager(CInterfaceCollection* scene);

/// The translation of the entity's transform, the origin without one. A coordinate that is no number counts as 0.
CVector3 GetPosition(const CEntity& entity);

/// A new entity with run-time data and the components of the group, in no array.
RefPtr<CEntity> CreateEntity(CInterfaceCollection* scene, UDBGroup& group);

/// True when the position lies in the box, bounds included; a null bound leaves that side open.
bool IsInside(CVector3 position, const float* min, const float* max);
} // namespace entityStorage
