#include "gameengine/engine/occlusionAABBTree.h"

#include "gameengine/engine/occlusionBoxBlocksInternal.h"
#include "gameengine/engine/occlusionBoxTreeInternal.h"
#include "gameengine/engine/occlusionDrawInternal.h"
#include "tamraengine/renderer/occlusionQueries.h"
#include "tamraengine/renderer/program.h"
#include "tamraengine/renderer/renderer.h"

#include <algorithm>
#include <cstring>
#include <utility>

using namespace renderer;
using collision::PrimAABB;
using occlusion::kBoxVertices;

namespace
{
// A hidden node is asked about again after so many passes.
constexpr std::uint32_t kHiddenPasses = 2;
// A visible leaf is asked about again after so many passes, and up to as many more, so that not all are asked at once.
constexpr std::uint32_t kVisiblePasses = 6;
// After a node turned out to be larger than what can be seen in it, its children are asked about on their own for so
// long, up to the most when it happens again and again.
constexpr std::uint32_t kApartPasses = 24;
constexpr std::uint32_t kMostApartPasses = 384;
// An answer is waited for after so many passes, so that there is a bound to how late it can be.
constexpr std::uint32_t kWaitPasses = 3;
// Leaves of which nothing is known are asked about in groups of some neighbours, one in each of so many passes.
constexpr std::uint32_t kGroupPasses = 8;
constexpr std::size_t kGroupNodes = 32;
constexpr std::int32_t kOverduePasses = 8; // more than an answer can be late

struct NodeState
{
    std::uint32_t nextQuery = 0; // the pass in which a visible leaf is asked about again
    std::uint32_t apartUntil = 0;
    std::uint32_t apartPasses = kApartPasses;
    std::uint32_t askedPass = 0;
    std::uint32_t checkedPass = 0; // the oldest question that says that all of a hidden node is
    std::int32_t query = -1;
    std::int32_t parent = -1;
    bool isVisible = true;
    bool isPending = false; // an answer is under way
    bool isStale = false;   // to a question from before the node was revealed
};

std::uint32_t GetGroupPass(std::size_t node)
{
    return static_cast<std::uint32_t>(node / kGroupNodes) % kGroupPasses;
}
} // namespace

struct COcclusionAABBTree::State
{
    std::vector<PrimAABB> boxes; // as they were given
    COcclusionBoxTree tree;
    COcclusionBoxBlocks blocks;          // in the tree's order
    std::span<const std::uint8_t> masks; // of this pass: what is in the frustum
    std::vector<NodeState> nodes;
    std::vector<std::int32_t> pending; // nodes

    RefPtr<COcclusionQueries> queries;
    RefPtr<CProgram> program;
    RefPtr<CVertexCache> unitBox;
    bool isTried = false;
    bool canAsk = false; // in this pass
    std::uint32_t pass = 0;
};

COcclusionAABBTree::COcclusionAABBTree(CRenderer& renderer)
    : COcclusionAABBBase(renderer),
      m_state(std::make_unique<State>())
{
}

COcclusionAABBTree::~COcclusionAABBTree() = default;

void COcclusionAABBTree::SetBoundingBoxes(int count, const float* boxes)
{
    State& state = *m_state;
    const auto newCount = static_cast<std::size_t>(std::max(count, 0));
    const bool isSameCount = newCount == state.boxes.size();
    if (isSameCount && (newCount == 0 || std::memcmp(state.boxes.data(), boxes, newCount * sizeof(PrimAABB)) == 0))
        return;
    static_assert(sizeof(PrimAABB) == 6 * sizeof(float));
    state.boxes.resize(newCount);
    m_boxes.resize(newCount);
    for (std::size_t i = 0; i < newCount; ++i)
    {
        state.boxes[i] = PrimAABB(boxes + i * 6);
        m_boxes[i].handle = nullptr;
        m_boxes[i].user = nullptr;
        i_SetBox(m_boxes[i], boxes + i * 6);
    }
    if (!isSameCount || !state.tree.Refit(state.boxes))
    {
        state.tree.Build(state.boxes);
        i_Forget();
    }
    state.blocks.Resize(newCount);
    const auto order = state.tree.GetOrder();
    for (std::size_t i = 0; i < newCount; ++i)
        state.blocks.Set(i, state.boxes[static_cast<std::size_t>(order[i])]);
    i_ResizeVisibleCapacity(static_cast<int>(newCount));
}

