#pragma once

#include "apps/sandbox/phaseReport.h"
#include "apps/sandbox/townEdits.h"
#include "gameengine/engine/sceneStreamer.h"
#include "tamraengine/renderer/renderQueue.h"
#include "tamraengine/renderer/renderer.h"
#include "tools/sceneTools/townMap.h"

#include <cstdint>
#include <map>

/// A flight over a town: a closed path, of which the surroundings are streamed in and out, frame by frame.
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

    /// Draws what was loaded on the way, the path, and the reach at some points of it.
    bool WriteMap(const std::string& path) const;

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
    void i_OnArrayChanged(const EventMessage& message);

    CScene& m_scene;
    CEntityArray_SaveLoad_SqliteDB& m_store;
    Area m_area;
    double m_phase;
    CSceneStreamer m_streamer;
    renderer::CRenderer m_clock;
    CRenderQueue m_renderQueue;
    CEventSubscription m_arrayChanged;
    std::map<std::int64_t, Seen> m_seen; // by row
    int m_loaded = 0;
    int m_released = 0;
};
