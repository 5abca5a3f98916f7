#include "tools/fontbake/bake.h"

#include <algorithm>
#include <cmath>
#include <vector>

#if defined(__GNUC__)
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wunused-function"
#endif
#define STBTT_STATIC
#define STB_TRUETYPE_IMPLEMENTATION
#include <stb_truetype.h>
#if defined(__GNUC__)
#pragma GCC diagnostic pop
#endif

namespace
{
constexpr int kMaxSide = 990; // of the bitmap: a .fnt file holds no number from 1000

struct Tile
{
    unsigned char character = 0;
    int width = 0;
    int height = 0;
    gui::Glyph glyph; // placement and advance
    std::vector<unsigned char> coverage;
    int x = 0;
    int y = 0;
};

struct Face
{
    stbtt_fontinfo info;
    float scale;
    int baseline; // from the upper edge of a line
    int xHeight;
    int capHeight;
    int lineHeight;
};

int GetTop(const stbtt_fontinfo& info, int character)
{
    int top = 0;
    return stbtt_GetCodepointBox(&info, character, nullptr, nullptr, nullptr, &top) != 0 ? top : 0;
}

// Whether the bytes say that they are one face, and the tables that they list lie within them.
bool IsFace(std::span<const std::byte> bytes)
{
    constexpr std::size_t kHeader = 12;
    constexpr std::size_t kEntry = 16;
    const auto read = [bytes](std::size_t at, std::size_t size)
    {
        std::size_t value = 0;
        for (std::size_t i = 0; i < size; ++i)
            value = value << 8 | std::to_integer<std::size_t>(bytes[at + i]);
        return value;
    };
    constexpr std::size_t kTrueType = 0x00010000;
    constexpr std::size_t kOpenType = 0x4F54544F; // "OTTO"
    if (bytes.size() < kHeader || (read(0, 4) != kTrueType && read(0, 4) != kOpenType))
        return false;
    const std::size_t end = kHeader + read(4, 2) * kEntry;
    if (end > bytes.size())
        return false;
    for (std::size_t entry = kHeader; entry < end; entry += kEntry)
    {
        if (read(entry + 8, 4) + read(entry + 12, 4) > bytes.size())
            return false;
    }
    return true;
}

bool OpenFace(std::span<const std::byte> bytes, const BakeOptions& options, Face& face)
{
    if (!IsFace(bytes) || stbtt_InitFont(&face.info, reinterpret_cast<const unsigned char*>(bytes.data()), 0) == 0)
        return false;
    face.scale = stbtt_ScaleForMappingEmToPixels(&face.info, options.size);
    const auto xHeight = static_cast<float>(GetTop(face.info, 'x'));
    if (xHeight > 0.0F)
        face.scale = std::max(std::round(xHeight * face.scale), 1.0F) / xHeight;
    const auto toPixels = [&](int units)
    { return static_cast<int>(std::lround(static_cast<float>(units) * face.scale)); };
    int ascent = 0;
    int descent = 0;
    stbtt_GetFontVMetrics(&face.info, &ascent, &descent, nullptr);
    face.xHeight = toPixels(static_cast<int>(xHeight));
    face.capHeight = toPixels(GetTop(face.info, 'H'));
    const int faceHeight = toPixels(ascent) - toPixels(descent);
    face.lineHeight = options.lineHeight > 0 ? options.lineHeight : faceHeight;
    face.baseline = toPixels(ascent) + (face.lineHeight - faceHeight) / 2;
    return true;
}

Tile RasterCharacter(const Face& face, unsigned char character, int index)
{
    int edge = 0;
    int advance = 0;
    stbtt_GetGlyphBox(&face.info, index, &edge, nullptr, nullptr, nullptr);
    stbtt_GetGlyphHMetrics(&face.info, index, &advance, nullptr);
    const float left = static_cast<float>(edge) * face.scale;
    const float shift = std::round(left) - left;
    int x0 = 0;
    int y0 = 0;
    int x1 = 0;
    int y1 = 0;
    stbtt_GetGlyphBitmapBoxSubpixel(&face.info, index, face.scale, face.scale, shift, 0.0F, &x0, &y0, &x1, &y1);
    Tile tile{character, x1 - x0, y1 - y0, {}, {}};
    tile.glyph.offsetX = static_cast<float>(x0);
    tile.glyph.offsetY = static_cast<float>(face.baseline + y0);
    tile.glyph.advance = std::round(static_cast<float>(advance) * face.scale);
    tile.coverage.resize(static_cast<std::size_t>(tile.width) * static_cast<std::size_t>(tile.height));
    if (!tile.coverage.empty())
        stbtt_MakeGlyphBitmapSubpixel(&face.info, tile.coverage.data(), tile.width, tile.height, tile.width, face.scale,
                                      face.scale, shift, 0.0F, index);
    return tile;
}

Tile MakeBox(const Face& face)
{
    Tile tile{gui::Font::kBox, std::max(face.xHeight - 1, 3), std::max(face.capHeight, 3), {}, {}};
    for (int y = 0; y < tile.height; ++y)
    {
        for (int x = 0; x < tile.width; ++x)
        {
            const bool isEdge = x == 0 || y == 0 || x == tile.width - 1 || y == tile.height - 1;
            tile.coverage.push_back(isEdge ? 255 : 0);
        }
    }
    tile.glyph.offsetX = 1.0F;
    tile.glyph.offsetY = static_cast<float>(face.baseline - tile.height);
    tile.glyph.advance = static_cast<float>(tile.width + 2);
    return tile;
}

// Side by side on shelves, the high ones first. False when they do not fit into that width.
bool Place(std::vector<Tile>& tiles, int width, int padding, int& height)
{
    int x = padding;
    int y = padding;
    int shelf = 0;
    for (Tile& tile : tiles)
    {
        if (x + tile.width + padding > width)
        {
            x = padding;
            y += shelf + padding;
            shelf = 0;
        }
        tile.x = x;
        tile.y = y;
        x += tile.width + padding;
        shelf = std::max(shelf, tile.height);
        if (x > width)
            return false;
    }
    height = y + shelf + padding;
    return height <= width;
}

gui::FontBody Assemble(std::vector<Tile>& tiles, int width, int height, int lineHeight)
{
    gui::FontBody body;
    body.bitmapWidth = width;
    body.bitmapHeight = height;
    body.fontSize = lineHeight;
    body.bitmap.assign(static_cast<std::size_t>(width) * static_cast<std::size_t>(height) * 4, 255);
    for (std::size_t i = 3; i < body.bitmap.size(); i += 4)
        body.bitmap[i] = 0;
    for (const Tile& tile : tiles)
    {
        for (int i = 0; i < tile.width * tile.height; ++i)
        {
            const int pixel = (tile.y + i / tile.width) * width + tile.x + i % tile.width;
            body.bitmap[static_cast<std::size_t>(pixel) * 4 + 3] = tile.coverage[static_cast<std::size_t>(i)];
        }
    }
    std::sort(tiles.begin(), tiles.end(), [](const Tile& a, const Tile& b) { return a.character < b.character; });
    for (const Tile& tile : tiles)
    {
        gui::Glyph glyph = tile.glyph;
        glyph.textureX = static_cast<float>(tile.x);
        glyph.textureY = static_cast<float>(tile.y);
        glyph.textureWidth = glyph.width = static_cast<float>(tile.width);
        glyph.textureHeight = glyph.height = static_cast<float>(tile.height);
        body.map[tile.character] = static_cast<std::int32_t>(body.glyphs.size());
        body.glyphs.push_back(glyph);
    }
    return body;
}

std::string MakeRange(int first, int last)
{
    std::string range;
    for (int character = first; character <= last; ++character)
        range += static_cast<char>(character);
    return range;
}
} // namespace

