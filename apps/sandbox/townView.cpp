#include "apps/sandbox/townView.h"

#include "apps/sandbox/townTraffic.h"
#include "corvex/auxRenderer.h"
#include "gameengine/engine/componentTransform.h"
#include "tamradeps/platform/counters.h"

#include <cmath>
#include <cstdio>
#include <numbers>

namespace
{
constexpr std::uint32_t kConeColor = 0xFF702090;
constexpr float kFieldOfView = 60.0F; // also from left to right: the picture is square
constexpr std::size_t kNearest = 10;

CVector3 Turn(CVector3 v, float degrees)
{
    const float angle = degrees * std::numbers::pi_v<float> / 180.0F;
    return {v.x * std::cos(angle) - v.y * std::sin(angle), v.x * std::sin(angle) + v.y * std::cos(angle), v.z};
}
} // namespace

void CTownView::i_Add(Sums& sums, double seconds, std::uint32_t candidates, std::size_t found)
{
    sums.microseconds += seconds * 1e6;
    sums.candidates += candidates;
    sums.found += found;
}

void CTownView::Look(CVector3 eye, CVector3 direction, float reach)
{
    m_eye = eye;
    m_direction = direction;
    m_reach = reach;
    ++m_frames;
    tamra::platform::CStopwatch stopwatch;
    const collision::PrimFrustum frustum(CMatrix::Projection(kFieldOfView, 1.0F, 1.0F, reach) *
                                         CMatrix::View(eye, eye + direction, {0, 0, 1}));
    m_inView = m_query.InFrustum(frustum, m_seen);
    i_Add(m_frustum, stopwatch.GetSeconds(), m_query.GetLastCandidateCount(), m_inView.size());

    stopwatch.Restart();
    const auto nearest = m_query.NearestOf({eye.x, eye.y, 0}, kNearest, m_near, reach,
                                           [](const CEntity* entity) { return !GetTownName(*entity).empty(); });
    i_Add(m_nearest, stopwatch.GetSeconds(), m_query.GetLastCandidateCount(), nearest.size());
    m_places.resize(nearest.size());
    for (std::size_t i = 0; i < nearest.size(); ++i)
        m_places[i] = GetTownName(*nearest[i]);
}

void CTownView::TakeSnapshot(const CTownTraffic& traffic, CAuxRenderer& aux)
{
    Snapshot& snapshot = m_snapshots.emplace_back();
    snapshot.cars = traffic.GetMatrices();
    for (const CEntity* entity : m_inView)
    {
        const TownKind kind = GetTownKind(*entity);
        if (kind == TownKind::Building || kind == TownKind::Street)
            snapshot.seen.push_back(entity->Find<ComponentTransform>()->GetTransform());
    }
    // The far plane is straight: its corners are farther away than its middle.
    const float edge = m_reach / std::cos(kFieldOfView * 0.5F * std::numbers::pi_v<float> / 180.0F);
    const CVector3 left = m_eye + Turn(m_direction, kFieldOfView * 0.5F) * edge;
    const CVector3 right = m_eye + Turn(m_direction, kFieldOfView * -0.5F) * edge;
    aux.AddLine(m_eye, left, kConeColor);
    aux.AddLine(m_eye, right, kConeColor);
    aux.AddLine(left, right, kConeColor);
}

void CTownView::DrawOn(CTownMap& map) const
{
    for (const Snapshot& snapshot : m_snapshots)
    {
        for (const CMatrix& matrix : snapshot.seen)
            map.DrawInView(matrix);
        for (const CMatrix& matrix : snapshot.cars)
            map.DrawCar(matrix.Translation());
    }
}

void CTownView::i_PrintSums(const char* what, const Sums& sums) const
{
    const auto frames = static_cast<double>(m_frames);
    std::printf("%-22s %8.1f us, %8.1f candidates, %7.1f found\n", what, sums.microseconds / frames,
                static_cast<double>(sums.candidates) / frames, static_cast<double>(sums.found) / frames);
}

void CTownView::Print() const
{
    if (m_frames == 0)
        return;
    i_PrintSums("  in view", m_frustum);
    i_PrintSums("  ten nearest places", m_nearest);
    std::printf("near the end of the way:");
    for (const std::string& place : m_places)
        std::printf("%s %s", &place == m_places.data() ? "" : ",", place.c_str());
    std::printf("\n");
}
