#include "tests/tools/townFixture.h"

#include <fstream>
#include <iterator>

namespace test
{
std::string GetExtract(const std::string& name)
{
    return std::string(TAMRA_SOURCE_FOLDER "/assets/worlds/") + name + ".osm.pbf";
}

std::string ReadFile(const std::string& path, std::size_t size)
{
    std::ifstream file(path, std::ios::binary);
    std::string content((std::istreambuf_iterator<char>(file)), std::istreambuf_iterator<char>());
    return content.substr(0, size);
}

void WriteFile(const std::string& path, const std::string& content)
{
    std::ofstream(path, std::ios::binary) << content;
}

TownBox MakeBuilding(CVector3 centre, CVector3 size)
{
    TownBox box;
    box.kind = TownKind::Building;
    box.centre = centre;
    box.size = size;
    return box;
}
} // namespace test
