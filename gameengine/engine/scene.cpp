#include "gameengine/engine/scene.h"

CScene::CScene(float fixedStep)
    : m_interfaces(new CInterfaceCollection),
      m_array(new CEntityArray),
      m_updateEvent(new CInterfaceUpdateEvent(fixedStep))
{
    m_interfaces->SetInterface(CInterfaceArrayManager::TYPEID(), new CInterfaceArrayManager(m_array.Get()));
    m_interfaces->SetInterface(CInterfaceUpdateEvent::TYPEID(), m_updateEvent.Get());
}

CScene::~CScene()
{
    m_interfaces->Cleanup();
}
