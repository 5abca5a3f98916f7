#include "gameengine/engine/occlusionAABBOpenGLHierarchicalZ.h"

#include "gameengine/engine/occlusionBoxBlocksInternal.h"
#include "tamraengine/renderer/buffer.h"
#include "tamraengine/renderer/program.h"
#include "tamraengine/renderer/readback.h"
#include "tamraengine/renderer/renderer.h"
#include "tamraengine/renderer/texture.h"
#include "tamraengine/renderer/vertexCache.h"

#include <algorithm>
#include <cstring>

#include <GL/glew.h>

using namespace renderer;

namespace
{
constexpr std::uint32_t kDataBinding = 0;
constexpr std::uint32_t kBoxBinding = 0;
constexpr std::uint32_t kAnswerBinding = 1;
constexpr std::uint32_t kGroupSize = 64;
constexpr std::uint32_t kTileSize = 8;
// Depth is interpolated over a triangle and computed for a corner: they differ in the last places.
constexpr float kDepthError = 2.0e-6F;
constexpr std::uint64_t kNever = ~std::uint64_t{0};

// As the shader has it.
struct OcclusionData
{
    float projectionView[16];
    float pictureSize[4];
    std::uint32_t counts[4];
};

std::uint32_t CountGroups(std::size_t count, std::uint32_t size)
{
    return static_cast<std::uint32_t>((count + size - 1) / size);
}
} // namespace

struct COcclusionAABBOpenGLHierarchicalZ::State
{
    // Parallel to the boxes.
    COcclusionBoxBlocks blocks;
    std::vector<float> floats;             // six for each, as the device gets them
    std::vector<std::uint8_t> isHidden;    // by the latest answer
    std::vector<std::uint64_t> placedPass; // the pass before which a box came to this index

    std::size_t firstChanged = 0; // of what the device has not got yet; none when `first` is not below `end`
    std::size_t endChanged = 0;

    RefPtr<CProgram> buildProgram;
    RefPtr<CProgram> testProgram;
    RefPtr<CProgram> debugProgram;
    RefPtr<CBuffer> boxes;
    RefPtr<CBuffer> answers;
    RefPtr<CBuffer> data;
    RefPtr<CReadback> readback;
    RefPtr<CTexture> depth;     // of the scene; or
    RefPtr<CTexture> depthCopy; // that of the framebuffer
    RefPtr<CTexture> pyramid;
    bool isTried = false; // the device was asked for all of these
    bool isDebugTried = false;
    bool cannotCopy = false;
    std::uint64_t pass = 0;
    float sinceLast = 0.0F; // seconds
    std::uint64_t lastFrame = kNever;
};

COcclusionAABBOpenGLHierarchicalZ::COcclusionAABBOpenGLHierarchicalZ(CRenderer& renderer)
    : COcclusionAABBBase(renderer),
      m_state(std::make_unique<State>())
{
}

COcclusionAABBOpenGLHierarchicalZ::~COcclusionAABBOpenGLHierarchicalZ() = default;

OcclusionBoxHandle* COcclusionAABBOpenGLHierarchicalZ::AddBoundingBox(const float* box)
{
    OcclusionBoxHandle* const handle = i_AppendOcclusionBox(box);
    State& state = *m_state;
    state.blocks.Resize(m_boxes.size());
    state.floats.resize(m_boxes.size() * 6);
    state.isHidden.push_back(0);
    state.placedPass.push_back(state.pass);
    i_Place(m_boxes.size() - 1);
    return handle;
}

void COcclusionAABBOpenGLHierarchicalZ::RemoveBoundingBox(OcclusionBoxHandle* handle)
{
    if (!GetBoundingBox(handle))
        return;
    State& state = *m_state;
    const auto index = static_cast<std::size_t>(*handle);
    // What is known of the box goes with it; answers under way are about whoever was there.
    state.isHidden[index] = state.isHidden.back();
    state.placedPass[index] = state.pass;
    const bool hasMoved = i_SwapEraseOcclusionBox(handle);
    state.blocks.Resize(m_boxes.size());
    state.floats.resize(m_boxes.size() * 6);
    state.isHidden.resize(m_boxes.size());
    state.placedPass.resize(m_boxes.size());
    if (hasMoved)
        i_Place(index);
    i_DeallocateBoxHandle(handle);
}

void COcclusionAABBOpenGLHierarchicalZ::UpdateBoundingBox(OcclusionBoxHandle* handle, const float* box)
{
    OcclusionBox* const record = GetBoundingBox(handle);
    if (!record)
        return;
    i_SetBox(*record, box);
    i_Place(static_cast<std::size_t>(*handle));
}

// Copies the record to where the frustum is tested and to what the device gets.
void COcclusionAABBOpenGLHierarchicalZ::i_Place(std::size_t index)
{
    State& state = *m_state;
    const collision::PrimAABB box = i_ToAABB(m_boxes[index]);
    state.blocks.Set(index, box);
    std::memcpy(&state.floats[index * 6], box.GetFloats(), 6 * sizeof(float));
    const bool isFirst = state.firstChanged >= state.endChanged;
    state.firstChanged = isFirst ? index : std::min(state.firstChanged, index);
    state.endChanged = isFirst ? index + 1 : std::max(state.endChanged, index + 1);
}

