#include "gameengine/gui/guiWidget/guiTextBuffer.h"

#include "support/random.h"

#include <algorithm>
#include <utility>

#include <gtest/gtest.h>

using gui::GuiTextBuffer;

namespace
{
using Move = GuiTextBuffer::Move;

std::vector<std::string> Split(const std::string& text)
{
    std::vector<std::string> lines(1);
    for (const char c : text)
    {
        if (c == '\n')
            lines.emplace_back();
        else
            lines.back() += c;
    }
    return lines;
}

/// The same as the buffer, by copies and loops.
struct Reference
{
    struct State
    {
        std::string text;
        std::size_t anchor = 0;
        std::size_t cursor = 0;
    };

    static char Class(char c) { return c == ' ' || c == '\n' || c == '.' ? c : 'w'; }
    bool IsStop(std::size_t p) const
    {
        const std::string& text = now.text;
        return p == 0 || p == text.size() || text[p - 1] == '\n' || text[p] == '\n' ||
               (text[p] != ' ' && Class(text[p]) != Class(text[p - 1]));
    }
    std::size_t LineStart(std::size_t p) const
    {
        while (p > 0 && now.text[p - 1] != '\n')
            --p;
        return p;
    }
    std::size_t LineEnd(std::size_t p) const { return std::min(now.text.find('\n', p), now.text.size()); }

    std::size_t Find(Move move) const
    {
        const std::size_t end = now.text.size();
        std::size_t p = now.cursor;
        const bool isLeft = move == Move::Left || move == Move::WordLeft;
        const bool isWord = move == Move::WordLeft || move == Move::WordRight;
        switch (move)
        {
        case Move::TextStart: return 0;
        case Move::TextEnd: return end;
        case Move::LineStart: return LineStart(p);
        case Move::LineEnd: return LineEnd(p);
        default:
            if (p == (isLeft ? 0 : end))
                return p;
            do
                p = isLeft ? p - 1 : p + 1;
            while (isWord && !IsStop(p));
            return p;
        }
    }
    void Go(std::size_t p, bool select)
    {
        now.cursor = p;
        if (!select)
            now.anchor = p;
        lastKind = 0;
    }
    void GoLines(int lines, bool select)
    {
        const std::vector<std::string> all = Split(now.text);
        const std::size_t start = LineStart(now.cursor);
        const auto line = std::count(now.text.begin(), now.text.begin() + static_cast<std::ptrdiff_t>(start), '\n');
        const int column = wanted < 0 ? static_cast<int>(now.cursor - start) : wanted;
        const auto target = static_cast<std::size_t>(
            std::clamp<std::ptrdiff_t>(line + lines, 0, static_cast<std::ptrdiff_t>(all.size()) - 1));
        std::size_t place = 0;
        for (std::size_t i = 0; i < target; ++i)
            place += all[i].size() + 1;
        Go(place + std::min(static_cast<std::size_t>(column), all[target].size()), select);
        wanted = column;
    }
    /// `kind`: edits of the same one, but 0, belong together.
    void Replace(char kind, std::size_t begin, std::size_t end, const std::string& text)
    {
        if (begin == end && text.empty())
            return;
        if (kind == 0 || kind != lastKind)
            past.emplace_back(now, now);
        future.clear();
        now.text = now.text.substr(0, begin) + text + now.text.substr(end);
        Go(begin + text.size(), false);
        lastKind = text == "\n" ? '\0' : kind;
        wanted = -1;
        past.back().second = now;
    }
    void Undo()
    {
        if (!past.empty())
            Travel(past, future, past.back().first);
    }
    void Redo()
    {
        if (!future.empty())
            Travel(future, past, future.back().second);
    }
    using Edits = std::vector<std::pair<State, State>>; // before and after
    void Travel(Edits& from, Edits& to, const State& state)
    {
        now = state;
        to.push_back(from.back());
        from.pop_back();
        lastKind = 0;
        wanted = -1;
    }

