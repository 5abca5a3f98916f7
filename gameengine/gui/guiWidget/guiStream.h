#pragma once

#include "gameengine/export.h"

#include <array>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace gui
{
class GuiWidget;

/// A cursor over the text of a widget tree: one line for a widget, a leading tab for each level of depth, tokens that
/// end in one space. Writing appends at the end of the text, reading goes on from the cursor.
///
///     stream.WriteQuotedString("5\" gun");        "5\" gun"_
///     stream.WriteInteger(7);                     7_
///
/// A read takes what its format takes after leading white space, and then the cursor steps behind the next space or
/// line end, no matter how much of the token was taken. A read that finds nothing of its kind answers false, leaves the
/// target alone, steps on all the same, and is remembered as a fault.
///
/// Numbers are written and read with a point in every locale.
class TAMRAGAMEENGINE_API GuiStream
{
public:
    /// Levels of nesting that can be stored.
    static constexpr int kMaxDepth = 16;
    /// Leading tabs that are counted.
    static constexpr int kMaxTabs = 32;
    /// Characters of a simple string that are read, and of a number.
    static constexpr std::size_t kMaxWordLength = 1023;
    static constexpr std::size_t kMaxNumberLength = 10;

    GuiStream() = default;
    /// Text of 2 GiB or more is refused: an error is logged and the stream is empty.
    explicit GuiStream(std::string data);
    /// Copies the text. A null pointer or a negative length gives an empty stream.
    GuiStream(const char* data, std::int32_t length);
    GuiStream(const GuiStream&) = default;
    GuiStream& operator=(const GuiStream&) = default;

    /// Valid until the next write.
    const std::string& GetData() const { return m_data; }
    std::int32_t GetDataPosition() const { return m_position; }
    /// Kept between 0 and the end of the text.
    void SetDataPosition(std::int32_t position);

    /// The widget last read or written at a depth: not owned, so it must still live when a deeper line is read. Null
    /// for none and for a depth outside of the table.
    GuiWidget* GetParent(int depth) const;
    /// False, and nothing is changed, for a depth outside of 0 to 15.
    bool SetParent(int depth, GuiWidget* widget);

    void WriteInteger(int value);
    /// Six digits behind the point. Only the first ten characters are read back: a value keeps its digits from
    /// -999999 to 9999999, and at least its magnitude from -999999999 to 9999999999.
    void WriteFloat(float value);
    /// As it is: not empty, without white space, and at most 1023 characters, or it does not read back.
    void WriteSimpleString(std::string_view text);
    /// Any text, with escapes for backslash, double quote and newline.
    void WriteQuotedString(std::string_view text);
    /// The same, but nothing for an empty text. Only in front of a quoted string.
    void WriteOptionalQuotedString(std::string_view text);
    void WriteNumberOfTabs(int count);
    /// Ends the line: the space behind the last token becomes a newline.
    void WriteNewline();
    /// Their number, and each as a quoted string.
    void WriteQuotedStrings(const std::vector<std::string>& texts);

    /// The first ten characters count. A number beyond `int` is a fault.
    bool ReadInteger(int& value);
    /// The first ten characters count. What is not finite is a fault.
    bool ReadFloat(float& value);
    /// The word at or behind the cursor. False at the end of the data.
    bool ReadSimpleString(std::string& value);
    /// A simple string if there is no double quote at the cursor. An unknown escape gives nothing. False at the end of
    /// the data, and, with the cursor there, for a missing closing quote.
    bool ReadQuotedString(std::string& value);
    /// Counts the tabs at the cursor and steps over them, over 32 at most. Never a fault.
    int ReadNumberOfTabs();
    /// A quoted string if it is followed by another one, or else nothing: the text stays as it is. Never a fault.
    bool ReadOptionalQuotedString(std::string& value);
    /// What `WriteQuotedStrings` wrote. All or nothing: a count that the rest of the data cannot hold, or an item that
    /// is missing, is a fault and leaves `texts` alone.
    bool ReadQuotedStrings(std::vector<std::string>& texts);

    /// Lets the data end, for reading, in front of the next newline, so that no damaged line reads into the next one.
    void BeginLine();
    /// Ends that, and goes to the start of the next line. False when there is none.
    bool EndLine();
    /// Where reading ends: the end of the text or of the line begun.
    std::int32_t GetReadEnd() const { return m_lineEnd >= 0 ? m_lineEnd : static_cast<std::int32_t>(m_data.size()); }

    /// Where the first token stood that could not be read since `ClearFaults`, or -1.
    std::int32_t GetFaultPosition() const { return m_fault; }
    /// Whether a read found no token at all since `ClearFaults`, but the end of the data.
    bool HasReadPastEnd() const { return m_pastEnd; }
    /// For widgets that find a well-formed token senseless. Only the first fault is kept.
    void MarkFault(std::int32_t position);
    void ClearFaults();

private:
    void i_Append(std::string_view token);
    void i_SkipAheadAfterSeperator();
    std::string_view i_PeekWord(std::size_t maxLength);
    bool i_Finish(bool good);

    std::array<GuiWidget*, kMaxDepth> m_parents{};
    std::string m_data;
    std::int32_t m_position = 0;
    std::int32_t m_lineEnd = -1; // -1: the end of the text
    std::int32_t m_fault = -1;
    bool m_pastEnd = false;
};
} // namespace gui
