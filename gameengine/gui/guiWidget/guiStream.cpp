#include "gameengine/gui/guiWidget/guiStream.h"

#include "tamradeps/core/log.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <limits>
#include <utility>

namespace gui
{
namespace
{
constexpr std::size_t kMaxSize = std::numeric_limits<std::int32_t>::max();
// A sign, the 39 digits of the greatest float, the point and six digits.
constexpr std::size_t kNumberBuffer = 48;

// What scan formats take for white space, in every locale.
bool IsBlank(char c)
{
    return c == ' ' || (c >= '\t' && c <= '\r');
}

// The number at the start of the word, as scan formats take it: they allow a plus sign.
template <class T>
bool ParseNumber(std::string_view word, T& number)
{
    if (word.size() > 1 && word[0] == '+' && word[1] != '-')
        word.remove_prefix(1);
    return std::from_chars(word.data(), word.data() + word.size(), number).ec == std::errc{};
}

void AppendEscaped(std::string& data, std::string_view text)
{
    for (const char c : text)
    {
        if (c == '\\' || c == '"')
            data += '\\';
        if (c == '\n')
            data += "\\n";
        else
            data += c;
    }
}

// Of the escapes with a character of their own; any other is dropped with its character.
void AppendUnescaped(std::string& text, char escaped)
{
    if (escaped == '\\' || escaped == '"')
        text += escaped;
    else if (escaped == 'n')
        text += '\n';
}
} // namespace

GuiStream::GuiStream(std::string data) : m_data(std::move(data))
{
    if (m_data.size() <= kMaxSize)
        return;
    tamra::log::Error("a widget stream of " + std::to_string(m_data.size()) + " bytes is too long");
    m_data.clear();
}

GuiStream::GuiStream(const char* data, std::int32_t length)
{
    if (data && length > 0)
        m_data.assign(data, static_cast<std::size_t>(length));
}

void GuiStream::SetDataPosition(std::int32_t position)
{
    m_position = std::clamp(position, 0, static_cast<std::int32_t>(m_data.size()));
}

GuiWidget* GuiStream::GetParent(int depth) const
{
    return depth >= 0 && depth < kMaxDepth ? m_parents[static_cast<std::size_t>(depth)] : nullptr;
}

bool GuiStream::SetParent(int depth, GuiWidget* widget)
{
    if (depth < 0 || depth >= kMaxDepth)
        return false;
    m_parents[static_cast<std::size_t>(depth)] = widget;
    return true;
}

void GuiStream::i_Append(std::string_view token)
{
    if (token.size() > kMaxSize - m_data.size())
        tamra::log::Error("a widget stream cannot grow beyond 2 GiB");
    else
        m_data += token;
}

void GuiStream::WriteInteger(int value)
{
    char buffer[kNumberBuffer];
    char* end = std::to_chars(buffer, buffer + kNumberBuffer - 1, value).ptr;
    *end++ = ' ';
    i_Append({buffer, end});
}

void GuiStream::WriteFloat(float value)
{
    char buffer[kNumberBuffer];
    char* end = std::to_chars(buffer, buffer + kNumberBuffer - 1, value, std::chars_format::fixed, 6).ptr;
    *end++ = ' ';
    i_Append({buffer, end});
}

void GuiStream::WriteSimpleString(std::string_view text)
{
    i_Append(text);
    i_Append(" ");
}

void GuiStream::WriteQuotedString(std::string_view text)
{
    std::string token = "\"";
    token.reserve(text.size() + 8);
    AppendEscaped(token, text);
    token += "\" ";
    i_Append(token);
}

void GuiStream::WriteOptionalQuotedString(std::string_view text)
{
    if (!text.empty())
        WriteQuotedString(text);
}

void GuiStream::WriteNumberOfTabs(int count)
{
    if (count > 0)
        i_Append(std::string(static_cast<std::size_t>(count), '\t'));
}

void GuiStream::WriteNewline()
{
    if (m_data.empty())
        m_data += '\n';
    else
        m_data.back() = '\n';
}

void GuiStream::WriteQuotedStrings(const std::vector<std::string>& texts)
{
    WriteInteger(static_cast<int>(texts.size()));
    for (const std::string& text : texts)
        WriteQuotedString(text);
}

bool GuiStream::ReadInteger(int& value)
{
    int number = 0;
    const bool good = ParseNumber(i_PeekWord(kMaxNumberLength), number);
    if (good)
        value = number;
    return i_Finish(good);
}

bool GuiStream::ReadFloat(float& value)
{
    float number = 0.0F;
    const bool good = ParseNumber(i_PeekWord(kMaxNumberLength), number) && std::isfinite(number);
    if (good)
        value = number;
    return i_Finish(good);
}

bool GuiStream::ReadSimpleString(std::string& value)
{
    const std::string_view word = i_PeekWord(kMaxWordLength);
    if (!word.empty())
        value.assign(word);
    return i_Finish(!word.empty());
}

bool GuiStream::ReadQuotedString(std::string& value)
{
    const auto end = static_cast<std::size_t>(GetReadEnd());
    auto at = static_cast<std::size_t>(m_position);
    if (at >= end || m_data[at] != '"')
        return ReadSimpleString(value);

    std::string text;
    for (++at; at < end && m_data[at] != '"'; ++at)
    {
        if (m_data[at] != '\\')
            text += m_data[at];
        else if (++at < end)
            AppendUnescaped(text, m_data[at]);
    }
    if (at >= end)
    {
        MarkFault(m_position);
        m_position = GetReadEnd();
        return false;
    }
    value = std::move(text);
    m_position = static_cast<std::int32_t>(at) + 1;
    return i_Finish(true);
}

bool GuiStream::ReadOptionalQuotedString(std::string& value)
{
    const std::int32_t position = m_position;
    const std::int32_t fault = m_fault;
    const bool pastEnd = m_pastEnd;
    std::string text;
    const auto isQuote = [this]
    { return m_position < GetReadEnd() && m_data[static_cast<std::size_t>(m_position)] == '"'; };
    if (isQuote() && ReadQuotedString(text) && isQuote())
    {
        value = std::move(text);
        return true;
    }
    m_position = position;
    m_fault = fault;
    m_pastEnd = pastEnd;
    return false;
}

int GuiStream::ReadNumberOfTabs()
{
    const std::int32_t end = GetReadEnd();
    int count = 0;
    for (; count < kMaxTabs && m_position < end && m_data[static_cast<std::size_t>(m_position)] == '\t'; ++count)
        ++m_position;
    return count;
}

bool GuiStream::ReadQuotedStrings(std::vector<std::string>& texts)
{
    const std::int32_t start = m_position;
    int count = 0;
    if (!ReadInteger(count))
        return false;
    // An item takes two bytes at least, the last one may lack its space.
    if (count < 0 || count > (GetReadEnd() - m_position + 1) / 2)
    {
        MarkFault(start);
        return false;
    }
    // Grows with what is there: a count alone costs nothing.
    std::vector<std::string> items;
    for (int i = 0; i < count; ++i)
    {
        // Without this a run of spaces would give the word behind it once for each of them.
        if (m_position < GetReadEnd() && IsBlank(m_data[static_cast<std::size_t>(m_position)]))
            return i_Finish(false);
        if (!ReadQuotedString(items.emplace_back()))
            return false;
    }
    texts = std::move(items);
    return true;
}

void GuiStream::BeginLine()
{
    const std::size_t newline = m_data.find('\n', static_cast<std::size_t>(m_position));
    m_lineEnd = static_cast<std::int32_t>(std::min(newline, m_data.size()));
}

bool GuiStream::EndLine()
{
    const auto size = static_cast<std::int32_t>(m_data.size());
    m_position = std::min(GetReadEnd(), size - 1) + 1;
    m_lineEnd = -1;
    return m_position < size;
}

void GuiStream::MarkFault(std::int32_t position)
{
    if (m_fault < 0)
        m_fault = std::max(position, 0);
}

void GuiStream::ClearFaults()
{
    m_fault = -1;
    m_pastEnd = false;
}

// Goes behind the next space or newline, or to the end.
void GuiStream::i_SkipAheadAfterSeperator()
{
    const auto end = static_cast<std::size_t>(GetReadEnd());
    auto at = static_cast<std::size_t>(m_position);
    while (at < end && m_data[at] != ' ' && m_data[at] != '\n')
        ++at;
    m_position = static_cast<std::int32_t>(std::min(at + 1, std::max(end, at)));
}

// The word at or behind the cursor, which stays; empty at the end. Valid until the next write.
std::string_view GuiStream::i_PeekWord(std::size_t maxLength)
{
    const auto end = static_cast<std::size_t>(GetReadEnd());
    auto first = static_cast<std::size_t>(m_position);
    while (first < end && IsBlank(m_data[first]))
        ++first;
    std::size_t last = first;
    while (last < end && last - first < maxLength && !IsBlank(m_data[last]))
        ++last;
    m_pastEnd = m_pastEnd || first >= end;
    return std::string_view(m_data).substr(std::min(first, m_data.size()), last - first);
}

// Ends every read: remembers a fault at the cursor and goes behind the separator.
bool GuiStream::i_Finish(bool good)
{
    if (!good)
        MarkFault(m_position);
    i_SkipAheadAfterSeperator();
    return good;
}
} // namespace gui
