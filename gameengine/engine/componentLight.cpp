#include "gameengine/engine/componentLight.h"

#include "gameengine/engine/componentTransform.h"
#include "gameengine/engine/entity.h"
#include "tamradeps/core/tools.h"
#include "tamradeps/math/angle.h"
#include "tamradeps/udb/udbGroup.h"

#include <algorithm>
#include <utility>

TAMRA_COMPONENT_IMPLEMENT(ComponentLight, CEntityComponentRepository);

namespace
{
constexpr const char* kTypeNames[] = {"Point Light", "Spot Light", "Directional Light", nullptr};
constexpr const char* kShadowNames[] = {"Inactive", "Active", nullptr};
constexpr const char* kColorKeys[] = {"colorR", "colorG", "colorB", "colorA"};
} // namespace

ComponentLight::ComponentLight(CEntity* entity) : CEntityComponent(TYPEID(), entity)
{
    m_moved.SetCallback(
        [this](const EventMessage& message)
        {
            if (message.id == ComponentTransform::kTransformChanged)
                i_UpdateLight();
        });
    if (i_UpdateLight())
        i_Follow();
}

ComponentLight::ComponentLight(const ComponentLight& other) : CEntityComponent(other)
{
    i_CopyValues(other);
}

ComponentLight& ComponentLight::operator=(const ComponentLight& other)
{
    CEntityComponent::operator=(other);
    i_CopyValues(other);
    // The other light's view and box are not those of this one's place.
    if (i_IsInEntity())
        i_UpdateLight();
    return *this;
}

ComponentLight::~ComponentLight()
{
    if (m_died)
        *m_died = true;
    m_moved.Leave();
    i_DropListeners();
    i_Unregister(REPOSITORY(), this);
}

void ComponentLight::i_CopyValues(const ComponentLight& other) noexcept
{
    m_lightType = other.m_lightType;
    m_shadowed = other.m_shadowed;
    m_shadowBias = other.m_shadowBias;
    m_range = other.m_range;
    m_spotSize = other.m_spotSize;
    m_falloff = other.m_falloff;
    m_shadowResX = other.m_shadowResX;
    m_shadowResY = other.m_shadowResY;
    std::copy_n(other.m_color, 4, m_color);
    m_localBounds = other.m_localBounds;
    m_projectionMatrix = other.m_projectionMatrix;
    m_viewMatrix = other.m_viewMatrix;
}

CEntityComponentProperty* ComponentLight::GetProperty(int index, CEntityComponentProperty* out)
{
    switch (index)
    {
    case 0: out->SetChoice("Light Type", static_cast<std::int32_t>(m_lightType), kTypeNames); return out;
    case 1: out->SetChoice("Shadowed", m_shadowed ? 1 : 0, kShadowNames); return out;
    case 2: out->SetFloat("Range", m_range); return out;
    case 3: out->SetColor("Color", m_color); return out;
    case 4: out->SetFloat("Shadow Bias", m_shadowBias); return out;
    case 5: out->SetFloat("Spot cone size", m_spotSize); return out;
    case 6: out->SetFloat("Spot cone falloff", m_falloff); return out;
    case 7: out->SetVector3("Shadow Resolution", m_shadowResX, m_shadowResY, 0.0F); return out;
    default: return nullptr;
    }
}

void ComponentLight::SetProperty(int index, CEntityComponentProperty* in)
{
    float values[3] = {};
    std::int32_t choice = 0;
    switch (index)
    {
    case 0:
        if (in->ReadInt(choice))
            m_lightType = static_cast<ComponentLightType>(choice);
        break;
    case 1:
        if (in->ReadInt(choice))
            m_shadowed = choice != 0;
        break;
    case 2: in->ReadFloat(m_range); break;
    case 3: in->ReadColor(m_color); break;
    case 4: in->ReadFloat(m_shadowBias); break;
    case 5: in->ReadFloat(m_spotSize); break;
    case 6: in->ReadFloat(m_falloff); break;
    case 7:
        if (in->ReadVector3(values))
        {
            m_shadowResX = values[0];
            m_shadowResY = values[1];
        }
        break;
    default: break;
    }
    i_UpdateLight();
}

void ComponentLight::SerializerSave(UDBGroup& group)
{
    group.AddNumber("lightType", static_cast<double>(m_lightType));
    group.AddNumber("shadowed", m_shadowed ? 1.0 : 0.0);
    group.AddNumber("range", static_cast<double>(m_range));
    for (int i = 0; i < 4; ++i)
        group.AddNumber(kColorKeys[i], static_cast<double>(m_color[i]));
    group.AddNumber("shadowBias", static_cast<double>(m_shadowBias));
    group.AddNumber("spotSize", static_cast<double>(m_spotSize));
    group.AddNumber("falloff", static_cast<double>(m_falloff));
    group.AddNumber("shadowResX", static_cast<double>(m_shadowResX));
    group.AddNumber("shadowResY", static_cast<double>(m_shadowResY));
}

