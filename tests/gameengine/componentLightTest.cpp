#include "gameengine/engine/componentLight.h"

#include "gameengine/engine/componentShadowCaster.h"
#include "gameengine/engine/componentTransformDirect.h"
#include "support/sceneFixture.h"

#include <limits>

namespace
{
using collision::PrimAABB;
using test::At;

PrimAABB Around(float half)
{
    return PrimAABB({-half, -half, -half}, {half, half, half});
}

class Light : public test::SceneTest
{
protected:
    RefPtr<CEntity> MakeLight() const { return m_scene.Make<ComponentTransformDirect, ComponentLight>(); }
};

TEST_F(Light, ShapesTheBoxOfItsTransform)
{
    const auto entity = MakeLight();
    auto& light = *entity->Find<ComponentLight>();
    const PrimAABB& box = entity->Find<ComponentTransform>()->GetBoundingBox();
    EXPECT_EQ(box, Around(21.333334F));
    EXPECT_EQ(light.GetProjectionMatrix(), CMatrix::Projection(45, 1, 0.032F, 32));

    light.SetRange(10);
    light.SetSpotConeAngle(1);
    light.SetLightType(ComponentLightType::Spot);
    const float half = 5.463025F; // of the tangent of half the number as it stands
    EXPECT_NEAR(box.GetMax().y, half, 1e-5);
    EXPECT_EQ(box, PrimAABB({0, -box.GetMax().y, -box.GetMax().y}, {10, box.GetMax().y, box.GetMax().y}));
    const PrimAABB spot = box;
    light.SetLightType(ComponentLightType::Directional);
    light.SetRange(50);
    EXPECT_EQ(box, spot);
}

TEST_F(Light, FollowsItsTransformWhicheverIsMadeFirst)
{
    CMatrix world = At({1, 2, 3});
    world.RotateEuler(0, 0, 0.5F);
    for (const bool lightFirst : {false, true})
    {
        const auto entity = lightFirst ? m_scene.Make<ComponentLight, ComponentTransformDirect>() : MakeLight();
        auto& light = *entity->Find<ComponentLight>();
        auto* transform = entity->Find<ComponentTransform>();
        EXPECT_EQ(transform->GetBoundingBox(), light.GetLocalBounds());
        m_log.Listen(light.Events(), "light");
        m_log.Take();
        transform->SetTransform(world);
        EXPECT_EQ(m_log.Take(), std::vector<std::string>{"light 0"}) << "heard once";
        EXPECT_EQ(light.GetViewMatrix(), CMatrix::View({1, 2, 3}, CVector3(1, 2, 3) + world.GetLocalX(), {0, 0, 1}));

        // Either may die first; the other one is none the worse, and follows a new one.
        entity->LockComponentList();
        delete transform;
        light.SetLightType(ComponentLightType::Spot);
        EXPECT_EQ(light.GetViewMatrix(), CMatrix());
        ComponentTransformDirect::CreateComponent(entity.Get());
        entity->UnlockComponentList();
        transform = entity->Find<ComponentTransform>();
        transform->SetTransform(world);
        EXPECT_NE(light.GetViewMatrix(), CMatrix());
        entity->LockComponentList();
        delete &light;
        entity->UnlockComponentList();
        EXPECT_TRUE(transform->Events().Empty());
        transform->SetTransform(CMatrix());
    }
}

TEST_F(Light, FollowsBeforeTheListIsUnlocked)
{
    const auto entity = m_scene.Make<ComponentTransformDirect>();
    entity->LockComponentList();
    ComponentLight::CreateComponent(entity.Get());
    entity->Find<ComponentTransform>()->SetTransform(At({1, 2, 3}));
    EXPECT_EQ(entity->Find<ComponentLight>()->GetViewMatrix(), CMatrix::View({1, 2, 3}, {2, 2, 3}, {0, 0, 1}));
    entity->UnlockComponentList();
}

TEST_F(Light, TellsOfEachChangeOnce)
{
    const auto entity = MakeLight();
    auto& light = *entity->Find<ComponentLight>();
    m_log.Listen(light.Events(), "light");
    for (int index = 0; light.GetProperty(index, &m_property); ++index)
    {
        light.SetProperty(index, &m_property);
        EXPECT_EQ(m_log.Take().size(), 1U) << m_property.name;
    }
    light.SetProperty(8, &m_property);
    EXPECT_EQ(m_log.Take().size(), 1U) << "an unknown index updates too";
    light.SetRange(2);
    entity->Find<ComponentTransform>()->SetTransform(At({1, 2, 3}));
    m_log.Take();

    const auto second = MakeLight();
    auto& other = *second->Find<ComponentLight>();
    m_log.Listen(other.Events(), "other");
    other.Copy(&light);
    EXPECT_EQ(m_log.Take().size(), 8U) << "once for each setter";
    const CMatrix view = other.GetViewMatrix();
    other.SetRange(90);
    m_log.Take();
    other = light;
    EXPECT_EQ(m_log.Take().size(), 1U);
    EXPECT_EQ(other.GetViewMatrix(), view) << "the other light stands elsewhere";
    EXPECT_FLOAT_EQ(second->Find<ComponentTransform>()->GetBoundingBox().GetMax().x, 2.0F * 2 / 3) << "the range";
}

TEST_F(Light, LoadsNumbersOfAnyKind)
{
    auto& light = Make<ComponentLight>();
    m_log.Listen(light.Events(), "light");
    m_group.AddNumber("lightType", 1.9);
    m_group.AddNumber("shadowed", 0.5);
    m_group.AddNumber("range", std::numeric_limits<double>::quiet_NaN());
    light.SerializerLoad(m_group);
    EXPECT_EQ(m_log.Take().size(), 1U);
    EXPECT_EQ(light.GetLightType(), ComponentLightType::Spot);
    EXPECT_FALSE(light.GetShadowed());
    for (const double number : {1e300, -1e300, std::numeric_limits<double>::infinity()})
    {
        m_group.Clear();
        m_group.AddNumber("lightType", number);
        light.SerializerLoad(m_group);
    }
}

TEST_F(Light, SurvivesListenersThatEndIt)
{
    for (const bool byTransform : {false, true})
    {
        auto entity = MakeLight();
        auto* light = entity->Find<ComponentLight>();
        m_log.Listen(byTransform ? entity->Find<ComponentTransform>()->Events() : light->Events(), "end",
                     [&](const EventMessage&) { entity = nullptr; });
        light->Copy(&Make<ComponentLight>());
        EXPECT_EQ(m_log.Take().size(), 1U);
    }
    // In an update within an update.
    auto entity = MakeLight();
    auto* light = entity->Find<ComponentLight>();
    int depth = 0;
    m_log.Listen(entity->Find<ComponentTransform>()->Events(), "end",
                 [&](const EventMessage&)
                 {
                     if (depth++ == 0)
                         light->SetRange(5);
                     else
                         entity = nullptr;
                 });
    light->SetRange(4);
    EXPECT_EQ(m_log.Take().size(), 2U);
    // A loose copy touches nobody's transform, and may outlive the entity.
    entity = MakeLight();
    ComponentLight copy(*entity->Find<ComponentLight>());
    copy.SetRange(3);
    EXPECT_EQ(entity->Find<ComponentTransform>()->GetBoundingBox(), Around(21.333334F));
    entity = nullptr;
    copy.SetLightType(ComponentLightType::Spot);
}

using ShadowCaster = test::SceneTest;

TEST_F(ShadowCaster, ListenersSeeTheOldModeAndTheNew)
{
    auto& caster = Make<ComponentShadowCaster>();
    ShadowMode before{};
    std::int32_t wanted = -1;
    m_log.Listen(caster.Events(), "mode",
                 [&](const EventMessage& message)
                 {
                     before = caster.GetShadowMode();
                     wanted = message.second.GetInt();
                 });
    m_property.SetChoice("Shadow Mode", 1, nullptr);
    EXPECT_TRUE(caster.SetPropertyTo("Shadow Mode", &m_property));
    EXPECT_EQ(m_log.Take().size(), 1U);
    EXPECT_EQ(before, ShadowMode::Static);
    EXPECT_EQ(wanted, 1);
    EXPECT_EQ(caster.GetShadowMode(), ShadowMode::Dynamic);
    caster.SetShadowMode(ShadowMode::Dynamic);
    m_group.AddNumber("shadowMode", 0.9);
    caster.SerializerLoad(m_group);
    EXPECT_EQ(caster.GetShadowMode(), ShadowMode::Static);
    EXPECT_TRUE(m_log.Take().empty());
}
} // namespace
