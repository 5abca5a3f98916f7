#pragma once

#include "gameengine/engine/entityArraySpatialQuery.h"
#include "tools/sceneTools/townMap.h"

#include <cstdint>
#include <string>
#include <vector>

class CAuxRenderer;
class CTownTraffic;

/// What a camera that flies over a town has in view, and what is near it: asks each frame, measures, and remembers some
/// moments for the map.
class CTownView
{
public:
    explicit CTownView(CEntityArray_AccelerationTree* tree) : m_query(tree) {}

    /// One frame's questions: what is in view of a camera at `eye` that looks along a level `direction`, and the ten
    /// nearest places that have a name.
    void Look(CVector3 eye, CVector3 direction, float reach);

    /// Keeps the present view and the cars for the map, and has the cone of the view drawn.
    void TakeSnapshot(const CTownTraffic& traffic, CAuxRenderer& aux);
    /// Draws the moments kept.
    void DrawOn(CTownMap& map) const;

    /// Prints the averages of a frame, and the nearest places of the last one.
    void Print() const;

private:
    struct Snapshot
    {
        std::vector<CMatrix> seen;
        std::vector<CMatrix> cars;
    };
    struct Sums
    {
        double microseconds = 0.0;
        std::uint64_t candidates = 0;
        std::uint64_t found = 0;
    };

    static void i_Add(Sums& sums, double seconds, std::uint32_t candidates, std::size_t found);
    void i_PrintSums(const char* what, const Sums& sums) const;

    CEntityArray_SpatialQuery m_query;
    CEntityArray_SpatialQuery::Buffer m_seen;
    CEntityArray_SpatialQuery::Answer m_inView;
    CEntityArray_SpatialQuery::Buffer m_near;
    std::vector<std::string> m_places;
    CVector3 m_eye;
    CVector3 m_direction;
    float m_reach = 0.0F;
    std::vector<Snapshot> m_snapshots;
    std::uint64_t m_frames = 0;
    Sums m_frustum;
    Sums m_nearest;
};
