#pragma once

#include "apps/sandbox/townModel.h"

#include <cstdint>
#include <vector>

/// Where a picture is taken from.
struct TownViewpoint
{
    CVector3 eye;
    CVector3 direction; ///< Of length 1, never vertical.
};

/// Ways to look at a town: a closed flight over the roofs, and single viewpoints.
class CTownPath
{
public:
    explicit CTownPath(CTownModel& town);

    /// The flight at a part of the way from 0 to 1.
    TownViewpoint GetFlight(double turn) const;

    /// So many viewpoints, some in the streets and some above, the same for the same town and seed.
    std::vector<TownViewpoint> GetViewpoints(int count, std::uint32_t seed) const;

private:
    void i_FindArea();
    CVector3 i_GetPlace(double turn) const;

    CTownModel& m_town;
    CVector3 m_centre; // of most of the buildings, and half of the area that they cover
    CVector3 m_half;
    std::vector<float> m_heights; // of the flight, at equal parts of the way
};
