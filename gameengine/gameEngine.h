#pragma once

#include "gameengine/export.h"
#include "gameengine/gui/guiConsole/guiConsole.h"
#include "tamradeps/core/baseObject.h"
#include "tamraengine/renderer/textureManagerLightImage.h"

#include <memory>

class CEntityComponentTypeDatabase;

/// The engine instance of a program: what there is once. It owns and hands out the console, the textures of the GUI and
/// the 2-D drawer, in this order of making, and makes the type database know the built-in components.
///
///     GetFileSystem().AddRoot("assets");
///     renderer::CRenderer renderer;
///     renderer.InitializeDevice(); // or not: without a device everything works but nothing is drawn
///     const auto engine = CTamraGameEngine::Create(renderer);
///     ...
///     renderer.BeginFrame(seconds);
///     engine->Update();
///     engine->RenderGUI(window.GetWidth(), window.GetHeight());
///
/// Fonts and images are loaded when it is made, so the file system must know its roots, and the renderer its device,
/// before. It ends in the opposite order, and then another one may be made.
class TAMRAGAMEENGINE_API CTamraGameEngine final : public BaseObject
{
public:
    /// Null and one log line while there is one already. The renderer becomes the active one; it, and its device, must
    /// outlive the engine.
    static std::unique_ptr<CTamraGameEngine> Create(renderer::CRenderer& renderer);
    CTamraGameEngine(const CTamraGameEngine&) = delete;
    CTamraGameEngine& operator=(const CTamraGameEngine&) = delete;
    ~CTamraGameEngine() override;

    /// The one that lives, or null.
    static CTamraGameEngine* Singleton() noexcept;

    const char* GetTypeString() override;

    renderer::CRenderer& GetRenderer() noexcept { return m_renderer; }
    /// That of the process, which outlives the engine: components may be made and destroyed without one.
    CEntityComponentTypeDatabase& GetTypeDatabase() noexcept;
    CGuiConsole& GetConsole() noexcept { return m_console; }
    /// Images of the GUI share their textures through it while the engine lives.
    CTextureManager_LightImage& GetTextureManager() noexcept { return m_textures; }
    gui::Draw& GetDraw() noexcept { return *m_draw; }

    /// Once a frame, after the renderer has begun it.
    void Update();
    /// Draws the console over what was drawn with `GetDraw` in this frame, and sends all of it to the device, for a
    /// target of so many pixels.
    void RenderGUI(int width, int height);

private:
    explicit CTamraGameEngine(renderer::CRenderer& renderer);

    renderer::CRenderer& m_renderer;
    CGuiConsole m_console; // first, so that it shows what the others log
    CTextureManager_LightImage m_textures;
    std::unique_ptr<gui::Draw> m_draw;
};
