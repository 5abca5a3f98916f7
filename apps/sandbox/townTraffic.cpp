#include "apps/sandbox/townTraffic.h"

#include "gameengine/engine/componentLight.h"
#include "gameengine/engine/componentRuntimeData.h"
#include "gameengine/engine/componentTransformDirect.h"
#include "tools/sceneTools/townEntity.h"

#include <algorithm>

namespace
{
constexpr float kLightRange = 6.0F; // a box of eight metres
constexpr float kNarrowestStreet = 3.5F;
constexpr float kCrossing = 8.0F; // streets that end so near to each other meet
constexpr float kLaneOffset = 1.8F;
constexpr int kStartsPerFrame = 25;

float GetDistance(CVector3 a, CVector3 b)
{
    return (a - b).Length();
}
} // namespace

CTownTraffic::CTownTraffic(CInterfaceCollection* interfaces, CEntityArray_AccelerationTree* tree, int count,
                           std::uint32_t seed)
    : m_array(new CEntityArray),
      m_query(tree),
      m_random(seed + 1)
{
    tree->AddSource(m_array.Get());
    for (int i = 0; i < count; ++i)
    {
        Car& car = m_cars.emplace_back();
        car.entity = new CEntity(interfaces);
        car.speed = 8.0F + static_cast<float>(i % 7) * 1.5F;
        car.entity->LockComponentList();
        ComponentRuntimeData::CreateComponent(car.entity.Get());
        ComponentTransformDirect::CreateComponent(car.entity.Get());
        auto* light = static_cast<ComponentLight*>(ComponentLight::CreateComponent(car.entity.Get()));
        car.entity->UnlockComponentList();
        light->SetRange(kLightRange);
    }
}

CTownTraffic::~CTownTraffic() = default;

// Both directions of the streets with a point so near to the position.
std::vector<CTownTraffic::Lane> CTownTraffic::i_FindLanes(CVector3 position, float radius)
{
    std::vector<Lane> lanes;
    for (const CEntity* entity : m_query.InSphere(position, radius, m_buffer))
    {
        if (GetTownKind(*entity) != TownKind::Street)
            continue;
        const CMatrix& matrix = entity->Find<ComponentTransform>()->GetTransform();
        if (matrix.GetLocalY().Length() < kNarrowestStreet)
            continue;
        const CVector3 middle = matrix.Translation();
        const CVector3 half = matrix.GetLocalX() * 0.5F;
        lanes.push_back({middle - half, middle + half});
        lanes.push_back({middle + half, middle - half});
    }
    return lanes;
}

bool CTownTraffic::i_FindStart(CVector3 focus, float reach, Car& car)
{
    std::uniform_real_distribution<float> offset(-0.9F * reach, 0.9F * reach);
    const CVector3 position(focus.x + offset(m_random), focus.y + offset(m_random), 0.0F);
    const auto lanes = i_FindLanes(position, 40.0F);
    if (lanes.empty())
        return false;
    car.lane = lanes[m_random() % lanes.size()];
    car.way = GetDistance(car.lane.from, car.lane.to) * static_cast<float>(m_random() % 100) * 0.01F;
    return true;
}

void CTownTraffic::i_TurnOff(Car& car)
{
    const CVector3 corner = car.lane.to;
    std::vector<Lane> lanes = i_FindLanes(corner, kCrossing);
    const auto leadsOn = [&](const Lane& lane)
    { return GetDistance(lane.from, corner) < kCrossing && GetDistance(lane.to, car.lane.from) > kCrossing; };
    lanes.erase(std::remove_if(lanes.begin(), lanes.end(), [&](const Lane& lane) { return !leadsOn(lane); }),
                lanes.end());
    car.way = 0.0F;
    car.lane = lanes.empty() ? Lane{car.lane.to, car.lane.from} : lanes[m_random() % lanes.size()];
}

void CTownTraffic::Plan(CVector3 focus, float reach, float seconds)
{
    int starts = 0;
    for (Car& car : m_cars)
    {
        const CVector3 here = car.lane.from;
        if (!car.isDriving || GetDistance({here.x, here.y, focus.z}, focus) > reach)
        {
            if (starts++ < kStartsPerFrame)
                car.isDriving = i_FindStart(focus, reach, car);
            continue;
        }
        car.way += car.speed * seconds;
        if (car.way >= GetDistance(car.lane.from, car.lane.to))
            i_TurnOff(car);
    }
}

void CTownTraffic::Move()
{
    for (Car& car : m_cars)
    {
        const CVector3 direction = (car.lane.to - car.lane.from).Normalized();
        const CVector3 right(direction.y, -direction.x, 0.0F);
        CMatrix matrix;
        matrix.SetLocalX(direction);
        matrix.SetLocalY(right * -1.0F);
        matrix.SetTranslation(car.lane.from + direction * car.way + right * kLaneOffset + CVector3(0, 0, 1));
        car.entity->Find<ComponentTransform>()->SetTransform(matrix);
        if (car.isDriving != m_array->Contains(car.entity.Get()))
            car.isDriving ? m_array->Add(car.entity.Get()) : m_array->Remove(car.entity.Get());
    }
}

std::vector<CMatrix> CTownTraffic::GetMatrices() const
{
    std::vector<CMatrix> matrices;
    for (const Car& car : m_cars)
    {
        if (car.isDriving)
            matrices.push_back(car.entity->Find<ComponentTransform>()->GetTransform());
    }
    return matrices;
}
