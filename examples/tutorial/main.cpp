// The program of docs/tutorial.md, which is cut from the regions marked here: a town that is streamed from its file,
// culled, lit, and controlled by a window of widgets.

// [includes]
#include "corvex/context.h"
#include "corvex/window.h"
#include "gameengine/engine/entityComponentTypeDatabase.h"
#include "gameengine/gameEngine.h"
#include "gameengine/gui/guiInputAdapter.h"
#include "gameengine/gui/guiWidget/guiAutomation.h"
#include "gameengine/gui/guiWidget/guiLabel.h"
#include "gameengine/gui/guiWidget/guiLayout.h"
#include "gameengine/gui/guiWidget/guiWidgetFile.h"
#include "tamradeps/io/fileSystem.h"
#include "tamradeps/platform/counters.h"
#include "tamraengine/renderer/imageEncoder.h"
#include "tamraengine/renderer/renderTarget.h"
#include "tutorial/componentBlock.h"
#include "tutorial/town.h"
#include "tutorial/townFile.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstring>
#include <memory>
#include <set>
#include <string>
// [includes end]

namespace
{
// [frame-time]
constexpr float kFrameTime = 1.0F / 60.0F;
// [frame-time end]

// [panel]
/// The window with figures and switches. Hears of its widgets.
class CPanel final : public gui::GuiCallback
{
public:
    CPanel(gui::GuiContext& context, CTown& town) : m_context(context), m_town(town) {}

    bool Initialize()
    {
        gui::LoadWidgetFile(m_context.GetRoot(), "gui/panel.gui");
        gui::GuiWidget* const window = m_context.GetRoot().FindChild("town");
        if (!window)
            return false;
        window->SetCallback(this);
        return true;
    }

    /// Called by the context's `Update`, for everything in the window.
    bool OnGuiEvent(const char* name, const gui::GuiEvent& event) override
    {
        if (event.type != gui::GET_CHECKBOX_CHANGED)
            return false;
        if (std::strcmp(name, "cull") == 0)
            m_town.SetCulling(event.GetInt(0) != 0);
        else if (std::strcmp(name, "night") == 0)
            m_town.SetNight(event.GetInt(0) != 0);
        return true;
    }

    void ShowFigures()
    {
        i_Show("loaded", "Loaded: ", m_town.GetLoaded());
        i_Show("inView", "In view: ", m_town.GetInView());
        i_Show("drawn", "Not hidden: ", m_town.GetDrawn());
    }

private:
    void i_Show(const char* id, const std::string& text, int number)
    {
        if (auto* label = dynamic_cast<gui::GuiLabel*>(m_context.GetRoot().FindChild(id)))
            label->SetText(text + std::to_string(number));
    }

    gui::GuiContext& m_context;
    CTown& m_town;
};
// [panel end]

// [frame]
/// All that is drawn in a frame, and where to.
class CStage
{
public:
    CStage(renderer::CRenderer& renderer, CTamraGameEngine& engine, const std::string& townFile)
        : m_renderer(renderer),
          m_engine(engine),
          m_town(renderer, townFile),
          m_context(gui::GuiContext::Create(engine.GetDraw())),
          m_panel(*m_context, m_town)
    {
    }
    ~CStage() { m_engine.GetConsole().RemoveHandler("goto"); }
    CStage(const CStage&) = delete;
    CStage& operator=(const CStage&) = delete;

    bool Initialize(int width, int height)
    {
        m_target = renderer::CRenderTarget::Create(m_renderer, width, height);
        m_engine.GetConsole().AddHandler(
            "goto", [this](const std::string&, const std::string& place) { i_GoTo(place); },
            "goto X Y: moves the camera there");
        return m_target && m_town.Initialize() && m_panel.Initialize();
    }

    void DrawFrame(float seconds)
    {
        const int width = m_target->GetWidth();
        const int height = m_target->GetHeight();
        m_renderer.BeginFrame(seconds);
        m_engine.Update();
        m_context->Update(seconds);
        m_town.GetScene().GetUpdateEvent().DoUpdate(seconds);

        m_target->Bind();
        const float* sky = m_town.GetClearColor();
        m_renderer.Clear({sky[0], sky[1], sky[2]});
        m_town.Draw(width, height);
        m_panel.ShowFigures();
        m_context->Render(width, height);
        m_engine.RenderGUI(width, height);
    }

    CTown& GetTown() { return m_town; }
    gui::GuiContext& GetContext() { return *m_context; }
    renderer::CRenderTarget& GetTarget() { return *m_target; }

private:
    void i_GoTo(const std::string& place)
    {
        float x = 0.0F;
        float y = 0.0F;
        if (std::sscanf(place.c_str(), "%f %f", &x, &y) == 2)
            m_town.LookFrom({x, y, 60.0F}, {1.0F, 0.3F, -0.25F});
    }

