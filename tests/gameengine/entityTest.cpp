#include "gameengine/engine/componentCamera.h"
#include "gameengine/engine/componentEditorData.h"
#include "gameengine/engine/componentRenderSettings.h"
#include "gameengine/engine/entityComponentDatabase.h"
#include "support/expectations.h"
#include "support/sceneFixture.h"

#include <set>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

using testing::ElementsAre;
using testing::IsEmpty;

namespace
{
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
    }
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
    const auto check = [&](const EventMessage& message)
    {
        const variant& subject = message.id == CEntity::kComponentRemoved ? message.second : message.first;
        EXPECT_EQ(subject.GetObjectPointer<CEntity>("CEntity"), dying);
        EXPECT_EQ(dying->GetIndex(), index);
        EXPECT_EQ(dying->GetComponentCount(), message.id == CEntity::kDestroyed ? 2 : 0);
        EXPECT_EQ(message.second.GetKind(),
                  message.id == CEntity::kDestroyed ? variant::Kind::Int : variant::Kind::Object);
    };
    const auto checkArray = [&](const EventMessage& message)
    {
        EXPECT_EQ(message.first.GetObjectPointer<CEntity>("CEntity"), dying);
        EXPECT_EQ(message.second.GetObjectPointer<CEntityArray>("CEntityArray"), &scene.GetArray());
        EXPECT_EQ(cameras->GetCount(), 1) << "listeners still see the components";
        EXPECT_EQ(CEntity::GetLiveCount(), live - 1);
    };
    log.Listen(scene.GetArray().Events(), "array", checkArray);
    log.Listen(cameras->Events(), "cameras");
    log.Listen(dying->Events(), "entity", check);
    dying->_RemoveRef(); // by mistake that of the array, which still lists the entity
    entity = nullptr;
    EXPECT_THAT(log.Take(), ElementsAre("array 1", "cameras 1", "entity 2", "entity 1", "entity 1"));
    EXPECT_EQ(scene.GetArray().GetCount(), 0);
    EXPECT_EQ(ComponentCamera::REPOSITORY().Find(static_cast<unsigned>(index)), nullptr);
}

TEST(Entity, ReportsBreachesAndGoesOn)
{
    test::Scene scene;
    test::ExpectAssertions lines{"gameengine/engine/entity 52", "gameengine/engine/entity 131",
                                 "gameengine/engine/entity 139", "gameengine/engine/entity 139"};
    EXPECT_EQ(RefPtr<CEntity>(new CEntity(nullptr))->GetInterfacesPtr(), nullptr);
    const RefPtr<CEntity> entity = scene.Spawn<>();
    CEntityComponentDatabase* cameras = scene.GetArray().CreateComponentDatabase(ComponentCamera::TYPEID());
    test::EventLog log;
    log.Listen(entity->Events(), "entity");
    CEntityComponent* camera = ComponentCamera::CreateComponent(entity.Get());
    entity->UnlockComponentList();
    EXPECT_EQ(cameras->GetCount(), 1);
    delete camera;
    EXPECT_EQ(cameras->GetCount(), 0) << "dead components are in no database";
    test::AddComponents<ComponentCamera>(*entity);
    camera = entity->GetComponent(0);
    entity->RemoveComponent(camera);
    EXPECT_THAT(log.Take(), ElementsAre("entity 0", "entity 1", "entity 0", "entity 1"));
    delete camera;
    EXPECT_EQ(cameras->GetCount(), 0);
    EXPECT_THAT(log.Take(), IsEmpty());
    EXPECT_EQ(ComponentCamera::CreateComponent(nullptr), nullptr);
}

TEST(Entity, LooseComponentsLeaveTheOthersAlone)
{
    test::Scene scene;
    RefPtr<CEntity> entity = scene.Make<ComponentRenderSettings, ComponentCamera, ComponentEditorData>();
    auto* loose = entity->Find<ComponentCamera>();
    const ComponentCamera copy(*loose);
    EXPECT_EQ(copy.GetEntity(), entity.Get());
    EXPECT_EQ(entity->GetComponentCount(), 3);
    EXPECT_EQ(entity->Find<ComponentCamera>(), loose) << "a copy is in no repository";
    entity->LockComponentList();
    entity->RemoveComponent(loose);
    entity->RemoveComponent(loose);
    EXPECT_FALSE(entity->HasComponent(loose));
    EXPECT_STREQ(entity->GetComponent(0)->GetTypeString(), "ComponentRenderSettings");
    EXPECT_STREQ(entity->GetComponent(1)->GetTypeString(), "ComponentEditorData");
    EXPECT_EQ(entity->GetComponent(2), nullptr);
    EXPECT_EQ(entity->GetComponent(-1), nullptr);
    const std::int32_t index = entity->GetIndex();
    entity = nullptr;
    const RefPtr<CEntity> successor = scene.Make<ComponentCamera>();
    ASSERT_EQ(successor->GetIndex(), index);
    delete loose;
    EXPECT_EQ(successor->Find<ComponentCamera>(), successor->GetComponent(0));
}

TEST(Entity, ListenersCannotReviveADyingEntity)
{
    test::Scene scene;
    const std::int32_t live = CEntity::GetLiveCount();
    for (const bool isReferenced : {true, false})
    {
        auto* entity = new CEntity(scene.GetInterfaces());
        test::AddComponents<ComponentEditorData>(*entity);
        const std::int32_t index = entity->GetIndex();
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
        {
            delete entity;
        }
        EXPECT_EQ(scene.GetArray().GetCount(), 0);
        EXPECT_EQ(ComponentCamera::REPOSITORY().Find(static_cast<unsigned>(index)), nullptr);
        EXPECT_EQ(CEntity::GetLiveCount(), live);
    }
}
} // namespace
