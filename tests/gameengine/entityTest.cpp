#include "gameengine/engine/componentCamera.h"
#include "gameengine/engine/componentEditorData.h"
#include "gameengine/engine/componentRenderSettings.h"
#include "gameengine/engine/entityComponentDatabase.h"
#include "support/expectations.h"
#include "support/sceneFixture.h"

#include <set>

#include <gmock/gmock.h>

using namespace test;
using testing::ElementsAre;
using testing::IsEmpty;

namespace
{
class Entity : public SceneTest
{
protected:
    static const void* FindCamera(std::int32_t index)
    {
        return ComponentCamera::REPOSITORY().Find(static_cast<unsigned>(index));
    }

    CEntityComponentDatabase* m_cameras = m_array.CreateComponentDatabase(ComponentCamera::TYPEID());
};

TEST_F(Entity, IndicesComeBackInReverseOrderAndSerialsNever)
{
    std::set<std::int32_t> indices;
    for (int i = 0; i < 8; ++i)
    {
        m_entities.push_back(m_scene.Make<>());
        EXPECT_TRUE(indices.insert(m_entities.back()->GetIndex()).second);
    }
    const std::int32_t third = m_entities[3]->GetIndex();
    const std::int32_t sixth = m_entities[6]->GetIndex();
    m_entities[3] = nullptr;
    m_entities[6] = nullptr;
    EXPECT_EQ(CEntity::GetLiveCount(), m_live + 6);
    const RefPtr<CEntity> next = m_scene.Make<>();
    EXPECT_EQ(next->GetIndex(), sixth) << "released last";
    EXPECT_EQ(next->GetSerial(), m_entities[0]->GetSerial() + 8);
    EXPECT_EQ(m_scene.Make<>()->GetIndex(), third);
}

TEST_F(Entity, DiesInOrder)
{
    RefPtr<CEntity> entity = m_scene.Spawn<ComponentCamera, ComponentEditorData>();
    CEntity* const dying = entity.Get();
    const std::int32_t index = dying->GetIndex();
    m_log.Listen(m_array.Events(), "array",
                 [&](const EventMessage& message)
                 {
                     EXPECT_EQ(GetEntity(message), dying);
                     EXPECT_EQ(message.second.GetObjectPointer<CEntityArray>("CEntityArray"), &m_array);
                     EXPECT_EQ(m_cameras->GetCount(), 1) << "listeners still see the components";
                     EXPECT_EQ(CEntity::GetLiveCount(), m_live);
                 });
    m_log.Listen(m_cameras->Events(), "cameras");
    m_log.Listen(dying->Events(), "entity",
                 [&](const EventMessage& message)
                 {
                     const bool isDestroyed = message.id == CEntity::kDestroyed;
                     const variant& subject = isDestroyed ? message.first : message.second;
                     EXPECT_EQ(subject.GetObjectPointer<CEntity>("CEntity"), dying);
                     EXPECT_EQ(dying->GetIndex(), index);
                     EXPECT_EQ(dying->GetComponentCount(), isDestroyed ? 2 : 0);
                 });
    dying->_RemoveRef(); // by mistake that of the array, which still lists the entity
    entity = nullptr;
    EXPECT_THAT(m_log.Take(), ElementsAre("array 1", "cameras 1", "entity 2", "entity 1", "entity 1"));
    EXPECT_EQ(m_array.GetCount(), 0);
    EXPECT_EQ(FindCamera(index), nullptr);
}

TEST_F(Entity, ReportsBreachesAndGoesOn)
{
    const ExpectAssertions lines{"gameengine/engine/entity 52", "gameengine/engine/entity 131",
                                 "gameengine/engine/entity 139", "gameengine/engine/entity 139"};
    EXPECT_EQ(RefPtr<CEntity>(new CEntity(nullptr))->GetInterfacesPtr(), nullptr);
    const RefPtr<CEntity> entity = m_scene.Spawn<>();
    m_log.Listen(entity->Events(), "entity");
    CEntityComponent* camera = ComponentCamera::CreateComponent(entity.Get());
    entity->UnlockComponentList();
    EXPECT_EQ(m_cameras->GetCount(), 1);
    delete camera;
    EXPECT_EQ(m_cameras->GetCount(), 0) << "dead components are in no database";
    AddComponents<ComponentCamera>(*entity);
    camera = entity->GetComponent(0);
    entity->RemoveComponent(camera);
    EXPECT_THAT(m_log.Take(), ElementsAre("entity 0", "entity 1", "entity 0", "entity 1"));
    delete camera;
    EXPECT_EQ(m_cameras->GetCount(), 0);
    EXPECT_THAT(m_log.Take(), IsEmpty());
    EXPECT_EQ(ComponentCamera::CreateComponent(nullptr), nullptr);
}

TEST_F(Entity, LooseComponentsLeaveTheOthersAlone)
{
    RefPtr<CEntity> entity = m_scene.Make<ComponentRenderSettings, ComponentCamera, ComponentEditorData>();
    auto* loose = entity->Find<ComponentCamera>();
    const ComponentCamera copy(*loose);
    EXPECT_EQ(entity->GetComponentCount(), 3);
    EXPECT_EQ(entity->Find<ComponentCamera>(), loose) << "a copy is in no repository";
    entity->LockComponentList();
    entity->RemoveComponent(loose);
    entity->RemoveComponent(loose);
    EXPECT_FALSE(entity->HasComponent(loose));
    EXPECT_EQ(entity->GetComponent(0), entity->Find<ComponentRenderSettings>());
    EXPECT_EQ(entity->GetComponent(1), entity->Find<ComponentEditorData>());
    EXPECT_EQ(entity->GetComponent(2), nullptr);
    EXPECT_EQ(entity->GetComponent(-1), nullptr);
    const std::int32_t index = entity->GetIndex();
    entity = nullptr;
    const RefPtr<CEntity> successor = m_scene.Make<ComponentCamera>();
    ASSERT_EQ(successor->GetIndex(), index);
    delete loose;
    EXPECT_EQ(successor->Find<ComponentCamera>(), successor->GetComponent(0));
}

TEST_F(Entity, ListenersCannotReviveADyingEntity)
{
    for (const bool isReferenced : {true, false})
    {
        auto* entity = new CEntity(m_scene.GetInterfaces());
        AddComponents<ComponentEditorData>(*entity);
        const std::int32_t index = entity->GetIndex();
        m_log.Listen(entity->Events(), "entity",
                     [&, entity](const EventMessage& message)
                     {
                         const RefPtr<CEntity> held(entity);
                         if (message.id == CEntity::kDestroyed)
                             m_array.Add(entity);
                         if (message.id != CEntity::kComponentAdded)
                             ComponentCamera::CreateComponent(entity);
                     });
        const ExpectAssertions lines{"gameengine/engine/entity 131"};
        if (isReferenced)
        {
            entity->_AddRef();
            entity->_RemoveRef();
        }
        else
        {
            delete entity;
        }
        EXPECT_EQ(m_array.GetCount(), 0);
        EXPECT_EQ(FindCamera(index), nullptr);
        EXPECT_EQ(CEntity::GetLiveCount(), m_live);
    }
}
} // namespace
