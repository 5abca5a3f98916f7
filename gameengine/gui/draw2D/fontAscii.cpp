// A .fnt file is lines of text, and after the line "bitmap" the bytes of the bitmap.

#include "gameengine/gui/draw2D/fontAsciiInternal.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <initializer_list>

namespace gui
{
namespace
{
constexpr std::size_t kMaxLine = 1199;
constexpr std::size_t kFieldWidth = 10; // no number is read further
constexpr std::string_view kWhiteSpace = " \t\n\v\f\r";

// Reads a line as scanf does: white space before a number is skipped, what follows the last one is ignored.
class CFields
{
public:
    explicit CFields(std::string_view line) : m_rest(line) {}

    bool Take(std::string_view word)
    {
        if (!m_rest.starts_with(word))
            return false;
        m_rest.remove_prefix(word.size());
        return true;
    }
    template <class T>
    bool Take(T& value)
    {
        m_rest.remove_prefix(std::min(m_rest.find_first_not_of(kWhiteSpace), m_rest.size()));
        const std::string_view field = m_rest.substr(0, kFieldWidth);
        const char* begin = field.data();
        const char* const end = begin + field.size();
        const bool hasPlus = field.size() > 1 && field[0] == '+' && field[1] != '-';
        const auto [stop, error] = std::from_chars(begin + (hasPlus ? 1 : 0), end, value);
        if (error != std::errc())
            return false;
        m_rest.remove_prefix(static_cast<std::size_t>(stop - begin));
        return true;
    }

private:
    std::string_view m_rest;
};

class CReader
{
public:
    CReader(std::string_view content, std::string& fault) : m_rest(content), m_fault(fault) {}

    bool ReadLine(std::string_view& line)
    {
        ++m_line;
        const std::size_t end = m_rest.substr(0, kMaxLine + 1).find('\n');
        if (end == std::string_view::npos)
            return Refuse(m_rest.size() > kMaxLine ? "the line is too long" : "the file ends");
        line = m_rest.substr(0, end);
        m_rest.remove_prefix(end + 1);
        return true;
    }
    template <class T>
    bool ReadValues(std::string_view word, std::initializer_list<T*> values)
    {
        std::string_view line;
        if (!ReadLine(line))
            return false;
        CFields fields(line);
        const bool isRead = fields.Take(word) &&
                            std::all_of(values.begin(), values.end(), [&](T* value) { return fields.Take(*value); });
        return isRead || Refuse("expected \"" + std::string(word) + "\" and " + std::to_string(values.size()) +
                                (values.size() == 1 ? " number" : " numbers"));
    }
    bool Refuse(const std::string& why)
    {
        m_fault = "line " + std::to_string(m_line) + ": " + why;
        return false;
    }
    std::string_view GetRest() const { return m_rest; }

private:
    std::string_view m_rest;
    std::string& m_fault;
    int m_line = 0;
};

bool ReadGlyphs(CReader& reader, std::int32_t count, std::vector<Glyph>& glyphs)
{
    // The shortest line, "glyph" and nine digits, bounds the number by the size of the file.
    constexpr std::size_t kShortestLine = 23;
    if (count < 0 || static_cast<std::size_t>(count) > reader.GetRest().size() / kShortestLine)
        return reader.Refuse("there are not so many glyphs");
    glyphs.resize(static_cast<std::size_t>(count));
    return std::all_of(glyphs.begin(), glyphs.end(),
                       [&](Glyph& g)
                       {
                           return reader.ReadValues("glyph",
                                                    {&g.textureX, &g.textureY, &g.textureWidth, &g.textureHeight,
                                                     &g.width, &g.height, &g.offsetX, &g.offsetY, &g.advance});
                       });
}

void Append(std::string& text, std::string_view word, std::int32_t value)
{
    text += word;
    text += ' ';
    text += std::to_string(value);
    text += '\n';
}

void Append(std::string& text, const Glyph& g)
{
    text += "glyph";
    for (const float value :
         {g.textureX, g.textureY, g.textureWidth, g.textureHeight, g.width, g.height, g.offsetX, g.offsetY, g.advance})
    {
        char digits[64];
        const auto result = std::to_chars(std::begin(digits), std::end(digits), value, std::chars_format::fixed, 6);
        text += ' ';
        text.append(digits, result.ptr);
    }
    text += '\n';
}
} // namespace

bool ReadFontAscii(std::string_view content, FontBody& body, std::string& fault)
{
    CReader reader(content, fault);
    for (std::int32_t& entry : body.map)
    {
        if (!reader.ReadValues("map", {&entry}))
            return false;
    }
    std::int32_t count = 0;
    std::string_view bitmapLine;
    if (!reader.ReadValues("count", {&count}) || !ReadGlyphs(reader, count, body.glyphs) ||
        !reader.ReadValues("bitmapWidth", {&body.bitmapWidth}) ||
        !reader.ReadValues("bitmapHeight", {&body.bitmapHeight}) || !reader.ReadValues("fontSize", {&body.fontSize}) ||
        !reader.ReadLine(bitmapLine))
        return false;
    const std::string_view bitmap = reader.GetRest();
    const std::int64_t pixels = std::int64_t{body.bitmapWidth} * body.bitmapHeight;
    if (body.bitmapWidth < 0 || body.bitmapHeight < 0 || static_cast<std::uint64_t>(pixels) * 4 != bitmap.size())
    {
        fault = "the bitmap has " + std::to_string(bitmap.size()) + " bytes, which is not its size";
        return false;
    }
    body.bitmap.assign(bitmap.begin(), bitmap.end());
    return true;
}

std::string WriteFontAscii(const FontBody& body)
{
    std::string text;
    constexpr std::size_t kLongestLines = 256 * 16 + 100;
    text.reserve(kLongestLines + body.glyphs.size() * 100 + body.bitmap.size());
    for (const std::int32_t entry : body.map)
        Append(text, "map", entry);
    Append(text, "count", static_cast<std::int32_t>(body.glyphs.size()));
    for (const Glyph& glyph : body.glyphs)
        Append(text, glyph);
    Append(text, "bitmapWidth", body.bitmapWidth);
    Append(text, "bitmapHeight", body.bitmapHeight);
    Append(text, "fontSize", body.fontSize);
    text += "bitmap\n";
    text.append(body.bitmap.begin(), body.bitmap.end());
    return text;
}
} // namespace gui
