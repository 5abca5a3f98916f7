#include "gameengine/engine/occlusionAABBSoftwareHierarchicalZ.h"

#include "gameengine/engine/occlusionPolygonsInternal.h"
#include "gameengine/engine/occlusionWorkersInternal.h"
#include "tamradeps/collision/simdKernels.h"
#include "tamradeps/core/log.h"

#include <algorithm>
#include <bit>
#include <cstring>
#include <utility>

using namespace occlusion;
using collision::PrimAABB;

namespace
{
constexpr std::size_t kOccludersPerChunk = 32;
constexpr std::size_t kBoxesPerChunk = 1024;
constexpr int kBandsPerThread = 4;

/// Polygons are sorted by the exponent of their closeness and so many bits more.
constexpr int kDroppedBits = 20;
constexpr std::size_t kBuckets = std::size_t{1} << (31 - kDroppedBits);

/// The nearest first.
std::size_t GetBucket(float closeness)
{
    if (!(closeness > 0.0F))
        return kBuckets - 1;
    return kBuckets - 1 - (std::bit_cast<std::uint32_t>(closeness) >> kDroppedBits);
}

/// What sorting needs of a polygon.
struct Made
{
    std::uint16_t bucket;
    std::uint16_t tileRowBegin;
    std::uint16_t tileRowEnd;
};

int RoundUp(int value, int step)
{
    return (std::clamp(value, 1, COcclusionAABBSoftwareHierarchicalZ::kMostPixels) + step - 1) / step * step;
}

/// If the two triangles share a side, both as one.
bool Join(const std::uint32_t* a, const std::uint32_t* b, std::uint32_t (&joined)[4])
{
    for (int i = 0; i < 3; ++i)
    {
        for (int j = 0; j < 3; ++j)
        {
            if (a[i] != b[(j + 1) % 3] || a[(i + 1) % 3] != b[j])
                continue;
            joined[0] = a[i];
            joined[1] = b[(j + 2) % 3];
            joined[2] = a[(i + 1) % 3];
            joined[3] = a[(i + 2) % 3];
            return true;
        }
    }
    return false;
}
} // namespace

struct COcclusionAABBSoftwareHierarchicalZ::State
{
    const OcclusionKernels* kernels = GetOcclusionKernels().back();
    int wantedThreads = 1;
    std::unique_ptr<Workers> workers = std::make_unique<Workers>(1);
    int width = 1024;
    int height = 512;

    std::vector<PrimAABB> boxes;
    std::vector<PrimAABB> occluderBoxes;
    std::vector<OcclusionPrimitive> primitives;

    CMatrix viewProjection;
    bool isViewGiven = false;
    OcclusionView view;
    bool isViewSound = false;

    /// Whether `tiles` shows the occluders from `view`.
    bool isDrawn = false;
    DepthTiles tiles;

    // Of the pass under way:
    bool draws = false;
    bool hides = false;
    /// The occluder boxes in the frustum; then come the primitives. Each has `kMostPolygons` places.
    std::vector<std::uint32_t> occluders;
    std::size_t occluderCount = 0;
    std::vector<OcclusionPolygon> polygons;
    std::vector<std::uint8_t> polygonCounts;
    std::vector<Made> made; ///< Of each polygon.
    std::vector<DrawEntry> order;
    std::vector<std::uint32_t> foundCounts; ///< For each chunk of boxes.
    Stage makeStage;
    Stage sortStage;
    Stage drawStage; ///< Of rows of tiles.
    Stage testStage;
    std::uint32_t bucketEnds[kBuckets];
};

COcclusionAABBSoftwareHierarchicalZ::COcclusionAABBSoftwareHierarchicalZ(renderer::CRenderer& renderer)
    : COcclusionAABBBase(renderer),
      m_state(std::make_unique<State>())
{
}

COcclusionAABBSoftwareHierarchicalZ::~COcclusionAABBSoftwareHierarchicalZ() = default;

