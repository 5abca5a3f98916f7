#include "gameengine/engine/componentCamera.h"

#include "gameengine/engine/componentTransform.h"
#include "gameengine/engine/entity.h"
#include "tamradeps/core/assertion.h"
#include "tamradeps/udb/udbGroup.h"

TAMRA_COMPONENT_IMPLEMENT(ComponentCamera, CEntityComponentRepository);

ComponentCamera::ComponentCamera(CEntity* entity) : CEntityComponent(TYPEID(), entity) {}

ComponentCamera::~ComponentCamera()
{
    i_Unregister(REPOSITORY(), this);
}

CEntityComponentProperty* ComponentCamera::GetProperty(int index, CEntityComponentProperty* out)
{
    switch (index)
    {
    case 0: out->SetFloat("FOV", m_fov); return out;
    case 1: out->SetFloat("Near Distance", m_near); return out;
    case 2: out->SetFloat("Far Distance", m_far); return out;
    default: return nullptr;
    }
}

void ComponentCamera::SetProperty(int index, CEntityComponentProperty* in)
{
    switch (index)
    {
    case 0: in->ReadFloat(m_fov); break;
    case 1: in->ReadFloat(m_near); break;
    case 2: in->ReadFloat(m_far); break;
    default: break;
    }
}

void ComponentCamera::SerializerSave(UDBGroup& group)
{
    group.AddNumber("fov", static_cast<double>(m_fov));
    group.AddNumber("near", static_cast<double>(m_near));
    group.AddNumber("far", static_cast<double>(m_far));
}

void ComponentCamera::SerializerLoad(UDBGroup& group)
{
    m_fov = static_cast<float>(group.GetNumber("fov", static_cast<double>(m_fov)));
    m_near = static_cast<float>(group.GetNumber("near", static_cast<double>(m_near)));
    m_far = static_cast<float>(group.GetNumber("far", static_cast<double>(m_far)));
}

void ComponentCamera::Copy(CEntityComponent* source)
{
    const auto* other = dynamic_cast<const ComponentCamera*>(source);
    if (!other)
        return;
    CEntityComponent::Copy(source);
    m_fov = other->m_fov;
    m_near = other->m_near;
    m_far = other->m_far;
}

CMatrix ComponentCamera::GenerateProjectionMatrix(float width, float height) const
{
    return CMatrix::Projection(m_fov, width / height, m_near, m_far);
}

CMatrix ComponentCamera::GenerateViewMatrix() const
{
    auto* transform = GetEntity() ? GetEntity()->Find<ComponentTransform>() : nullptr;
    if (!transform)
        AssertionFailed("gameengine/engine/componentCamera", 77);
    const CMatrix world = transform ? transform->GetTransform() : CMatrix();
    const CVector3 eye = world.Translation();
    return CMatrix::View(eye, eye + world.GetLocalX(), world.GetLocalZ());
}
