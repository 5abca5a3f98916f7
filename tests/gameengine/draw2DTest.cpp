#include "gameengine/gui/draw2D/drawI.h"
#include "gameengine/gui/draw2D/tileset.h"
#include "gameengine/gui/guiWidget/guiButton.h"
#include "gameengine/gui/guiWidget/guiContext.h"
#include "gameengine/gui/guiWidget/guiLayout.h"
#include "support/allocations.h"
#include "support/deviceFixture.h"
#include "support/expectations.h"
#include "support/quarters.h"
#include "tamradeps/io/fileSystem.h"

#include <tuple>

using namespace gui;
using test::kBlue;
using test::kGreen;
using test::kRed;
using test::kWhite;
using test::MakeQuarters;

namespace
{
constexpr int kWidth = 320;
constexpr int kHeight = 200;
constexpr Color kBlack = 0xFF000000;

class Draw2DTest : public test::DeviceTest
{
protected:
    void Prepare() override
    {
        m_target = renderer::CRenderTarget::Create(m_renderer, kWidth, kHeight);
        m_draw = std::make_unique<DrawI>(m_renderer);
        ASSERT_TRUE(m_target);
    }

    const renderer::Image& Render()
    {
        m_renderer.BeginFrame(0.016F);
        m_target->Bind();
        m_renderer.Clear({0, 0, 0});
        m_draw->RenderAll(kWidth, kHeight);
        m_picture = m_target->ReadPixels();
        return m_picture;
    }
    Color At(int x, int y) const
    {
        const auto pixel = GetPixel(m_picture, x, y);
        return static_cast<Color>(pixel[0] | pixel[1] << 8 | pixel[2] << 16) | 0xFF000000;
    }
    void ExpectAt(std::initializer_list<std::tuple<int, int, Color>> places) const
    {
        for (const auto& [x, y, color] : places)
            EXPECT_EQ(At(x, y), color) << x << ", " << y;
    }
    /// Pixels that are not black.
    int CountLit() const
    {
        int count = 0;
        for (int i = 0; i < kWidth * kHeight; ++i)
            count += At(i % kWidth, i / kWidth) != kBlack;
        return count;
    }

    RefPtr<renderer::CRenderTarget> m_target;
    std::unique_ptr<DrawI> m_draw;
    renderer::Image m_picture;
};

} // namespace

TEST_F(Draw2DTest, AreasCoverTheirPixelsExactly)
{
    m_draw->FillRect({10, 20, 5, 3}, kRed);
    m_draw->FrameRect({30, 20, 6, 6}, kGreen, 1);
    m_draw->FrameRect({40, 20, 3, 9}, kGreen, 2); // no room for a hole
    m_draw->Line({60, 20}, {50, 20}, kBlue, 1.0F);
    m_draw->Line({50, 22}, {50, 26}, kBlue, 1.0F);
    m_draw->Line({70, 20}, {79, 20}, kBlue, 2.0F);
    m_draw->FillRect({100, 20, -5, 3}, kWhite);
    m_draw->FillRect({2147483647, 0, 2147483647, 9}, kWhite);
    m_draw->FrameRoundRect({2147483640, 2147483640, 200, 200}, 6, kWhite);
    m_draw->FillRoundRect({110, 20, 20, 20}, 6, kWhite);
    Render();
    EXPECT_EQ(CountLit() - (15 + 20 + 27 + 11 + 5 + 20), 400 - 4 * 3) << "three pixels of each corner are free";
    for (const auto& [x, y] : {std::pair(10, 20), {14, 22}})
        ExpectAt({{x, y, kRed}, {30, 25, kGreen}, {31, 21, kBlack}});
    for (const int corner : {0, 19})
    {
        EXPECT_EQ(At(110 + corner, 20 + corner), kBlack);
        EXPECT_EQ(At(110 + corner, 39 - corner), kBlack);
        EXPECT_EQ(At(110 + corner, 30), kWhite);
    }
}

