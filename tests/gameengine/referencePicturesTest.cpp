// Pictures of the drawer, of the toolkit and of the console beside committed ones. With TAMRA_WRITE_PICTURES in the
// environment they are written anew: look at them before they are committed.

#include "gameengine/gui/draw2D/drawI.h"
#include "gameengine/gui/guiConsole/guiConsole.h"
#include "gameengine/gui/guiWidget/guiContext.h"
#include "gameengine/gui/guiWidget/guiLayout.h"
#include "gameengine/gui/guiWidget/guiWidgetFile.h"
#include "support/deviceFixture.h"
#include "support/expectations.h"
#include "support/quarters.h"
#include "tamraengine/renderer/imageDecoder.h"
#include "tamraengine/renderer/imageEncoder.h"

#include <cstdlib>

using namespace gui;
using test::kBlue;
using test::kGreen;
using test::kRed;
using test::kWhite;
using test::MakeQuarters;

namespace
{
// Devices round differently, and see slanted edges differently: of a thousand pixels one may be off by more than this,
// of 255 levels.
constexpr int kTolerance = 8;
constexpr std::size_t kOneIn = 1000;

class ReferencePictures : public test::DeviceTest
{
protected:
    void Prepare() override { m_draw = std::make_unique<DrawI>(m_renderer); }

    /// `draw` is called with the target bound, before what was drawn is sent.
    void Compare(const std::string& name, int width, int height, auto draw)
    {
        const auto target = renderer::CRenderTarget::Create(m_renderer, width, height);
        ASSERT_TRUE(target);
        m_renderer.BeginFrame(0.016F);
        target->Bind();
        m_renderer.Clear({0, 0, 0});
        draw();
        m_draw->RenderAll(width, height);
        const renderer::Image picture = target->ReadPixels();
        const std::string path = TAMRA_SOURCE_FOLDER "/tests/pictures/" + name + ".png";
        if (std::getenv("TAMRA_WRITE_PICTURES"))
        {
            EXPECT_TRUE(renderer::WritePng(path, picture));
        }
        std::vector<std::byte> file;
        ASSERT_TRUE(GetFileSystem().FileIn(path, file));
        const auto reference = renderer::DecodeImage(file);
        ASSERT_TRUE(reference && reference->width == width && reference->height == height);
        std::size_t different = 0;
        for (std::size_t i = 0; i < picture.pixels.size(); i += 4)
        {
            int distance = 0;
            for (std::size_t channel = i; channel < i + 3; ++channel)
                distance = std::max(distance, std::abs(picture.pixels[channel] - reference->pixels[channel]));
            different += distance > kTolerance;
        }
        EXPECT_LE(different * kOneIn, picture.pixels.size() / 4) << name;
        if (different * kOneIn > picture.pixels.size() / 4)
            renderer::WritePng(name + ".actual.png", picture);
    }

    std::unique_ptr<DrawI> m_draw;
};

void DrawPrimitives(Draw& draw)
{
    draw.Gradient({0, 0, 320, 24}, 0xFF604030, 0xFF806050, 0xFF302018, 0xFF302018);
    int y = 28;
    for (const int font : {TFB_PIXEL, TFB_SEGOE, TFB_SEGOE_16, TFB_CONSOLAS})
    {
        draw.Text(6, y, "Sphinx of black quartz, judge my vow (0123)! \xE4\xDF \x90", 0xFFE0E4E8, font);
        y += draw.GetLineHeight(font) + 2;
    }
    for (int i = 0; i < 4; ++i)
    {
        const GuiRecti rect(6 + i * 78, y, 70, 24);
        draw.FillRoundRect(rect, 2 + 4 * i, 0xFF705038);
        draw.FrameRoundRect(rect, 2 + 4 * i, 0xFFC0A080);
        draw.Text(rect.x + 16, rect.y + 5, "Button", kWhite, TFB_SEGOE);
    }
    y += 32;
    draw.FrameRect({6, y, 40, 30}, kRed, 3);
    draw.Line({52, y}, {110, y + 29}, 0xFF40E0FF, 1.0F);
    draw.Line({52, y + 29}, {110, y}, 0x8040FFE0, 4.0F);
    draw.FillTriangle({120, static_cast<float>(y)}, {150, static_cast<float>(y)}, {135, static_cast<float>(y) + 30},
                      kGreen);
    Image image;
    image.Create(8, 8, MakeQuarters(8).data(), true);
    draw.DrawImage(image, {160, y, 40, 30}, 0xFFC0C0C0);
    draw.PushClip({210, y, 60, 20});
    draw.DrawNinePatch(image, {205, y - 5, 60, 30}, {2, 2, 2, 2}, kWhite);
    draw.Text(214, y + 4, "clipped at the edge", kWhite, TFB_CONSOLAS);
    draw.PopClip();
}

} // namespace

TEST_F(ReferencePictures, Primitives)
{
    Compare("draw2D", 320, 200, [this] { DrawPrimitives(*m_draw); });
}

TEST_F(ReferencePictures, WidgetsInTheDarkAndInTheLight)
{
    for (const bool isLight : {false, true})
    {
        const std::unique_ptr<GuiContext> context = GuiContext::Create(*m_draw);
        if (isLight)
            context->SetStyleData(0, GuiStyleData::MakeLight());
        ASSERT_TRUE(LoadWidgetFile(context->GetRoot(), "gui/gallery.gui"));
        context->SetMousePos(-1, -1);
        const auto draw = [&]
        {
            for (int pass = 0; pass < 3; ++pass)
            {
                context->Update(0.0F);
                if (pass < 2)
                    context->GetRoot().SetRect(0, 0, 1280, 720);
            }
            context->Render(1280, 720);
        };
        Compare(isLight ? "galleryLight" : "galleryDark", 1280, 720, draw);
    }
}

TEST_F(ReferencePictures, Console)
{
    CGuiConsole console(m_renderer);
    console.SetVisible(true);
    console.SetInputActive(true);
    for (const char* const message :
         {"plain", "[ERROR] red", "[WARNING] yellow", "\xC3\xBC is a character, \xE2\x82\xAC a box"})
        console.AddMessage(message);
    for (const char character : std::string("find na"))
        console.OnKeyChar(character);
    Compare("console", 400, 160, [&] { console.RenderGUI(*m_draw, 400, 160); });
}
