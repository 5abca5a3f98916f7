#include "gameengine/engine/interfaceUpdateEvent.h"

#include <cmath>

CInterfaceUpdateEvent::CInterfaceUpdateEvent(float step) : m_step(step) {}

const char* CInterfaceUpdateEvent::GetTypeString()
{
    return "CInterfaceUpdateEvent";
}

const char* CInterfaceUpdateEvent::GetTypeName() const
{
    return "CInterfaceUpdateEvent";
}

std::int32_t CInterfaceUpdateEvent::GetType() const
{
    return TYPEID();
}

void CInterfaceUpdateEvent::DoUpdate(float dt)
{
    if (std::isfinite(dt) && m_step > 0.0F)
    {
        m_accumulator += dt;
        while (m_accumulator >= m_step)
        {
            if (!m_fixedStep.Raise(0, variant(this, "CInterfaceUpdateEvent"), variant(m_step)))
                return;
            ++m_fixedStepCount;
            const float rest = m_accumulator - m_step;
            // A step too small to be subtracted would never end.
            m_accumulator = rest < m_accumulator ? rest : 0.0F;
        }
    }
    m_eachFrame.Raise(0, variant(this, "CInterfaceUpdateEvent"), variant(dt));
}
