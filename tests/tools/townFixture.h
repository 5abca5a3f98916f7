#pragma once

#include "tools/sceneTools/townEntity.h"

#include <fstream>
#include <iterator>
#include <string>

namespace test
{
/// An extract among the shipped worlds.
inline std::string GetExtract(const std::string& name)
{
    return TAMRA_SOURCE_FOLDER "/assets/worlds/" + name + ".osm.pbf";
}

inline std::string ReadFile(const std::string& path)
{
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

inline void WriteFile(const std::string& path, const std::string& content)
{
    std::ofstream(path, std::ios::binary) << content;
}

/// A building without name of the given size that stands with its middle at the place.
inline TownBox MakeBuilding(CVector3 centre, CVector3 size)
{
    return {.kind = TownKind::Building, .name = {}, .centre = centre, .size = size};
}
} // namespace test
