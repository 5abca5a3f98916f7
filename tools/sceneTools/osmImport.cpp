#include "tools/sceneTools/osmImport.h"

#include "gameengine/engine/interfaceArrayManager.h"
#include "gameengine/engine/interfaceCollection.h"
#include "tamradeps/core/log.h"
#include "tools/sceneTools/osmExtract.h"
#include "tools/sceneTools/outline.h"

#include <algorithm>
#include <cmath>
#include <new>
#include <numbers>
#include <span>
#include <unordered_set>
#include <utility>

namespace
{
using outline::Point;
using outline::Rectangle;
using outline::Ring;

constexpr double kEarthRadius = 6371008.8;
// Farther from the origin a float has no centimetres left.
constexpr double kMaxDistance = 200000.0;
constexpr double kMaxAreaSide = 50000.0;
constexpr double kMinimumSide = 0.1;
// A small file can name the same long ways again and again: what is built of it is bounded by these, not by its size.
constexpr std::size_t kMaxBoxes = 5'000'000;
constexpr std::size_t kMaxMembers = 10'000; // of a relation
constexpr std::size_t kMaxRingPoints = 20'000'000;

constexpr double kBuildingFill = 0.0; // a building is one box, whatever its outline
constexpr double kAreaFill = 0.85;
constexpr double kMinimumSlice = 4.0;
constexpr double kCoastSlices = 200.0;

// Reading takes most of the time.
constexpr double kReadingShare = 0.7;

// Flat things are boxes too, low enough that what lies on top is seen.
struct Layer
{
    double base;
    double top;
};
constexpr Layer kWaterLayer = {-0.3, 0.02};
constexpr Layer kParkLayer = {0.0, 0.05};
constexpr Layer kStreetLayer = {0.0, 0.1};
constexpr Layer kPlaceLayer = {0.0, 0.5};

class CTownBuilder
{
public:
    CTownBuilder(const osm::Extract& extract, const OsmImportOptions& options, std::vector<TownBox>& boxes,
                 OsmImportStatistics& statistics)
        : m_extract(extract),
          m_options(options),
          m_boxes(boxes),
          m_statistics(statistics)
    {
        m_statistics.originLongitude = (extract.minLongitude + extract.maxLongitude) * 0.5;
        m_statistics.originLatitude = (extract.minLatitude + extract.maxLatitude) * 0.5;
        m_metresPerLatitude = kEarthRadius * std::numbers::pi / 180.0;
        m_metresPerLongitude = m_metresPerLatitude * std::cos(m_statistics.originLatitude * std::numbers::pi / 180.0);
        m_min = i_Project(extract.minLongitude, extract.minLatitude);
        m_max = i_Project(extract.maxLongitude, extract.maxLatitude);
        m_statistics.minX = static_cast<float>(m_min.x);
        m_statistics.minY = static_cast<float>(m_min.y);
        m_statistics.maxX = static_cast<float>(m_max.x);
        m_statistics.maxY = static_cast<float>(m_max.y);
        m_statistics.droppedNames = extract.droppedNames;
        m_statistics.skipped = extract.brokenNodes;
    }

    /// False when the extract gives too much.
    bool Build(const std::function<void(double)>& progress)
    {
        i_FindOutlinesOfRelations();
        std::size_t done = 0;
        for (const osm::Extract::Way& way : m_extract.ways)
        {
            if (way.feature >= 0)
                i_BuildWay(way, m_extract.features[static_cast<std::size_t>(way.feature)]);
            if (m_boxes.size() > kMaxBoxes || m_ringPoints > kMaxRingPoints)
                return false;
            if (progress && ++done % 1024 == 0)
                progress(static_cast<double>(done) / static_cast<double>(m_extract.ways.size()));
        }
        for (const osm::Extract::Relation& relation : m_extract.relations)
        {
            i_BuildRelation(relation, m_extract.features[static_cast<std::size_t>(relation.feature)]);
            if (m_boxes.size() > kMaxBoxes || m_ringPoints > kMaxRingPoints)
                return false;
        }
        if (m_options.importParksAndWater)
            i_BuildSea();
        if (m_options.importPlaces)
            i_BuildPlaces();
        return true;
    }

private:
    Point i_Project(double longitude, double latitude) const
    {
        return {(longitude - m_statistics.originLongitude) * m_metresPerLongitude,
                (latitude - m_statistics.originLatitude) * m_metresPerLatitude};
    }

    std::span<const std::int64_t> i_GetReferences(const osm::Extract::Way& way) const
    {
        return std::span(m_extract.references).subspan(way.firstReference, way.referenceCount);
    }