void COcclusionAABBOpenGLHierarchicalZ::SetDepthTexture(CTexture* depth)
{
    m_state->depth = depth;
}

CTexture* COcclusionAABBOpenGLHierarchicalZ::GetPyramid() const noexcept
{
    return m_state->pyramid.Get();
}

bool COcclusionAABBOpenGLHierarchicalZ::i_Prepare()
{
    State& state = *m_state;
    if (!state.isTried && m_renderer->HasDevice())
    {
        state.isTried = true;
        state.buildProgram = CProgram::Create(*m_renderer, "occlusionhiz_build");
        state.testProgram = state.buildProgram ? CProgram::Create(*m_renderer, "occlusionhiz_test") : nullptr;
        state.boxes = CBuffer::Create(*m_renderer, 0);
        state.answers = CBuffer::Create(*m_renderer, 0);
        state.data = CBuffer::Create(*m_renderer, sizeof(OcclusionData));
        state.readback = CReadback::Create(*m_renderer);
    }
    return state.testProgram && state.testProgram->IsAlive() && state.boxes && state.answers && state.data &&
           state.readback;
}

// Several passes of the same frame share its time.
bool COcclusionAABBOpenGLHierarchicalZ::i_IsDue()
{
    State& state = *m_state;
    if (!(m_framerate > 0.0F))
        return true;
    if (state.lastFrame == kNever)
        state.sinceLast = 1.0F / m_framerate;
    else if (state.lastFrame != m_renderer->GetFrameNumber())
        state.sinceLast += m_renderer->GetDeltaTime();
    state.lastFrame = m_renderer->GetFrameNumber();
    if (!(state.sinceLast * m_framerate >= 1.0F))
        return false;
    // Keeps the rest, so that the rate holds on average, and never more than one pass of it.
    state.sinceLast = std::min(state.sinceLast - 1.0F / m_framerate, 1.0F / m_framerate);
    return true;
}

CTexture* COcclusionAABBOpenGLHierarchicalZ::i_FindDepth()
{
    State& state = *m_state;
    if (state.depth)
        return state.depth->IsAlive() ? state.depth.Get() : nullptr;
    const PixelRect viewport = m_renderer->GetState().GetValues().viewport;
    const auto framebuffer = m_renderer->GetState().GetValues().framebuffer;
    if (state.cannotCopy || viewport.width < 1 || viewport.height < 1 ||
        glCheckNamedFramebufferStatus(framebuffer, GL_READ_FRAMEBUFFER) != GL_FRAMEBUFFER_COMPLETE)
        return nullptr;
    if (!state.depthCopy || state.depthCopy->GetWidth() != viewport.width ||
        state.depthCopy->GetHeight() != viewport.height)
        state.depthCopy = CTexture::Create(*m_renderer, {.width = viewport.width,
                                                         .height = viewport.height,
                                                         .format = TextureFormat::Depth32F,
                                                         .filter = TextureFilter::Nearest});
    state.cannotCopy = !state.depthCopy;
    if (state.cannotCopy)
        return nullptr;
    glCopyTextureSubImage2D(state.depthCopy->GetHandle(), 0, 0, 0, viewport.x, viewport.y, viewport.width,
                            viewport.height);
    return state.depthCopy.Get();
}

void COcclusionAABBOpenGLHierarchicalZ::i_BuildPyramid(CTexture& depth)
{
    State& state = *m_state;
    const int width = CTexture::GetLevelSize(depth.GetWidth(), 1);
    const int height = CTexture::GetLevelSize(depth.GetHeight(), 1);
    if (!state.pyramid || state.pyramid->GetWidth() != width || state.pyramid->GetHeight() != height)
        state.pyramid = CTexture::Create(*m_renderer, {.width = width,
                                                       .height = height,
                                                       .format = TextureFormat::R32F,
                                                       .filter = TextureFilter::Nearest,
                                                       .levels = 0});
    if (!state.pyramid)
        return;
    for (int level = 0; level < state.pyramid->GetDesc().levels; ++level)
    {
        (level == 0 ? depth : *state.pyramid).Bind(0);
        state.buildProgram->SetInt("sourceLevel", std::max(level - 1, 0));
        glBindImageTexture(0, state.pyramid->GetHandle(), level, GL_FALSE, 0, GL_WRITE_ONLY, GL_R32F);
        state.buildProgram->Dispatch(
            CountGroups(static_cast<std::size_t>(CTexture::GetLevelSize(width, level)), kTileSize),
            CountGroups(static_cast<std::size_t>(CTexture::GetLevelSize(height, level)), kTileSize));
        glMemoryBarrier(GL_TEXTURE_FETCH_BARRIER_BIT);
    }
}

