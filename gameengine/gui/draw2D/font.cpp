#include "gameengine/gui/draw2D/font.h"

#include "gameengine/gui/draw2D/fontAsciiInternal.h"
#include "tamradeps/core/log.h"
#include "tamradeps/io/fileSystem.h"
#include "tamraengine/renderer/image.h"
#include "tamraengine/renderer/renderer.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>
#include <span>
#include <utility>

namespace gui
{
namespace
{
constexpr std::size_t kMaxFileSize = std::size_t{1} << 28;
constexpr float kMinValue = -99.0F; // "%f" writes ten characters at most from here
constexpr float kMaxValue = 999.0F; // to here

bool IsInRange(const Glyph& glyph)
{
    float values[9];
    std::memcpy(values, &glyph, sizeof values);
    // Written so that a NaN is out.
    return std::all_of(std::begin(values), std::end(values), [](float v) { return v >= kMinValue && v <= kMaxValue; });
}

// What a file of text holds of a number.
void Round(Glyph& glyph)
{
    for (float* const value : {&glyph.textureX, &glyph.textureY, &glyph.textureWidth, &glyph.textureHeight,
                               &glyph.width, &glyph.height, &glyph.offsetX, &glyph.offsetY, &glyph.advance})
        *value = static_cast<float>(std::round(static_cast<double>(*value) * 1e6) / 1e6);
}

// Why no font can be made of the body; null when one can.
const char* FindFault(const FontBody& body)
{
    constexpr int kMaxSide = renderer::CTexture::kMaxSide;
    if (body.bitmapWidth < 1 || body.bitmapHeight < 1 || body.bitmapWidth > kMaxSide || body.bitmapHeight > kMaxSide)
        return "the bitmap's size is not possible";
    if (body.bitmap.size() !=
        static_cast<std::size_t>(body.bitmapWidth) * static_cast<std::size_t>(body.bitmapHeight) * 4)
        return "the bitmap's size does not match";
    if (body.fontSize < 1 || body.fontSize > kMaxSide)
        return "the font's size is not possible";
    const auto count = static_cast<std::int64_t>(body.glyphs.size());
    if (!std::all_of(body.map.begin(), body.map.end(),
                     [count](std::int32_t entry) { return entry >= FontBody::kNoGlyph && entry < count; }))
        return "a character has a glyph that is not there";
    if (!std::all_of(body.glyphs.begin(), body.glyphs.end(), IsInRange))
        return "a glyph's number is not from -99 to 999";
    return nullptr;
}

bool Refuse(const std::string& name, std::string_view fault)
{
    tamra::log::Error("cannot make the font \"" + tamra::log::Quoted(name) + "\": " + std::string(fault));
    return false;
}
} // namespace

Font::Font() : m_body(std::make_unique<FontBody>()), m_cells(std::make_unique<std::array<Cell, 256>>())
{
    m_cells->fill({});
}

Font::~Font() = default;

bool Font::Create(const std::string& fileName)
{
    Destroy();
    std::vector<std::byte> file;
    if (!GetFileSystem().FileIn(fileName, file, kMaxFileSize))
        return false;
    return CreateFromAscii(fileName, {reinterpret_cast<const char*>(file.data()), file.size()});
}

bool Font::CreateFromAscii(const std::string& name, std::string_view content)
{
    Destroy();
    FontBody body;
    std::string fault;
    if (!ReadFontAscii(content, body, fault))
        return Refuse(name, fault);
    if (const char* reason = FindFault(body))
        return Refuse(name, reason);
    return Create(std::move(body));
}

bool Font::Create(int imageWidth, int imageHeight, const std::uint32_t* pixels, int cellWidth, int cellHeight,
                  int lineHeight, const char* charset)
{
    Destroy();
    constexpr int kMaxCell = 512;
    if (!pixels || !charset || cellWidth < 1 || cellHeight < 1 || cellWidth > kMaxCell || cellHeight > kMaxCell ||
        imageWidth < cellWidth || imageHeight < cellHeight || imageWidth > static_cast<int>(kMaxValue) ||
        imageHeight > static_cast<int>(kMaxValue))
        return Refuse("pixels", "the sizes of picture and cells are not possible");
    const int across = imageWidth / cellWidth;
    const std::size_t length = std::strlen(charset);
    if (length > static_cast<std::size_t>(across) * static_cast<std::size_t>(imageHeight / cellHeight))
        return Refuse("pixels", "there are more characters than cells");

    FontBody body;
    body.bitmapWidth = imageWidth;
    body.bitmapHeight = imageHeight;
    body.fontSize = lineHeight;
    const std::size_t count = static_cast<std::size_t>(imageWidth) * static_cast<std::size_t>(imageHeight);
    body.bitmap.reserve(count * 4);
    for (const std::uint32_t pixel : std::span(pixels, count))
    {
        for (const int shift : {0, 8, 16, 24})
            body.bitmap.push_back(static_cast<std::uint8_t>(pixel >> shift));
    }
    const auto width = static_cast<float>(cellWidth);
    const auto height = static_cast<float>(cellHeight);
    for (int i = 0; i < static_cast<int>(length); ++i)
    {
        body.map[static_cast<unsigned char>(charset[i])] = i;
        const auto x = static_cast<float>(i % across * cellWidth);
        const auto y = static_cast<float>(i / across * cellHeight);
        body.glyphs.push_back({x, y, width, height, width, height, 0.0F, 0.0F, width + 1.0F});
    }
    return Create(std::move(body));
}

bool Font::Create(const RefPtr<renderer::CTexture>&, int, int, int, const char*)
{
    Destroy();
    return false;
}

bool Font::Create(const char*, int, bool)
{
    Destroy();
    return false;
}

bool Font::Create(FontBody body)
{
    Destroy();
    if (const char* fault = FindFault(body))
        return Refuse("parts", fault);
    std::for_each(body.glyphs.begin(), body.glyphs.end(), Round);
    body.texture = nullptr;
    renderer::CRenderer* const renderer = renderer::CRenderer::GetActive();
    if (renderer && renderer->HasDevice())
    {
        renderer::Image image{body.bitmapWidth, body.bitmapHeight, std::move(body.bitmap)};
        body.texture = renderer::CTexture::CreateFromImage(*renderer, image, renderer::TextureFilter::Nearest);
        if (!body.texture)
            return false;
        body.bitmap = std::move(image.pixels);
    }
    body.valid = true;
    *m_body = std::move(body);
    i_MakeCells();
    return true;
}

void Font::Destroy()
{
    *m_body = FontBody();
    m_cells->fill({});
    m_reach = {};
}

void Font::i_MakeCells()
{
    const auto width = static_cast<float>(m_body->bitmapWidth);
    const auto height = static_cast<float>(m_body->bitmapHeight);
    for (std::size_t i = 0; i < m_cells->size(); ++i)
    {
        const Glyph* g = GetGlyph(static_cast<unsigned char>(i));
        if (!g)
            g = GetGlyph(kBox);
        if (!g)
            continue;
        const bool isEmpty = !(g->width > 0.0F && g->height > 0.0F);
        (*m_cells)[i] = {{g->offsetX, g->offsetY, g->offsetX + (isEmpty ? 0.0F : g->width), g->offsetY + g->height},
                         {g->textureX / width, 1.0F - g->textureY / height, (g->textureX + g->textureWidth) / width,
                          1.0F - (g->textureY + g->textureHeight) / height},
                         std::max(static_cast<int>(std::lround(g->advance)), 0),
                         isEmpty ? 0 : 1};
    }
    Cell& tab = (*m_cells)['\t'];
    if (!GetGlyph('\t'))
        tab = {{}, {}, 4 * GetCell(' ').advance, 0};
    Vec2<float> begin;
    Vec2<float> end;
    for (const Cell& cell : *m_cells)
    {
        begin = {std::min(begin.x, cell.edges[0]), std::min(begin.y, cell.edges[1])};
        end = {std::max(end.x, cell.edges[2]), std::max(end.y, cell.edges[3])};
    }
    m_reach = {begin, {end.x - begin.x, end.y - begin.y}};
}

bool Font::ConvertFontToAscii(std::string& out) const
{
    out.clear();
    if (!IsValid())
        return false;
    out = WriteFontAscii(*m_body);
    return true;
}

const Glyph* Font::GetGlyph(unsigned char character) const noexcept
{
    const std::int32_t index = m_body->map[character];
    return index < 0 ? nullptr : &m_body->glyphs[static_cast<std::size_t>(index)];
}

int Font::GetTextWidth(std::string_view text) const noexcept
{
    std::int64_t width = 0;
    for (const char character : text)
        width += GetCell(static_cast<unsigned char>(character)).advance;
    return static_cast<int>(std::min<std::int64_t>(width, std::numeric_limits<int>::max()));
}

std::size_t Font::FindCharacter(std::string_view text, int x) const noexcept
{
    std::int64_t pen = 0;
    for (std::size_t i = 0; i < text.size(); ++i)
    {
        const int advance = GetCell(static_cast<unsigned char>(text[i])).advance;
        if (std::int64_t{2} * x < 2 * pen + advance)
            return i;
        pen += advance;
    }
    return text.size();
}
} // namespace gui
