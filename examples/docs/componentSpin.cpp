// [source]
#include "docs/componentSpin.h"

#include "gameengine/engine/componentTransform.h"
#include "gameengine/engine/interfaceCollection.h"
#include "gameengine/engine/interfaceUpdateEvent.h"

#include <algorithm>
#include <cmath>

TAMRA_COMPONENT_IMPLEMENT(ComponentSpin, CEntityComponentRepository);

namespace
{
constexpr const char* kAxisNames[] = {"X", "Y", "Z", nullptr};
constexpr float kRadians = 0.0174532925F; // of a degree
} // namespace

ComponentSpin::ComponentSpin(CEntity* entity) : CEntityComponent(TYPEID(), entity) {}

ComponentSpin::ComponentSpin(const ComponentSpin& other)
    : CEntityComponent(other),
      m_speed(other.m_speed),
      m_axis(other.m_axis)
{
}

ComponentSpin& ComponentSpin::operator=(const ComponentSpin& other)
{
    CEntityComponent::operator=(other);
    m_speed = other.m_speed;
    m_axis = other.m_axis;
    return *this;
}

ComponentSpin::~ComponentSpin()
{
    i_DropListeners(); // while this is still a ComponentSpin
    i_Unregister(REPOSITORY(), this);
}

CEntityComponentProperty* ComponentSpin::GetProperty(int index, CEntityComponentProperty* out)
{
    switch (index)
    {
    case 0: out->SetFloat("Speed", m_speed); return out;
    case 1: out->SetChoice("Axis", m_axis, kAxisNames); return out;
    default: return nullptr;
    }
}

void ComponentSpin::SetProperty(int index, CEntityComponentProperty* in)
{
    std::int32_t axis = 0;
    if (index == 0)
        in->ReadFloat(m_speed);
    else if (index == 1 && in->ReadInt(axis))
        m_axis = std::clamp(axis, 0, 2); // what a file or an editor says may be anything
}

void ComponentSpin::SerializerSave(UDBGroup& group)
{
    i_SerializeProperty(0, group);
    i_SerializeProperty(1, group);
}

void ComponentSpin::SerializerLoad(UDBGroup& group)
{
    i_DeserializeProperty(0, group);
    i_DeserializeProperty(1, group);
}

bool ComponentSpin::Execute(const CHashFixedString& command, variant& a1, variant&, variant&, variant&, variant&,
                            variant&, variant&, variant&)
{
    if (!(command == "reverse"))
        return false;
    m_speed = -m_speed;
    a1 = variant(m_speed);
    return true;
}

void ComponentSpin::Copy(CEntityComponent* source)
{
    const auto* other = dynamic_cast<const ComponentSpin*>(source);
    if (!other)
        return;
    CEntityComponent::Copy(source);
    m_speed = other->m_speed;
    m_axis = other->m_axis;
}

void ComponentSpin::i_OnEntityUnlockComponentList()
{
    // Without a report: a prototype's collection has no update event. Called with every unlocking: join once.
    auto* update =
        static_cast<CInterfaceUpdateEvent*>(GetEntity()->GetInterfaces().GetInterface(CInterfaceUpdateEvent::TYPEID()));
    if (update && !m_stepped.GetHandler())
        m_stepped.Subscribe(update->GetUpdate_FixedStep());
}

void ComponentSpin::i_Step(float seconds)
{
    if (!i_IsInEntity())
        return; // taken out by RemoveComponent: the entity may be gone
    const float step = m_speed * seconds;
    m_angle += step;
    if (std::fabs(m_angle) >= 360.0F)
    {
        m_angle = std::fmod(m_angle, 360.0F);
        ++m_turns;
        if (!i_RaiseEvent(kTurned, variant(m_turns)))
            return; // a listener has deleted this component
    }
    auto* transform = GetEntity()->Find<ComponentTransform>();
    if (!transform)
        return;
    float angles[3] = {};
    angles[m_axis] = step * kRadians;
    CMatrix turn;
    turn.RotateEuler(angles[0], angles[1], angles[2]);
    // Last: whoever listens to the transform may delete this component too.
    transform->SetTransform(transform->GetTransform() * turn);
}
// [source end]
