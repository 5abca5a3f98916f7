#pragma once

#include "tools/sceneTools/townEntity.h"

#include <cstddef>
#include <functional>
#include <string>
#include <vector>

class CInterfaceCollection;

/// How `ImportOsm` reads an extract.
struct OsmImportOptions
{
    /// Extracts hold whole ways, which run far outside. Boxes whose middle is more than this many metres outside the
    /// area that the file says it covers are left out.
    double margin = 150.0;
    /// Files with more nodes are refused: each takes 24 bytes of memory while reading.
    std::size_t maxNodes = 20'000'000;
    bool importBuildings = true;
    bool importStreets = true;
    bool importParksAndWater = true;
    bool importPlaces = true;
};

/// What `ImportOsm` made of an extract.
struct OsmImportStatistics
{
    // Objects of the map. A street has a box for each of its segments, an area or a river may have several.
    std::size_t buildings = 0; ///< Of them, `buildingParts` are parts of others.
    std::size_t buildingParts = 0;
    std::size_t streets = 0;
    std::size_t parks = 0;
    std::size_t waters = 0;
    std::size_t places = 0;

    std::size_t boxes[kTownKindCount] = {}; ///< Entities by `TownKind`.
    std::size_t entities = 0;

    std::size_t outside = 0;         ///< Boxes left out by `margin`.
    std::size_t skipped = 0;         ///< Boxes without area, ways with too few known points, broken nodes.
    std::size_t repairedHeights = 0; ///< Heights over 1,000 m or below their base.
    std::size_t droppedNames = 0;    ///< Names that were not UTF-8, or too long.

    // Where the town is: the middle of the extract, which is the origin of the scene, and the extract's area in metres.
    double originLongitude = 0.0;
    double originLatitude = 0.0;
    float minX = 0.0F;
    float minY = 0.0F;
    float maxX = 0.0F;
    float maxY = 0.0F;
};

/// Makes a town of an OpenStreetMap extract (`.osm.pbf`) and adds it to the scene: entities as `CreateTownEntity` makes
/// them, in the order of the file, always the same ones for the same file.
///
/// - A building, or a part of one, is the oriented box of the least area around its outline, from its base to its top
///   (see `osm::GetHeights`).
/// - A street is a flat box for each pair of successive points, as wide as its class. Streams and rivers that are
///   mapped as lines are the same with water.
/// - Parks, woods, lakes and river banks are one flat box, or slices of it where the outline does not fill it. What
/// lies
///   to the right of a coast line is water up to the edge of the extract.
/// - A named place is a flat square, larger for larger places.
///
/// The scene's metres are an equirectangular projection around the middle of the extract (x east: longitude times the
/// cosine of the middle's latitude, y north, z up from the ground, which is at 0), true to some centimetres in a town
/// and to a percent over a hundred kilometres.
///
/// False, with one log line and the scene as it was, for a file that is missing, cut, no PBF, too large, or holds
/// nothing for a town, and for a scene without an array manager. A file that was cut exactly between two of its blocks,
/// after the first ways, cannot be told from a whole one. `statistics` may be null; it is zero after a failure.
/// `progress` gets the part done, 0 to 1, now and then.
bool ImportOsm(const std::string& pbfPath, CInterfaceCollection* scene, const OsmImportOptions& options = {},
               OsmImportStatistics* statistics = nullptr, const std::function<void(double)>& progress = {});

/// The same up to the boxes, without a scene.
bool ReadOsmTown(const std::string& pbfPath, std::vector<TownBox>& boxes, const OsmImportOptions& options = {},
                 OsmImportStatistics* statistics = nullptr, const std::function<void(double)>& progress = {});
