// Building and sending the quads of a screen full of small buttons, beside Dear ImGui's draw list of the same content,
// which is only built. The label is the number of quads. Without a GPU, sending includes the driver's work on all
// vertices; "Build" leaves the driver out.

#include "benchmarks/benchmarkSupport.h"
#include "corvex/context.h"
#include "gameengine/gui/draw2D/drawI.h"
#include "tamradeps/io/fileSystem.h"
#include "tamraengine/renderer/renderTarget.h"
#include "tamraengine/renderer/renderer.h"

#include <array>

#include <imgui.h>

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

void BM_DearImGuiList(benchmark::State& state)
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
            list.AddRectFilled(corner, ImVec2(corner.x + 24, corner.y + 15), 0xFF705038);
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

BENCHMARK(BM_DearImGuiList)->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(BM_Draw, Build, false)->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(BM_Draw, BuildAndSend, true)->Unit(benchmark::kMicrosecond);
} // namespace
