#include "gameengine/engine/componentCamera.h"
#include "gameengine/engine/componentEditorData.h"
#include "gameengine/engine/componentRuntimeData.h"
#include "support/expectations.h"
#include "support/sceneFixture.h"
#include "tamradeps/udb/udbGroup.h"

#include <algorithm>
#include <cmath>
#include <functional>
#include <limits>
#include <utility>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

using testing::ElementsAre;

namespace
{
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
    explicit ComponentProbe(CEntity* entity) : CEntityComponent(TYPEID(), entity) {}
    ~ComponentProbe() override
    {
        Call(Moment::Dying);
        i_Unregister(REPOSITORY(), this);
    }

    CEntityComponentProperty* GetProperty(int index, CEntityComponentProperty* out) override
    {
        using Property = CEntityComponentProperty;
        static constexpr const char* kModes[] = {"Off", "On", nullptr};
        switch (index)
        {
        case 0: out->SetInt("count", 0), out->data = &count; break; // may point into the component
        case 1: out->SetFloat("ratio", ratio); break;
        case 2: out->SetVector3("place", place[0], place[1], place[2]); break;
        case 3: out->SetText("note", note.c_str()); break;
        case 4: out->SetColor("tint", tint); break;
        case 5: out->SetText("file", file.c_str(), Property::kFile); break;
        case 6: out->SetInt("secret", 1), out->kind = Property::kOpaque; break;
        case 7: out->SetChoice("mode", mode, kModes); break;
        case 8: out->SetInt("strange", 1), out->kind = 9; break;
        default: return nullptr;
        }
        return index < properties ? out : nullptr;
    }
    void SetProperty(int index, CEntityComponentProperty* in) override
    {
        switch (index)
        {
        case 0: count = in->GetInt(); break;
        case 1: ratio = in->GetFloat(); break;
        case 2: in->GetFloats(place); break;
        case 3: note = std::string(in->GetText()); break;
        case 4: in->GetFloats(tint); break;
        case 5: file = std::string(in->GetText()); break;
        case 7: mode = in->GetInt(); break;
        default: ADD_FAILURE() << index;
        }
    }
    void SerializerSave(UDBGroup& group) override
    {
        Call(Moment::Saving);
        for (int i = 0; i < properties; ++i)
            i_SerializeProperty(i, group);
    }
    void SerializerLoad(UDBGroup& group) override
    {
        Call(Moment::Loading);
        for (int i = 0; i < properties; ++i)
            i_DeserializeProperty(i, group);
    }
    void i_OnEntityUnlockComponentList() override { Call(Moment::Unlocked); }
    void Call(Moment moment)
    {
        if (s_hook)
            s_hook(*this, moment);
    }

    std::int32_t count = 0;
    float ratio = 0.0F;
    float place[3] = {};
    std::string note;
    float tint[4] = {};
    std::string file;
    std::int32_t mode = 0;
    int properties = 8;
    static inline std::function<void(ComponentProbe&, Moment)> s_hook;
};
TAMRA_COMPONENT_IMPLEMENT(ComponentProbe, CEntityComponentRepository);

class EntityComponentTest : public testing::Test
{
protected:
    EntityComponentTest() { m_types.Add("ComponentProbe", ComponentProbe::TYPEID(), &ComponentProbe::CreateComponent); }
    ~EntityComponentTest() override
    {
        ComponentProbe::s_hook = nullptr;
        m_types.Remove(m_types.FindByName("ComponentProbe"));
    }
    ComponentProbe& Make()
    {
        m_entities.push_back(m_scene.Make<ComponentProbe>());
        return *m_entities.back()->Find<ComponentProbe>();
    }

    CEntityComponentTypeDatabase& m_types = CEntityComponentTypeDatabase::Instance();
    test::Scene m_scene;
    std::vector<RefPtr<CEntity>> m_entities;
    UDBDatabase m_database;
    UDBGroup& m_group = *m_database.AllocateGroup();
    CEntityComponentProperty m_property;
};

