#include "apps/sandbox/townViewer.h"

#include "gameengine/engine/aabbDynamicGrid.h"
#include "gameengine/engine/componentTransform.h"
#include "tamradeps/platform/counters.h"

#include <algorithm>
#include <cstdio>

using namespace renderer;

namespace
{
// More pictures than any culler is behind.
constexpr int kStillPictures = 12;
constexpr std::uint32_t kVisibleColor = 0xFF40D040;
constexpr std::uint32_t kCulledColor = 0xFF3030FF;
constexpr std::uint32_t kCellColor = 0xFFC0A020;
constexpr std::uint32_t kMarkColor = 0xFF20D0FF;
constexpr float kCellReach = 600.0F;
} // namespace

CTownViewer::CTownViewer(CRenderer& renderer, CTownModel& town)
    : m_renderer(renderer),
      m_town(town),
      m_townRenderer(renderer, town),
      m_text(renderer)
{
}

bool CTownViewer::Initialize(int width, int height, TownCuller culler)
{
    SetCuller(culler);
    m_target = CRenderTarget::Create(m_renderer, width, height);
    return m_target && m_townRenderer.Initialize();
}

void CTownViewer::SetCuller(TownCuller culler)
{
    m_culling = nullptr; // before the next one binds the same entities
    m_culling = std::make_unique<CTownCulling>(culler, m_renderer, m_town);
    m_shown.clear();
}

bool CTownViewer::Change(const std::function<void()>& change)
{
    const TownCuller culler = GetCuller();
    m_culling = nullptr; // it knows entities by their numbers
    change();
    SetCuller(culler);
    return m_townRenderer.Upload();
}

void CTownViewer::Update(int number)
{
    if (m_town.Refresh(number))
    {
        Change([] {});
        return;
    }
    m_culling->Update(number);
    m_townRenderer.Update(number);
}

bool CTownViewer::Resize(int width, int height)
{
    return (width == m_target->GetWidth() && height == m_target->GetHeight()) || m_target->Resize(width, height);
}

void CTownViewer::Draw(const TownViewpoint& viewpoint, float seconds)
{
    m_renderer.BeginFrame(seconds);
    m_town.GetScene().GetUpdateEvent().DoUpdate(seconds);
    m_town.SetCamera(viewpoint.eye, viewpoint.direction);
#ifndef NDEBUG
    m_townRenderer.ReloadIfChanged();
#endif
    const tamra::platform::CStopwatch stopwatch;
    m_target->Bind();
    m_townRenderer.Begin(m_target->GetWidth(), m_target->GetHeight());
    i_DrawTown();
    CViewReport::Frame frame;
    frame.cull = m_culling->GetSeconds();
    frame.draw = stopwatch.GetSeconds() - frame.cull;
    frame.counts = m_culling->GetCounts();
    frame.drawCalls = m_townRenderer.GetDrawCalls();
    m_report.Add(frame);
    i_DrawDebug();
    if (m_debug.marked >= 0 && m_debug.marked < static_cast<int>(m_town.GetEntities().size()))
        i_DrawMarked();
    if (m_debug.figures)
        i_DrawFigures();
}

// A culler that looks at the picture's depth sees what was visible in the picture before, and adds to that.
void CTownViewer::i_DrawTown()
{
    const CMatrix& projectionView = m_townRenderer.GetProjectionView();
    if (m_debug.frozen || m_culling->NeedsDepth())
        m_townRenderer.Draw(m_shown);
    if (m_debug.frozen)
        return;
    m_culling->Run(*m_target, projectionView);
    const auto visible = m_culling->GetVisible();
    if (m_culling->NeedsDepth())
    {
        m_new.clear();
        std::set_difference(visible.begin(), visible.end(), m_shown.begin(), m_shown.end(), std::back_inserter(m_new));
        m_townRenderer.Draw(m_new);
    }
    else
        m_townRenderer.Draw(visible);
    m_shown.assign(visible.begin(), visible.end());
}

void CTownViewer::DrawStill(const TownViewpoint& viewpoint)
{
    // Nothing of another viewpoint may help.
    m_shown.clear();
    const int count = m_culling->NeedsDepth() ? kStillPictures : 1;
    for (int i = 0; i < count; ++i)
        Draw(viewpoint, 1.0F / 60.0F);
}

