#include "gameengine/engine/componentLight.h"

#include "gameengine/engine/componentShadowCaster.h"
#include "gameengine/engine/componentTransformDirect.h"
#include "support/sceneFixture.h"
#include "tamradeps/udb/udbDatabase.h"
#include "tamradeps/udb/udbGroup.h"

#include <cmath>
#include <limits>

#include <gtest/gtest.h>

namespace
{
using collision::PrimAABB;

PrimAABB Around(float half)
{
    return PrimAABB({-half, -half, -half}, {half, half, half});
}

TEST(Light, ShapesTheBoxOfItsTransform)
{
    const test::Scene scene;
    const auto entity = scene.Make<ComponentTransformDirect, ComponentLight>();
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

TEST(Light, FollowsItsTransformWhicheverIsMadeFirst)
{
    const test::Scene scene;
    for (const bool lightFirst : {false, true})
    {
        const auto entity = lightFirst ? scene.Make<ComponentLight, ComponentTransformDirect>()
                                       : scene.Make<ComponentTransformDirect, ComponentLight>();
        auto& light = *entity->Find<ComponentLight>();
        auto* transform = entity->Find<ComponentTransform>();
        EXPECT_EQ(transform->GetBoundingBox(), light.GetLocalBounds());
        test::EventLog log;
        log.Listen(light.Events(), "light");
        CMatrix world;
        world.RotateEuler(0, 0, 0.5F);
        world.SetTranslation({1, 2, 3});
        transform->SetTransform(world);
        EXPECT_EQ(log.Take(), std::vector<std::string>{"light 0"}) << "heard once";
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

TEST(Light, FollowsBeforeTheListIsUnlocked)
{
    const test::Scene scene;
    const auto entity = scene.Make<ComponentTransformDirect>();
    entity->LockComponentList();
    ComponentLight::CreateComponent(entity.Get());
    CMatrix world;
    world.SetTranslation({1, 2, 3});
    entity->Find<ComponentTransform>()->SetTransform(world);
    EXPECT_EQ(entity->Find<ComponentLight>()->GetViewMatrix(), CMatrix::View({1, 2, 3}, {2, 2, 3}, {0, 0, 1}));
    entity->UnlockComponentList();
}

TEST(Light, TellsOfEachChangeOnce)
{
    const test::Scene scene;
    const auto entity = scene.Make<ComponentTransformDirect, ComponentLight>();
    auto& light = *entity->Find<ComponentLight>();
    test::EventLog log;
    log.Listen(light.Events(), "light");
    CEntityComponentProperty property;
    for (int index = 0; light.GetProperty(index, &property); ++index)
    {
        light.SetProperty(index, &property);
        EXPECT_EQ(log.Take().size(), 1U) << property.name;
    }
    light.SetProperty(8, &property);
    EXPECT_EQ(log.Take().size(), 1U) << "an unknown index updates too";
    light.SetRange(2);

    const auto second = scene.Make<ComponentTransformDirect, ComponentLight>();
    auto& other = *second->Find<ComponentLight>();
    log.Take();
    log.Listen(other.Events(), "other");
    other.Copy(&light);
    EXPECT_EQ(log.Take().size(), 8U) << "once for each setter";
    CMatrix elsewhere;
    elsewhere.SetTranslation({1, 2, 3});
    entity->Find<ComponentTransform>()->SetTransform(elsewhere);
    const CMatrix view = other.GetViewMatrix();
    other.SetRange(90);
    log.Take();
    other = light;
    EXPECT_EQ(log.Take().size(), 1U);
    EXPECT_EQ(other.GetViewMatrix(), view) << "the other light stands elsewhere";
    EXPECT_FLOAT_EQ(second->Find<ComponentTransform>()->GetBoundingBox().GetMax().x, 2.0F * 2 / 3) << "the range";

    UDBDatabase database;
    UDBGroup& fractions = *database.AllocateGroup();
    fractions.AddNumber("lightType", 1.9);
    fractions.AddNumber("shadowed", 0.5);
    fractions.AddNumber("range", std::numeric_limits<double>::quiet_NaN());
    other.SerializerLoad(fractions);
    EXPECT_EQ(log.Take().size(), 1U);
    EXPECT_EQ(other.GetLightType(), ComponentLightType::Spot);
    EXPECT_FALSE(other.GetShadowed());
    for (const double number : {1e300, -1e300, std::numeric_limits<double>::infinity()})
    {
        UDBGroup& beyond = *database.AllocateGroup();
        beyond.AddNumber("lightType", number);
        other.SerializerLoad(beyond);
    }
}

TEST(Light, SurvivesListenersThatEndIt)
{
    const test::Scene scene;
    for (const bool byTransform : {false, true})
    {
        auto entity = scene.Make<ComponentTransformDirect, ComponentLight>();
        const auto source = scene.Make<ComponentLight>();
        auto* light = entity->Find<ComponentLight>();
        test::EventLog log;
        log.Listen(byTransform ? entity->Find<ComponentTransform>()->Events() : light->Events(), "end",
                   [&](const EventMessage&) { entity = nullptr; });
        light->Copy(source->Find<ComponentLight>());
        EXPECT_EQ(log.Take().size(), 1U);
    }
    // In an update within an update.
    auto entity = scene.Make<ComponentTransformDirect, ComponentLight>();
    auto* light = entity->Find<ComponentLight>();
    test::EventLog log;
    int depth = 0;
    log.Listen(entity->Find<ComponentTransform>()->Events(), "end",
               [&](const EventMessage&)
               {
                   if (depth++ == 0)
                       light->SetRange(5);
                   else
                       entity = nullptr;
               });
    light->SetRange(4);
    EXPECT_EQ(log.Take().size(), 2U);
    // A loose copy touches nobody's transform, and may outlive the entity.
    entity = scene.Make<ComponentTransformDirect, ComponentLight>();
    ComponentLight copy(*entity->Find<ComponentLight>());
    copy.SetRange(3);
    EXPECT_EQ(entity->Find<ComponentTransform>()->GetBoundingBox(), Around(21.333334F));
    entity = nullptr;
    copy.SetLightType(ComponentLightType::Spot);
}

TEST(ShadowCaster, ListenersSeeTheOldModeAndTheNew)
{
    const test::Scene scene;
    const auto entity = scene.Make<ComponentShadowCaster>();
    auto& caster = *entity->Find<ComponentShadowCaster>();
    test::EventLog log;
    ShadowMode before{};
    std::int32_t wanted = -1;
    log.Listen(caster.Events(), "mode",
               [&](const EventMessage& message)
               {
                   before = caster.GetShadowMode();
                   wanted = message.second.GetInt();
               });
    CEntityComponentProperty property;
    property.SetChoice("Shadow Mode", 1, nullptr);
    EXPECT_TRUE(caster.SetPropertyTo("Shadow Mode", &property));
    EXPECT_EQ(log.Take().size(), 1U);
    EXPECT_EQ(before, ShadowMode::Static);
    EXPECT_EQ(wanted, 1);
    EXPECT_EQ(caster.GetShadowMode(), ShadowMode::Dynamic);
    caster.SetShadowMode(ShadowMode::Dynamic);
    UDBDatabase database;
    UDBGroup& group = *database.AllocateGroup();
    group.AddNumber("shadowMode", 0.9);
    caster.SerializerLoad(group);
    EXPECT_EQ(caster.GetShadowMode(), ShadowMode::Static);
    EXPECT_TRUE(log.Take().empty());
}
} // namespace
