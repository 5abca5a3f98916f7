#pragma once

#include "benchmarks/benchmarkSupport.h"
#include "tamradeps/collision/primFrustum.h"

#include <cmath>
#include <numbers>

namespace bench
{
/// Many small things on a wide plain, and what is asked about them: the same on every run and machine.
struct SpatialWorld
{
    std::vector<collision::PrimAABB> boxes;
    /// Each of `boxes` moved by up to 2 units along each axis.
    std::vector<collision::PrimAABB> movedBoxes;
    std::vector<collision::PrimAABB> boxQueries;
    std::vector<collision::PrimFrustum> frusta;

    static constexpr CVector3 kSize{4000, 4000, 200};

    SpatialWorld()
    {
        Random random(7);
        const auto pointIn = [&random](CVector3 size)
        {
            CVector3 point;
            point.x = random.Unit() * size.x;
            point.y = random.Unit() * size.y;
            point.z = random.Unit() * size.z;
            return point;
        };
        for (std::size_t i = 0; i < Count(100000); ++i)
        {
            const CVector3 sides = CVector3(1, 1, 1) + pointIn({3, 3, 3});
            const CVector3 corner = pointIn(kSize - sides);
            boxes.emplace_back(corner, corner + sides);
            const CVector3 moved = corner + pointIn({4, 4, 4}) - CVector3(2, 2, 2);
            movedBoxes.emplace_back(moved, moved + sides);
        }
        const CMatrix projection = CMatrix::Projection(90, 1, 0.1F, 1000);
        for (std::size_t i = 0; i < Count(1000); ++i)
        {
            const CVector3 center = pointIn(kSize);
            boxQueries.emplace_back(center - CVector3(100, 100, 100), center + CVector3(100, 100, 100));
            const CVector3 eye = pointIn(kSize);
            const float yaw = random.Unit() * 2 * std::numbers::pi_v<float>;
            const CVector3 target = eye + CVector3(std::cos(yaw), std::sin(yaw), 0);
            frusta.emplace_back(projection * CMatrix::View(eye, target, {0, 0, 1}));
        }
    }

    static const SpatialWorld& Get()
    {
        static const SpatialWorld world;
        return world;
    }
};

/// Asks every query of `queries`: `find(query, found)` writes the indices of the boxes it finds, in any order, and
/// returns their number. Reports the time for a query and a hash over what each found. `ask` is what is timed, if it is
/// something else: who does not deal in indices would be charged for finding them.
template <class Query, class Find, class Ask>
void RunQueries(benchmark::State& state, const std::vector<Query>& queries, const Find& find, const Ask& ask)
{
    std::vector<std::uint32_t> found(SpatialWorld::Get().boxes.size());
    for (auto _ : state)
    {
        for (const Query& query : queries)
            benchmark::DoNotOptimize(ask(query, found.data()));
    }
    std::uint64_t hash = 0;
    std::uint64_t hits = 0;
    for (std::size_t i = 0; i < queries.size(); ++i)
    {
        const std::size_t count = find(queries[i], found.data());
        hits += count;
        for (std::size_t hit = 0; hit < count; ++hit)
        {
            const std::uint64_t pair[2] = {i, found[hit]};
            hash += HashCRC64Data(pair, sizeof(pair));
        }
    }
    Report(state, queries.size(), hash);
    state.counters["hits"] = static_cast<double>(hits) / static_cast<double>(queries.size());
}

template <class Query, class Find>
void RunQueries(benchmark::State& state, const std::vector<Query>& queries, const Find& find)
{
    RunQueries(state, queries, find, find);
}
} // namespace bench
