// Frames of a screen with 10,000 visible labels and buttons: one in which nothing changes, one in which a hundredth of
// them do, and one in which everything is placed and drawn anew; beside Dear ImGui building the same screen. Nothing is
// sent to a device. Then finding the widget under the mouse, and reading a file of 10,000 lines, beside walking over
// its bytes.

#include "benchmarks/benchmarkSupport.h"
#include "corvex/context.h"
#include "gameengine/gui/draw2D/drawI.h"
#include "gameengine/gui/guiWidget/guiButton.h"
#include "gameengine/gui/guiWidget/guiContext.h"
#include "gameengine/gui/guiWidget/guiLabel.h"
#include "gameengine/gui/guiWidget/guiList.h"
#include "gameengine/gui/guiWidget/guiStream.h"
#include "gameengine/gui/guiWidget/guiWidgetFile.h"
#include "tamradeps/io/fileSystem.h"
#include "tamraengine/renderer/renderer.h"

#include <memory>
#include <string>
#include <vector>

#include <imgui.h>

namespace
{
constexpr int kWidth = 8000;
constexpr int kHeight = 2600;
constexpr std::size_t kColumns = 100;
constexpr float kFrame = 1.0F / 60.0F;

std::string MakeText(std::size_t i)
{
    return "item " + std::to_string(i * 2654435761U % 100000);
}

class Screen
{
public:
    Screen()
    {
        GetFileSystem().AddRoot(TAMRA_SOURCE_FOLDER "/assets");
        m_offscreen = COffscreenContext::Create();
        if (!m_offscreen || !m_renderer.InitializeDevice())
            return;
        m_draw = std::make_unique<gui::DrawI>(m_renderer);
        m_context = gui::GuiContext::Create(*m_draw);
    }

    bool IsReady() const { return m_context != nullptr; }
    gui::GuiContext& GetContext() { return *m_context; }

    /// Columns of labels and buttons that share the width.
    void Fill(std::size_t count)
    {
        auto row = std::make_unique<gui::GuiListH>(*m_context);
        row->SetDockPosition(gui::GuiDock::Center);
        for (std::size_t column = 0; column < kColumns; ++column)
        {
            auto list = std::make_unique<gui::GuiListV>(*m_context);
            list->SetSizePolicy(gui::GuiSizePolicy::Expand());
            for (std::size_t i = column; i < count; i += kColumns)
                list->AddChild(MakeWidget(i));
            row->AddChild(std::move(list));
        }
        m_context->GetRoot().AddChild(std::move(row));
    }

    void Frame(int width = kWidth)
    {
        m_context->Update(kFrame);
        m_context->Render(width, kHeight);
        m_draw->RenderAll(0, 0); // builds, and sends nothing
    }

    void Change(std::size_t i)
    {
        const std::string text = MakeText(++m_changes);
        if (i % 2 == 0)
            static_cast<gui::GuiLabel*>(m_widgets[i])->SetText(text);
        else
            static_cast<gui::GuiButton*>(m_widgets[i])->SetText(text);
    }

private:
    std::unique_ptr<gui::GuiWidget> MakeWidget(std::size_t i)
    {
        std::unique_ptr<gui::GuiWidget> widget;
        if (i / kColumns % 2 == 0)
        {
            auto label = std::make_unique<gui::GuiLabel>(*m_context);
            label->SetText(MakeText(i));
            widget = std::move(label);
        }
        else
        {
            auto button = std::make_unique<gui::GuiButton>(*m_context);
            button->SetText(MakeText(i));
            widget = std::move(button);
        }
        widget->SetPreferredSize({60, 20});
        m_widgets.push_back(widget.get());
        return widget;
    }

