#include "tools/sceneTools/osmImport.h"

#include "gameengine/engine/componentEditorData.h"
#include "gameengine/engine/componentTransform.h"
#include "gameengine/engine/scene.h"
#include "support/expectations.h"
#include "tests/tools/pbfBuilder.h"
#include "tests/tools/townFixture.h"
#include "tools/sceneTools/osmTags.h"

#include <algorithm>
#include <cmath>
#include <map>

#include <gtest/gtest.h>

namespace
{
osm::Tags MakeTags(const std::map<std::string, std::string>& values)
{
    return [values](const char* key) -> const char*
    {
        const auto found = values.find(key);
        return found != values.end() ? found->second.c_str() : nullptr;
    };
}

const TownBox* FindByName(const std::vector<TownBox>& boxes, const std::string& name)
{
    const auto found = std::find_if(boxes.begin(), boxes.end(), [&](const TownBox& box) { return box.name == name; });
    return found != boxes.end() ? &*found : nullptr;
}

bool IsSame(const TownBox& a, const TownBox& b)
{
    return a.kind == b.kind && a.name == b.name && a.GetMatrix() == b.GetMatrix();
}
} // namespace

TEST(OsmTags, LengthsAreReadWithTheirUnits)
{
    const std::map<std::string, double> good = {{"12", 12.0},      {"12.5 m", 12.5},    {" 7m ", 7.0},
                                                {"40'", 12.192},   {"40'6\"", 12.3444}, {"40' 6\"", 12.3444},
                                                {"40 ft", 12.192}, {"0", 0.0},          {".5", 0.5},
                                                {"18\"", 0.4572},  {"3 metres", 3.0},   {"1000000", 1000000.0}};
    for (const auto& [text, metres] : good)
    {
        const auto length = osm::ParseLength(text);
        ASSERT_TRUE(length) << text;
        EXPECT_NEAR(*length, metres, 1e-9) << text;
    }
    for (const char* text : {"", " ", "m", "-3", "+3", "1e3", "nan", "inf", "12 km", "12;13", "~12", "40'6", "40'x\"",
                             "12 m m", "1.2.3", "0x10"})
        EXPECT_FALSE(osm::ParseLength(text)) << text;
    EXPECT_FALSE(osm::ParseLength(std::string(5000, '9')));
}

TEST(OsmTags, HeightsComeFromTheBestTag)
{
    struct Case
    {
        std::map<std::string, std::string> tags;
        double base;
        double top;
        bool repaired;
    };
    const Case cases[] = {
        {{{"building", "yes"}, {"height", "21.5"}, {"building:levels", "3"}}, 0.0, 21.5, false},
        {{{"building", "yes"}, {"height", "tall"}, {"building:levels", "3"}}, 0.0, 9.0, false},
        {{{"building", "church"}}, 0.0, 16.0, false},
        {{{"building", "garage"}, {"building:levels", "none"}}, 0.0, 3.0, false},
        {{{"building:part", "yes"}, {"height", "37.2"}, {"min_height", "30"}}, 30.0, 37.2, false},
        {{{"building:part", "yes"}, {"building:levels", "9"}, {"building:min_level", "7"}}, 21.0, 27.0, false},
        {{{"building", "roof"}, {"min_height", "6"}}, 6.0, 10.0, false},
        {{{"building", "yes"}, {"height", "99999"}}, 0.0, 1000.0, true},
        {{{"building", "yes"}, {"height", "0"}}, 0.0, 0.5, true},
        {{{"building", "yes"}, {"height", "10"}, {"min_height", "12"}}, 0.0, 10.0, true},
    };
    for (const Case& c : cases)
    {
        SCOPED_TRACE(testing::PrintToString(c.tags));
        const osm::Heights heights = osm::GetHeights(MakeTags(c.tags));
        EXPECT_DOUBLE_EQ(heights.base, c.base);
        EXPECT_DOUBLE_EQ(heights.top, c.top);
        EXPECT_EQ(heights.repaired, c.repaired);
    }
}

