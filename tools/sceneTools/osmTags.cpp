#include "tools/sceneTools/osmTags.h"

#include "tamradeps/core/tools.h"

#include <algorithm>
#include <charconv>
#include <span>

namespace osm
{
namespace
{
constexpr double kMetresPerFoot = 0.3048;
constexpr double kMetresPerInch = 0.0254;
constexpr double kMetresPerLevel = 3.0;
constexpr double kMaxHeight = 1000.0;
constexpr double kMaxStreetWidth = 100.0;
// Of a building part under a roof or bridge whose own end is unknown.
constexpr double kMinimumBuildingHeight = 0.5;

struct Measure
{
    std::string_view value;
    double metres;
};

constexpr Measure kBuildingHeights[] = {
    {"apartments", 15.0}, {"barn", 7.0},           {"cabin", 3.0},          {"cathedral", 30.0},
    {"chapel", 8.0},      {"church", 16.0},        {"civic", 12.0},         {"commercial", 12.0},
    {"farm", 8.0},        {"farm_auxiliary", 5.0}, {"garage", 3.0},         {"garages", 3.0},
    {"greenhouse", 3.0},  {"hospital", 15.0},      {"hotel", 15.0},         {"house", 7.0},
    {"hut", 3.0},         {"industrial", 10.0},    {"kiosk", 3.0},          {"office", 15.0},
    {"public", 12.0},     {"retail", 8.0},         {"roof", 4.0},           {"school", 10.0},
    {"shed", 3.0},        {"stable", 4.0},         {"train_station", 10.0}, {"university", 15.0},
    {"warehouse", 9.0}};
constexpr double kOtherBuildingHeight = 7.0;

constexpr Measure kStreetWidths[] = {
    {"motorway", 20.0}, {"motorway_link", 8.0}, {"trunk", 16.0},       {"trunk_link", 7.0},
    {"primary", 12.0},  {"primary_link", 6.0},  {"secondary", 10.0},   {"secondary_link", 6.0},
    {"tertiary", 8.0},  {"tertiary_link", 5.0}, {"unclassified", 7.0}, {"residential", 7.0},
    {"road", 6.0},      {"living_street", 6.0}, {"pedestrian", 6.0},   {"service", 4.5},
    {"track", 3.0},     {"busway", 6.0},        {"cycleway", 2.5},     {"footway", 2.0},
    {"path", 1.5},      {"steps", 2.0},         {"bridleway", 2.0}};

constexpr Measure kWaterWidths[] = {{"river", 14.0}, {"canal", 7.0}, {"stream", 2.5}, {"drain", 2.0}, {"ditch", 1.5}};

constexpr Measure kPlaceSizes[] = {
    {"city", 80.0},          {"town", 60.0},    {"borough", 50.0}, {"suburb", 40.0}, {"quarter", 30.0},
    {"neighbourhood", 25.0}, {"village", 40.0}, {"hamlet", 25.0},  {"square", 15.0}, {"isolated_dwelling", 15.0},
    {"farm", 15.0},          {"locality", 10.0}};

constexpr std::string_view kParkLeisure[] = {
    "park", "garden", "pitch", "playground", "golf_course", "common", "recreation_ground", "dog_park", "track"};
constexpr std::string_view kParkLanduse[] = {
    "forest",     "grass",    "meadow",  "cemetery",  "village_green", "recreation_ground",
    "allotments", "vineyard", "orchard", "greenfield"};
constexpr std::string_view kParkNatural[] = {"wood", "scrub", "grassland", "heath"};
constexpr std::string_view kWaterAreas[] = {"riverbank", "dock", "basin", "reservoir", "water", "swimming_pool"};

const Measure* Find(std::span<const Measure> measures, std::string_view value)
{
    const auto found = std::find_if(measures.begin(), measures.end(),
                                    [value](const Measure& measure) { return measure.value == value; });
    return found != measures.end() ? &*found : nullptr;
}

std::string_view Get(const Tags& tags, const char* key)
{
    const char* value = tags(key);
    return value ? std::string_view(value) : std::string_view();
}

bool IsOneOf(std::string_view value, std::span<const std::string_view> values)
{
    return std::find(values.begin(), values.end(), value) != values.end();
}

std::optional<double> GetLength(const Tags& tags, const char* key)
{
    return ParseLength(Get(tags, key));
}

// Takes a decimal number off the front.
std::optional<double> TakeNumber(std::string_view& text)
{
    if (text.empty() || ((text[0] < '0' || text[0] > '9') && text[0] != '.'))
        return {};
    double value = 0.0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value, std::chars_format::fixed);
    if (error != std::errc())
        return {};
    text.remove_prefix(static_cast<std::size_t>(end - text.data()));
    text = Tools_StringTrim(text);
    return value;
}

std::optional<double> GetLevels(const Tags& tags, const char* key)
{
    std::string_view text = Tools_StringTrim(Get(tags, key));
    const std::optional<double> levels = TakeNumber(text);
    return levels && text.empty() ? std::optional(*levels * kMetresPerLevel) : std::nullopt;
}
} // namespace

