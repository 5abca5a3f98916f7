#include "gameengine/gui/guiWidget/guiStream.h"

#include <limits>
#include <random>
#include <tuple>

#include <gtest/gtest.h>

namespace
{
using gui::GuiStream;

// Every read against its text: whether it succeeds, what it gives (the text form), and where the cursor stops.
using ReadCase = std::tuple<std::string, bool, std::string, int>;

template <class T, class Read>
void CheckReads(std::initializer_list<ReadCase> cases, T initial, Read read)
{
    for (const auto& [text, isGood, expected, position] : cases)
    {
        GuiStream stream(text);
        T value = initial;
        const bool good = (stream.*read)(value);
        EXPECT_EQ(good, isGood) << text;
        if constexpr (std::is_same_v<T, std::string>)
            EXPECT_EQ(value, isGood ? expected : initial) << text;
        else
            EXPECT_EQ(value, isGood ? static_cast<T>(std::stod(expected)) : initial) << text;
        EXPECT_EQ(stream.GetDataPosition(), position) << text;
        EXPECT_EQ(stream.GetFaultPosition() >= 0, !isGood) << text;
    }
}

TEST(GuiStream, NumbersTakeTenCharactersAndEndAtTheSeparator)
{
    CheckReads({{"12 3", true, "12", 3},
                {"+5 ", true, "5", 3},
                {" \n\t 8 ", true, "8", 1}, // the format skips white space, the cursor one separator
                {"12x3 4", true, "12", 5},
                {"-1234567890 1", true, "-123456789", 12},
                {"3000000000 1", false, "", 11},
                {"abc 1", false, "", 4},
                {"+-5 ", false, "", 4},
                {"", false, "", 0},
                {"\n", false, "", 1}},
               99, &GuiStream::ReadInteger);
    CheckReads({{"1.250000 3", true, "1.25", 9},
                {"+2e3 ", true, "2000", 5},
                {"1.2345678e+10 ", true, "1.2345678", 14}, // the exponent is cut off
                {"123456789012 ", true, "1234567890", 13},
                {"1,5 ", true, "1", 4},
                {"inf ", false, "", 4},
                {"1e99 ", false, "", 5},
                {"e5 ", false, "", 3}},
               99.0F, &GuiStream::ReadFloat);
}

TEST(GuiStream, StringsAreBoundedAndUnescaped)
{
    const std::string word(GuiStream::kMaxWordLength, 'w');
    CheckReads({{"GWT_LABEL 1", true, "GWT_LABEL", 10},
                {word + "tail x", true, word, 1028},
                {"\t\tone two", true, "one", 6},
                {"one\ttwo three", true, "one", 8},
                {" \n ", false, "", 1},
                {"", false, "", 0}},
               std::string("old"), &GuiStream::ReadSimpleString);
    CheckReads({{"\"a b\" 1", true, "a b", 6},
                {"\"a\"rest 1", true, "a", 8},
                {R"("\\ \" \n" 1)", true, "\\ \" \n", 11},
                {R"("a\tb\x" 1)", true, "ab", 9},
                {"\"two\nlines\" 1", true, "two\nlines", 12},
                {std::string("\"a\0b\" 1", 7), true, std::string("a\0b", 3), 6},
                {"bare word", true, "bare", 5},
                {" \"a b\" ", true, "\"a", 1}, // a word: the quote does not stand at the cursor
                {"\"open 1\n", false, "", 8},
                {"\"open\\", false, "", 6},
                {R"("open\")", false, "", 7},
                {"", false, "", 0}},
               std::string("old"), &GuiStream::ReadQuotedString);
}

TEST(GuiStream, WritesTokensAndReadsThemBack)
{
    GuiStream stream;
    stream.WriteNewline();
    stream.WriteNumberOfTabs(2);
    stream.WriteSimpleString("GWT_LABEL");
    stream.WriteQuotedString("5\" of \\ \n and \t");
    stream.WriteInteger(std::numeric_limits<int>::min());
    stream.WriteFloat(-0.1F);
    stream.WriteFloat(std::numeric_limits<float>::max());
    stream.WriteNewline();
    stream.WriteNewline();
    EXPECT_EQ(stream.GetData(), "\n\t\tGWT_LABEL \"5\\\" of \\\\ \\n and \t\" -2147483648 -0.100000 "
                                "340282346638528859811704183484516925440.000000\n");

    std::mt19937 random(7);
    for (int round = 0; round < 200; ++round)
    {
        std::vector<std::string> texts(random() % 5);
        for (std::string& text : texts)
            for (auto length = random() % 12; length > 0; --length)
                text += "\\\"\n\tn a\0"[random() % 8];
        const int number = static_cast<int>(random() % 1'099'999'999) - 99'999'999;
        const float real = static_cast<float>(static_cast<int>(random() % 2000) - 1000) / 8.0F;
        GuiStream written;
        written.WriteQuotedStrings(texts);
        written.WriteInteger(number);
        written.WriteFloat(real);
        written.WriteNewline();
        EXPECT_EQ(written.GetData().find('\n'), written.GetData().size() - 1);

        std::vector<std::string> textsRead;
        int numberRead = 0;
        float realRead = 0.0F;
        EXPECT_TRUE(written.ReadQuotedStrings(textsRead) && written.ReadInteger(numberRead) &&
                    written.ReadFloat(realRead));
        EXPECT_EQ(textsRead, texts);
        EXPECT_EQ(numberRead, number);
        EXPECT_EQ(realRead, real);
        EXPECT_EQ(written.GetDataPosition(), static_cast<int>(written.GetData().size()));
    }
}

TEST(GuiStream, DamagedListsLeaveTheTargetAlone)
{
    for (const char* text :
         {"3 \"a\" \"b\" ", "-1 ", "2000000000 \"a\" ", "x \"a\" ", "2 \"a\" \"b ", "3     word ", ""})
    {
        std::vector<std::string> texts{"old"};
        GuiStream stream{std::string(text)};
        EXPECT_FALSE(stream.ReadQuotedStrings(texts)) << text;
        EXPECT_EQ(texts, std::vector<std::string>{"old"}) << text;
        EXPECT_GE(stream.GetFaultPosition(), 0) << text;
    }
}

TEST(GuiStream, CountsTabsAndKeepsParentsUpToTheLimits)
{
    GuiStream stream(std::string(40, '\t').append("x"));
    EXPECT_EQ(stream.ReadNumberOfTabs(), 32);
    EXPECT_EQ(stream.ReadNumberOfTabs(), 8);
    EXPECT_EQ(stream.ReadNumberOfTabs(), 0);

    auto* widget = reinterpret_cast<gui::GuiWidget*>(&stream); // never followed
    for (const int depth : {-1, 16, 32, std::numeric_limits<int>::max()})
    {
        EXPECT_FALSE(stream.SetParent(depth, widget)) << depth;
        EXPECT_EQ(stream.GetParent(depth), nullptr) << depth;
    }
    EXPECT_TRUE(stream.SetParent(15, widget));
    stream.SetDataPosition(-3);
    EXPECT_EQ(stream.GetDataPosition(), 0);
    stream.SetDataPosition(1000);
    EXPECT_EQ(stream.GetDataPosition(), 41);
    EXPECT_EQ(GuiStream(nullptr, 5).GetData(), "");
    EXPECT_EQ(GuiStream("abc", -1).GetData(), "");
    EXPECT_EQ(GuiStream("abc", 2).GetData(), "ab");
}
} // namespace
