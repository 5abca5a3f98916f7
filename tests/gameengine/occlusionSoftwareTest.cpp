#include "gameengine/engine/occlusionAABBSoftwareHierarchicalZ.h"
#include "support/allocations.h"
#include "support/expectations.h"
#include "support/random.h"
#include "tamraengine/renderer/renderer.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <functional>
#include <limits>
#include <vector>

#include <gtest/gtest.h>

using collision::PrimAABB;
using collision::PrimFrustum;
using Culler = COcclusionAABBSoftwareHierarchicalZ;

namespace
{
using Triangle = std::array<CVector3, 3>;

struct Scene
{
    std::vector<PrimAABB> boxes;
    std::vector<PrimAABB> occluders;
    std::vector<Triangle> triangles;
    CMatrix viewProjection;
    CVector3 eye;
    int width = 640;
    int height = 360;
};

using Vector = std::array<double, 3>;

Vector Cross(const Vector& a, const Vector& b)
{
    return {a[1] * b[2] - a[2] * b[1], a[2] * b[0] - a[0] * b[2], a[0] * b[1] - a[1] * b[0]};
}

double Dot(const Vector& a, const Vector& b)
{
    return a[0] * b[0] + a[1] * b[1] + a[2] * b[2];
}

// What can be seen of a scene, with rays in double precision.
class Sight
{
public:
    explicit Sight(const Scene& scene) : m_scene(scene) {}

    bool Sees(const Vector& point) const
    {
        const double w = Project(3, point);
        const Vector clip = {Project(0, point), Project(1, point), Project(2, point)};
        if (!(w > 0) || std::ranges::any_of(clip, [w](double c) { return !(std::abs(c) <= w); }))
            return false;
        // Along the line of sight the place on the screen does not change; it begins at the near plane.
        Vector way = Cross(GetRow(0, -clip[0] / w), GetRow(1, -clip[1] / w));
        const double length = (clip[2] + w) / Dot(GetRow(2, 1), way);
        Vector start = point;
        for (std::size_t i = 0; i < 3; ++i)
        {
            way[i] *= length;
            start[i] -= way[i];
        }
        const auto hides = [&](const auto& shape) { return Hides(shape, start, way); };
        return std::ranges::none_of(m_scene.occluders, hides) && std::ranges::none_of(m_scene.triangles, hides);
    }

    /// Whether any of some points on the box is seen.
    bool Sees(const PrimAABB& box, int points, test::Random& random) const
    {
        for (int i = 0; i < points; ++i)
        {
            const auto face = random.Below(std::size_t{3});
            Vector point;
            for (std::size_t axis = 0; axis < 3; ++axis)
            {
                const double low = box.GetFloats()[axis];
                const double high = box.GetFloats()[axis + 3];
                const double share = i < 8          ? i >> axis & 1
                                     : axis == face ? random.Below(2)
                                                    : double{random.Between(-0.2F, 1.2F)};
                point[axis] = std::clamp(low + (high - low) * share, low, high);
            }
            if (Sees(point))
                return true;
        }
        return false;
    }

private:
    static constexpr double kTouches = 1 - 1e-9;

    // A row of the matrix, with a part of its last one added.
    Vector GetRow(std::size_t row, double part) const
    {
        const float* m = m_scene.viewProjection.GetElements() + row;
        const float* last = m_scene.viewProjection.GetElements() + 3;
        return {m[0] + part * last[0], m[4] + part * last[4], m[8] + part * last[8]};
    }
    double Project(std::size_t row, const Vector& point) const
    {
        return Dot(GetRow(row, 0), point) + m_scene.viewProjection.GetElements()[12 + row];
    }

