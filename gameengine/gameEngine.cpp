#include "gameengine/gameEngine.h"

#include "gameengine/engine/entityComponentTypeDatabase.h"
#include "gameengine/gui/draw2D/image.h"
#include "tamradeps/core/log.h"
#include "tamraengine/renderer/renderer.h"

namespace
{
CTamraGameEngine* g_engine = nullptr;
} // namespace

std::unique_ptr<CTamraGameEngine> CTamraGameEngine::Create(renderer::CRenderer& renderer)
{
    if (g_engine)
    {
        tamra::log::Error("CTamraGameEngine: there is an engine instance already");
        return nullptr;
    }
    return std::unique_ptr<CTamraGameEngine>(new CTamraGameEngine(renderer));
}

CTamraGameEngine::CTamraGameEngine(renderer::CRenderer& renderer)
    : m_renderer(renderer),
      m_console(renderer),
      m_textures(renderer)
{
    g_engine = this;
    CGuiConsole::i_SetSingleton(&m_console);
    RegisterBuiltInComponents();
    renderer.Activate();
    gui::Image::SetTextureManager(&m_textures);
    m_draw = gui::Draw::Create(renderer);
}

CTamraGameEngine::~CTamraGameEngine()
{
    m_draw = nullptr;
    gui::Image::SetTextureManager(nullptr);
    CGuiConsole::i_SetSingleton(nullptr);
    g_engine = nullptr;
}

CTamraGameEngine* CTamraGameEngine::Singleton() noexcept
{
    return g_engine;
}

const char* CTamraGameEngine::GetTypeString()
{
    return "CTamraGameEngine";
}

CEntityComponentTypeDatabase& CTamraGameEngine::GetTypeDatabase() noexcept
{
    return CEntityComponentTypeDatabase::Instance();
}

void CTamraGameEngine::Update()
{
    m_console.Update();
}

void CTamraGameEngine::RenderGUI(int width, int height)
{
    m_console.RenderGUI(*m_draw, width, height);
    m_draw->RenderAll(width, height);
}