TEST_F(Draw2DTest, TextStandsWhereItIsAskedFor)
{
    m_draw->Text(10, 20, "I", kRed, TFB_PIXEL);
    m_draw->SetView(CMatrix(), kWidth, kHeight); // the world is clip space
    m_draw->Text3D("\x81", 3, -40, {0.5F, 0.0F, 0.0F}, kGreen);
    CMatrix behind;
    behind.GetElements()[15] = -1.0F;
    m_draw->SetView(behind, kWidth, kHeight);
    m_draw->Text3D("\x81", 0, 0, {0, 0, 0}, kWhite);
    Render();
    ExpectAt({{12, 20, kRed}, {10, 20, kBlack}, {12, 26, kRed}, {12, 27, kBlack}});
    const Glyph& box = *m_draw->GetFonts().Get(TFB_SEGOE).GetGlyph(Font::kBox);
    const int left = kWidth * 3 / 4 + 3 + static_cast<int>(box.offsetX);
    const int top = kHeight / 2 - 40 + static_cast<int>(box.offsetY);
    ExpectAt({{left, top, kGreen}, {left - 1, top, kBlack}, {left, top - 1, kBlack}});
    EXPECT_EQ(At(kWidth / 2 + 1, kHeight / 2 + 4), kBlack) << "behind the camera";
}

TEST_F(Draw2DTest, ClipsAreNested)
{
    m_draw->PushClip({10, 10, 20, 20});
    m_draw->PushClip({20, 0, 100, 15});
    m_draw->FillRect({0, 0, kWidth, kHeight}, kRed);
    m_draw->PushClip({100, 100, 5, 5});
    m_draw->FillRect({0, 0, kWidth, kHeight}, kWhite);
    m_draw->Text(0, 0, std::string(100, '#'), kWhite, TFB_PIXEL);
    m_draw->PopClip();
    m_draw->PopClip();
    m_draw->FillRect({0, 28, kWidth, 50}, kGreen);
    m_draw->PopClip();
    {
        const test::ExpectAssertions expected{"gameengine/gui/draw2D/drawI 1"};
        m_draw->PopClip();
    }
    m_draw->FillRect({0, 0, 1, 1}, kBlue);
    m_draw->PushClip({2147483647, 0, 2147483647, 1}); // left open: over with the frame
    Render();
    EXPECT_EQ(CountLit(), 10 * 5 + 20 * 2 + 1);
    ExpectAt({{20, 10, kRed}, {29, 14, kRed}, {10, 28, kGreen}});
    m_draw->FillRect({0, 0, 2, 2}, kRed);
    Render();
    EXPECT_EQ(CountLit(), 4);
}

TEST_F(Draw2DTest, ImagesStandUpright)
{
    const std::vector<std::uint32_t> pixels = MakeQuarters(8);
    Image image;
    ASSERT_TRUE(image.Create(8, 8, pixels.data(), false));
    m_draw->DrawImage(image, {0, 0, 16, 16}, kWhite);
    Image part = image;
    part.SetSize({4, 4});
    part.SetOrigin({0, 4});
    m_draw->DrawImage(part, {20, 0, 16, 16}, kWhite);
    // Borders of 2 pixels stay; where there is too little room they shrink.
    m_draw->DrawNinePatch(image, {40, 0, 40, 20}, {2, 2, 6, 6}, kWhite);
    m_draw->DrawNinePatch(image, {90, 0, 4, 4}, {4, 4, 4, 4}, kWhite);
    m_draw->DrawImage(Image(), {100, 0, 50, 50}, kWhite);

    Tileset tiles;
    ASSERT_TRUE(tiles.Create(8, 8, pixels.data(), false) && tiles.CreateTiles(2, 3, 1, 2));
    EXPECT_EQ(tiles.GetTile(2, 1)->GetOrigin(), Vec2<int>(6, 5));
    EXPECT_EQ(tiles.GetTile(4, 0), tiles.GetTile(1, 1)) << "past the right edge lies the next row";
    EXPECT_EQ(tiles.GetTile(6), nullptr);
    EXPECT_EQ(tiles.GetTile(0, 2), nullptr);
    EXPECT_EQ(tiles.GetTile(1, 0x55555555), nullptr) << "no overflow";
    m_draw->DrawImage(*tiles.GetTile(1, 1), {160, 0, 4, 3}, kWhite);
    Render();
    ExpectAt({{0, 0, kRed},
              {15, 0, kGreen},
              {0, 15, kBlue},
              {28, 8, kBlue},
              {41, 1, kRed},
              {79 - 3, 1, kGreen},
              {79, 19, kWhite},
              {90, 3, kBlue},
              {120, 20, kBlack},
              {161, 0, kBlue},
              {162, 0, kWhite}});
    for (const Vec2<int> size : {Vec2<int>(0, 1), {9, 1}, {-1, 1}, {2147483647, 2}})
    {
        const test::ExpectLog log{"cannot cut tiles"};
        EXPECT_FALSE(tiles.CreateTiles(size.x, size.y, 0, 0));
        EXPECT_EQ(tiles.GetTile(0), nullptr);
    }
}