    // The places of the nodes that the extract has, in order.
    Ring i_GetPoints(std::span<const std::int64_t> references) const
    {
        Ring points;
        points.reserve(references.size());
        for (const std::int64_t id : references)
        {
            const auto node = std::lower_bound(m_extract.nodes.begin(), m_extract.nodes.end(), id,
                                               [](const auto& a, std::int64_t b) { return a.id < b; });
            if (node != m_extract.nodes.end() && node->id == id)
                points.push_back(i_Project(node->longitude, node->latitude));
        }
        return points;
    }

    void i_Add(TownKind kind, const std::string& name, const Rectangle& rectangle, Layer layer)
    {
        const auto isOutside = [](double value, double low, double high) { return !(value >= low && value <= high); };
        if (isOutside(rectangle.length, kMinimumSide, kMaxAreaSide) ||
            isOutside(rectangle.width, kMinimumSide, kMaxAreaSide))
        {
            ++m_statistics.skipped;
            return;
        }
        const double margin = m_options.margin;
        if (isOutside(rectangle.centre.x, std::max(m_min.x - margin, -kMaxDistance),
                      std::min(m_max.x + margin, kMaxDistance)) ||
            isOutside(rectangle.centre.y, std::max(m_min.y - margin, -kMaxDistance),
                      std::min(m_max.y + margin, kMaxDistance)))
        {
            ++m_statistics.outside;
            return;
        }
        TownBox& box = m_boxes.emplace_back();
        box.kind = kind;
        box.name = name;
        box.centre = {static_cast<float>(rectangle.centre.x), static_cast<float>(rectangle.centre.y),
                      static_cast<float>((layer.base + layer.top) * 0.5)};
        box.directionX = static_cast<float>(rectangle.directionX);
        box.directionY = static_cast<float>(rectangle.directionY);
        box.size = {static_cast<float>(rectangle.length), static_cast<float>(rectangle.width),
                    static_cast<float>(layer.top - layer.base)};
        ++m_statistics.boxes[static_cast<std::size_t>(kind)];
    }

    void i_BuildWay(const osm::Extract::Way& way, const osm::Feature& feature)
    {
        const bool wantsLine =
            feature.line.kind == TownKind::Street ? m_options.importStreets : m_options.importParksAndWater;
        if (feature.line.kind != TownKind::None && wantsLine)
            i_BuildLine(i_GetReferences(way), feature);
        if (feature.area != TownKind::None && !m_outlines[static_cast<std::size_t>(feature.area)].contains(way.id))
        {
            const Ring ring = i_GetPoints(i_GetReferences(way));
            i_BuildArea(std::span(&ring, 1), feature);
        }
    }

    void i_BuildLine(std::span<const std::int64_t> references, const osm::Feature& feature)
    {
        const bool isStreet = feature.line.kind == TownKind::Street;
        const std::size_t before = m_boxes.size();
        const Ring points = i_GetPoints(references);
        for (std::size_t i = 1; i < points.size(); ++i)
            i_Add(feature.line.kind, feature.name,
                  outline::GetSegmentRectangle(points[i - 1], points[i], feature.line.width),
                  isStreet ? kStreetLayer : kWaterLayer);
        if (m_boxes.size() > before)
            ++(isStreet ? m_statistics.streets : m_statistics.waters);
    }

    // The first ring is the outline, the others are holes in it.
    void i_BuildArea(std::span<const Ring> rings, const osm::Feature& feature)
    {
        const bool isBuilding = feature.area == TownKind::Building;
        if (!(isBuilding ? m_options.importBuildings : m_options.importParksAndWater))
            return;
        if (rings[0].size() < 3)
        {
            ++m_statistics.skipped;
            return;
        }
        const Layer layer = isBuilding ? Layer{feature.heights.base, feature.heights.top}
                                       : (feature.area == TownKind::Park ? kParkLayer : kWaterLayer);
        const std::size_t before = m_boxes.size();
        for (const Rectangle& rectangle : outline::GetRectangles(isBuilding ? rings.first(1) : rings,
                                                                 isBuilding ? kBuildingFill : kAreaFill, kMinimumSlice))
            i_Add(feature.area, feature.name, rectangle, layer);
        if (m_boxes.size() == before)
            return;
        switch (feature.area)
        {
        case TownKind::Building:
            ++m_statistics.buildings;
            m_statistics.buildingParts += feature.isPart ? 1 : 0;
            m_statistics.repairedHeights += feature.heights.repaired ? 1 : 0;
            break;
        case TownKind::Park: ++m_statistics.parks; break;
        default: ++m_statistics.waters; break;
        }
    }

