#pragma once

#include "gameengine/engine/interfaceArrayManager.h"
#include "gameengine/engine/interfaceCollection.h"
#include "gameengine/engine/interfaceUpdateEvent.h"
#include "gameengine/export.h"

/// A scene ready for use: an entity array, and a collection with the array manager and the update event. Ends the scene
/// when it is destroyed: entities that others still hold keep their components but are in no array.
///
///     CScene scene;
///     RefPtr<CEntity> entity = new CEntity(scene.GetInterfaces());
///     scene.GetArray().Add(entity.Get());
///     scene.GetUpdateEvent().DoUpdate(0.016F);
class TAMRAGAMEENGINE_API CScene
{
public:
    /// `fixedStep` in seconds.
    explicit CScene(float fixedStep = 1.0F / 60.0F);
    CScene(const CScene&) = delete;
    CScene& operator=(const CScene&) = delete;
    ~CScene();

    CInterfaceCollection* GetInterfaces() const noexcept { return m_interfaces.Get(); }
    CEntityArray& GetArray() const noexcept { return *m_array; }
    CInterfaceUpdateEvent& GetUpdateEvent() const noexcept { return *m_updateEvent; }

private:
    RefPtr<CInterfaceCollection> m_interfaces;
    RefPtr<CEntityArray> m_array;
    RefPtr<CInterfaceUpdateEvent> m_updateEvent;
};
