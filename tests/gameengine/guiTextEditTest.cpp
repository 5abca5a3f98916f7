#include "gameengine/gui/guiWidget/guiTextEdit.h"

#include "gameengine/gui/guiWidget/guiSpinner.h"
#include "support/guiFixture.h"

#include <limits>
#include <map>
#include <sstream>
#include <tuple>

using namespace gui;

namespace
{
class MeasuringDraw final : public test::RecordingDraw
{
public:
    int GetTextWidth(std::string_view text, int font) const override
    {
        measured += text.size();
        return RecordingDraw::GetTextWidth(text, font);
    }
    mutable std::size_t measured = 0; ///< Characters.
};

class GuiTextEdits : public test::GuiTest<MeasuringDraw>
{
protected:
    std::string Tell(const char*, const GuiEvent& event) const override
    {
        std::ostringstream out;
        out << event.type << ':';
        if (event.type == GET_SPINNER_CHANGED)
            out << event.GetFloat(0);
        else
            out << event.GetInt(0) << (event.GetInt(1) != 0 ? "!" : "");
        return out.str();
    }

    template <class Widget>
    Widget& Add(const GuiRecti& rect)
    {
        return *GuiTest::Add<Widget>(m_root, "", rect);
    }

    /// Words like C-S-Left, with C, S and A for Control, Shift and Alt, and 'text for what is typed ('_' for a blank).
    void Play(const std::string& script)
    {
        static const std::map<std::string, unsigned> keys = {
            {"Left", 263},      {"Right", 262},  {"Up", 265},    {"Down", 264},     {"Home", 268},
            {"End", 269},       {"PageUp", 266}, {"Enter", 257}, {"PageDown", 267}, {"Escape", 256},
            {"Backspace", 259}, {"Delete", 261}, {"Tab", 258},   {"Insert", 260}};
        static const std::map<char, unsigned> modifiers = {{'C', 341}, {'S', 340}, {'A', 342}};
        std::istringstream words(script);
        for (std::string word; words >> word;)
        {
            if (word[0] == '\'')
            {
                for (const char c : word.substr(1))
                    m_context->PushKeyChar(c == '_' ? ' ' : static_cast<unsigned char>(c));
                continue;
            }
            std::string held;
            for (; word.size() > 2 && word[1] == '-'; word.erase(0, 2))
                held += word[0];
            for (const char c : held)
                Hold(modifiers.at(c), true);
            const unsigned key = word.size() == 1 ? static_cast<unsigned char>(word[0]) : keys.at(word);
            Hold(key, true);
            Hold(key, false);
            for (const char c : held)
                Hold(modifiers.at(c), false);
        }
        Update();
    }
    void Press(int x, int y, int times = 1)
    {
        m_context->SetMousePos(x, y);
        for (int i = 0; i < times; ++i)
        {
            if (i > 0)
                m_context->PushMouseRelease(1);
            m_context->PushMouseClick(1);
        }
        Update();
    }
    void Release(int x, int y)
    {
        m_context->SetMousePos(x, y);
        m_context->PushMouseRelease(1);
        Update();
    }
};

/// The text with | for the cursor and [ ] around the selection.
std::string Show(const GuiTextEdit& edit)
{
    std::string text = edit.GetText();
    const GuiTextBuffer::Range range = edit.GetSelection();
    text.insert(edit.GetCursorPlace(), 1, '|');
    if (range.begin == range.end)
        return text;
    text.insert(range.end + 1, 1, ']');
    return text.insert(range.begin, 1, '[');
}

TEST_F(GuiTextEdits, LineTakesTheKeyboard)
{
    // Text, flags, and largest length before; then what is played, and what is shown and told of afterwards.
    const std::tuple<const char*, unsigned, std::size_t, const char*, const char*, const char*> cases[] = {
        {"one", 0, 0, "'x", "x|", "13:1"}, // everything is selected when the focus comes
        {"one", 0, 0, "End '_two C-Left 'a C-Z", "one |two", "13:4 13:5 13:6 13:7 13:8 13:7"},
        {"one two", 0, 0, "End C-Backspace Home Delete C-Z C-Z C-Z C-Y C-S-Z", "|ne ", "13:4 13:3 13:4 13:7 13:4 13:3"},
        {"one two", 0, 0, "Home C-S-Right C-X End C-V S-Insert", "twoone one |", "13:3 13:7 13:11"},
        {"one two", 0, 0, "Home S-End S-Left C-Insert C-End C-V S-Home S-Delete", "|", "13:13 13:0"},
        {"abc", 0, 4, "End 'de C-A C-C C-V Right C-V", "abcd|", "13:4 13:4"},
        {"abc", 0, 0, "Home S-Right S-Right Right Left S-Left", "[|a]bc", ""},
        {"abc", kTextReadOnly, 0, "'x Backspace C-X C-V C-Z End S-Left Enter", "ab[|c]", "14:3 15:3!"},
        {"12", kTextNumber, 0, "End '.x5.e-7- C-A '+", "+|", "13:3 13:4 13:5 13:6 13:7 13:1"},
        {"pass word", kTextPassword, 0, "C-C C-X End C-V C-Left C-Delete", "|", "13:0"},
        {"a", 0, 0, "End C-B '\xE9\x7F\x81\t Enter", "a\xE9|", "13:2 14:2 15:2!"},
    };
    for (const auto& [text, flags, length, script, shown, events] : cases)
    {
        auto& line = Add<GuiTextEditLine>({10, 10, 100, 20});
        line.SetText(text);
        line.SetFlags(flags);
        line.SetMaxLength(length);
        m_context->SetClipboard("");
        m_context->GrabFocus(&line);
        Play(script);
        EXPECT_EQ(Show(line), shown) << script;
        EXPECT_EQ(Take(), events) << script;
        line.DestroySelf();
    }
    auto& line = Add<GuiTextEditLine>({10, 10, 100, 20});
    m_context->GrabFocus(&line);
    line.SetFlags(kTextNumber);
    m_context->SetClipboard(" 4.5\r\n");
    Play("C-V");
    EXPECT_EQ(line.GetText(), "4.5");
    line.SetFlags(0);
    line.SetText("");
    m_context->PushKeyChar(0x20AC); // not in Latin-1
    Hold(341, true);
    m_context->PushKeyChar('a'); // with Control it is no character, with Alt too it is
    Hold(342, true);
    m_context->PushKeyChar('@');
    Update();
    EXPECT_EQ(line.GetText(), "\x81@");
}

TEST_F(GuiTextEdits, LineTakesTheMouse)
{
    auto& line = Add<GuiTextEditLine>({10, 10, 100, 20}); // text from 14 to 106, 8 pixels a character
    Add<GuiTextEditLine>({10, 40, 100, 20});
    line.SetText("one two three");
    const auto drag = [&](int from, int to, int times)
    {
        Update(1.0F); // no click in a row with the last one
        Press(14 + from * 8, 20, times);
        Release(14 + to * 8, 20);
        return Show(line);
    };
    EXPECT_EQ(drag(2, 2, 1), "on|e two three");
    EXPECT_EQ(drag(5, 2, 1), "on[|e t]wo three");
    EXPECT_EQ(drag(5, 5, 2), "one [two|] three");
    EXPECT_EQ(drag(5, 1, 2), "[|one two] three");
    EXPECT_EQ(drag(5, 5, 3), "[one two three|]");
    Hold(340, true);
    EXPECT_EQ(drag(4, 4, 1), "[one |]two three");
    Hold(340, false);
    EXPECT_EQ(m_context->GetInputWidget(), nullptr);
    EXPECT_EQ(Take(), "");

    // Dragged beyond the edge it scrolls with the time, and with the cursor.
    line.SetText(std::string(50, 'x'));
    Press(14, 20);
    m_context->SetMousePos(300, 20);
    for (int i = 0; i < 20; ++i)
        Update(0.06F);
    Release(300, 20);
    EXPECT_EQ(line.GetSelection(), (GuiTextBuffer::Range{0, 50}));
    EXPECT_EQ(Draw("text").at(0).rect.x + Draw("text").at(0).rect.w, 105); // its end and the cursor are seen
    EXPECT_LE(Draw("text").at(0).text.size(), 14U);
    Play("Home");
    EXPECT_EQ(Draw("text").at(0).rect.x, 14);
    EXPECT_EQ(m_draw.clips, 0);
}

// In focus only; nothing is drawn anew in between.
TEST_F(GuiTextEdits, CursorBlinksAndLinesTellWhenTheyAreLeft)
{
    auto& line = Add<GuiTextEditLine>({10, 10, 100, 20});
    auto& other = Add<GuiTextEditLine>({10, 40, 100, 20});
    line.SetText(std::string(50, 'x'));
    m_context->GrabFocus(&line);
    Play("Home");
    EXPECT_EQ(Draw("fill").size(), 1U);
    Update(0.5F);
    EXPECT_EQ(Draw("fill").size(), 0U);
    Play("End 'y");
    EXPECT_EQ(Take(), "13:51");
    EXPECT_EQ(Draw("fill").size(), 1U);
    Press(20, 50);
    Release(20, 50);
    EXPECT_EQ(Take(), "15:51");
    EXPECT_EQ(m_context->GetFocusWidget(), &other);
    Play("S-Tab Tab");
    EXPECT_EQ(Take(), ""); // nothing was changed

    // What is locked lets go of the mouse, and is silent.
    Play("'z");
    Press(20, 50);
    EXPECT_EQ(m_context->GetInputWidget(), &other);
    other.SetLocked(true);
    EXPECT_EQ(m_context->GetInputWidget(), nullptr);
    Play("'z Enter Backspace");
    Press(20, 50);
    m_context->GrabFocus(&line);
    Update();
    EXPECT_EQ(Take(), "13:1");
    EXPECT_EQ(other.GetText(), "z");

    line.SetText("secret");
    line.SetFlags(kTextPassword);
    EXPECT_EQ(Draw("text").at(0).text, "******");
    line.InsertText("12"); // in place of all of it
    EXPECT_EQ(Draw("text").at(0).text, "**");
    line.SetFlags(0);
    EXPECT_EQ(Draw("text").at(0).text, line.GetText());
}

TEST_F(GuiTextEdits, BoxMovesAndTakesTabsAsItIsTold)
{
    auto& box = Add<GuiTextEditBox>({0, 0, 200, 90}); // text from 5, 5; without bars 190 x 80, five lines
    Add<GuiTextEditLine>({250, 0, 50, 20});
    box.SetText("first\nx\nthe third\n\nfifth");
    m_context->GrabFocus(&box);
    Play("End Down Down Down Down 'a Enter '_b");
    EXPECT_EQ(Show(box), "first\nx\nthe third\n\nfiftha\n b|");
    Play("S-Up S-Up Backspace C-Home PageDown 'c");
    EXPECT_EQ(Show(box), "first\nx\nthe third\nc|");
    EXPECT_EQ(Take(), "13:25 13:26 13:27 13:28 13:18 13:19");
    box.SetText("");
    EXPECT_EQ(m_context->GetFocusWidget(), &box);
    Play("Tab");
    EXPECT_EQ(Take(), "15:0"); // and no tab
    EXPECT_NE(m_context->GetFocusWidget(), &box);
    box.SetFlags(kTextTabs);
    m_context->GrabFocus(&box);
    Play("Tab 'x");
    EXPECT_EQ(box.GetText(), "\tx");
    box.SetLocked(true);
    Play("Tab"); // is no trap
    EXPECT_NE(m_context->GetFocusWidget(), &box);
}

TEST_F(GuiTextEdits, BoxScrollsAndDrawsWhatIsSeen)
{
    auto& box = Add<GuiTextEditBox>({0, 0, 200, 90});
    m_context->GrabFocus(&box);
    std::string text;
    for (int i = 0; i < 40'000; ++i)
        text.append("line ").append(std::to_string(i)).append(i == 7 ? 50U : 0U, '.').append(" of many\n");
    box.SetText(text);
    EXPECT_EQ(Draw("text").front().text, "line 0 of many");
    EXPECT_EQ(Draw("text").size(), 5U); // 66 pixels between the bars
    GuiTest::Press({50, 50}, kGuiMouseWheelDown);
    EXPECT_EQ(Draw("text").front().text, "line 3 of many");
    Hold(340, true);
    GuiTest::Press({50, 50}, kGuiMouseWheelDown);
    EXPECT_EQ(Draw("text").front().rect.x, 5 - 48 + 40); // the characters before are left out
    GuiTest::Press({50, 50}, kGuiMouseWheelUp);
    Hold(340, false);
    GuiTest::Press({50, 50}, kGuiMouseWheelUp);
    EXPECT_EQ(Draw("text").front().rect, GuiRecti(5, 5, 112, 16));

    // In a megabyte an edit measures its line only, and few characters around it.
    Play("C-Home Down End");
    m_draw.measured = 0;
    Play("'x");
    Draw("text");
    EXPECT_EQ(box.GetText().substr(0, 32), "line 0 of many\nline 1 of manyx\nl");
    EXPECT_LT(m_draw.measured, 1000U);

    // The bars: below from 1 to 185 with its handle at the start, beside it from 1 to 75.
    Press(193, 70);
    Release(193, 90);
    EXPECT_EQ(Draw("text").back().text, "line 39999 of many");
    Press(193, 68);
    m_context->SetMousePos(193, -500);
    Update();
    EXPECT_EQ(Draw("text").front().text, "line 0 of many");
    box.SetVisible(false);
    EXPECT_EQ(m_context->GetInputWidget(), nullptr);
    box.SetVisible(true);
    Press(100, 82);
    EXPECT_EQ(m_context->GetCursor(), GuiCursor::Arrow);
    Release(400, 82);
    EXPECT_LT(Draw("text").front().rect.x, 5 - 8 * 8);
    EXPECT_EQ(box.GetSelection().begin, box.GetSelection().end);
    EXPECT_EQ(m_draw.clips, 0);

    // The widest line is gone: no bar below any more.
    box.Select(0, 10'000);
    Play("Delete");
    EXPECT_EQ(Draw("text").size(), 5U);
    EXPECT_EQ(Draw("text").front().rect.x, 5);
    Press(100, 82);
    Release(100, 82);
    EXPECT_EQ(m_context->GetCursor(), GuiCursor::Text);
}

TEST_F(GuiTextEdits, SpinnerTakesNumbersAndSteps)
{
    auto& spinner = Add<GuiSpinner>({10, 10, 100, 22}); // arrows from 93, up to 21 and below
    Add<GuiTextEditLine>({250, 0, 50, 20});
    const auto play = [&](const char* script)
    {
        Play(script);
        return Take() + " " + spinner.GetText();
    };
    spinner.SetRange(-1.0F, 10.0F);
    spinner.SetStep(0.1F);
    m_context->GrabFocus(&spinner);
    EXPECT_EQ(play("Up Up Up"), "17:0.1 17:0.2 17:0.3 0.3");
    EXPECT_EQ(play("PageDown Down Down Down Down"), "17:-0.7 17:-0.8 17:-0.9 17:-1 -1");
    EXPECT_EQ(play("'2.5x"), " 2.5"); // not taken yet
    EXPECT_EQ(spinner.GetValue(), -1.0F);
    spinner.SetValue(-1.0F); // the same as before does not disturb
    EXPECT_EQ(play("Enter"), "17:2.5 2.5");
    EXPECT_EQ(play("'2.50 Enter"), " 2.5");
    EXPECT_EQ(play("'7 Up"), "17:7.1 7.1");
    EXPECT_EQ(play("'99 Enter"), "17:10 10");
    EXPECT_EQ(play("'- Enter"), " 10");
    EXPECT_EQ(play("'3 Escape"), " 10");
    EXPECT_EQ(play("'3e Tab"), " 10");
    m_context->GrabFocus(&spinner);
    EXPECT_EQ(play("'4"), " 4");
    m_context->GrabFocus(nullptr);
    EXPECT_EQ(play(""), "17:4 4");
    GuiTest::Press({30, 20}, kGuiMouseWheelUp); // out of focus it is for others
    EXPECT_EQ(Take(), "");
    m_context->GrabFocus(&spinner);
    GuiTest::Press({30, 20}, kGuiMouseWheelUp);
    GuiTest::Press({30, 20}, kGuiMouseWheelDown);
    EXPECT_EQ(Take(), "17:4.1 17:4");
}

TEST_F(GuiTextEdits, SpinnerTakesTheMouse)
{
    auto& spinner = Add<GuiSpinner>({10, 10, 100, 22});
    spinner.SetRange(-1.0F, 10.0F);
    spinner.SetStep(0.1F);
    spinner.SetValue(4.0F);
    spinner.SetWhole(true);
    m_context->GrabFocus(&spinner);
    Press(100, 15);
    EXPECT_EQ(Take(), "17:5");
    Update(0.41F);
    Update(0.05F);
    EXPECT_EQ(Take(), "17:6 17:7");
    m_context->SetMousePos(50, 15); // beside the arrow
    Update(0.5F);
    EXPECT_EQ(Take(), "");
    m_context->SetMousePos(50, 15 + 9);
    Update(0.5F);
    Release(50, 15 - 4);
    EXPECT_EQ(Take(), "17:4 17:8");
    Press(100, 28);
    spinner.SetLocked(true);
    Update(1.0F);
    GuiTest::Press({30, 20}, kGuiMouseWheelUp);
    EXPECT_EQ(Take(), "17:7");
    EXPECT_EQ(m_context->GetInputWidget(), nullptr);
    spinner.SetLocked(false);

    // Setters emit nothing.
    spinner.SetRange(0.5F, 0.75F);
    EXPECT_EQ(spinner.GetValue(), 0.5F); // no whole number in there
    spinner.SetWhole(false);
    spinner.SetRange(1.0F / 3.0F, -5.0F);
    EXPECT_EQ(spinner.GetText() + Take(), "0.333333");
    spinner.SetRange(-1e30F, 1e30F);
    spinner.SetValue(-1e30F);
    spinner.SetValue(std::numeric_limits<float>::quiet_NaN());
    spinner.SetStep(0.0F);
    EXPECT_EQ(spinner.GetValue(), -GuiSpinner::kMost);
    EXPECT_EQ(spinner.GetStep(), 0.1F);
}
} // namespace