    const osm::Extract::Way* i_FindWay(std::int64_t id)
    {
        if (m_waysById.empty())
        {
            for (const osm::Extract::Way& way : m_extract.ways)
                m_waysById.push_back(&way);
            std::stable_sort(m_waysById.begin(), m_waysById.end(), [](auto* a, auto* b) { return a->id < b->id; });
        }
        const auto found = std::lower_bound(m_waysById.begin(), m_waysById.end(), id,
                                            [](auto* a, std::int64_t b) { return a->id < b; });
        return found != m_waysById.end() && (*found)->id == id ? *found : nullptr;
    }

    std::span<const osm::Extract::Member> i_GetMembers(const osm::Extract::Relation& relation) const
    {
        return std::span(m_extract.members).subspan(relation.firstMember, relation.memberCount);
    }

    // Ways that repeat the tags of a relation whose outline they are would be built twice.
    void i_FindOutlinesOfRelations()
    {
        for (const osm::Extract::Relation& relation : m_extract.relations)
        {
            const TownKind kind = m_extract.features[static_cast<std::size_t>(relation.feature)].area;
            for (const osm::Extract::Member& member : i_GetMembers(relation))
            {
                if (!member.isInner)
                    m_outlines[static_cast<std::size_t>(kind)].insert(member.way);
            }
        }
    }

    // Joins the relation's ways end to end; what does not close is left out.
    std::vector<Ring> i_GetRings(const osm::Extract::Relation& relation, bool inner)
    {
        std::vector<std::vector<std::int64_t>> open;
        std::vector<Ring> rings;
        const auto close = [&](const std::vector<std::int64_t>& ring) { rings.push_back(i_GetPoints(ring)); };
        if (relation.memberCount > kMaxMembers)
            return rings;
        for (const osm::Extract::Member& member : i_GetMembers(relation))
        {
            const osm::Extract::Way* way = member.isInner == inner ? i_FindWay(member.way) : nullptr;
            if (!way)
                continue;
            const auto references = i_GetReferences(*way);
            m_ringPoints += references.size();
            if (m_ringPoints > kMaxRingPoints)
                return {};
            std::vector<std::int64_t> chain(references.begin(), references.end());
            while (chain.front() != chain.back() && i_TakeNeighbour(open, chain))
            {
            }
            if (chain.front() == chain.back())
                close(chain);
            else
                open.push_back(std::move(chain));
        }
        return rings;
    }

    // Appends an open chain that has an end in common.
    static bool i_TakeNeighbour(std::vector<std::vector<std::int64_t>>& open, std::vector<std::int64_t>& chain)
    {
        for (auto& other : open)
        {
            if (chain.front() == other.front() || chain.front() == other.back())
                std::reverse(chain.begin(), chain.end());
            if (chain.back() == other.back())
                std::reverse(other.begin(), other.end());
            if (chain.back() != other.front())
                continue;
            chain.insert(chain.end(), other.begin() + 1, other.end());
            std::swap(other, open.back());
            open.pop_back();
            return true;
        }
        return false;
    }

    void i_BuildRelation(const osm::Extract::Relation& relation, const osm::Feature& feature)
    {
        const std::vector<Ring> outer = i_GetRings(relation, false);
        const std::vector<Ring> inner = i_GetRings(relation, true);
        if (outer.empty())
            ++m_statistics.skipped;
        for (const Ring& outline : outer)
        {
            std::vector<Ring> rings = {outline};
            for (const Ring& hole : inner)
            {
                if (!hole.empty() && outline::IsInside(outline, hole.front()))
                    rings.push_back(hole);
            }
            i_BuildArea(rings, feature);
        }
    }

    // Coast lines have the land on their left. Cuts the extract into slices from west to east; where a coast line going
    // north crosses one, the water begins, where one going south crosses, it ends.
    void i_BuildSea()
    {
        std::vector<Ring> coasts;
        for (const osm::Extract::Way& way : m_extract.ways)
        {
            if (way.feature >= 0 && m_extract.features[static_cast<std::size_t>(way.feature)].isCoast)
                coasts.push_back(i_GetPoints(i_GetReferences(way)));
        }
        if (coasts.empty())
            return;
        const std::size_t before = m_boxes.size();
        const double step = (m_max.y - m_min.y) / kCoastSlices;
        for (double slice = 0.0; slice < kCoastSlices; slice += 1.0)
            i_BuildSeaSlice(coasts, m_min.y + step * (slice + 0.5), step);
        if (m_boxes.size() > before)
            ++m_statistics.waters;
    }

