#pragma once

#include "gameengine/engine/entityComponent.h"

/// Scene-wide settings of the renderer: clear colour, ambient light and fog. Colours are four floats R, G, B, A, 0 at
/// first.
class TAMRAGAMEENGINE_API ComponentRenderSettings : public CEntityComponent
{
    TAMRA_COMPONENT(ComponentRenderSettings, CEntityComponentRepository, 10040);

public:
    explicit ComponentRenderSettings(CEntity* entity);
    ComponentRenderSettings(const ComponentRenderSettings& other) = default;
    ComponentRenderSettings& operator=(const ComponentRenderSettings& other) = default;
    ~ComponentRenderSettings() override;

    /// "Clear Color", "Ambient Color" (colours), "Fog" (choice of "Inactive" and "Active"), "Fog Near/Far" (the first
    /// two of three floats).
    CEntityComponentProperty* GetProperty(int index, CEntityComponentProperty* out) override;
    void SetProperty(int index, CEntityComponentProperty* in) override;
    /// "clear_r" to "clear_a", "ambient_r" to "ambient_a", "fog" (1 or 0), "fogNear", "fogFar".
    void SerializerSave(UDBGroup& group) override;
    /// Fog is on for exactly 1.
    void SerializerLoad(UDBGroup& group) override;
    /// Takes over all values; a source of another class is ignored.
    void Copy(CEntityComponent* source) override;

    /// Four floats, valid as long as the component.
    const float* GetClearColor() const noexcept { return m_clearColor; }
    const float* GetAmbientColor() const noexcept { return m_ambientColor; }
    void SetClearColor(const float* rgba) noexcept;
    void SetAmbientColor(const float* rgba) noexcept;

    bool GetFogEnabled() const noexcept { return m_fogEnabled; }
    /// Distances in world units where fog begins and where it hides everything.
    float GetFogNear() const noexcept { return m_fogNear; }
    float GetFogFar() const noexcept { return m_fogFar; }
    void SetFog(bool enabled, float nearDistance, float farDistance) noexcept;

private:
    float m_clearColor[4] = {};
    float m_ambientColor[4] = {};
    bool m_fogEnabled = false;
    float m_fogNear = 0.0F;
    float m_fogFar = 0.0F;
};