TEST_F(Draw2DTest, CallsFollowTheChanges)
{
    Image image;
    ASSERT_TRUE(image.Create(8, 8, MakeQuarters(8).data(), false));
    const auto count = [this]
    {
        Render();
        return m_draw->GetStatistics().drawCalls;
    };
    const auto label = [this](int y)
    {
        m_draw->FillRect({0, y, 100, 13}, kBlue);
        m_draw->Text(0, y, "label", kWhite, TFB_PIXEL);
    };
    EXPECT_EQ(count(), 0U);
    for (int i = 0; i < 10; ++i)
        label(13 * i);
    EXPECT_EQ(count(), 1U) << "areas do not end the font's batch";
    EXPECT_EQ(At(90, 5), kBlue);
    EXPECT_EQ(At(1, 1), kBlue);
    m_draw->FillRect({0, 0, 9, 9}, kRed);
    m_draw->DrawImage(image, {9, 0, 9, 9}, kWhite);
    m_draw->DrawImage(image, {18, 0, 9, 9}, kWhite);
    m_draw->FillRect({27, 0, 9, 9}, kRed);
    m_draw->Text(60, 0, "x", kWhite, TFB_PIXEL);
    m_draw->PushClip({0, 20, 50, 50}); // the changes: plain and image, text, clip with plain and image
    m_draw->FillRect({0, 0, 99, 99}, kRed);
    m_draw->DrawImage(image, {0, 20, 9, 9}, kWhite);
    m_draw->PopClip();
    m_draw->PushClip({0, 0, 0, 0});
    label(0);
    m_draw->PopClip();
    EXPECT_EQ(count(), 3U);
    EXPECT_EQ(m_draw->GetStatistics().quads, 7U);
    EXPECT_EQ(At(28, 1), kRed);
}

