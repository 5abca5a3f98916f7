#pragma once

#include "gameengine/engine/entityComponent.h"
#include "tamradeps/collision/primFrustum.h"
#include "tamradeps/math/matrix.h"

#include <cstdint>

class ComponentTransform;

/// The kinds of light; the numbers are those of saved data.
enum class ComponentLightType : std::int32_t
{
    Point = 0,
    Spot = 1,
    Directional = 2
};

/// Makes its entity a light, at the entity's transform and along its local +X axis.
///
/// The light keeps a projection and a view for its shadows, and gives a point or spot light's transform the box in
/// which it has an effect. All of that is renewed when a value is set, after loading, and when the transform moves, and
/// then event `kLightChanged` is raised. Make the transform before the light or after it; the light finds it when the
/// entity's list of components is unlocked at the latest.
///
/// Values are not checked. Those of them that are not finite give matrices and boxes to match.
class TAMRAGAMEENGINE_API ComponentLight : public CEntityComponent
{
    TAMRA_COMPONENT(ComponentLight, CEntityComponentRepository, 10030);

public:
    /// Event on `Events()`: the component ("CEntityComponent") and the integer 0.
    static constexpr std::int32_t kLightChanged = 0;

    explicit ComponentLight(CEntity* entity);
    /// A copy has the values and follows no transform.
    ComponentLight(const ComponentLight& other);
    /// Takes over all values at once; a light in an entity then updates once, for where it stands.
    ComponentLight& operator=(const ComponentLight& other);
    ~ComponentLight() override;

    /// "Light Type", "Shadowed", "Range", "Color", "Shadow Bias", "Spot cone size", "Spot cone falloff", "Shadow
    /// Resolution" (of which the first two floats count). Setting any of them, or an index past the last one, updates
    /// the light and raises `kLightChanged`, also when the record's kind was wrong and changed no value.
    CEntityComponentProperty* GetProperty(int index, CEntityComponentProperty* out) override;
    void SetProperty(int index, CEntityComponentProperty* in) override;
    void SerializerSave(UDBGroup& group) override;
    void SerializerLoad(UDBGroup& group) override;
    /// Takes over all values, one after the other; a source that is no light is ignored.
    void Copy(CEntityComponent* source) override;
    /// Finds the entity's transform if it was made after the light.
    void i_OnEntityUnlockComponentList() override;

    ComponentLightType GetLightType() const noexcept { return m_lightType; }
    void SetLightType(ComponentLightType type);
    bool GetShadowed() const noexcept { return m_shadowed; }
    void SetShadowed(bool shadowed);
    float GetShadowBias() const noexcept { return m_shadowBias; }
    void SetShadowBias(float bias);
    /// How far the light reaches in world units. A point light's box is two thirds of that in each direction, where the
    /// light has become faint.
    float GetRange() const noexcept { return m_range; }
    void SetRange(float range);
    /// The spot cone's full opening: degrees for the projection. The box's half width is range times the tangent of
    /// half the number as it stands.
    float GetSpotConeAngle() const noexcept { return m_spotSize; }
    void SetSpotConeAngle(float size);
    float GetSpotConeFalloff() const noexcept { return m_falloff; }
    void SetSpotConeFalloff(float falloff);
    /// Size of the shadow map in texels.
    float GetShadowResolutionX() const noexcept { return m_shadowResX; }
    float GetShadowResolutionY() const noexcept { return m_shadowResY; }
    void SetShadowResolution(float x, float y);
    /// Four floats: R, G, B, A.
    const float* GetLightColor() const noexcept { return m_color; }
    void SetLightColor(const float* rgba);

    /// The box that the transform was given last, in local space.
    const collision::PrimAABB& GetLocalBounds() const noexcept { return m_localBounds; }

    /// Kept for whoever renders the shadow; the light does not fill it.
    collision::PrimFrustum& GetCachedFrustum() noexcept { return m_cachedFrustum; }
    /// The shadow's projection (near plane at a thousandth of the range) and world to view space. Valid as long as the
    /// light.
    const CMatrix& GetProjectionMatrix() const noexcept { return m_projectionMatrix; }
    const CMatrix& GetViewMatrix() const noexcept { return m_viewMatrix; }

protected:
    /// Renews matrices and box and raises the event. False when a listener destroyed the light: return at once.
    bool i_UpdateLight();
    CMatrix i_CalculateView() const;

private:
    ComponentTransform* i_FindTransform() const;
    bool i_Follow();
    bool i_SetBounds(ComponentTransform* transform, CVector3 minimum, CVector3 maximum);
    void i_CopyValues(const ComponentLight& other) noexcept;

    ComponentLightType m_lightType = ComponentLightType::Point;
    bool m_shadowed = false;
    float m_shadowBias = 0.0001F;
    float m_range = 32.0F;
    float m_spotSize = 45.0F;
    float m_falloff = 1.0F;
    float m_shadowResX = 256.0F;
    float m_shadowResY = 256.0F;
    float m_color[4] = {1.0F, 1.0F, 1.0F, 1.0F};
    collision::PrimFrustum m_cachedFrustum;

public:
    // Words of the subsystems that draw lights and shadows, which alone give them a meaning.
    std::uint32_t shadowStamp = 0;
    std::uint32_t lightStamp = 0;
    std::int32_t lightSlot = -1;

private:
    collision::PrimAABB m_localBounds; // what the transform was given last
    CMatrix m_projectionMatrix;
    CMatrix m_viewMatrix;
    CEventSubscription m_moved;
    bool* m_died = nullptr; // of the update under way
};