TEST(OsmTags, KindsOfWays)
{
    using Values = std::map<std::string, std::string>;
    const auto area = [](const Values& tags) { return osm::GetAreaKind(MakeTags(tags)); };
    EXPECT_EQ(area({{"building", "no"}}), TownKind::None);
    EXPECT_EQ(area({{"building", "yes"}, {"location", "underground"}}), TownKind::None);
    EXPECT_EQ(area({{"building:part", "yes"}}), TownKind::Building);
    EXPECT_EQ(area({{"natural", "water"}, {"leisure", "park"}}), TownKind::Water);
    EXPECT_EQ(area({{"waterway", "river"}}), TownKind::None);

    const auto line = [](const Values& tags) { return osm::GetLine(MakeTags(tags)); };
    EXPECT_EQ(line({{"highway", "residential"}, {"tunnel", "yes"}}).kind, TownKind::None);
    EXPECT_EQ(line({{"highway", "pedestrian"}, {"area", "yes"}}).kind, TownKind::None);
    EXPECT_EQ(line({{"highway", "construction"}}).kind, TownKind::None);
    EXPECT_EQ(line({{"highway", "track"}, {"width", "99999"}}).width, 3.0);
    EXPECT_EQ(line({{"waterway", "canal"}, {"width", "3"}}).width, 3.0);
    EXPECT_EQ(line({{"waterway", "canal"}, {"width", "3"}}).kind, TownKind::Water);
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
    EXPECT_NEAR(size.x, 8.0F, 1e-4F);
    EXPECT_NEAR(size.y, 8.8F, 1e-4F);
    EXPECT_NEAR(size.z, 12.0F, 1e-4F);

    const float point[6] = {};
    transform->SetUntransformedBoundingBox(point);
    PrepareTownEntity(*entity);
    EXPECT_EQ(transform->GetBoundingBox().GetSize(), size);

    EXPECT_EQ(GetTownKind(std::string_view("buildings")), TownKind::None);
    EXPECT_EQ(GetTownKind(std::string_view("")), TownKind::None);
    EXPECT_EQ(GetTownKind(std::string_view("water")), TownKind::Water);
    entity->Find<ComponentEditorData>()->SetData("lamp 7");
    transform->SetUntransformedBoundingBox(point);
    PrepareTownEntity(*entity);
    EXPECT_EQ(transform->GetBoundingBox().GetSize(), CVector3());
    EXPECT_EQ(GetTownName(*entity), "");
}

TEST(OsmImport, ManhattanIsWhereAndAsLargeAsItShouldBe)
{
    CScene scene;
    OsmImportStatistics statistics;
    double last = 0.0;
    const auto progress = [&last](double done)
    {
        EXPECT_GE(done, last);
        EXPECT_LE(done, 1.0);
        last = done;
    };
    ASSERT_TRUE(ImportOsm(test::GetExtract("manhattan"), scene.GetInterfaces(), {}, &statistics, progress));
    EXPECT_GT(last, 0.5);
    EXPECT_NEAR(static_cast<double>(statistics.buildings), 1567.0, 10.0);
    EXPECT_EQ(statistics.buildingParts, 43U);
    EXPECT_EQ(statistics.boxes[static_cast<std::size_t>(TownKind::Building)], statistics.buildings);
    EXPECT_EQ(statistics.entities, static_cast<std::size_t>(scene.GetArray().GetCount()));
    EXPECT_NEAR(statistics.maxX - statistics.minX, 1188.0F, 5.0F);
    EXPECT_NEAR(statistics.maxY - statistics.minY, 742.0F, 5.0F);

    std::size_t kinds[kTownKindCount] = {};
    for (int i = 0; i < scene.GetArray().GetCount(); ++i)
    {
        const CEntity& entity = *scene.GetArray().Get(i);
        ++kinds[static_cast<std::size_t>(GetTownKind(entity))];
        const collision::PrimAABB& box = entity.Find<ComponentTransform>()->GetBoundingBox();
        EXPECT_GT(box.GetMin().x, -2000.0F);
        EXPECT_LT(box.GetMax().y, 2000.0F);
        EXPECT_LT(box.GetMax().z, 200.0F);
    }
    EXPECT_TRUE(std::equal(std::begin(kinds), std::end(kinds), std::begin(statistics.boxes)));
}

