#include "gameengine/engine/componentRenderSettings.h"

#include "tamradeps/udb/udbGroup.h"

#include <algorithm>

TAMRA_COMPONENT_IMPLEMENT(ComponentRenderSettings, CEntityComponentRepository);

namespace
{
constexpr const char* kFogNames[] = {"Inactive", "Active", nullptr};
constexpr const char* kClearKeys[] = {"clear_r", "clear_g", "clear_b", "clear_a"};
constexpr const char* kAmbientKeys[] = {"ambient_r", "ambient_g", "ambient_b", "ambient_a"};

void SaveColor(UDBGroup& group, const char* const* keys, const float* rgba)
{
    for (int i = 0; i < 4; ++i)
        group.AddNumber(keys[i], static_cast<double>(rgba[i]));
}

void LoadColor(const UDBGroup& group, const char* const* keys, float* rgba)
{
    for (int i = 0; i < 4; ++i)
        rgba[i] = static_cast<float>(group.GetNumber(keys[i], static_cast<double>(rgba[i])));
}
} // namespace

ComponentRenderSettings::ComponentRenderSettings(CEntity* entity) : CEntityComponent(TYPEID(), entity) {}

ComponentRenderSettings::~ComponentRenderSettings()
{
    i_Unregister(REPOSITORY(), this);
}

CEntityComponentProperty* ComponentRenderSettings::GetProperty(int index, CEntityComponentProperty* out)
{
    switch (index)
    {
    case 0: out->SetColor("Clear Color", m_clearColor); return out;
    case 1: out->SetColor("Ambient Color", m_ambientColor); return out;
    case 2: out->SetChoice("Fog", m_fogEnabled ? 1 : 0, kFogNames); return out;
    case 3: out->SetVector3("Fog Near/Far", m_fogNear, m_fogFar, 0.0F); return out;
    default: return nullptr;
    }
}

void ComponentRenderSettings::SetProperty(int index, CEntityComponentProperty* in)
{
    float values[4] = {};
    std::int32_t fog = 0;
    switch (index)
    {
    case 0:
        if (in->ReadColor(values))
            SetClearColor(values);
        break;
    case 1:
        if (in->ReadColor(values))
            SetAmbientColor(values);
        break;
    case 2:
        if (in->ReadInt(fog))
            m_fogEnabled = fog != 0;
        break;
    case 3:
        if (in->ReadVector3(values))
            SetFog(m_fogEnabled, values[0], values[1]);
        break;
    default: break;
    }
}

void ComponentRenderSettings::SerializerSave(UDBGroup& group)
{
    SaveColor(group, kClearKeys, m_clearColor);
    SaveColor(group, kAmbientKeys, m_ambientColor);
    group.AddNumber("fog", m_fogEnabled ? 1.0 : 0.0);
    group.AddNumber("fogNear", static_cast<double>(m_fogNear));
    group.AddNumber("fogFar", static_cast<double>(m_fogFar));
}

void ComponentRenderSettings::SerializerLoad(UDBGroup& group)
{
    LoadColor(group, kClearKeys, m_clearColor);
    LoadColor(group, kAmbientKeys, m_ambientColor);
    m_fogEnabled = group.GetNumber("fog", m_fogEnabled ? 1.0 : 0.0) == 1.0;
    m_fogNear = static_cast<float>(group.GetNumber("fogNear", static_cast<double>(m_fogNear)));
    m_fogFar = static_cast<float>(group.GetNumber("fogFar", static_cast<double>(m_fogFar)));
}

void ComponentRenderSettings::Copy(CEntityComponent* source)
{
    const auto* other = dynamic_cast<const ComponentRenderSettings*>(source);
    if (!other)
        return;
    CEntityComponent::Copy(source);
    SetClearColor(other->m_clearColor);
    SetAmbientColor(other->m_ambientColor);
    SetFog(other->m_fogEnabled, other->m_fogNear, other->m_fogFar);
}

void ComponentRenderSettings::SetClearColor(const float* rgba) noexcept
{
    std::copy_n(rgba, 4, m_clearColor);
}

void ComponentRenderSettings::SetAmbientColor(const float* rgba) noexcept
{
    std::copy_n(rgba, 4, m_ambientColor);
}

void ComponentRenderSettings::SetFog(bool enabled, float nearDistance, float farDistance) noexcept
{
    m_fogEnabled = enabled;
    m_fogNear = nearDistance;
    m_fogFar = farDistance;
}
