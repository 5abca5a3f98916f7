#pragma once

#include "tools/sceneTools/osmTags.h"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <vector>

namespace osm
{
/// What the tags of an object say about a town. An object may be several things at once.
struct Feature
{
    TownKind area = TownKind::None;
    Line line;
    bool isCoast = false;
    bool isPart = false;
    Heights heights; // of a building
    std::string name;

    bool IsAnything() const noexcept { return area != TownKind::None || line.kind != TownKind::None || isCoast; }
};

/// The part of an OpenStreetMap extract that a town is made of, in the file's order. Coordinates are degrees.
struct Extract
{
    struct Node
    {
        std::int64_t id;
        double longitude;
        double latitude;
    };
    struct Way
    {
        std::int64_t id;
        std::size_t firstReference; // of its nodes' ids in `references`
        std::size_t referenceCount;
        std::int32_t feature; // in `features`, -1 for none
    };
    struct Member
    {
        std::int64_t way;
        bool isInner;
    };
    struct Relation
    {
        std::size_t firstMember;
        std::size_t memberCount;
        std::int32_t feature;
    };
    struct Place
    {
        double longitude;
        double latitude;
        double size;
        std::string name;
    };

    std::vector<Node> nodes; // sorted by id
    std::vector<Way> ways;
    std::vector<std::int64_t> references;
    std::vector<Relation> relations; // multipolygons of some kind
    std::vector<Member> members;
    std::vector<Place> places;
    std::vector<Feature> features;

    // The area that the extract is meant to cover: as the file says, else around all nodes.
    double minLongitude = 0.0;
    double minLatitude = 0.0;
    double maxLongitude = 0.0;
    double maxLatitude = 0.0;

    std::size_t droppedNames = 0;
    std::size_t brokenNodes = 0;
};

/// Reads a PBF file. False, with one log line, when the file is missing or no regular file, is damaged or cut, or has
/// more than `maxNodes` nodes (or twice as many references to nodes). `progress` gets the part read, 0 to 1.
bool ReadExtract(const std::string& path, std::size_t maxNodes, const std::function<void(double)>& progress,
                 Extract& extract);
} // namespace osm
