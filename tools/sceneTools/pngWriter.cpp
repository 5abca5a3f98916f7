#include "tools/sceneTools/pngWriter.h"

#include "tamradeps/core/log.h"
#include "tamradeps/io/fileSystem.h"

#include <cstddef>
#include <vector>

#if defined(__GNUC__)
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wall"
#pragma GCC diagnostic ignored "-Wextra"
#pragma GCC diagnostic ignored "-Wconversion"
#pragma GCC diagnostic ignored "-Wshadow"
#pragma GCC diagnostic ignored "-Wunused-function"
#endif
#define STB_IMAGE_WRITE_STATIC
#define STB_IMAGE_WRITE_IMPLEMENTATION
#define STBI_WRITE_NO_STDIO
#include <stb_image_write.h>
#if defined(__GNUC__)
#pragma GCC diagnostic pop
#endif

bool WritePng(const std::string& path, int width, int height, std::span<const std::uint8_t> pixels)
{
    std::vector<std::byte> file;
    const auto append = [](void* context, void* data, int size)
    {
        const auto* bytes = static_cast<const std::byte*>(data);
        auto* out = static_cast<std::vector<std::byte>*>(context);
        out->insert(out->end(), bytes, bytes + size);
    };
    const bool fits = width > 0 && height > 0 &&
                      pixels.size() == static_cast<std::size_t>(width) * static_cast<std::size_t>(height) * 3;
    if (!fits || !stbi_write_png_to_func(append, &file, width, height, 3, pixels.data(), width * 3))
    {
        tamra::log::Error(tamra::log::Quoted(path) + ": the picture cannot be encoded");
        return false;
    }
    return GetFileSystem().FileReplace(path, file.data(), file.size());
}