void COcclusionAABBSoftwareHierarchicalZ::SetFrameData(int frameValue, const collision::PrimFrustum& frustum,
                                                       CVector3 cameraPosition)
{
    COcclusionAABBBase::SetFrameData(frameValue, frustum, cameraPosition);
    m_state->isViewGiven = false;
}

void COcclusionAABBSoftwareHierarchicalZ::SetBoundingBoxes(int count, const float* boxes)
{
    const std::size_t size = static_cast<std::size_t>(std::max(count, 0));
    m_state->boxes.resize(size);
    m_boxes.resize(size);
    for (std::size_t i = 0; i < size; ++i, boxes += 6)
    {
        m_state->boxes[i] = PrimAABB(boxes);
        m_boxes[i] = {nullptr, nullptr, {boxes[0], boxes[1], boxes[2]}, {boxes[3], boxes[4], boxes[5]}};
    }
}

void COcclusionAABBSoftwareHierarchicalZ::SetOccluderBoxes(std::span<const PrimAABB> boxes)
{
    m_state->occluderBoxes.assign(boxes.begin(), boxes.end());
    m_state->isDrawn = false;
}

bool COcclusionAABBSoftwareHierarchicalZ::AddOccluderTriangles(std::span<const CVector3> positions,
                                                               std::span<const std::uint32_t> indices)
{
    if (indices.size() % 3 != 0 ||
        !std::all_of(indices.begin(), indices.end(), [&](std::uint32_t index) { return index < positions.size(); }))
    {
        tamra::log::Error("The indices of an occluder mesh are not those of triangles");
        return false;
    }
    for (std::size_t i = 0; i < indices.size(); i += 3)
    {
        std::uint32_t corners[4] = {indices[i], indices[i + 1], indices[i + 2], indices[i]};
        const bool joined = i + 3 < indices.size() && Join(&indices[i], &indices[i + 3], corners);
        OcclusionPrimitive primitive;
        primitive.count = joined ? 4 : 3;
        for (int corner = 0; corner < 4; ++corner)
            primitive.corners[corner] = positions[corners[corner]];
        m_state->primitives.push_back(primitive);
        if (joined)
            i += 3;
    }
    m_state->isDrawn = false;
    return true;
}

void COcclusionAABBSoftwareHierarchicalZ::ClearOccluders()
{
    m_state->occluderBoxes.clear();
    m_state->primitives.clear();
    m_state->isDrawn = false;
}

void COcclusionAABBSoftwareHierarchicalZ::SetViewProjection(const CMatrix& viewProjection)
{
    State& state = *m_state;
    if (!(state.viewProjection == viewProjection))
        state.isDrawn = false;
    state.viewProjection = viewProjection;
    state.isViewGiven = true;
}

void COcclusionAABBSoftwareHierarchicalZ::SetResolution(int width, int height)
{
    m_state->width = RoundUp(width, kTileWidth);
    m_state->height = RoundUp(height, kTileHeight);
    m_state->isDrawn = false;
}

void COcclusionAABBSoftwareHierarchicalZ::SetThreadCount(int count)
{
    const int wanted = std::clamp(count, 1, kMostThreads);
    // Where the system gave fewer, asking for as many again would only make them anew.
    if (wanted == m_state->wantedThreads)
        return;
    m_state->wantedThreads = wanted;
    m_state->workers = std::make_unique<Workers>(wanted);
}

std::span<const char* const> COcclusionAABBSoftwareHierarchicalZ::GetInstructionSets() noexcept
{
    static const char* names[8];
    static const std::size_t count = []
    {
        std::size_t size = 0;
        for (const OcclusionKernels* kernels : GetOcclusionKernels())
            names[size++] = kernels->name;
        return size;
    }();
    return {names, count};
}

bool COcclusionAABBSoftwareHierarchicalZ::SetInstructionSet(const char* name)
{
    for (const OcclusionKernels* kernels : GetOcclusionKernels())
    {
        if (std::strcmp(kernels->name, name) == 0)
        {
            m_state->kernels = kernels;
            m_state->isDrawn = false;
            return true;
        }
    }
    return false;
}