TEST_F(EntityComponentTest, EveryKindComesBack)
{
    ComponentProbe& probe = Make();
    probe.count = std::numeric_limits<std::int32_t>::min();
    probe.ratio = -0.0F;
    probe.place[0] = 1e-45F;
    probe.place[2] = std::numeric_limits<float>::infinity();
    probe.note = std::string(255, 'n'); // the longest that fits a record
    probe.file = std::string(256, 'f'); // the shortest that does not
    probe.tint[3] = 0.1F;
    probe.mode = 2;
    probe.SerializerSave(m_group);
    std::string keys;
    for (const UDBEntry& entry : m_group)
    {
        keys += std::string(entry.GetKey()) + ' ';
        for (const UDBEntry& member : entry.GetGroup() ? *entry.GetGroup() : *m_database.AllocateGroup())
            keys += member.GetKey();
    }
    EXPECT_EQ(keys, "count ratio place xyznote tint rgbafile mode ") << "opaque values are not saved";
    ComponentProbe& other = Make();
    other.SerializerLoad(m_group);
    EXPECT_EQ(other.count, probe.count);
    EXPECT_TRUE(other.ratio == 0.0F && std::signbit(other.ratio));
    EXPECT_TRUE(std::equal(probe.place, probe.place + 3, other.place));
    EXPECT_TRUE(std::equal(probe.tint, probe.tint + 4, other.tint));
    EXPECT_EQ(other.note, probe.note);
    EXPECT_EQ(other.file, probe.file);
    EXPECT_EQ(other.mode, 2);

    // Nothing there, or something else under the name: the value stays.
    for (UDBGroup* group : {m_database.AllocateGroup(), m_database.AllocateGroup()})
    {
        other.SerializerLoad(*group);
        EXPECT_EQ(other.count, probe.count);
        EXPECT_EQ(other.note, probe.note);
        EXPECT_EQ(other.place[2], probe.place[2]);
        group->AddString("count", "5");
        group->AddNumber("note", 5.0);
        group->AddNewGroup("place")->AddNumber("y", 9.0);
        other.SerializerLoad(*group);
        EXPECT_EQ(other.place[1], 9.0F);
    }
    test::ExpectAssertions lines{"gameengine/engine/entityComponent 134"};
    probe.properties = 9; // the last one of a kind that does not exist
    probe.SerializerSave(*m_database.AllocateGroup());
}

TEST_F(EntityComponentTest, NumbersBecomeTheNearestIntegerTowardZero)
{
    using Limits = std::numeric_limits<std::int32_t>;
    ComponentProbe& probe = Make();
    const double nan = std::numeric_limits<double>::quiet_NaN();
    for (const auto& [number, expected] :
         {std::pair(2.9, 2), std::pair(-2.9, -2), std::pair(1e300, Limits::max()), std::pair(-1e300, Limits::min()),
          std::pair(2147483647.5, Limits::max()), std::pair(nan, 0)})
    {
        m_group.Clear();
        m_group.AddNumber("count", number);
        m_group.AddNumber("mode", number);
        probe.count = probe.mode = 1;
        probe.SerializerLoad(m_group);
        EXPECT_EQ(probe.count, expected) << number;
        EXPECT_EQ(probe.mode, expected) << number;
    }
}

