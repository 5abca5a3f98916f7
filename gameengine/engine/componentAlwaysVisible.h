#pragma once

#include "gameengine/engine/entityComponent.h"

/// Exempts its entity from visibility culling: sets the flag in the entity's `ComponentRuntimeData` when the component
/// list is unlocked, and clears it when it is destroyed. Without runtime data it does nothing.
class TAMRAGAMEENGINE_API ComponentAlwaysVisible : public CEntityComponent
{
    TAMRA_COMPONENT(ComponentAlwaysVisible, CEntityComponentRepository, 10016);

public:
    explicit ComponentAlwaysVisible(CEntity* entity);
    ComponentAlwaysVisible(const ComponentAlwaysVisible& other) = default;
    ComponentAlwaysVisible& operator=(const ComponentAlwaysVisible& other) = default;
    ~ComponentAlwaysVisible() override;

    CEntityComponentProperty* GetProperty(int index, CEntityComponentProperty* out) override;
    void SetProperty(int index, CEntityComponentProperty* in) override;
    void i_OnEntityUnlockComponentList() override;
};
