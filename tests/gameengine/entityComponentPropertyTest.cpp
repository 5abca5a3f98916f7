#include "gameengine/componentProbe.h"
#include "gameengine/engine/componentEditorData.h"
#include "support/expectations.h"
#include "support/sceneFixture.h"
#include "tamradeps/udb/udbGroup.h"

#include <cmath>
#include <limits>
#include <utility>

#include <gtest/gtest.h>

namespace
{
class PropertyTest : public testing::Test
{
protected:
    ComponentProbe::Scope m_scope;
    test::Scene m_scene;
    RefPtr<CEntity> m_entity = m_scene.Make<ComponentProbe>();
    RefPtr<CEntity> m_second = m_scene.Make<ComponentProbe>();
    ComponentProbe& m_probe = *m_entity->Find<ComponentProbe>();
    ComponentProbe& m_other = *m_second->Find<ComponentProbe>();
    UDBDatabase m_database;
    UDBGroup& m_group = *m_database.AllocateGroup();
};

TEST_F(PropertyTest, EveryKindComesBack)
{
    m_probe.count = std::numeric_limits<std::int32_t>::min();
    m_probe.ratio = -0.0F;
    m_probe.place[0] = 1e-45F;
    m_probe.place[2] = std::numeric_limits<float>::infinity();
    m_probe.note = std::string(255, 'n'); // the longest that fits the record
    m_probe.file = std::string(256, 'f'); // the shortest that does not
    m_probe.tint[3] = 0.1F;
    m_probe.secret = 7;
    m_probe.mode = 2;
    m_probe.SerializerSave(m_group);

    std::vector<std::string> keys;
    for (const UDBEntry& entry : m_group)
        keys.emplace_back(entry.GetKey());
    EXPECT_EQ(keys, (std::vector<std::string>{"count", "ratio", "place", "note", "tint", "file", "mode"}))
        << "opaque values are not saved";
    keys.clear();
    for (const char* group : {"place", "tint"})
    {
        for (const UDBEntry& entry : *m_group.GetGroup(group))
            keys.emplace_back(entry.GetKey());
    }
    EXPECT_EQ(keys, (std::vector<std::string>{"x", "y", "z", "r", "g", "b", "a"}));

    m_other.secret = 5;
    m_other.SerializerLoad(m_group);
    EXPECT_EQ(m_other.count, m_probe.count);
    EXPECT_TRUE(m_other.ratio == 0.0F && std::signbit(m_other.ratio));
    EXPECT_TRUE(std::equal(m_probe.place, m_probe.place + 3, m_other.place));
    EXPECT_TRUE(std::equal(m_probe.tint, m_probe.tint + 4, m_other.tint));
    EXPECT_EQ(m_other.note, m_probe.note);
    EXPECT_EQ(m_other.file, m_probe.file);
    EXPECT_EQ(m_other.secret, 5);
    EXPECT_EQ(m_other.mode, 2);
}

TEST_F(PropertyTest, AnUnknownKindIsReportedAndNotSaved)
{
    m_probe.hasStrangeProperty = true;
    test::ExpectAssertions lines{"gameengine/engine/entityComponent 134"};
    m_probe.SerializerSave(m_group);
    EXPECT_EQ(m_group.GetEntryCount(), 7U);
    m_probe.SerializerLoad(m_group);
}

TEST_F(PropertyTest, MissingAndForeignEntriesLeaveTheValue)
{
    const auto setUp = [&]
    {
        m_probe.count = 3;
        m_probe.place[0] = m_probe.place[1] = 4.0F;
        m_probe.note = "kept";
        m_probe.mode = 1;
    };
    setUp();
    m_probe.SerializerLoad(m_group);
    EXPECT_EQ(m_probe.count, 3);
    EXPECT_EQ(m_probe.note, "kept");
    m_group.AddString("count", "5");
    m_group.AddNumber("note", 5.0);
    m_group.AddNewGroup("mode");
    m_group.AddNewGroup("place")->AddNumber("y", 9.0);
    m_probe.SerializerLoad(m_group);
    EXPECT_EQ(m_probe.count, 3);
    EXPECT_EQ(m_probe.note, "kept");
    EXPECT_EQ(m_probe.mode, 1);
    EXPECT_EQ(m_probe.place[0], 4.0F);
    EXPECT_EQ(m_probe.place[1], 9.0F);
}

TEST_F(PropertyTest, NumbersBecomeTheNearestIntegerTowardZero)
{
    using Limits = std::numeric_limits<std::int32_t>;
    const std::pair<double, std::int32_t> table[] = {
        {2.9, 2},
        {-2.9, -2},
        {1e300, Limits::max()},
        {-1e300, Limits::min()},
        {std::numeric_limits<double>::infinity(), Limits::max()},
        {std::numeric_limits<double>::quiet_NaN(), 0},
        {2147483647.5, Limits::max()},
        {-2147483648.5, Limits::min()},
    };
    for (const auto& [number, expected] : table)
    {
        m_group.Clear();
        m_group.AddNumber("count", number);
        m_group.AddNumber("mode", number);
        m_probe.count = m_probe.mode = 1;
        m_probe.SerializerLoad(m_group);
        EXPECT_EQ(m_probe.count, expected) << number;
        EXPECT_EQ(m_probe.mode, expected) << number;
    }
}

TEST_F(PropertyTest, AreFoundByTheirWholeName)
{
    EXPECT_EQ(m_probe.FindProperty("mode"), 7);
    CEntityComponentProperty property;
    property.SetFloat("ratio", 2.5F);
    for (const char* name : {"Ratio", "rati", "ratio ", "", "strange"})
    {
        EXPECT_EQ(m_probe.FindProperty(name), -1) << name;
        EXPECT_FALSE(m_probe.SetPropertyTo(name, property)) << name;
        EXPECT_FALSE(m_probe.SetPropertyTo(name, &property)) << name;
    }
    EXPECT_EQ(m_probe.ratio, 0.0F);
    EXPECT_TRUE(m_probe.SetPropertyTo("ratio", std::as_const(property)));
    EXPECT_EQ(m_probe.ratio, 2.5F);
    property.SetFloat("ratio", 3.5F);
    m_probe.SetPropertyTo(1, property);
    m_probe.SetPropertyTo(99, property);
    EXPECT_EQ(m_probe.ratio, 3.5F);
}

TEST_F(PropertyTest, RecordsOwnWhatLiesInTheirBuffer)
{
    CEntityComponentProperty copy;
    {
        CEntityComponentProperty record;
        record.SetText("note", "short");
        copy = record;
        CEntityComponentProperty built(record);
        record.SetText("note", "other");
        EXPECT_STREQ(built.GetText(), "short");
    }
    EXPECT_STREQ(copy.GetText(), "short");
    EXPECT_EQ(copy.data, copy.buffer);

    const std::string text(1000, 'x');
    copy.SetText("note", text.c_str());
    EXPECT_TRUE(m_probe.SetPropertyTo("note", copy));
    ASSERT_TRUE(m_probe.GetProperty(3, &copy));
    EXPECT_EQ(copy.GetText(), text) << "nothing is cut";
    m_probe.SetProperty(3, &copy);
    EXPECT_EQ(m_probe.note, text) << "back from its own text";

    // A record of another kind reads as nothing, never as other bytes.
    float floats[4] = {1.0F, 1.0F, 1.0F, 1.0F};
    EXPECT_EQ(copy.GetInt(), 0);
    EXPECT_EQ(copy.GetFloat(), 0.0F);
    EXPECT_FALSE(copy.GetFloats(floats));
    EXPECT_EQ(floats[0], 1.0F);
    copy.SetColor("tint", floats);
    EXPECT_STREQ(copy.GetText(), "");
    m_probe.GetProperty(0, &copy);
    EXPECT_EQ(copy.data, &m_probe.count) << "a record may point into the component";
}
} // namespace
