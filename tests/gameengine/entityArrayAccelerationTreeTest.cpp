#include "gameengine/engine/entityArrayAccelerationTree.h"

#include "gameengine/engine/componentRuntimeData.h"
#include "gameengine/engine/componentTransformDirect.h"
#include "support/expectations.h"
#include "support/sceneFixture.h"

#include <algorithm>
#include <map>

#include <gtest/gtest.h>

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
    const float box[6] = {0, 0, 0, size, size, 1};
    auto* transform = entity.Find<ComponentTransform>();
    CMatrix matrix;
    matrix.SetTranslation({x, y, 0});
    transform->SetTransform(matrix);
    transform->SetUntransformedBoundingBox(box);
}

RefPtr<CEntity> Make(const test::Scene& scene, float x, float y, float size = 1.0F)
{
    auto entity = scene.Make<ComponentRuntimeData, ComponentTransformDirect>();
    Place(*entity, x, y, size);
    return entity;
}

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

TEST(AccelerationTree, WalksReportEachEntityOncePerIncrement)
{
    const test::Scene scene;
    const auto tree = MakeTree();
    const auto wide = Make(scene, 5, 5, 20); // in 9 cells
    const auto small = Make(scene, 11, 11);
    tree->Add(wide.Get());
    tree->Add(small.Get());
    EXPECT_EQ(Walk(*tree, 0, 0, 100, 100, false).size(), 10U);
    Tree::IncrementOnceCounter();
    EXPECT_EQ(Walk(*tree, 0, 0, 100, 100, true), (std::vector{wide.Get(), small.Get()}));
    EXPECT_TRUE(Walk(*tree, 0, 0, 100, 100, true).empty());
    Tree::IncrementOnceCounter();
    EXPECT_EQ(Walk(*tree, 11, 11, 12, 12, true), (std::vector{small.Get(), wide.Get()})) << "filed last, listed first";
}

TEST(AccelerationTree, FollowsItsSources)
{
    const test::Scene scene;
    CEntityArray& array = scene.GetArray();
    const auto before = Make(scene, 1, 1);
    array.Add(before.Get());
    const auto tree = MakeTree();
    tree->AddSource(&array);
    const auto entity = Make(scene, 1, 1);
    const auto bare = scene.Make<ComponentRuntimeData>();
    array.Add(entity.Get());
    array.Add(bare.Get());
    EXPECT_EQ(Walk(*tree, 0, 0, 100, 100, false), std::vector{entity.Get()});

    // Moves come with event 1 of the transform; event 0 alone changes nothing.
    auto* transform = entity->Find<ComponentTransform>();
    const variant self(static_cast<CEntityComponent*>(transform), "CEntityComponent");
    transform->GetBoundingBox() = collision::PrimAABB({50, 50, 0}, {51, 51, 1});
    transform->Events().Raise(0, self, variant(0));
    EXPECT_EQ(Walk(*tree, 0, 0, 9, 9, false).size(), 1U);
    transform->Events().Raise(1, self, variant(0));
    EXPECT_TRUE(Walk(*tree, 0, 0, 9, 9, false).empty());
    EXPECT_EQ(Walk(*tree, 50, 50, 59, 59, false).size(), 1U);

    // Slots are not used again.
    const std::int32_t slot = entity->Find<ComponentRuntimeData>()->index;
    array.Remove(entity.Get());
    EXPECT_EQ(tree->GetEntityCount(), 0U);
    EXPECT_TRUE(Walk(*tree, 0, 0, 100, 100, false).empty());
    array.Add(entity.Get());
    EXPECT_EQ(entity->Find<ComponentRuntimeData>()->index, slot + 1);
    EXPECT_EQ(tree->GetSlotCount(), 2U);
}