    renderer::CRenderer& m_renderer;
    CTamraGameEngine& m_engine;
    RefPtr<renderer::CRenderTarget> m_target;
    CTown m_town;
    std::unique_ptr<gui::GuiContext> m_context;
    CPanel m_panel;
};
// [frame end]

// [check]
bool Check(bool isGood, const char* what)
{
    if (!isGood)
        std::printf("FAILED: %s\n", what);
    return isGood;
}

std::size_t CountColors(const renderer::Image& image)
{
    std::set<std::array<std::uint8_t, 3>> colors;
    for (std::size_t i = 0; i < image.pixels.size(); i += 4)
        colors.insert({image.pixels[i], image.pixels[i + 1], image.pixels[i + 2]});
    return colors.size();
}

// Draws until everything near is loaded, and writes the picture.
bool TakePicture(CStage& stage, const std::string& path)
{
    if (!Check(stage.GetTown().GetStreamer().Finish(stage.GetTown().GetEye()), "everything near is loaded"))
        return false;
    stage.DrawFrame(kFrameTime);
    stage.DrawFrame(kFrameTime); // the figures of the first are shown
    const renderer::Image image = stage.GetTarget().ReadPixels();
    return Check(CountColors(image) > 200, "there is something in the picture") && renderer::WritePng(path, image);
}
// [check end]

// [change]
// Paints the block ahead as an editor would, by the name of a property, lets the streamer save it, and looks into the
// file with a scene of its own.
bool PaintAndReload(CTown& town, const std::string& path)
{
    CEntity* const entity = town.FindAhead();
    if (!Check(entity != nullptr, "there is a block ahead"))
        return false;
    const CVector3 place = entity->Find<ComponentTransform>()->GetTransform().Translation();
    const float red[4] = {0.8F, 0.1F, 0.1F, 1.0F};
    CEntityComponentProperty property;
    property.SetColor("Color", red);
    entity->Find<ComponentBlock>()->SetPropertyTo("Color", property);
    if (!Check(town.GetStreamer().ReleaseAll() && town.GetLoaded() == 0, "all of it is saved and let go"))
        return false;

    CScene scene;
    CEntityArray_SaveLoad_SqliteDB store(path.c_str(), scene.GetInterfaces());
    const float min[3] = {place.x, place.y, place.z};
    if (!Check(store.Load(min, min) && scene.GetArray().GetCount() == 1, "the block's row is found by its position"))
        return false;
    const auto* block = scene.GetArray().Get(0)->Find<ComponentBlock>();
    return Check(block && std::equal(red, red + 4, block->GetColor()), "the new colour is in the file");
}
// [change end]

// [run]
bool RunChecks(CStage& stage, const std::string& townFile, const std::string& out)
{
    CTown& town = stage.GetTown();
    gui::GuiAutomation user(stage.GetContext());
    bool isGood = TakePicture(stage, out + "/tutorial.png");
    isGood &= Check(town.GetLoaded() > 500 && town.GetLoaded() < kBlocks * kBlocks, "a part of the town is loaded");
    isGood &= Check(town.GetDrawn() < town.GetInView() && town.GetInView() < town.GetLoaded(), "some of it is hidden");

    const int drawn = town.GetDrawn();
    isGood &= Check(user.Click("cull"), "the box can be clicked");
    stage.DrawFrame(kFrameTime);
    isGood &= Check(town.GetDrawn() == town.GetInView(), "nothing is culled now");
    isGood &= Check(user.Click("cull") && user.Click("night"), "the boxes can be clicked");
    isGood &= TakePicture(stage, out + "/night.png");
    isGood &= Check(town.GetDrawn() == drawn, "it is culled as before");

    CTamraGameEngine::Singleton()->GetConsole().Execute("goto 400 300");
    isGood &= TakePicture(stage, out + "/corner.png");
    std::string text;
    isGood &= Check(user.GetText("loaded", text) && text == "Loaded: " + std::to_string(town.GetLoaded()),
                    "the window shows what is loaded");
    return PaintAndReload(town, townFile) && isGood;
}
// [run end]

// [window]
void ShowWindow(CWindow& window, renderer::CRenderer& renderer, CStage& stage)
{
    gui::GuiInputAdapter adapter(stage.GetContext(), &window);
    renderer.GetInput().AddListener(&adapter);
    tamra::platform::CStopwatch stopwatch;
    while (window.PollEvents())
    {
        const auto seconds = static_cast<float>(stopwatch.GetSeconds());
        stopwatch.Restart();
        const int width = window.GetWidth();
        const int height = window.GetHeight();
        if (width > 0 && height > 0 && stage.GetTarget().Resize(width, height))
        {
            stage.DrawFrame(seconds);
            stage.GetTarget().CopyToWindow(width, height);
        }
        window.SwapBuffers();
        adapter.UpdateCursor();
    }
    renderer.GetInput().RemoveListener(&adapter);
}
// [window end]

// [start]
bool Run(const std::string& out, bool wantsWindow)
{
    const std::string townFile = out + "/town.sdb";
    RegisterBuiltInComponents();
    CEntityComponentTypeDatabase::Instance().Add("ComponentBlock", ComponentBlock::TYPEID(),
                                                 &ComponentBlock::CreateComponent);
    if (!BuildTown(townFile))
        return false;

    renderer::CRenderer renderer;
    std::unique_ptr<CWindow> window;
    std::unique_ptr<CContext> context;
    if (wantsWindow)
        window = CWindow::Create({.title = "Tutorial"}, &renderer.GetInput());
    else
        context = COffscreenContext::Create();
    if ((!window && !context) || !renderer.InitializeDevice())
        return false;
    const auto engine = CTamraGameEngine::Create(renderer);
    CStage stage(renderer, *engine, townFile);
    if (!stage.Initialize(1280, 720))
        return false;
    if (!window)
        return RunChecks(stage, townFile, out);
    ShowWindow(*window, renderer, stage);
    return true;
}
// [start end]
} // namespace

// [main]
int main(int count, char** values)
{
    if (count < 4)
    {
        std::printf("usage: tutorial OWN_ASSETS ENGINE_ASSETS OUT_FOLDER [--window]\n");
        return 2;
    }
    GetFileSystem().AddRoot(values[1]);
    GetFileSystem().AddRoot(values[2]);
    return Run(values[3], count > 4 && std::string(values[4]) == "--window") ? 0 : 1;
}
// [main end]
