#include "apps/sandbox/townModel.h"

#include "gameengine/engine/aabbGridAdvice.h"
#include "gameengine/engine/componentLight.h"
#include "gameengine/engine/componentRuntimeData.h"
#include "gameengine/engine/componentTransformDirect.h"
#include "tamradeps/core/log.h"

#include <algorithm>
#include <cmath>

namespace
{
constexpr std::size_t kMaxLamps = 400;
constexpr float kLampHeight = 7.0F;
constexpr float kLampRange = 26.0F;
constexpr float kMargin = 50.0F;
constexpr float kUnitBox[6] = {-0.5F, -0.5F, -0.5F, 0.5F, 0.5F, 0.5F};

template <class Component>
Component* Make(CEntity* entity)
{
    return static_cast<Component*>(Component::CreateComponent(entity));
}

// A frame with its X axis along the direction and its Z axis up.
CMatrix LookAlong(CVector3 position, CVector3 direction)
{
    CMatrix matrix;
    const CVector3 x = direction.Normalized();
    const CVector3 y = CVector3(0, 0, 1).Cross(x).Normalized();
    matrix.SetLocalX(x);
    matrix.SetLocalY(y);
    matrix.SetLocalZ(x.Cross(y));
    matrix.SetTranslation(position);
    return matrix;
}
} // namespace

bool CTownModel::Load(const std::string& path)
{
    m_store = std::make_unique<CEntityArray_SaveLoad_SqliteDB>(path.c_str(), m_scene.GetInterfaces());
    std::vector<std::int64_t> rows;
    if (!m_store->IsOpen() || !m_store->CollectRows(nullptr, nullptr, rows) || rows.empty())
    {
        tamra::log::Error(tamra::log::Quoted(path) + " holds no town; delete it to have it imported again");
        return false;
    }
    std::sort(rows.begin(), rows.end());
    for (const std::int64_t row : rows)
    {
        CEntity* const entity = m_store->LoadRow(row);
        if (entity && entity->Find<ComponentTransform>())
            i_Insert(entity, static_cast<int>(m_entities.size()), m_nextSeed++);
    }
    if (m_entities.empty())
    {
        tamra::log::Error(tamra::log::Quoted(path) + " holds nothing that has a place");
        return false;
    }
    i_MakeTree();
    i_MakeView();
    i_MakeLamps();
    return true;
}

void CTownModel::i_Insert(CEntity* entity, int number, std::size_t seed)
{
    auto* transform = entity->Find<ComponentTransform>();
    transform->SetUntransformedBoundingBox(kUnitBox);
    const TownKind kind = GetTownKind(*entity);
    const auto place = static_cast<std::ptrdiff_t>(number);
    m_entities.insert(m_entities.begin() + place, entity);
    m_kinds.insert(m_kinds.begin() + place, kind == TownKind::None ? TownKind::Building : kind);
    m_boxes.insert(m_boxes.begin() + place, transform->GetBoundingBox());
    m_seeds.insert(m_seeds.begin() + place, seed);
    for (int i = number; i < static_cast<int>(m_entities.size()); ++i)
        i_SetNumber(i);
}

void CTownModel::i_SetNumber(int number)
{
    const auto index = static_cast<std::size_t>(m_entities[static_cast<std::size_t>(number)]->GetIndex());
    m_numbers.resize(std::max(m_numbers.size(), index + 1), -1);
    m_numbers[index] = number;
}

void CTownModel::Add(CEntity* entity)
{
    Insert(entity, static_cast<int>(m_entities.size()), m_nextSeed++);
}

void CTownModel::Insert(CEntity* entity, int number, std::size_t seed)
{
    if (!entity->Find<ComponentRuntimeData>())
    {
        entity->LockComponentList();
        Make<ComponentRuntimeData>(entity);
        entity->UnlockComponentList();
    }
    if (!m_scene.GetArray().Contains(entity))
        m_scene.GetArray().Add(entity);
    i_Insert(entity, number, seed);
}

void CTownModel::Remove(int number)
{
    const auto place = static_cast<std::ptrdiff_t>(number);
    const RefPtr<CEntity> entity = m_entities[static_cast<std::size_t>(number)];
    m_numbers[static_cast<std::size_t>(entity->GetIndex())] = -1;
    m_entities.erase(m_entities.begin() + place);
    m_kinds.erase(m_kinds.begin() + place);
    m_boxes.erase(m_boxes.begin() + place);
    m_seeds.erase(m_seeds.begin() + place);
    for (int i = number; i < static_cast<int>(m_entities.size()); ++i)
        i_SetNumber(i);
    m_store->DeleteEntity(entity.Get());
    m_scene.GetArray().Remove(entity.Get());
}

