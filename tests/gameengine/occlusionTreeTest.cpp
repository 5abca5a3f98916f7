// When and how often the tree asks.

#include "gameengine/engine/occlusionAABBTree.h"
#include "support/occlusionScene.h"

#include <string>

namespace
{
// What comes out of hiding is found in the last of so many passes, and what hides is gone after so many.
constexpr int kFoundPasses = 3;
constexpr int kFoundLatePasses = 8; // when the device is behind
constexpr int kGonePasses = 20;

class OcclusionTree : public test::OcclusionSceneTest
{
protected:
    void SetAll(COcclusionAABBTree& culler)
    {
        culler.SetBoundingBoxes(static_cast<int>(m_boxes.size()), m_boxes.front().GetFloats());
    }

    std::ptrdiff_t CountInFrustum() const
    {
        const collision::PrimFrustum frustum(m_projectionView);
        return std::ranges::count_if(m_boxes, [&](const collision::PrimAABB& box) { return frustum.Test(box); });
    }

    // Looks from where nothing moves any more. What shows must be found in time, and in each pass from then on.
    double Watch(COcclusionAABBTree& culler, int passes, bool isDeviceQuick = true)
    {
        std::set<int> always;
        const int found = isDeviceQuick ? kFoundPasses : kFoundLatePasses;
        for (int pass = 1; pass <= passes; ++pass)
        {
            const std::set<int> visible = Pass(culler, isDeviceQuick);
            if (pass <= found)
                always = visible;
            else
                std::erase_if(always, [&](int id) { return !visible.contains(id); });
        }
        return Compare(always, CountShown());
    }
};

TEST_F(OcclusionTree, FindsInTimeWhatComesOutOfHiding)
{
    MakeScene(7, 400);
    COcclusionAABBTree culler(m_renderer);
    SetAll(culler);
    test::Random random(3);
    double kept = 0.0;
    for (int view = 0; view < 48; ++view)
    {
        SCOPED_TRACE("view " + std::to_string(view));
        const bool isLong = view % 8 == 7;
        LookFrom({random.Between(-130, 130), random.Between(-130, 130), random.Between(0, 50)},
                 {random.Between(-50, 50), random.Between(-50, 50), 8});
        const double share = Watch(culler, isLong ? kGonePasses : 9, random.OneIn(2));
        kept += isLong ? share / 6 : 0.0;
    }
    EXPECT_LT(kept, 0.35);
}

// What is drawn of the box around both lies behind the wall that is inside.
TEST_F(OcclusionTree, SeesWhatANearPlaneCuts)
{
    m_boxes = {{{20, -40, -40}, {21, 40, 40}}, {{8, 0, 0}, {9, 1, 1}}};
    LookFrom({0, 0, 0}, {1, 0, 0}, 15.0F);
    COcclusionAABBTree culler(m_renderer);
    SetAll(culler);
    Watch(culler, kGonePasses);
}

TEST_F(OcclusionTree, SurvivesTheDevice)
{
    MakeScene(4, 100);
    LookFrom({-140, 0, 10}, {0, 0, 8});
    COcclusionAABBTree culler(m_renderer);
    SetAll(culler);
    Pass(culler, false);
    m_renderer.ShutdownDevice(); // with answers under way
    culler.DoOcclusion();
    EXPECT_EQ(culler.GetVisibleCount(), CountInFrustum());
}

// In every pass, the first ones and those after a jump among them.
TEST_F(OcclusionTree, AsksLittleInATown)
{
    MakeTown(5);
    COcclusionAABBTree culler(m_renderer);
    SetAll(culler);
    double most = 0.0;
    for (int pass = 0; pass < 160; ++pass)
    {
        const float way = static_cast<float>(pass % 80);
        if (pass < 80)
            LookFrom({-140 + way, 0, 2}, {140, 0, 2});
        else
            LookFrom({0, -140 + way, 2}, {0, 140, 2});
        Pass(culler);
        most = std::max(most, culler.GetQueryCount() / static_cast<double>(CountInFrustum()));
    }
    EXPECT_LT(most, 0.1);
}

} // namespace
