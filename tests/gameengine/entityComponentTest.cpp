#include "gameengine/engine/componentCamera.h"
#include "gameengine/engine/componentEditorData.h"
#include "gameengine/engine/componentRuntimeData.h"
#include "support/expectations.h"
#include "support/sceneFixture.h"

#include <cstring>
#include <functional>
#include <limits>
#include <utility>

#include <gmock/gmock.h>

using testing::ElementsAre;

namespace
{
using Property = CEntityComponentProperty;

enum class Moment
{
    Unlocked,
    Saving,
    Loading,
    Dying
};

// A component with a property of every kind, that tells the test what happens to it.
class ComponentProbe : public CEntityComponent
{
    TAMRA_COMPONENT(ComponentProbe, CEntityComponentRepository, 10900);

public:
    explicit ComponentProbe(CEntity* entity) : CEntityComponent(TYPEID(), entity), values(8)
    {
        const float black[4] = {};
        values[0].SetInt("count", 0);
        values[1].SetFloat("ratio", 0.0F);
        values[2].SetVector3("place", 0, 0, 0);
        values[3].SetText("note", "");
        values[4].SetColor("tint", black);
        values[5].SetText("file", "", Property::kFile);
        values[6].SetInt("secret", 1);
        values[6].kind = Property::kOpaque;
        values[7].SetChoice("mode", 0, nullptr);
    }
    ~ComponentProbe() override
    {
        Call(Moment::Dying);
        i_Unregister(REPOSITORY(), this);
    }
    Property* GetProperty(int index, Property* out) override
    {
        if (static_cast<std::size_t>(index) >= values.size())
            return nullptr;
        Property& value = values[static_cast<std::size_t>(index)];
        *out = value;
        out->data = value.data; // may point into the component
        return out;
    }
    void SetProperty(int index, Property* in) override { values.at(static_cast<std::size_t>(index)) = *in; }
    void SerializerSave(UDBGroup& group) override
    {
        Call(Moment::Saving);
        for (std::size_t i = 0; i < values.size(); ++i)
            i_SerializeProperty(static_cast<int>(i), group);
    }
    void SerializerLoad(UDBGroup& group) override
    {
        Call(Moment::Loading);
        for (std::size_t i = 0; i < values.size(); ++i)
            i_DeserializeProperty(static_cast<int>(i), group);
    }
    void i_OnEntityUnlockComponentList() override { Call(Moment::Unlocked); }
    void Call(Moment moment)
    {
        if (s_hook)
            s_hook(*this, moment);
    }

    std::vector<Property> values;
    static inline std::function<void(ComponentProbe&, Moment)> s_hook;
};
TAMRA_COMPONENT_IMPLEMENT(ComponentProbe, CEntityComponentRepository);

class EntityComponentTest : public test::SceneTest
{
protected:
    EntityComponentTest() { m_types.Add("ComponentProbe", ComponentProbe::TYPEID(), &ComponentProbe::CreateComponent); }
    ~EntityComponentTest() override
    {
        ComponentProbe::s_hook = nullptr;
        m_types.Remove(m_types.FindByName("ComponentProbe"));
    }
    // A new entity with what the group holds.
    RefPtr<CEntity> Load()
    {
        RefPtr<CEntity> loaded = m_scene.Make<>();
        loaded->LockComponentList();
        loaded->SerializerLoad(m_group);
        loaded->UnlockComponentList();
        return loaded;
    }

