#include "gameengine/engine/componentShadowCaster.h"

#include "tamradeps/core/tools.h"
#include "tamradeps/udb/udbGroup.h"

TAMRA_COMPONENT_IMPLEMENT(ComponentShadowCaster, CEntityComponentRepositoryFast);

namespace
{
constexpr const char* kModeNames[] = {"Static", "Dynamic", nullptr};
} // namespace

ComponentShadowCaster::ComponentShadowCaster(CEntity* entity) : CEntityComponent(TYPEID(), entity) {}

ComponentShadowCaster::~ComponentShadowCaster()
{
    i_DropListeners();
    i_Unregister(REPOSITORY(), this);
}

CEntityComponentProperty* ComponentShadowCaster::GetProperty(int index, CEntityComponentProperty* out)
{
    if (index != 0)
        return nullptr;
    out->SetChoice("Shadow Mode", static_cast<std::int32_t>(m_shadowMode), kModeNames);
    return out;
}

void ComponentShadowCaster::SetProperty(int index, CEntityComponentProperty* in)
{
    std::int32_t mode = 0;
    if (index == 0 && in->ReadInt(mode))
        SetShadowMode(static_cast<ShadowMode>(mode));
}

void ComponentShadowCaster::SerializerSave(UDBGroup& group)
{
    group.AddNumber("shadowMode", static_cast<double>(m_shadowMode));
}

void ComponentShadowCaster::SerializerLoad(UDBGroup& group)
{
    const double mode = group.GetNumber("shadowMode", static_cast<double>(m_shadowMode));
    m_shadowMode = static_cast<ShadowMode>(Tools_ToInt32(mode));
}

void ComponentShadowCaster::Copy(CEntityComponent* source)
{
    const auto* other = dynamic_cast<const ComponentShadowCaster*>(source);
    if (!other)
        return;
    CEntityComponent::Copy(source);
    SetShadowMode(other->m_shadowMode);
}

void ComponentShadowCaster::SetShadowMode(ShadowMode mode)
{
    if (mode != m_shadowMode && i_RaiseEvent(kModeChanging, variant(static_cast<std::int32_t>(mode))))
        m_shadowMode = mode;
}
