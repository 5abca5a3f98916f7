#include "tools/soak/cullingLife.h"

#include "tamraengine/renderer/renderState.h"
#include "tools/soak/boxes.h"

#include <algorithm>

namespace soak
{
namespace
{
constexpr int kWidth = 64;
constexpr int kHeight = 36;
constexpr CVector3 kUnit(1.0F, 1.0F, 1.0F);
constexpr int kPasses = 9; // more than any culler on the device is late
constexpr const char* kVertexShader = "layout(location = 0) in vec3 position;\n"
                                      "uniform mat4 projectionView;\n"
                                      "void main() { gl_Position = projectionView * vec4(position, 1.0); }\n";
constexpr const char* kFragmentShader = "out vec4 result;\nvoid main() { result = vec4(1.0); }\n";
constexpr std::uint32_t kTriangles[36] = {0, 4, 6, 0, 6, 2, 1, 3, 7, 1, 7, 5, 0, 1, 5, 0, 5, 4,
                                          2, 6, 7, 2, 7, 3, 0, 2, 3, 0, 3, 1, 4, 5, 7, 4, 7, 6};

std::vector<CVector3> GetCorners(const collision::PrimAABB& box)
{
    const float* v = box.GetFloats();
    std::vector<CVector3> corners;
    for (int i = 0; i < 8; ++i)
        corners.emplace_back(v[i & 1 ? 3 : 0], v[i & 2 ? 4 : 1], v[i & 4 ? 5 : 2]);
    return corners;
}
} // namespace

CCullingLife::CCullingLife(CJournal& journal, CWorld& world, renderer::CRenderer& renderer)
    : CLife(journal),
      m_world(world),
      m_renderer(renderer),
      m_software(new COcclusionAABBSoftwareHierarchicalZ(renderer)),
      m_brute(new COcclusionAABBBruteforce(renderer)),
      m_binding(new CEntityArray_Occlusion(&world.GetArray(), m_brute.Get())),
      m_pyramid(new COcclusionAABBOpenGLHierarchicalZ(renderer)),
      m_tree(new COcclusionAABBTree(renderer))
{
    if (!m_renderer.HasDevice())
        return;
    m_target = renderer::CRenderTarget::Create(m_renderer, kWidth, kHeight);
    m_program = renderer::CProgram::CreateFromText(m_renderer, kVertexShader, kFragmentShader);
    i_Require(m_target && m_program, "the device gives no target or no program");
}

void CCullingLife::Step(CRandom& random)
{
    i_Gather();
    i_Look(random);
    i_CullOnProcessor(random);
    if (random.OneIn(4))
        i_CullOnDevice();
    ++m_journal.tally.culls;
}

void CCullingLife::i_Gather()
{
    m_ids.clear();
    m_boxes.clear();
    for (const auto& [id, being] : m_world.GetBeings())
    {
        if (!being.model.transform)
            continue;
        m_ids.push_back(id);
        m_boxes.push_back(being.model.transform->GetBox());
    }
}

void CCullingLife::i_Look(CRandom& random)
{
    m_eye = MakePoint(random, 250.0F);
    const CMatrix view = CMatrix::View(m_eye, MakePoint(random, 60.0F), {0, 0, 1});
    m_projectionView =
        CMatrix::Projection(random.Between(30.0F, 90.0F), static_cast<float>(kWidth) / kHeight, 1.0F, 800.0F) * view;
    m_shown = FindShown(m_boxes, m_projectionView, kWidth, kHeight);
}

void CCullingLife::i_CullOnProcessor(CRandom& random)
{
    static constexpr int kSizes[][2] = {{64, 36}, {256, 128}, {512, 100}};
    const auto* const size = kSizes[random.Below(3)];
    const auto sets = COcclusionAABBSoftwareHierarchicalZ::GetInstructionSets();
    m_software->SetResolution(size[0], size[1]);
    m_software->SetThreadCount(1 + random.Below(3));
    i_Require(m_software->SetInstructionSet(sets[random.Below(sets.size())]), "an instruction set is missing");
    m_software->ClearOccluders();
    const bool hasOccluders = !random.OneIn(6);
    if (hasOccluders)
    {
        Boxes occluders;
        std::copy_if(m_boxes.begin(), m_boxes.end(), std::back_inserter(occluders),
                     [&random](const auto&) { return !random.OneIn(3); });
        m_software->SetOccluderBoxes(occluders);
        if (!m_boxes.empty())
            i_Require(m_software->AddOccluderTriangles(GetCorners(m_boxes[random.Below(m_boxes.size())]), kTriangles),
                      "triangles were refused");
    }
    m_software->SetBoundingBoxes(static_cast<int>(m_boxes.size()),
                                 m_boxes.empty() ? nullptr : m_boxes.front().GetFloats());
    m_software->SetFrameData(0, collision::PrimFrustum(m_projectionView), m_eye);
    m_software->SetViewProjection(m_projectionView);
    m_software->DoOcclusion();
    std::vector<bool> visible(m_boxes.size());
    for (int i = 0; i < m_software->GetVisibleCount(); ++i)
        visible[static_cast<std::size_t>(m_software->GetVisibleID(i))] = true;
    m_found += static_cast<std::uint64_t>(m_software->GetVisibleCount());
    i_Compare(visible, false, hasOccluders, "the software culler");
}

// Without a device all three test the frustum alone.
void CCullingLife::i_CullOnDevice()
{
    i_SynchronizePyramid();
    m_tree->SetBoundingBoxes(static_cast<int>(m_boxes.size()), m_boxes.empty() ? nullptr : m_boxes.front().GetFloats());
    const bool hidesSome = m_renderer.HasDevice();
    std::vector<bool> visible;
    for (int pass = 0; pass < kPasses; ++pass)
        visible = i_Pass(*m_tree);
    i_Compare(visible, true, hidesSome, "the tree culler");

    std::vector<bool> found(m_boxes.size());
    const auto note = [&](Id id)
    {
        const auto place = std::lower_bound(m_ids.begin(), m_ids.end(), id);
        if (i_Require(place != m_ids.end() && *place == id, "a culler has a box of an entity that is gone"))
            found[static_cast<std::size_t>(place - m_ids.begin())] = true;
    };
    for (int pass = 0; pass < kPasses; ++pass)
        i_Pass(*m_brute);
    for (int i = 0; i < m_brute->GetVisibleCount(); ++i)
        note(m_world.Find(static_cast<CEntity*>(m_brute->GetVisibleBox(i)->user)));
    i_Compare(found, true, hidesSome, "the brute-force culler");

    found.assign(m_boxes.size(), false);
    for (int pass = 0; pass < kPasses; ++pass)
        i_Pass(*m_pyramid);
    for (int i = 0; i < m_pyramid->GetVisibleCount(); ++i)
    {
        const auto* const handle = m_pyramid->GetVisibleBox(i)->handle;
        note(std::find_if(m_pyramidHandles.begin(), m_pyramidHandles.end(),
                          [handle](const auto& entry) { return entry.second == handle; })
                 ->first);
    }
    i_Compare(found, true, hidesSome, "the pyramid culler");
    m_journal.tally.devicePasses += 3 * kPasses;
}

void CCullingLife::i_SynchronizePyramid()
{
    for (auto entry = m_pyramidHandles.begin(); entry != m_pyramidHandles.end();)
    {
        const bool isGone = !std::binary_search(m_ids.begin(), m_ids.end(), entry->first);
        if (isGone)
            m_pyramid->RemoveBoundingBox(entry->second);
        entry = isGone ? m_pyramidHandles.erase(entry) : std::next(entry);
    }
    for (std::size_t i = 0; i < m_ids.size(); ++i)
    {
        OcclusionBoxHandle*& handle = m_pyramidHandles[m_ids[i]];
        if (handle)
            m_pyramid->UpdateBoundingBox(handle, m_boxes[i].GetFloats());
        else
            handle = m_pyramid->AddBoundingBox(m_boxes[i].GetFloats());
    }
    i_Require(m_pyramid->GetBoundingBoxCount() == static_cast<int>(m_ids.size()), "the pyramid has other boxes");
}

void CCullingLife::i_DrawBoxes()
{
    m_target->Bind();
    m_renderer.Clear({0, 0, 0});
    const renderer::CPreservedState guard(m_renderer.GetState());
    m_renderer.GetState().SetDepthTest(renderer::DepthTest::Less);
    m_program->SetMatrix("projectionView", m_projectionView);
    m_program->Use();
    m_vertices.clear();
    for (const collision::PrimAABB& box : m_boxes)
    {
        const std::vector<CVector3> corners = GetCorners(box);
        for (const std::uint32_t corner : kTriangles)
            m_vertices.push_back({corners[corner]});
    }
    const std::size_t first = m_renderer.GetVertexCache()->Append(m_vertices);
    m_renderer.GetVertexCache()->Draw(renderer::Primitive::Triangles, first, m_vertices.size());
}

std::vector<bool> CCullingLife::i_Pass(COcclusionAABBBase& culler)
{
    m_renderer.BeginFrame(0.02F);
    if (m_renderer.HasDevice())
        i_DrawBoxes();
    culler.SetFrameData(0, collision::PrimFrustum(m_projectionView), m_eye);
    culler.DoOcclusion();
    std::vector<bool> visible(m_boxes.size());
    for (int i = 0; i < culler.GetVisibleCount(); ++i)
    {
        const auto id = static_cast<std::size_t>(culler.GetVisibleID(i));
        if (i_Require(id < visible.size() && !visible[id], "a culler found a box twice, or none"))
            visible[id] = true;
    }
    return visible;
}

void CCullingLife::i_Compare(const std::vector<bool>& visible, bool isOnDevice, bool hidesSome, const char* culler)
{
    const collision::PrimFrustum frustum(m_projectionView);
    for (std::size_t i = 0; i < m_boxes.size(); ++i)
    {
        const auto say = [&](const char* what) { return culler + (what + std::to_string(m_ids[i])); };
        const bool isInFrustum = frustum.Test(m_boxes[i]);
        // Those that ask the device take a box within a unit for one that is there.
        const collision::PrimAABB grown(m_boxes[i].GetMin() - kUnit, m_boxes[i].GetMax() + kUnit);
        const bool isNearby = isOnDevice ? frustum.Test(grown) : isInFrustum;
        i_Require(visible[i] || !m_shown[i], say(" misses entity "));
        i_Require(!visible[i] || isNearby, say(" sees outside of the frustum entity "));
        i_Require(visible[i] || !isInFrustum || hidesSome, say(" does not see in the frustum entity "));
    }
    ++m_journal.tally.comparisons;
}

void CCullingLife::Check()
{
    i_Gather();
    i_Require(m_brute->GetBoundingBoxCount() == static_cast<int>(m_ids.size()), "the bound culler has other boxes");
    for (int i = 0; i < m_brute->GetBoundingBoxCount(); ++i)
    {
        OcclusionBoxHandle handle = i;
        const OcclusionBox* const box = m_brute->GetBoundingBox(&handle);
        const Id id = box ? m_world.Find(static_cast<const CEntity*>(box->user)) : 0;
        if (!i_Require(id != 0, "the bound culler has a box of an entity that is gone"))
            return;
        const collision::PrimAABB expected = m_world.GetBeings().at(id).model.transform->GetBox();
        i_Require(std::equal(box->min, box->min + 3, expected.GetFloats()) &&
                      std::equal(box->max, box->max + 3, expected.GetFloats() + 3),
                  "the bound culler has another box of entity " + std::to_string(id));
        i_Require(box->handle && *box->handle == i, "a handle of the bound culler points elsewhere");
    }
    ++m_journal.tally.comparisons;
}

void CCullingLife::AppendState(std::string& state) const
{
    AppendBytes(state, m_found);
}

void CCullingLife::Empty()
{
    i_Require(m_brute->GetBoundingBoxCount() == 0, "the bound culler of an empty scene has boxes");
    i_Gather();
    i_SynchronizePyramid();
    m_software->ClearOccluders();
    m_software->SetBoundingBoxes(0, nullptr);
    m_tree->SetBoundingBoxes(0, nullptr);
}
} // namespace soak
