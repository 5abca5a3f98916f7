#pragma once

#include "tamradeps/io/utf8Path.h"

#include <fstream>
#include <iterator>
#include <string>

namespace test
{
inline std::string ReadFile(const std::string& path)
{
    std::ifstream file(tamra::ToPath(path), std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

inline void WriteFile(const std::string& path, const std::string& content)
{
    std::ofstream(tamra::ToPath(path), std::ios::binary) << content;
}
} // namespace test