void CTownViewer::i_DrawDebug()
{
    m_aux.Clear();
    if (m_debug.boxes)
    {
        for (const int number : m_shown)
            m_aux.AddBox(m_town.GetBox(static_cast<std::size_t>(number)), kVisibleColor);
    }
    if (m_debug.culled)
    {
        const collision::PrimFrustum frustum(m_townRenderer.GetProjectionView());
        for (std::size_t i = 0; i < m_town.GetEntities().size(); ++i)
        {
            if (frustum.Test(m_town.GetBox(i)) &&
                !std::binary_search(m_shown.begin(), m_shown.end(), static_cast<int>(i)))
                m_aux.AddBox(m_town.GetBox(i), kCulledColor);
        }
    }
    if (const CAABBDynamicGrid* grid = m_debug.cells ? m_town.GetTree().GetGrid() : nullptr)
    {
        const CVector3 eye = m_town.GetEye();
        const float box[6] = {eye.x - kCellReach, eye.y - kCellReach, eye.z - kCellReach,
                              eye.x + kCellReach, eye.y + kCellReach, eye.z + kCellReach};
        const auto range = grid->GetRange(box);
        const CVector3 size(grid->GetCellSize(0), grid->GetCellSize(1), grid->GetCellSize(2));
        for (std::int32_t z = range.first[2]; z < range.end[2]; ++z)
        {
            for (std::int32_t y = range.first[1]; y < range.end[1]; ++y)
            {
                for (std::int32_t x = range.first[0]; x < range.end[0]; ++x)
                {
                    if (grid->GetCell(grid->GetCellIndex(x, y, z)).GetCount() == 0)
                        continue;
                    const CVector3 corner = grid->GetBounds().GetMin() + CVector3(size.x * static_cast<float>(x),
                                                                                  size.y * static_cast<float>(y),
                                                                                  size.z * static_cast<float>(z));
                    m_aux.AddBox({corner, corner + size}, kCellColor);
                }
            }
        }
    }
    if (m_aux.GetLines().empty())
        return;
    m_queue.Clear();
    m_queue.AddLines(m_aux.GetLines());
    const CPreservedState guard(m_renderer.GetState());
    // The culled set lies behind what hides it.
    m_renderer.GetState().SetDepthTest(m_debug.culled ? DepthTest::Off : DepthTest::LessEqual);
    m_queue.Render(m_renderer, m_townRenderer.GetProjectionView());
}

void CTownViewer::i_DrawMarked()
{
    const CEntity* entity = m_town.GetEntities()[static_cast<std::size_t>(m_debug.marked)];
    const CMatrix& matrix = entity->Find<ComponentTransform>()->GetTransform();
    m_aux.Clear();
    // Bit i of a corner's number is its side on axis i.
    const auto corner = [&](int number)
    {
        const auto side = [number](int axis) { return (number >> axis & 1) != 0 ? 0.5F : -0.5F; };
        return matrix.TransformPoint({side(0), side(1), side(2)});
    };
    for (int number = 0; number < 8; ++number)
    {
        for (int axis = 0; axis < 3; ++axis)
        {
            if ((number >> axis & 1) == 0)
                m_aux.AddLine(corner(number), corner(number | 1 << axis), kMarkColor);
        }
    }
    m_queue.Clear();
    m_queue.AddLines(m_aux.GetLines());
    const CPreservedState guard(m_renderer.GetState());
    m_renderer.GetState().SetDepthTest(DepthTest::Off);
    m_queue.Render(m_renderer, m_townRenderer.GetProjectionView());
}

void CTownViewer::i_DrawFigures()
{
    const CViewReport::Frame& frame = m_report.GetLast();
    char text[400];
    std::snprintf(text, sizeof text,
                  "culler %s%s   %zu visible, %zu outside the view, %zu occluded   %d draw calls\n"
                  "cull %.2f ms   draw %.2f ms",
                  GetTownCullerName(GetCuller()).data(), m_debug.frozen ? " (frozen)" : "", frame.counts.visible,
                  frame.counts.rejected, frame.counts.occluded, frame.drawCalls, frame.cull * 1e3, frame.draw * 1e3);
    m_text.Write(9.0F, 9.0F, text, 0xC0000000);
    m_text.Write(8.0F, 8.0F, text);
    m_text.Render(m_target->GetWidth(), m_target->GetHeight());
}

void CTownViewer::Present(int width, int height)
{
    m_target->CopyToWindow(width, height);
}
