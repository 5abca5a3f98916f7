// [includes]
#include "tutorial/town.h"

#include "tutorial/componentBlock.h"
#include "tutorial/townFile.h"

#include <algorithm>
#include <cstring>
#include <span>
// [includes end]

namespace
{
// [look]
template <class Component>
Component* Make(CEntity& entity)
{
    return static_cast<Component*>(Component::CreateComponent(&entity));
}

// A frame of reference that looks along the direction, with its Z axis upwards.
CMatrix LookAlong(CVector3 eye, CVector3 direction)
{
    CMatrix matrix;
    const CVector3 x = direction.Normalized();
    const CVector3 y = CVector3(0, 0, 1).Cross(x).Normalized();
    matrix.SetLocalX(x);
    matrix.SetLocalY(y);
    matrix.SetLocalZ(x.Cross(y));
    matrix.SetTranslation(eye);
    return matrix;
}
// [look end]

// [store]
template <std::size_t Count>
void Store(float (&out)[4], const float (&values)[Count])
{
    std::memcpy(out, values, sizeof values);
}
// [store end]
} // namespace

// [viewer]
CTown::CTown(renderer::CRenderer& renderer, const std::string& path)
    : m_store(path.c_str(), m_scene.GetInterfaces()),
      m_streamer(m_store, m_scene.GetArray(),
                 {.cellSize = 120.0F, .loadRadius = 700.0F, .keepRadius = 900.0F, .rowBudget = 200}),
      m_culler(new COcclusionAABBSoftwareHierarchicalZ(renderer)),
      m_painter(renderer),
      m_viewer(new CEntity(m_scene.GetInterfaces())),
      m_sun(new CEntity(m_scene.GetInterfaces()))
{
    const float bounds[6] = {-100.0F, -100.0F, -50.0F, kTownSize + 100.0F, kTownSize + 100.0F, 150.0F};
    m_tree->InitializeWithDynamicGrid(bounds, 100.0F, 100.0F, 200.0F);
    m_tree->AddSource(&m_scene.GetArray());

    m_viewer->LockComponentList();
    m_place = Make<ComponentTransformDirect>(*m_viewer);
    m_camera = Make<ComponentCamera>(*m_viewer);
    m_settings = Make<ComponentRenderSettings>(*m_viewer);
    m_viewer->UnlockComponentList();

    m_sun->LockComponentList();
    Make<ComponentTransformDirect>(*m_sun)->SetTransform(LookAlong({}, {0.5F, 0.35F, -0.75F}));
    m_sunLight = Make<ComponentLight>(*m_sun);
    m_sunLight->SetLightType(ComponentLightType::Directional);
    m_sun->UnlockComponentList();

    LookFrom({840.0F, 1000.0F, 60.0F}, {1.0F, 0.3F, -0.25F});
    SetNight(false);
}

void CTown::LookFrom(CVector3 eye, CVector3 direction)
{
    m_place->SetTransform(LookAlong(eye, direction));
}

void CTown::SetNight(bool isNight)
{
    const float sky[4] = {isNight ? 0.03F : 0.62F, isNight ? 0.04F : 0.72F, isNight ? 0.08F : 0.82F, 1.0F};
    const float ambient[4] = {isNight ? 0.05F : 0.36F, isNight ? 0.06F : 0.41F, isNight ? 0.1F : 0.48F, 1.0F};
    const float sun[4] = {isNight ? 0.03F : 1.05F, isNight ? 0.04F : 0.95F, isNight ? 0.07F : 0.78F, 1.0F};
    m_isNight = isNight;
    m_settings->SetClearColor(sky);
    m_settings->SetAmbientColor(ambient);
    m_settings->SetFog(true, 150.0F, 700.0F);
    m_sunLight->SetLightColor(sun);
}
// [viewer end]

