#pragma once

#include "gameengine/engine/entityArray.h"
#include "gameengine/engine/entityArraySpatialQuery.h"
#include "tamradeps/math/matrix.h"

#include <cstdint>
#include <random>
#include <vector>

/// Cars with a light each that drive along the streets of a town, as far as these are loaded. They have an array of
/// their own, which the tree of the town follows, and find their way by asking that tree for the streets around them.
class CTownTraffic
{
public:
    CTownTraffic(CInterfaceCollection* interfaces, CEntityArray_AccelerationTree* tree, int count, std::uint32_t seed);
    CTownTraffic(const CTownTraffic&) = delete;
    CTownTraffic& operator=(const CTownTraffic&) = delete;
    ~CTownTraffic();

    /// Finds for every car where it is after so many seconds. Cars that got farther from the focus than `reach` start
    /// anew on some street within it.
    void Plan(CVector3 focus, float reach, float seconds);
    /// Moves the cars there, and so re-files them.
    void Move();

    /// World matrices of the cars that are on a street.
    std::vector<CMatrix> GetMatrices() const;
    int GetCount() const noexcept { return static_cast<int>(m_cars.size()); }

private:
    struct Lane
    {
        CVector3 from;
        CVector3 to;
    };
    struct Car
    {
        RefPtr<CEntity> entity;
        Lane lane;
        float way = 0.0F;   // metres from the lane's start
        float speed = 0.0F; // metres a second
        bool isDriving = false;
    };

    bool i_FindStart(CVector3 focus, float reach, Car& car);
    void i_TurnOff(Car& car);
    std::vector<Lane> i_FindLanes(CVector3 position, float radius);

    RefPtr<CEntityArray> m_array;
    CEntityArray_SpatialQuery m_query;
    CEntityArray_SpatialQuery::Buffer m_buffer;
    std::minstd_rand m_random;
    std::vector<Car> m_cars;
};
