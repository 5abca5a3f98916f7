#pragma once

#include "gameengine/engine/entityComponent.h"

#include <cstdint>

/// Whether a shadow may be kept from frame to frame.
enum class ShadowMode : std::int32_t
{
    Static = 0,
    Dynamic = 1
};

/// Marks its entity as casting a shadow.
class TAMRAGAMEENGINE_API ComponentShadowCaster : public CEntityComponent
{
    TAMRA_COMPONENT(ComponentShadowCaster, CEntityComponentRepositoryFast, 10060);

public:
    /// Event on `Events()` before the mode changes: the component ("CEntityComponent"), which has the old mode, and the
    /// new mode as an integer.
    static constexpr std::int32_t kModeChanging = 0;

    explicit ComponentShadowCaster(CEntity* entity);
    ComponentShadowCaster(const ComponentShadowCaster& other) = default;
    ComponentShadowCaster& operator=(const ComponentShadowCaster& other) = default;
    ~ComponentShadowCaster() override;

    /// "Shadow Mode".
    CEntityComponentProperty* GetProperty(int index, CEntityComponentProperty* out) override;
    void SetProperty(int index, CEntityComponentProperty* in) override;
    /// "shadowMode". Loading raises no event.
    void SerializerSave(UDBGroup& group) override;
    void SerializerLoad(UDBGroup& group) override;
    /// Sets the source's mode; a source that is no shadow caster is ignored.
    void Copy(CEntityComponent* source) override;

    ShadowMode GetShadowMode() const noexcept { return m_shadowMode; }
    /// Raises `kModeChanging` if the mode is another one, then stores it.
    void SetShadowMode(ShadowMode mode);

private:
    ShadowMode m_shadowMode = ShadowMode::Static;
};