void COcclusionAABBSoftwareHierarchicalZ::DoOcclusion()
{
    State& state = *m_state;
    const std::size_t count = state.boxes.size();
    i_ResizeVisibleCapacity(static_cast<int>(count));
    const bool hasOccluders = !state.occluderBoxes.empty() || !state.primitives.empty();
    state.hides = hasOccluders && state.isViewGiven;
    state.draws = state.hides && !state.isDrawn;
    if (state.draws)
    {
        state.isViewSound = state.view.Set(state.viewProjection, state.width, state.height);
        if (state.isViewSound)
            i_PrepareDrawing();
        state.isDrawn = true;
    }
    state.hides = state.hides && state.isViewSound;
    state.draws = state.draws && state.isViewSound;
    state.view.camera[0] = m_cameraPosition.x;
    state.view.camera[1] = m_cameraPosition.y;
    state.view.camera[2] = m_cameraPosition.z;
    state.testStage.Reset(count, kBoxesPerChunk);
    state.foundCounts.resize((count + kBoxesPerChunk - 1) / kBoxesPerChunk);
    state.workers->Run([](void* self) { static_cast<COcclusionAABBSoftwareHierarchicalZ*>(self)->i_Work(); }, this);

    m_visibleCount = 0;
    for (std::size_t chunk = 0; chunk < state.foundCounts.size(); ++chunk)
    {
        const std::int32_t* const found = m_visibleIds.get() + chunk * kBoxesPerChunk;
        std::copy_n(found, state.foundCounts[chunk], m_visibleIds.get() + m_visibleCount);
        m_visibleCount += static_cast<std::int32_t>(state.foundCounts[chunk]);
    }
}

void COcclusionAABBSoftwareHierarchicalZ::i_PrepareDrawing()
{
    State& state = *m_state;
    if (state.tiles.columns * kTileWidth != state.width || state.tiles.rows * kTileHeight != state.height)
        state.tiles.Resize(state.width, state.height);
    state.occluders.resize(state.occluderBoxes.size());
    const collision::PrimFrustum frustum(state.viewProjection);
    state.occluderCount = collision::SimdKernels::Get().findInFrustum(
        frustum, state.occluderBoxes.data(), state.occluderBoxes.size(), state.occluders.data());
    const std::size_t most = state.occluderBoxes.size() + state.primitives.size();
    if (state.polygonCounts.size() < most)
    {
        state.polygonCounts.resize(most);
        state.polygons.resize(most * kMostPolygons);
        state.made.resize(most * kMostPolygons);
        state.order.reserve(most * kMostPolygons);
    }
    state.makeStage.Reset(state.occluderCount + state.primitives.size(), kOccludersPerChunk);
    state.sortStage.Reset(1, 1);
    const std::size_t rows = static_cast<std::size_t>(state.tiles.rows);
    const std::size_t threads = static_cast<std::size_t>(state.workers->GetCount());
    state.drawStage.Reset(rows, threads == 1 ? rows : rows / (threads * kBandsPerThread) + 1);
}

/// What every worker does in a pass.
void COcclusionAABBSoftwareHierarchicalZ::i_Work() noexcept
{
    State& state = *m_state;
    if (state.draws)
    {
        state.makeStage.Run([this](std::size_t begin, std::size_t end) { i_MakePolygons(begin, end); });
        state.sortStage.Run([this](std::size_t, std::size_t) { i_SortPolygons(); });
        state.drawStage.Run(
            [&](std::size_t begin, std::size_t end)
            {
                state.tiles.Clear(static_cast<int>(begin), static_cast<int>(end));
                state.kernels->draw(state.polygons.data(), state.order, state.tiles, static_cast<int>(begin),
                                    static_cast<int>(end));
                state.tiles.Finish(static_cast<int>(begin), static_cast<int>(end));
            });
    }
    const collision::FrustumQuery query(m_frustum);
    state.testStage.Run([&](std::size_t begin, std::size_t end) { i_TestBoxes(query, begin, end); });
}

