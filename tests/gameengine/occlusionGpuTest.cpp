#include "gameengine/engine/occlusionAABBBruteforce.h"
#include "gameengine/engine/occlusionAABBOpenGLHierarchicalZ.h"
#include "support/expectations.h"
#include "support/occlusionScene.h"

#include <cstring>

using namespace renderer;
using collision::PrimAABB;

namespace
{
using OcclusionGpu = test::OcclusionSceneTest;

TEST_F(OcclusionGpu, BruteforceIsOnePassLate)
{
    m_boxes = {{{10, -20, -20}, {11, 20, 20}}, {{20, -1, -1}, {22, 1, 1}}, {{-9, -1, -1}, {-8, 1, 1}}};
    COcclusionAABBBruteforce culler(m_renderer);
    const auto handles = AddAll(culler);
    LookFrom({0, 0, 0}, {1, 0, 0});
    EXPECT_EQ(Pass(culler), std::set<int>{});
    EXPECT_EQ(culler.GetQueryCount(), 2);
    EXPECT_EQ(Pass(culler), std::set<int>{0});
    // The wall sinks: the box behind is seen one pass after that, and the wall stays for one.
    const PrimAABB wall = std::exchange(m_boxes[0], PrimAABB({10, -20, -60}, {11, 20, -40}));
    culler.UpdateBoundingBox(handles[0], m_boxes[0].GetFloats());
    LookFrom({0, 0, 0}, {1, 0, 0.001F});
    Pass(culler);
    EXPECT_EQ(Pass(culler), std::set<int>{1});
    m_boxes[0] = wall;
    culler.UpdateBoundingBox(handles[0], wall.GetFloats());
    Pass(culler);
    EXPECT_EQ(Pass(culler), std::set<int>{0});
    // Inside a box, and up to one unit beside it, there is nothing to wait for.
    LookFrom({-7.1F, 0, 0}, {-9, 0, 0});
    EXPECT_TRUE(Pass(culler).contains(2));
}

TEST_F(OcclusionGpu, AnswersStayWithTheirBoxes)
{
    for (const bool isBruteforce : {true, false})
    {
        // A wall, something hidden, something seen.
        m_boxes = {{{10, -20, -20}, {11, 20, 20}}, {{20, -1, -1}, {22, 1, 1}}, {{5, -1, -1}, {6, 1, 1}}};
        LookFrom({0, 0, 0}, {1, 0, 0});
        const RefPtr<COcclusionAABBBase> culler =
            isBruteforce ? RefPtr<COcclusionAABBBase>(new COcclusionAABBBruteforce(m_renderer))
                         : RefPtr<COcclusionAABBBase>(new COcclusionAABBOpenGLHierarchicalZ(m_renderer));
        const auto handles = AddAll(*culler);
        Pass(*culler);
        EXPECT_EQ(Pass(*culler), (std::set<int>{0, 2}));
        // The hidden one takes the place of the seen one, and its answer is under way.
        std::swap(m_boxes[1], m_boxes[2]);
        culler->RemoveBoundingBox(handles[1]);
        EXPECT_EQ(*handles[2], 1);
        OcclusionBoxHandle* hidden = culler->AddBoundingBox(m_boxes[2].GetFloats());
        EXPECT_EQ(hidden, handles[1]);
        EXPECT_TRUE(Pass(*culler).contains(1));
        EXPECT_EQ(Pass(*culler), (std::set<int>{0, 1}));
        culler->RemoveBoundingBox(nullptr);
        culler->UpdateBoundingBox(nullptr, m_boxes[0].GetFloats());
        // All of them leave while answers are under way.
        for (OcclusionBoxHandle* handle : {handles[0], handles[2], hidden})
            culler->RemoveBoundingBox(handle);
        EXPECT_EQ(Pass(*culler), std::set<int>{});
        EXPECT_EQ(culler->GetBoundingBoxCount(), 0);
    }
}

TEST_F(OcclusionGpu, PyramidsCoverEveryTexel)
{
    for (const auto& [width, height] : {std::pair{1, 1}, {3, 5}, {1, 7}, {96, 54}, {257, 129}})
    {
        m_target = CRenderTarget::Create(m_renderer, width, height);
        m_target->Bind();
        MakeScene(11, 200);
        LookFrom({-140, 0, 10}, {0, 0, 8});
        COcclusionAABBOpenGLHierarchicalZ culler(m_renderer);
        AddAll(culler);
        Pass(culler);
        const CTexture* pyramid = culler.GetPyramid();
        ASSERT_TRUE(pyramid);
        const auto read = [](const CTexture& texture, int level)
        {
            const auto bytes = texture.Read(level);
            std::vector<float> values(bytes.size() / sizeof(float));
            std::memcpy(values.data(), bytes.data(), bytes.size());
            return values;
        };
        const std::vector<float> depth = read(m_target->GetDepth(), 0);
        for (int level = 0; level < pyramid->GetDesc().levels; ++level)
        {
            const int levelWidth = CTexture::GetLevelSize(pyramid->GetWidth(), level);
            const int levelHeight = CTexture::GetLevelSize(pyramid->GetHeight(), level);
            // The farthest of all pixels that belong to a texel; the last ones take what is left over.
            std::vector<float> expected(static_cast<std::size_t>(levelWidth * levelHeight));
            for (int i = 0; i < width * height; ++i)
            {
                const int texel = std::min(i % width >> (level + 1), levelWidth - 1) +
                                  std::min(i / width >> (level + 1), levelHeight - 1) * levelWidth;
                float& value = expected[static_cast<std::size_t>(texel)];
                value = std::max(value, depth[static_cast<std::size_t>(i)]);
            }
            EXPECT_EQ(read(*pyramid, level), expected) << width << " x " << height << ", level " << level;
        }
    }
}

TEST_F(OcclusionGpu, FollowsItsFramerate)
{
    m_boxes = {{{10, -20, -20}, {11, 20, 20}}, {{20, -1, -1}, {22, 1, 1}}};
    LookFrom({0, 0, 0}, {1, 0, 0});
    COcclusionAABBOpenGLHierarchicalZ culler(m_renderer);
    AddAll(culler);
    culler.SetOcclusionFramerate(10.0F); // every fifth picture of a fiftieth second
    Pass(culler);
    EXPECT_EQ(Pass(culler), std::set<int>{0});
    m_boxes[0] = {{10, -20, -60}, {11, 20, -40}}; // drawn elsewhere from now on
    int passes = 0;
    while (!Pass(culler).contains(1) && passes < 20)
        ++passes;
    EXPECT_GE(passes, 3);
    EXPECT_LE(passes, 6);
}

TEST_F(OcclusionGpu, TakesAndShowsDepth)
{
    MakeScene(3, 100);
    LookFrom({-140, 0, 10}, {0, 0, 8});
    COcclusionAABBOpenGLHierarchicalZ culler(m_renderer);
    culler.DrawDebugHiZ(0); // nothing yet
    AddAll(culler);
    culler.SetDepthTexture(&m_target->GetDepth());
    Pass(culler);
    Compare(Pass(culler), CountShown());
    const CRenderState::Values before = m_renderer.GetState().GetValues();
    culler.DrawDebugHiZ(100);
    EXPECT_EQ(m_renderer.GetState().GetValues(), before);
    const Image coarse = m_target->ReadPixels();
    culler.DrawDebugHiZ(-1);
    const Image fine = m_target->ReadPixels();
    // The coarsest level is one grey; in the finest the sky is white and the boxes are darker.
    EXPECT_EQ(GetPixel(coarse, 0, 0), GetPixel(coarse, kWidth - 1, kHeight - 1));
    EXPECT_EQ(GetPixel(fine, 3, 2)[0], 255);
    EXPECT_LT(GetPixel(fine, kWidth / 2, kHeight / 2)[0], 250);
}

TEST_F(OcclusionGpu, LivesWithoutAPictureToLookAt)
{
    LookFrom({0, 0, 0}, {1, 0, 0});
    m_renderer.BindWindow(0, 0);
    MakeScene(1, 10);
    COcclusionAABBOpenGLHierarchicalZ culler(m_renderer);
    AddAll(culler);
    culler.SetFrameData(0, collision::PrimFrustum(m_projectionView), m_eye);
    culler.DoOcclusion();
}

} // namespace
