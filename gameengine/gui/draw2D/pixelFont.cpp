#include "gameengine/gui/draw2D/pixelFontInternal.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <vector>

namespace gui
{
namespace
{
constexpr int FB_CHR_W = 5;
constexpr int FB_CHR_H = 9;
constexpr int FB_CHR_IN_W = 12;
constexpr int FB_CHR_IN_H = 8;

// One character for each cell, row by row.
constexpr const char* charset = "\x81"
                                "ABCDEFGHIJK"
                                "LMNOPQRSTUVW"
                                "XYZabcdefghi"
                                "jklmnopqrstu"
                                "vwxyz`123456"
                                "7890-=~!@#$%"
                                "^&*()_+[]{};"
                                "'\\:\"|,./<>? ";

constexpr const char* bmp = "@@@@@ @@@ @@@@  @@@ @@@@ @@@@@@@@@@ @@@ @   @ @@@   @@@@   @"
                            "@   @@   @@   @@   @@   @@    @    @   @@   @  @     @ @  @ "
                            "@   @@   @@   @@    @   @@    @    @    @   @  @     @ @ @  "
                            "@   @@@@@@@@@@ @    @   @@@@@ @@@@ @ @@@@@@@@  @     @ @@   "
                            "@   @@   @@   @@    @   @@    @    @   @@   @  @     @ @ @  "
                            "@   @@   @@   @@   @@   @@    @    @   @@   @  @  @  @ @  @ "
                            "@@@@@@   @@@@@  @@@ @@@@ @@@@@@     @@@@@   @ @@@  @@  @   @"
                            "                                                            "
                            "                                                            "
                            "@    @   @@   @ @@@ @@@@  @@@ @@@@  @@@@@@@@@@   @@   @@   @"
                            "@    @@ @@@@  @@   @@   @@   @@   @@      @  @   @@   @@   @"
                            "@    @ @ @@@  @@   @@   @@   @@   @@      @  @   @@   @@   @"
                            "@    @ @ @@ @ @@   @@@@@ @   @@@@@  @@@   @  @   @@   @@ @ @"
                            "@    @   @@  @@@   @@    @ @ @@ @      @  @  @   @ @ @ @ @ @"
                            "@    @   @@  @@@   @@    @  @ @  @     @  @  @   @ @ @ @ @ @"
                            "@@@@@@   @@   @ @@@ @     @@ @@   @@@@@   @   @@@   @   @ @ "
                            "                                                            "
                            "                                                            "
                            "@   @@   @@@@@@     @             @       @@      @      @  "
                            "@   @@   @    @     @             @      @        @         "
                            " @ @  @ @    @  @@@ @@@@  @@@@ @@@@ @@@ @@@@  @@@@@ @@  @@  "
                            "  @    @    @      @@   @@    @   @@   @ @   @   @@@  @  @  "
                            " @ @   @   @    @@@@@   @@    @   @@@@@@ @   @   @@   @  @  "
                            "@   @  @  @    @   @@   @@    @   @@     @   @   @@   @  @  "
                            "@   @  @  @@@@@ @@@@@@@@  @@@@ @@@@ @@@  @    @@@@@   @ @@@ "
                            "                                                 @          "
                            "                                              @@@           "
                            "   @ @     @@                                      @        "
                            "     @      @                                      @        "
                            "  @@ @  @   @  @@ @ @ @@  @@@ @@@@  @@@@@ @@  @@@@@@@@ @   @"
                            "   @ @ @    @  @ @ @@@  @@   @@   @@   @@@  @@     @   @   @"
                            "   @ @@     @  @ @ @@   @@   @@   @@   @@     @@@  @   @   @"
                            "   @ @ @    @  @ @ @@   @@   @@   @@   @@        @ @   @  @@"
                            "   @ @  @  @@@ @ @ @@   @ @@@ @@@@  @@@@@    @@@@   @@  @@ @"
                            "@  @                          @        @                    "
                            " @@                           @        @                    "
                            "                          @     @   @@@  @@@    @ @@@@@  @@ "
                            "                           @   @@  @   @@   @  @@ @     @   "
                            "@   @@   @@   @@   @@@@@@     @ @      @    @ @ @ @@@@ @    "
                            "@   @@ @ @ @ @ @   @   @        @     @   @@ @  @     @@@@@ "
                            " @ @ @ @ @  @  @   @  @         @    @      @@@@@@    @@   @"
                            " @ @ @ @ @ @ @ @   @ @          @   @   @   @   @ @   @@   @"
                            "  @   @ @ @   @ @@@@@@@@@     @@@@@@@@@@ @@@    @  @@@  @@@ "
                            "                   @                                        "
                            "                @@@                                         "
                            "@@@@@ @@@  @@@  @@@                  @   @@@  @ @   @  @@  @"
                            "    @@   @@   @@   @                 @  @   @ @ @  @@@@@@  @"
                            "   @ @   @@   @@  @@     @@@@@ @  @  @  @ @@@@@@@@@ @     @ "
                            "   @  @@@  @@@@@ @ @ @@@      @ @ @  @  @ @ @ @ @  @@@   @  "
                            "  @  @   @    @@@  @     @@@@@@  @   @  @ @@@@@@@@  @ @ @   "
                            "  @  @   @   @ @   @                    @     @ @ @@@@ @  @@"
                            "  @   @@@  @@   @@@                  @   @@@@ @ @   @  @  @@"
                            "                                                            "
                            "                                                            "
                            "  @   @@          @  @              @@@  @@@   @@  @@       "
                            " @ @ @  @   @    @    @         @   @      @   @    @       "
                            "@   @@ @  @ @ @ @      @        @   @      @   @    @    @  "
                            "      @    @@@  @      @      @@@@@ @      @  @      @   @  "
                            "     @ @ @@ @ @ @      @        @   @      @   @    @       "
                            "     @  @   @    @    @         @   @      @   @    @    @  "
                            "      @@ @        @  @              @@@  @@@   @@  @@    @  "
                            "                         @@@@@                          @   "
                            "                                                            "
                            "  @  @          @ @   @                @           @@@      "
                            "  @  @          @ @   @                @   @  @   @   @     "
                            "      @     @         @               @   @    @      @     "
                            "       @    @         @              @   @      @    @      "
                            "        @             @             @     @    @    @       "
                            "         @  @         @    @    @  @       @  @             "
                            "         @  @         @    @    @  @                @       "
                            "                      @   @                                 "
                            "                                                            ";

// The conditions keep their texts, which are printed.
void Require(bool condition, const char* text)
{
    if (condition)
        return;
    PrintFontAssertion(text);
    std::abort();
}
} // namespace

void PrintFontAssertion(const char* text)
{
    std::printf("assertion failed: %s\n", text);
    std::fflush(stdout);
}

void CreatePixelFont(Font& font)
{
    Require(FB_CHR_IN_W * FB_CHR_IN_H == std::strlen(charset), "FB_CHR_IN_W * FB_CHR_IN_H == strlen(charset)");
    constexpr int imgW = FB_CHR_IN_W * FB_CHR_W;
    constexpr int imgH = FB_CHR_IN_H * FB_CHR_H;
    constexpr std::size_t totalPixels = imgW * imgH;
    Require(totalPixels == std::strlen(bmp), "totalPixels == strlen(bmp)");
    std::vector<std::uint32_t> pixelMap(totalPixels);
    for (std::size_t i = 0; i < totalPixels; ++i)
        pixelMap[i] = bmp[i] == ' ' ? 0 : 0xFFFFFFFF;
    Require(font.Create(imgW, imgH, pixelMap.data(), FB_CHR_W, FB_CHR_H, FB_CHR_H + 4, charset),
            "myFontBank[TFB_PIXEL ].Create(imgW, imgH, pixelMap, FB_CHR_W, FB_CHR_H, FB_CHR_H+4, charset)");
}
} // namespace gui