    std::unique_ptr<COffscreenContext> m_offscreen;
    renderer::CRenderer m_renderer;
    std::unique_ptr<gui::DrawI> m_draw;
    std::unique_ptr<gui::GuiContext> m_context;
    std::vector<gui::GuiWidget*> m_widgets; // of each column, labels and buttons in turn
    std::size_t m_changes = 0;
};

enum class What
{
    Idle,
    Hundredth,
    All
};

void BM_Frame(benchmark::State& state, What what)
{
    Screen screen;
    if (!screen.IsReady())
        return state.SkipWithError("there is no off-screen context");
    const std::size_t count = bench::Count(10000);
    screen.Fill(count);
    screen.Frame();
    bench::Random random(5);
    int width = kWidth;
    std::int64_t layouts = 0;
    std::int64_t renders = 0;
    for (auto _ : state)
    {
        if (what == What::Hundredth)
        {
            for (std::size_t i = 0; i < count / 100; ++i)
                screen.Change(random.Below(count));
        }
        else if (what == What::All)
            width = 2 * kWidth - 100 - width;
        screen.Frame(width);
        layouts += screen.GetContext().GetLayoutCount();
        renders += screen.GetContext().GetRenderCount();
    }
    const auto frames = static_cast<double>(state.iterations());
    state.counters["layouts"] = static_cast<double>(layouts) / frames;
    state.counters["renders"] = static_cast<double>(renders) / frames;
}

void BM_DearImGuiFrame(benchmark::State& state)
{
    ImGui::CreateContext();
    ImGuiIO& io = ImGui::GetIO();
    io.IniFilename = nullptr;
    io.DisplaySize = ImVec2(kWidth, kHeight);
    io.DeltaTime = kFrame;
    io.BackendFlags |= ImGuiBackendFlags_RendererHasVtxOffset; // its indices have 16 bits
    io.Fonts->Build();
    const std::size_t count = bench::Count(10000);
    std::vector<std::string> texts;
    for (std::size_t i = 0; i < count; ++i)
        texts.push_back(MakeText(i));
    for (auto _ : state)
    {
        ImGui::NewFrame();
        ImGui::SetNextWindowPos(ImVec2(0, 0));
        ImGui::SetNextWindowSize(io.DisplaySize);
        ImGui::Begin("screen", nullptr, ImGuiWindowFlags_NoDecoration | ImGuiWindowFlags_NoBackground);
        for (std::size_t i = 0; i < count; ++i)
        {
            ImGui::SetCursorPos(
                ImVec2(static_cast<float>(i % kColumns) * 79.0F, static_cast<float>(i / kColumns) * 24.0F));
            if (i / kColumns % 2 == 0)
            {
                ImGui::TextUnformatted(texts[i].c_str(), texts[i].c_str() + texts[i].size());
                continue;
            }
            ImGui::PushID(static_cast<int>(i));
            ImGui::Button(texts[i].c_str(), ImVec2(76, 20));
            ImGui::PopID();
        }
        ImGui::End();
        ImGui::Render();
        benchmark::DoNotOptimize(ImGui::GetDrawData()->TotalVtxCount);
    }
    state.SetLabel(std::to_string(ImGui::GetDrawData()->TotalVtxCount / 4) + " quads");
    ImGui::DestroyContext();
}

void BM_HitTest(benchmark::State& state)
{
    Screen screen;
    if (!screen.IsReady())
        return state.SkipWithError("there is no off-screen context");
    screen.Fill(bench::Count(20000));
    screen.Frame();
    bench::Random random(9);
    for (auto _ : state)
    {
        const int x = static_cast<int>(random.Below(kWidth));
        const int y = static_cast<int>(random.Below(kHeight));
        benchmark::DoNotOptimize(screen.GetContext().GetRoot().GetHoverWidget(x, y));
    }
}

std::string MakeFile(std::size_t lines)
{
    std::string text = "GWT_LIST_V \"list\" 0 0 10 10 NONE CENTER 7 7 0\n";
    for (std::size_t i = 1; i < lines; ++i)
        text += (i % 2 == 0 ? "\tGWT_LABEL \"" : "\tGWT_BUTTON \"") + MakeText(i) +
                (i % 2 == 0 ? "\" 0 1 -1 " : "\" ") + "\"id" + std::to_string(i) + "\" 0 " + std::to_string(i) +
                " 100 20 LEFT|TOP NONE 3 1 0\n";
    return text;
}

void BM_Load(benchmark::State& state)
{
    Screen screen;
    if (!screen.IsReady())
        return state.SkipWithError("there is no off-screen context");
    const std::size_t lines = bench::Count(10000);
    const std::string text = MakeFile(lines);
    for (auto _ : state)
    {
        gui::GuiStream stream(text);
        gui::ReadWidgets(screen.GetContext().GetRoot(), stream, nullptr);
        state.PauseTiming();
        while (screen.GetContext().GetRoot().GetChildCount() > 0)
            screen.GetContext().GetRoot().GetChild(0)->DestroySelf();
        state.ResumeTiming();
    }
    state.SetItemsProcessed(static_cast<std::int64_t>(state.iterations() * lines));
}

void BM_WalkBytes(benchmark::State& state)
{
    const std::size_t lines = bench::Count(10000);
    const std::string text = MakeFile(lines);
    for (auto _ : state)
    {
        std::size_t spaces = 0;
        for (const char c : text)
            spaces += c == ' ' || c == '\n';
        benchmark::DoNotOptimize(spaces);
    }
    state.SetItemsProcessed(static_cast<std::int64_t>(state.iterations() * lines));
}

BENCHMARK(BM_DearImGuiFrame)->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(BM_Frame, Idle, What::Idle)->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(BM_Frame, HundredthChanged, What::Hundredth)->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(BM_Frame, LayoutAndDraw, What::All)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_HitTest);
BENCHMARK(BM_WalkBytes)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_Load)->Unit(benchmark::kMicrosecond);
} // namespace
