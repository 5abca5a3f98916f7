#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace renderer
{
/// A picture in memory: R, G, B, A bytes, rows from top to bottom without gaps.
struct Image
{
    int width = 0;
    int height = 0;
    std::vector<std::uint8_t> pixels;

    std::size_t GetPixelCount() const noexcept
    {
        return static_cast<std::size_t>(width) * static_cast<std::size_t>(height);
    }
    /// The four bytes of a pixel, which is not checked.
    const std::uint8_t* GetPixel(int x, int y) const noexcept
    {
        return &pixels[(static_cast<std::size_t>(y) * static_cast<std::size_t>(width) + static_cast<std::size_t>(x)) *
                       4];
    }
    bool operator==(const Image&) const = default;
};
} // namespace renderer