TEST(AccelerationTree, ASecondAddIsFiledAgainAndRemoveLeavesNothing)
{
    const test::Scene scene;
    const auto tree = MakeTree();
    auto entity = Make(scene, 5, 5);
    tree->Add(entity.Get());
    tree->Add(entity.Get());
    EXPECT_EQ(Walk(*tree, 0, 0, 9, 9, false).size(), 2U);
    Place(*entity, 50, 50); // takes one along
    EXPECT_EQ(Walk(*tree, 0, 0, 100, 100, false).size(), 2U);
    tree->Remove(entity.Get());
    EXPECT_TRUE(Walk(*tree, 0, 0, 100, 100, false).empty());
    Place(*entity, 20, 20);
    EXPECT_TRUE(entity->Find<ComponentTransform>()->Events().Empty());
    tree->Remove(entity.Get());

    // An entity may die while it is tracked, even twice.
    tree->Add(entity.Get());
    tree->Add(entity.Get());
    Place(*entity, 70, 70);
    entity = nullptr;
    EXPECT_EQ(tree->GetEntityCount(), 0U);
    EXPECT_TRUE(Walk(*tree, 0, 0, 100, 100, false).empty());

    // Nor do those who hear of its death enter it once more.
    tree->AddSource(&scene.GetArray());
    entity = Make(scene, 5, 5);
    test::EventLog log;
    log.Listen(entity->Events(), "entity",
               [&](const EventMessage& message)
               {
                   if (message.id != CEntity::kDestroyed)
                       return;
                   auto* dying = message.first.GetObjectPointer<CEntity>("CEntity");
                   tree->Add(dying);
                   scene.GetArray().Add(dying);
               });
    entity = nullptr;
    EXPECT_EQ(log.Take().front(), "entity 2");
    EXPECT_EQ(tree->GetEntityCount(), 0U);
}