TEST_F(Draw2DTest, PicturesKeepTheirPlaceAndTheirPieces)
{
    const std::shared_ptr<DrawPicture> picture = m_draw->CreatePicture();
    m_draw->BeginPicture(*picture);
    m_draw->PushClip({0, 0, 100, 50});
    m_draw->BeginPiece();
    m_draw->FillRect({0, 0, 200, 10}, kRed);
    const int area = m_draw->EndPiece();
    m_draw->BeginPiece();
    m_draw->Text(0, 20, "pi", kWhite, TFB_PIXEL);
    const int text = m_draw->EndPiece();
    m_draw->EndPicture(); // also ends the clip
    const auto replace = [&](int piece, const auto& draw)
    {
        m_draw->BeginReplace(*picture, piece);
        draw();
        return m_draw->EndReplace();
    };
    const auto show = [&]
    {
        m_draw->PushClip({300, 0, 1, 1});
        m_draw->AddPicture(picture);
        m_draw->PopClip();
        m_draw->FillRect({0, 0, 1, 1}, kBlue);
        Render();
    };
    for (int i = 0; i < 2; ++i)
        m_draw->FillRect({1, 0, 20, 30}, kGreen); // under the picture
    m_draw->BeginPiece();
    const std::shared_ptr<DrawPicture> other = m_draw->CreatePicture();
    m_draw->BeginPicture(*other);
    m_draw->FillRect({0, 0, 1, 1}, kRed);
    EXPECT_EQ(m_draw->EndPiece(), -1) << "begun outside of the picture";
    m_draw->EndPicture();
    show();
    ExpectAt({{0, 0, kBlue}, {1, 0, kRed}, {1, 15, kGreen}, {99, 5, kRed}, {100, 5, kBlack}});
    EXPECT_EQ(m_draw->GetStatistics().drawCalls, 3U);

    EXPECT_TRUE(replace(area, [&] { m_draw->FillRect({0, 0, 200, 10}, kBlue); }));
    EXPECT_TRUE(replace(text, [&] { m_draw->Text(0, 20, "pixel", kRed, TFB_PIXEL); }));
    show();
    ExpectAt({{99, 5, kBlue}, {100, 5, kBlack}}); // the clip of then
    const int lit = CountLit();
    EXPECT_FALSE(replace(text, [&] { m_draw->Text(0, 20, std::string(100, '#'), kRed, TFB_PIXEL); })) << "too long";
    EXPECT_FALSE(replace(text, [&] { m_draw->Text(0, 20, "pi", kRed, TFB_SEGOE); })) << "another font";
    EXPECT_FALSE(replace(text, [&] { m_draw->FillTriangle({0, 0}, {900, 0}, {0, 900}, kRed); })) << "another clip";
    EXPECT_FALSE(replace(7, [] {}));
    EXPECT_TRUE(replace(area,
                        [&]
                        {
                            m_draw->BeginPicture(*picture); // not nested
                            m_draw->BeginPiece();
                            EXPECT_EQ(m_draw->EndPiece(), -1);
                            m_draw->EndPicture();
                            const test::ExpectAssertions expected{"gameengine/gui/draw2D/drawI 1"};
                            m_draw->PopClip(); // that of the surroundings
                            m_draw->FillRect({0, 0, 200, 10}, kBlue);
                        }));
    show();
    EXPECT_EQ(CountLit(), lit);
}

TEST_F(Draw2DTest, SteadyFramesOfWidgetsAllocateNothingAndAreOneCall)
{
    m_target->Bind();
    const std::unique_ptr<GuiContext> context = GuiContext::Create(*m_draw);
    context->SetMousePos(-1, -1);
    GuiButton* last = nullptr;
    for (int i = 0; i < 500; ++i)
    {
        auto button = std::make_unique<GuiButton>(*context, 0, GuiRecti(i % 10 * 20, i / 10 * 4, 19, 15));
        button->SetText("text of some length " + std::to_string(i));
        last = button.get();
        context->GetRoot().AddChild(std::move(button));
    }
    std::size_t before = 0;
    for (int frame = 0; frame < 8; ++frame)
    {
        before = frame == 4 ? test::GetAllocationCount() : before;
        last->SetText(frame % 2 == 0 ? "even" : "odd");
        context->Update(0.01F);
        context->Render(kWidth, kHeight);
        m_draw->RenderAll(kWidth, kHeight);
        EXPECT_EQ(m_draw->GetStatistics().drawCalls, 1U);
        EXPECT_EQ(context->GetRenderCount(), frame == 0 ? 501 : 1);
    }
    EXPECT_EQ(test::GetAllocationCount(), before);
}

TEST_F(Draw2DTest, MissingMaterialIsSaidOnce)
{
    CFileSystem saved = GetFileSystem();
    GetFileSystem() = CFileSystem();
    testing::internal::CaptureStdout();
    {
        const test::ExpectLog log{"consolas.fnt",     "segoe_small.fnt", "segoe.fnt",
                                  "roundcorners.png", "gui_default.lua", "gui::DrawI::RenderAll: "};
        m_draw = std::make_unique<DrawI>(m_renderer);
        for (int i = 0; i < 2; ++i)
        {
            m_draw->FillRoundRect({0, 0, 50, 50}, 5, kWhite);
            Render();
        }
    }
    testing::internal::GetCapturedStdout();
    GetFileSystem() = saved;
    EXPECT_EQ(CountLit(), 0);
}