void COcclusionAABBOpenGLHierarchicalZ::i_UploadBoxes()
{
    State& state = *m_state;
    const std::size_t bytes = state.floats.size() * sizeof(float);
    if (bytes > state.boxes->GetSize())
    {
        if (!state.boxes->Reserve(bytes))
            return;
        state.firstChanged = 0;
        state.endChanged = m_boxes.size();
    }
    const std::size_t end = std::min(state.endChanged, m_boxes.size());
    if (state.firstChanged < end)
        state.boxes->WriteRecords<float>({&state.floats[state.firstChanged * 6], (end - state.firstChanged) * 6},
                                         state.firstChanged * 6);
    state.firstChanged = state.endChanged = 0;
}

void COcclusionAABBOpenGLHierarchicalZ::i_Ask(CTexture& depth)
{
    State& state = *m_state;
    const std::size_t words = std::size_t{2} * CountGroups(m_boxes.size(), kGroupSize);
    // The picture is read now, so it must not be what is drawn into.
    m_renderer->GetState().SetFramebuffer(0);
    i_UploadBoxes();
    i_BuildPyramid(depth);
    if (!state.pyramid || !state.answers->Reserve(words * sizeof(std::uint32_t)) ||
        state.boxes->GetSize() < state.floats.size() * sizeof(float))
        return;
    OcclusionData data{};
    std::memcpy(data.projectionView, m_frustum.GetProjectionView().GetElements(), sizeof data.projectionView);
    data.pictureSize[0] = static_cast<float>(depth.GetWidth());
    data.pictureSize[1] = static_cast<float>(depth.GetHeight());
    data.pictureSize[2] = static_cast<float>(state.pyramid->GetDesc().levels);
    data.pictureSize[3] = kDepthError;
    data.counts[0] = static_cast<std::uint32_t>(m_boxes.size());
    state.data->WriteRecords<OcclusionData>({&data, 1});
    state.data->BindUniform(kDataBinding);
    state.boxes->BindStorage(kBoxBinding);
    state.answers->BindStorage(kAnswerBinding);
    state.pyramid->Bind(0);
    state.testProgram->Dispatch(CountGroups(m_boxes.size(), kGroupSize));
    state.readback->Request(*state.answers, words * sizeof(std::uint32_t), state.pass);
}

void COcclusionAABBOpenGLHierarchicalZ::i_TakeAnswers()
{
    State& state = *m_state;
    CReadback::Answer latest;
    while (const CReadback::Answer answer = state.readback->Take())
        latest = answer;
    const std::size_t count = std::min(latest.bytes.size() * 8, m_boxes.size());
    for (std::size_t first = 0; first < count; first += 32)
    {
        std::uint32_t word;
        std::memcpy(&word, &latest.bytes[first / 8], sizeof word);
        const std::size_t end = std::min(first + 32, count);
        for (std::size_t i = first; i < end; ++i)
        {
            if (state.placedPass[i] < latest.tag)
                state.isHidden[i] = ((word >> (i - first)) & 1U) == 0 ? 1 : 0;
        }
    }
}

void COcclusionAABBOpenGLHierarchicalZ::DoOcclusion()
{
    State& state = *m_state;
    ++state.pass;
    m_visibleCount = 0;
    i_ResizeVisibleCapacity(static_cast<int>(m_boxes.size()));
    const bool isReady = i_Prepare();
    if (isReady)
    {
        i_TakeAnswers();
        if (i_IsDue() && !m_boxes.empty() && state.readback->GetPending() < CReadback::kRequests)
        {
            const CPreservedState guard(m_renderer->GetState());
            if (CTexture* depth = i_FindDepth())
                i_Ask(*depth);
        }
    }
    for (const std::int32_t index : state.blocks.Find(m_frustum))
    {
        const auto i = static_cast<std::size_t>(index);
        if (!isReady || !state.isHidden[i] || state.blocks.Get(i).Test(m_cameraPosition))
            i_AddVisible(index);
    }
}

void COcclusionAABBOpenGLHierarchicalZ::DrawDebugHiZ(int level)
{
    State& state = *m_state;
    if (!state.pyramid || !state.pyramid->IsAlive())
        return;
    if (!state.isDebugTried)
    {
        state.isDebugTried = true;
        state.debugProgram = CProgram::Create(*m_renderer, "occlusionhiz_debug");
    }
    if (!state.debugProgram)
        return;
    const CPreservedState guard(m_renderer->GetState());
    m_renderer->GetState().SetDepthTest(DepthTest::Off);
    m_renderer->GetState().SetCull(Cull::Off);
    m_renderer->GetState().SetBlend(Blend::Off);
    state.pyramid->Bind(0);
    state.debugProgram->SetInt("level", std::clamp(level, 0, state.pyramid->GetDesc().levels - 1));
    state.debugProgram->Use();
    m_renderer->GetVertexCache()->Draw(Primitive::Triangles, 0, 3);
}
