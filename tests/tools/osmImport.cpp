#include "tools/sceneTools/osmImport.h"

#include "support/expectations.h"
#include "tests/tools/townFixture.h"
#include "tools/sceneTools/osmTags.h"

#include <algorithm>
#include <tuple>

#include <gtest/gtest.h>
#include <osmium/builder/attr.hpp>
#include <osmium/io/pbf_output.hpp>
#include <osmium/io/writer.hpp>

namespace
{
using namespace osmium::builder::attr;

using Values = std::map<std::string, std::string>;

osm::Tags MakeTags(const Values& values)
{
    return [values](const char* key) -> const char*
    {
        const auto found = values.find(key);
        return found != values.end() ? found->second.c_str() : nullptr;
    };
}

// The first box of that name.
TownBox FindByName(const std::vector<TownBox>& boxes, const std::string& name)
{
    const auto found = std::ranges::find(boxes, name, &TownBox::name);
    EXPECT_NE(found, boxes.end()) << name;
    return found != boxes.end() ? *found : TownBox();
}
} // namespace

TEST(OsmTags, LengthsAreReadWithTheirUnits)
{
    const std::map<std::string, double> good = {{"12", 12.0},      {"12.5 m", 12.5},    {" 7m ", 7.0},
                                                {"40'", 12.192},   {"40'6\"", 12.3444}, {"40' 6\"", 12.3444},
                                                {"40 ft", 12.192}, {"0", 0.0},          {".5", 0.5},
                                                {"18\"", 0.4572},  {"3 metres", 3.0},   {"1000000", 1000000.0}};
    for (const auto& [text, metres] : good)
        EXPECT_NEAR(osm::ParseLength(text).value_or(-1.0), metres, 1e-9) << text;
    for (const char* text : {"", " ", "m", "-3", "+3", "1e3", "nan", "inf", "12 km", "12;13", "~12", "40'6", "40'x\"",
                             "12 m m", "1.2.3", "0x10"})
        EXPECT_FALSE(osm::ParseLength(text)) << text;
    EXPECT_FALSE(osm::ParseLength(std::string(5000, '9')));
}

TEST(OsmTags, HeightsComeFromTheBestTag)
{
    const std::tuple<Values, double, double, bool> cases[] = {
        {{{"building", "yes"}, {"height", "21.5"}, {"building:levels", "3"}}, 0.0, 21.5, false},
        {{{"building", "yes"}, {"height", "tall"}, {"building:levels", "3"}}, 0.0, 9.0, false},
        {{{"building", "garage"}, {"building:levels", "none"}}, 0.0, 3.0, false},
        {{{"building:part", "yes"}, {"building:levels", "9"}, {"building:min_level", "7"}}, 21.0, 27.0, false},
        {{{"building", "roof"}, {"min_height", "6"}}, 6.0, 10.0, false},
        {{{"building", "yes"}, {"height", "99999"}}, 0.0, 1000.0, true},
        {{{"building", "yes"}, {"height", "0"}}, 0.0, 0.5, true},
        {{{"building", "yes"}, {"height", "10"}, {"min_height", "12"}}, 0.0, 10.0, true},
    };
    for (const auto& [tags, base, top, isRepaired] : cases)
    {
        SCOPED_TRACE(testing::PrintToString(tags));
        const osm::Heights heights = osm::GetHeights(MakeTags(tags));
        EXPECT_DOUBLE_EQ(heights.base, base);
        EXPECT_DOUBLE_EQ(heights.top, top);
        EXPECT_EQ(heights.repaired, isRepaired);
    }
}

