#include "gameengine/gui/draw2D/fontTable.h"
#include "gameengine/gui/draw2D/latin1.h"
#include "support/expectations.h"
#include "tamradeps/io/fileSystem.h"

#include <memory>
#include <utility>

#include <gtest/gtest.h>
#include <unistd.h>

using namespace gui;

namespace
{
FontBody MakeBody()
{
    FontBody body;
    body.map['a'] = 0;
    body.map['b'] = 1;
    body.glyphs = {{0, 0, 2, 3, 2, 3, -99, 998.999939F, 3}, {1.0F / 3, 0.1F, 1e-7F, 16.000001F, 999, -0.0F, 0, 0, 7}};
    body.bitmapWidth = 3;
    body.bitmapHeight = 2;
    body.fontSize = 13;
    body.bitmap = {0, 10, 13, 255, '\n', ' ', 7, 8, 9, 10, 11, 12, 1, 2, 3, 4, 5, 6, 7, 8, 9, 1, 2, 3};
    return body;
}

std::string MakeText()
{
    Font font;
    std::string text;
    EXPECT_TRUE(font.Create(MakeBody()) && font.ConvertFontToAscii(text));
    return text;
}

std::string Replaced(std::string text, const std::string& from, const std::string& to)
{
    const std::size_t at = text.find(from);
    EXPECT_NE(at, std::string::npos) << from;
    return text.replace(at, from.size(), to);
}
} // namespace

// Nor does a number have more digits than are written.
TEST(Font, WrittenFilesAreReadBackEqual)
{
    const std::string once = MakeText();
    std::string twice;
    Font made;
    Font again;
    ASSERT_TRUE(made.Create(MakeBody()) && again.CreateFromAscii("again", once) && again.ConvertFontToAscii(twice));
    EXPECT_EQ(again.GetBody().glyphs, made.GetBody().glyphs);
    EXPECT_EQ(once, twice);
}

TEST(Font, NumbersAreReadUpToTenCharacters)
{
    const std::string text = MakeText();
    Font font;
    ASSERT_TRUE(font.CreateFromAscii("x", Replaced(text, "fontSize 13", "fontSize  \t00000000139 and more")));
    EXPECT_EQ(font.GetFontSize(), 13);
    // The rest of a long number is the next one.
    ASSERT_TRUE(font.CreateFromAscii("x", Replaced(text, "glyph 0.000000 0.000000 ", "glyph 1.2500000007 ")));
    EXPECT_EQ(font.GetBody().glyphs[0].textureX, 1.25F);
    EXPECT_EQ(font.GetBody().glyphs[0].textureY, 7.0F);
    EXPECT_TRUE(font.CreateFromAscii("x", Replaced(text, "\nbitmap\n", "\n" + std::string(1199, 'x') + "\n")));
}

TEST(Font, DamagedFilesAreRefused)
{
    const std::string good = MakeText();
    const std::string bad[] = {
        "",
        good + "x",
        good.substr(0, good.size() - 1),
        good.substr(0, good.find("bitmap\n") + 6),
        Replaced(good, "\nbitmap\n", "\n" + std::string(1200, 'x') + "\n"),
        Replaced(good, "map 1\n", "map 2\n"),
        Replaced(good, "map 1\n", "map -2\n"),
        Replaced(good, "map 1\n", "map\n"),
        Replaced(good, "map 1\n", "map 9999999999\n"),
        Replaced(good, "map -1\n", ""),
        Replaced(good, "count 2", "count 2000000000"),
        Replaced(good, "count 2", "count -1"),
        Replaced(good, "count 2", "count 1"),
        Replaced(good, "glyph 0.000000", "glyph nan"),
        Replaced(good, "glyph 0.000000", "glyph inf"),
        Replaced(good, "glyph 0.000000", "glyph 1000.0"),
        Replaced(good, "glyph 0.000000", "glyph"),
        Replaced(good, "bitmapWidth 3", "bitmapWidth -3"),
        Replaced(good, "bitmapWidth 3\nbitmapHeight 2", "bitmapWidth -3\nbitmapHeight -2"),
        Replaced(good, "bitmapWidth 3", "bitmapWidth 2147483647"),
        Replaced(good, "fontSize 13", "fontSize 0"),
        Replaced(good, "fontSize 13", "fontsize 13"),
    };
    for (const std::string& text : bad)
    {
        Font font;
        ASSERT_TRUE(font.Create(MakeBody()));
        const test::ExpectLog log{"cannot make the font \"bad.fnt\": "};
        EXPECT_FALSE(font.CreateFromAscii("bad.fnt", text)) << text.substr(text.size() > 400 ? text.size() - 400 : 0);
        EXPECT_FALSE(font.IsValid());
        EXPECT_EQ(font.GetGlyph('a'), nullptr);
    }
}