bool CTownModel::Refresh(int number)
{
    const auto place = static_cast<std::size_t>(number);
    m_boxes[place] = m_entities[place]->Find<ComponentTransform>()->GetBoundingBox();
    const TownKind kind = GetTownKind(*m_entities[place]);
    if (kind == TownKind::None || kind == m_kinds[place])
        return false;
    m_kinds[place] = kind;
    return true;
}

int CTownModel::GetNumber(const CEntity* entity) const noexcept
{
    const auto index = static_cast<std::size_t>(entity->GetIndex());
    const int number = index < m_numbers.size() ? m_numbers[index] : -1;
    return number >= 0 && m_entities[static_cast<std::size_t>(number)] == entity ? number : -1;
}

void CTownModel::i_MakeTree()
{
    const AABBGridAdvice advice = AdviseGrid(m_scene.GetArray());
    m_min = advice.bounds.GetMin();
    m_max = advice.bounds.GetMax();
    const float bounds[6] = {m_min.x - kMargin, m_min.y - kMargin, m_min.z - kMargin,
                             m_max.x + kMargin, m_max.y + kMargin, m_max.z + kMargin};
    const float cellHeight = std::max(advice.cellSize.z, (bounds[5] - bounds[2]) / 8.0F);
    m_tree->InitializeWithDynamicGrid(bounds, advice.cellSize.x, advice.cellSize.y, cellHeight);
    m_tree->AddSource(&m_scene.GetArray());
    for (CEntity* entity : m_entities)
        m_tree->Add(entity);
}

void CTownModel::i_MakeView()
{
    m_viewer = new CEntity(m_scene.GetInterfaces());
    m_viewer->LockComponentList();
    Make<ComponentTransformDirect>(m_viewer.Get());
    m_camera = Make<ComponentCamera>(m_viewer.Get());
    m_settings = Make<ComponentRenderSettings>(m_viewer.Get());
    m_viewer->UnlockComponentList();
    m_camera->SetFov(60.0F);
    m_camera->SetNear(1.0F);
    m_camera->SetFar(6000.0F);
    // A late summer afternoon, with haze over the rivers.
    const float haze[4] = {0.72F, 0.74F, 0.75F, 1.0F};
    const float ambient[4] = {0.44F, 0.47F, 0.54F, 1.0F};
    m_settings->SetClearColor(haze);
    m_settings->SetAmbientColor(ambient);
    m_settings->SetFog(true, 250.0F, 5000.0F);
}

CEntity* CTownModel::i_MakeLight(const CMatrix& matrix)
{
    RefPtr<CEntity> entity = new CEntity(m_scene.GetInterfaces());
    entity->LockComponentList();
    Make<ComponentRuntimeData>(entity.Get());
    auto* transform = Make<ComponentTransformDirect>(entity.Get());
    Make<ComponentLight>(entity.Get());
    entity->UnlockComponentList();
    transform->SetTransform(matrix);
    m_lights->Add(entity.Get());
    return entity.Get();
}

// The sun, and a lamp in the middle of each wide street's piece.
void CTownModel::i_MakeLamps()
{
    auto* sun = i_MakeLight(LookAlong({}, {0.55F, 0.5F, -0.62F}))->Find<ComponentLight>();
    const float sunColor[4] = {1.0F, 0.86F, 0.66F, 1.0F};
    sun->SetLightType(ComponentLightType::Directional);
    sun->SetLightColor(sunColor);

    std::size_t lamps = 0;
    const float lampColor[4] = {0.85F, 0.55F, 0.25F, 1.0F};
    for (std::size_t i = 0; i < m_entities.size() && lamps < kMaxLamps; ++i)
    {
        const CMatrix& matrix = m_entities[i]->Find<ComponentTransform>()->GetTransform();
        if (m_kinds[i] != TownKind::Street || matrix.GetLocalY().Length() < 8.0F || matrix.GetLocalX().Length() < 30.0F)
            continue;
        CMatrix place;
        place.SetTranslation(matrix.Translation() + CVector3(0, 0, kLampHeight));
        auto* light = i_MakeLight(place)->Find<ComponentLight>();
        light->SetRange(kLampRange);
        light->SetLightColor(lampColor);
        ++lamps;
    }
}

void CTownModel::SetCamera(CVector3 eye, CVector3 direction)
{
    m_viewer->Find<ComponentTransform>()->SetTransform(LookAlong(eye, direction));
}

CVector3 CTownModel::GetEye() const
{
    return m_viewer->Find<ComponentTransform>()->GetTransform().Translation();
}