// A new tree: answers under way are about the old one.
void COcclusionAABBTree::i_Forget()
{
    State& state = *m_state;
    for (const NodeState& node : state.nodes)
    {
        if (node.query >= 0)
            state.queries->Release(node.query);
    }
    state.pending.clear();
    const auto nodes = state.tree.GetNodes();
    state.nodes.assign(nodes.size(), {});
    for (std::size_t i = 0; i < nodes.size(); ++i)
    {
        state.nodes[i].nextQuery = state.pass + 1 + GetGroupPass(i);
        if (nodes[i].IsLeaf())
            continue;
        state.nodes[i + 1].parent = static_cast<std::int32_t>(i);
        state.nodes[static_cast<std::size_t>(nodes[i].first)].parent = static_cast<std::int32_t>(i);
    }
    m_visibleCount = 0;
}

bool COcclusionAABBTree::i_Prepare()
{
    State& state = *m_state;
    if (!state.isTried && m_renderer->HasDevice())
    {
        state.isTried = true;
        state.queries = COcclusionQueries::Create(*m_renderer);
        state.program = occlusion::CreateUnitQueryProgram(*m_renderer);
        state.unitBox = CVertexCache::Create(*m_renderer, kBoxVertices);
        if (state.unitBox)
            state.unitBox->Write(0, occlusion::MakeBoxVertices({{0, 0, 0}, {1, 1, 1}}));
    }
    return state.queries && state.program && state.program->IsAlive() && state.unitBox;
}

void COcclusionAABBTree::i_TakeAnswers()
{
    State& state = *m_state;
    std::size_t left = 0;
    for (const std::int32_t index : state.pending)
    {
        NodeState& node = state.nodes[static_cast<std::size_t>(index)];
        if (state.pass - node.askedPass < kWaitPasses && !state.queries->IsReady(node.query))
        {
            state.pending[left++] = index;
            continue;
        }
        node.isPending = false;
        if (std::exchange(node.isStale, false))
            continue;
        if (!state.queries->Read(node.query))
            node.isVisible = false;
        else if (!node.isVisible)
            i_Reveal(static_cast<std::size_t>(index));
    }
    state.pending.resize(left);
}

// Something in the node has come out of hiding. What, is asked soon; until then it may be all of it.
void COcclusionAABBTree::i_Reveal(std::size_t index)
{
    State& state = *m_state;
    i_RevealBelow(index, index);
    // They were hidden together with the node; what else is in them still is.
    for (std::int32_t above = state.nodes[index].parent; above >= 0;)
    {
        NodeState& node = state.nodes[static_cast<std::size_t>(above)];
        if (!node.isVisible)
            node.isStale = node.isPending;
        node.isVisible = true;
        above = node.parent;
    }
}

void COcclusionAABBTree::i_RevealBelow(std::size_t index, std::size_t top)
{
    State& state = *m_state;
    NodeState& node = state.nodes[index];
    node.isVisible = true;
    node.isStale = node.isPending;
    node.nextQuery = state.pass + (index == top ? kVisiblePasses : GetGroupPass(index - top));
    const COcclusionBoxTree::Node& shape = state.tree.GetNodes()[index];
    if (shape.IsLeaf())
        return;
    if (index == top)
    {
        const bool isAgain = state.pass - node.apartUntil < kApartPasses;
        node.apartPasses = isAgain ? std::min(node.apartPasses * 2, kMostApartPasses) : kApartPasses;
        node.apartUntil = state.pass + node.apartPasses;
    }
    i_RevealBelow(index + 1, top);
    i_RevealBelow(static_cast<std::size_t>(shape.first), top);
}

void COcclusionAABBTree::i_Ask(std::size_t index)
{
    State& state = *m_state;
    NodeState& node = state.nodes[index];
    if (node.isPending || !state.canAsk)
        return;
    if (node.query < 0)
        node.query = state.queries->Allocate();
    const PrimAABB& box = state.tree.GetNodes()[index].box;
    state.program->SetVector("low", box.GetMin());
    state.program->SetVector("high", box.GetMax());
    state.queries->Begin(node.query);
    state.unitBox->Draw(Primitive::Triangles, 0, kBoxVertices);
    state.queries->End();
    node.isPending = true;
    node.askedPass = state.pass;
    node.checkedPass = state.pass;
    node.nextQuery =
        state.pass + kVisiblePasses + static_cast<std::uint32_t>(index * 2654435761U >> 13) % kVisiblePasses;
    state.pending.push_back(static_cast<std::int32_t>(index));
    ++m_queryCount;
}

