#include "tools/sceneTools/osmExtract.h"

#include "tamradeps/core/log.h"
#include "tamradeps/core/tools.h"
#include "tamradeps/io/utf8Path.h"

#include <algorithm>
#include <cstring>
#include <exception>
#include <filesystem>
#include <stdexcept>
#include <string_view>
#include <system_error>
#include <utility>

#include <osmium/io/pbf_input.hpp>
#include <osmium/osm.hpp>

namespace osm
{
namespace
{
// OpenStreetMap itself allows 255 characters.
constexpr std::size_t kMaxNameLength = 1020;

bool Fail(const std::string& path, std::string_view reason)
{
    tamra::log::Error(tamra::log::Quoted(path) + ": cannot be imported: " + tamra::log::Quoted(reason));
    return false;
}

// The tags of an object. The reader's own look-up runs out of the object where a text of the file has a zero inside;
// here the tags behind it may be lost.
class CTagList
{
public:
    explicit CTagList(const osmium::TagList& tags)
    {
        const auto* text = reinterpret_cast<const char*>(tags.data() + sizeof(osmium::TagList));
        const auto* end = reinterpret_cast<const char*>(tags.data() + tags.byte_size());
        while (const char* value = i_GetNext(text, end))
        {
            const char* next = i_GetNext(value, end);
            if (!next)
                break;
            m_tags.emplace_back(text, value);
            text = next;
        }
    }

    bool IsEmpty() const noexcept { return m_tags.empty(); }

    /// Valid as long as the object. Null when there is none.
    const char* Find(const char* key) const
    {
        for (const auto& [name, value] : m_tags)
        {
            if (std::strcmp(name, key) == 0)
                return value;
        }
        return nullptr;
    }

private:
    // Behind the zero that ends the text; null without one.
    static const char* i_GetNext(const char* text, const char* end)
    {
        const void* zero = text < end ? std::memchr(text, 0, static_cast<std::size_t>(end - text)) : nullptr;
        return zero ? static_cast<const char*>(zero) + 1 : nullptr;
    }

    std::vector<std::pair<const char*, const char*>> m_tags;
};

// Sorts what the reader delivers into the extract. Throws when there is too much of it.
class Collector
{
public:
    Collector(Extract& extract, std::size_t maxNodes) : m_extract(extract), m_maxNodes(maxNodes) {}

    void Add(const osmium::OSMObject& object)
    {
        switch (object.type())
        {
        case osmium::item_type::node: i_AddNode(static_cast<const osmium::Node&>(object)); break;
        case osmium::item_type::way: i_AddWay(static_cast<const osmium::Way&>(object)); break;
        case osmium::item_type::relation: i_AddRelation(static_cast<const osmium::Relation&>(object)); break;
        default: break;
        }
    }

private:
    std::string i_GetName(const CTagList& tags)
    {
        const char* name = tags.Find("name");
        const std::string_view text = name ? Tools_StringTrim(name) : std::string_view();
        if (text.size() <= kMaxNameLength && Tools_IsValidUtf8(text))
            return std::string(text);
        ++m_extract.droppedNames;
        return {};
    }

    std::int32_t i_AddFeature(const CTagList& list, bool isClosed)
    {
        if (list.IsEmpty())
            return -1;
        const Tags tags = [&list](const char* key) { return list.Find(key); };
        Feature feature;
        feature.line = GetLine(tags);
        if (isClosed)
            feature.area = GetAreaKind(tags);
        const char* natural = tags("natural");
        feature.isCoast = natural && std::strcmp(natural, "coastline") == 0;
        if (!feature.IsAnything())
            return -1;
        if (feature.area == TownKind::Building)
        {
            feature.heights = GetHeights(tags);
            feature.isPart = !tags("building");
        }
        feature.name = i_GetName(list);
        m_extract.features.push_back(std::move(feature));
        return static_cast<std::int32_t>(m_extract.features.size()) - 1;
    }

    void i_AddNode(const osmium::Node& node)
    {
        if (m_extract.nodes.size() >= m_maxNodes)
            throw std::length_error("too many nodes");
        const osmium::Location location = node.location();
        if (!location.valid())
        {
            ++m_extract.brokenNodes;
            return;
        }
        m_extract.nodes.push_back({node.id(), location.lon(), location.lat()});
        const CTagList tags(node.tags());
        const char* place = tags.Find("place");
        const double size = place ? GetPlaceSize(place) : 0.0;
        if (size <= 0.0)
            return;
        std::string name = i_GetName(tags);
        if (!name.empty())
            m_extract.places.push_back({location.lon(), location.lat(), size, std::move(name)});
    }

