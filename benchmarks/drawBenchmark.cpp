// Building and sending the quads of a screen full of small buttons, beside Dear ImGui's draw list of the same content,
// which is only built. The label is the number of quads. First with calls of the drawer, then with 10,000 buttons of
// the toolkit: frames in which nothing changes, in which a hundredth of them does, and that are drawn anew. Without a
// GPU, sending includes the driver's work on all vertices, unless the draw calls are left out ("Submit").

#include "benchmarks/benchmarkSupport.h"
#include "corvex/context.h"
#include "gameengine/gui/draw2D/drawI.h"
#include "gameengine/gui/guiWidget/guiButton.h"
#include "gameengine/gui/guiWidget/guiContext.h"
#include "gameengine/gui/guiWidget/guiLayout.h"
#include "tamradeps/io/fileSystem.h"
#include "tamraengine/renderer/renderTarget.h"
#include "tamraengine/renderer/renderer.h"
#include "tests/support/allocations.h"

#include <array>
#include <string>

#include <GL/glew.h>
#include <dlfcn.h>
#include <imgui.h>

namespace
{
bool g_leavesOutDraws = false;
}

// In place of the system's: everything else goes to the driver as ever.
extern "C" __attribute__((visibility("default"))) void glDrawElements(GLenum mode, GLsizei count, GLenum type,
                                                                      const void* indices)
{
    static const auto draw = reinterpret_cast<decltype(&glDrawElements)>(dlsym(RTLD_NEXT, "glDrawElements"));
    if (!g_leavesOutDraws)
        draw(mode, count, type, indices);
}

namespace
{
constexpr int kSide = 2000;
constexpr int kRowHeight = 16;
constexpr int kColumns = 80;

struct Button
{
    int x;
    int y;
    std::array<char, 6> label;
};

std::vector<Button> MakeButtons()
{
    std::vector<Button> buttons(bench::Count(10000));
    bench::Random random(7);
    for (std::size_t i = 0; i < buttons.size(); ++i)
    {
        Button& button = buttons[i];
        button.x = static_cast<int>(i % kColumns) * (kSide / kColumns);
        button.y = static_cast<int>(i / kColumns) * kRowHeight;
        for (std::size_t k = 0; k < 5; ++k)
            button.label[k] = static_cast<char>('a' + random.Below(26));
        button.label[5] = 0;
    }
    return buttons;
}

class Device
{
public:
    Device()
    {
        GetFileSystem().AddRoot(TAMRA_SOURCE_FOLDER "/assets");
        m_context = COffscreenContext::Create();
        m_isReady = m_context && m_renderer.InitializeDevice();
        if (!m_isReady)
            return;
        m_target = renderer::CRenderTarget::Create(m_renderer, kSide, kSide);
        m_draw = std::make_unique<gui::DrawI>(m_renderer);
    }

