// All cullers against one another, and against rays.

#include "gameengine/engine/occlusionAABBBruteforce.h"
#include "gameengine/engine/occlusionAABBOpenGLHierarchicalZ.h"
#include "gameengine/engine/occlusionAABBTree.h"
#include "support/allocations.h"
#include "support/occlusionScene.h"

#include <limits>
#include <tuple>

using namespace renderer;
using collision::PrimAABB;

namespace
{
class OcclusionAgreement : public test::OcclusionSceneTest
{
protected:
    const float* GetFloats() const { return m_boxes.front().GetFloats(); }
    int GetCount() const { return static_cast<int>(m_boxes.size()); }

    static constexpr RefPtr<COcclusionAABBBase> (*kMakers[])(CRenderer&) = {
        [](CRenderer& renderer) { return RefPtr<COcclusionAABBBase>(new COcclusionAABBBruteforce(renderer)); },
        [](CRenderer& renderer) { return RefPtr<COcclusionAABBBase>(new COcclusionAABBOpenGLHierarchicalZ(renderer)); },
        [](CRenderer& renderer) { return RefPtr<COcclusionAABBBase>(new COcclusionAABBTree(renderer)); }};
    // With all boxes, one by one where it takes them so.
    void Fill(COcclusionAABBBase& culler)
    {
        if (auto* tree = dynamic_cast<COcclusionAABBTree*>(&culler))
            tree->SetBoundingBoxes(GetCount(), GetFloats());
        else if (culler.GetBoundingBoxCount() == 0)
            AddAll(culler);
    }