TEST(TownEntity, BoxAndKindAreFoundAgain)
{
    CScene scene;
    TownBox box = test::MakeBuilding({10.0F, 20.0F, 6.0F}, {8.0F, 4.0F, 12.0F});
    box.name = "Zum Löwen";
    box.directionX = 0.6F;
    box.directionY = 0.8F;
    const RefPtr<CEntity> entity = CreateTownEntity(box, scene.GetInterfaces());
    EXPECT_EQ(GetTownKind(*entity), TownKind::Building);
    EXPECT_EQ(GetTownName(*entity), "Zum Löwen");
    auto* transform = entity->Find<ComponentTransform>();
    ASSERT_TRUE(transform);
    // Half of 8 * 0.6 + 4 * 0.8, and of 8 * 0.8 + 4 * 0.6.
    const CVector3 size = transform->GetBoundingBox().GetSize();
    EXPECT_LT((size - CVector3(8.0F, 8.8F, 12.0F)).Length(), 1e-4F);

    // As after loading; a name of no town keeps its point.
    const float point[6] = {};
    for (const bool isTown : {true, false})
    {
        entity->Find<ComponentEditorData>()->SetData(isTown ? "building x" : "buildings 7");
        transform->SetUntransformedBoundingBox(point);
        PrepareTownEntity(*entity);
        EXPECT_EQ(transform->GetBoundingBox().GetSize(), isTown ? size : CVector3());
        EXPECT_EQ(GetTownName(*entity), isTown ? "x" : "");
    }
}

TEST(OsmImport, ManhattanIsWhereAndAsLargeAsItShouldBe)
{
    CScene scene;
    OsmImportStatistics statistics;
    std::vector<double> progress;
    const auto addProgress = [&](double done) { progress.push_back(done); };
    ASSERT_TRUE(ImportOsm(test::GetExtract("manhattan"), scene.GetInterfaces(), {}, &statistics, addProgress));
    EXPECT_TRUE(std::ranges::is_sorted(progress) && progress.back() > 0.5 && progress.back() <= 1.0);
    EXPECT_NEAR(static_cast<double>(statistics.buildings), 1567.0, 10.0);
    EXPECT_EQ(statistics.buildingParts, 43U);
    EXPECT_NEAR(statistics.maxX - statistics.minX, 1188.0F, 5.0F);
    EXPECT_NEAR(statistics.maxY - statistics.minY, 742.0F, 5.0F);

    // The entities of the import are the boxes of another reading.
    std::vector<TownBox> boxes;
    ASSERT_TRUE(ReadOsmTown(test::GetExtract("manhattan"), boxes));
    ASSERT_EQ(static_cast<std::size_t>(scene.GetArray().GetCount()), boxes.size());
    EXPECT_EQ(statistics.entities, boxes.size());
    const collision::PrimAABB bounds({-2000.0F, -2000.0F, -1.0F}, {2000.0F, 2000.0F, 200.0F});
    std::size_t kinds[kTownKindCount] = {};
    for (int i = 0; i < scene.GetArray().GetCount(); ++i)
    {
        const CEntity& entity = *scene.GetArray().Get(i);
        const collision::PrimAABB& box = entity.Find<ComponentTransform>()->GetBoundingBox();
        EXPECT_TRUE(bounds.Test(box.GetMin()) && bounds.Test(box.GetMax())) << GetTownName(entity);
        ++kinds[static_cast<std::size_t>(GetTownKind(entity))];
    }
    EXPECT_TRUE(std::ranges::equal(kinds, statistics.boxes));

    const TownBox centre = FindByName(boxes, "NYC LGBT Community Center");
    EXPECT_NEAR(centre.size.z, 18.6F, 1e-4F);
    EXPECT_NEAR(centre.centre.z, 9.3F, 1e-4F);
    // 208 West 13th Street.
    EXPECT_NEAR(statistics.originLatitude + static_cast<double>(centre.centre.y) / 111195.0, 40.7381, 0.0004);
    EXPECT_NEAR(statistics.originLongitude + static_cast<double>(centre.centre.x) / (111195.0 * 0.7577), -74.0010,
                0.0006);
    // The outline of a multipolygon, whose tags are those of the relation.
    EXPECT_NEAR(FindByName(boxes, "The Jane").size.z, 24.0F, 1e-4F);
    EXPECT_EQ(FindByName(boxes, "Bleecker Street").size.y, 7.0F);
    // The Hudson is west of the coast.
    const auto isRiver = [&](const auto& box)
    { return box.kind == TownKind::Water && box.centre.x < statistics.minX + 250.0F; };
    EXPECT_TRUE(std::ranges::any_of(boxes, isRiver));
}

