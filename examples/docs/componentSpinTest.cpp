#include "docs/componentSpin.h"

#include "gameengine/engine/componentTransformDirect.h"
#include "gameengine/engine/entityArraySaveLoad.h"
#include "gameengine/engine/entityComponentTypeDatabase.h"
#include "gameengine/engine/scene.h"
#include "support/expectations.h"

#include <gtest/gtest.h>

namespace
{
// [use]
RefPtr<CEntity> MakeSpinner(CScene& scene)
{
    RefPtr<CEntity> entity(new CEntity(scene.GetInterfaces()));
    entity->LockComponentList();
    ComponentTransformDirect::CreateComponent(entity.Get());
    auto* spin = static_cast<ComponentSpin*>(ComponentSpin::CreateComponent(entity.Get()));
    spin->SetSpeed(90.0F);
    entity->UnlockComponentList();
    scene.GetArray().Add(entity.Get());
    return entity;
}
// [use end]

// [register]
void RegisterSpin()
{
    auto& types = CEntityComponentTypeDatabase::Instance();
    if (types.FindByName("ComponentSpin") < 0)
        types.Add("ComponentSpin", ComponentSpin::TYPEID(), &ComponentSpin::CreateComponent);
}
// [register end]

class ComponentSpinTest : public testing::Test
{
protected:
    ComponentSpinTest()
    {
        RegisterBuiltInComponents();
        RegisterSpin();
    }

    static CVector3 GetAhead(const CEntity& entity)
    {
        return entity.Find<ComponentTransform>()->GetTransform().GetLocalX();
    }

    CScene m_scene{0.25F};
    RefPtr<CEntity> m_entity = MakeSpinner(m_scene);
    ComponentSpin& m_spin = *m_entity->Find<ComponentSpin>();
};
} // namespace

TEST_F(ComponentSpinTest, TurnsWithTheSceneAndOnlyOnceAfterASecondUnlocking)
{
    m_entity->LockComponentList();
    m_entity->UnlockComponentList();
    m_scene.GetUpdateEvent().DoUpdate(1.0F);
    EXPECT_NEAR(GetAhead(*m_entity).y, 1.0F, 1e-5F);

    variant speed;
    variant unused;
    EXPECT_TRUE(m_spin.Execute("reverse", speed, unused, unused, unused, unused, unused, unused, unused));
    EXPECT_EQ(speed.GetFloat(), -90.0F);
    EXPECT_FALSE(m_spin.Execute("stop", speed, unused, unused, unused, unused, unused, unused, unused));
    m_scene.GetUpdateEvent().DoUpdate(1.0F);
    EXPECT_NEAR(GetAhead(*m_entity).y, 0.0F, 1e-5F);
}

TEST_F(ComponentSpinTest, AListenerMayDeleteItInItsEventOrInThatOfTheTransform)
{
    CEntity& entity = *m_entity;
    const auto drop = [&entity]
    {
        entity.LockComponentList();
        delete entity.Find<ComponentSpin>();
        entity.UnlockComponentList();
    };
    std::int32_t turns = 0;
    CEventSubscription turned(
        [&](const EventMessage& message)
        {
            turns = message.second.GetInt();
            drop();
        });
    turned.Subscribe(m_spin.Events());
    m_scene.GetUpdateEvent().DoUpdate(10.0F);
    EXPECT_EQ(turns, 1);
    EXPECT_EQ(entity.Find<ComponentSpin>(), nullptr);

    const RefPtr<CEntity> other = MakeSpinner(m_scene);
    CEventSubscription moved(
        [&](const EventMessage&)
        {
            other->LockComponentList();
            delete other->Find<ComponentSpin>();
            other->UnlockComponentList();
        });
    moved.Subscribe(other->Find<ComponentTransform>()->Events());
    m_scene.GetUpdateEvent().DoUpdate(1.0F);
    EXPECT_EQ(other->GetComponentCount(), 1);
}

TEST_F(ComponentSpinTest, OneThatWasTakenOutMayOutliveItsEntity)
{
    m_entity->LockComponentList();
    m_entity->RemoveComponent(&m_spin);
    m_entity->UnlockComponentList();
    const std::unique_ptr<ComponentSpin> loose(&m_spin);
    m_scene.GetUpdateEvent().DoUpdate(1.0F);
    EXPECT_EQ(GetAhead(*m_entity), CVector3(1, 0, 0));
}

TEST_F(ComponentSpinTest, IsEditedSavedAndLoadedByItsProperties)
{
    const test::TemporaryFolder folder;
    // [edit]
    CEntityComponentProperty property;
    property.SetChoice("Axis", 0, nullptr);
    m_spin.SetPropertyTo("Axis", property);
    property.SetFloat("Speed", -30.0F);
    m_spin.SetPropertyTo("Speed", property);
    // [edit end]
    EXPECT_FALSE(m_spin.SetPropertyTo("speed", property));

    const std::string file = folder.Path("spin.mfs");
    ASSERT_TRUE(CEntityArray_SaveLoad::Save(file.c_str(), m_scene.GetInterfaces()));
    CScene loaded(0.25F);
    ASSERT_TRUE(CEntityArray_SaveLoad::Load(file.c_str(), loaded.GetInterfaces(), nullptr, nullptr));
    const CEntity& entity = *loaded.GetArray().Get(0);
    EXPECT_EQ(entity.Find<ComponentSpin>()->GetSpeed(), -30.0F);
    entity.Find<ComponentTransform>()->SetTransform(CMatrix());
    loaded.GetUpdateEvent().DoUpdate(1.0F);
    EXPECT_NEAR(entity.Find<ComponentTransform>()->GetTransform().GetLocalY().z, -0.5F, 1e-5F);
}

TEST_F(ComponentSpinTest, CopiesTakeTheValuesAndPrototypesShowThem)
{
    m_spin.SetSpeed(7.0F);
    {
        const ComponentSpin copy(m_spin);
        EXPECT_EQ(copy.GetSpeed(), 7.0F);
    }
    const RefPtr<CEntity> other = MakeSpinner(m_scene);
    other->Find<ComponentSpin>()->Copy(&m_spin);
    EXPECT_EQ(other->Find<ComponentSpin>()->GetSpeed(), 7.0F);
    other->Find<ComponentSpin>()->Copy(other->Find<ComponentTransform>());
    EXPECT_EQ(other->Find<ComponentSpin>()->GetSpeed(), 7.0F);

    auto& types = CEntityComponentTypeDatabase::Instance();
    CEntityComponentProperty property;
    const CEntityComponentProperty* const shown =
        types.GetComponent(types.FindByName("ComponentSpin"))->GetProperty(1, &property);
    ASSERT_NE(shown, nullptr);
    EXPECT_STREQ(shown->choices[2], "Z");
}