    void i_AddWay(const osmium::Way& way)
    {
        const std::size_t count = way.nodes().size();
        if (m_extract.references.size() + count > 2 * m_maxNodes || m_extract.ways.size() >= m_maxNodes)
            throw std::length_error("too many ways");
        if (count < 2)
            return;
        const bool isClosed = count > 3 && way.ends_have_same_id();
        m_extract.ways.push_back(
            {way.id(), m_extract.references.size(), count, i_AddFeature(CTagList(way.tags()), isClosed)});
        for (const osmium::NodeRef& reference : way.nodes())
            m_extract.references.push_back(reference.ref());
    }

    void i_AddRelation(const osmium::Relation& relation)
    {
        const CTagList tags(relation.tags());
        const char* type = tags.Find("type");
        if (!type || std::strcmp(type, "multipolygon") != 0)
            return;
        const std::int32_t feature = i_AddFeature(tags, true);
        if (feature < 0)
            return;
        const std::size_t first = m_extract.members.size();
        for (const osmium::RelationMember& member : relation.members())
        {
            if (m_extract.members.size() >= m_maxNodes)
                throw std::length_error("too many relations");
            if (member.type() == osmium::item_type::way)
                m_extract.members.push_back({member.ref(), std::strcmp(member.role(), "inner") == 0});
        }
        m_extract.relations.push_back({first, m_extract.members.size() - first, feature});
    }

    Extract& m_extract;
    std::size_t m_maxNodes;
};

void SetBounds(const osmium::Box& box, Extract& extract)
{
    if (box.valid() && box.bottom_left().lon() < box.top_right().lon() &&
        box.bottom_left().lat() < box.top_right().lat())
    {
        extract.minLongitude = box.bottom_left().lon();
        extract.minLatitude = box.bottom_left().lat();
        extract.maxLongitude = box.top_right().lon();
        extract.maxLatitude = box.top_right().lat();
        return;
    }
    if (extract.nodes.empty())
        return;
    const auto [west, east] =
        std::minmax_element(extract.nodes.begin(), extract.nodes.end(),
                            [](const auto& a, const auto& b) { return a.longitude < b.longitude; });
    const auto [south, north] =
        std::minmax_element(extract.nodes.begin(), extract.nodes.end(),
                            [](const auto& a, const auto& b) { return a.latitude < b.latitude; });
    extract.minLongitude = west->longitude;
    extract.minLatitude = south->latitude;
    extract.maxLongitude = east->longitude;
    extract.maxLatitude = north->latitude;
}

void Read(const std::string& path, std::size_t maxNodes, const std::function<void(double)>& progress, Extract& extract)
{
    osmium::io::Reader reader(osmium::io::File(path, "pbf"), osmium::io::read_meta::no);
    const osmium::Box box = reader.header().box();
    Collector collector(extract, maxNodes);
    while (const osmium::memory::Buffer buffer = reader.read())
    {
        for (const osmium::OSMObject& object : buffer.select<osmium::OSMObject>())
            collector.Add(object);
        if (progress && reader.file_size() > 0)
            progress(static_cast<double>(reader.offset()) / static_cast<double>(reader.file_size()));
    }
    reader.close();

    // Files are sorted as a rule, but need not be. Of nodes with the same id the first one counts.
    std::stable_sort(extract.nodes.begin(), extract.nodes.end(),
                     [](const Extract::Node& a, const Extract::Node& b) { return a.id < b.id; });
    SetBounds(box, extract);
}
} // namespace

bool ReadExtract(const std::string& path, std::size_t maxNodes, const std::function<void(double)>& progress,
                 Extract& extract)
{
    std::error_code error;
    const auto status = std::filesystem::status(tamra::ToPath(path), error);
    if (!std::filesystem::exists(status))
        return Fail(path, "there is no such file");
    if (!std::filesystem::is_regular_file(status))
        return Fail(path, "it is not a file");
    try
    {
        Read(path, maxNodes, progress, extract);
    }
    catch (const std::exception& exception)
    {
        extract = {};
        return Fail(path, exception.what());
    }
    if (extract.features.empty() && extract.places.empty())
        return Fail(path, "it has nothing that a town is made of, or is cut");
    return true;
}
} // namespace osm
