#pragma once

#include "apps/sandbox/townControls.h"
#include "apps/sandbox/townCulling.h"
#include "apps/sandbox/townPath.h"
#include "apps/sandbox/townRenderer.h"
#include "apps/sandbox/viewReport.h"
#include "corvex/auxRenderer.h"
#include "tamraengine/renderer/renderTarget.h"
#include "tamraengine/renderer/textRenderer.h"

#include <functional>
#include <memory>
#include <string>
#include <vector>

/// One picture of a town after the other: culls, draws, and shows what programmers want to see of both.
class CTownViewer
{
public:
    /// Both must outlive it; the renderer has a device.
    CTownViewer(renderer::CRenderer& renderer, CTownModel& town);

    /// False when materials or memory are missing, which was logged.
    bool Initialize(int width, int height, TownCuller culler);

    void SetCuller(TownCuller culler);
    TownCuller GetCuller() const noexcept { return m_culling->GetKind(); }
    TownDebug& GetDebug() noexcept { return m_debug; }
    /// Changes the town by the function, which may add and remove entities. False when there is no memory to show it.
    bool Change(const std::function<void()>& change);
    /// Shows an entity as it is now.
    void Update(int number);

    /// Makes pictures of another size. False, with nothing changed, when that fails.
    bool Resize(int width, int height);

    /// Draws one picture into the target. `seconds` since the one before.
    void Draw(const TownViewpoint& viewpoint, float seconds);
    /// The same viewpoint so often that every culler has made up its mind.
    void DrawStill(const TownViewpoint& viewpoint);

    const CMatrix& GetProjectionView() const noexcept { return m_townRenderer.GetProjectionView(); }
    renderer::CRenderTarget& GetTarget() noexcept { return *m_target; }
    CViewReport& GetReport() noexcept { return m_report; }
    /// Shows the last picture in the context's own surface.
    void Present(int width, int height);

private:
    void i_DrawTown();
    void i_DrawDebug();
    void i_DrawMarked();
    void i_DrawFigures();

    renderer::CRenderer& m_renderer;
    CTownModel& m_town;
    CTownRenderer m_townRenderer;
    CTextRenderer m_text;
    CAuxRenderer m_aux;
    CRenderQueue m_queue;
    CViewReport m_report;
    TownDebug m_debug;
    RefPtr<renderer::CRenderTarget> m_target;
    std::unique_ptr<CTownCulling> m_culling;
    std::vector<int> m_shown; // what the last picture holds
    std::vector<int> m_new;
};