TEST(OsmImport, KnownObjectsStandInTheirPlace)
{
    std::vector<TownBox> boxes;
    OsmImportStatistics statistics;
    ASSERT_TRUE(ReadOsmTown(test::GetExtract("manhattan"), boxes, {}, &statistics));

    const TownBox* centre = FindByName(boxes, "NYC LGBT Community Center");
    ASSERT_TRUE(centre);
    EXPECT_EQ(centre->kind, TownKind::Building);
    EXPECT_NEAR(centre->size.z, 18.6F, 1e-4F);
    EXPECT_NEAR(centre->centre.z, 9.3F, 1e-4F);
    // 208 West 13th Street.
    const double latitude = statistics.originLatitude + static_cast<double>(centre->centre.y) / 111195.0;
    const double longitude = statistics.originLongitude + static_cast<double>(centre->centre.x) / (111195.0 * 0.7577);
    EXPECT_NEAR(latitude, 40.7381, 0.0004);
    EXPECT_NEAR(longitude, -74.0010, 0.0006);

    // The outline of a multipolygon, whose tags are those of the relation.
    const TownBox* jane = FindByName(boxes, "The Jane");
    ASSERT_TRUE(jane);
    EXPECT_NEAR(jane->size.z, 24.0F, 1e-4F);

    const TownBox* street = FindByName(boxes, "Bleecker Street");
    ASSERT_TRUE(street);
    EXPECT_EQ(street->kind, TownKind::Street);
    EXPECT_EQ(street->size.y, 7.0F);

    // The Hudson is west of the coast.
    const bool hasRiver = std::any_of(
        boxes.begin(), boxes.end(),
        [&](const TownBox& box) { return box.kind == TownKind::Water && box.centre.x < statistics.minX + 250.0F; });
    EXPECT_TRUE(hasRiver);
}

TEST(OsmImport, OptionsChooseAndTheResultIsTheSameEachTime)
{
    std::vector<TownBox> first;
    std::vector<TownBox> second;
    OsmImportStatistics statistics;
    ASSERT_TRUE(ReadOsmTown(test::GetExtract("liechtenstein"), first, {}, &statistics));
    ASSERT_TRUE(ReadOsmTown(test::GetExtract("liechtenstein"), second));
    EXPECT_TRUE(std::equal(first.begin(), first.end(), second.begin(), second.end(), IsSame));
    EXPECT_NEAR(static_cast<double>(statistics.buildings), 3723.0, 20.0);
    EXPECT_NEAR(static_cast<double>(statistics.streets), 2745.0, 20.0);
    const TownBox* vaduz = FindByName(first, "Vaduz");
    ASSERT_TRUE(vaduz);
    EXPECT_EQ(vaduz->kind, TownKind::Place);

    OsmImportOptions options;
    options.importStreets = false;
    options.importParksAndWater = false;
    options.importPlaces = false;
    ASSERT_TRUE(ReadOsmTown(test::GetExtract("liechtenstein"), second, options));
    EXPECT_EQ(second.size(), statistics.boxes[static_cast<std::size_t>(TownKind::Building)]);
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
    for (const std::size_t size : {std::size_t{0}, std::size_t{3}, std::size_t{40}, std::size_t{1000},
                                   std::size_t{30000}, std::size_t{90000}, whole.size() - 1})
    {
        const std::string path = folder.Path("cut" + std::to_string(size) + ".osm.pbf");
        test::WriteFile(path, whole.substr(0, size));
        expectRefused(path, "cannot be imported");
    }
    std::string broken = whole;
    std::fill(broken.begin() + 60000, broken.begin() + 60200, '\x5A');
    test::WriteFile(folder.Path("broken.osm.pbf"), broken);
    expectRefused(folder.Path("broken.osm.pbf"), "cannot be imported");
    test::WriteFile(folder.Path("text.osm.pbf"), "<osm>not a PBF</osm>\n");
    expectRefused(folder.Path("text.osm.pbf"), "cannot be imported");
    expectRefused(folder.Path("missing.osm.pbf"), "no such file");
    expectRefused(folder.Path(""), "not a file");

    OsmImportOptions options;
    options.maxNodes = 1000;
    const test::ExpectLog log{"too many nodes"};
    EXPECT_FALSE(ImportOsm(test::GetExtract("manhattan"), scene.GetInterfaces(), options));
}

// The middle of the extract is at 10 degrees east and 60 north, where a degree of longitude has half its length.
class OsmImportMade : public testing::Test
{
protected:
    static constexpr double kMetre = 1.0 / 111194.9266;

