#include "gameengine/gui/guiWidget/guiTextBuffer.h"

#include <algorithm>
#include <limits>
#include <utility>

namespace gui
{
namespace
{
enum class CharacterClass
{
    LineEnd,
    Blank,
    Word,
    Sign
};

CharacterClass Classify(char character)
{
    const auto c = static_cast<unsigned char>(character);
    if (c == '\n')
        return CharacterClass::LineEnd;
    if (c == ' ' || c == '\t' || c == 0xA0)
        return CharacterClass::Blank;
    const bool isAscii = (c >= '0' && c <= '9') || (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || c == '_';
    // The letters of Latin-1, which stand from 0xC0 on but for the signs of multiplication and division.
    const bool isLatin = (c >= 0xC0 && c != 0xD7 && c != 0xF7) || c == 0xAA || c == 0xB5 || c == 0xBA;
    return isAscii || isLatin ? CharacterClass::Word : CharacterClass::Sign;
}

bool IsControl(char character)
{
    const auto c = static_cast<unsigned char>(character);
    return (c < 0x20 && c != '\t' && c != '\n') || c == 0x7F;
}
} // namespace

int GuiTextColumns::GetX(std::string_view line, std::size_t column) const
{
    return static_cast<int>(std::min(column, line.size()));
}

std::size_t GuiTextColumns::FindColumn(std::string_view line, int x) const
{
    return std::min(static_cast<std::size_t>(std::max(x, 0)), line.size());
}

void GuiTextBuffer::SetText(std::string_view text)
{
    m_text = i_Clean(text, m_maxLength);
    m_starts.assign(1, 0);
    for (std::size_t end = m_text.find('\n'); end != std::string::npos; end = m_text.find('\n', end + 1))
        m_starts.push_back(static_cast<std::uint32_t>(end + 1));
    m_same = {0, 0};
    i_ForgetSteps();
    i_Place(0, 0);
}

void GuiTextBuffer::SetMaxLength(std::size_t length)
{
    // The steps may lead to a text that is longer.
    if (length < m_maxLength)
        i_ForgetSteps();
    m_maxLength = std::min(length, kMaxLength);
    if (m_text.size() > m_maxLength)
        SetText(std::string(m_text));
}

std::string_view GuiTextBuffer::GetLine(std::size_t line) const noexcept
{
    const std::size_t start = GetLineStart(line);
    const std::size_t end = line + 1 < m_starts.size() ? m_starts[line + 1] - 1U : m_text.size();
    return std::string_view(m_text).substr(start, end - start);
}

std::size_t GuiTextBuffer::GetLineStart(std::size_t line) const noexcept
{
    return line < m_starts.size() ? m_starts[line] : m_text.size();
}

std::size_t GuiTextBuffer::FindLine(std::size_t place) const noexcept
{
    const auto next = std::upper_bound(m_starts.begin(), m_starts.end(), place);
    return static_cast<std::size_t>(next - m_starts.begin()) - 1;
}

GuiTextBuffer::Range GuiTextBuffer::GetSelection() const noexcept
{
    return {std::min(m_anchor, m_cursor), std::max(m_anchor, m_cursor)};
}

std::string_view GuiTextBuffer::GetSelectedText() const noexcept
{
    const Range range = GetSelection();
    return std::string_view(m_text).substr(range.begin, range.end - range.begin);
}

void GuiTextBuffer::SetCursor(std::size_t place, bool select)
{
    i_Place(select ? m_anchor : place, place);
}

void GuiTextBuffer::Select(std::size_t anchor, std::size_t cursor)
{
    i_Place(anchor, cursor);
}

void GuiTextBuffer::MoveCursor(Move move, bool select)
{
    std::size_t place = FindPlace(move);
    if (HasSelection() && !select && move == Move::Left)
        place = GetSelection().begin;
    else if (HasSelection() && !select && move == Move::Right)
        place = GetSelection().end;
    SetCursor(place, select);
}

void GuiTextBuffer::MoveLines(int lines, bool select, const GuiTextColumns& columns)
{
    const std::size_t line = FindLine(m_cursor);
    const int x = m_wantedX >= 0 ? m_wantedX : columns.GetX(GetLine(line), m_cursor - GetLineStart(line));
    const auto last = static_cast<std::int64_t>(m_starts.size()) - 1;
    const auto target =
        static_cast<std::size_t>(std::clamp<std::int64_t>(static_cast<std::int64_t>(line) + lines, 0, last));
    SetCursor(GetLineStart(target) + columns.FindColumn(GetLine(target), x), select);
    m_wantedX = x;
}

std::size_t GuiTextBuffer::FindPlace(Move move) const noexcept
{
    const std::size_t line = FindLine(m_cursor);
    switch (move)
    {
    case Move::Left: return m_cursor > 0 ? m_cursor - 1 : 0;
    case Move::Right: return std::min(m_cursor + 1, m_text.size());
    case Move::WordLeft: return i_FindWordLeft();
    case Move::WordRight: return i_FindWordRight();
    case Move::LineStart: return GetLineStart(line);
    case Move::LineEnd: return GetLineStart(line) + GetLine(line).size();
    case Move::TextStart: return 0;
    case Move::TextEnd: return m_text.size();
    }
    return m_cursor;
}

std::size_t GuiTextBuffer::i_FindWordLeft() const noexcept
{
    std::size_t place = m_cursor;
    if (place > 0 && m_text[place - 1] == '\n')
        return place - 1;
    while (place > 0 && Classify(m_text[place - 1]) == CharacterClass::Blank)
        --place;
    if (place == 0 || m_text[place - 1] == '\n')
        return place;
    const CharacterClass kind = Classify(m_text[place - 1]);
    while (place > 0 && Classify(m_text[place - 1]) == kind)
        --place;
    return place;
}

std::size_t GuiTextBuffer::i_FindWordRight() const noexcept
{
    std::size_t place = m_cursor;
    if (place >= m_text.size())
        return place;
    const CharacterClass kind = Classify(m_text[place]);
    if (kind == CharacterClass::LineEnd)
        return place + 1;
    while (place < m_text.size() && Classify(m_text[place]) == kind)
        ++place;
    while (place < m_text.size() && Classify(m_text[place]) == CharacterClass::Blank)
        ++place;
    return place;
}

GuiTextBuffer::Range GuiTextBuffer::FindWord(std::size_t place) const noexcept
{
    place = std::min(place, m_text.size());
    // At the end of a line the word is the one before.
    if (place > 0 && (place == m_text.size() || m_text[place] == '\n') && m_text[place - 1] != '\n')
        --place;
    if (place == m_text.size() || m_text[place] == '\n')
        return {place, place};
    const CharacterClass kind = Classify(m_text[place]);
    Range word{place, place};
    while (word.begin > 0 && Classify(m_text[word.begin - 1]) == kind)
        --word.begin;
    while (word.end < m_text.size() && Classify(m_text[word.end]) == kind)
        ++word.end;
    return word;
}

GuiTextBuffer::Range GuiTextBuffer::FindWholeLine(std::size_t place) const noexcept
{
    const std::size_t line = FindLine(std::min(place, m_text.size()));
    return {GetLineStart(line), GetLineStart(line + 1)};
}

std::string GuiTextBuffer::Fit(std::string_view text) const
{
    return i_Clean(text, m_maxLength - m_text.size() + GetSelectedText().size());
}

bool GuiTextBuffer::Insert(std::string_view text)
{
    std::string fitting = Fit(text);
    // What leaves nothing over does not remove the selection either.
    if (fitting.empty() && !(text.empty() && HasSelection()))
        return false;
    return i_Edit(Kind::Other, GetSelection(), std::move(fitting));
}

bool GuiTextBuffer::Type(char character)
{
    std::string fitting = Fit({&character, 1});
    return !fitting.empty() && i_Edit(Kind::Typing, GetSelection(), std::move(fitting));
}

bool GuiTextBuffer::Erase(Move move)
{
    if (HasSelection())
        return Insert({});
    const std::size_t place = FindPlace(move);
    const Range range{std::min(place, m_cursor), std::max(place, m_cursor)};
    if (range.begin == range.end)
        return false;
    return i_Edit(place < m_cursor ? Kind::Backspace : Kind::Delete, range, {});
}

bool GuiTextBuffer::Undo()
{
    if (m_undo.empty())
        return false;
    Step step = std::move(m_undo.back());
    m_undo.pop_back();
    m_undoBytes -= step.GetBytes();
    i_Replace(step.at, step.inserted.size(), step.removed);
    i_Place(step.anchor, step.cursor);
    m_redo.push_back(std::move(step));
    return true;
}

bool GuiTextBuffer::Redo()
{
    if (m_redo.empty())
        return false;
    Step step = std::move(m_redo.back());
    m_redo.pop_back();
    i_Replace(step.at, step.removed.size(), step.inserted);
    const std::size_t end = step.at + step.inserted.size();
    i_Place(end, end);
    m_undoBytes += step.GetBytes();
    m_undo.push_back(std::move(step));
    return true;
}

GuiTextBuffer::SameLines GuiTextBuffer::TakeSameLines() noexcept
{
    constexpr std::size_t kAll = std::numeric_limits<std::size_t>::max();
    return std::exchange(m_same, {kAll, kAll});
}

std::string GuiTextBuffer::i_Clean(std::string_view text, std::size_t room) const
{
    const auto isChanged = [this](char c) { return IsControl(c) || (!m_hasLines && (c == '\n' || c == '\t')); };
    if (std::none_of(text.begin(), text.end(), isChanged))
        return std::string(text.substr(0, room));
    std::string clean;
    clean.reserve(std::min(text.size(), room));
    for (std::size_t i = 0; i < text.size() && clean.size() < room; ++i)
    {
        char c = text[i];
        if (c == '\r' && (i + 1 == text.size() || text[i + 1] != '\n'))
            c = '\n';
        if (IsControl(c))
            continue;
        clean += isChanged(c) ? ' ' : c;
    }
    return clean;
}

bool GuiTextBuffer::i_Edit(Kind kind, Range range, std::string text)
{
    const std::size_t length = range.end - range.begin;
    const std::size_t end = range.begin + text.size();
    const bool isLineEnd = text == "\n";
    m_redo.clear();
    if (i_Merge(kind, range, text))
        i_Replace(range.begin, length, text);
    else
    {
        m_undo.push_back({kind, range.begin, m_text.substr(range.begin, length), std::move(text), m_anchor, m_cursor});
        m_undoBytes += m_undo.back().GetBytes();
        i_Replace(range.begin, length, m_undo.back().inserted);
    }
    i_TrimUndo();
    i_Place(end, end);
    m_canMerge = kind != Kind::Other && !isLineEnd;
    return true;
}

// Whether the last step could take the edit in, and did.
bool GuiTextBuffer::i_Merge(Kind kind, Range range, const std::string& text)
{
    if (!m_canMerge || m_undo.empty() || m_undo.back().kind != kind)
        return false;
    Step& step = m_undo.back();
    const std::size_t length = range.end - range.begin;
    if (kind == Kind::Typing && length == 0 && range.begin == step.at + step.inserted.size())
        step.inserted += text;
    else if (kind == Kind::Backspace && range.end == step.at)
    {
        step.removed.insert(0, m_text, range.begin, length);
        step.at = range.begin;
    }
    else if (kind == Kind::Delete && range.begin == step.at)
        step.removed.append(m_text, range.begin, length);
    else
        return false;
    m_undoBytes += length + text.size();
    return true;
}

void GuiTextBuffer::i_ForgetSteps() noexcept
{
    m_undo.clear();
    m_redo.clear();
    m_undoBytes = 0;
}

void GuiTextBuffer::i_TrimUndo()
{
    while (m_undo.size() > 1 && m_undoBytes > kMaxUndoBytes)
    {
        m_undoBytes -= m_undo.front().GetBytes();
        m_undo.pop_front();
    }
}

void GuiTextBuffer::i_Replace(std::size_t at, std::size_t length, std::string_view text)
{
    const std::size_t first = FindLine(at);
    const std::size_t last = FindLine(at + length);
    m_same.before = std::min(m_same.before, first);
    m_same.after = std::min(m_same.after, m_starts.size() - 1 - last);
    m_text.replace(at, length, text);

    const std::size_t gone = last - first;
    const auto added = static_cast<std::size_t>(std::count(text.begin(), text.end(), '\n'));
    const auto place = m_starts.begin() + static_cast<std::ptrdiff_t>(first + 1);
    if (added > gone)
        m_starts.insert(place, added - gone, 0);
    else
        m_starts.erase(place, place + static_cast<std::ptrdiff_t>(gone - added));
    std::size_t line = first + 1;
    for (std::size_t end = text.find('\n'); end != std::string_view::npos; end = text.find('\n', end + 1))
        m_starts[line++] = static_cast<std::uint32_t>(at + end + 1);
    // Wraps around for a text that has become shorter, as it should.
    const auto growth = static_cast<std::uint32_t>(text.size() - length);
    for (; line < m_starts.size(); ++line)
        m_starts[line] += growth;
}

void GuiTextBuffer::i_Place(std::size_t anchor, std::size_t cursor) noexcept
{
    m_anchor = std::min(anchor, m_text.size());
    m_cursor = std::min(cursor, m_text.size());
    m_wantedX = -1;
    m_canMerge = false;
}
} // namespace gui
