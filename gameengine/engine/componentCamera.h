#pragma once

#include "gameengine/engine/entityComponent.h"
#include "tamradeps/math/matrix.h"

/// A camera at its entity's transform. It looks along the entity's local +X axis with local +Z up.
///
/// Values are not checked: a field of view of 0 or a near plane behind the far one gives a matrix to match.
class TAMRAGAMEENGINE_API ComponentCamera : public CEntityComponent
{
    TAMRA_COMPONENT(ComponentCamera, CEntityComponentRepository, 10020);

public:
    explicit ComponentCamera(CEntity* entity);
    ComponentCamera(const ComponentCamera& other) = default;
    ComponentCamera& operator=(const ComponentCamera& other) = default;
    ~ComponentCamera() override;

    /// "FOV", "Near Distance", "Far Distance": one float each.
    CEntityComponentProperty* GetProperty(int index, CEntityComponentProperty* out) override;
    void SetProperty(int index, CEntityComponentProperty* in) override;
    /// "fov", "near", "far".
    void SerializerSave(UDBGroup& group) override;
    void SerializerLoad(UDBGroup& group) override;
    /// Takes over the three values; a source that is no camera is ignored.
    void Copy(CEntityComponent* source) override;

    /// Vertical field of view in degrees, 70 at first.
    float GetFov() const noexcept { return m_fov; }
    void SetFov(float degrees) noexcept { m_fov = degrees; }
    /// Distances of the near and far plane in world units, 1 and 1000 at first.
    float GetNear() const noexcept { return m_near; }
    void SetNear(float distance) noexcept { m_near = distance; }
    float GetFar() const noexcept { return m_far; }
    void SetFar(float distance) noexcept { m_far = distance; }

    /// The projection for a target of this size; only the ratio counts.
    CMatrix GenerateProjectionMatrix(float width, float height) const;
    /// World to view space. A camera without a transform is reported, and stands at the origin.
    CMatrix GenerateViewMatrix() const;

private:
    float m_fov = 70.0F;
    float m_near = 1.0F;
    float m_far = 1000.0F;
};