void COcclusionAABBTree::i_Report(std::size_t leaf)
{
    const State& state = *m_state;
    const COcclusionBoxTree::Node& node = state.tree.GetNodes()[leaf];
    for (std::int32_t i = node.first; i < node.first + node.count; ++i)
    {
        if ((state.masks[static_cast<std::size_t>(i) / 8] >> (i % 8)) & 1)
            i_AddVisible(state.tree.GetOrder()[static_cast<std::size_t>(i)]);
    }
}

// The near plane would cut the front off what is asked about, and leave what lies behind it.
bool COcclusionAABBTree::i_IsAtNearPlane(const PrimAABB& box) const noexcept
{
    const float* plane = m_frustum.GetPlane(4);
    const float* values = box.GetFloats();
    float distance = plane[3];
    for (int axis = 0; axis < 3; ++axis)
        distance += plane[axis] * values[plane[axis] >= 0.0F ? axis : axis + 3];
    return distance < 0.0F;
}

COcclusionAABBTree::Found COcclusionAABBTree::i_Visit(std::size_t index)
{
    State& state = *m_state;
    const COcclusionBoxTree::Node& node = state.tree.GetNodes()[index];
    NodeState& known = state.nodes[index];
    if (!m_frustum.Test(node.box))
        return Found::Outside;
    const bool isInside =
        !state.canAsk || i_IsAtNearPlane(node.box) || occlusion::Grow(node.box).Test(m_cameraPosition);
    if (isInside)
        known.isVisible = true;
    if (!known.isVisible)
    {
        // Half of the nodes in each pass; what was not asked about for long does not wait for its turn.
        const std::uint32_t age = state.pass - known.checkedPass;
        if (age >= kHiddenPasses || (age > 0 && (index + state.pass) % 2 == 0))
            i_Ask(index);
        return Found::Hidden;
    }
    if (!node.IsLeaf())
        return i_VisitChildren(index);
    i_Report(index);
    // Those that have just come into the frustum take turns.
    if (static_cast<std::int32_t>(state.pass - known.nextQuery) > kOverduePasses)
        known.nextQuery = state.pass + GetGroupPass(index);
    if (!isInside && static_cast<std::int32_t>(state.pass - known.nextQuery) >= 0)
        i_Ask(index);
    return Found::Visible;
}

// The nearer one first: what it hides is then drawn before it is asked about.
COcclusionAABBTree::Found COcclusionAABBTree::i_VisitChildren(std::size_t index)
{
    State& state = *m_state;
    const auto nodes = state.tree.GetNodes();
    std::size_t children[2] = {index + 1, static_cast<std::size_t>(nodes[index].first)};
    const auto distance = [&](std::size_t child)
    {
        const CVector3 way = nodes[child].box.GetCenter() - m_cameraPosition;
        return way.Dot(way);
    };
    if (distance(children[1]) < distance(children[0]))
        std::swap(children[0], children[1]);
    const Found first = i_Visit(children[0]);
    const Found second = i_Visit(children[1]);
    if (first == Found::Visible || second == Found::Visible)
        return Found::Visible;
    if (first == Found::Outside || second == Found::Outside)
        return first == second ? Found::Outside : Found::Visible;
    NodeState& known = state.nodes[index];
    known.checkedPass = state.pass - std::max(state.pass - state.nodes[children[0]].checkedPass,
                                              state.pass - state.nodes[children[1]].checkedPass);
    // One question for both from now on.
    if (static_cast<std::int32_t>(state.pass - known.apartUntil) >= 0)
        known.isVisible = false;
    return Found::Hidden;
}

void COcclusionAABBTree::DoOcclusion()
{
    State& state = *m_state;
    ++state.pass;
    m_visibleCount = 0;
    m_queryCount = 0;
    if (state.boxes.empty())
        return;
    state.canAsk = !m_frustum.HoldsEverything() && i_Prepare();
    state.masks = state.blocks.Test(m_frustum);
    const CPreservedState guard(m_renderer->GetState());
    if (state.canAsk)
    {
        i_TakeAnswers();
        occlusion::SetQueryState(m_renderer->GetState());
        state.program->SetMatrix("projectionView", m_frustum.GetProjectionView());
        state.program->Use();
    }
    i_Visit(0);
}
