#include "apps/sandbox/townCulling.h"

#include "gameengine/engine/componentTransform.h"
#include "gameengine/engine/occlusionAABBBruteforce.h"
#include "gameengine/engine/occlusionAABBOpenGLHierarchicalZ.h"
#include "gameengine/engine/occlusionAABBSoftwareHierarchicalZ.h"
#include "gameengine/engine/occlusionAABBTree.h"
#include "tamradeps/platform/counters.h"
#include "tamraengine/renderer/renderTarget.h"

#include <algorithm>
#include <array>

namespace
{
constexpr std::array<std::string_view, kTownCullerCount> kNames = {"none", "bruteforce", "tree", "software", "gpu"};
constexpr std::size_t kMaxOccluders = 400;

// The faces of the unit box from -0.5 to 0.5; bit i of a corner's number is its side on axis i.
constexpr std::array<std::uint32_t, 36> kBoxIndices = {0, 2, 1, 1, 2, 3, 4, 5, 6, 5, 7, 6, 0, 1, 4, 1, 5, 4,
                                                       2, 6, 3, 3, 6, 7, 0, 4, 2, 2, 4, 6, 1, 3, 5, 3, 7, 5};

std::array<CVector3, 8> GetCorners(const CMatrix& matrix)
{
    std::array<CVector3, 8> corners;
    for (std::size_t i = 0; i < 8; ++i)
        corners[i] = matrix.TransformPoint(
            {(i & 1) != 0 ? 0.5F : -0.5F, (i & 2) != 0 ? 0.5F : -0.5F, (i & 4) != 0 ? 0.5F : -0.5F});
    return corners;
}
} // namespace

std::string_view GetTownCullerName(TownCuller culler)
{
    return kNames[static_cast<std::size_t>(culler)];
}

std::optional<TownCuller> FindTownCuller(std::string_view name)
{
    const auto found = std::find(kNames.begin(), kNames.end(), name);
    if (found == kNames.end())
        return std::nullopt;
    return static_cast<TownCuller>(found - kNames.begin());
}

CTownCulling::CTownCulling(TownCuller culler, renderer::CRenderer& renderer, CTownModel& town)
    : m_kind(culler),
      m_town(town)
{
    switch (culler)
    {
    case TownCuller::None: break;
    case TownCuller::Bruteforce: m_culler = new COcclusionAABBBruteforce(renderer); break;
    case TownCuller::Tree: m_culler = new COcclusionAABBTree(renderer); break;
    case TownCuller::Software: m_culler = new COcclusionAABBSoftwareHierarchicalZ(renderer); break;
    case TownCuller::Gpu: m_culler = new COcclusionAABBOpenGLHierarchicalZ(renderer); break;
    }
    if (culler == TownCuller::Bruteforce || culler == TownCuller::Gpu)
        m_binding = new CEntityArray_Occlusion(&town.GetScene().GetArray(), m_culler.Get());
    for (std::size_t i = 0; i < town.GetEntities().size(); ++i)
    {
        const float* box = town.GetBox(i).GetFloats();
        m_boxes.insert(m_boxes.end(), box, box + 6);
        if (town.GetKind(i) == TownKind::Building)
            m_buildings.push_back(i);
    }
}

CTownCulling::~CTownCulling()
{
    // The next culler of the same town gives the entities their boxes anew.
    if (m_binding)
    {
        for (CEntity* entity : m_town.GetEntities())
            entity->Find<ComponentRuntimeData>()->secondaryData.reset();
    }
}

