#include "gameengine/engine/componentRuntimeData.h"
#include "gameengine/engine/componentTransform.h"
#include "gameengine/engine/entityStorageInternal.h"
#include "tamradeps/core/assertion.h"

#include <cmath>

namespace entityStorage
{
CInterfaceArrayManager* GetManager(CInterfaceCollection* scene)
{
    CInterfaceArrayManager* manager = scene ? scene->GetArrayManager() : nullptr;
    if (!manager)
        AssertionFailed("gameengine/engine/entityArraySaveLoad", 43);
    return manager;
}

CVector3 GetPosition(const CEntity& entity)
{
    auto* transform = entity.Find<ComponentTransform>();
    if (!transform)
        return {};
    const CVector3 position = transform->GetTransform().Translation();
    const auto number = [](float f) { return std::isnan(f) ? 0.0F : f; };
    return {number(position.x), number(position.y), number(position.z)};
}

RefPtr<CEntity> CreateEntity(CInterfaceCollection* scene, UDBGroup& group)
{
    RefPtr<CEntity> entity(new CEntity(scene));
    entity->LockComponentList();
    ComponentRuntimeData::CreateComponent(entity.Get());
    entity->SerializerLoad(group);
    entity->UnlockComponentList();
    return entity;
}

bool IsInside(CVector3 position, const float* min, const float* max)
{
    return (!min || (position.x >= min[0] && position.y >= min[1] && position.z >= min[2])) &&
           (!max || (position.x <= max[0] && position.y <= max[1] && position.z <= max[2]));
}
} // namespace entityStorage