TEST(OsmImport, OptionsChooseAndTheResultIsTheSameEachTime)
{
    const std::string path = test::GetExtract("liechtenstein");
    std::vector<TownBox> boxes;
    OsmImportStatistics statistics;
    ASSERT_TRUE(ReadOsmTown(path, boxes, {}, &statistics));
    EXPECT_NEAR(static_cast<double>(statistics.streets), 2745.0, 20.0);
    EXPECT_EQ(FindByName(boxes, "Vaduz").kind, TownKind::Place);
    std::vector<TownBox> again;
    ASSERT_TRUE(ReadOsmTown(path, again));
    EXPECT_TRUE(std::ranges::equal(boxes, again, {}, &TownBox::GetMatrix, &TownBox::GetMatrix)) << "in the same order";
    OsmImportOptions options;
    options.importStreets = options.importParksAndWater = options.importPlaces = false;
    ASSERT_TRUE(ReadOsmTown(path, boxes, options));
    EXPECT_EQ(boxes.size(), statistics.boxes[static_cast<std::size_t>(TownKind::Building)]);
}

TEST(OsmImport, RefusesWhatIsNoWholeExtract)
{
    const test::TemporaryFolder folder;
    const std::string whole = test::ReadFile(test::GetExtract("manhattan"));
    ASSERT_GT(whole.size(), 100000U);
    CScene scene;
    OsmImportStatistics statistics;
    const auto expectRefused = [&](const std::string& path, const char* reason)
    {
        SCOPED_TRACE(path);
        const test::ExpectLog log{reason};
        EXPECT_FALSE(ImportOsm(path, scene.GetInterfaces(), {}, &statistics));
        EXPECT_EQ(scene.GetArray().GetCount(), 0);
        EXPECT_EQ(statistics.entities, 0U);
    };
    std::map<std::string, std::string> files{{"text", "<osm>not a PBF</osm>\n"}, {"broken", whole}};
    files["broken"].replace(60000, 200, 200, '\x5A');
    for (const std::size_t size : {0U, 3U, 40U, 1000U, 30000U, 90000U, static_cast<unsigned>(whole.size()) - 1})
        files["cut" + std::to_string(size)] = whole.substr(0, size);
    for (const auto& [name, content] : files)
    {
        test::WriteFile(folder.Path(name), content);
        expectRefused(folder.Path(name), "cannot be imported");
    }
    expectRefused(folder.Path("missing"), "no such file");
    expectRefused(folder.Path(""), "not a file");

    const test::ExpectLog log{"too many nodes"};
    EXPECT_FALSE(ImportOsm(test::GetExtract("manhattan"), scene.GetInterfaces(), {.maxNodes = 1000}));
}

// Small files for what the shipped extracts do not have. Their middle is at 10 degrees east and 60 north, where a
// degree of longitude has half its length.
class OsmImportMade : public testing::Test
{
protected:
    // Four nodes around a place in metres, the first having the id.
    void AddCorners(std::int64_t id, double x, double y, double halfX, double halfY)
    {
        constexpr double kMetre = 1.0 / 111194.9266;
        const double signs[][2] = {{-1, -1}, {1, -1}, {1, 1}, {-1, 1}};
        for (const auto& sign : signs)
            osmium::builder::add_node(
                m_objects, _id(id++),
                _location(10.0 + (x + sign[0] * halfX) * kMetre * 2.0, 60.0 + (y + sign[1] * halfY) * kMetre));
    }
    void AddWay(std::int64_t id, const std::vector<std::int64_t>& nodes, const Values& tags = {})
    {
        osmium::builder::add_way(m_objects, _id(id), _nodes(nodes), _tags(tags));
    }

    bool Read()
    {
        const std::string path = m_folder.Path("made.osm.pbf");
        osmium::io::Header header;
        header.add_box(osmium::Box(9.98, 59.99, 10.02, 60.01));
        osmium::io::Writer writer(osmium::io::File(path, "pbf,pbf_compression=none"), header,
                                  osmium::io::overwrite::allow);
        for (const osmium::OSMObject& object : m_objects.select<osmium::OSMObject>())
            writer(object);
        writer.close();
        // The writer itself takes no text with a zero inside.
        std::string content = test::ReadFile(path);
        std::ranges::replace(content, '$', '\0');
        test::WriteFile(path, content);
        return ReadOsmTown(path, m_boxes, {}, &m_statistics);
    }

