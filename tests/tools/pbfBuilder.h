#pragma once

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

namespace test
{
/// Writes small OpenStreetMap files, sound or not, for what the shipped extracts do not have.
class CPbfBuilder
{
public:
    using Tags = std::vector<std::pair<std::string, std::string>>;

    /// The area that the file says it covers, in degrees.
    CPbfBuilder(double west, double south, double east, double north);

    void AddNode(std::int64_t id, double longitude, double latitude, const Tags& tags = {});
    void AddWay(std::int64_t id, const std::vector<std::int64_t>& nodes, const Tags& tags = {});
    /// Adds a multipolygon of ways.
    void AddRelation(const std::vector<std::int64_t>& outer, const std::vector<std::int64_t>& inner, Tags tags);

    std::string GetFile() const;

private:
    std::string i_GetTags(const Tags& tags);
    std::uint64_t i_GetString(const std::string& text);

    std::string m_header;
    std::vector<std::string> m_strings = {""};
    std::string m_group;
};
} // namespace test