    void i_BuildSeaSlice(std::span<const Ring> coasts, double y, double height)
    {
        std::vector<std::pair<double, bool>> crossings; // x, and whether the line goes north
        for (const Ring& coast : coasts)
        {
            for (std::size_t i = 1; i < coast.size(); ++i)
            {
                const Point a = coast[i - 1];
                const Point b = coast[i];
                if ((a.y <= y) != (b.y <= y))
                    crossings.emplace_back(a.x + (b.x - a.x) * (y - a.y) / (b.y - a.y), b.y > a.y);
            }
        }
        std::sort(crossings.begin(), crossings.end());
        const auto add = [&](double from, double to)
        {
            from = std::clamp(from, m_min.x, m_max.x);
            to = std::clamp(to, m_min.x, m_max.x);
            if (to - from > kMinimumSide)
                i_Add(TownKind::Water, {}, outline::GetSegmentRectangle({from, y}, {to, y}, height), kWaterLayer);
        };
        for (std::size_t i = 0; i < crossings.size(); ++i)
        {
            const auto [x, north] = crossings[i];
            if (north)
                add(x, i + 1 < crossings.size() ? crossings[i + 1].first : m_max.x);
            else if (i == 0)
                add(m_min.x, x);
        }
    }

    void i_BuildPlaces()
    {
        for (const osm::Extract::Place& place : m_extract.places)
        {
            const std::size_t before = m_boxes.size();
            const Rectangle square{i_Project(place.longitude, place.latitude), 1.0, 0.0, place.size, place.size};
            i_Add(TownKind::Place, place.name, square, kPlaceLayer);
            m_statistics.places += m_boxes.size() - before;
        }
    }

    const osm::Extract& m_extract;
    const OsmImportOptions& m_options;
    std::vector<TownBox>& m_boxes;
    OsmImportStatistics& m_statistics;
    double m_metresPerLongitude = 0.0;
    double m_metresPerLatitude = 0.0;
    Point m_min;
    Point m_max;
    std::size_t m_ringPoints = 0; // of all relations
    std::vector<const osm::Extract::Way*> m_waysById;
    std::unordered_set<std::int64_t> m_outlines[kTownKindCount];
};

bool Fail(const std::string& path, const char* reason)
{
    tamra::log::Error(tamra::log::Quoted(path) + ": cannot be imported: " + reason);
    return false;
}

bool ReadBoxes(const std::string& path, const OsmImportOptions& options, const std::function<void(double)>& progress,
               std::vector<TownBox>& boxes, OsmImportStatistics& statistics)
{
    osm::Extract extract;
    const auto share = [&progress](double start, double part) -> std::function<void(double)>
    {
        if (!progress)
            return {};
        return [&progress, start, part](double done) { progress(start + done * part); };
    };
    if (!osm::ReadExtract(path, options.maxNodes, share(0.0, kReadingShare), extract))
        return false;
    CTownBuilder builder(extract, options, boxes, statistics);
    if (!builder.Build(share(kReadingShare, 1.0 - kReadingShare)))
        return Fail(path, "there is too much in it");
    if (boxes.empty())
        return Fail(path, "nothing of it lies in the area that it says it covers");
    statistics.entities = boxes.size();
    return true;
}
} // namespace

bool ReadOsmTown(const std::string& pbfPath, std::vector<TownBox>& boxes, const OsmImportOptions& options,
                 OsmImportStatistics* statistics, const std::function<void(double)>& progress)
{
    OsmImportStatistics result;
    boxes.clear();
    bool done = false;
    try
    {
        done = ReadBoxes(pbfPath, options, progress, boxes, result);
    }
    catch (const std::bad_alloc&)
    {
        Fail(pbfPath, "there is not enough memory");
    }
    if (!done)
    {
        boxes.clear();
        result = {};
    }
    if (statistics)
        *statistics = result;
    return done;
}

bool ImportOsm(const std::string& pbfPath, CInterfaceCollection* scene, const OsmImportOptions& options,
               OsmImportStatistics* statistics, const std::function<void(double)>& progress)
{
    if (statistics)
        *statistics = {};
    CInterfaceArrayManager* manager = scene ? scene->GetArrayManager() : nullptr;
    if (!manager)
        return false;
    std::vector<TownBox> boxes;
    if (!ReadOsmTown(pbfPath, boxes, options, statistics, progress))
        return false;
    for (const TownBox& box : boxes)
        manager->AddEntity(CreateTownEntity(box, scene).Get());
    return true;
}