    static bool Hides(const PrimAABB& box, const Vector& start, const Vector& way)
    {
        double enter = -1;
        double leave = 2;
        for (std::size_t axis = 0; axis < 3; ++axis)
        {
            const double a = (box.GetFloats()[axis] - start[axis]) / way[axis];
            const double b = (box.GetFloats()[axis + 3] - start[axis]) / way[axis];
            enter = std::max(enter, std::min(a, b));
            leave = std::min(leave, std::max(a, b));
        }
        return enter <= leave && enter >= 0 && enter < kTouches;
    }
    static bool Hides(const Triangle& triangle, const Vector& start, const Vector& way)
    {
        Vector corners[3];
        for (std::size_t i = 0; i < 3; ++i)
        {
            const CVector3 corner = triangle[i];
            corners[i] = {corner.x - start[0], corner.y - start[1], corner.z - start[2]};
        }
        Vector normal = {};
        double volumes[3];
        for (std::size_t i = 0; i < 3; ++i)
        {
            const Vector side = Cross(corners[i], corners[(i + 1) % 3]);
            volumes[i] = Dot(side, way);
            std::ranges::transform(normal, side, normal.begin(), std::plus());
        }
        const double at = Dot(normal, corners[0]) / Dot(normal, way);
        const auto [least, most] = std::ranges::minmax(volumes);
        return (least >= 0 || most <= 0) && at >= 0 && at < kTouches;
    }

    const Scene& m_scene;
};

PrimAABB RandomBox(test::Random& random, CVector3 middle, float reach, float size)
{
    const auto any = [&](float s)
    { return CVector3(random.Between(-s, s), random.Between(-s, s), random.Between(-s, s)); };
    const CVector3 corner = middle + any(reach);
    const CVector3 half = any(size);
    const CVector3 extent(std::abs(half.x), std::abs(half.y), std::abs(half.z));
    return {corner - extent, corner + extent};
}

CMatrix RandomView(test::Random& random, CVector3 eye, CVector3 target, float reach)
{
    CMatrix projection = CMatrix::Projection(random.Between(15, 140), random.Between(0.5F, 2.5F),
                                             reach * random.Between(0.0005F, 0.1F), reach * random.Between(1, 5));
    float* m = projection.GetElements();
    if (random.OneIn(4)) // without perspective
    {
        projection.Identity();
        m[0] = random.Between(0.5F, 3.0F) / reach;
        m[5] = random.Between(0.5F, 3.0F) / reach;
        m[10] = -random.Between(0.2F, 2.0F) / reach;
        m[14] = random.Between(-1, 1);
    }
    if (random.OneIn(4)) // mirrored
        m[0] = -m[0];
    return projection * CMatrix::View(eye, target, {0, 0, 1});
}

Scene RandomScene(std::uint64_t seed)
{
    test::Random random(seed);
    Scene scene;
    const float reach = std::pow(10.0F, random.Between(-1, 3));
    const CVector3 middle = CVector3(random.Between(-1, 1), random.Between(-1, 1), random.Between(-1, 1)) *
                            (random.OneIn(2) ? 0.0F : 300.0F * reach);
    const float size = reach * random.Between(0.05F, 0.5F);
    for (int i = 0; i < 30; ++i)
        scene.occluders.push_back(RandomBox(random, middle, reach, size));
    for (int i = 0; i < 12; ++i)
    {
        Triangle triangle;
        for (CVector3& corner : triangle)
            corner = RandomBox(random, middle, reach, size).GetMin();
        if (i % 2 == 1) // a quad's second half, flat or not
            triangle[random.Below(3)] = scene.triangles.back()[random.Below(3)];
        scene.triangles.push_back(triangle);
    }
    // Those that hide must not hide themselves, nor what looks out of them by a hair.
    scene.boxes = scene.occluders;
    for (const PrimAABB& box : scene.occluders)
    {
        const PrimAABB twin = RandomBox(random, box.GetCenter(), size * 1e-4F, 0);
        const CVector3 half = box.GetSize() * 0.5F;
        scene.boxes.emplace_back(twin.GetMin() - half, twin.GetMin() + half);
    }
    for (int i = 0; i < 250; ++i)
        scene.boxes.push_back(RandomBox(random, middle, reach * 1.5F, size * random.Between(0.001F, 0.5F)));
    const PrimAABB start = RandomBox(random, middle, reach * random.Between(0.1F, 2), 0);
    scene.eye = start.GetMin();
    scene.viewProjection = RandomView(random, scene.eye, RandomBox(random, middle, reach, 0).GetMin(), reach);
    scene.width = random.OneIn(4) ? 1 + random.Below(64) : 64 + random.Below(2000);
    scene.height = random.OneIn(4) ? 1 + random.Below(64) : 64 + random.Below(1200);
    return scene;
}

// Two rows of houses along a street with cross streets, and what lies about in and between them.
Scene MakeStreet(int houses, int boxes)
{
    test::Random random(5);
    Scene scene;
    for (int i = 0; i < houses; ++i)
    {
        const float x = static_cast<float>(i % 20) * 24.0F;
        const float y = static_cast<float>(i / 20) * 30.0F - 300.0F;
        scene.occluders.push_back({{x, y, 0}, {x + 18, y + 20, random.Between(8, 25)}});
    }
    for (int i = 0; i < boxes; ++i)
        scene.boxes.push_back(RandomBox(random, {240, 0, 2}, 300, 1));
    scene.eye = {-40, -5, 1.8F};
    scene.viewProjection =
        CMatrix::Projection(70, 16.0F / 9.0F, 0.2F, 2000.0F) * CMatrix::View(scene.eye, {100, 40, 3}, {0, 0, 1});
    return scene;
}

// With another number in one place.
PrimAABB Spoil(const PrimAABB& box, float number, test::Random& random)
{
    float values[6];
    std::copy_n(box.GetFloats(), 6, values);
    values[random.Below(6U)] = number;
    return PrimAABB(values);
}

class OcclusionSoftware : public testing::Test
{
protected:
    void Show(const Scene& scene)
    {
        m_culler->ClearOccluders();
        m_culler->SetOccluderBoxes(scene.occluders);
        std::vector<CVector3> positions;
        std::vector<std::uint32_t> indices;
        for (const Triangle& triangle : scene.triangles)
        {
            for (const CVector3& corner : triangle)
            {
                const auto known = std::find(positions.begin(), positions.end(), corner);
                indices.push_back(static_cast<std::uint32_t>(known - positions.begin()));
                if (known == positions.end())
                    positions.push_back(corner);
            }
        }
        EXPECT_TRUE(m_culler->AddOccluderTriangles(positions, indices));
        m_culler->SetResolution(scene.width, scene.height);
        SetBoxes(scene.boxes);
        Look(scene);
    }
    void SetBoxes(const std::vector<PrimAABB>& boxes)
    {
        m_culler->SetBoundingBoxes(static_cast<int>(boxes.size()), boxes.empty() ? nullptr : boxes[0].GetFloats());
    }
    void Look(const Scene& scene)
    {
        m_culler->SetFrameData(1, PrimFrustum(scene.viewProjection), scene.eye);
        m_culler->SetViewProjection(scene.viewProjection);
    }
    std::vector<int> Cull()
    {
        m_culler->DoOcclusion();
        std::vector<int> visible;
        for (int i = 0; i < m_culler->GetVisibleCount(); ++i)
            visible.push_back(m_culler->GetVisibleID(i));
        EXPECT_TRUE(std::is_sorted(visible.begin(), visible.end()));
        return visible;
    }
    static std::vector<int> FindInFrustum(const Scene& scene)
    {
        std::vector<int> found;
        const PrimFrustum frustum(scene.viewProjection);
        for (std::size_t i = 0; i < scene.boxes.size(); ++i)
            if (frustum.Test(scene.boxes[i]))
                found.push_back(static_cast<int>(i));
        return found;
    }