void ComponentLight::SerializerLoad(UDBGroup& group)
{
    const auto load = [&group](const char* key, float& value)
    { value = static_cast<float>(group.GetNumber(key, static_cast<double>(value))); };
    m_lightType =
        static_cast<ComponentLightType>(Tools_ToInt32(group.GetNumber("lightType", static_cast<double>(m_lightType))));
    m_shadowed = Tools_ToInt32(group.GetNumber("shadowed", m_shadowed ? 1.0 : 0.0)) != 0;
    load("range", m_range);
    for (int i = 0; i < 4; ++i)
        load(kColorKeys[i], m_color[i]);
    load("shadowBias", m_shadowBias);
    load("spotSize", m_spotSize);
    load("falloff", m_falloff);
    load("shadowResX", m_shadowResX);
    load("shadowResY", m_shadowResY);
    i_UpdateLight();
}

void ComponentLight::Copy(CEntityComponent* source)
{
    const auto* other = dynamic_cast<const ComponentLight*>(source);
    if (!other)
        return;
    CEntityComponent::Copy(source);
    // A listener may end the light, or the source, at each step.
    const ComponentLight from(*other);
    const auto set = [this](auto& value, const auto& wanted)
    {
        value = wanted;
        return i_UpdateLight();
    };
    m_shadowResX = from.m_shadowResX;
    if (!set(m_shadowResY, from.m_shadowResY) || !set(m_lightType, from.m_lightType))
        return;
    std::copy_n(from.m_color, 4, m_color);
    if (i_UpdateLight() && set(m_range, from.m_range) && set(m_shadowed, from.m_shadowed) &&
        set(m_shadowBias, from.m_shadowBias) && set(m_spotSize, from.m_spotSize))
        set(m_falloff, from.m_falloff);
}

void ComponentLight::i_OnEntityUnlockComponentList()
{
    if (i_Follow())
        i_UpdateLight();
}

void ComponentLight::SetLightType(ComponentLightType type)
{
    m_lightType = type;
    i_UpdateLight();
}

void ComponentLight::SetShadowed(bool shadowed)
{
    m_shadowed = shadowed;
    i_UpdateLight();
}

void ComponentLight::SetShadowBias(float bias)
{
    m_shadowBias = bias;
    i_UpdateLight();
}

void ComponentLight::SetRange(float range)
{
    m_range = range;
    i_UpdateLight();
}

void ComponentLight::SetSpotConeAngle(float size)
{
    m_spotSize = size;
    i_UpdateLight();
}

void ComponentLight::SetSpotConeFalloff(float falloff)
{
    m_falloff = falloff;
    i_UpdateLight();
}

void ComponentLight::SetShadowResolution(float x, float y)
{
    m_shadowResX = x;
    m_shadowResY = y;
    i_UpdateLight();
}

void ComponentLight::SetLightColor(const float* rgba)
{
    std::copy_n(rgba, 4, m_color);
    i_UpdateLight();
}

ComponentTransform* ComponentLight::i_FindTransform() const
{
    // The entity of a loose copy, or of a light that was taken out, may be gone.
    return i_IsInEntity() ? GetEntity()->Find<ComponentTransform>() : nullptr;
}

// Listens to the entity's transform; true when it did not before.
bool ComponentLight::i_Follow()
{
    auto* const transform = i_FindTransform();
    if (!transform)
        m_moved.Leave();
    if (!transform || m_moved.GetHandler() == &transform->Events())
        return false;
    m_moved.Subscribe(transform->Events());
    return true;
}

CMatrix ComponentLight::i_CalculateView() const
{
    auto* const transform = i_FindTransform();
    if (!transform)
        return CMatrix();
    const CMatrix& world = transform->GetTransform();
    const CVector3 eye = world.Translation();
    return CMatrix::View(eye, eye + world.GetLocalX(), world.GetLocalZ());
}

// False when a listener to the box destroyed the light.
bool ComponentLight::i_SetBounds(ComponentTransform* transform, CVector3 minimum, CVector3 maximum)
{
    m_localBounds.SetMinMax(minimum, maximum);
    if (!transform)
        return true;
    bool died = false;
    bool* const outer = std::exchange(m_died, &died);
    // From a copy: the box is read while listeners run.
    const collision::PrimAABB bounds = m_localBounds;
    transform->SetUntransformedBoundingBox(bounds.GetFloats());
    if (died)
    {
        if (outer)
            *outer = true;
        return false;
    }
    m_died = outer;
    return true;
}

bool ComponentLight::i_UpdateLight()
{
    m_projectionMatrix = CMatrix::Projection(m_spotSize, 1.0F, m_range * 0.001F, m_range);
    m_viewMatrix = i_CalculateView();
    ComponentTransform* const transform = i_FindTransform();
    if (m_lightType == ComponentLightType::Spot)
    {
        const float half = GetTangent(m_spotSize * 0.5F) * m_range;
        if (!i_SetBounds(transform, {0.0F, -half, -half}, {m_range, half, half}))
            return false;
    }
    else if (m_lightType == ComponentLightType::Point)
    {
        const float half = m_range * 0.6666667F;
        if (!i_SetBounds(transform, {-half, -half, -half}, {half, half, half}))
            return false;
    }
    return i_RaiseEvent(kLightChanged, variant(0));
}
