#pragma once

#include "tools/sceneTools/townEntity.h"

#include <string>
#include <vector>

namespace test
{
/// An extract among the shipped worlds.
std::string GetExtract(const std::string& name);

/// The first `size` bytes of a file; all for a size beyond its end.
std::string ReadFile(const std::string& path, std::size_t size = ~std::size_t{0});
void WriteFile(const std::string& path, const std::string& content);

/// A building without name of the given size that stands with its middle at the place.
TownBox MakeBuilding(CVector3 centre, CVector3 size);
} // namespace test
