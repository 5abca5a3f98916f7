#include "corvex/auxRenderer.h"
#include "corvex/window.h"
#include "support/deviceFixture.h"
#include "support/expectations.h"
#include "tamraengine/renderer/renderQueue.h"
#include "tamraengine/renderer/textRenderer.h"

using namespace renderer;

namespace
{
class Drawing : public test::DeviceTest
{
protected:
    static int CountPixels(const Image& image, const Pixel& pixel)
    {
        int count = 0;
        for (int i = 0; i < image.width * image.height; ++i)
            count += GetPixel(image, i % image.width, i / image.width) == pixel;
        return count;
    }
};
} // namespace

TEST_F(Drawing, AuxiliaryLinesStandWhereTheirBoxIs)
{
    const auto target = CRenderTarget::Create(m_renderer, 64, 64);
    target->Bind();
    m_renderer.Clear({0, 0, 0});
    CAuxRenderer aux;
    aux.AddBox({{-2, -4, -4}, {2, 4, 4}}, 0xFF00FFFF);
    CRenderQueue queue;
    queue.AddLines(aux.GetLines());
    // Seen from +X: 8 units are half of the height at a distance of 8 from the face.
    const CMatrix view = CMatrix::View({10, 0, 0}, {0, 0, 0}, {0, 0, 1});
    queue.Render(m_renderer, CMatrix::Projection(90, 1, 0.1F, 100) * view);
    const Image image = target->ReadPixels();
    const Pixel yellow{255, 255, 0, 255};
    EXPECT_EQ(GetPixel(image, 32, 16)[0], 255);                              // the upper edge of the near face
    EXPECT_EQ(GetPixel(image, 15, 32)[0] + GetPixel(image, 16, 32)[0], 255); // on the boundary of two pixels
    EXPECT_EQ(GetPixel(image, 32, 32)[0], 0);
    EXPECT_EQ(GetPixel(image, 2, 2)[0], 0);
    const int count = CountPixels(image, yellow);
    EXPECT_GT(count, 150);
    EXPECT_LT(count, 350);
    EXPECT_EQ(queue.GetLines().size(), 24U);
}

TEST_F(Drawing, TextIsReadableAndLeavesTheStateAlone)
{
    const auto target = CRenderTarget::Create(m_renderer, 128, 64);
    target->Bind();
    m_renderer.Clear({0, 0, 0});
    m_renderer.GetState().SetDepthTest(DepthTest::Less);
    const CRenderState::Values before = m_renderer.GetState().GetValues();
    CTextRenderer text(m_renderer);
    text.Write(4, 4, "l\nlo\x01", 0xFF0000FF, 2);
    EXPECT_EQ(CTextRenderer::GetHeight("l\nlo"), 48.0F);
    EXPECT_GT(CTextRenderer::GetWidth("l\nlo"), CTextRenderer::GetWidth("l"));
    text.Write(0, 0, "");
    text.Render(128, 64);
    EXPECT_EQ(m_renderer.GetState().GetValues(), before);
    const Image image = target->ReadPixels();
    const Pixel red{255, 0, 0, 255};
    EXPECT_EQ(GetPixel(image, 5, 10), red); // the first l
    EXPECT_EQ(GetPixel(image, 5, 34), red); // the one below
    EXPECT_EQ(GetPixel(image, 40, 10)[0], 0);
    const int count = CountPixels(image, red);
    text.Render(128, 64); // nothing left
    EXPECT_EQ(CountPixels(target->ReadPixels(), red), count);
}

TEST(Window, RefusesWhatCannotBe)
{
    WindowSettings settings;
    const test::ExpectLog expected{"0 x 720", "1280 x 20000"};
    settings.width = 0;
    EXPECT_EQ(CWindow::Create(settings, nullptr), nullptr);
    settings.width = 1280;
    settings.height = 20000;
    EXPECT_EQ(CWindow::Create(settings, nullptr), nullptr);
}

TEST(Window, DrawsOrSaysWhyNot)
{
    WindowSettings settings;
    // The frame of a window does not get smaller than its buttons on every system.
    settings.width = 256;
    settings.height = 128;
    CRenderer renderer;
    if (!CWindow::HasDisplay())
    {
        const test::ExpectLog expected{"Cannot open a window"};
        EXPECT_EQ(CWindow::Create(settings, &renderer.GetInput()), nullptr);
        return;
    }
    // Both kinds of contexts take over from each other.
    const auto offscreen = COffscreenContext::Create();
    const auto window = CWindow::Create(settings, &renderer.GetInput());
    EXPECT_TRUE(window && (!offscreen || offscreen->MakeCurrent()));
    ASSERT_TRUE(window && window->MakeCurrent() && renderer.InitializeDevice());
    EXPECT_TRUE(window->PollEvents());
    EXPECT_EQ(window->GetWidth(), 256);
    EXPECT_EQ(window->GetHeight(), 128);
    EXPECT_FALSE(window->IsKeyHeld(kKeySpace));
    EXPECT_FALSE(window->IsKeyHeld(100000));
    window->SetClipboard("l\xC3\xB6g\n");
    EXPECT_EQ(window->GetClipboard(), "l\xC3\xB6g\n");
    renderer.BindWindow(256, 128);
    renderer.Clear({1, 0, 0});
    window->SwapBuffers();
    window->Close();
    EXPECT_FALSE(window->PollEvents());
    renderer.ShutdownDevice();
}
