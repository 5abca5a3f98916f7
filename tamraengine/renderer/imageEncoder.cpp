#include "tamraengine/renderer/imageEncoder.h"

#include "tamradeps/core/log.h"
#include "tamradeps/io/fileSystem.h"

#include <cstdlib>
#include <memory>
#include <new>

#define STB_IMAGE_WRITE_STATIC
#define STB_IMAGE_WRITE_IMPLEMENTATION
#define STBI_WRITE_NO_STDIO
#if defined(__GNUC__)
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wunused-function"
#endif
#include <stb_image_write.h>
#if defined(__GNUC__)
#pragma GCC diagnostic pop
#endif

namespace renderer
{
namespace
{
// The encoder counts in an int, doubles its buffers, and makes noise longer by an eighth.
constexpr std::size_t kMaxBytes = 900'000'000;

bool IsOpaque(const Image& image)
{
    for (std::size_t i = 3; i < image.GetPixelCount() * 4; i += 4)
    {
        if (image.pixels[i] != 255)
            return false;
    }
    return true;
}

std::vector<std::uint8_t> RemoveAlpha(const Image& image)
{
    std::vector<std::uint8_t> colors;
    colors.reserve(image.GetPixelCount() * 3);
    for (std::size_t i = 0; i < image.GetPixelCount() * 4; i += 4)
        colors.insert(colors.end(), &image.pixels[i], &image.pixels[i] + 3);
    return colors;
}

std::vector<std::byte> Encode(const Image& image)
{
    std::vector<std::uint8_t> colors;
    if (IsOpaque(image))
        colors = RemoveAlpha(image);
    const int channels = colors.empty() ? 4 : 3;
    if (image.GetPixelCount() * static_cast<std::size_t>(channels) > kMaxBytes)
        return {};
    const std::uint8_t* pixels = colors.empty() ? image.pixels.data() : colors.data();
    int size = 0;
    const std::unique_ptr<std::uint8_t, void (*)(void*)> file(
        stbi_write_png_to_mem(pixels, image.width * channels, image.width, image.height, channels, &size), std::free);
    const auto* bytes = reinterpret_cast<const std::byte*>(file.get());
    return file ? std::vector<std::byte>(bytes, bytes + size) : std::vector<std::byte>();
}
} // namespace

std::vector<std::byte> EncodePng(const Image& image)
{
    if (image.width < 1 || image.height < 1 || image.pixels.size() / 4 < image.GetPixelCount())
        return {};
    try
    {
        return Encode(image);
    }
    catch (const std::bad_alloc&)
    {
        return {};
    }
}

bool WritePng(const std::string& path, const Image& image)
{
    const std::vector<std::byte> file = EncodePng(image);
    if (file.empty())
    {
        tamra::log::Error("cannot write \"" + tamra::log::Quoted(path) + "\": the picture cannot be encoded");
        return false;
    }
    return GetFileSystem().FileReplace(path, file.data(), file.size());
}
} // namespace renderer
