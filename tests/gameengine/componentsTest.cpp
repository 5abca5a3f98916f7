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
#include <tuple>

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

// That they keep the keys of their files is for corpusTest.cpp.
TEST_F(ComponentsTest, EveryTypeSavesLoadsAndCopiesWhatItShows)
{
    auto& types = CEntityComponentTypeDatabase::Instance();
    test::Random random(5);
    for (int type = 0; type < types.GetCount(); ++type)
    {
        SCOPED_TRACE(types.GetName(type));
        const RefPtr<CEntity> entities[] = {m_scene.Make<>(), m_scene.Make<>(), m_scene.Make<>()};
        std::vector<CEntityComponent*> components;
        for (const auto& entity : entities)
        {
            entity->LockComponentList();
            components.push_back(types.Create(type, entity.Get()));
            entity->UnlockComponentList();
        }
        const auto& [source, loaded, copied] = std::tie(components[0], components[1], components[2]);
        test::ChangeProperties(*source, random);
        for (int i = 0; source->GetProperty(i, &m_property); ++i)
        {
            if (m_property.kind == CEntityComponentProperty::kChoice)
                m_property.SetChoice(m_property.name, 1, m_property.choices);
            source->SetProperty(i, &m_property);
        }
        const std::string wanted = test::Describe(*source);
        EXPECT_EQ(wanted != test::Describe(*loaded), source->GetProperty(0, &m_property) != nullptr);
        Save(*source);
        loaded->SerializerLoad(m_group);
        EXPECT_EQ(test::Describe(*loaded), wanted);
        copied->Copy(source);
        EXPECT_EQ(test::Describe(*copied), wanted);
        CEntityComponentProperty nothing;
        for (int i = 0; i < 8; ++i)
            copied->SetProperty(i, &nothing);
        EXPECT_EQ(test::Describe(*copied), wanted) << "set to a record of the wrong kind";
        // There is nothing to take over; absent numbers of a matrix are those of the identity.
        copied->Copy(&Make<ComponentRuntimeData>());
        if (!dynamic_cast<ComponentTransform*>(copied))
            copied->SerializerLoad(*m_database.AllocateGroup());
        EXPECT_EQ(test::Describe(*copied), wanted);
        EXPECT_EQ(copied->GetEntity(), entities[2].Get()) << "a component never changes its entity";
    }
}

TEST_F(ComponentsTest, FogIsOnForOneAlone)
{
    auto& settings = Make<ComponentRenderSettings>();
    for (const double fog : {1.0, 0.99, 2.0, -1.0, std::numeric_limits<double>::quiet_NaN()})
    {
        m_group.Clear();
        m_group.AddNumber("fog", fog);
        settings.SetFog(fog != 1.0, 10, 20);
        settings.SerializerLoad(m_group);
        EXPECT_EQ(settings.GetFogEnabled(), fog == 1.0) << fog;
    }
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
    for (const std::size_t length : {0U, 255U, 256U, 100000U})
    {
        const std::string name(length, 'c');
        data->SetData(name.c_str());
        EXPECT_EQ(Save(*data), "Editor Name ");
        data->SetData("other");
        data->SerializerLoad(m_group);
        EXPECT_EQ(data->GetData(), name);
        ASSERT_TRUE(data->GetProperty(0, &m_property));
        data->SetProperty(0, &m_property);
        EXPECT_EQ(data->GetData(), name) << "set to its own text";
    }
    EXPECT_EQ(data->calls, 4) << "told after each load";
    data->SetData(data->GetData() + 99999);
    EXPECT_STREQ(data->GetData(), "c");
    data->SetData(nullptr);
    EXPECT_STREQ(data->GetData(), "");
}

TEST_F(ComponentsTest, RuntimeDataRemembersTheFrame)
{
    auto& data = Make<ComponentRuntimeData>();
    data.UpdateLastVisibleFrame();
    EXPECT_FALSE(data.WasVisibleThisFrame()) << "no renderer";

    renderer::CRenderer renderer;
    m_log.Listen(data.GetVisibilityEvents(), "seen",
                 [&](const EventMessage& message)
                 {
                     EXPECT_EQ(message.first.GetObjectPointer<CEntityComponent>("CEntityComponent"), &data);
                     EXPECT_TRUE(message.second.IsEmpty());
                 });
    const std::uint64_t wrap = std::uint64_t{1} << 32;
    const std::tuple<std::uint64_t, std::uint64_t, bool> cases[] = {
        {100, 100, true},    {200, 201, true},           {300, 302, false},
        {400, 399, false},   {wrap - 1, wrap, true},     {wrap + 5, wrap + 5, false},
        {wrap + 5, 5, true}, {wrap + 7, wrap + 8, false}};
    for (const auto& [drawnIn, askedIn, isVisible] : cases)
    {
        renderer.SetFrameNumber(drawnIn);
        data.UpdateLastVisibleFrame();
        if (drawnIn >> 32 == 0)
            data.UpdateLastVisibleFrame();
        EXPECT_THAT(m_log.Take(), ElementsAre("seen 0")) << "once a frame";
        renderer.SetFrameNumber(askedIn);
        EXPECT_EQ(data.WasVisibleThisFrame(), isVisible) << drawnIn << ' ' << askedIn;
    }
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
