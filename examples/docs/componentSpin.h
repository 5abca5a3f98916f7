#pragma once

// [header]
#include "gameengine/engine/entityComponent.h"

/// Turns its entity about one of its local axes, a step with every fixed step of the scene.
class ComponentSpin : public CEntityComponent
{
    TAMRA_COMPONENT(ComponentSpin, CEntityComponentRepository, 10901);

public:
    /// Event on `Events()` after each whole turn: the component ("CEntityComponent") and the number of turns so far.
    static constexpr std::int32_t kTurned = 0;

    explicit ComponentSpin(CEntity* entity);
    /// A copy has the values and follows no scene.
    ComponentSpin(const ComponentSpin& other);
    ComponentSpin& operator=(const ComponentSpin& other);
    ~ComponentSpin() override;

    /// "Speed" (degrees a second) and "Axis".
    CEntityComponentProperty* GetProperty(int index, CEntityComponentProperty* out) override;
    void SetProperty(int index, CEntityComponentProperty* in) override;
    void SerializerSave(UDBGroup& group) override;
    void SerializerLoad(UDBGroup& group) override;
    /// "reverse" turns the other way; the first value becomes the new speed.
    bool Execute(const CHashFixedString& command, variant& a1, variant& a2, variant& a3, variant& a4, variant& a5,
                 variant& a6, variant& a7, variant& a8) override;
    /// Takes over speed and axis; a source of another class is ignored.
    void Copy(CEntityComponent* source) override;
    void i_OnEntityUnlockComponentList() override;

    float GetSpeed() const noexcept { return m_speed; }
    void SetSpeed(float degreesPerSecond) noexcept { m_speed = degreesPerSecond; }
    int GetTurns() const noexcept { return m_turns; }

private:
    void i_Step(float seconds);

    CEventSubscription m_stepped{[this](const EventMessage& message) { i_Step(message.second.GetFloat()); }};
    float m_speed = 90.0F;
    std::int32_t m_axis = 2;
    float m_angle = 0.0F; // since the last whole turn, in degrees
    std::int32_t m_turns = 0;
};
// [header end]
