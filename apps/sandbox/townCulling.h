#pragma once

#include "apps/sandbox/townModel.h"
#include "gameengine/engine/entityArrayOcclusion.h"
#include "gameengine/engine/occlusionAABBBase.h"

#include <cstdint>
#include <optional>
#include <span>
#include <string_view>
#include <vector>

namespace renderer
{
class CRenderTarget;
class CRenderer;
} // namespace renderer

/// Who finds out what of a town can be seen.
enum class TownCuller
{
    None, ///< Everything in the camera's frustum.
    Bruteforce,
    Tree,
    Software,
    Gpu
};

inline constexpr int kTownCullerCount = 5;

std::string_view GetTownCullerName(TownCuller culler);
std::optional<TownCuller> FindTownCuller(std::string_view name);

/// Drives one culler over a town.
class CTownCulling
{
public:
    /// Boxes of one view: each is visible, out of the frustum, or occluded.
    struct Counts
    {
        std::size_t visible = 0;
        std::size_t rejected = 0;
        std::size_t occluded = 0;
        int queries = 0; ///< Questions to the device.
    };

    /// Renderer and town must outlive it.
    CTownCulling(TownCuller culler, renderer::CRenderer& renderer, CTownModel& town);
    CTownCulling(const CTownCulling&) = delete;
    CTownCulling& operator=(const CTownCulling&) = delete;
    ~CTownCulling();

    TownCuller GetKind() const noexcept { return m_kind; }
    /// Whether a pass compares with the depth of what is drawn, so that it comes after the drawing.
    bool NeedsDepth() const noexcept { return m_kind != TownCuller::None && m_kind != TownCuller::Software; }

    /// One pass for what the target shows.
    void Run(renderer::CRenderTarget& target, const CMatrix& projectionView);

    /// Takes over the box of an entity that has moved.
    void Update(int number);

    /// What the last pass found: the numbers of entities, ascending. Valid until the next one.
    std::span<const int> GetVisible() const noexcept { return m_visible; }
    Counts GetCounts() const noexcept { return m_counts; }
    /// What the last pass took, in seconds of this thread.
    double GetSeconds() const noexcept { return m_seconds; }

private:
    void i_FindInFrustum(const collision::PrimFrustum& frustum);
    void i_SetOccluders(const collision::PrimFrustum& frustum);
    void i_TakeAnswer();
    void i_Count(const collision::PrimFrustum& frustum);

    TownCuller m_kind;
    CTownModel& m_town;
    RefPtr<COcclusionAABBBase> m_culler;
    RefPtr<CEntityArray_Occlusion> m_binding;
    std::vector<float> m_boxes; // of cullers that take them as a set
    std::vector<std::size_t> m_buildings;
    std::vector<std::pair<float, std::size_t>> m_occluders; // importance and number
    std::vector<int> m_visible;
    Counts m_counts;
    double m_seconds = 0.0;
    int m_pass = 0;
    bool m_hasNewBoxes = true;
};