    bool IsReady() const { return m_isReady; }
    gui::DrawI& GetDraw() { return *m_draw; }
    void Bind() { m_target->Bind(); }

private:
    std::unique_ptr<COffscreenContext> m_context;
    renderer::CRenderer m_renderer;
    RefPtr<renderer::CRenderTarget> m_target;
    std::unique_ptr<gui::DrawI> m_draw;
    bool m_isReady = false;
};

void Collect(gui::DrawI& draw, const std::vector<Button>& buttons)
{
    gui::Draw& drawer = draw; // as widgets call it
    for (const Button& button : buttons)
    {
        drawer.FillRect({button.x, button.y, 24, 15}, 0xFF705038);
        drawer.Text(button.x + 1, button.y + 1, {button.label.data(), 5}, 0xFFFFFFFF, gui::TFB_PIXEL);
    }
}

void BM_Draw(benchmark::State& state, bool isSent)
{
    Device device;
    if (!device.IsReady())
        return state.SkipWithError("there is no off-screen context");
    const std::vector<Button> buttons = MakeButtons();
    device.Bind();
    Collect(device.GetDraw(), buttons);
    device.GetDraw().RenderAll(kSide, kSide);
    const std::size_t quads = device.GetDraw().GetStatistics().quads;
    for (auto _ : state)
    {
        Collect(device.GetDraw(), buttons);
        device.GetDraw().RenderAll(isSent ? kSide : 0, kSide);
    }
    state.SetItemsProcessed(static_cast<std::int64_t>(state.iterations() * quads));
    state.SetLabel(std::to_string(quads) + " quads");
}

enum class What
{
    Steady,
    Hundredth,
    Anew
};

// 10,000 buttons with five letters on each.
void BM_Widgets(benchmark::State& state, What what, bool isSubmitOnly)
{
    Device device;
    if (!device.IsReady())
        return state.SkipWithError("there is no off-screen context");
    const std::vector<Button> buttons = MakeButtons();
    const std::unique_ptr<gui::GuiContext> context = gui::GuiContext::Create(device.GetDraw());
    std::vector<gui::GuiButton*> widgets;
    for (const Button& button : buttons)
    {
        auto widget = std::make_unique<gui::GuiButton>(*context, 0, gui::GuiRecti(button.x, button.y, 24, 15));
        widget->SetText(button.label.data());
        widgets.push_back(widget.get());
        context->GetRoot().AddChild(std::move(widget));
    }
    gui::GuiStyleData style = context->GetStyleData(0);
    style.font = gui::TFB_PIXEL;
    context->SetStyleData(0, style);
    device.Bind();
    g_leavesOutDraws = isSubmitOnly;
    bench::Random random(5);
    const auto frame = [&]
    {
        for (std::size_t i = 0; what == What::Hundredth && i < widgets.size() / 100; ++i)
            widgets[random.Below(widgets.size())]->SetText(buttons[random.Below(buttons.size())].label.data());
        if (what == What::Anew)
            context->RequestPicture();
        context->Update(1.0F / 60.0F);
        context->Render(kSide, kSide);
        device.GetDraw().RenderAll(kSide, kSide);
    };
    for (int i = 0; i < 3; ++i)
        frame();
    const std::size_t before = test::GetAllocationCount();
    for (auto _ : state)
        frame();
    const auto allocations = static_cast<double>(test::GetAllocationCount() - before);
    g_leavesOutDraws = false;
    const auto& statistics = device.GetDraw().GetStatistics();
    state.counters["allocations"] = allocations / static_cast<double>(state.iterations());
    state.counters["draws"] = static_cast<double>(statistics.drawCalls);
    state.counters["vertices"] = static_cast<double>(4 * statistics.quads);
}

// With a radius it draws what the toolkit's buttons are: round areas with frames.
void BM_DearImGuiList(benchmark::State& state, float radius)
{
    ImGui::CreateContext();
    ImGuiIO& io = ImGui::GetIO();
    io.IniFilename = nullptr;
    io.DisplaySize = ImVec2(kSide, kSide);
    io.Fonts->Build();
    const std::vector<Button> buttons = MakeButtons();
    ImDrawList list(ImGui::GetDrawListSharedData());
    ImGui::NewFrame();
    for (auto _ : state)
    {
        list._ResetForNewFrame();
        list.PushClipRectFullScreen();
        list.PushTextureID(io.Fonts->TexID);
        for (const Button& button : buttons)
        {
            const ImVec2 corner(static_cast<float>(button.x), static_cast<float>(button.y));
            const ImVec2 end(corner.x + 24, corner.y + 15);
            list.AddRectFilled(corner, end, 0xFF705038, radius);
            if (radius > 0.0F)
                list.AddRect(corner, end, 0xFFFFFFFF, radius);
            list.AddText(ImVec2(corner.x + 1, corner.y + 1), 0xFFFFFFFF, button.label.data(), button.label.data() + 5);
        }
        benchmark::DoNotOptimize(list.VtxBuffer.Data);
        benchmark::ClobberMemory();
    }
    const int quads = list.VtxBuffer.Size / 4;
    ImGui::EndFrame();
    state.SetItemsProcessed(static_cast<std::int64_t>(state.iterations()) * quads);
    state.SetLabel(std::to_string(quads) + " quads");
    ImGui::DestroyContext();
}

BENCHMARK_CAPTURE(BM_DearImGuiList, Areas, 0.0F)->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(BM_Draw, Build, false)->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(BM_Draw, BuildAndSend, true)->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(BM_DearImGuiList, Buttons, 3.0F)->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(BM_Widgets, Steady, What::Steady, false)->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(BM_Widgets, SteadySubmit, What::Steady, true)->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(BM_Widgets, HundredthChangedSubmit, What::Hundredth, true)->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(BM_Widgets, AnewSubmit, What::Anew, true)->Unit(benchmark::kMicrosecond);
} // namespace
