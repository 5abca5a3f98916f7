#include "gameengine/engine/entityArraySpatialQuery.h"

#include "gameengine/engine/aabbGridAdvice.h"
#include "gameengine/engine/componentRuntimeData.h"
#include "gameengine/engine/componentTransformDirect.h"
#include "support/allocations.h"
#include "support/expectations.h"
#include "support/occlusionReference.h"
#include "support/sceneFixture.h"

#include <algorithm>
#include <cmath>
#include <ranges>
#include <set>

namespace
{
using collision::PrimAABB;
using Query = CEntityArray_SpatialQuery;

constexpr float kRegion[6] = {-100, -100, -20, 100, 100, 20};
constexpr float kInfinity = std::numeric_limits<float>::infinity();
constexpr float kNaN = std::numeric_limits<float>::quiet_NaN();

// Entities of all sizes, some reaching out of the region, some outside, some thin, some on the faces of cells, and a
// query that has seen some of their former places.
class SpatialQuery : public test::SceneTest
{
protected:
    void SetUp() override
    {
        m_tree->InitializeWithDynamicGrid(kRegion, 9, 11, 10);
        m_tree->AddSource(&m_array);
        for (int i = 0; i < 1500; ++i)
        {
            m_entities.push_back(m_scene.Spawn<ComponentRuntimeData, ComponentTransformDirect>());
            Move(*m_entities.back());
        }
        m_tree->Add(m_entities[7].Get()); // a second time
    }

    void Move(CEntity& entity)
    {
        float box[6];
        for (std::size_t axis = 0; axis < 3; ++axis)
        {
            box[axis] = m_random.Between(kRegion[axis] * 1.3F, kRegion[axis + 3] * 1.3F);
            if (m_random.OneIn(4))
                box[axis] = std::round(box[axis]);
            const float size = m_random.OneIn(5) ? 0.0F : m_random.Between(0.0F, m_random.OneIn(6) ? 50.0F : 5.0F);
            box[axis + 3] = box[axis] + size;
        }
        test::SetBox(entity, PrimAABB(box));
    }
    void MoveSome()
    {
        for (int i = 0; i < 40; ++i)
            Move(*m_entities[m_random.Below(m_entities.size())]);
    }
    CVector3 RandomPoint(float scale)
    {
        return {m_random.Between(-100, 100) * scale, m_random.Between(-100, 100) * scale,
                m_random.Between(-20, 20) * scale};
    }

    static const PrimAABB& BoxOf(const CEntity* entity) { return entity->Find<ComponentTransform>()->GetBoundingBox(); }

    // All filed entities whose box passes a test.
    template <class Test>
    std::set<CEntity*> BruteForce(Test test) const
    {
        std::set<CEntity*> found;
        for (const auto& entity : m_entities)
            if (!m_tree->GetGrid()->GetRange(BoxOf(entity.Get()).GetFloats()).IsEmpty() && test(BoxOf(entity.Get())))
                found.insert(entity.Get());
        return found;
    }
    static std::set<CEntity*> Set(Query::Answer answer)
    {
        std::set<CEntity*> found(answer.begin(), answer.end());
        EXPECT_EQ(found.size(), answer.size()) << "each entity once";
        return found;
    }
    // Checks an answer that comes in order of cells, and that somebody else gets the same.
    template <class Ask>
    std::set<CEntity*> Answer(Ask ask)
    {
        const Query::Answer answer = ask(m_query, m_buffer);
        Query::Buffer second;
        Query fresh(m_tree.Get());
        EXPECT_TRUE(std::ranges::equal(answer, ask(fresh, second)));
        return Set(answer);
    }

