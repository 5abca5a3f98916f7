#pragma once

#include "gameengine/engine/componentTransform.h"
#include "gameengine/engine/entity.h"
#include "gameengine/engine/entityComponent.h"
#include "gameengine/engine/entityComponentTypeDatabase.h"
#include "gameengine/engine/scene.h"
#include "support/random.h"
#include "tamradeps/math/matrix.h"
#include "tamradeps/udb/udbGroup.h"

#include <bit>
#include <deque>
#include <functional>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

// A small scene in one line, for tests of the game engine. Header only: needs TamraGameEngine.

namespace test
{
inline CMatrix At(CVector3 position)
{
    CMatrix matrix;
    matrix.SetTranslation(position);
    return matrix;
}

/// Gives the entity's transform a box.
inline void SetBox(const CEntity& entity, const collision::PrimAABB& box)
{
    entity.Find<ComponentTransform>()->SetUntransformedBoundingBox(box.GetFloats());
}

/// Creates components of these classes on the entity, in this order, between a lock and an unlock.
template <class... Components>
void AddComponents(CEntity& entity)
{
    entity.LockComponentList();
    (Components::CreateComponent(&entity), ...);
    entity.UnlockComponentList();
}

/// A scene whose entities are made with their components:
///
///     Scene scene;
///     auto camera = scene.Spawn<ComponentTransformDirect, ComponentCamera>();
class Scene : public CScene
{
public:
    Scene() : CScene(0.1F) { RegisterBuiltInComponents(); }

    /// An entity with these components, in no array.
    template <class... Components>
    RefPtr<CEntity> Make() const
    {
        RefPtr<CEntity> entity = new CEntity(GetInterfaces());
        AddComponents<Components...>(*entity);
        return entity;
    }

    /// The same in the scene's array.
    template <class... Components>
    RefPtr<CEntity> Spawn() const
    {
        RefPtr<CEntity> entity = Make<Components...>();
        GetArray().Add(entity.Get());
        return entity;
    }
};

/// Writes down the events of several handlers as "name id", in order of delivery.
class EventLog
{
public:
    using Listener = std::function<void(const EventMessage&)>;

    /// `listener`, if any, runs after the line was written.
    void Listen(CEventHandler& handler, std::string name, Listener listener = {})
    {
        auto record = [this, prefix = std::move(name), call = std::move(listener)](const EventMessage& message)
        {
            m_lines.push_back(prefix + " " + std::to_string(message.id));
            if (call)
                call(message);
        };
        m_subscriptions.emplace_back(std::move(record)).Subscribe(handler);
    }

    /// The lines since the last call.
    std::vector<std::string> Take() { return std::exchange(m_lines, {}); }

private:
    std::vector<std::string> m_lines;
    std::deque<CEventSubscription> m_subscriptions;
};

/// The parts one after the other.
template <class... Parts>
std::string Label(const Parts&... parts)
{
    std::ostringstream text;
    (text << ... << parts);
    return text.str();
}

/// Gives every property of the component, but choices, another value.
inline void ChangeProperties(CEntityComponent& component, Random& random)
{
    CEntityComponentProperty property;
    for (int i = 0; component.GetProperty(i, &property); ++i)
    {
        const char* const name = property.name;
        const float color[] = {random.Between(0, 1), random.Between(0, 1), random.Between(0, 1), random.Between(0, 1)};
        switch (property.kind)
        {
        case CEntityComponentProperty::kInt: property.SetInt(name, random.Below(2)); break;
        case CEntityComponentProperty::kFloat: property.SetFloat(name, random.Between(0.1F, 90)); break;
        case CEntityComponentProperty::kVector3:
            property.SetVector3(name, color[0] * 360 - 180, color[1] * 1000 - 500, color[2] * 3000);
            break;
        case CEntityComponentProperty::kColor: property.SetColor(name, color); break;
        case CEntityComponentProperty::kText: property.SetText(name, Label("Wei\xC3\x9F ", i).c_str()); break;
        default: continue;
        }
        component.SetProperty(i, &property);
    }
}

/// Everything that a component tells of itself, each number to the last bit.
inline std::string Describe(CEntityComponent& component)
{
    std::string text = std::as_const(component).GetTypeString();
    CEntityComponentProperty property;
    for (int index = 0; component.GetProperty(index, &property); ++index)
    {
        float floats[4] = {};
        const bool hasFloats = property.ReadFloats(floats);
        text += Label("\n  ", property.name, " kind ", property.kind, ": ", property.GetInt(), " '", property.GetText(),
                      '\'');
        for (const float value : {floats[0], floats[1], floats[2], floats[3], hasFloats ? 0.0F : property.GetFloat()})
            text += Label(' ', std::bit_cast<std::uint32_t>(value));
    }
    if (auto* transform = dynamic_cast<ComponentTransform*>(&component))
    {
        for (int i = 0; i < 16; ++i)
            text +=
                Label(i == 0 ? "\n  " : " ", std::bit_cast<std::uint32_t>(transform->GetTransform().GetElements()[i]));
    }
    return text + "\n";
}

/// The entity that an event is about.
inline CEntity* GetEntity(const EventMessage& message)
{
    return message.first.GetObjectPointer<CEntity>("CEntity");
}

/// A scene, components of its own entities, and what most tests of them need.
class SceneTest : public testing::Test
{
protected:
    /// A component on a new entity, in no array.
    template <class Component>
    Component& Make()
    {
        m_entities.push_back(m_scene.Make<Component>());
        return *m_entities.back()->template Find<Component>();
    }

    Scene m_scene;
    CEntityArray& m_array = m_scene.GetArray();
    const std::int32_t m_live = CEntity::GetLiveCount();
    std::vector<RefPtr<CEntity>> m_entities;
    UDBDatabase m_database;
    UDBGroup& m_group = *m_database.AllocateGroup();
    CEntityComponentProperty m_property;
    EventLog m_log;
};
} // namespace test