std::optional<double> ParseLength(std::string_view text)
{
    text = Tools_StringTrim(text);
    const std::optional<double> value = TakeNumber(text);
    if (!value)
        return {};
    if (text.empty() || text == "m" || text == "meter" || text == "meters" || text == "metre" || text == "metres")
        return value;
    if (text == "ft" || text == "feet" || text == "foot")
        return *value * kMetresPerFoot;
    if (text == "\"")
        return *value * kMetresPerInch;
    if (text[0] != '\'')
        return {};
    text = Tools_StringTrim(text.substr(1));
    if (text.empty())
        return *value * kMetresPerFoot;
    const std::optional<double> inches = TakeNumber(text);
    return inches && text == "\"" ? std::optional(*value * kMetresPerFoot + *inches * kMetresPerInch) : std::nullopt;
}

Heights GetHeights(const Tags& tags)
{
    Heights heights;
    if (const auto base = GetLength(tags, "min_height"))
        heights.base = *base;
    else if (const auto levels = GetLevels(tags, "building:min_level"))
        heights.base = *levels;

    if (const auto top = GetLength(tags, "height"))
        heights.top = *top;
    else if (const auto levels = GetLevels(tags, "building:levels"))
        heights.top = *levels;
    else
    {
        const Measure* measure = Find(kBuildingHeights, Get(tags, "building"));
        heights.top = heights.base + (measure ? measure->metres : kOtherBuildingHeight);
    }

    const Heights tagged = heights;
    heights.top = std::clamp(heights.top, kMinimumBuildingHeight, kMaxHeight);
    if (heights.base > heights.top - kMinimumBuildingHeight)
        heights.base = 0.0;
    heights.repaired = heights.top != tagged.top || heights.base != tagged.base;
    return heights;
}

TownKind GetAreaKind(const Tags& tags)
{
    for (const char* key : {"building", "building:part"})
    {
        const std::string_view building = Get(tags, key);
        if (!building.empty() && building != "no" && Get(tags, "location") != "underground")
            return TownKind::Building;
    }
    for (const char* key : {"natural", "waterway", "landuse", "leisure"})
    {
        if (IsOneOf(Get(tags, key), kWaterAreas))
            return TownKind::Water;
    }
    if (IsOneOf(Get(tags, "leisure"), kParkLeisure) || IsOneOf(Get(tags, "landuse"), kParkLanduse) ||
        IsOneOf(Get(tags, "natural"), kParkNatural))
        return TownKind::Park;
    return TownKind::None;
}

Line GetLine(const Tags& tags)
{
    const std::string_view tunnel = Get(tags, "tunnel");
    if ((!tunnel.empty() && tunnel != "no") || Get(tags, "area") == "yes")
        return {};
    Line line;
    if (const Measure* street = Find(kStreetWidths, Get(tags, "highway")))
        line = {TownKind::Street, street->metres};
    else if (const Measure* water = Find(kWaterWidths, Get(tags, "waterway")))
        line = {TownKind::Water, water->metres};
    else
        return {};
    if (const auto width = GetLength(tags, "width"); width && *width >= 0.5 && *width <= kMaxStreetWidth)
        line.width = *width;
    return line;
}

double GetPlaceSize(std::string_view place)
{
    const Measure* measure = Find(kPlaceSizes, place);
    return measure ? measure->metres : 0.0;
}
} // namespace osm