    CEntityComponentTypeDatabase& m_types = CEntityComponentTypeDatabase::Instance();
};

TEST_F(EntityComponentTest, EveryKindComesBack)
{
    ComponentProbe& probe = Make<ComponentProbe>();
    const float tint[4] = {0, 0, 0, 0.1F};
    const std::string longest(255, 'n');  // that fits a record
    const std::string shortest(256, 'f'); // that does not
    probe.values[0].SetInt("count", std::numeric_limits<std::int32_t>::min());
    probe.values[1].SetFloat("ratio", -0.0F);
    probe.values[2].SetVector3("place", 1e-45F, 0, std::numeric_limits<float>::infinity());
    probe.values[3].SetText("note", longest.c_str());
    probe.values[4].SetColor("tint", tint);
    probe.values[5].SetText("file", shortest.c_str(), Property::kFile);
    probe.values[7].SetChoice("mode", 2, nullptr);
    probe.SerializerSave(m_group);
    std::string keys;
    for (const UDBEntry& entry : m_group)
    {
        keys += std::string(entry.GetKey()) + ' ';
        for (const UDBEntry& member : entry.GetGroup() ? *entry.GetGroup() : *m_database.AllocateGroup())
            keys += member.GetKey();
    }
    EXPECT_EQ(keys, "count ratio place xyznote tint rgbafile mode ") << "opaque values are not saved";

    // From nothing, or something else under the name, the value stays.
    UDBGroup& other = *m_database.AllocateGroup();
    other.AddString("count", "5");
    other.AddNumber("note", 5.0);
    other.AddNumber("place", 5.0);
    other.AddNewGroup("tint")->AddString("r", "5");
    ComponentProbe& loaded = Make<ComponentProbe>();
    for (UDBGroup* group : {&m_group, m_database.AllocateGroup(), &other})
    {
        loaded.SerializerLoad(*group);
        for (const std::size_t i : {0U, 1U, 2U, 3U, 4U, 5U, 7U})
        {
            EXPECT_EQ(std::memcmp(loaded.values[i].buffer, probe.values[i].buffer, Property::kBufferSize), 0) << i;
            EXPECT_STREQ(loaded.values[i].GetText(), probe.values[i].GetText());
        }
    }
    test::ExpectAssertions lines{"gameengine/engine/entityComponent 134"};
    probe.values[6].kind = 9;
    probe.SerializerSave(*m_database.AllocateGroup());
}

TEST_F(EntityComponentTest, NumbersBecomeTheNearestIntegerTowardZero)
{
    using Limits = std::numeric_limits<std::int32_t>;
    ComponentProbe& probe = Make<ComponentProbe>();
    const double nan = std::numeric_limits<double>::quiet_NaN();
    for (const auto& [number, expected] :
         {std::pair(2.9, 2), std::pair(-2.9, -2), std::pair(1e300, Limits::max()), std::pair(-1e300, Limits::min()),
          std::pair(2147483647.5, Limits::max()), std::pair(nan, 0)})
    {
        m_group.Clear();
        m_group.AddNumber("count", number);
        m_group.AddNumber("mode", number);
        probe.SerializerLoad(m_group);
        EXPECT_TRUE(probe.values[0].GetInt() == expected && probe.values[7].GetInt() == expected) << number;
    }
}

TEST_F(EntityComponentTest, PropertiesAreSetByTheirWholeName)
{
    ComponentProbe& probe = Make<ComponentProbe>();
    m_property.SetFloat("ratio", 2.5F);
    for (const char* name : {"Ratio", "rati", "ratio ", ""})
        EXPECT_FALSE(probe.SetPropertyTo(name, m_property) || probe.SetPropertyTo(name, &m_property)) << name;
    EXPECT_EQ(probe.values[1].GetFloat(), 0.0F);
    EXPECT_TRUE(probe.SetPropertyTo("ratio", std::as_const(m_property)));
    EXPECT_EQ(probe.values[1].GetFloat(), 2.5F);

    // A record of another kind reads as nothing, never as other bytes; a copy owns what lies in the buffer.
    m_property.SetText("note", "short");
    float floats[4] = {};
    EXPECT_TRUE(m_property.GetInt() == 0 && m_property.GetFloat() == 0.0F && !m_property.ReadFloats(floats));
    const Property copy(m_property);
    m_property.SetText("note", "other");
    EXPECT_STREQ(copy.GetText(), "short");
}

TEST_F(EntityComponentTest, EntitiesSaveLastFirstAndLoadInTwoPasses)
{
    std::vector<std::string> loading;
    ComponentProbe::s_hook = [&](ComponentProbe& probe, Moment moment)
    {
        for (int i = 0; moment == Moment::Loading && i < probe.GetEntity()->GetComponentCount(); ++i)
            loading.emplace_back(probe.GetEntity()->GetComponent(i)->GetTypeString());
    };
    const auto entity = m_scene.Make<ComponentCamera, ComponentRuntimeData, ComponentEditorData, ComponentProbe>();
    entity->Find<ComponentCamera>()->SetFov(35.5F);
    entity->SerializerSave(m_group);
    std::vector<std::string> saved;
    for (const UDBEntry& entry : m_group)
        saved.emplace_back(std::string(entry.GetKey()) + " " + entry.GetGroup()->GetString("type"));
    EXPECT_THAT(saved,
                ElementsAre("component ComponentProbe", "component ComponentEditorData", "component ComponentCamera"))
        << "runtime data is no registered type";
    m_group.AddNewGroup("component")->AddString("type", "ComponentOfTheFuture");
    m_group.AddNewGroup("component")->AddNumber("type", 4.0);
    m_group.AddString("component", "ComponentCamera");
    m_group.AddNewGroup("other")->AddString("type", "ComponentCamera");
    const RefPtr<CEntity> loaded = Load();
    EXPECT_THAT(loading, ElementsAre("ComponentProbe", "ComponentEditorData", "ComponentCamera"))
        << "all siblings exist before the first one loads";
    EXPECT_EQ(loaded->GetComponentCount(), 3);
    EXPECT_EQ(loaded->Find<ComponentCamera>()->GetFov(), 35.5F);
}

TEST_F(EntityComponentTest, MayDeleteSiblingsAtAnyMoment)
{
    m_scene.Make<ComponentCamera, ComponentEditorData, ComponentProbe>()->SerializerSave(m_group);
    for (const Moment fatal : {Moment::Unlocked, Moment::Saving, Moment::Loading, Moment::Dying})
    {
        ComponentProbe::s_hook = [&](ComponentProbe& probe, Moment moment)
        {
            probe.GetEntity()->LockComponentList();
            if (moment == fatal)
                delete probe.GetEntity()->Find<ComponentEditorData>();
        };
        Load();
        m_scene.Spawn<ComponentProbe, ComponentCamera, ComponentEditorData>()->SerializerSave(m_group);
        m_array.Clear();
        EXPECT_TRUE(m_array.Validate());
    }
}

TEST_F(EntityComponentTest, TheEntityLivesUntilItsListIsUnlocked)
{
    CEntity* const entity = Make<ComponentProbe>().GetEntity();
    int unlocked = 0;
    ComponentProbe::s_hook = [&](ComponentProbe&, Moment moment)
    {
        unlocked += moment == Moment::Unlocked ? 1 : 0;
        m_entities.clear();
    };
    test::AddComponents<ComponentProbe>(*entity);
    EXPECT_EQ(unlocked, 2) << "every component is told";
    EXPECT_EQ(CEntity::GetLiveCount(), m_live);
}

TEST_F(EntityComponentTest, TypesAreFoundByPosition)
{
    const int count = m_types.GetCount();
    RegisterBuiltInComponents();
    EXPECT_EQ(m_types.GetCount(), count) << "registering again changes nothing";
    EXPECT_STREQ(m_types.GetName(m_types.FindByType(10000)), "ComponentTransformDirect") << "the first transform";
    EXPECT_EQ(m_types.FindByType(ComponentRuntimeData::TYPEID()), -1);
    EXPECT_EQ(m_types.FindByName("componentcamera"), -1);
    for (const int position : {-1, count, 1 << 30})
    {
        EXPECT_FALSE(m_types.Create(position, Make<ComponentProbe>().GetEntity())) << position;
        EXPECT_FALSE(m_types.GetComponent(position) || m_types.GetName(position)) << position;
        m_types.Remove(position);
    }
    // The first of a name is found, and the last one fills the gap that a removed one leaves.
    for (const std::int32_t id : {20001, 20002, 20003})
        m_types.Add(id == 20003 ? "Other" : "Twice", id, &ComponentCamera::CreateComponent);
    EXPECT_EQ(m_types.FindByName("Twice"), count);
    CEntityComponent* const prototype = m_types.GetComponent(count);
    EXPECT_TRUE(prototype && prototype == m_types.GetComponent(count));
    m_types.Remove(count);
    EXPECT_EQ(m_types.GetTypeID(count), 20003);
    EXPECT_EQ(m_types.FindByName("Twice"), count + 1);
    m_types.Remove(count + 1);
    EXPECT_EQ(m_types.FindByName("Twice"), -1);
    m_types.Remove(count);
}
} // namespace
