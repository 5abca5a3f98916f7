#include "tools/sceneTools/townMap.h"

#include "tests/tools/townFixture.h"

#include <gtest/gtest.h>

namespace
{
using Pixel = std::array<std::uint8_t, 3>;

Pixel GetPixelAt(const CTownMap& map, float x, float y)
{
    const auto [column, row] = map.GetPixelAt(x, y);
    return map.GetPixel(column, row);
}

bool IsGreen(Pixel pixel)
{
    return pixel[1] > pixel[0] + 10 && pixel[1] > pixel[2] + 10;
}

bool IsBrown(Pixel pixel)
{
    return pixel[0] > pixel[1] + 10 && pixel[1] > pixel[2] && pixel[0] < 235;
}
} // namespace

TEST(TownMap, BoxesAreTurnedAndCoverOneAnotherByKind)
{
    CTownMap map(-50.0F, -50.0F, 50.0F, 50.0F, 200);
    TownBox box = test::MakeBuilding({20.0F, 10.0F, 0.05F}, {40.0F, 4.0F, 0.1F});
    box.directionX = 0.6F;
    box.directionY = 0.8F;
    map.DrawBox(TownKind::Building, box.GetMatrix());
    // Parks come below buildings, though they are drawn later.
    box = test::MakeBuilding({0.0F, 0.0F, 0.0F}, {90.0F, 60.0F, 0.1F});
    map.DrawBox(TownKind::Park, box.GetMatrix());
    const RenderLineVertex line[] = {{{-40.0F, -20.0F, 0.0F}, 0xFF0000FF}, {{40.0F, -20.0F, 0.0F}, 0xFF0000FF}, {}};
    map.DrawLines(line, 4.0F);
    map.Render();
    EXPECT_TRUE(IsBrown(GetPixelAt(map, 20.0F, 10.0F)));
    EXPECT_TRUE(IsBrown(GetPixelAt(map, 29.0F, 22.0F)));
    EXPECT_TRUE(IsGreen(GetPixelAt(map, 11.0F, 22.0F)));
    EXPECT_EQ(GetPixelAt(map, 0.0F, -20.0F), (Pixel{255, 0, 0}));
    EXPECT_EQ(GetPixelAt(map, 0.0F, 45.0F), GetPixelAt(map, 0.0F, -45.0F));
    EXPECT_EQ(map.GetPixel(-1, 0), Pixel());
    EXPECT_EQ(map.GetPixel(0, map.GetHeight()), Pixel());
}

TEST(TownMap, StrangeNumbersDrawNothing)
{
    const float nan = std::numeric_limits<float>::quiet_NaN();
    CTownMap map(nan, 5.0F, -1e30F, 5.0F, 1 << 30);
    EXPECT_EQ(map.GetWidth(), CTownMap::kMaxSide);
    CTownMap small(0.0F, 0.0F, 10.0F, 10.0F, 20);
    small.DrawBox(TownKind::Street, test::MakeBuilding({nan, 0.0F, 0.0F}, {1.0F, 1.0F, 1.0F}).GetMatrix());
    small.DrawBox(TownKind::Building, test::MakeBuilding({5.0F, 5.0F, 0.0F}, {1e30F, 1e-30F, nan}).GetMatrix());
    small.DrawBox(TownKind::Building, test::MakeBuilding({5.0F, 5.0F, nan}, {nan, 1.0F, 1.0F}).GetMatrix());
    small.Render();
    EXPECT_EQ(small.GetPixel(1, 1), (Pixel{243, 240, 233}));
}