TEST(AccelerationTree, OutlivesAndIsOutlivedByWhatItFollows)
{
    auto tree = MakeTree();
    RefPtr<CEntity> entity;
    {
        const test::Scene scene;
        tree->AddSource(&scene.GetArray());
        entity = Make(scene, 5, 5);
        scene.GetArray().Add(entity.Get());
        scene.GetArray().Add(Make(scene, 7, 7).Get());
    }
    EXPECT_EQ(tree->GetEntityCount(), 0U) << "an array that dies removes its entities";
    tree->Add(entity.Get());
    const test::Scene scene;
    tree->AddSource(&scene.GetArray());
    tree = nullptr;
    Place(*entity, 50, 50);
    scene.GetArray().Add(entity.Get());
    EXPECT_TRUE(entity->Events().Empty() && entity->Find<ComponentTransform>()->Events().Empty());

    // Two trees: the one that got the entity last follows it, both forget it when it dies.
    const auto first = MakeTree();
    const auto second = MakeTree();
    auto shared = Make(scene, 5, 5);
    const auto other = Make(scene, 6, 6);
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

TEST(AccelerationTree, MisuseIsReportedAndHarmless)
{
    const test::Scene scene;
    const RefPtr<Tree> tree = new Tree;
    const auto entity = Make(scene, 5, 5);
    {
        const std::string module = "gameengine/engine/entityArrayAccelerationTree ";
        const test::ExpectAssertions lines{module + "203", module + "93", module + "122", module + "93"};
        tree->AddSource(&scene.GetArray());
        tree->Add(entity.Get());
        EXPECT_EQ(tree->GetSlotCount(), 1U);
        tree->Remove(entity.Get());
        tree->Add(entity.Get());
    }
    tree->InitializeWithDynamicGrid(kRegion, 10, 10, 10);
    EXPECT_TRUE(Walk(*tree, 0, 0, 100, 100, false).empty()) << "was added before there was a grid";
    Place(*entity, 25, 25);
    EXPECT_EQ(Walk(*tree, 0, 0, 100, 100, false).size(), 1U);
    tree->InitializeWithDynamicGrid(tree->GetGrid()->GetBounds().GetFloats(), 5, 5, 5); // of the grid that goes
    EXPECT_EQ(tree->GetGrid()->GetBounds().GetMax(), CVector3(kRegion[3], kRegion[4], kRegion[5]));
    tree->Remove(entity.Get());

    const auto bare = scene.Make<ComponentTransformDirect>();
    const test::ExpectLog log{"ComponentRuntimeData"};
    tree->Add(bare.Get());
    tree->Remove(bare.Get());
    tree->i_Update(bare.Get());
    tree->Add(nullptr);
    tree->Remove(nullptr);
    EXPECT_EQ(tree->GetEntityCount(), 0U);
}

TEST(AccelerationTree, AnOctreeServesAsIndex)
{
    const test::Scene scene;
    const RefPtr<Tree> tree = new Tree;
    tree->InitializeWithOctree(collision::PrimAABB({-64, -64, -64}, {64, 64, 64}), 200, 16, 3, 4);
    EXPECT_EQ(tree->GetGrid(), nullptr);
    tree->AddSource(&scene.GetArray());
    std::vector<RefPtr<CEntity>> entities;
    for (int i = 0; i < 4; ++i)
        scene.GetArray().Add(entities.emplace_back(Make(scene, static_cast<float>(i), 1)).Get());
    Place(*entities[0], 20, 20);
    scene.GetArray().Remove(entities[1].Get());
    EXPECT_TRUE(tree->Validate());
    scene.GetArray().Add(entities[1].Get());
    // Splits: everything is handed to the leaves around the origin, where the last one to come is not.
    tree->Add(entities.emplace_back(Make(scene, -1, -1, 2)).Get());
    EXPECT_TRUE(tree->Validate());
    entities.pop_back(); // reaches leaves at the origin alone; what the others hold of it goes too
    EXPECT_TRUE(tree->Validate());
    EXPECT_EQ(tree->GetEntityCount(), 4U);
    EXPECT_DEATH(Place(*entities[0], 30, 30), "^$") << "the split has mislaid it";
    for (const auto& entity : entities)
        tree->Add(entity.Get()); // where they are, so that removing finds them
}

TEST(AccelerationTree, RefreshFindsWhatMovedUnfollowed)
{
    const test::Scene scene;
    const auto tree = MakeTree();
    std::vector<RefPtr<CEntity>> entities;
    for (int i = 0; i < 20; ++i)
        tree->Add(entities.emplace_back(Make(scene, static_cast<float>(i), 5)).Get());
    tree->SetFollowMoves(false);
    for (int i = 0; i < 10; ++i)
        Place(*entities[static_cast<std::size_t>(i)], 50, 50);
    EXPECT_EQ(Walk(*tree, 50, 50, 59, 59, false).size(), 0U);
    CEntity* const some[] = {entities[3].Get(), entities[15].Get(), nullptr};
    EXPECT_EQ(tree->Refresh(some), 1U);
    EXPECT_EQ(tree->Refresh(), 9U);
    EXPECT_EQ(Walk(*tree, 50, 50, 59, 59, false).size(), 10U);
    Place(*entities[19], 50, 50);
    tree->SetFollowMoves(true);
    Place(*entities[18], 50, 50);
    EXPECT_EQ(Walk(*tree, 50, 50, 59, 59, false).size(), 12U);
    EXPECT_EQ(tree->Refresh(), 0U);
}

TEST(AccelerationTree, StaysSoundOverAMillionSteps)
{
    const test::Scene scene;
    const auto tree = MakeTree();
    tree->AddSource(&scene.GetArray());
    test::Random random(3);
    std::vector<RefPtr<CEntity>> entities(300);
    const auto isIn = [&](const RefPtr<CEntity>& entity) { return scene.GetArray().Contains(entity.Get()); };
    for (int step = 0; step < 1000000; ++step)
    {
        auto& entity = entities[random.Below(entities.size())];
        if (!entity)
            entity = Make(scene, random.Between(-20, 120), random.Between(-20, 120), random.Between(0, 15));
        else if (random.OneIn(20))
            isIn(entity) ? scene.GetArray().Remove(entity.Get()) : scene.GetArray().Add(entity.Get());
        else if (random.OneIn(50))
        {
            if (isIn(entity))
                scene.GetArray().Remove(entity.Get());
            entity = nullptr;
        }
        else
            Place(*entity, random.Between(-20, 120), random.Between(-20, 120), random.Between(0, 15));
        if (step % 5000 != 0)
            continue;
        ASSERT_TRUE(tree->Validate());
        std::map<CEntity*, int> seen;
        Tree::IncrementOnceCounter();
        for (CEntity* found : Walk(*tree, -100, -100, 200, 200, true))
            ++seen[found];
        for (const auto& known : entities)
        {
            const float* box = known ? known->Find<ComponentTransform>()->GetBoundingBox().GetFloats() : nullptr;
            const bool isFiled = known && isIn(known) && box[0] < 100 && box[1] < 100 && box[3] > -10 && box[4] > -10;
            ASSERT_EQ(seen.count(known.Get()), isFiled ? 1U : 0U);
        }
    }
}
} // namespace
