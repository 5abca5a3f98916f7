#include "tests/tools/pbfBuilder.h"

#include <cmath>

namespace test
{
namespace
{
std::string Varint(std::uint64_t value)
{
    std::string bytes;
    for (; value >= 0x80; value >>= 7)
        bytes += static_cast<char>(value | 0x80);
    return bytes + static_cast<char>(value);
}

std::string Signed(std::int64_t value)
{
    return Varint(static_cast<std::uint64_t>(value) << 1 ^ static_cast<std::uint64_t>(value >> 63));
}

std::string Field(unsigned number, const std::string& bytes)
{
    return Varint(number << 3 | 2) + Varint(bytes.size()) + bytes;
}

std::string Number(unsigned number, const std::string& varint)
{
    return Varint(number << 3) + varint;
}

std::string Degrees(double value, double unit)
{
    return Signed(std::llround(value / unit));
}

std::string Deltas(const std::vector<std::int64_t>& values)
{
    std::string bytes;
    std::int64_t last = 0;
    for (const std::int64_t value : values)
        bytes += Signed(value - std::exchange(last, value));
    return bytes;
}

std::string Block(const std::string& type, const std::string& content)
{
    const std::string blob = Field(1, content) + Number(2, Varint(content.size()));
    const std::string header = Field(1, type) + Number(3, Varint(blob.size()));
    return std::string{'\0', '\0', '\0', static_cast<char>(header.size())} + header + blob;
}
} // namespace

CPbfBuilder::CPbfBuilder(double west, double south, double east, double north)
{
    m_header = Field(1, Number(1, Degrees(west, 1e-9)) + Number(2, Degrees(east, 1e-9)) +
                            Number(3, Degrees(north, 1e-9)) + Number(4, Degrees(south, 1e-9))) +
               Field(4, "OsmSchema-V0.6");
}

std::uint64_t CPbfBuilder::i_GetString(const std::string& text)
{
    m_strings.push_back(text);
    return m_strings.size() - 1;
}

std::string CPbfBuilder::i_GetTags(const Tags& tags)
{
    std::string keys;
    std::string values;
    for (const auto& [key, value] : tags)
    {
        keys += Varint(i_GetString(key));
        values += Varint(i_GetString(value));
    }
    return Field(2, keys) + Field(3, values);
}

void CPbfBuilder::AddNode(std::int64_t id, double longitude, double latitude, const Tags& tags)
{
    m_group += Field(1, Number(1, Signed(id)) + i_GetTags(tags) + Number(8, Degrees(latitude, 1e-7)) +
                            Number(9, Degrees(longitude, 1e-7)));
}

void CPbfBuilder::AddWay(std::int64_t id, const std::vector<std::int64_t>& nodes, const Tags& tags)
{
    m_group += Field(3, Number(1, Varint(static_cast<std::uint64_t>(id))) + i_GetTags(tags) + Field(8, Deltas(nodes)));
}

void CPbfBuilder::AddRelation(const std::vector<std::int64_t>& outer, const std::vector<std::int64_t>& inner, Tags tags)
{
    tags.emplace_back("type", "multipolygon");
    std::vector<std::int64_t> members = outer;
    members.insert(members.end(), inner.begin(), inner.end());
    std::string roles;
    for (std::size_t i = 0; i < members.size(); ++i)
        roles += Varint(i_GetString(i < outer.size() ? "outer" : "inner"));
    const std::string types(members.size(), '\x01');
    m_group += Field(4, Number(1, Varint(1)) + i_GetTags(tags) + Field(8, roles) + Field(9, Deltas(members)) +
                            Field(10, types));
}

std::string CPbfBuilder::GetFile() const
{
    std::string table;
    for (const std::string& text : m_strings)
        table += Field(1, text);
    return Block("OSMHeader", m_header) + Block("OSMData", Field(1, table) + Field(2, m_group));
}
} // namespace test
