#include "gameengine/engine/componentTransformDirect.h"

TAMRA_COMPONENT_IMPLEMENT(ComponentTransformDirect, CEntityComponentRepository);

ComponentTransformDirect::ComponentTransformDirect(CEntity* entity) : ComponentTransform(entity)
{
    i_Register(REPOSITORY(), this);
}

ComponentTransformDirect::~ComponentTransformDirect()
{
    i_Unregister(REPOSITORY(), this);
}

void ComponentTransformDirect::SetTransform(const CMatrix& matrix)
{
    m_transform = matrix;
    i_TransformChanged(m_transform);
}

const CMatrix& ComponentTransformDirect::GetTransform()
{
    return m_transform;
}
