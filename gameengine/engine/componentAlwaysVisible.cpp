#include "gameengine/engine/componentAlwaysVisible.h"

#include "gameengine/engine/componentRuntimeData.h"
#include "gameengine/engine/entity.h"

TAMRA_COMPONENT_IMPLEMENT(ComponentAlwaysVisible, CEntityComponentRepository);

ComponentAlwaysVisible::ComponentAlwaysVisible(CEntity* entity) : CEntityComponent(TYPEID(), entity) {}

ComponentAlwaysVisible::~ComponentAlwaysVisible()
{
    if (i_IsInEntity())
    {
        if (auto* runtimeData = GetEntity()->Find<ComponentRuntimeData>())
            runtimeData->flags &= ~ComponentRuntimeData::kAlwaysVisible;
    }
    i_Unregister(REPOSITORY(), this);
}

CEntityComponentProperty* ComponentAlwaysVisible::GetProperty(int, CEntityComponentProperty*)
{
    return nullptr;
}

void ComponentAlwaysVisible::SetProperty(int, CEntityComponentProperty*) {}

void ComponentAlwaysVisible::i_OnEntityUnlockComponentList()
{
    if (auto* runtimeData = GetEntity()->Find<ComponentRuntimeData>())
        runtimeData->flags |= ComponentRuntimeData::kAlwaysVisible;
}
