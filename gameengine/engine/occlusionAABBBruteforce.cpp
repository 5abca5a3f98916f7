#include "gameengine/engine/occlusionAABBBruteforce.h"

#include "gameengine/engine/occlusionBoxBlocksInternal.h"
#include "gameengine/engine/occlusionDrawInternal.h"
#include "tamraengine/renderer/occlusionQueries.h"
#include "tamraengine/renderer/program.h"
#include "tamraengine/renderer/renderer.h"

using namespace renderer;
using occlusion::kBoxVertices;

struct COcclusionAABBBruteforce::State
{
    COcclusionBoxBlocks grown;
    std::vector<std::int32_t> queries; // parallel to the boxes
    RefPtr<COcclusionQueries> pool;
    RefPtr<CVertexCache> vertices; // 36 for each box
    RefPtr<CProgram> program;
    bool isTried = false; // the device was asked for all of these
    bool isFull = false;  // it had no room for all vertices
};

COcclusionAABBBruteforce::COcclusionAABBBruteforce(CRenderer& renderer)
    : COcclusionAABBBase(renderer),
      m_state(std::make_unique<State>())
{
}

COcclusionAABBBruteforce::~COcclusionAABBBruteforce() = default;

OcclusionBoxHandle* COcclusionAABBBruteforce::AddBoundingBox(const float* box)
{
    OcclusionBoxHandle* const handle = i_AppendOcclusionBox(box);
    const std::size_t count = m_boxes.size();
    m_state->grown.Resize(count);
    m_state->queries.push_back(-1);
    i_RefreshBox(count - 1);
    return handle;
}

void COcclusionAABBBruteforce::RemoveBoundingBox(OcclusionBoxHandle* handle)
{
    if (!GetBoundingBox(handle))
        return;
    const auto index = static_cast<std::size_t>(*handle);
    std::vector<std::int32_t>& queries = m_state->queries;
    if (queries[index] >= 0)
        m_state->pool->Release(queries[index]);
    // The answer that is under way belongs to the box, wherever that goes.
    queries[index] = queries.back();
    queries.pop_back();
    const bool hasMoved = i_SwapEraseOcclusionBox(handle);
    m_state->grown.Resize(m_boxes.size());
    if (hasMoved)
        i_RefreshBox(index);
    i_DeallocateBoxHandle(handle);
}

void COcclusionAABBBruteforce::UpdateBoundingBox(OcclusionBoxHandle* handle, const float* box)
{
    OcclusionBox* const record = GetBoundingBox(handle);
    if (!record)
        return;
    i_SetBox(*record, box);
    i_RefreshBox(static_cast<std::size_t>(*handle));
}

bool COcclusionAABBBruteforce::i_Prepare()
{
    State& state = *m_state;
    if (!state.isTried && m_renderer->HasDevice())
    {
        state.isTried = true;
        state.pool = COcclusionQueries::Create(*m_renderer);
        state.vertices = CVertexCache::Create(*m_renderer, kBoxVertices);
        state.program = occlusion::CreateQueryProgram(*m_renderer);
        for (std::size_t i = 0; i < m_boxes.size(); ++i)
            i_RefreshBox(i);
    }
    return state.pool && state.vertices && state.program && state.program->IsAlive();
}

// What is kept for each index: the box as it is tested, and as it is drawn.
void COcclusionAABBBruteforce::i_RefreshBox(std::size_t index)
{
    State& state = *m_state;
    const collision::PrimAABB box = i_ToAABB(m_boxes[index]);
    state.grown.Set(index, occlusion::Grow(box));
    if (!state.vertices || !state.vertices->IsAlive())
        return;
    const std::size_t end = (index + 1) * kBoxVertices;
    // Full once, full for good: asking again for every box would take long and fill the log.
    if (end > state.vertices->GetCapacity() && (state.isFull || !state.vertices->Reserve(end)))
    {
        state.isFull = true;
        return;
    }
    state.vertices->Write(index * kBoxVertices, occlusion::MakeBoxVertices(box));
}

void COcclusionAABBBruteforce::i_Ask(std::size_t index)
{
    State& state = *m_state;
    std::int32_t& query = state.queries[index];
    if (query < 0)
        query = state.pool->Allocate();
    if (state.pool->Read(query))
        i_AddVisible(static_cast<int>(index));
    state.pool->Begin(query);
    state.vertices->Draw(Primitive::Triangles, index * kBoxVertices, kBoxVertices);
    state.pool->End();
    ++m_queryCount;
}

void COcclusionAABBBruteforce::DoOcclusion()
{
    State& state = *m_state;
    m_visibleCount = 0;
    m_queryCount = 0;
    i_ResizeVisibleCapacity(static_cast<int>(m_boxes.size()));
    const auto inFrustum = state.grown.Find(m_frustum);
    const bool canAsk = !m_frustum.HoldsEverything() && i_Prepare();

    const CPreservedState guard(m_renderer->GetState());
    occlusion::SetQueryState(m_renderer->GetState());
    if (canAsk)
    {
        state.program->SetMatrix("projectionView", m_frustum.GetProjectionView());
        state.program->Use();
        state.vertices->Bind();
    }
    const std::size_t drawable = canAsk ? state.vertices->GetCapacity() / kBoxVertices : 0;
    for (const std::int32_t index : inFrustum)
    {
        const auto i = static_cast<std::size_t>(index);
        if (i >= drawable || state.grown.Get(i).Test(m_cameraPosition))
            i_AddVisible(index);
        else
            i_Ask(i);
    }
}