std::string GetAsciiCharset()
{
    return MakeRange(0x20, 0x7E);
}

std::string GetLatin1Charset()
{
    return GetAsciiCharset() + MakeRange(0xA0, 0xFF);
}

std::optional<gui::FontBody> BakeFont(std::span<const std::byte> bytes, const BakeOptions& options, std::string& fault)
{
    Face face{};
    if (!OpenFace(bytes, options, face))
    {
        fault = "it is no TrueType face";
        return std::nullopt;
    }
    std::string charset = options.charset;
    std::sort(charset.begin(), charset.end());
    charset.erase(std::unique(charset.begin(), charset.end()), charset.end());
    std::vector<Tile> tiles{MakeBox(face)};
    for (const char letter : charset)
    {
        const auto character = static_cast<unsigned char>(letter);
        const int index = stbtt_FindGlyphIndex(&face.info, character);
        if (index != 0 && character != gui::Font::kBox)
            tiles.push_back(RasterCharacter(face, character, index));
    }
    std::stable_sort(tiles.begin(), tiles.end(), [](const Tile& a, const Tile& b) { return a.height > b.height; });
    int height = 0;
    for (int width = 64; width <= 1024; width *= 2)
    {
        const int side = std::min(width, kMaxSide);
        if (Place(tiles, side, options.padding, height))
            return Assemble(tiles, side, height, face.lineHeight);
    }
    fault = "the characters do not fit into " + std::to_string(kMaxSide) + " x " + std::to_string(kMaxSide) + " pixels";
    return std::nullopt;
}
