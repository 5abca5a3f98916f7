// What the cullers that use the device cost, beside the frustum test of all boxes and the culler on the CPU: first the
// time of the thread alone (column "CPU"), then until the device is through with the pass.

#include "benchmarks/occlusionTown.h"
#include "corvex/context.h"
#include "gameengine/engine/occlusionAABBBruteforce.h"
#include "gameengine/engine/occlusionAABBOpenGLHierarchicalZ.h"
#include "gameengine/engine/occlusionAABBSoftwareHierarchicalZ.h"
#include "gameengine/engine/occlusionAABBTree.h"
#include "gameengine/engine/occlusionBoxBlocksInternal.h"
#include "tamradeps/collision/simdKernels.h"
#include "tamradeps/io/fileSystem.h"
#include "tamraengine/renderer/program.h"
#include "tamraengine/renderer/renderTarget.h"
#include "tamraengine/renderer/renderer.h"
#include "tamraengine/renderer/vertexCache.h"

#include <memory>

#include <GL/glew.h>

namespace
{
using collision::PrimAABB;
using collision::PrimFrustum;
using collision::SimdKernels;

enum class Kind
{
    Bruteforce,
    Tree,
    Software,
    Pyramid
};

// A target with the depth of the town's houses, seen from the street.
struct Scene
{
    std::unique_ptr<COffscreenContext> context = COffscreenContext::Create();
    renderer::CRenderer renderer;
    RefPtr<renderer::CRenderTarget> target;
    bool isGood = false;

