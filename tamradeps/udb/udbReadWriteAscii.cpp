#include "tamradeps/udb/udbReadWriteAscii.h"

#include "tamradeps/core/tools.h"
#include "tamradeps/udb/udbGroup.h"

#include <algorithm>
#include <bit>
#include <charconv>
#include <cmath>
#include <cstdint>

namespace
{
constexpr std::string_view kHeader = "udb 1";
constexpr std::string_view kNaN = "nan:";

// Largest texts written and read; also what ends the writing of groups that are shared on many levels.
constexpr std::size_t kMaxTextSize = std::size_t{1} << 31;

bool IsBareKeyCharacter(char c)
{
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '_' || c == '-' ||
           c == '.';
}

bool IsBlank(char c)
{
    return c == ' ' || c == '\t' || c == '\r';
}

class Writer
{
public:
    explicit Writer(std::string& out) : m_out(out) {}

    bool WriteContent(const UDBGroup& group, int depth)
    {
        if (depth > UDBReadWriteAscii::kMaxDepth)
            return false;
        for (const UDBEntry& entry : group)
        {
            m_out.append(static_cast<std::size_t>(depth) * 4, ' ');
            WriteKey(entry.GetKey());
            m_out += ' ';
            switch (entry.GetKind())
            {
            case UDBEntry::Kind::Number: WriteNumber(entry.GetNumber()); break;
            case UDBEntry::Kind::String: WriteQuoted(entry.GetString()); break;
            case UDBEntry::Kind::Group:
                m_out += "{\n";
                if (!WriteContent(*entry.GetGroup(), depth + 1))
                    return false;
                m_out.append(static_cast<std::size_t>(depth) * 4, ' ');
                m_out += '}';
                break;
            }
            m_out += '\n';
            if (m_out.size() > kMaxTextSize)
                return false;
        }
        return true;
    }

private:
    void WriteKey(std::string_view key)
    {
        if (!key.empty() && std::all_of(key.begin(), key.end(), IsBareKeyCharacter))
            m_out += key;
        else
            WriteQuoted(key);
    }

    void WriteNumber(double number)
    {
        char digits[32];
        std::to_chars_result result{};
        if (std::isnan(number))
        {
            m_out += kNaN;
            result = std::to_chars(digits, std::end(digits), std::bit_cast<std::uint64_t>(number), 16);
        }
        else
        {
            result = std::to_chars(digits, std::end(digits), number);
        }
        m_out.append(digits, result.ptr);
    }

    void WriteQuoted(std::string_view text)
    {
        const bool readable = Tools_IsValidUtf8(text);
        m_out += '"';
        for (const char c : text)
        {
            const auto byte = static_cast<std::uint8_t>(c);
            if (c == '"' || c == '\\')
                (m_out += '\\') += c;
            else if (c == '\n')
                m_out += "\\n";
            else if (c == '\r')
                m_out += "\\r";
            else if (c == '\t')
                m_out += "\\t";
            else if (byte < 0x20 || byte == 0x7F || (byte >= 0x80 && !readable))
                WriteHexEscape(byte);
            else
                m_out += c;
        }
        m_out += '"';
    }

    void WriteHexEscape(std::uint8_t byte)
    {
        constexpr char kDigits[] = "0123456789abcdef";
        m_out += "\\x";
        m_out += kDigits[byte >> 4];
        m_out += kDigits[byte & 15];
    }

    std::string& m_out;
};

class Reader
{
public:
    explicit Reader(std::string_view text) : m_rest(text) {}

    // Null when all went well.
    const char* Read(UDBGroup& root)
    {
        if (m_rest.size() > kMaxTextSize)
            return "the text is larger than 2 GiB";
        if (!NextLine() || m_line != kHeader)
            return "the text does not begin with \"udb 1\"";
        return ReadContent(root, 0);
    }

    std::size_t GetLineNumber() const { return m_lineNumber; }

private:
    // The next line that is not empty, without blanks around it.
    bool NextLine()
    {
        while (!m_rest.empty())
        {
            const std::size_t end = m_rest.find('\n');
            m_line = m_rest.substr(0, end);
            m_rest = end == std::string_view::npos ? std::string_view{} : m_rest.substr(end + 1);
            ++m_lineNumber;
            while (!m_line.empty() && IsBlank(m_line.back()))
                m_line.remove_suffix(1);
            SkipBlanks();
            if (!m_line.empty())
                return true;
        }
        return false;
    }

    void SkipBlanks()
    {
        while (!m_line.empty() && IsBlank(m_line.front()))
            m_line.remove_prefix(1);
    }

