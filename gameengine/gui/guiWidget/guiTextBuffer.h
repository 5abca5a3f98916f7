#pragma once

#include "gameengine/export.h"

#include <cstddef>
#include <cstdint>
#include <deque>
#include <string>
#include <string_view>
#include <vector>

namespace gui
{
/// How far from the start of its line a character stands. This one counts characters; with a font it is pixels.
class TAMRAGAMEENGINE_API GuiTextColumns
{
public:
    virtual ~GuiTextColumns() = default;
    /// Of the place behind so many characters.
    virtual int GetX(std::string_view line, std::size_t column) const;
    /// The number of characters before the place that is nearest to `x`.
    virtual std::size_t FindColumn(std::string_view line, int x) const;
};

/// A text under the hands of its user: Latin-1, a byte for a character, '\n' between lines, with a cursor, a selection
/// and the way back. Knows nothing of fonts and keys.
///
/// A place is the number of characters before it, 0 to `GetLength()`; what lies beyond counts as the end. The selection
/// is what lies between anchor and cursor.
///
///     buffer.SetText("one two");
///     buffer.MoveCursor(GuiTextBuffer::Move::TextEnd, false);
///     buffer.Erase(GuiTextBuffer::Move::WordLeft); // "one "
///     buffer.Undo();                               // "one two"
///
/// An edit moves the text behind it, a copy of bytes, and adds to the starts of the lines below; finding a line takes
/// the logarithm of their number.
class TAMRAGAMEENGINE_API GuiTextBuffer
{
public:
    /// Characters that a text can have at most.
    static constexpr std::size_t kMaxLength = std::size_t{1} << 24;
    /// What undo keeps, in bytes: older steps are forgotten. The last one is always kept.
    static constexpr std::size_t kMaxUndoBytes = std::size_t{4} << 20;

    /// Where a key takes the cursor.
    enum class Move
    {
        Left,
        Right,
        WordLeft,  ///< To the start of a word; at the start of a line to the end of the one before.
        WordRight, ///< Behind a word and the blanks that follow; at the end of a line to the start of the next.
        LineStart,
        LineEnd,
        TextStart,
        TextEnd
    };

    /// Bytes from `begin` to before `end`.
    struct Range
    {
        std::size_t begin = 0;
        std::size_t end = 0;

        friend bool operator==(const Range&, const Range&) = default;
    };

    /// A text of one line takes a blank for each line end.
    explicit GuiTextBuffer(bool hasLines) : m_hasLines(hasLines) {}

    const std::string& GetText() const noexcept { return m_text; }
    std::size_t GetLength() const noexcept { return m_text.size(); }
    /// Forgets the steps and puts the cursor at the start. Control characters are left out, but for tabs and line ends.
    void SetText(std::string_view text);
    std::size_t GetMaxLength() const noexcept { return m_maxLength; }
    /// A text that is longer is cut, as by `SetText`; a shorter limit also forgets the steps.
    void SetMaxLength(std::size_t length);

    /// At least one, also when empty.
    std::size_t GetLineCount() const noexcept { return m_starts.size(); }
    /// Without its line end; valid until the next edit. Lines beyond the last are empty.
    std::string_view GetLine(std::size_t line) const noexcept;
    /// The end of the text for a line beyond the last.
    std::size_t GetLineStart(std::size_t line) const noexcept;
    /// The line in which a place lies.
    std::size_t FindLine(std::size_t place) const noexcept;

    std::size_t GetCursor() const noexcept { return m_cursor; }
    std::size_t GetAnchor() const noexcept { return m_anchor; }
    bool HasSelection() const noexcept { return m_cursor != m_anchor; }
    Range GetSelection() const noexcept;
    /// Valid until the next edit.
    std::string_view GetSelectedText() const noexcept;
    void SetCursor(std::size_t place, bool select);
    void Select(std::size_t anchor, std::size_t cursor);
    void SelectAll() { Select(0, m_text.size()); }
    /// Without `select` left and right only leave a selection.
    void MoveCursor(Move move, bool select);
    /// Up or, for positive numbers, down, as far as there are lines. The distance from the start of the line is kept
    /// over shorter lines.
    void MoveLines(int lines, bool select, const GuiTextColumns& columns = GuiTextColumns());
    /// Where a move from the cursor leads.
    std::size_t FindPlace(Move move) const noexcept;
    /// The word, the blanks or the signs at a place.
    Range FindWord(std::size_t place) const noexcept;
    /// The line at a place with its end.
    Range FindWholeLine(std::size_t place) const noexcept;

    /// The text as an insertion would take it: without control characters, and cut to what there is room for.
    std::string Fit(std::string_view text) const;
    /// What takes the place of the selection, as far as it fits. False when that changes nothing.
    bool Insert(std::string_view text);
    /// The same with one character; characters typed one after the other are undone together.
    bool Type(char character);
    /// Removes the selection; without one what lies between the cursor and where the move leads.
    bool Erase(Move move);
    bool EraseSelection() { return HasSelection() && Insert({}); }
    bool CanUndo() const noexcept { return !m_undo.empty(); }
    bool CanRedo() const noexcept { return !m_redo.empty(); }
    bool Undo();
    bool Redo();

    /// Lines at the start and at the end of the text that are what they were when this was last asked.
    struct SameLines
    {
        std::size_t before;
        std::size_t after;
    };
    SameLines TakeSameLines() noexcept;

private:
    enum class Kind : std::uint8_t
    {
        Typing,
        Backspace,
        Delete,
        Other
    };
    struct Step
    {
        Kind kind;
        std::size_t at;
        std::string removed;
        std::string inserted;
        std::size_t anchor; // before it
        std::size_t cursor;

        std::size_t GetBytes() const noexcept { return sizeof(Step) + removed.size() + inserted.size(); }
    };

    std::string i_Clean(std::string_view text, std::size_t room) const;
    std::size_t i_FindWordLeft() const noexcept;
    std::size_t i_FindWordRight() const noexcept;
    bool i_Edit(Kind kind, Range range, std::string text);
    bool i_Merge(Kind kind, Range range, const std::string& text);
    void i_ForgetSteps() noexcept;
    void i_TrimUndo();
    void i_Replace(std::size_t at, std::size_t length, std::string_view text);
    void i_Place(std::size_t anchor, std::size_t cursor) noexcept;

    std::string m_text;
    std::vector<std::uint32_t> m_starts = {0}; // of lines
    std::size_t m_cursor = 0;
    std::size_t m_anchor = 0;
    std::size_t m_maxLength = kMaxLength;
    SameLines m_same = {0, 0};
    std::deque<Step> m_undo;
    std::vector<Step> m_redo;
    std::size_t m_undoBytes = 0;
    int m_wantedX = -1; // of moves between lines; -1 when it is the cursor's
    bool m_hasLines;
    bool m_canMerge = false; // the next step with the last one
};
} // namespace gui
