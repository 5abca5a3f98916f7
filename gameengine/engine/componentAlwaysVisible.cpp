#include "gameengine/engine/componentAlwaysVisible.h"

#include "gameengine/engine/componentRuntimeData.h"
#include "gameengine/engine/entity.h"

TAMRA_COMPONENT_IMPLEMENT(ComponentAlwaysVisible, CEntityComponentRepository);

ComponentAlwaysVisible::ComponentAlwaysVisible(CEntity* entity) : CEntityComponent(TYPEID(), entity) {}

ComponentAlwaysVisible::~ComponentAlwaysVisible()
{
    // One that was taken out of the list may outlive its entity, and the index belong to another one.
    const auto index = static_cast<unsigned int>(i_GetEntityIndex());
    if (i_IsInEntity() || (i_GetEntityIndex() >= 0 && REPOSITORY().Find(index) == this))
    {
        if (auto* runtimeData = static_cast<ComponentRuntimeData*>(ComponentRuntimeData::REPOSITORY().Find(index)))
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