// [cull]
void CTown::i_FindVisible(const CMatrix& projectionView)
{
    const collision::PrimFrustum frustum(projectionView);
    const CVector3 eye = GetEye();
    const auto candidates = m_query.InFrustum(frustum, m_candidates);
    m_inView = static_cast<int>(candidates.size());
    m_visible.assign(candidates.begin(), candidates.end());
    if (!m_isCulling)
        return;

    m_boxes.clear();
    m_occluders.clear();
    for (const CEntity* entity : candidates)
    {
        const collision::PrimAABB& box = entity->Find<ComponentTransform>()->GetBoundingBox();
        m_boxes.insert(m_boxes.end(), box.GetFloats(), box.GetFloats() + 6);
        if (entity->Find<ComponentBlock>())
            m_occluders.push_back(box);
    }
    const auto isNearer = [eye](const collision::PrimAABB& a, const collision::PrimAABB& b)
    { return (a.GetCenter() - eye).Length() < (b.GetCenter() - eye).Length(); };
    constexpr std::size_t kMostOccluders = 200;
    const std::size_t count = std::min(m_occluders.size(), kMostOccluders);
    std::partial_sort(m_occluders.begin(), m_occluders.begin() + static_cast<std::ptrdiff_t>(count), m_occluders.end(),
                      isNearer);
    m_culler->SetOccluderBoxes(std::span(m_occluders).first(count));

    m_culler->SetFrameData(0, frustum, eye);
    m_culler->SetViewProjection(projectionView);
    m_culler->SetBoundingBoxes(m_inView, m_boxes.data());
    m_culler->DoOcclusion();
    m_visible.clear();
    for (int i = 0; i < m_culler->GetVisibleCount(); ++i)
        m_visible.push_back(candidates[static_cast<std::size_t>(m_culler->GetVisibleID(i))]);
}
// [cull end]

// [draw]
// The sun, the sky, and the lamps in sight.
void CTown::i_FillFrame(CPainter::Frame& frame) const
{
    const CVector3 eye = GetEye();
    const CVector3 sun = m_sun->Find<ComponentTransform>()->GetTransform().GetLocalX() * -1.0F;
    Store(frame.eye, {eye.x, eye.y, eye.z, 1.0F});
    Store(frame.sunDirection, {sun.x, sun.y, sun.z, 0.0F});
    std::copy_n(m_sunLight->GetLightColor(), 4, frame.sunColor);
    std::copy_n(m_settings->GetAmbientColor(), 4, frame.ambient);
    std::copy_n(m_settings->GetClearColor(), 4, frame.fogColor);
    std::size_t lamps = 0;
    for (const CEntity* entity : m_visible)
    {
        const auto* light = entity->Find<ComponentLight>();
        if (!light || !m_isNight || lamps == 32)
            continue;
        const CVector3 place = entity->Find<ComponentTransform>()->GetTransform().Translation();
        Store(frame.lamps[lamps * 2], {place.x, place.y, place.z, light->GetRange()});
        std::copy_n(light->GetLightColor(), 4, frame.lamps[lamps * 2 + 1]);
        ++lamps;
    }
    Store(frame.fog, {m_settings->GetFogNear(), m_settings->GetFogFar(), m_settings->GetFogEnabled() ? 1.0F : 0.0F,
                      static_cast<float>(lamps)});
}

void CTown::Draw(int width, int height)
{
    m_streamer.Update(GetEye());
    const CMatrix projectionView =
        m_camera->GenerateProjectionMatrix(static_cast<float>(width), static_cast<float>(height)) *
        m_camera->GenerateViewMatrix();
    i_FindVisible(projectionView);

    m_blocks.clear();
    m_blocks.push_back({{-2000.0F, -2000.0F, -1.0F, 0.0F},
                        {kTownSize + 2000.0F, kTownSize + 2000.0F, 0.0F, 0.0F},
                        {0.3F, 0.3F, 0.29F, 0.0F}}); // the ground
    for (const CEntity* entity : m_visible)
    {
        const auto* block = entity->Find<ComponentBlock>();
        if (!block)
            continue;
        const collision::PrimAABB& box = entity->Find<ComponentTransform>()->GetBoundingBox();
        CPainter::Block& drawn = m_blocks.emplace_back();
        std::copy_n(box.GetFloats(), 3, drawn.low);
        std::copy_n(box.GetFloats() + 3, 3, drawn.high);
        std::copy_n(block->GetColor(), 4, drawn.color);
    }
    CPainter::Frame frame{};
    i_FillFrame(frame);
    m_painter.Draw(projectionView, frame, m_blocks);
}
// [draw end]

// [pick]
CEntity* CTown::FindAhead()
{
    CEntity* found = nullptr;
    m_query.VisitAlongRay(GetEye(), m_place->GetTransform().GetLocalX(), 1000.0F,
                          [&found](CEntity* entity, float)
                          {
                              found = entity->Find<ComponentBlock>() ? entity : nullptr;
                              return !found; // lamps have boxes too: go on behind them
                          });
    return found;
}
// [pick end]