void CTownCulling::Run(renderer::CRenderTarget& target, const CMatrix& projectionView)
{
    const collision::PrimFrustum frustum(projectionView);
    const tamra::platform::CStopwatch stopwatch;
    m_visible.clear();
    if (!m_culler)
    {
        i_FindInFrustum(frustum);
    }
    else
    {
        const int count = static_cast<int>(m_town.GetEntities().size());
        m_culler->SetFrameData(++m_pass, frustum, m_town.GetEye());
        if (auto* tree = dynamic_cast<COcclusionAABBTree*>(m_culler.Get()))
            tree->SetBoundingBoxes(count, m_boxes.data());
        else if (auto* software = dynamic_cast<COcclusionAABBSoftwareHierarchicalZ*>(m_culler.Get()))
        {
            software->SetViewProjection(projectionView);
            software->SetResolution(target.GetWidth(), target.GetHeight());
            if (m_hasNewBoxes)
                software->SetBoundingBoxes(count, m_boxes.data());
            i_SetOccluders(frustum);
        }
        else if (auto* gpu = dynamic_cast<COcclusionAABBOpenGLHierarchicalZ*>(m_culler.Get()))
            gpu->SetDepthTexture(&target.GetDepth());
        m_hasNewBoxes = false;
        m_culler->DoOcclusion();
        i_TakeAnswer();
    }
    m_seconds = stopwatch.GetSeconds();
    i_Count(frustum);
}

void CTownCulling::Update(int number)
{
    const auto place = static_cast<std::size_t>(number);
    std::copy_n(m_town.GetBox(place).GetFloats(), 6, m_boxes.begin() + static_cast<std::ptrdiff_t>(place * 6));
    m_hasNewBoxes = true;
}

void CTownCulling::i_FindInFrustum(const collision::PrimFrustum& frustum)
{
    for (std::size_t i = 0; i < m_town.GetEntities().size(); ++i)
    {
        if (frustum.Test(m_town.GetBox(i)))
            m_visible.push_back(static_cast<int>(i));
    }
}

// The buildings that look largest from here.
void CTownCulling::i_SetOccluders(const collision::PrimFrustum& frustum)
{
    auto* software = static_cast<COcclusionAABBSoftwareHierarchicalZ*>(m_culler.Get());
    const CVector3 eye = m_town.GetEye();
    m_occluders.clear();
    for (const std::size_t i : m_buildings)
    {
        const collision::PrimAABB& box = m_town.GetBox(i);
        if (!frustum.Test(box))
            continue;
        const CVector3 size = box.GetSize();
        const CVector3 way = box.GetCenter() - eye;
        m_occluders.emplace_back(-size.Dot(size) / std::max(way.Dot(way), 1.0F), i);
    }
    const std::size_t count = std::min(m_occluders.size(), kMaxOccluders);
    std::partial_sort(m_occluders.begin(), m_occluders.begin() + static_cast<std::ptrdiff_t>(count), m_occluders.end());
    software->ClearOccluders();
    for (std::size_t i = 0; i < count; ++i)
    {
        const CEntity* entity = m_town.GetEntities()[m_occluders[i].second];
        const auto corners = GetCorners(entity->Find<ComponentTransform>()->GetTransform());
        software->AddOccluderTriangles(corners, kBoxIndices);
    }
}

void CTownCulling::i_TakeAnswer()
{
    for (int i = 0; i < m_culler->GetVisibleCount(); ++i)
    {
        const int id = m_culler->GetVisibleID(i);
        if (!m_binding)
        {
            m_visible.push_back(id);
            continue;
        }
        const OcclusionBox* box = m_culler->GetVisibleBox(i);
        const int number = box && box->user ? m_town.GetNumber(static_cast<const CEntity*>(box->user)) : -1;
        if (number >= 0)
            m_visible.push_back(number);
    }
    std::sort(m_visible.begin(), m_visible.end());
}

void CTownCulling::i_Count(const collision::PrimFrustum& frustum)
{
    m_counts = {};
    if (auto* brute = dynamic_cast<COcclusionAABBBruteforce*>(m_culler.Get()))
        m_counts.queries = brute->GetQueryCount();
    else if (auto* tree = dynamic_cast<COcclusionAABBTree*>(m_culler.Get()))
        m_counts.queries = tree->GetQueryCount();
    m_counts.visible = m_visible.size();
    std::size_t next = 0;
    for (std::size_t i = 0; i < m_town.GetEntities().size(); ++i)
    {
        const bool isVisible = next < m_visible.size() && m_visible[next] == static_cast<int>(i);
        next += isVisible ? 1 : 0;
        if (!isVisible)
            ++(frustum.Test(m_town.GetBox(i)) ? m_counts.occluded : m_counts.rejected);
    }
}
