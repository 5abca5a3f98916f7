#include "gameengine/engine/componentAlwaysVisible.h"
#include "gameengine/engine/componentCamera.h"
#include "gameengine/engine/componentEditorData.h"
#include "gameengine/engine/componentLight.h"
#include "gameengine/engine/componentRenderSettings.h"
#include "gameengine/engine/componentRuntimeData.h"
#include "gameengine/engine/componentShadowCaster.h"
#include "gameengine/engine/componentTransformDirect.h"
#include "support/expectations.h"
#include "support/sceneFixture.h"
#include "tamraengine/renderer/renderer.h"

#include <limits>
#include <memory>

#include <gmock/gmock.h>

using testing::ElementsAre;

namespace
{
class ComponentsTest : public test::SceneTest
{
protected:
    // The keys under which the component saves itself to the group.
    std::string Save(CEntityComponent& component)
    {
        m_group.Clear();
        component.SerializerSave(m_group);
        std::string keys;
        for (const UDBEntry& entry : m_group)
            keys += std::string(entry.GetKey()) + ' ';
        return keys;
    }
};

TEST_F(ComponentsTest, IdsAreThoseOfSavedScenes)
{
    const std::int32_t ids[] = {ComponentEditorData::TYPEID(),     ComponentAlwaysVisible::TYPEID(),
                                ComponentCamera::TYPEID(),         ComponentLight::TYPEID(),
                                ComponentRenderSettings::TYPEID(), ComponentShadowCaster::TYPEID(),
                                ComponentRuntimeData::TYPEID()};
    EXPECT_THAT(ids, ElementsAre(10015, 10016, 10020, 10030, 10040, 10060, 11000));
}

TEST_F(ComponentsTest, TheCameraLooksAlongLocalXWithLocalZUp)
{
    const auto entity = m_scene.Make<ComponentTransformDirect, ComponentCamera>();
    const auto& camera = *entity->Find<ComponentCamera>();
    EXPECT_EQ(camera.GenerateProjectionMatrix(800, 600), CMatrix::Projection(70.0F, 800.0F / 600.0F, 1.0F, 1000.0F));
    CMatrix world = test::At({5, 6, 7});
    world.RotateEuler(0.0F, 0.0F, 1.5707964F);
    entity->Find<ComponentTransform>()->SetTransform(world);
    // A point in front of the entity lies on the view's -Z axis, one above it towards +Y.
    const CMatrix view = camera.GenerateViewMatrix();
    EXPECT_LT((view.TransformPoint({5, 8, 7}) - CVector3(0, 0, -2)).Length(), 1e-5F);
    EXPECT_LT((view.TransformPoint({5, 6, 9}) - CVector3(0, 2, 0)).Length(), 1e-5F);

    test::ExpectAssertions lines{"gameengine/engine/componentCamera 77"};
    EXPECT_EQ(Make<ComponentCamera>().GenerateViewMatrix(), CMatrix::View({0, 0, 0}, {1, 0, 0}, {0, 0, 1}));
}

TEST_F(ComponentsTest, TheCameraSavesAndCopies)
{
    auto& camera = Make<ComponentCamera>();
    const auto second = m_scene.Make<ComponentCamera, ComponentEditorData>();
    auto& other = *second->Find<ComponentCamera>();
    for (const auto& [name, value] :
         {std::pair("FOV", 0.1F), std::pair("Near Distance", -2.0F), std::pair("Far Distance", 1e30F)})
    {
        m_property.SetFloat(name, value);
        EXPECT_TRUE(camera.SetPropertyTo(name, m_property));
    }
    const auto takeCopied = [&]
    {
        const std::vector<float> copied{other.GetFov(), other.GetNear(), other.GetFar()};
        other.SetFov(1);
        other.SetNear(2);
        other.SetFar(3);
        return copied;
    };
    const auto isCamera = ElementsAre(0.1F, -2.0F, 1e30F);
    EXPECT_EQ(Save(camera), "fov near far ");
    other.SerializerLoad(m_group);
    EXPECT_THAT(takeCopied(), isCamera);
    other.Copy(&camera);
    EXPECT_THAT(takeCopied(), isCamera);
    other = camera;
    EXPECT_EQ(other.GetEntity(), second.Get()) << "a component never changes its entity";
    EXPECT_THAT(takeCopied(), isCamera);
    other.Copy(second->Find<ComponentEditorData>());
    other.SerializerLoad(*m_database.AllocateGroup());
    EXPECT_THAT(takeCopied(), ElementsAre(1, 2, 3)) << "nothing to take over";
    EXPECT_EQ(other.GetType(), ComponentCamera::TYPEID());
}

TEST_F(ComponentsTest, RenderSettingsSaveAndLoad)
{
    auto& settings = Make<ComponentRenderSettings>();
    auto& loaded = Make<ComponentRenderSettings>();
    const float clear[4] = {0.1F, 0.2F, 0.3F, 0.4F};
    const float ambient[4] = {5, 6, 7, 8};
    m_property.SetColor("Clear Color", clear);
    settings.SetProperty(0, &m_property);
    m_property.SetColor("Ambient Color", ambient);
    settings.SetProperty(1, &m_property);
    ASSERT_TRUE(settings.GetProperty(2, &m_property));
    EXPECT_STREQ(m_property.choices[1], "Active");
    EXPECT_EQ(m_property.choices[2], nullptr);
    m_property.SetChoice("Fog", 1, m_property.choices);
    EXPECT_TRUE(settings.SetPropertyTo("Fog", m_property));
    m_property.SetVector3("Fog Near/Far", 10, 20, 30);
    EXPECT_TRUE(settings.SetPropertyTo("Fog Near/Far", m_property));
    EXPECT_EQ(settings.FindProperty("Ambient Color"), 1);
    EXPECT_EQ(settings.GetProperty(4, &m_property), nullptr);
    EXPECT_EQ(Save(settings),
              "clear_r clear_g clear_b clear_a ambient_r ambient_g ambient_b ambient_a fog fogNear fogFar ");
    loaded.SerializerLoad(m_group);
    EXPECT_TRUE(std::equal(clear, clear + 4, loaded.GetClearColor()));
    EXPECT_TRUE(std::equal(ambient, ambient + 4, loaded.GetAmbientColor()));
    EXPECT_TRUE(loaded.GetFogEnabled() && loaded.GetFogNear() == 10.0F && loaded.GetFogFar() == 20.0F);
    for (const double fog : {1.0, 0.99, 2.0, -1.0, std::numeric_limits<double>::quiet_NaN()})
    {
        m_group.Clear();
        m_group.AddNumber("fog", fog);
        loaded.SetFog(fog != 1.0, 10, 20);
        loaded.SerializerLoad(m_group);
        EXPECT_EQ(loaded.GetFogEnabled(), fog == 1.0) << fog;
    }
    loaded.Copy(&settings);
    EXPECT_TRUE(loaded.GetFogEnabled());
}

TEST_F(ComponentsTest, EditorNamesOfAnyLength)
{
    class Finalized : public ComponentEditorData
    {
    public:
        using ComponentEditorData::ComponentEditorData;
        void FinalizeProperties() override { ++calls; }
        int calls = 0;
    };
    const auto entity = m_scene.Make<>();
    entity->LockComponentList();
    auto* data = new Finalized(entity.Get());
    for (const std::string& name :
         {std::string(), std::string("Hütte"), std::string(255, 'a'), std::string(256, 'b'), std::string(100000, 'c')})
    {
        data->SetData(name.c_str());
        EXPECT_EQ(Save(*data), "Editor Name ");
        data->SetData("other");
        data->SerializerLoad(m_group);
        EXPECT_EQ(data->GetData(), name);
        ASSERT_TRUE(data->GetProperty(0, &m_property));
        data->SetProperty(0, &m_property);
        EXPECT_EQ(data->GetData(), name) << "set to its own text";
    }
    EXPECT_EQ(data->calls, 5) << "told after each load";
    data->SetData(data->GetData() + 99999);
    EXPECT_STREQ(data->GetData(), "c");
    data->SetData(nullptr);
    EXPECT_STREQ(data->GetData(), "");
}

TEST_F(ComponentsTest, RuntimeDataRemembersTheFrame)
{
    const auto entity = m_scene.Make<ComponentRuntimeData>();
    auto& data = *entity->Find<ComponentRuntimeData>();
    data.UpdateLastVisibleFrame();
    EXPECT_FALSE(data.WasVisibleThisFrame()) << "no renderer";

    renderer::CRenderer renderer;
    test::EventLog log;
    log.Listen(data.GetVisibilityEvents(), "seen",
               [&](const EventMessage& message)
               {
                   EXPECT_EQ(message.first.GetObjectPointer<CEntityComponent>("CEntityComponent"), &data);
                   EXPECT_TRUE(message.second.IsEmpty());
               });
    const auto isVisible = [&](std::uint64_t drawnIn, std::uint64_t askedIn)
    {
        renderer.SetFrameNumber(drawnIn);
        data.UpdateLastVisibleFrame();
        if (drawnIn >> 32 == 0)
            data.UpdateLastVisibleFrame();
        EXPECT_THAT(log.Take(), ElementsAre("seen 0")) << "once a frame";
        renderer.SetFrameNumber(askedIn);
        return data.WasVisibleThisFrame();
    };
    EXPECT_TRUE(isVisible(100, 100));
    EXPECT_TRUE(isVisible(200, 201));
    EXPECT_FALSE(isVisible(300, 302));
    EXPECT_FALSE(isVisible(400, 399));
    const std::uint64_t wrap = std::uint64_t{1} << 32;
    EXPECT_TRUE(isVisible(wrap - 1, wrap));
    EXPECT_FALSE(isVisible(wrap + 5, wrap + 5));
    EXPECT_TRUE(isVisible(wrap + 5, 5));
    EXPECT_FALSE(isVisible(wrap + 7, wrap + 8));
}

TEST_F(ComponentsTest, RuntimeDataOwnsItsPayloads)
{
    static int freed = 0;
    struct Payload : RuntimeData_Base
    {
        explicit Payload(const CEntity& owner) : entity(&owner) {}
        ~Payload() override { freed += entity->Find<ComponentRuntimeData>() ? 1 : 0; }
        const CEntity* entity;
    };
    auto& data = Make<ComponentRuntimeData>();
    data.index = 9;
    for (auto* payload : {&data.primaryData, &data.secondaryData, &data.extraData[0], &data.extraData[3]})
        *payload = std::make_unique<Payload>(*data.GetEntity());
    EXPECT_EQ(ComponentRuntimeData(data).index, 9);
    EXPECT_EQ(freed, 0) << "a copy has no payloads";
    m_entities.clear();
    EXPECT_EQ(freed, 4) << "before the component leaves its repository";
}

TEST_F(ComponentsTest, TheAlwaysVisibleMarkWorksOnceTheListIsComplete)
{
    const auto entity = m_scene.Make<ComponentAlwaysVisible>(); // without runtime data
    entity->LockComponentList();
    ComponentRuntimeData::CreateComponent(entity.Get());
    std::uint32_t& flags = entity->Find<ComponentRuntimeData>()->flags;
    flags = 6;
    entity->UnlockComponentList();
    EXPECT_EQ(flags, 7U);
    entity->LockComponentList();
    delete entity->Find<ComponentAlwaysVisible>();
    EXPECT_EQ(flags, 6U);
    ComponentAlwaysVisible::CreateComponent(entity.Get());
    delete entity->Find<ComponentRuntimeData>();
    delete entity->Find<ComponentAlwaysVisible>();
}
} // namespace