    osmium::memory::Buffer m_objects{4096};
    std::vector<TownBox> m_boxes;
    OsmImportStatistics m_statistics;

private:
    test::TemporaryFolder m_folder;
};

TEST_F(OsmImportMade, MetresNamesAndHeights)
{
    AddCorners(1, 100.0, -50.0, 20.0, 5.0);
    AddCorners(5, -100.0, 50.0, 5.0, 20.0);
    osmium::builder::add_node(m_objects, _id(9), _location(190.0, 0.0));
    AddWay(1, {1, 2, 3, 4, 1}, {{"building", "yes"}, {"name", "Good \xC3\xA9"}, {"height", "30"}});
    AddWay(2, {5, 6, 7, 8, 5}, {{"building", "yes"}, {"name", "Bad \xC3"}, {"height", "5000"}});
    // Nodes that are nowhere or missing, tags with a zero inside, a corner too few, a ring of no area.
    AddWay(3, {1, 9, 77, 2}, {{"highway", "residential"}});
    AddWay(4, {1, 2, 3, 4, 1}, {{"a$", "b"}, {"building", "yes"}});
    AddWay(5, {1, 2, 1}, {{"building", "yes"}});
    AddWay(6, {1, 2, 2, 1}, {{"building", "yes"}});
    ASSERT_TRUE(Read());

    ASSERT_EQ(m_boxes.size(), 3U);
    EXPECT_EQ(m_boxes[0].name, "Good \xC3\xA9");
    EXPECT_LT((m_boxes[0].centre - CVector3(100.0F, -50.0F, 15.0F)).Length(), 0.05F);
    EXPECT_LT((m_boxes[0].size - CVector3(40.0F, 10.0F, 30.0F)).Length(), 0.05F);
    EXPECT_EQ(m_boxes[1].name, "");
    EXPECT_NEAR(m_boxes[1].directionY, 1.0F, 1e-3F);
    EXPECT_EQ(m_boxes[2].kind, TownKind::Street);
    EXPECT_EQ(m_statistics.droppedNames, 1U);
    EXPECT_EQ(m_statistics.repairedHeights, 1U);
    EXPECT_GE(m_statistics.skipped, 2U);
}

TEST_F(OsmImportMade, MultipolygonIsJoinedOfItsWaysAndHasHoles)
{
    AddCorners(1, 0.0, 0.0, 200.0, 100.0);
    AddCorners(5, 50.0, 0.0, 40.0, 40.0);
    AddWay(1, {1, 2, 3});
    AddWay(2, {1, 4, 3}, {{"leisure", "park"}});
    AddWay(3, {5, 6, 7, 8, 5}, {{"natural", "water"}});
    const member_type members[] = {{osmium::item_type::way, 1, "outer"},
                                   {osmium::item_type::way, 2, "outer"},
                                   {osmium::item_type::way, 3, "inner"}};
    osmium::builder::add_relation(m_objects, _id(1), _members(std::begin(members), std::end(members)),
                                  _tags({{"type", "multipolygon"}, {"leisure", "park"}, {"name", "Green"}}));
    ASSERT_TRUE(Read());
    EXPECT_EQ(m_statistics.parks, 1U);
    EXPECT_EQ(m_statistics.waters, 1U);
    float area = 0.0F;
    for (const TownBox& box : m_boxes)
    {
        EXPECT_EQ(box.kind == TownKind::Park, box.name == "Green");
        area += box.kind == TownKind::Park ? box.size.x * box.size.y : 0.0F;
    }
    EXPECT_NEAR(area, 400.0F * 200.0F - 80.0F * 80.0F, 2500.0F);
}

TEST_F(OsmImportMade, WhatIsFarOutsideIsLeftOut)
{
    AddCorners(1, 5000.0, 0.0, 10.0, 10.0);
    AddWay(1, {1, 2, 3, 4, 1}, {{"building", "yes"}});
    {
        const test::ExpectLog log{"nothing of it lies in the area"};
        EXPECT_FALSE(Read());
    }
    AddCorners(5, 0.0, 0.0, 10.0, 10.0);
    AddWay(2, {5, 6, 7, 8, 5}, {{"building", "yes"}});
    EXPECT_TRUE(Read());
    EXPECT_EQ(m_boxes.size(), 1U);
    EXPECT_EQ(m_statistics.outside, 1U);
}