    // Four nodes around a place in metres, the first having the id.
    void AddCorners(std::int64_t id, double x, double y, double halfX, double halfY)
    {
        const double signs[][2] = {{-1, -1}, {1, -1}, {1, 1}, {-1, 1}};
        for (const auto& sign : signs)
            m_file.AddNode(id++, 10.0 + (x + sign[0] * halfX) * kMetre * 2.0, 60.0 + (y + sign[1] * halfY) * kMetre);
    }

    bool Read()
    {
        test::WriteFile(m_folder.Path("made.osm.pbf"), m_file.GetFile());
        return ReadOsmTown(m_folder.Path("made.osm.pbf"), m_boxes, {}, &m_statistics);
    }

    test::CPbfBuilder m_file{9.98, 59.99, 10.02, 60.01};
    std::vector<TownBox> m_boxes;
    OsmImportStatistics m_statistics;

private:
    test::TemporaryFolder m_folder;
};

TEST_F(OsmImportMade, MetresNamesAndHeights)
{
    AddCorners(1, 100.0, -50.0, 20.0, 5.0);
    AddCorners(5, -100.0, 50.0, 5.0, 20.0);
    m_file.AddNode(9, 190.0, 0.0);
    m_file.AddWay(1, {1, 2, 3, 4, 1}, {{"building", "yes"}, {"name", "Good \xC3\xA9"}, {"height", "30"}});
    m_file.AddWay(2, {5, 6, 7, 8, 5}, {{"building", "yes"}, {"name", "Bad \xC3"}, {"height", "5000"}});
    // Nodes that are nowhere or missing, tags with a zero inside, a corner too few, a ring of no area.
    m_file.AddWay(3, {1, 9, 77, 2}, {{"highway", "residential"}});
    m_file.AddWay(4, {1, 2, 3, 4, 1}, {{std::string("a\0", 2), "b"}, {"building", "yes"}});
    m_file.AddWay(5, {1, 2, 1}, {{"building", "yes"}});
    m_file.AddWay(6, {1, 2, 2, 1}, {{"building", "yes"}});
    ASSERT_TRUE(Read());

    ASSERT_EQ(m_boxes.size(), 3U);
    EXPECT_EQ(m_boxes[0].name, "Good \xC3\xA9");
    EXPECT_NEAR(m_boxes[0].centre.x, 100.0F, 0.05F);
    EXPECT_NEAR(m_boxes[0].centre.y, -50.0F, 0.05F);
    EXPECT_EQ(m_boxes[0].centre.z, 15.0F);
    EXPECT_NEAR(m_boxes[0].size.x, 40.0F, 0.05F);
    EXPECT_NEAR(m_boxes[0].size.y, 10.0F, 0.05F);
    EXPECT_EQ(m_boxes[1].name, "");
    EXPECT_EQ(m_boxes[1].size.z, 1000.0F);
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
    m_file.AddWay(1, {1, 2, 3});
    m_file.AddWay(2, {1, 4, 3}, {{"leisure", "park"}});
    m_file.AddWay(3, {5, 6, 7, 8, 5}, {{"natural", "water"}});
    m_file.AddRelation({1, 2}, {3}, {{"leisure", "park"}, {"name", "Green"}});
    ASSERT_TRUE(Read());
    EXPECT_EQ(m_statistics.parks, 1U);
    EXPECT_EQ(m_statistics.waters, 1U);
    double area = 0.0;
    for (const TownBox& box : m_boxes)
    {
        if (box.kind != TownKind::Park)
            continue;
        EXPECT_EQ(box.name, "Green");
        area += static_cast<double>(box.size.x * box.size.y);
    }
    EXPECT_NEAR(area, 400.0 * 200.0 - 80.0 * 80.0, 2500.0);
}

TEST_F(OsmImportMade, WhatIsFarOutsideIsLeftOut)
{
    AddCorners(1, 5000.0, 0.0, 10.0, 10.0);
    m_file.AddWay(1, {1, 2, 3, 4, 1}, {{"building", "yes"}});
    {
        const test::ExpectLog log{"nothing of it lies in the area"};
        EXPECT_FALSE(Read());
    }
    AddCorners(5, 0.0, 0.0, 10.0, 10.0);
    m_file.AddWay(2, {5, 6, 7, 8, 5}, {{"building", "yes"}});
    EXPECT_TRUE(Read());
    EXPECT_EQ(m_boxes.size(), 1U);
    EXPECT_EQ(m_statistics.outside, 1U);
}
