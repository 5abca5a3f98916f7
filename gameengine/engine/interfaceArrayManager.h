#pragma once

#include "gameengine/engine/entityArray.h"
#include "gameengine/engine/interfaceBase.h"

/// The scene's entities as a service: loaders and game code add and remove entities through it.
class TAMRAGAMEENGINE_API CInterfaceArrayManager : public CInterfaceBase
{
public:
    static constexpr std::int32_t TYPEID() noexcept { return 1; }

    /// References the array, which must not be null.
    explicit CInterfaceArrayManager(CEntityArray* array);

    const char* GetTypeString() override;
    const char* GetTypeName() const override;
    std::int32_t GetType() const override;
    /// Clears the scene, so that its entities let go of their collection.
    void Cleanup() override;

    virtual void AddEntity(CEntity* entity);
    virtual void RemoveEntity(CEntity* entity);
    /// Removes every entity.
    virtual void ClearScene();
    /// The array, alive as long as the manager.
    virtual CEntityArray* GetArray();

private:
    RefPtr<CEntityArray> m_array;
};