    State now;
    Edits past;
    Edits future;
    char lastKind = 0;
    int wanted = -1;
};

constexpr Move kMoves[] = {Move::Left,      Move::Right,   Move::WordLeft,  Move::WordRight,
                           Move::LineStart, Move::LineEnd, Move::TextStart, Move::TextEnd};

/// One random step of both.
void Step(test::Random& random, GuiTextBuffer& buffer, Reference& reference)
{
    static constexpr char kLetters[] = {'a', 'b', ' ', '\n', '.', '\xE9'};
    const std::size_t begin = std::min(reference.now.anchor, reference.now.cursor);
    const std::size_t end = std::max(reference.now.anchor, reference.now.cursor);
    const Move move = kMoves[random.Below(8)];
    const bool select = random.OneIn(3);
    const std::size_t room = 120 - reference.now.text.size() + (end - begin);
    const int what = random.Below(13);
    if (what < 4)
    {
        const std::string text(1, kLetters[random.Below(6)]);
        buffer.Type(text[0]);
        if (room > 0)
            reference.Replace('t', begin, end, text);
    }
    else if (what == 4)
    {
        std::string text;
        for (int i = random.Below(12); i > 0; --i)
            text += kLetters[random.Below(6)];
        buffer.Insert(text);
        if (text.empty() || room > 0)
            reference.Replace(0, begin, end, text.substr(0, room));
    }
    else if (what < 7)
    {
        const std::size_t place = reference.Find(move);
        const std::size_t cursor = reference.now.cursor;
        buffer.Erase(move);
        if (begin != end)
            reference.Replace(0, begin, end, "");
        else
            reference.Replace(place < cursor ? 'b' : 'd', std::min(place, cursor), std::max(place, cursor), "");
    }
    else if (what == 7)
    {
        const int lines = random.Below(7) - 3;
        buffer.MoveLines(lines, select);
        reference.GoLines(lines, select);
    }
    else if (what < 10)
    {
        std::size_t place = reference.Find(move);
        if (begin != end && !select && (move == Move::Left || move == Move::Right))
            place = move == Move::Left ? begin : end;
        buffer.MoveCursor(move, select);
        reference.Go(place, select);
        reference.wanted = -1;
    }
    else if (random.OneIn(2))
    {
        buffer.Undo();
        reference.Undo();
    }
    else
    {
        buffer.Redo();
        reference.Redo();
    }
}

TEST(GuiTextBuffer, DoesWhatANaiveOneDoes)
{
    for (std::uint64_t seed = 0; seed < 40; ++seed)
    {
        test::Random random(seed);
        GuiTextBuffer buffer(true);
        buffer.SetMaxLength(120);
        Reference reference;
        std::vector<std::string> before = Split("");
        buffer.TakeSameLines();
        for (int step = 0; step < 1500; ++step)
        {
            Step(random, buffer, reference);
            ASSERT_EQ(buffer.GetText(), reference.now.text) << seed << " " << step;
            ASSERT_EQ(buffer.GetCursor(), reference.now.cursor) << seed << " " << step;
            ASSERT_EQ(buffer.GetAnchor(), reference.now.anchor) << seed << " " << step;
            const std::vector<std::string> lines = Split(reference.now.text);
            ASSERT_EQ(buffer.GetLineCount(), lines.size());
            for (std::size_t i = 0; i < lines.size(); ++i)
                ASSERT_EQ(buffer.GetLine(i), lines[i]) << seed << " " << step;
            const std::size_t place = random.Below(reference.now.text.size() + 1);
            ASSERT_EQ(buffer.GetLineStart(buffer.FindLine(place)), reference.LineStart(place));
            if (!random.OneIn(5))
                continue;
            // What is said to be the same as long ago is.
            const auto same = buffer.TakeSameLines();
            const std::size_t least = std::min(lines.size(), before.size());
            for (std::size_t i = 0; i < std::min(same.before, least); ++i)
                ASSERT_EQ(lines[i], before[i]);
            for (std::size_t i = 1; i <= std::min(same.after, least); ++i)
                ASSERT_EQ(lines[lines.size() - i], before[before.size() - i]);
            before = lines;
        }
    }
}

TEST(GuiTextBuffer, TakesOnlyText)
{
    GuiTextBuffer lines(true);
    lines.SetText(std::string_view("a\r\nb\rc\t\x1b\x7f\0\x81\xff", 13));
    EXPECT_EQ(lines.GetText(), "a\nb\nc\t\x81\xff");
    GuiTextBuffer line(false);
    line.SetMaxLength(5);
    line.SetText("a\r\nb\tcdef");
    EXPECT_EQ(line.GetText(), "a b c");
    line.Select(1, 4);
    EXPECT_FALSE(line.Insert("\x1b"));
    EXPECT_TRUE(line.Insert("1\r\n345"));
    EXPECT_EQ(line.GetText(), "a1 3c");
    EXPECT_FALSE(line.Type('x')); // full
    EXPECT_TRUE(line.Erase(Move::Left));
    line.SetMaxLength(4); // undo would lead beyond
    EXPECT_FALSE(line.Undo());
    line.SetMaxLength(2);
    EXPECT_EQ(line.GetText(), "a1");
    line.SetCursor(99, false);
    EXPECT_EQ(line.GetCursor(), 2U);

    lines.SetText("one  two.\n\n;");
    const auto range = [](std::size_t begin, std::size_t end) { return GuiTextBuffer::Range{begin, end}; };
    EXPECT_EQ(lines.FindWord(1), range(0, 3));
    EXPECT_EQ(lines.FindWord(3), range(3, 5));
    EXPECT_EQ(lines.FindWord(9), range(8, 9));
    EXPECT_EQ(lines.FindWord(10), range(10, 10));
    EXPECT_EQ(lines.FindWord(99), range(11, 12));
    EXPECT_EQ(lines.FindWholeLine(4), range(0, 10));
    EXPECT_EQ(lines.FindWholeLine(99), range(11, 12));
}

TEST(GuiTextBuffer, ForgetsTheOldestStepsOfMany)
{
    const std::string much(1U << 20, 'x');
    GuiTextBuffer buffer(true);
    for (int i = 0; i < 8; ++i)
        EXPECT_TRUE(buffer.Insert(much));
    int steps = 0;
    for (; buffer.Undo(); ++steps)
    {
    }
    EXPECT_EQ(steps, 3); // each takes a little more than its text
    EXPECT_EQ(buffer.GetLength(), 5 * much.size());
    while (buffer.Redo())
        --steps;
    EXPECT_EQ(steps, 0);
    buffer.SelectAll(); // larger than all that may be kept
    EXPECT_TRUE(buffer.Erase(Move::Left));
    EXPECT_TRUE(buffer.Undo());
    EXPECT_EQ(buffer.GetLength(), 8 * much.size());
    EXPECT_FALSE(buffer.Undo());
}
} // namespace
