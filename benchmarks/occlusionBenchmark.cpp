// What it costs to cull on the CPU. Floors: the frustum test of all boxes, and filling a depth buffer of the size.

#include "benchmarks/occlusionTown.h"
#include "gameengine/engine/occlusionAABBSoftwareHierarchicalZ.h"
#include "tamradeps/collision/simdKernels.h"
#include "tamraengine/renderer/renderer.h"

#include <algorithm>
#include <string>

namespace
{
using collision::PrimAABB;
using collision::PrimFrustum;
using collision::SimdKernels;
using Culler = COcclusionAABBSoftwareHierarchicalZ;
using bench::GetTown;
using bench::kHeight;
using bench::kWidth;
using bench::Town;

void FillDepthBuffer(benchmark::State& state)
{
    std::vector<float> depths(std::size_t{kWidth} * kHeight);
    for (auto _ : state)
    {
        std::fill(depths.begin(), depths.end(), 1.0F);
        benchmark::DoNotOptimize(depths.data());
        benchmark::ClobberMemory();
    }
    bench::Report(state, 1, depths.size());
}
BENCHMARK(FillDepthBuffer)->Unit(benchmark::kMicrosecond);

void FindInFrustum(benchmark::State& state, const SimdKernels& kernels)
{
    const Town& town = GetTown();
    std::vector<std::uint32_t> found(town.boxes.size());
    std::size_t count = 0;
    for (auto _ : state)
        count = kernels.findInFrustum(PrimFrustum(town.views[0][0]), town.boxes.data(), found.size(), found.data());
    bench::Report(state, found.size(), count);
}

enum class Part
{
    Draw,  ///< The occluders only.
    Test,  ///< The boxes only.
    Frame, ///< Both, in a town that stands still.
    Pass   ///< The same with the boxes given anew.
};

void Cull(benchmark::State& state, Part part, int place, const char* instructions, int threads)
{
    const Town& town = GetTown();
    renderer::CRenderer renderer;
    const RefPtr<Culler> culler = new Culler(renderer);
    culler->SetInstructionSet(instructions);
    culler->SetThreadCount(threads);
    culler->SetResolution(kWidth, kHeight);
    culler->SetOccluderBoxes(town.houses);
    const auto boxes = [&]
    { culler->SetBoundingBoxes(static_cast<int>(town.boxes.size()), town.boxes[0].GetFloats()); };
    const auto look = [&](int view)
    {
        const CMatrix& matrix = town.views[place][view];
        culler->SetFrameData(0, PrimFrustum(matrix), town.eyes[place]);
        culler->SetViewProjection(matrix);
    };
    const auto pass = [&](int view)
    {
        if (part == Part::Pass)
            boxes();
        look(view);
        culler->DoOcclusion();
    };
    if (part == Part::Test || part == Part::Frame)
        boxes();
    int view = 0;
    for (auto _ : state)
        pass(part == Part::Test ? 0 : view ^= 1);

    boxes();
    look(0);
    culler->DoOcclusion();
    std::uint64_t hash = 0;
    for (int i = 0; i < culler->GetVisibleCount(); ++i)
        hash = hash * 31 + static_cast<std::uint64_t>(culler->GetVisibleID(i));
    bench::Report(state, part == Part::Draw ? town.houses.size() : town.boxes.size(), hash);
    state.counters["visible"] = culler->GetVisibleCount();
}

const bool kRegistered = []
{
    for (const SimdKernels* kernels : SimdKernels::GetAll())
    {
        const std::string name = std::string("FindInFrustum/") + kernels->name;
        benchmark::RegisterBenchmark(name.c_str(),
                                     [kernels](benchmark::State& state) { FindInFrustum(state, *kernels); })
            ->Unit(benchmark::kMicrosecond);
    }
    const char* const parts[] = {"Draw", "Test", "Frame", "Pass"};
    const char* const places[] = {"street", "roofs"};
    for (int part = 0; part < 4; ++part)
    {
        for (int place = 0; place < 2; ++place)
        {
            for (const char* set : Culler::GetInstructionSets())
            {
                for (const int threads : {1, 2})
                {
                    const std::string name = std::string(parts[part]) + "/" + places[place] + "/" + set + "/" +
                                             std::to_string(threads) + "thread";
                    const auto run = [=](benchmark::State& state)
                    { Cull(state, static_cast<Part>(part), place, set, threads); };
                    benchmark::RegisterBenchmark(name.c_str(), run)->Unit(benchmark::kMicrosecond)->UseRealTime();
                }
            }
        }
    }
    return true;
}();
} // namespace