    renderer::CRenderer m_renderer;
    RefPtr<Culler> m_culler = new Culler(m_renderer);
};

TEST_F(OcclusionSoftware, HidesNothingThatCanBeSeen)
{
    test::Random random(1);
    int hidden = 0;
    for (std::uint64_t seed = 0; seed < 150; ++seed)
    {
        const Scene scene = RandomScene(seed);
        Show(scene);
        const Sight sight(scene);
        const std::vector<int> visible = Cull();
        for (const int i : FindInFrustum(scene))
        {
            if (std::ranges::binary_search(visible, i))
                continue;
            ++hidden;
            EXPECT_FALSE(sight.Sees(scene.boxes[static_cast<std::size_t>(i)], 40, random))
                << "box " << i << " of scene " << seed;
        }
    }
    EXPECT_GT(hidden, 5000);
}

TEST_F(OcclusionSoftware, AnswersTheSameForAnyThreadsAndInstructions)
{
    std::vector<Scene> scenes = {MakeStreet(400, 5000)};
    for (std::uint64_t seed = 1000; seed < 1020; ++seed)
        scenes.push_back(RandomScene(seed));
    std::vector<std::vector<int>> expected;
    for (const Scene& scene : scenes)
    {
        Show(scene);
        expected.push_back(Cull());
    }
    for (const char* set : Culler::GetInstructionSets())
    {
        for (const int threads : {1, 2, 3})
        {
            ASSERT_TRUE(m_culler->SetInstructionSet(set));
            m_culler->SetThreadCount(threads);
            for (std::size_t i = 0; i < scenes.size(); ++i)
            {
                Show(scenes[i]);
                EXPECT_EQ(Cull(), expected[i]) << set << ", " << threads << " threads, scene " << i;
            }
        }
    }
    EXPECT_FALSE(m_culler->SetInstructionSet("none"));
}

TEST_F(OcclusionSoftware, TestsTheFrustumAloneWithoutOccludersOrView)
{
    const Scene scene = MakeStreet(400, 3000);
    const std::vector<int> all = FindInFrustum(scene);
    SetBoxes(scene.boxes);
    Look(scene);
    EXPECT_EQ(Cull(), all);
    m_culler->SetOccluderBoxes(scene.occluders);
    EXPECT_LT(Cull().size(), all.size());
    m_culler->SetFrameData(2, PrimFrustum(scene.viewProjection), scene.eye); // the view is not known any more
    EXPECT_EQ(Cull(), all);
    m_culler->SetViewProjection(scene.viewProjection);
    EXPECT_LT(Cull().size(), all.size());
    m_culler->ClearOccluders();
    EXPECT_EQ(Cull(), all);

    EXPECT_EQ(m_culler->GetBoundingBoxCount(), 3000);
    const OcclusionBox* const record = m_culler->GetVisibleBox(0);
    EXPECT_EQ(PrimAABB(record->min), scene.boxes[static_cast<std::size_t>(all[0])]);
    EXPECT_TRUE(!record->handle && !record->user);
    m_culler->SetBoundingBoxes(-1, nullptr);
    EXPECT_TRUE(Cull().empty());
    EXPECT_EQ(m_culler->GetBoundingBoxCount(), 0);
}

// The way that the eye goes must show in the answer, as must occluders that come between.
TEST_F(OcclusionSoftware, FollowsTheViewAndTheOccluders)
{
    const PrimAABB wall({10, -20, -20}, {11, 20, 20});
    const std::vector<PrimAABB> boxes = {{{20, -1, -1}, {21, 1, 1}}, {{9, -1, -1}, {10, 1, 1}}, wall};
    const auto lookFrom = [](CVector3 eye)
    {
        Scene scene;
        scene.eye = eye;
        scene.viewProjection = CMatrix::Projection(60, 1, 0.1F, 100) * CMatrix::View(eye, {20, 0, 0}, {0, 0, 1});
        return scene;
    };
    SetBoxes(boxes);
    m_culler->SetOccluderBoxes({&wall, 1});
    Look(lookFrom({0, 0, 0}));
    EXPECT_EQ(Cull(), (std::vector{1, 2}));
    Look(lookFrom({15, 0, 0}));
    EXPECT_EQ(Cull(), std::vector{0});
    Look(lookFrom({0, 0.5F, 60}));
    EXPECT_EQ(Cull(), (std::vector{0, 1, 2}));
    Look(lookFrom({20.5F, 0, 0})); // in a box
    EXPECT_EQ(Cull().front(), 0);
    Look(lookFrom({10.5F, 0, 0})); // in the wall
    EXPECT_EQ(Cull(), (std::vector{0, 2}));

    // A quad of two triangles hides from both sides, and one alone only what lies behind it.
    m_culler->ClearOccluders();
    const CVector3 corners[] = {{11, -20, -20}, {11, 20, -20}, {11, 20, 20}, {11, -20, 20}};
    const std::uint32_t indices[] = {0, 1, 2, 0, 2, 3};
    EXPECT_TRUE(m_culler->AddOccluderTriangles(corners, {indices + 3, 3}));
    Look(lookFrom({0, 0, 0}));
    EXPECT_EQ(Cull(), (std::vector{0, 1, 2}));
    EXPECT_TRUE(m_culler->AddOccluderTriangles(corners, {indices, 3}));
    Look(lookFrom({0, 0, 0}));
    EXPECT_EQ(Cull(), (std::vector{0, 1, 2})) << "drawn one by one they leave a gap";
    m_culler->ClearOccluders();
    EXPECT_TRUE(m_culler->AddOccluderTriangles(corners, indices));
    EXPECT_EQ(Cull(), (std::vector{1, 2}));

    const std::uint32_t wrong[] = {0, 1, 4};
    const test::ExpectLog expected{"occluder mesh", "occluder mesh"};
    EXPECT_FALSE(m_culler->AddOccluderTriangles(corners, wrong));
    EXPECT_FALSE(m_culler->AddOccluderTriangles(corners, {indices, 4}));
    EXPECT_EQ(Cull(), (std::vector{1, 2}));
}

// They take nothing away from what hides or is hidden otherwise, and are hidden only when the frustum test says so.
TEST_F(OcclusionSoftware, BoxesThatAreNoNumbersHideNothing)
{
    test::Random random(3);
    for (std::uint64_t seed = 2000; seed < 2200; ++seed)
    {
        Scene scene = RandomScene(seed);
        scene.triangles.clear();
        std::vector<PrimAABB> spoiled;
        for (std::size_t i = 0; i < 10; ++i)
            spoiled.push_back(Spoil(scene.occluders[i], std::numeric_limits<float>::quiet_NaN(), random));
        scene.boxes.insert(scene.boxes.end(), spoiled.begin(), spoiled.end());
        Show(scene);
        const std::vector<int> expected = Cull();
        for (std::size_t i = scene.boxes.size() - 10; i < scene.boxes.size(); ++i)
            EXPECT_EQ(std::ranges::binary_search(expected, static_cast<int>(i)),
                      PrimFrustum(scene.viewProjection).Test(scene.boxes[i]));
        scene.occluders.insert(scene.occluders.begin() + 5, spoiled.begin(), spoiled.end());
        Show(scene);
        EXPECT_EQ(Cull(), expected);
    }
}

TEST_F(OcclusionSoftware, SurvivesHostileNumbers)
{
    test::Random random(4);
    m_culler->SetThreadCount(2);
    for (std::uint64_t seed = 2000; seed < 2200; ++seed)
    {
        Scene scene = RandomScene(seed);
        for (PrimAABB& box : scene.occluders)
            for (int i = random.Below(3); i > 0; --i)
                box = Spoil(box, random.Strange(), random);
        for (int i = 0; i < 8; ++i)
        {
            Triangle triangle;
            for (CVector3& corner : triangle)
                corner = {random.OneIn(9) ? 3.0F : random.Strange(), random.Between(-9, 9), random.Between(-9, 9)};
            scene.triangles.push_back(triangle);
        }
        for (int i = random.Below(4); i > 0; --i)
            scene.viewProjection.GetElements()[random.Below(16U)] = random.Strange();
        scene.width = random.OneIn(2) ? 1 : -5;
        Show(scene);
        Cull();
    }
    Scene scene = MakeStreet(400, 300);
    scene.width = scene.height = 16384;
    Show(scene);
    EXPECT_LT(Cull().size(), 200);
    scene.viewProjection.Identity(0);
    Show(scene);
    EXPECT_EQ(Cull(), FindInFrustum(scene));
}

TEST_F(OcclusionSoftware, AllocatesNothingInASteadyFrame)
{
    Scene scene = MakeStreet(400, 5000);
    m_culler->SetThreadCount(3);
    Show(scene);
    Cull();
    const auto frame = [&](float turn)
    {
        scene.viewProjection =
            CMatrix::Projection(70, 1.5F, 0.2F, 2000) * CMatrix::View(scene.eye, {100, turn, 3}, {0, 0, 1});
        SetBoxes(scene.boxes);
        Look(scene);
        m_culler->DoOcclusion();
    };
    frame(0);
    const std::size_t before = test::GetAllocationCount();
    for (int i = 0; i < 50; ++i)
        frame(static_cast<float>(i % 7));
    EXPECT_EQ(test::GetAllocationCount(), before);
}
} // namespace