TEST(Font, UnsupportedSourcesLetGoOfTheFont)
{
    Font font;
    ASSERT_TRUE(font.Create(MakeBody()));
    EXPECT_FALSE(font.Create(RefPtr<renderer::CTexture>(), 5, 9, 13, "abc") || font.IsValid());
    ASSERT_TRUE(font.Create(MakeBody()));
    EXPECT_FALSE(font.Create("Sans", 12, true) || font.IsValid());
    std::string text = "x";
    EXPECT_FALSE(font.ConvertFontToAscii(text));
    EXPECT_EQ(text, "");
}

TEST(Font, PixelFontHasItsCharactersInOrder)
{
    GetFileSystem().AddRoot(TAMRA_SOURCE_FOLDER "/assets");
    const FontTable fonts;
    const Font& font = fonts.Get(TFB_PIXEL);
    const std::string charset = "\x81"
                                "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz`1234567890-=~!@#$%^&*()_+[]{};'"
                                "\\:\"|,./<>? ";
    ASSERT_EQ(charset.size(), 96U);
    for (int i = 0; i < 96; ++i)
    {
        const Glyph* glyph = font.GetGlyph(static_cast<unsigned char>(charset[static_cast<std::size_t>(i)]));
        ASSERT_NE(glyph, nullptr) << i;
        EXPECT_EQ(glyph->textureX, static_cast<float>(i % 12 * 5));
        EXPECT_EQ(glyph->textureY, static_cast<float>(i / 12 * 9));
    }
    EXPECT_EQ(font.GetGlyph(0xE4), nullptr);
    EXPECT_EQ(font.GetCell(0xE4).uvs[0], font.GetCell(Font::kBox).uvs[0]);
}

TEST(Font, MeasuresAndFindsCharacters)
{
    GetFileSystem().AddRoot(TAMRA_SOURCE_FOLDER "/assets");
    const FontTable fonts;
    const Font& pixel = fonts.Get(TFB_PIXEL); // six pixels a character
    EXPECT_EQ(pixel.GetTextWidth("abc"), 18);
    EXPECT_EQ(pixel.GetTextWidth("a\tb"), 36);
    const std::pair<int, std::size_t> places[] = {{-1000, 0}, {2, 0}, {3, 1}, {8, 1}, {9, 2}, {1000000000, 3}};
    for (const auto& [x, expected] : places)
        EXPECT_EQ(pixel.FindCharacter("abc", x), expected) << x;
    EXPECT_EQ(ToLatin1("a\xC3\xA4\xE2\x82\xAC\xF0\x9F\x98\x80\xE4z\xC3"), "a\xE4\x81\x81\xE4z\xC3");

    for (const int bank : {TFB_SEGOE, TFB_SEGOE_16, TFB_CONSOLAS})
    {
        const Font& font = fonts.Get(bank);
        for (int character = 0x20; character <= 0xFF; character += character == 0x7E ? 0x22 : 1)
            EXPECT_NE(font.GetGlyph(static_cast<unsigned char>(character)), nullptr) << character;
    }
    EXPECT_EQ(fonts.Get(TFB_CONSOLAS).GetTextWidth("iiii"), fonts.Get(TFB_CONSOLAS).GetTextWidth("WWWW"));
    EXPECT_LT(fonts.Get(TFB_SEGOE).GetFontSize(), fonts.Get(TFB_SEGOE_16).GetFontSize());
}

TEST(FontTable, MissingFilesArePrintedAndFallBackToThePixelFont)
{
    const CFileSystem saved = std::exchange(GetFileSystem(), {});
    testing::internal::CaptureStdout();
    std::unique_ptr<FontTable> fonts;
    {
        const test::ExpectLog log{"consolas.fnt", "segoe_small.fnt", "segoe.fnt"};
        fonts = std::make_unique<FontTable>();
    }
    EXPECT_EQ(testing::internal::GetCapturedStdout(),
              "assertion failed: myFontBank[TFB_CONSOLAS].Create(PREFIX_FOLDER \"fonts/consolas.fnt\")\n"
              "assertion failed: myFontBank[TFB_SEGOE].Create(PREFIX_FOLDER \"fonts/segoe_small.fnt\")\n"
              "assertion failed: myFontBank[TFB_SEGOE_16].Create(PREFIX_FOLDER \"fonts/segoe.fnt\")\n");
    GetFileSystem() = saved;
    for (int bank = -3; bank < TFB_COUNT; ++bank)
        EXPECT_EQ(&fonts->Get(bank), &fonts->Get(TFB_PIXEL)) << bank;
    ASSERT_TRUE(fonts->Edit(11).Create(MakeBody()));
    EXPECT_EQ(fonts->Get(11).GetFontSize(), 13);
    EXPECT_NE(&fonts->Get(11), &fonts->Get(TFB_PIXEL));
    // The line goes to standard output, of which a death test sees nothing.
    EXPECT_DEATH((dup2(2, 1), fonts->Get(TFB_COUNT)), "assertion failed: bank >= 0 && bank < TFB_COUNT\n");
}
