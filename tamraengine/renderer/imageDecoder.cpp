#include "tamraengine/renderer/imageDecoder.h"

#include <algorithm>
#include <climits>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <new>

namespace
{
// Bytes that the decoder may still take on this thread, and their size before each block.
thread_local std::size_t t_memoryLeft = 0;
constexpr std::size_t kBlockHeader = alignof(std::max_align_t);

std::size_t GetBlockSize(const void* block)
{
    std::size_t size = 0;
    std::memcpy(&size, static_cast<const std::byte*>(block) - kBlockHeader, sizeof size);
    return size;
}

// Zeroed, because the decoder leaves parts of its blocks as they are when a file ends early.
void* AllocateBlock(std::size_t size)
{
    if (size > t_memoryLeft)
        return nullptr;
    auto* header = static_cast<std::byte*>(std::calloc(1, size + kBlockHeader));
    if (!header)
        return nullptr;
    std::memcpy(header, &size, sizeof size);
    t_memoryLeft -= size;
    return header + kBlockHeader;
}

void FreeBlock(void* block)
{
    if (!block)
        return;
    t_memoryLeft += GetBlockSize(block);
    std::free(static_cast<std::byte*>(block) - kBlockHeader);
}

void* ReallocateBlock(void* block, std::size_t size)
{
    void* larger = AllocateBlock(size);
    if (larger && block)
    {
        std::memcpy(larger, block, std::min(size, GetBlockSize(block)));
        FreeBlock(block);
    }
    return larger;
}
} // namespace

#define STB_IMAGE_STATIC
#define STB_IMAGE_IMPLEMENTATION
#define STBI_NO_STDIO
#define STBI_ONLY_PNG
#define STBI_ONLY_JPEG
#define STBI_ONLY_TGA
#define STBI_ONLY_BMP
#define STBI_MALLOC(size) AllocateBlock(size)
#define STBI_REALLOC(block, size) ReallocateBlock(block, size)
#define STBI_FREE(block) FreeBlock(block)
#define STBI_ASSERT(condition) static_cast<void>(0) // a file must not end the program
#if defined(__GNUC__)
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wunused-function"
#endif
#include <stb_image.h>
#if defined(__GNUC__)
#pragma GCC diagnostic pop
#endif

namespace renderer
{
namespace
{
constexpr std::size_t kFreePixels = std::size_t{1} << 20;
// The best that deflate does with one byte a pixel.
constexpr std::size_t kPixelsPerByte = 1024;
// What the decoder needs at most: an interlaced picture of 16 bits a channel, or the coefficients of a progressive one.
constexpr std::size_t kBytesPerPixel = 32;
// Every scan goes over the whole picture, however few bytes it has. Encoders make about ten.
constexpr int kMaxScans = 64;

// The file as the decoder reads it. Unlike its own, this reader knows when more was asked for than there is.
class CReader
{
public:
    explicit CReader(std::span<const std::byte> file) : m_file(file) {}

    static int Read(void* user, char* data, int size)
    {
        auto& self = *static_cast<CReader*>(user);
        const std::size_t wanted = static_cast<std::size_t>(std::max(size, 0));
        const std::size_t count = std::min(wanted, self.m_file.size() - self.m_position);
        if (count > 0)
            std::memcpy(data, &self.m_file[self.m_position], count);
        self.m_position += count;
        // A request for a whole buffer is ahead of need: only one that gets nothing is about missing bytes.
        self.m_isShort |= count < wanted && (count == 0 || wanted != kBufferSize);
        return static_cast<int>(count);
    }
    static void Skip(void* user, int size)
    {
        auto& self = *static_cast<CReader*>(user);
        const auto back = std::min(self.m_position, static_cast<std::size_t>(std::max(-std::int64_t{size}, {})));
        const auto ahead = std::min(self.m_file.size() - self.m_position, static_cast<std::size_t>(std::max(size, 0)));
        self.m_position = self.m_position - back + ahead;
    }
    static int IsAtEnd(void* user)
    {
        const auto& self = *static_cast<CReader*>(user);
        return self.m_position == self.m_file.size() ? 1 : 0;
    }
    static constexpr stbi_io_callbacks kCallbacks = {Read, Skip, IsAtEnd};

    bool IsShort() const { return m_isShort; }

private:
    static constexpr std::size_t kBufferSize = sizeof(stbi__context::buffer_start);

    std::span<const std::byte> m_file;
    std::size_t m_position = 0;
    bool m_isShort = false;
};

// Goes through the markers of a JPEG file before the decoder does, which takes some things on trust.
class CJpegCheck
{
public:
    explicit CJpegCheck(std::span<const std::byte> file) : m_file(file) {}

