#pragma once

#include "tools/sceneTools/townEntity.h"

#include <functional>
#include <optional>
#include <string_view>

// What the tags of OpenStreetMap objects mean for a town.

namespace osm
{
/// Looks up the value of a tag, null when there is none.
using Tags = std::function<const char*(const char* key)>;

/// A length in metres: a decimal number alone or with a unit ("12", "12.5 m", "40'", "40'6\"", "40 ft"). Nothing for
/// other texts and negative numbers.
std::optional<double> ParseLength(std::string_view text);

/// A building's lower and upper end above the ground in metres.
struct Heights
{
    double base = 0.0;
    double top = 0.0;
    /// A value of more than 1,000 m, or a base at or above the top, was replaced.
    bool repaired = false;
};

/// From "height" and "min_height", else from the numbers of levels (3 m each), else by the kind of building.
Heights GetHeights(const Tags& tags);

/// What the area inside a closed way or a multipolygon is.
TownKind GetAreaKind(const Tags& tags);

/// What a way is as a line: a street or flowing water with its width in metres, `None` for everything else. Tunnels
/// are left out, as are streets that are planned, being built, or mapped as areas.
struct Line
{
    TownKind kind = TownKind::None;
    double width = 0.0;
};
Line GetLine(const Tags& tags);

/// Size in metres of the mark for a place=* value, growing with the place; 0 for values that are no settlement.
double GetPlaceSize(std::string_view place);
} // namespace osm
