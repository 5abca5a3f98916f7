#include "gameengine/engine/entityArrayAccelerationTree.h"

#include "gameengine/engine/componentRuntimeData.h"
#include "gameengine/engine/componentTransformDirect.h"
#include "support/expectations.h"
#include "support/sceneFixture.h"

#include <map>

namespace
{
using Tree = CEntityArray_AccelerationTree;

constexpr float kRegion[6] = {0, 0, 0, 100, 100, 20};

RefPtr<Tree> MakeTree()
{
    RefPtr<Tree> tree = new Tree;
    tree->InitializeWithDynamicGrid(kRegion, 10, 10, 10);
    return tree;
}

void Place(CEntity& entity, float x, float y, float size = 1.0F)
{
    entity.Find<ComponentTransform>()->SetTransform(test::At({x, y, 0}));
    test::SetBox(entity, {{0, 0, 0}, {size, size, 1}});
}

class AccelerationTree : public test::SceneTest
{
protected:
    RefPtr<CEntity> Make(float x, float y, float size = 1.0F) const
    {
        auto entity = m_scene.Make<ComponentRuntimeData, ComponentTransformDirect>();
        Place(*entity, x, y, size);
        return entity;
    }

    RefPtr<Tree> m_tree = MakeTree();
};

// What a walk meets in order of cells, every time or once each.
std::vector<CEntity*> Walk(Tree& tree, float minX, float minY, float maxX, float maxY, bool once)
{
    struct Visit : CAABBDynamicGrid::walkCallback
    {
        bool once;
        std::vector<CEntity*> entities;
    } visit;
    visit.once = once;
    visit.function = [](CAABBDynamicGrid::walkCallback* callback, CAABBDynamicGridCell* cell)
    {
        auto* v = static_cast<Visit*>(callback);
        for (const auto* link = cell->objects; link; link = link->next)
        {
            if (CEntity* entity = v->once ? Tree::GetEntityFromTreeObject_Once(link->object)
                                          : Tree::GetEntityFromTreeObject(link->object))
                v->entities.push_back(entity);
        }
    };
    const float box[6] = {minX, minY, 0, maxX, maxY, 1};
    tree.GetGrid()->WalkAABBOnlyFilled(box, visit);
    EXPECT_TRUE(tree.Validate());
    return visit.entities;
}

TEST_F(AccelerationTree, FollowsItsSources)
{
    const auto before = Make(1, 1);
    m_array.Add(before.Get());
    m_tree->AddSource(&m_array);
    const auto entity = Make(1, 1);
    m_array.Add(entity.Get());
    m_array.Add(m_scene.Make<ComponentRuntimeData>().Get());
    EXPECT_EQ(Walk(*m_tree, 0, 0, 100, 100, false), std::vector{entity.Get()});

    // Slots are not used again.
    const std::int32_t slot = entity->Find<ComponentRuntimeData>()->index;
    m_array.Remove(entity.Get());
    EXPECT_EQ(m_tree->GetEntityCount(), 0U);
    EXPECT_TRUE(Walk(*m_tree, 0, 0, 100, 100, false).empty());
    m_array.Add(entity.Get());
    EXPECT_EQ(entity->Find<ComponentRuntimeData>()->index, slot + 1);
    EXPECT_EQ(m_tree->GetSlotCount(), 2U);
}

TEST_F(AccelerationTree, ASecondAddIsFiledAgainAndRemoveLeavesNothing)
{
    auto entity = Make(5, 5);
    m_tree->Add(entity.Get());
    m_tree->Add(entity.Get());
    EXPECT_EQ(Walk(*m_tree, 0, 0, 9, 9, false).size(), 2U);
    Place(*entity, 50, 50); // takes one along
    EXPECT_EQ(Walk(*m_tree, 0, 0, 100, 100, false).size(), 2U);
    m_tree->Remove(entity.Get());
    EXPECT_TRUE(Walk(*m_tree, 0, 0, 100, 100, false).empty());
    Place(*entity, 20, 20);
    EXPECT_TRUE(entity->Find<ComponentTransform>()->Events().Empty());
    m_tree->Remove(entity.Get());

    // An entity may die while it is tracked, even twice.
    m_tree->Add(entity.Get());
    m_tree->Add(entity.Get());
    Place(*entity, 70, 70);
    entity = nullptr;
    EXPECT_EQ(m_tree->GetEntityCount(), 0U);
    EXPECT_TRUE(Walk(*m_tree, 0, 0, 100, 100, false).empty());

    // Nor do those who hear of its death enter it once more.
    m_tree->AddSource(&m_array);
    entity = Make(5, 5);
    m_log.Listen(entity->Events(), "entity",
                 [&](const EventMessage& message)
                 {
                     if (message.id != CEntity::kDestroyed)
                         return;
                     m_tree->Add(test::GetEntity(message));
                     m_array.Add(test::GetEntity(message));
                     m_array.Remove(test::GetEntity(message));
                 });
    entity = nullptr;
    EXPECT_EQ(m_log.Take().front(), "entity 2");
    EXPECT_EQ(m_tree->GetEntityCount(), 0U);
}

TEST_F(AccelerationTree, OutlivesAndIsOutlivedByWhatItFollows)
{
    RefPtr<CEntity> entity;
    {
        const test::Scene scene;
        m_tree->AddSource(&scene.GetArray());
        scene.Spawn<ComponentRuntimeData, ComponentTransformDirect>();
        entity = scene.Spawn<ComponentRuntimeData, ComponentTransformDirect>();
    }
    EXPECT_EQ(m_tree->GetEntityCount(), 0U) << "an array that dies removes its entities";
    m_tree->Add(entity.Get());
    m_tree->AddSource(&m_array);
    m_tree = nullptr;
    Place(*entity, 50, 50);
    m_array.Add(entity.Get());
    EXPECT_TRUE(entity->Events().Empty() && entity->Find<ComponentTransform>()->Events().Empty());

    // Two trees: the one that got the entity last follows it, both forget it when it dies.
    const auto first = MakeTree();
    const auto second = MakeTree();
    auto shared = Make(5, 5);
    const auto other = Make(6, 6);
    first->Add(shared.Get());
    second->Add(other.Get());
    second->Add(shared.Get());
    Place(*shared, 50, 50);
    EXPECT_EQ(Walk(*first, 0, 0, 9, 9, false).size(), 1U);
    EXPECT_EQ(Walk(*second, 50, 50, 59, 59, false).size(), 1U);
    first->Remove(shared.Get());
    shared = nullptr;
    EXPECT_EQ(first->GetEntityCount() + second->GetEntityCount(), 1U);
    EXPECT_TRUE(Walk(*first, 0, 0, 100, 100, false).empty());
}

TEST_F(AccelerationTree, MisuseIsReportedAndHarmless)
{
    m_tree = new Tree;
    const auto entity = Make(5, 5);
    {
        const std::string module = "gameengine/engine/entityArrayAccelerationTree ";
        const test::ExpectAssertions lines{module + "203", module + "93", module + "122", module + "93"};
        m_tree->AddSource(&m_array);
        m_tree->Add(entity.Get());
        EXPECT_EQ(m_tree->GetSlotCount(), 1U);
        m_tree->Remove(entity.Get());
        m_tree->Add(entity.Get());
    }
    m_tree->InitializeWithDynamicGrid(kRegion, 10, 10, 10);
    EXPECT_TRUE(Walk(*m_tree, 0, 0, 100, 100, false).empty()) << "was added before there was a grid";
    Place(*entity, 25, 25);
    EXPECT_EQ(Walk(*m_tree, 0, 0, 100, 100, false).size(), 1U);
    m_tree->InitializeWithDynamicGrid(m_tree->GetGrid()->GetBounds().GetFloats(), 5, 5, 5); // of the grid that goes
    EXPECT_EQ(m_tree->GetGrid()->GetBounds().GetMax(), CVector3(kRegion[3], kRegion[4], kRegion[5]));
    m_tree->Remove(entity.Get());

    const auto bare = m_scene.Make<ComponentTransformDirect>();
    const test::ExpectLog log{"ComponentRuntimeData"};
    m_tree->Add(bare.Get());
    m_tree->Remove(bare.Get());
    m_tree->i_Update(bare.Get());
    m_tree->Add(nullptr);
    m_tree->Remove(nullptr);
    EXPECT_EQ(m_tree->GetEntityCount(), 0U);
}

TEST_F(AccelerationTree, AnOctreeServesAsIndex)
{
    m_tree = new Tree;
    m_tree->InitializeWithOctree(collision::PrimAABB({-64, -64, -64}, {64, 64, 64}), 200, 16, 3, 4);
    EXPECT_EQ(m_tree->GetGrid(), nullptr);
    m_tree->AddSource(&m_array);
    for (int i = 0; i < 4; ++i)
        m_array.Add(m_entities.emplace_back(Make(static_cast<float>(i), 1)).Get());
    Place(*m_entities[0], 20, 20);
    m_array.Remove(m_entities[1].Get());
    EXPECT_TRUE(m_tree->Validate());
    m_array.Add(m_entities[1].Get());
    // Splits: everything is handed to the leaves around the origin, where the last one to come is not.
    m_tree->Add(m_entities.emplace_back(Make(-1, -1, 2)).Get());
    EXPECT_TRUE(m_tree->Validate());
    m_entities.pop_back(); // reaches leaves at the origin alone; what the others hold of it goes too
    EXPECT_TRUE(m_tree->Validate());
    EXPECT_EQ(m_tree->GetEntityCount(), 4U);
    EXPECT_DEATH(Place(*m_entities[0], 30, 30), "^$") << "the split has mislaid it";
    for (const auto& entity : m_entities)
        m_tree->Add(entity.Get()); // where they are, so that removing finds them
}

TEST_F(AccelerationTree, RefreshFindsWhatMovedUnfollowed)
{
    for (int i = 0; i < 20; ++i)
        m_tree->Add(m_entities.emplace_back(Make(static_cast<float>(i), 5)).Get());
    m_tree->SetFollowMoves(false);
    for (int i = 0; i < 10; ++i)
        Place(*m_entities[static_cast<std::size_t>(i)], 50, 50);
    EXPECT_EQ(Walk(*m_tree, 50, 50, 59, 59, false).size(), 0U);
    CEntity* const some[] = {m_entities[3].Get(), m_entities[15].Get(), nullptr};
    EXPECT_EQ(m_tree->Refresh(some), 1U);
    EXPECT_EQ(m_tree->Refresh(), 9U);
    EXPECT_EQ(Walk(*m_tree, 50, 50, 59, 59, false).size(), 10U);
    Place(*m_entities[19], 50, 50);
    m_tree->SetFollowMoves(true);
    Place(*m_entities[18], 50, 50);
    EXPECT_EQ(Walk(*m_tree, 50, 50, 59, 59, false).size(), 12U);
    EXPECT_EQ(m_tree->Refresh(), 0U);
}

TEST_F(AccelerationTree, StaysSoundOverAMillionSteps)
{
    m_tree->AddSource(&m_array);
    test::Random random(3);
    std::vector<RefPtr<CEntity>> entities(300);
    const auto isIn = [&](const RefPtr<CEntity>& entity) { return m_array.Contains(entity.Get()); };
    for (int step = 0; step < 1000000; ++step)
    {
        auto& entity = entities[random.Below(entities.size())];
        if (!entity)
            entity = Make(random.Between(-20, 120), random.Between(-20, 120), random.Between(0, 15));
        else if (random.OneIn(20))
            isIn(entity) ? m_array.Remove(entity.Get()) : m_array.Add(entity.Get());
        else if (random.OneIn(50))
        {
            if (isIn(entity))
                m_array.Remove(entity.Get());
            entity = nullptr;
        }
        else
            Place(*entity, random.Between(-20, 120), random.Between(-20, 120), random.Between(0, 15));
        if (step % 5000 != 0)
            continue;
        ASSERT_TRUE(m_tree->Validate());
        std::map<CEntity*, int> seen;
        Tree::IncrementOnceCounter();
        for (CEntity* found : Walk(*m_tree, -100, -100, 200, 200, true))
            ++seen[found];
        for (const auto& known : entities)
        {
            const float* box = known ? known->Find<ComponentTransform>()->GetBoundingBox().GetFloats() : nullptr;
            const bool isFiled = known && isIn(known) && box[0] < 100 && box[1] < 100 && box[3] > -10 && box[4] > -10;
            ASSERT_EQ(seen[known.Get()], isFiled ? 1 : 0);
        }
        ASSERT_TRUE(Walk(*m_tree, -100, -100, 200, 200, true).empty()) << "once for each increment";
    }
}
} // namespace
