#include "apps/sandbox/townFlight.h"

#include "gameengine/engine/aabbGridAdvice.h"
#include "gameengine/engine/componentTransform.h"
#include "gameengine/engine/interfaceCVX.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <numbers>

namespace
{
constexpr float kFrameTime = 1.0F / 60.0F;
constexpr std::uint32_t kPathColor = 0xFF2020E0;
constexpr std::uint32_t kReachColor = 0x80C04000;
constexpr int kMapWidth = 1600;
constexpr int kCars = 500;
constexpr double kSnapshots[] = {0.53, 0.66, 0.75}; // moments of the way, for the map
constexpr float kEyeHeight = 40.0F;                 // low enough to see the ground ahead

CSceneStreamer::Settings GetSettings(const CTownFlight::Area& area)
{
    const CVector3 size = area.max - area.min;
    const float reach = 0.22F * std::min(size.x, size.y);
    return {.cellSize = reach / 3, .loadRadius = reach, .keepRadius = reach * 1.3F, .rowBudget = 150};
}
} // namespace

CTownFlight::CTownFlight(CScene& scene, CEntityArray_SaveLoad_SqliteDB& store, const Area& area, std::uint32_t seed)
    : m_scene(scene),
      m_store(store),
      m_area(area),
      m_phase(static_cast<double>(seed % 628) * 0.01),
      m_streamer(store, scene.GetArray(), GetSettings(area)),
      m_arrayChanged([this](const EventMessage& message) { i_OnArrayChanged(message); }),
      m_seed(seed)
{
    scene.GetInterfaces()->SetInterface(CInterfaceCVX::TYPEID(), new CInterfaceCVX);
    m_arrayChanged.Subscribe(scene.GetArray().Events());
}

CVector3 CTownFlight::i_GetFocus(double turn) const
{
    // A figure of three loops that comes near every corner of the town.
    const double angle = 2 * std::numbers::pi * turn;
    const CVector3 centre = (m_area.min + m_area.max) * 0.5F;
    const CVector3 half = (m_area.max - m_area.min) * 0.36F;
    return {centre.x + half.x * static_cast<float>(std::sin(2 * angle + m_phase)),
            centre.y + half.y * static_cast<float>(std::cos(3 * angle)), 150.0F};
}

void CTownFlight::i_OnArrayChanged(const EventMessage& message)
{
    auto* entity = message.first.GetObjectPointer<CEntity>("CEntity");
    if (message.id != CEntityArray::kEntityAdded || !entity)
        return;
    PrepareTownEntity(*entity);
    if (const std::int64_t row = m_store.FindRow(entity); row >= 0)
        m_seen.try_emplace(row, Seen{GetTownKind(*entity), entity->Find<ComponentTransform>()->GetTransform()});
}

// The grid is made for what is loaded around the start, over the whole town; what stands there already is entered by
// hand.
void CTownFlight::i_StartTraffic()
{
    m_streamer.Finish(i_GetFocus(0));
    const AABBGridAdvice advice = AdviseGrid(m_scene.GetArray());
    const float margin = 500.0F;
    const float bounds[6] = {m_area.min.x - margin, m_area.min.y - margin, std::min(advice.bounds.GetMin().z, -10.0F),
                             m_area.max.x + margin, m_area.max.y + margin, std::max(advice.bounds.GetMax().z, 500.0F)};
    // Towns are flat: few layers.
    const float cellHeight = std::max(advice.cellSize.z, (bounds[5] - bounds[2]) / 8.0F);
    m_tree->InitializeWithDynamicGrid(bounds, advice.cellSize.x, advice.cellSize.y, cellHeight);
    m_tree->AddSource(&m_scene.GetArray());
    for (int i = 0; i < m_scene.GetArray().GetCount(); ++i)
        m_tree->Add(m_scene.GetArray().Get(i));
    m_traffic = std::make_unique<CTownTraffic>(m_scene.GetInterfaces(), m_tree.Get(), kCars, m_seed);
}

void CTownFlight::i_UpdateTraffic(CVector3 focus, CVector3 direction)
{
    const float reach = m_streamer.GetSettings().loadRadius;
    const tamra::platform::CStopwatch stopwatch;
    m_traffic->Plan(focus, reach, kFrameTime);
    const double planned = stopwatch.GetSeconds();
    m_traffic->Move();
    m_planSeconds += planned;
    m_moveSeconds += stopwatch.GetSeconds() - planned;
    ++m_frames;
    m_view.Look({focus.x, focus.y, kEyeHeight}, direction, reach);
}

void CTownFlight::Fly(int frames, CTownEdits& edits, CPhaseReport& report)
{
    CAuxRenderer* const aux = m_scene.GetInterfaces()->GetCVX()->GetAuxRenderer();
    const float reach = m_streamer.GetSettings().loadRadius;
    CVector3 last = i_GetFocus(0);
    i_StartTraffic();
    for (int frame = 0; frame < frames; ++frame)
    {
        const CVector3 focus = i_GetFocus(static_cast<double>(frame) / frames);
        report.BeginFrame();
        m_clock.BeginFrame(kFrameTime);
        m_scene.GetUpdateEvent().DoUpdate(kFrameTime);
        const auto& statistics = m_streamer.Update(focus);
        m_loaded += statistics.loaded;
        m_released += statistics.released;
        if (frame % 7 == 3)
            edits.EditSome();
        if (frame % 60 == 30)
            edits.AddTower(focus);
        if (frame % 45 == 20)
            edits.DeleteSome();
        const CVector3 ahead = i_GetFocus(static_cast<double>(frame + 1) / frames);
        i_UpdateTraffic(focus, (ahead - focus).Normalized());
        report.EndFrame();

        aux->AddLine(last, focus, kPathColor);
        if (frame % std::max(frames / 6, 1) == 0)
            aux->AddBox({focus - CVector3(reach, reach, 0), focus + CVector3(reach, reach, 0)}, kReachColor);
        if (std::any_of(std::begin(kSnapshots), std::end(kSnapshots),
                        [&](double turn) { return frame == static_cast<int>(turn * frames); }))
            m_view.TakeSnapshot(*m_traffic, *aux);
        m_scene.GetInterfaces()->GetCVX()->RenderAuxToRenderQueue(m_renderQueue);
        last = focus;
    }
}

bool CTownFlight::WriteMap(const std::string& path) const
{
    CTownMap map(m_area.min.x, m_area.min.y, m_area.max.x, m_area.max.y, kMapWidth);
    for (const auto& [row, seen] : m_seen)
        map.DrawBox(seen.kind, seen.matrix);
    m_view.DrawOn(map);
    map.DrawLines(m_renderQueue.GetLines(), 3.0F);
    map.DrawScaleBar();
    return map.WritePng(path);
}

void CTownFlight::PrintQueries() const
{
    if (!m_traffic || m_frames == 0)
        return;
    const auto frames = static_cast<double>(m_frames);
    const CAABBDynamicGrid& grid = *m_tree->GetGrid();
    std::printf("\na frame, over a grid of %u cells of %.0f x %.0f x %.0f m:\n", grid.GetTotalCellCount(),
                static_cast<double>(grid.GetCellSize(0)), static_cast<double>(grid.GetCellSize(1)),
                static_cast<double>(grid.GetCellSize(2)));
    m_view.Print();
    std::printf("%d cars: way found in %.1f us a frame, moved and re-filed in %.1f us, %.0f ns a car\n",
                m_traffic->GetCount(), m_planSeconds / frames * 1e6, m_moveSeconds / frames * 1e6,
                m_moveSeconds / frames / m_traffic->GetCount() * 1e9);
}
