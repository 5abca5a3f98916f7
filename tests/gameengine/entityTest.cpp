#include "gameengine/componentProbe.h"
#include "gameengine/engine/componentAlwaysVisible.h"
#include "gameengine/engine/componentCamera.h"
#include "gameengine/engine/componentEditorData.h"
#include "gameengine/engine/componentRenderSettings.h"
#include "gameengine/engine/componentRuntimeData.h"
#include "gameengine/engine/componentTransformDirect.h"
#include "gameengine/engine/entityComponentDatabase.h"
#include "support/expectations.h"
#include "support/sceneFixture.h"
#include "tamradeps/udb/udbGroup.h"

#include <map>
#include <memory>
#include <set>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

using testing::ElementsAre;
using testing::IsEmpty;

namespace
{
using Moment = ComponentProbe::Moment;

std::vector<std::string> GetTypes(const CEntity& entity)
{
    std::vector<std::string> types;
    for (int i = 0; i < entity.GetComponentCount(); ++i)
        types.emplace_back(std::as_const(*entity.GetComponent(i)).GetTypeString());
    return types;
}

std::vector<std::string> GetSavedTypes(const UDBGroup& group)
{
    std::vector<std::string> types;
    for (const UDBEntry& entry : group)
    {
        EXPECT_EQ(entry.GetKey(), "component");
        types.emplace_back(entry.GetGroup() ? entry.GetGroup()->GetString("type", "?") : "no group");
    }
    return types;
}

TEST(Entity, IndicesComeBackInReverseOrderAndSerialsNever)
{
    test::Scene scene;
    const std::int32_t live = CEntity::GetLiveCount();
    std::vector<RefPtr<CEntity>> entities;
    std::set<std::int32_t> indices;
    for (int i = 0; i < 8; ++i)
    {
        entities.push_back(scene.Make<>());
        EXPECT_TRUE(indices.insert(entities.back()->GetIndex()).second);
        EXPECT_EQ(entities.back()->GetSerial(), entities[0]->GetSerial() + static_cast<std::uint32_t>(i));
    }
    EXPECT_EQ(CEntity::GetLiveCount(), live + 8);
    const std::int32_t third = entities[3]->GetIndex();
    const std::int32_t sixth = entities[6]->GetIndex();
    entities[3] = nullptr;
    entities[6] = nullptr;
    EXPECT_EQ(CEntity::GetLiveCount(), live + 6);
    const RefPtr<CEntity> next = scene.Make<>();
    EXPECT_EQ(next->GetIndex(), sixth) << "released last";
    EXPECT_EQ(next->GetSerial(), entities[0]->GetSerial() + 8);
    EXPECT_EQ(scene.Make<>()->GetIndex(), third);
}

TEST(Entity, DiesInOrder)
{
    test::Scene scene;
    CEntityComponentDatabase* cameras = scene.GetArray().CreateComponentDatabase(ComponentCamera::TYPEID());
    RefPtr<CEntity> entity = scene.Spawn<ComponentCamera, ComponentEditorData>();
    CEntity* const dying = entity.Get();
    const std::int32_t index = dying->GetIndex();
    const std::int32_t live = CEntity::GetLiveCount();
    test::EventLog log;
    log.Listen(scene.GetArray().Events(), "array",
               [&](const EventMessage& message)
               {
                   EXPECT_EQ(message.first.GetObjectPointer<CEntity>("CEntity"), dying);
                   EXPECT_EQ(cameras->GetCount(), 1) << "listeners still see the components";
                   EXPECT_EQ(CEntity::GetLiveCount(), live - 1);
               });
    log.Listen(cameras->Events(), "cameras");
    log.Listen(dying->Events(), "entity",
               [&](const EventMessage& message)
               {
                   if (message.id == CEntity::kDestroyed)
                   {
                       EXPECT_EQ(message.first.GetObjectPointer<CEntity>("CEntity"), dying);
                       EXPECT_EQ(message.second.GetKind(), variant::Kind::Int);
                       EXPECT_EQ(message.second.GetInt(), 0);
                       EXPECT_EQ(dying->GetComponentCount(), 2);
                       return;
                   }
                   EXPECT_NE(message.first.GetObjectPointer<CEntityComponent>("CEntityComponent"), nullptr);
                   EXPECT_EQ(message.second.GetObjectPointer<CEntity>("CEntity"), dying);
                   EXPECT_EQ(dying->GetIndex(), index);
                   EXPECT_EQ(dying->GetComponentCount(), 0);
               });
    // The array's reference was taken away by mistake: the entity dies while it is still listed.
    dying->_RemoveRef();
    entity = nullptr;
    EXPECT_THAT(log.Take(), ElementsAre("array 1", "cameras 1", "entity 2", "entity 1", "entity 1"));
    EXPECT_EQ(scene.GetArray().GetCount(), 0);
    EXPECT_EQ(ComponentCamera::REPOSITORY().Find(static_cast<unsigned>(index)), nullptr);
}

TEST(Entity, ReportsBreachesAndGoesOn)
{
    test::Scene scene;
    {
        test::ExpectAssertions lines{"gameengine/engine/entity 52"};
        const RefPtr<CEntity> without(new CEntity(nullptr));
        EXPECT_EQ(without->GetInterfacesPtr(), nullptr);
    }
    const RefPtr<CEntity> entity = scene.Spawn<>();
    test::EventLog log;
    log.Listen(entity->Events(), "entity");
    test::ExpectAssertions lines{"gameengine/engine/entity 131", "gameengine/engine/entity 139",
                                 "gameengine/engine/entity 139"};
    CEntityComponentDatabase* cameras = scene.GetArray().CreateComponentDatabase(ComponentCamera::TYPEID());
    CEntityComponent* camera = ComponentCamera::CreateComponent(entity.Get());
    entity->UnlockComponentList();
    EXPECT_EQ(cameras->GetCount(), 1);
    delete camera;
    EXPECT_EQ(cameras->GetCount(), 0) << "dead components are in no database";
    EXPECT_EQ(entity->GetComponentCount(), 0);
    entity->LockComponentList();
    CEntityComponent* second = ComponentCamera::CreateComponent(entity.Get());
    entity->UnlockComponentList();
    entity->RemoveComponent(second);
    EXPECT_THAT(log.Take(), ElementsAre("entity 0", "entity 1", "entity 0", "entity 1"));
    delete second;
    EXPECT_EQ(cameras->GetCount(), 0);
    EXPECT_THAT(log.Take(), IsEmpty());
    EXPECT_EQ(ComponentCamera::CreateComponent(nullptr), nullptr);
}

TEST(Entity, KeepsTheOrderOfConstructionWhenComponentsLeave)
{
    test::Scene scene;
    const RefPtr<CEntity> entity =
        scene.Make<ComponentCamera, ComponentEditorData, ComponentAlwaysVisible, ComponentRenderSettings>();
    CEntityComponent* removed = entity->GetComponent(1);
    EXPECT_TRUE(entity->HasComponent(removed));
    entity->LockComponentList();
    entity->RemoveComponent(removed);
    entity->RemoveComponent(removed);
    delete entity->GetComponent(1);
    entity->UnlockComponentList();
    EXPECT_FALSE(entity->HasComponent(removed));
    EXPECT_THAT(GetTypes(*entity), ElementsAre("ComponentCamera", "ComponentRenderSettings"));
    EXPECT_EQ(entity->GetComponent(2), nullptr);
    EXPECT_EQ(entity->GetComponent(-1), nullptr);
    EXPECT_EQ(removed->GetEntity(), entity.Get());
    delete removed;
}

TEST(Entity, ALooseComponentDoesNotTouchItsSuccessor)
{
    test::Scene scene;
    RefPtr<CEntity> entity = scene.Make<ComponentCamera>();
    auto* loose = static_cast<ComponentCamera*>(entity->GetComponent(0));
    const auto copy = std::make_unique<ComponentCamera>(*loose);
    EXPECT_EQ(copy->GetEntity(), entity.Get());
    EXPECT_EQ(entity->GetComponentCount(), 1);
    EXPECT_EQ(entity->Find<ComponentCamera>(), loose) << "a copy is in no repository";
    entity->LockComponentList();
    entity->RemoveComponent(loose);
    const std::int32_t index = entity->GetIndex();
    entity = nullptr;
    const RefPtr<CEntity> successor = scene.Make<ComponentCamera>();
    ASSERT_EQ(successor->GetIndex(), index);
    delete loose;
    EXPECT_EQ(successor->Find<ComponentCamera>(), successor->GetComponent(0));
}

TEST(Entity, SavesLastFirstAndLoadsInTwoPasses)
{
    test::Scene scene;
    std::vector<int> siblings;
    const ComponentProbe::Scope probes(
        [&](ComponentProbe& probe, Moment moment)
        {
            if (moment == Moment::Loading)
                siblings.push_back(probe.GetEntity()->GetComponentCount());
        });
    const RefPtr<CEntity> entity =
        scene.Make<ComponentCamera, ComponentRuntimeData, ComponentEditorData, ComponentProbe>();
    entity->Find<ComponentCamera>()->SetFov(35.5F);
    UDBDatabase database;
    UDBGroup* saved = database.AllocateGroup();
    entity->SerializerSave(*saved);
    EXPECT_THAT(GetSavedTypes(*saved), ElementsAre("ComponentProbe", "ComponentEditorData", "ComponentCamera"))
        << "runtime data is no registered type";
    saved->AddNewGroup("component")->AddString("type", "ComponentOfTheFuture");
    saved->AddNewGroup("component")->AddNumber("type", 4.0);
    saved->AddString("component", "ComponentCamera");
    saved->AddNewGroup("other")->AddString("type", "ComponentCamera");

    const RefPtr<CEntity> loaded = scene.Make<>();
    loaded->LockComponentList();
    loaded->SerializerLoad(*saved);
    loaded->UnlockComponentList();
    EXPECT_THAT(GetTypes(*loaded), ElementsAre("ComponentProbe", "ComponentEditorData", "ComponentCamera"));
    EXPECT_THAT(siblings, ElementsAre(3)) << "all siblings exist before the first one loads";
    EXPECT_EQ(loaded->Find<ComponentCamera>()->GetFov(), 35.5F);
    EXPECT_EQ(entity->Find<ComponentCamera>(), entity->GetComponent(0));
}

TEST(Entity, SurvivesComponentsThatDeleteSiblings)
{
    // Each case: the last component deletes another one, found by way of its repository, at one moment.
    const auto deleteSibling = [](ComponentProbe& probe) { delete probe.GetEntity()->Find<ComponentEditorData>(); };
    test::Scene scene;
    UDBDatabase database;
    UDBGroup* saved = database.AllocateGroup();
    {
        const ComponentProbe::Scope probes;
        scene.Make<ComponentCamera, ComponentEditorData, ComponentProbe>()->SerializerSave(*saved);
    }
    for (const Moment moment : {Moment::Unlocked, Moment::Saving, Moment::Loading, Moment::Dying})
    {
        const ComponentProbe::Scope probes(
            [&](ComponentProbe& probe, Moment now)
            {
                if (now != moment)
                    return;
                probe.GetEntity()->LockComponentList();
                deleteSibling(probe);
            });
        RefPtr<CEntity> entity = scene.Spawn<ComponentProbe, ComponentCamera, ComponentEditorData>();
        UDBGroup* group = database.AllocateGroup();
        const RefPtr<CEntity> loaded = scene.Make<>();
        loaded->LockComponentList();
        loaded->SerializerLoad(*saved);
        loaded->SerializerSave(*group);
        scene.GetArray().Remove(entity.Get());
        entity = nullptr;
        EXPECT_TRUE(scene.GetArray().Validate());
    }
}

TEST(Entity, ListenersCannotReviveADyingEntity)
{
    test::Scene scene;
    std::int32_t index = -1;
    const std::int32_t live = CEntity::GetLiveCount();
    for (const bool isReferenced : {true, false})
    {
        auto* entity = new CEntity(scene.GetInterfaces());
        test::AddComponents<ComponentEditorData>(*entity);
        index = entity->GetIndex();
        test::EventLog log;
        log.Listen(entity->Events(), "entity",
                   [&](const EventMessage& message)
                   {
                       const RefPtr<CEntity> held(entity);
                       if (message.id == CEntity::kDestroyed)
                           scene.GetArray().Add(entity);
                       if (message.id != CEntity::kComponentAdded)
                           ComponentCamera::CreateComponent(entity);
                   });
        test::ExpectAssertions lines{"gameengine/engine/entity 131"};
        if (isReferenced)
        {
            entity->_AddRef();
            entity->_RemoveRef();
        }
        else
            delete entity;
        EXPECT_EQ(scene.GetArray().GetCount(), 0);
        EXPECT_EQ(ComponentCamera::REPOSITORY().Find(static_cast<unsigned>(index)), nullptr);
        EXPECT_EQ(CEntity::GetLiveCount(), live);
    }
    EXPECT_EQ(scene.Make<>()->GetIndex(), index);
}

TEST(Entity, LivesUntilItsListIsUnlocked)
{
    test::Scene scene;
    int calls = 0;
    RefPtr<CEntity> entity = scene.Make<>();
    CEntity* const kept = entity.Get();
    const ComponentProbe::Scope probes(
        [&](ComponentProbe&, Moment moment)
        {
            calls += moment == Moment::Unlocked ? 1 : 0;
            entity = nullptr;
        });
    const std::int32_t live = CEntity::GetLiveCount();
    test::AddComponents<ComponentProbe, ComponentProbe>(*kept);
    EXPECT_EQ(calls, 2) << "every component is told";
    EXPECT_EQ(CEntity::GetLiveCount(), live - 1);
}

TEST(TypeDatabase, AnswersByPosition)
{
    RegisterBuiltInComponents();
    auto& types = CEntityComponentTypeDatabase::Instance();
    const int count = types.GetCount();
    RegisterBuiltInComponents();
    EXPECT_EQ(types.GetCount(), count) << "registering again changes nothing";
    EXPECT_STREQ(types.GetName(types.FindByType(10000)), "ComponentTransformDirect") << "the first of the transforms";
    EXPECT_EQ(types.FindByType(ComponentRuntimeData::TYPEID()), -1);
    EXPECT_EQ(types.FindByName("componentcamera"), -1);
    EXPECT_EQ(types.FindByName("ComponentCamera2"), -1);
    test::Scene scene;
    const RefPtr<CEntity> entity = scene.Make<>();
    for (const int position : {-1, count, count + 1, 1 << 30})
    {
        EXPECT_EQ(types.Create(position, entity.Get()), nullptr) << position;
        EXPECT_EQ(types.GetComponent(position), nullptr) << position;
        EXPECT_EQ(types.GetName(position), nullptr) << position;
        EXPECT_EQ(types.GetTypeID(position), -1) << position;
        types.Remove(position);
    }
    EXPECT_EQ(types.GetCount(), count);

    // Prototypes show the properties of every type; nothing is reported meanwhile.
    const std::int32_t live = CEntity::GetLiveCount();
    const std::map<std::string, int> expected{{"ComponentTransformDirect", 3}, {"ComponentTransformParent", 3},
                                              {"ComponentEditorData", 1},      {"ComponentAlwaysVisible", 0},
                                              {"ComponentCamera", 3},          {"ComponentRenderSettings", 4}};
    std::map<std::string, int> found;
    for (int i = 0; i < count; ++i)
    {
        CEntityComponent* prototype = types.GetComponent(i);
        ASSERT_NE(prototype, nullptr);
        EXPECT_EQ(types.GetComponent(i), prototype);
        EXPECT_STREQ(std::as_const(*prototype).GetTypeString(), types.GetName(i));
        EXPECT_EQ(prototype->GetType(), types.GetTypeID(i));
        CEntityComponentProperty property;
        int properties = 0;
        while (prototype->GetProperty(properties, &property))
            ++properties;
        if (expected.contains(types.GetName(i)))
            found[types.GetName(i)] = properties;
    }
    EXPECT_EQ(found, expected);
    EXPECT_EQ(CEntity::GetLiveCount(), live) << "one private entity serves all prototypes";
}

TEST(TypeDatabase, TheFirstOfANameIsFoundAndTheLastFillsTheGap)
{
    RegisterBuiltInComponents();
    auto& types = CEntityComponentTypeDatabase::Instance();
    const int first = types.GetCount();
    for (const std::int32_t id : {20001, 20002, 20003})
        types.Add(id == 20003 ? "Other" : "Twice", id, &ComponentCamera::CreateComponent);
    EXPECT_EQ(types.FindByName("Twice"), first);
    EXPECT_EQ(types.FindByName("Twice"), first);
    EXPECT_NE(types.GetComponent(first), nullptr);
    types.Remove(first);
    EXPECT_EQ(types.GetTypeID(first), 20003);
    EXPECT_EQ(types.FindByName("Twice"), first + 1);
    types.Remove(first + 1);
    EXPECT_EQ(types.FindByName("Twice"), -1);
    types.Remove(first);
    EXPECT_EQ(types.GetCount(), first);
}
} // namespace