    const char* ReadContent(UDBGroup& group, int depth)
    {
        if (depth > UDBReadWriteAscii::kMaxDepth)
            return "groups are nested too deep";
        while (NextLine())
        {
            if (m_line == "}")
                return depth > 0 ? nullptr : "'}' without a group to close";
            if (const char* error = ReadEntry(group, depth))
                return error;
        }
        return depth == 0 ? nullptr : "the text ends inside a group";
    }

    const char* ReadEntry(UDBGroup& group, int depth)
    {
        if (const char* error = ReadKey())
            return error;
        if (m_line.empty() || !IsBlank(m_line.front()))
            return "expected a blank and a value behind the key";
        SkipBlanks();

        if (m_line == "{")
            return ReadContent(*group.AddNewGroup(m_key), depth + 1);
        if (m_line.front() != '"')
            return ReadNumber(group);
        if (const char* error = ReadQuoted(m_text))
            return error;
        if (!m_line.empty())
            return "something follows the value";
        group.AddString(m_key, m_text);
        return nullptr;
    }

    const char* ReadKey()
    {
        if (m_line.front() == '"')
        {
            if (const char* error = ReadQuoted(m_key))
                return error;
        }
        else
        {
            const auto* end = std::find_if_not(m_line.begin(), m_line.end(), IsBareKeyCharacter);
            m_key.assign(m_line.begin(), end);
            if (m_key.empty())
                return "expected a key";
            m_line.remove_prefix(m_key.size());
        }
        return m_key.size() <= UDBGroup::kMaxKeyLength ? nullptr : "the key is too long";
    }

    const char* ReadNumber(UDBGroup& group)
    {
        const char* const end = m_line.data() + m_line.size();
        double number = 0.0;
        if (m_line.starts_with(kNaN))
        {
            std::uint64_t bits = 0;
            const auto result = std::from_chars(m_line.data() + kNaN.size(), end, bits, 16);
            number = std::bit_cast<double>(bits);
            if (result.ec != std::errc{} || result.ptr != end || !std::isnan(number))
                return "the bits behind \"nan:\" are not those of a NaN";
        }
        else
        {
            const auto result = std::from_chars(m_line.data(), end, number);
            if (result.ec == std::errc::result_out_of_range)
                return "the number is too large or too small";
            // Other spellings of NaN would leave its bits open.
            if (result.ec != std::errc{} || result.ptr != end || std::isnan(number))
                return "expected a number, a quoted text, or '{'";
        }
        group.AddNumber(m_key, number);
        return nullptr;
    }

    // Takes a quoted text off the line's front.
    const char* ReadQuoted(std::string& text)
    {
        text.clear();
        m_line.remove_prefix(1);
        for (;;)
        {
            const std::size_t plain = m_line.find_first_of("\"\\");
            if (plain == std::string_view::npos)
                return "a quoted text does not end on its line";
            text += m_line.substr(0, plain);
            const char c = m_line[plain];
            m_line.remove_prefix(plain + 1);
            if (c == '"')
                return nullptr;
            if (!ReadEscape(text))
                return "unknown escape in a quoted text";
        }
    }

    // What follows a backslash.
    bool ReadEscape(std::string& text)
    {
        if (m_line.empty())
            return false;
        const char c = m_line.front();
        m_line.remove_prefix(1);
        switch (c)
        {
        case '"': text += '"'; return true;
        case '\\': text += '\\'; return true;
        case 'n': text += '\n'; return true;
        case 'r': text += '\r'; return true;
        case 't': text += '\t'; return true;
        case 'x': break;
        default: return false;
        }
        std::uint8_t byte = 0;
        if (m_line.size() < 2)
            return false;
        const char* const end = m_line.data() + 2;
        const auto result = std::from_chars(m_line.data(), end, byte, 16);
        if (result.ec != std::errc{} || result.ptr != end)
            return false;
        text += static_cast<char>(byte);
        m_line.remove_prefix(2);
        return true;
    }

    std::string_view m_rest;
    // What is left of the current line.
    std::string_view m_line;
    std::size_t m_lineNumber = 0;
    std::string m_key;
    std::string m_text;
};
} // namespace

bool UDBReadWriteAscii::Write(const UDBGroup& root, std::string& out) const
{
    out = kHeader;
    out += '\n';
    if (Writer(out).WriteContent(root, 0))
        return true;
    out.clear();
    return false;
}

bool UDBReadWriteAscii::Read(std::string_view text, UDBGroup& root, std::string* error) const
{
    root.Clear();
    UDBDatabase& database = root.GetDatabase();
    const UDBDatabase::Mark mark = database.i_GetMark();
    Reader reader(text);
    const char* what = reader.Read(root);
    if (!what)
        return true;
    root.Clear();
    database.i_GoBack(mark);
    if (error)
        *error = "line " + std::to_string(reader.GetLineNumber()) + ": " + what;
    return false;
}
