#include "gameengine/engine/interfaceArrayManager.h"

CInterfaceArrayManager::CInterfaceArrayManager(CEntityArray* array) : m_array(array) {}

const char* CInterfaceArrayManager::GetTypeString()
{
    return "CInterfaceArrayManager";
}

const char* CInterfaceArrayManager::GetTypeName() const
{
    return "CInterfaceArrayManager";
}

std::int32_t CInterfaceArrayManager::GetType() const
{
    return TYPEID();
}

void CInterfaceArrayManager::Cleanup()
{
    ClearScene();
}

void CInterfaceArrayManager::AddEntity(CEntity* entity)
{
    m_array->Add(entity);
}

void CInterfaceArrayManager::RemoveEntity(CEntity* entity)
{
    m_array->Remove(entity);
}

void CInterfaceArrayManager::ClearScene()
{
    m_array->Clear();
}

CEntityArray* CInterfaceArrayManager::GetArray()
{
    return m_array.Get();
}