    // After more passes than any of them is late.
    template <class Culler>
    std::set<int> LastPass(Culler& culler)
    {
        for (int pass = 0; pass < 8; ++pass)
            Pass(culler);
        return Pass(culler);
    }
};

TEST_F(OcclusionAgreement, NobodyMissesWhatShows)
{
    MakeTown(5);
    const RefPtr<COcclusionAABBSoftwareHierarchicalZ> software = new COcclusionAABBSoftwareHierarchicalZ(m_renderer);
    software->SetBoundingBoxes(GetCount(), GetFloats());
    software->SetOccluderBoxes(m_boxes);
    // Of what does not show, the part that may be kept, and that is.
    std::tuple<const char*, RefPtr<COcclusionAABBBase>, double, double> entries[] = {
        {"brute force", kMakers[0](m_renderer), 0.05, 0.0},
        {"pyramid", kMakers[1](m_renderer), 0.15, 0.0},
        {"tree", kMakers[2](m_renderer), 0.4, 0.0},
        {"software", software, 0.15, 0.0}};
    for (const auto& [name, culler, most, kept] : entries)
        Fill(*culler);
    const CVector3 views[][2] = {
        {{-140, 0, 2}, {0, 0, 2}},    {{0, 0, 2}, {0, 50, 2}},    {{-39, 0, 5}, {-139, 100, 2}},
        {{60, -60, 45}, {0, 0, 0}},   {{100, 20, 2}, {0, 20, 2}}, {{20, 20, 1}, {21, 21, 30}},
        {{-139, -134, 3}, {0, 0, 0}}, {{0, -200, 90}, {0, 0, 0}}, {{0, 1, 2}, {1, -40, 2}}};
    for (const auto& view : views)
    {
        LookFrom(view[0], view[1]);
        const std::vector<int> shown = CountShown();
        for (auto& [name, culler, most, kept] : entries)
        {
            SCOPED_TRACE(name);
            kept += Compare(LastPass(*culler), shown) / static_cast<double>(std::size(views));
        }
    }
    for (const auto& [name, culler, most, kept] : entries)
        EXPECT_LT(kept, most) << name;
}

TEST_F(OcclusionAgreement, TheTreeFollowsBoxesThatMove)
{
    MakeTown(9);
    LookFrom({-140, 0, 2}, {0, 0, 2});
    COcclusionAABBTree tree(m_renderer);
    EXPECT_EQ(tree.AddBoundingBox(GetFloats()), nullptr);
    tree.SetBoundingBoxes(GetCount(), GetFloats());
    LastPass(tree);
    // Some wander about, one of them out from behind a house; then all of the town goes elsewhere.
    test::Random random(2);
    for (int step = 0; step < 12; ++step)
    {
        for (PrimAABB& box : m_boxes)
        {
            const CVector3 way = step == 8 ? CVector3(0, random.Between(-60, 60), 0)
                                           : CVector3(random.Between(-1, 1), random.Between(-1, 1), 0);
            box = {box.GetMin() + way, box.GetMax() + way};
        }
        tree.SetBoundingBoxes(GetCount(), GetFloats());
        EXPECT_EQ(tree.GetBoundingBoxCount(), GetCount());
        Compare(LastPass(tree), CountShown());
    }
    // Fewer, with answers under way; none; and again some.
    m_boxes.resize(40);
    tree.SetBoundingBoxes(40, GetFloats());
    Pass(tree);
    for (const int id : Pass(tree))
        EXPECT_LT(id, 40);
    tree.SetBoundingBoxes(-3, nullptr);
    EXPECT_TRUE(Pass(tree).empty());
    tree.SetBoundingBoxes(40, GetFloats());
    EXPECT_FALSE(Pass(tree).empty());
}

TEST_F(OcclusionAgreement, PassesLeaveStateAndHeapAlone)
{
    MakeScene(5, 200);
    LookFrom({-140, 0, 10}, {0, 0, 8});
    for (const auto make : kMakers)
    {
        const auto culler = make(m_renderer);
        Fill(*culler);
        Pass(*culler);
        CRenderState::Values before;
        std::size_t allocations = 0;
        for (int pass = 0; pass < 80; ++pass)
        {
            Fill(*culler);
            culler->DoOcclusion();
            glFinish();
            if (pass == 60) // when a tree has asked about each node that it ever will
            {
                before = m_renderer.GetState().GetValues();
                // Ours alone: the driver has other functions than operator new for the most part.
                allocations = test::GetAllocationCount();
            }
        }
        EXPECT_EQ(test::GetAllocationCount(), allocations);
        EXPECT_EQ(m_renderer.GetState().GetValues(), before);
    }
}

TEST_F(OcclusionAgreement, NobodyMindsBadInput)
{
    constexpr float kNan = std::numeric_limits<float>::quiet_NaN();
    constexpr float kInfinity = std::numeric_limits<float>::infinity();
    // Among others all the same, so that no side divides them.
    std::vector<PrimAABB> boxes(50, PrimAABB({10, -1, -1}, {11, 1, 1}));
    boxes.emplace_back(CVector3(kNan, kNan, kNan), CVector3(kNan, kNan, kNan));
    boxes.emplace_back(CVector3(-kInfinity, -kInfinity, -kInfinity), CVector3(kInfinity, kInfinity, kInfinity));
    boxes.emplace_back(CVector3(5, 5, 5), CVector3(-5, -5, -5));
    LookFrom({0, 0, 0}, {1, 0, 0}); // at a picture without anything
    for (const auto make : kMakers)
    {
        m_boxes.clear();
        const auto culler = make(m_renderer);
        EXPECT_TRUE(Pass(*culler).empty());
        m_boxes = boxes;
        Fill(*culler);
        m_boxes.clear();
        EXPECT_TRUE(LastPass(*culler).contains(49));
        const float elements[16] = {kNan, kInfinity, -kInfinity, kNan};
        culler->SetFrameData(1, collision::PrimFrustum(CMatrix(elements)), {kNan, 0, 0});
        culler->DoOcclusion();
        culler->SetFrameData(1, collision::PrimFrustum(), {});
        culler->DoOcclusion();
        EXPECT_GE(culler->GetVisibleCount(), 50);
        // Without a device.
        CRenderer bare;
        const auto onCpu = make(bare);
        m_boxes = boxes;
        Fill(*onCpu);
        onCpu->SetFrameData(0, collision::PrimFrustum(), {});
        onCpu->DoOcclusion();
        EXPECT_GE(onCpu->GetVisibleCount(), 50);
    }
}
} // namespace
