#pragma once

#include "gameengine/engine/occlusionAABBSoftwareHierarchicalZ.h"
#include "support/deviceFixture.h"
#include "support/occlusionReference.h"
#include "support/random.h"

#include <algorithm>
#include <set>
#include <vector>

#include <GL/glew.h>

namespace test
{
/// Boxes that hide one another and are drawn as they are, and cullers that look at them.
class OcclusionSceneTest : public DeviceTest
{
protected:
    static constexpr int kWidth = 96;
    static constexpr int kHeight = 54;

    void Prepare() override
    {
        m_target = renderer::CRenderTarget::Create(m_renderer, kWidth, kHeight);
        m_program =
            renderer::CProgram::CreateFromText(m_renderer,
                                               "layout(location = 0) in vec3 position;\n"
                                               "uniform mat4 projectionView;\n"
                                               "void main() { gl_Position = projectionView * vec4(position, 1.0); }\n",
                                               "out vec4 result;\nvoid main() { result = vec4(1.0); }\n");
        ASSERT_TRUE(m_target && m_program);
        m_target->Bind();
    }

    void LookFrom(CVector3 eye, CVector3 target, float nearDistance = 1.0F)
    {
        m_eye = eye;
        m_projectionView = CMatrix::Projection(60, static_cast<float>(kWidth) / kHeight, nearDistance, 500.0F) *
                           CMatrix::View(eye, target, {0, 0, 1});
    }

    /// Boxes large and small, thrown about.
    void MakeScene(std::uint32_t seed, int count)
    {
        Random random(seed);
        m_boxes.clear();
        for (int i = 0; i < count; ++i)
        {
            const CVector3 middle(random.Between(-100, 100), random.Between(-100, 100), random.Between(0, 20));
            const float size = i % 5 == 0 ? 12.0F : 2.0F;
            const CVector3 half(random.Between(0.2F, size), random.Between(0.2F, size), random.Between(0.2F, 2 * size));
            m_boxes.emplace_back(middle - half, middle + half);
        }
    }

    /// Blocks of houses with small things in the streets between them, which run along x and y at multiples of 20.
    void MakeTown(std::uint32_t seed)
    {
        Random random(seed);
        m_boxes.clear();
        for (int i = 0; i < 14 * 14; ++i)
        {
            const CVector3 corner(static_cast<float>(i % 14) * 20 - 137, static_cast<float>(i / 14) * 20 - 137, 0);
            const auto add = [&](CVector3 place, CVector3 size)
            { m_boxes.emplace_back(corner + place, corner + place + size); };
            for (const CVector3 place : {CVector3(0, 0, 0), CVector3(7, 0, 0), CVector3(0, 7, 0), CVector3(7, 7, 0)})
                add(place, {6.5F, 6.5F, random.Between(6, 30)});
            for (int thing = 0; thing < 3; ++thing)
            {
                const CVector3 place(random.Between(-5, -1), random.Between(-5, 12), 0);
                add(place, CVector3(random.Between(0.3F, 1), random.Between(0.3F, 1), random.Between(0.3F, 2)));
            }
        }
    }

    void DrawScene()
    {
        m_renderer.BeginFrame(0.02F);
        m_renderer.Clear({0, 0, 0});
        const renderer::CPreservedState guard(m_renderer.GetState());
        m_renderer.GetState().SetDepthTest(renderer::DepthTest::Less);
        m_program->SetMatrix("projectionView", m_projectionView);
        m_program->Use();
        m_vertices.clear();
        for (const collision::PrimAABB& box : m_boxes)
            AppendBox(box);
        const std::size_t first = m_renderer.GetVertexCache()->Append(m_vertices);
        m_renderer.GetVertexCache()->Draw(renderer::Primitive::Triangles, first, m_vertices.size());
    }

    void AppendBox(const collision::PrimAABB& box)
    {
        static constexpr int kCorners[36] = {0, 4, 6, 0, 6, 2, 1, 3, 7, 1, 7, 5, 0, 1, 5, 0, 5, 4,
                                             2, 6, 7, 2, 7, 3, 0, 2, 3, 0, 3, 1, 4, 5, 7, 4, 7, 6};
        const float* values = box.GetFloats();
        for (const int corner : kCorners)
            m_vertices.push_back(
                {{values[(corner & 1) * 3], values[(corner & 2) / 2 * 3 + 1], values[(corner & 4) / 4 * 3 + 2]}});
    }

    /// Waits for the device, so that the next pass has the answers, unless told not to.
    template <class Culler>
    std::set<int> Pass(Culler& culler, bool isDeviceQuick = true)
    {
        DrawScene();
        culler.SetFrameData(0, collision::PrimFrustum(m_projectionView), m_eye);
        if (auto* software =
                dynamic_cast<COcclusionAABBSoftwareHierarchicalZ*>(static_cast<COcclusionAABBBase*>(&culler)))
            software->SetViewProjection(m_projectionView);
        culler.DoOcclusion();
        if (isDeviceQuick)
            glFinish();
        std::set<int> visible;
        for (int i = 0; i < culler.GetVisibleCount(); ++i)
            visible.insert(culler.GetVisibleID(i));
        EXPECT_EQ(visible.size(), static_cast<std::size_t>(culler.GetVisibleCount()));
        return visible;
    }

    template <class Culler>
    std::vector<OcclusionBoxHandle*> AddAll(Culler& culler)
    {
        std::vector<OcclusionBoxHandle*> handles;
        for (const collision::PrimAABB& box : m_boxes)
            handles.push_back(culler.AddBoundingBox(box.GetFloats()));
        return handles;
    }

    /// How many pixels each box shows in. Takes far longer than any culler.
    std::vector<int> CountShown() const { return CountShownPixels(m_boxes, m_projectionView, kWidth, kHeight); }

    /// Nothing that shows is missing; the share of what is kept of that which does not.
    double Compare(const std::set<int>& visible, const std::vector<int>& shown)
    {
        int hidden = 0;
        int kept = 0;
        for (std::size_t i = 0; i < m_boxes.size(); ++i)
        {
            const bool isVisible = visible.contains(static_cast<int>(i));
            if (shown[i] == 0)
                ++(isVisible ? kept : hidden);
            else
                EXPECT_TRUE(isVisible || !ShowsForSure(i)) << i << " shows in " << shown[i] << " pixels";
        }
        return static_cast<double>(kept) / std::max(hidden + kept, 1);
    }

    /// Whether the box shows even if every edge is off by a hundredth of a pixel: devices move corners to a grid.
    bool ShowsForSure(std::size_t i) const
    {
        for (const auto& [x, y] : {std::pair{-0.01F, -0.01F}, {0.01F, -0.01F}, {-0.01F, 0.01F}, {0.01F, 0.01F}})
            if (CountShownPixels(m_boxes, m_projectionView, kWidth, kHeight, x, y)[i] == 0)
                return false;
        return true;
    }

    RefPtr<renderer::CRenderTarget> m_target;
    RefPtr<renderer::CProgram> m_program;
    std::vector<renderer::Vertex> m_vertices;
    std::vector<collision::PrimAABB> m_boxes;
    CMatrix m_projectionView;
    CVector3 m_eye;
};
} // namespace test