    Scene()
    {
        GetFileSystem().AddRoot(TAMRA_SOURCE_FOLDER "/assets");
        isGood = context && renderer.InitializeDevice();
        target = isGood ? renderer::CRenderTarget::Create(renderer, bench::kWidth, bench::kHeight) : nullptr;
        const auto program = target ? renderer::CProgram::CreateFromText(
                                          renderer,
                                          "layout(location = 0) in vec3 position;\nuniform mat4 projectionView;\n"
                                          "void main() { gl_Position = projectionView * vec4(position, 1.0); }\n",
                                          "void main() {}\n")
                                    : nullptr;
        isGood = static_cast<bool>(program);
        if (!isGood)
            return;
        target->Bind();
        renderer.Clear({0, 0, 0});
        const renderer::CPreservedState guard(renderer.GetState());
        renderer.GetState().SetDepthTest(renderer::DepthTest::Less);
        program->SetMatrix("projectionView", bench::GetTown().views[0][0]);
        program->Use();
        static constexpr int kCorners[36] = {0, 4, 6, 0, 6, 2, 1, 3, 7, 1, 7, 5, 0, 1, 5, 0, 5, 4,
                                             2, 6, 7, 2, 7, 3, 0, 2, 3, 0, 3, 1, 4, 5, 7, 4, 7, 6};
        std::vector<renderer::Vertex> vertices;
        for (const PrimAABB& house : bench::GetTown().houses)
        {
            const CVector3 low = house.GetMin();
            const CVector3 high = house.GetMax();
            for (const int corner : kCorners)
                vertices.push_back({{(corner & 1) != 0 ? high.x : low.x, (corner & 2) != 0 ? high.y : low.y,
                                     (corner & 4) != 0 ? high.z : low.z}});
        }
        const std::size_t first = renderer.GetVertexCache()->Append(vertices);
        renderer.GetVertexCache()->Draw(renderer::Primitive::Triangles, first, vertices.size());
    }
};

Scene& GetScene()
{
    static Scene scene;
    return scene;
}

void FrustumSweep(benchmark::State& state)
{
    const bench::Town& town = bench::GetTown();
    std::vector<std::uint32_t> found(town.boxes.size());
    std::size_t count = 0;
    for (auto _ : state)
        count = SimdKernels::Get().findInFrustum(PrimFrustum(town.views[0][0]), town.boxes.data(), found.size(),
                                                 found.data());
    bench::Report(state, found.size(), count);
}
BENCHMARK(FrustumSweep)->Unit(benchmark::kMicrosecond);

// What the cullers do of it: boxes in blocks, answers as a list of indices.
void FrustumStep(benchmark::State& state)
{
    const bench::Town& town = bench::GetTown();
    COcclusionBoxBlocks blocks;
    blocks.Resize(town.boxes.size());
    for (std::size_t i = 0; i < town.boxes.size(); ++i)
        blocks.Set(i, town.boxes[i]);
    std::size_t count = 0;
    for (auto _ : state)
        count = blocks.Find(PrimFrustum(town.views[0][0])).size();
    bench::Report(state, town.boxes.size(), count);
}
BENCHMARK(FrustumStep)->Unit(benchmark::kMicrosecond);

RefPtr<COcclusionAABBBase> MakeCuller(Kind kind, renderer::CRenderer& renderer)
{
    const bench::Town& town = bench::GetTown();
    const int count = static_cast<int>(town.boxes.size());
    RefPtr<COcclusionAABBBase> culler;
    if (kind == Kind::Tree)
    {
        const RefPtr<COcclusionAABBTree> tree = new COcclusionAABBTree(renderer);
        tree->SetBoundingBoxes(count, town.boxes[0].GetFloats());
        return tree;
    }
    if (kind == Kind::Software)
    {
        const RefPtr<COcclusionAABBSoftwareHierarchicalZ> software = new COcclusionAABBSoftwareHierarchicalZ(renderer);
        software->SetBoundingBoxes(count, town.boxes[0].GetFloats());
        software->SetOccluderBoxes(town.houses);
        software->SetResolution(bench::kWidth, bench::kHeight);
        return software;
    }
    if (kind == Kind::Bruteforce)
        culler = new COcclusionAABBBruteforce(renderer);
    else
        culler = new COcclusionAABBOpenGLHierarchicalZ(renderer);
    for (const PrimAABB& box : town.boxes)
        culler->AddBoundingBox(box.GetFloats());
    return culler;
}

void Pass(benchmark::State& state, Kind kind, bool isWhole)
{
    Scene& scene = GetScene();
    if (!scene.isGood)
    {
        state.SkipWithError("there is no device");
        return;
    }
    const bench::Town& town = bench::GetTown();
    const RefPtr<COcclusionAABBBase> culler = MakeCuller(kind, scene.renderer);
    auto* software = dynamic_cast<COcclusionAABBSoftwareHierarchicalZ*>(culler.Get());
    int view = 0;
    const auto pass = [&]
    {
        scene.renderer.BeginFrame(0.02F);
        // The software culler draws its depth anew when the view changes, as it does in a game.
        const CMatrix& matrix = town.views[0][software ? view ^= 1 : 0];
        culler->SetFrameData(0, PrimFrustum(matrix), town.eyes[0]);
        if (software)
            software->SetViewProjection(matrix);
        culler->DoOcclusion();
    };
    const int warmUp = kind == Kind::Bruteforce ? 2 : 12;
    for (int i = 0; i < warmUp; ++i)
    {
        pass();
        glFinish();
    }
    for (auto _ : state)
    {
        pass();
        if (isWhole)
            glFinish();
        else
        {
            state.PauseTiming();
            glFinish();
            state.ResumeTiming();
        }
    }
    std::vector<std::uint32_t> found(town.boxes.size());
    const auto inFrustum = static_cast<double>(
        SimdKernels::Get().findInFrustum(PrimFrustum(town.views[0][0]), town.boxes.data(), found.size(), found.data()));
    state.counters["visible"] = culler->GetVisibleCount();
    state.counters["culled"] = 1.0 - culler->GetVisibleCount() / inFrustum;
    if (auto* brute = dynamic_cast<COcclusionAABBBruteforce*>(culler.Get()))
        state.counters["queries"] = brute->GetQueryCount();
    if (auto* tree = dynamic_cast<COcclusionAABBTree*>(culler.Get()))
        state.counters["queries"] = tree->GetQueryCount();
    state.counters["passes/s"] =
        benchmark::Counter(static_cast<double>(state.iterations()), benchmark::Counter::kIsRate);
}

const bool kRegistered = []
{
    struct Named
    {
        const char* name;
        Kind kind;
        int iterations;
    };
    constexpr Named kKinds[] = {{"bruteforce", Kind::Bruteforce, 1},
                                {"tree", Kind::Tree, 30},
                                {"software", Kind::Software, 100},
                                {"pyramid", Kind::Pyramid, 100}};
    for (const bool isWhole : {false, true})
    {
        for (const Named& named : kKinds)
        {
            const std::string name = std::string(isWhole ? "WholePass/" : "ThreadPass/") + named.name;
            const auto run = [=](benchmark::State& state) { Pass(state, named.kind, isWhole); };
            auto* registered = benchmark::RegisterBenchmark(name.c_str(), run)
                                   ->Unit(benchmark::kMicrosecond)
                                   ->Iterations(named.iterations);
            if (isWhole)
                registered->UseRealTime();
        }
    }
    return true;
}();
} // namespace
