#pragma once

#include <cstdint>
#include <vector>

namespace test
{
// 0xAABBGGRR
constexpr std::uint32_t kWhite = 0xFFFFFFFF;
constexpr std::uint32_t kRed = 0xFF0000FF;
constexpr std::uint32_t kGreen = 0xFF00FF00;
constexpr std::uint32_t kBlue = 0xFFFF0000;

/// The pixels of a red, a green, a blue and a white quarter, from the upper left one on.
inline std::vector<std::uint32_t> MakeQuarters(int side)
{
    std::vector<std::uint32_t> pixels;
    for (int i = 0; i < side * side; ++i)
    {
        const bool isRight = i % side >= side / 2;
        const bool isLower = i / side >= side / 2;
        pixels.push_back(isLower ? (isRight ? kWhite : kBlue) : (isRight ? kGreen : kRed));
    }
    return pixels;
}
} // namespace test