void COcclusionAABBSoftwareHierarchicalZ::i_MakePolygons(std::size_t begin, std::size_t end)
{
    State& state = *m_state;
    const OcclusionKernels& kernels = *state.kernels;
    const std::size_t boxEnd = std::clamp(state.occluderCount, begin, end);
    BoxOutcome outcomes[kOccludersPerChunk];
    if (begin < boxEnd)
        kernels.makeBoxes(state.view, state.occluderBoxes.front().GetFloats(),
                          std::span(state.occluders).subspan(begin, boxEnd - begin),
                          &state.polygons[begin * kMostPolygons], outcomes);
    for (std::size_t i = begin; i < end; ++i)
    {
        OcclusionPolygon* const polygons = &state.polygons[i * kMostPolygons];
        int count = 0;
        if (i >= boxEnd)
            count = AddPrimitive(state.view, kernels, state.primitives[i - state.occluderCount], polygons);
        else if (outcomes[i - begin] == BoxOutcome::kDifficult)
            count = AddDifficultBox(state.view, kernels, state.occluderBoxes[state.occluders[i]].GetFloats(), polygons);
        else
            count = outcomes[i - begin] == BoxOutcome::kPolygon;
        state.polygonCounts[i] = static_cast<std::uint8_t>(count);
        for (int j = 0; j < count; ++j)
        {
            const OcclusionPolygon& polygon = polygons[j];
            state.made[i * kMostPolygons + static_cast<std::size_t>(j)] = {
                static_cast<std::uint16_t>(GetBucket(polygon.nearest)),
                static_cast<std::uint16_t>(polygon.bounds.rowBegin / kTileHeight),
                static_cast<std::uint16_t>((polygon.bounds.rowEnd + kTileHeight - 1) / kTileHeight)};
        }
    }
}

/// From front to back, roughly: those of one bucket in the order in which they were given.
void COcclusionAABBSoftwareHierarchicalZ::i_SortPolygons()
{
    State& state = *m_state;
    const std::size_t items = state.occluderCount + state.primitives.size();
    std::fill(std::begin(state.bucketEnds), std::end(state.bucketEnds), 0);
    std::size_t count = 0;
    const auto forEach = [&](auto function)
    {
        for (std::size_t i = 0; i < items; ++i)
        {
            for (std::size_t j = 0; j < state.polygonCounts[i]; ++j)
                function(i * kMostPolygons + j);
        }
    };
    forEach(
        [&](std::size_t i)
        {
            ++state.bucketEnds[state.made[i].bucket];
            ++count;
        });
    std::uint32_t sum = 0;
    for (std::uint32_t& end : state.bucketEnds)
        sum += std::exchange(end, sum);
    state.order.resize(count); // there is room for all
    forEach(
        [&](std::size_t i)
        {
            const Made& made = state.made[i];
            state.order[state.bucketEnds[made.bucket]++] = {static_cast<std::uint32_t>(i), made.tileRowBegin,
                                                            made.tileRowEnd};
        });
}

void COcclusionAABBSoftwareHierarchicalZ::i_TestBoxes(const collision::FrustumQuery& query, std::size_t begin,
                                                      std::size_t end)
{
    State& state = *m_state;
    auto* const found = reinterpret_cast<std::uint32_t*>(m_visibleIds.get()) + begin;
    std::size_t count = collision::SimdKernels::Get().findInFrustum(query, &state.boxes[begin], end - begin, found);
    for (std::size_t i = 0; i < count; ++i)
        found[i] += static_cast<std::uint32_t>(begin);
    if (state.hides)
        count = state.kernels->keepVisible(state.view, state.tiles, state.boxes.front().GetFloats(), found, count);
    state.foundCounts[begin / kBoxesPerChunk] = static_cast<std::uint32_t>(count);
}
