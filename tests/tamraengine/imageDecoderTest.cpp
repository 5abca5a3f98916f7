#include "tamraengine/renderer/imageDecoder.h"

#include "support/expectations.h"
#include "support/random.h"
#include "tamradeps/io/fileSystem.h"
#include "tamraengine/renderer/imageEncoder.h"

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <span>
#include <tuple>

#include <gmock/gmock.h>

using namespace renderer;
using Bytes = std::vector<std::byte>;

namespace
{
constexpr const char* kSamples = TAMRA_SOURCE_FOLDER "/fuzz/corpus/fuzzImage/";

Bytes ReadSample(const std::string& name)
{
    Bytes bytes;
    EXPECT_TRUE(GetFileSystem().FileIn(kSamples + name, bytes));
    return bytes;
}

std::string GetFault(const Bytes& bytes)
{
    std::string error;
    const bool isGood = DecodeImage(bytes, &error).has_value();
    EXPECT_EQ(isGood, error.empty());
    return error;
}

int GetLargestDifference(const Image& a, const Image& b)
{
    int difference = a.pixels.size() == b.pixels.size() ? 0 : 256;
    for (std::size_t i = 0; i < a.pixels.size() && difference < 256; ++i)
        difference = std::max(difference, std::abs(a.pixels[i] - b.pixels[i]));
    return difference;
}

Bytes MakeBytes(std::initializer_list<unsigned char> values)
{
    const auto bytes = std::as_bytes(std::span(values.begin(), values.size()));
    return {bytes.begin(), bytes.end()};
}
} // namespace

TEST(ImageDecoder, EveryKindShowsTheSamePicture)
{
    const std::tuple<const char*, const char*, int> kPairs[] = {
        {"raw.tga", "rgb.png", 0},         {"rgb.bmp", "rgb.png", 0},
        {"full.jpg", "rgb.png", 60},       {"progressive.jpg", "baseline.jpg", 12},
        {"interlaced.png", "rgba.png", 0}, {"rle.tga", "rgba.png", 0},
        {"palette.tga", "palette.png", 0}, {"palette.bmp", "palette.png", 0},
        {"gray.tga", "gray.png", 0},       {"bits.bmp", "bits.png", 0},
        {"gray.jpg", "gray.png", 40},
    };
    for (const auto& [first, second, difference] : kPairs)
    {
        const auto a = DecodeImage(ReadSample(first));
        const auto b = DecodeImage(ReadSample(second));
        ASSERT_TRUE(a && b) << first;
        EXPECT_EQ(a->width, 13);
        EXPECT_EQ(a->height, 7);
        EXPECT_LE(GetLargestDifference(*a, *b), difference) << first;
    }
    const auto rgb = DecodeImage(ReadSample("rgb.png"));
    EXPECT_THAT(std::vector(rgb->GetPixel(3, 2), rgb->GetPixel(4, 2)), testing::ElementsAre(57, 72, 30, 255));
    EXPECT_EQ(DecodeImage(ReadSample("rgba.png"))->GetPixel(0, 0)[3], 19);
}

TEST(ImageDecoder, DamagedFilesAreRefusedOrSurvived)
{
    test::Random random(7);
    for (const auto& entry : std::filesystem::directory_iterator(kSamples))
    {
        const std::string name = entry.path().filename().string();
        const Bytes bytes = ReadSample(name);
        if (!DecodeImage(bytes))
            continue;
        // What may follow the picture: a footer of 26 bytes, rows that are padded to a multiple of 4.
        const std::size_t tail = name.ends_with(".tga") ? 26U : name.ends_with(".bmp") ? 3U : 0U;
        for (std::size_t size = 0; size + tail < bytes.size(); ++size)
            EXPECT_NE(GetFault({bytes.begin(), bytes.begin() + static_cast<std::ptrdiff_t>(size)}), "") << name << size;
        for (std::size_t i = 0; i < bytes.size(); ++i)
        {
            Bytes damaged = bytes;
            damaged[i] ^= static_cast<std::byte>(1U << random.Below(8U));
            GetFault(damaged);
        }
    }
}

TEST(ImageDecoder, LyingHeadersCostNothing)
{
    Bytes huge = ReadSample("rgb.png");
    huge[18] = huge[22] = std::byte{0x3E}; // 0x3E00 + 13 by 0x3E00 + 7
    huge[18 + 1] = huge[22 + 1] = std::byte{0x80};
    EXPECT_EQ(GetFault(huge), "109 bytes cannot hold 16000 x 16000 pixels");
    huge[18] = std::byte{0x41};
    EXPECT_THAT(GetFault(huge), testing::HasSubstr("sides must be from 1 to 16384"));

    // A picture of 4 million pixels in a file whose header says that it is one.
    Bytes bomb = EncodePng(Image{2048, 2048, std::vector<std::uint8_t>(std::size_t{2048} * 2048 * 4, 9)});
    bomb[18] = bomb[22] = std::byte{0};
    bomb[18 + 1] = bomb[22 + 1] = std::byte{1};
    EXPECT_NE(GetFault(bomb), "");

    // A scan takes as long as the picture is large, however short it is.
    const Bytes jpeg = ReadSample("gray.jpg");
    const auto scan = std::ranges::search(jpeg, MakeBytes({0xFF, 0xDA})).begin();
    Bytes scans(jpeg.begin(), scan);
    for (int i = 0; i < 65; ++i)
        scans.insert(scans.end(), scan, scan + 10);
    scans.insert(scans.end(), scan, jpeg.end());
    EXPECT_EQ(GetFault(scans), "it has more than 64 scans");

    // More symbols than there is room for.
    Bytes tables =
        MakeBytes({0xFF, 0xD8, 0xFF, 0xC4, 0x01, 0x13, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 128, 129});
    tables.resize(1000);
    EXPECT_EQ(GetFault(tables), "its Huffman tables are damaged");
}

TEST(ImageEncoder, PicturesComeBack)
{
    test::Random random(3);
    Image image{17, 5, {}};
    for (int i = 0; i < 17 * 5 * 4; ++i)
        image.pixels.push_back(static_cast<std::uint8_t>(random.Below(256)));
    EXPECT_EQ(DecodeImage(EncodePng(image)), image);
    const std::size_t withAlpha = EncodePng(image).size();
    for (std::size_t i = 3; i < image.pixels.size(); i += 4)
        image.pixels[i] = 255;
    EXPECT_EQ(DecodeImage(EncodePng(image)), image);
    EXPECT_LT(EncodePng(image).size(), withAlpha);

    image.pixels.pop_back();
    EXPECT_TRUE(EncodePng(image).empty());
    EXPECT_TRUE(EncodePng(Image{0, 5, {}}).empty());
    EXPECT_TRUE(EncodePng(Image{-1, -1, std::vector<std::uint8_t>(4)}).empty());
    const test::ExpectLog expected{"cannot be encoded"};
    EXPECT_FALSE(WritePng("picture.png", Image{}));
}