    test::Random m_random{11};
    RefPtr<CEntityArray_AccelerationTree> m_tree = new CEntityArray_AccelerationTree;
    Query m_query{m_tree.Get()};
    Query::Buffer m_buffer;
};

double Distance(const PrimAABB& box, CVector3 point)
{
    const float* values = box.GetFloats();
    const float p[3] = {point.x, point.y, point.z};
    double sum = 0;
    for (int axis = 0; axis < 3; ++axis)
    {
        const double nearest = std::clamp<double>(p[axis], values[axis], values[axis + 3]);
        sum += (nearest - static_cast<double>(p[axis])) * (nearest - static_cast<double>(p[axis]));
    }
    return std::sqrt(sum);
}

TEST_F(SpatialQuery, BoxesAndSpheresAgreeWithBruteForce)
{
    for (int round = 0; round < 150; ++round)
    {
        MoveSome();
        const CVector3 point = RandomPoint(1.4F);
        const CVector3 size(m_random.Between(0, 90), m_random.Between(0, 90), m_random.Between(0, 30));
        const PrimAABB box(point, point + size);
        EXPECT_EQ(Answer([&](Query& query, auto& buffer) { return query.InBox(box, buffer); }),
                  BruteForce([&](const PrimAABB& other) { return box.Test(other); }));

        const float radius = m_random.Between(0, 60);
        const auto found = Answer([&](Query& query, auto& buffer) { return query.InSphere(point, radius, buffer); });
        const auto within = [&](double slack)
        { return BruteForce([&](const PrimAABB& other) { return Distance(other, point) <= radius + slack; }); };
        EXPECT_TRUE(std::ranges::includes(found, within(-1e-4)) && std::ranges::includes(within(1e-4), found));
    }
}

TEST_F(SpatialQuery, AnswersFollowMovesWithinACell)
{
    m_array.Clear();
    CEntity& entity = *m_entities[0];
    const auto place = [&](float x) { test::SetBox(entity, {{x, 1, 1}, {x, 2, 2}}); };
    const auto isAt = [&](float x) { return m_query.InBox(PrimAABB({x, 0, 0}, {x, 5, 5}), m_buffer).size() == 1; };
    place(-10);
    m_array.Add(&entity);
    EXPECT_TRUE(isAt(-10));
    place(-9);
    EXPECT_TRUE(isAt(-9) && !isAt(-10));
    // Nor is a new grid, with as many changes in the cell, taken for the old one.
    for (const float x : {-8.0F, -7.0F})
    {
        m_tree->InitializeWithDynamicGrid(kRegion, 9, 11, 10);
        place(x);
        EXPECT_TRUE(isAt(x) && !isAt(x - 1));
    }
}

TEST_F(SpatialQuery, FrustaHoldWhatIsInViewAndNothingThatThePlanesTurnDown)
{
    std::size_t seen = 0;
    for (int round = 0; round < 300; ++round)
    {
        MoveSome();
        const CVector3 eye = RandomPoint(1.4F);
        const CVector3 target = RandomPoint(1.0F);
        CMatrix projectionView =
            CMatrix::Projection(m_random.Between(5, 150), m_random.Between(0.3F, 3), 0.1F, m_random.Between(5, 300)) *
            CMatrix::View(eye, target, {0, 0, 1});
        if (round % 3 == 0) // a box on faces of cells
        {
            projectionView = CMatrix();
            const float cell[3] = {9, 11, 10};
            for (std::size_t axis = 0; axis < 3; ++axis)
            {
                const float low = kRegion[axis] + cell[axis] * static_cast<float>(m_random.Below(8));
                const float half = cell[axis] * static_cast<float>(1 + m_random.Below(8)) * 0.5F;
                projectionView.GetElements()[axis * 5] = 1 / half;
                projectionView.GetElements()[12 + axis] = -(low + half) / half;
            }
        }
        const collision::PrimFrustum frustum(projectionView);
        const auto found = Answer([&](Query& query, auto& buffer) { return query.InFrustum(frustum, buffer); });
        const auto kept = BruteForce([&](const PrimAABB& box) { return frustum.Test(box); });
        // In view for certain: some point of a lattice in the box is.
        const auto visible = BruteForce(
            [&](const PrimAABB& box)
            {
                for (int i = 0; i < 125; ++i)
                {
                    const CVector3 size = box.GetSize() * 0.25F;
                    const CVector3 part(size.x * static_cast<float>(i % 5), size.y * static_cast<float>(i / 5 % 5),
                                        size.z * static_cast<float>(i / 25));
                    if (frustum.Test(box.GetMin() + part))
                        return true;
                }
                return false;
            });
        EXPECT_TRUE(std::ranges::includes(kept, found) && std::ranges::includes(found, visible));
        seen += visible.size();
    }
    EXPECT_GT(seen, 10000U);
    EXPECT_EQ(Set(m_query.InFrustum({}, m_buffer)), BruteForce([](const PrimAABB&) { return true; }));
}

TEST_F(SpatialQuery, RaysHitInOrderOfDistance)
{
    std::size_t hits = 0;
    for (int round = 0; round < 1500; ++round)
    {
        MoveSome();
        const CVector3 origin = RandomPoint(1.4F);
        CVector3 direction = RandomPoint(1.4F) - origin;
        if (round % 3 == 0) // along an axis
            direction = {0, round % 2 == 0 ? -2.0F : 0.0F, round % 2 == 0 ? 0.0F : 0.5F};
        const float reach = m_random.OneIn(3) ? kInfinity : m_random.Between(0, 200);
        const auto enter = [&](const PrimAABB& box)
        { return test::HitBox(box, origin, direction) * double{direction.Length()}; };
        const auto distance = [&](const CEntity* entity) { return enter(BoxOf(entity)); };
        const auto crossed =
            BruteForce([&](const PrimAABB& box) { return enter(box) <= std::min(double{reach}, 1e30); });
        std::vector<CEntity*> found;
        m_query.VisitAlongRay(origin, direction, reach,
                              [&](CEntity* entity, float at)
                              {
                                  EXPECT_NEAR(at, distance(entity), 1e-3);
                                  found.push_back(entity);
                                  return true;
                              });
        EXPECT_EQ(Set(found), crossed);
        const auto isNearer = [&](const CEntity* a, const CEntity* b) { return distance(a) < distance(b) - 1e-6; };
        EXPECT_TRUE(std::ranges::is_sorted(found, isNearer));
        hits += found.size();
        const auto some = m_query.AlongRay(origin, direction, reach, 3, m_buffer);
        EXPECT_TRUE(std::ranges::equal(some, found | std::views::take(3)));
    }
    EXPECT_GT(hits, 1000U);
    // Through an edge of four cells, past a box that begins there.
    m_array.Clear();
    test::SetBox(*m_entities[0], {{-91, -89, -1}, {-85, -85, 1}});
    m_array.Add(m_entities[0].Get());
    EXPECT_EQ(m_query.AlongRay({-90, -90, 0}, {-1, 1, 0}, 10, 5, m_buffer).size(), 1U);
    EXPECT_EQ(m_query.AlongRay({-92, -88, 0}, {1, -1, 0}, 10, 5, m_buffer).size(), 1U);
}

TEST_F(SpatialQuery, VisitorsMayChangeTheScene)
{
    for (std::size_t i = 0; i < 100; ++i)
    {
        const float x = static_cast<float>(i);
        test::SetBox(*m_entities[i * 3], {{x, -2, -2}, {x + 1.5F, 2, 2}});
    }
    std::size_t visited = 0;
    m_query.VisitAlongRay({-150, 0, 0}, {1, 0.01F, 0}, kInfinity,
                          [&](CEntity* entity, float)
                          {
                              ++visited;
                              const auto found = std::find(m_entities.begin(), m_entities.end(), entity);
                              EXPECT_NE(found, m_entities.end()) << "gone already";
                              // This one and the next ones in the row go for good.
                              for (int i = 0; i < 3 && m_entities.end() - found > 10; ++i)
                              {
                                  CEntity* const victim = found[i * 3].Get();
                                  m_array.Remove(victim);
                                  found[i * 3] = m_entities.back();
                                  m_entities.pop_back();
                              }
                              Move(*m_entities.front());
                              return m_entities.size() > 100;
                          });
    EXPECT_GT(visited, 10U);
    EXPECT_TRUE(m_tree->Validate());
    for (std::size_t i = 0; i < 2; ++i)
        test::SetBox(*m_entities[i], {{-90, -2, -2}, {90, 2, 2}});
    visited = 0;
    m_query.VisitAlongRay({-150, 0, 0}, {1, 0, 0}, kInfinity,
                          [&](CEntity*, float)
                          {
                              ++visited;
                              m_tree->InitializeWithDynamicGrid(kRegion, 100, 100, 100);
                              return true;
                          });
    EXPECT_EQ(visited, 1U) << "all others went with the grid";
}

TEST_F(SpatialQuery, RaysTakeInWhatTheirVisitorAddsAndMovesOnce)
{
    std::vector<RefPtr<CEntity>> added;
    const auto add = [&](float x, float size)
    {
        added.push_back(m_scene.Make<ComponentRuntimeData, ComponentTransformDirect>());
        test::SetBox(*added.back(), {{x, -2, -2}, {x + size, 2, 2}});
        m_tree->Add(added.back().Get());
    };
    m_array.Clear();
    add(-95, 1);
    m_query.InSphere({0, 0, 0}, kInfinity, m_buffer);
    std::vector<CEntity*> visited;
    m_query.VisitAlongRay({-99, 0, 0}, {1, 0, 0}, kInfinity,
                          [&](CEntity* entity, float)
                          {
                              visited.push_back(entity);
                              test::SetBox(*entity, {{50, -2, -2}, {51, 2, 2}});
                              for (float x = -50; added.size() < 50; ++x)
                                  add(x, 20);
                              return true;
                          });
    EXPECT_EQ(visited.size(), added.size());
    EXPECT_EQ(Set(visited).size(), added.size());
}

TEST_F(SpatialQuery, NearestOnesComeSorted)
{
    for (int round = 0; round < 200; ++round)
    {
        MoveSome();
        const CVector3 point = RandomPoint(round % 4 == 0 ? 5.0F : 1.1F);
        const std::size_t count = m_random.OneIn(10) ? 5000 : m_random.Below(std::size_t{30});
        const float reach = m_random.OneIn(2) ? kInfinity : m_random.Between(0, 30);
        const auto answer = m_query.Nearest(point, count, m_buffer, reach);
        std::vector<double> expected;
        for (const CEntity* entity : BruteForce([&](const PrimAABB& box) { return Distance(box, point) <= reach; }))
            expected.push_back(Distance(BoxOf(entity), point));
        std::sort(expected.begin(), expected.end());
        ASSERT_EQ(Set(answer).size(), std::min(count, expected.size()));
        for (std::size_t i = 0; i < answer.size(); ++i)
            EXPECT_NEAR(Distance(BoxOf(answer[i]), point), expected[i], 1e-4);

        // Every other one of them all, and perhaps more that are farther away.
        const auto isOdd = [](const CEntity* entity) { return entity->GetSerial() % 2 == 1; };
        std::vector<CEntity*> wanted(answer.begin(), answer.end());
        std::erase_if(wanted, [&](const CEntity* entity) { return !isOdd(entity); });
        const auto odd = m_query.NearestOf(point, count, m_buffer, reach, isOdd);
        EXPECT_TRUE(std::ranges::equal(odd | std::views::take(wanted.size()), wanted));
    }
    // At the same distance, the one that the tree got first.
    m_array.Clear();
    CEntity* const three[] = {m_entities[9].Get(), m_entities[3].Get(), m_entities[5].Get()};
    for (CEntity* entity : three)
    {
        test::SetBox(*entity, {{5, 5, 5}, {6, 6, 6}});
        m_array.Add(entity);
    }
    const auto two = m_query.Nearest({0, 0, 0}, 2, m_buffer);
    EXPECT_TRUE(std::ranges::equal(two, three | std::views::take(2)));
    const auto hit = m_query.AlongRay({5.5F, 5.5F, 0}, {0, 0, 1}, 10, 3, m_buffer);
    EXPECT_TRUE(std::ranges::equal(hit, three));
}

TEST_F(SpatialQuery, StrangeQuestionsHaveNoAnswerOrAll)
{
    const auto all = BruteForce([](const PrimAABB&) { return true; });
    EXPECT_EQ(Set(m_query.InBox(PrimAABB({-kInfinity, -1e30F, -3e38F}, {kInfinity, 1e30F, 3e38F}), m_buffer)), all);
    EXPECT_EQ(Set(m_query.InSphere({0, 0, 0}, kInfinity, m_buffer)), all);
    EXPECT_GE(m_query.GetLastCandidateCount(), all.size());
    EXPECT_TRUE(m_query.InBox(PrimAABB({0, 0, kNaN}, {1, 1, 1}), m_buffer).empty());
    EXPECT_TRUE(m_query.InBox(PrimAABB({50, 0, 0}, {-50, 50, 50}), m_buffer).empty());
    EXPECT_TRUE(m_query.InSphere({0, kNaN, 0}, 5, m_buffer).empty());
    EXPECT_TRUE(m_query.InSphere({0, 0, 0}, -1, m_buffer).empty());
    EXPECT_TRUE(m_query.AlongRay({0, 0, 0}, {0, 0, 0}, 100, 10, m_buffer).empty());
    EXPECT_TRUE(m_query.AlongRay({0, 0, 0}, {1, kNaN, 0}, 100, 10, m_buffer).empty());
    EXPECT_TRUE(m_query.AlongRay({0, 0, 0}, {1, 0, 0}, kNaN, 10, m_buffer).empty());
    EXPECT_TRUE(m_query.AlongRay({0, 0, 0}, {1, 0, 0}, 100, 0, m_buffer).empty());
    EXPECT_TRUE(m_query.Nearest({kInfinity, 0, 0}, 5, m_buffer).empty());
    EXPECT_TRUE(m_query.Nearest({0, 0, 0}, 5, m_buffer, kNaN).empty());
    for (int i = 0; i < 500; ++i)
    {
        CMatrix matrix = CMatrix::Projection(90, 1, 0.1F, 100);
        matrix.GetElements()[m_random.Below(16U)] = m_random.Strange();
        m_query.InFrustum(collision::PrimFrustum(matrix), m_buffer);
    }

    // Without a grid, and after a new one.
    Query none(nullptr);
    EXPECT_TRUE(none.InSphere({0, 0, 0}, kInfinity, m_buffer).empty());
    m_tree->InitializeWithDynamicGrid(kRegion, 50, 50, 50);
    EXPECT_TRUE(m_query.InSphere({0, 0, 0}, kInfinity, m_buffer).empty());
    m_tree->Refresh();
    MoveSome();
    EXPECT_FALSE(m_query.InSphere({0, 0, 0}, kInfinity, m_buffer).empty());
}

TEST_F(SpatialQuery, AdvisedGridsSuitTheirBoxes)
{
    std::vector<PrimAABB> boxes;
    for (const auto& entity : m_entities)
        boxes.push_back(BoxOf(entity.Get()));
    boxes.push_back(PrimAABB({kNaN, 0, 0}, {1, 1, 1}));
    boxes.push_back(PrimAABB({-kInfinity, 0, 0}, {1, 1, 1}));
    const AABBGridAdvice advice = AdviseGrid(boxes);
    EXPECT_EQ(advice.bounds, AdviseGrid(m_array).bounds);
    CAABBDynamicGrid grid(advice.bounds.GetFloats(), advice.cellSize.x, advice.cellSize.y, advice.cellSize.z);
    for (std::size_t i = 0; i < m_entities.size(); ++i)
    {
        EXPECT_FALSE(grid.GetRange(boxes[i].GetFloats()).IsEmpty());
        grid.AddObject(boxes[i].GetFloats(), &boxes[i]);
    }
    EXPECT_LT(grid.GetTotalCellCount(), m_entities.size());
    EXPECT_LT(grid.GetEntryCount(), m_entities.size() * 4);

    // As many whole cells as the boxes are wide together, and one without extent at their end.
    std::vector<PrimAABB> row(100, PrimAABB({0, 0, 0}, {5, 5, 5}));
    row.push_back(PrimAABB({100, 0, 0}, {100, 5, 5}));
    const AABBGridAdvice whole = AdviseGrid(row);
    EXPECT_EQ(whole.cellSize.x, 10.0F);
    EXPECT_FALSE(CAABBDynamicGrid(whole.bounds.GetFloats(), 10, 10, 10).GetRange(row.back().GetFloats()).IsEmpty());

    // One box, none, points, a plane, a world that is not to scale.
    for (const PrimAABB& box : {PrimAABB({1, 2, 3}, {4, 5, 6}), PrimAABB({kNaN, 2, 3}, {4, 5, 6}),
                                PrimAABB({5, 5, 5}, {5, 5, 5}), PrimAABB({-5e6F, 5e6F, 5e3F}, {-5e6F, 5e6F, 5e3F}),
                                PrimAABB({-9e5F, -9e5F, 7}, {9e5F, 9e5F, 7}), PrimAABB({-3e38F, 0, 0}, {3e38F, 1, 1})})
    {
        const AABBGridAdvice one = AdviseGrid({&box, 1});
        const CAABBDynamicGrid small(one.bounds.GetFloats(), one.cellSize.x, one.cellSize.y, one.cellSize.z);
        EXPECT_GE(small.GetTotalCellCount(), 1U);
        EXPECT_LE(small.GetTotalCellCount(), 8U);
        EXPECT_TRUE(!(std::abs(box.GetMin().x) < 1e30F) || !small.GetRange(box.GetFloats()).IsEmpty());
    }
}

TEST_F(SpatialQuery, ASteadyFrameAllocatesNothing)
{
    const auto frame = [&]
    {
        for (int i = 0; i < 20; ++i)
        {
            m_query.InFrustum({}, m_buffer);
            m_query.InSphere({0, 0, 0}, 50, m_buffer);
            m_query.Nearest({1, 2, 3}, 10, m_buffer);
            m_query.AlongRay({-90, 0, 0}, {1, 0, 0}, 200, 50, m_buffer);
            // To and fro, so that each cell has seen its largest crowd.
            for (std::size_t k = 0; k < 50; ++k)
                m_entities[k]->Find<ComponentTransform>()->SetTransform(test::At({i % 2 == 0 ? 30.0F : 0.0F, 0, 0}));
        }
    };
    frame();
    const std::size_t before = test::GetAllocationCount();
    frame();
    EXPECT_EQ(test::GetAllocationCount(), before);
}
} // namespace