    /// Empty when the file is good, or no JPEG at all.
    std::string FindFault() const
    {
        constexpr unsigned kHuffmanTables = 0xC4;
        constexpr unsigned kEnd = 0xD9;
        constexpr unsigned kScan = 0xDA;
        constexpr unsigned kStart = 0xD8;
        std::size_t i = 0;
        while (GetByte(i) == 0xFF)
            ++i;
        if (i == 0 || GetByte(i++) != kStart)
            return {};
        int scans = 0;
        while (i + 1 < m_file.size())
        {
            const unsigned marker = GetByte(i + 1);
            if (GetByte(i) != 0xFF || marker == 0xFF)
            {
                ++i;
                continue;
            }
            if (marker == kEnd)
                break;
            if (marker == kScan && ++scans > kMaxScans)
                return "it has more than " + std::to_string(kMaxScans) + " scans";
            if (marker == kHuffmanTables && !AreTablesGood(i + 2))
                return "its Huffman tables are damaged";
            // Escaped bytes and restarts inside of a scan stand alone, everything else says how long it is.
            const bool hasLength = marker >= 0xC0 && (marker < 0xD0 || marker > 0xD8);
            i += 2 + (hasLength ? GetLength(i + 2) : 0U);
        }
        return {};
    }

private:
    unsigned GetByte(std::size_t i) const { return i < m_file.size() ? std::to_integer<unsigned>(m_file[i]) : 0U; }
    std::size_t GetLength(std::size_t i) const { return GetByte(i) << 8 | GetByte(i + 1); }

    bool AreTablesGood(std::size_t start) const
    {
        constexpr std::size_t kLengths = 16;
        // The decoder has room for 256 symbols, and takes the last for none.
        constexpr std::size_t kMaxSymbols = 255;
        std::size_t i = start + 2;
        while (i < start + GetLength(start))
        {
            std::size_t symbols = 0;
            for (std::size_t length = 1; length <= kLengths; ++length)
                symbols += GetByte(i + length);
            if (symbols > kMaxSymbols)
                return false;
            i += 1 + kLengths + symbols;
        }
        return true;
    }

    std::span<const std::byte> m_file;
};

// Why the decoder gave up. Its own text may hold bytes of the file, so that it may begin with a zero.
std::string GetReason(const CReader& reader)
{
    if (reader.IsShort())
        return "the file ends within the picture";
    const std::string text = stbi_failure_reason();
    return "it is damaged or of no known kind (" + (text.empty() ? "unknown chunk" : text) + ")";
}

// Empty when the picture that the header promises may be there.
std::string FindFault(std::span<const std::byte> file, int& width, int& height)
{
    if (file.size() > INT_MAX)
        return "the file is larger than 2 GiB";
    if (std::string fault = CJpegCheck(file).FindFault(); !fault.empty())
        return fault;
    CReader reader(file);
    int channels = 0;
    t_memoryLeft = kFreePixels;
    if (!stbi_info_from_callbacks(&CReader::kCallbacks, &reader, &width, &height, &channels))
        return GetReason(reader);
    const std::string size = std::to_string(width) + " x " + std::to_string(height) + " pixels";
    if (width < 1 || height < 1 || width > kMaxImageSide || height > kMaxImageSide)
        return size + ", but sides must be from 1 to " + std::to_string(kMaxImageSide);
    const std::size_t pixels = static_cast<std::size_t>(width) * static_cast<std::size_t>(height);
    if (pixels > kFreePixels + kPixelsPerByte * file.size())
        return std::to_string(file.size()) + " bytes cannot hold " + size;
    return {};
}

std::size_t GetMemoryLimit(int width, int height, std::size_t fileSize)
{
    // Blocks of a JPEG reach beyond the picture's edge.
    constexpr std::size_t kPadding = 64;
    const std::size_t pixels =
        (static_cast<std::size_t>(width) + kPadding) * (static_cast<std::size_t>(height) + kPadding);
    return kFreePixels + pixels * kBytesPerPixel + 4 * fileSize;
}

std::string Decode(std::span<const std::byte> file, Image& image)
{
    int width = 0;
    int height = 0;
    if (std::string fault = FindFault(file, width, height); !fault.empty())
        return fault;
    t_memoryLeft = GetMemoryLimit(width, height, file.size());
    CReader reader(file);
    int channels = 0;
    const std::unique_ptr<stbi_uc, void (*)(void*)> pixels(
        stbi_load_from_callbacks(&CReader::kCallbacks, &reader, &image.width, &image.height, &channels, STBI_rgb_alpha),
        stbi_image_free);
    if (!pixels || reader.IsShort())
        return GetReason(reader);
    if (image.width != width || image.height != height)
        return "its header contradicts itself";
    image.pixels.assign(pixels.get(), pixels.get() + image.GetPixelCount() * 4);
    return {};
}
} // namespace

std::optional<Image> DecodeImage(std::span<const std::byte> file, std::string* error)
{
    Image image;
    std::string fault;
    try
    {
        fault = Decode(file, image);
    }
    catch (const std::bad_alloc&)
    {
        fault = "out of memory";
    }
    if (error)
        *error = fault;
    if (!fault.empty())
        return std::nullopt;
    return image;
}
} // namespace renderer