TEST_F(EntityComponentTest, PropertiesAreSetByTheirWholeName)
{
    ComponentProbe& probe = Make();
    EXPECT_EQ(probe.FindProperty("mode"), 7);
    m_property.SetFloat("ratio", 2.5F);
    for (const char* name : {"Ratio", "rati", "ratio ", ""})
    {
        EXPECT_EQ(probe.FindProperty(name), -1) << name;
        EXPECT_FALSE(probe.SetPropertyTo(name, m_property)) << name;
        EXPECT_FALSE(probe.SetPropertyTo(name, &m_property)) << name;
    }
    EXPECT_EQ(probe.ratio, 0.0F);
    EXPECT_TRUE(probe.SetPropertyTo("ratio", std::as_const(m_property)));
    EXPECT_EQ(probe.ratio, 2.5F);

    const std::string text(1000, 'x');
    m_property.SetText("note", text.c_str());
    EXPECT_TRUE(probe.SetPropertyTo("note", m_property));
    ASSERT_TRUE(probe.GetProperty(3, &m_property));
    EXPECT_EQ(m_property.GetText(), text) << "nothing is cut";

    // A record of another kind reads as nothing, never as other bytes; a copy owns what lies in the buffer.
    float floats[4] = {};
    EXPECT_TRUE(m_property.GetInt() == 0 && m_property.GetFloat() == 0.0F && !m_property.GetFloats(floats));
    m_property.SetText("note", "short");
    const CEntityComponentProperty copy(m_property);
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
    const RefPtr<CEntity> loaded = m_scene.Make<>();
    loaded->LockComponentList();
    loaded->SerializerLoad(m_group);
    loaded->UnlockComponentList();
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
        const RefPtr<CEntity> loaded = m_scene.Make<>();
        loaded->LockComponentList();
        loaded->SerializerLoad(m_group);
        m_scene.Spawn<ComponentProbe, ComponentCamera, ComponentEditorData>()->SerializerSave(m_group);
        m_scene.GetArray().Clear();
        EXPECT_TRUE(m_scene.GetArray().Validate());
    }
}

TEST_F(EntityComponentTest, TheEntityLivesUntilItsListIsUnlocked)
{
    CEntity* const entity = Make().GetEntity();
    const std::int32_t live = CEntity::GetLiveCount();
    int unlocked = 0;
    ComponentProbe::s_hook = [&](ComponentProbe&, Moment moment)
    {
        unlocked += moment == Moment::Unlocked ? 1 : 0;
        m_entities.clear();
    };
    test::AddComponents<ComponentProbe>(*entity);
    EXPECT_EQ(unlocked, 2) << "every component is told";
    EXPECT_EQ(CEntity::GetLiveCount(), live - 1);
}

TEST_F(EntityComponentTest, TypesAreFoundByPosition)
{
    const int count = m_types.GetCount();
    RegisterBuiltInComponents();
    EXPECT_EQ(m_types.GetCount(), count) << "registering again changes nothing";
    EXPECT_STREQ(m_types.GetName(m_types.FindByType(10000)), "ComponentTransformDirect") << "the first transform";
    EXPECT_EQ(m_types.FindByType(ComponentRuntimeData::TYPEID()), -1);
    EXPECT_EQ(m_types.FindByName("componentcamera"), -1);
    CEntity* const entity = Make().GetEntity();
    for (const int position : {-1, count, count + 1, 1 << 30})
    {
        EXPECT_EQ(m_types.Create(position, entity), nullptr) << position;
        EXPECT_EQ(m_types.GetComponent(position), nullptr) << position;
        EXPECT_EQ(m_types.GetName(position), nullptr) << position;
        m_types.Remove(position);
    }
    // Prototypes of all types show their properties; nothing is reported meanwhile.
    for (int i = 0; i < count; ++i)
    {
        CEntityComponent* prototype = m_types.GetComponent(i);
        EXPECT_EQ(m_types.GetComponent(i), prototype);
        EXPECT_STREQ(std::as_const(*prototype).GetTypeString(), m_types.GetName(i));
        EXPECT_EQ(prototype->FindProperty("no such property"), -1);
    }
    // The first of a name is found, and the last one fills the gap that a removed one leaves.
    for (const std::int32_t id : {20001, 20002, 20003})
        m_types.Add(id == 20003 ? "Other" : "Twice", id, &ComponentCamera::CreateComponent);
    EXPECT_EQ(m_types.FindByName("Twice"), count);
    EXPECT_EQ(m_types.FindByName("Twice"), count);
    EXPECT_NE(m_types.GetComponent(count), nullptr);
    m_types.Remove(count);
    EXPECT_EQ(m_types.GetTypeID(count), 20003);
    EXPECT_EQ(m_types.FindByName("Twice"), count + 1);
    m_types.Remove(count + 1);
    EXPECT_EQ(m_types.FindByName("Twice"), -1);
    m_types.Remove(count);
}
} // namespace
