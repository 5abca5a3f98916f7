#pragma once

#include "apps/sandbox/phaseReport.h"
#include "apps/sandbox/townEdits.h"
#include "apps/sandbox/townTraffic.h"
#include "apps/sandbox/townView.h"
#include "gameengine/engine/sceneStreamer.h"
#include "tamraengine/renderer/renderQueue.h"
#include "tamraengine/renderer/renderer.h"
#include "tools/sceneTools/townMap.h"

#include <cstdint>
#include <map>
#include <memory>

/// A flight over a town: a closed path, of which the surroundings are streamed in and out, frame by frame. A grid
/// follows what is loaded, cars included, and is asked each frame for what the camera sees.
class CTownFlight
{
public:
    /// The area of the town in metres.
    struct Area
    {
        CVector3 min;
        CVector3 max;
    };

    CTownFlight(CScene& scene, CEntityArray_SaveLoad_SqliteDB& store, const Area& area, std::uint32_t seed);

    /// Flies once around. Every few frames something is edited, added or deleted.
    void Fly(int frames, CTownEdits& edits, CPhaseReport& report);

    /// Draws what was loaded on the way, the path, and at some points of it the reach, the view, what is in it, and the
    /// cars.
    bool WriteMap(const std::string& path) const;

    /// Prints what the questions and the cars cost in a frame.
    void PrintQueries() const;

    int GetLoaded() const noexcept { return m_loaded; }
    int GetReleased() const noexcept { return m_released; }
    /// Entities that were seen at least once.
    std::uint64_t GetSeen() const noexcept { return m_seen.size(); }

private:
    struct Seen
    {
        TownKind kind;
        CMatrix matrix;
    };

    CVector3 i_GetFocus(double turn) const;
    void i_StartTraffic();
    void i_UpdateTraffic(CVector3 focus, CVector3 direction);
    void i_OnArrayChanged(const EventMessage& message);

    CScene& m_scene;
    CEntityArray_SaveLoad_SqliteDB& m_store;
    Area m_area;
    double m_phase;
    CSceneStreamer m_streamer;
    renderer::CRenderer m_clock;
    CRenderQueue m_renderQueue;
    CEventSubscription m_arrayChanged;
    RefPtr<CEntityArray_AccelerationTree> m_tree{new CEntityArray_AccelerationTree};
    CTownView m_view{m_tree.Get()};
    std::unique_ptr<CTownTraffic> m_traffic;
    std::uint32_t m_seed;
    double m_planSeconds = 0.0;
    double m_moveSeconds = 0.0;
    int m_frames = 0;
    std::map<std::int64_t, Seen> m_seen; // by row
    int m_loaded = 0;
    int m_released = 0;
};
