#pragma once

#include "gameengine/engine/entity.h"
#include "gameengine/engine/entityComponent.h"
#include "gameengine/engine/entityComponentTypeDatabase.h"
#include "gameengine/engine/scene.h"
#include "support/random.h"
#include "tamradeps/math/matrix.h"
#include "tamradeps/udb/udbGroup.h"

#include <deque>
#include <functional>
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
