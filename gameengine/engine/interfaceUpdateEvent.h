#pragma once

#include "gameengine/engine/interfaceBase.h"
#include "tamradeps/core/eventHandler.h"

/// Turns the frame clock into events: one for every whole fixed step in the time that has passed, then one for the
/// frame.
///
/// Both handlers raise event 0 with the interface ("CInterfaceUpdateEvent") and a float: the step, or the frame's time,
/// in seconds.
class TAMRAGAMEENGINE_API CInterfaceUpdateEvent : public CInterfaceBase
{
public:
    static constexpr std::int32_t TYPEID() noexcept { return 2; }

    /// `step` in seconds, usually 1/60. Without a positive step there are no fixed-step events.
    explicit CInterfaceUpdateEvent(float step);

    const char* GetTypeString() override;
    const char* GetTypeName() const override;
    std::int32_t GetType() const override;

    CEventHandler& GetUpdate_EachFrame() noexcept { return m_eachFrame; }
    CEventHandler& GetUpdate_FixedStep() noexcept { return m_fixedStep; }

    /// Call once a frame with the frame's time in seconds. A long frame raises as many fixed steps as fit, without a
    /// bound; the rest carries over. Time that is not finite raises no fixed step.
    void DoUpdate(float dt);

    float GetStep() const noexcept { return m_step; }
    /// Fixed steps so far.
    std::uint32_t GetFixedStepCount() const noexcept { return m_fixedStepCount; }
    /// Seconds carried over to the next frame.
    float GetAccumulator() const noexcept { return m_accumulator; }

private:
    float m_step;
    CEventHandler m_fixedStep;
    CEventHandler m_eachFrame;
    std::uint32_t m_fixedStepCount = 0;
    float m_accumulator = 0.0F;
};
