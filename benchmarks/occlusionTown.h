#pragma once

#include "benchmarks/benchmarkSupport.h"
#include "tamradeps/collision/primAABB.h"
#include "tamradeps/math/matrix.h"

#include <vector>

// What the benchmarks of the occlusion cullers look at.

namespace bench
{
inline constexpr int kWidth = 1920;
inline constexpr int kHeight = 1080;

/// A town in front of the camera, all of it in the frustum: houses, and many small things about and in them.
struct Town
{
    std::vector<collision::PrimAABB> houses;
    std::vector<collision::PrimAABB> boxes;
    /// From the street and from above the roofs, two of each that differ a little: with one the culler draws but once.
    CMatrix views[2][2];
    CVector3 eyes[2] = {{-60, 5, 1.8F}, {-350, 5, 80}};

    Town()
    {
        Random random(11);
        for (std::size_t i = 0; i < Count(1000); ++i)
        {
            const float x = static_cast<float>(i % 40) * 26.0F;
            const float y = static_cast<float>(i / 40) * 30.0F - 375.0F;
            const CVector3 corner(x + random.Unit() * 4, y + random.Unit() * 4, -1);
            houses.emplace_back(
                corner, corner + CVector3(14 + random.Unit() * 6, 16 + random.Unit() * 6, 7 + random.Unit() * 20));
        }
        for (std::size_t i = 0; i < Count(100000); ++i)
        {
            const CVector3 corner(random.Unit() * 1040, random.Unit() * 750 - 375, random.Unit() * 6);
            boxes.emplace_back(corner, corner + CVector3(0.2F + random.Unit() * 2, 0.2F + random.Unit() * 2,
                                                         0.2F + random.Unit() * 2));
        }
        for (int place = 0; place < 2; ++place)
        {
            for (int i = 0; i < 2; ++i)
                views[place][i] = CMatrix::Projection(80, 16.0F / 9.0F, 0.2F, 3000.0F) *
                                  CMatrix::View(eyes[place], {520, static_cast<float>(i), 0}, {0, 0, 1});
        }
    }
};

inline const Town& GetTown()
{
    static const Town town;
    return town;
}
} // namespace bench
