#include "gameengine/engine/componentRuntimeData.h"
#include "gameengine/engine/componentTransformDirect.h"
#include "gameengine/engine/entityArrayOcclusion.h"
#include "support/expectations.h"
#include "support/sceneFixture.h"
#include "tamraengine/renderer/renderer.h"

#include <map>

namespace
{
// Takes boxes one by one and sees all of them.
class Culler : public COcclusionAABBBase
{
public:
    using COcclusionAABBBase::COcclusionAABBBase;
    using COcclusionAABBBase::i_ResizeVisibleCapacity;

    OcclusionBoxHandle* AddBoundingBox(const float* box) override { return i_AppendOcclusionBox(box); }
    void RemoveBoundingBox(OcclusionBoxHandle* handle) override
    {
        moved = i_SwapEraseOcclusionBox(handle);
        i_DeallocateBoxHandle(handle);
    }
    void UpdateBoundingBox(OcclusionBoxHandle* handle, const float* box) override
    {
        ++updates;
        if (OcclusionBox* const record = GetBoundingBox(handle))
            i_SetBox(*record, box);
    }
    void DoOcclusion() override
    {
        m_visibleCount = 0;
        i_ResizeVisibleCapacity(GetBoundingBoxCount());
        for (int i = 0; i < GetBoundingBoxCount(); ++i)
            i_AddVisible(i);
    }

    bool moved = false;
    int updates = 0;
};

class Whole : public COcclusionAABBBase
{
public:
    using COcclusionAABBBase::COcclusionAABBBase;
    void DoOcclusion() override {}
};

TEST(Occlusion, HandlesStayGoodWhileBoxesAreErased)
{
    renderer::CRenderer renderer;
    const RefPtr<Culler> culler = new Culler(renderer);
    test::Random random(4);
    std::map<OcclusionBoxHandle*, float> boxes;
    OcclusionBoxHandle* released = nullptr;
    for (int step = 0; step < 3000; ++step)
    {
        const auto number = static_cast<float>(step);
        const float box[6] = {number, 0, 0, number + 1, 1, 1};
        if (boxes.empty() || random.OneIn(2))
        {
            OcclusionBoxHandle* const handle = culler->AddBoundingBox(box);
            EXPECT_TRUE(!released || handle == released) << "released last, used first";
            EXPECT_EQ(*handle, culler->GetBoundingBoxCount() - 1);
            EXPECT_TRUE(boxes.emplace(handle, number).second);
            released = nullptr;
        }
        else
        {
            const auto any = std::next(boxes.begin(), random.Below(static_cast<std::ptrdiff_t>(boxes.size())));
            const bool isLast = *any->first == culler->GetBoundingBoxCount() - 1;
            if (random.OneIn(2))
            {
                culler->UpdateBoundingBox(any->first, box);
                any->second = number;
                continue;
            }
            released = any->first;
            culler->RemoveBoundingBox(released);
            EXPECT_EQ(culler->moved, !isLast);
            boxes.erase(any);
        }
        ASSERT_EQ(culler->GetBoundingBoxCount(), static_cast<int>(boxes.size()));
        for (const auto& [handle, min] : boxes)
        {
            const OcclusionBox* const record = culler->GetBoundingBox(handle);
            ASSERT_TRUE(record && record->handle == handle && record->min[0] == min && record->max[0] == min + 1);
        }
    }
    culler->DoOcclusion();
    const int seen = culler->GetVisibleCount();
    ASSERT_GT(seen, 1);
    EXPECT_TRUE(culler->GetVisibleBox(seen - 1));
    culler->RemoveBoundingBox(culler->GetVisibleBox(0)->handle);
    EXPECT_EQ(culler->GetVisibleBox(seen - 1), nullptr) << "there are fewer boxes now";
    for (OcclusionBoxHandle outside : {100000, -1})
        EXPECT_EQ(culler->GetBoundingBox(&outside), nullptr);
    EXPECT_EQ(culler->GetBoundingBox(nullptr), nullptr);
}

TEST(Occlusion, EntitiesOfAnArrayHaveBoxesThatFollowThem)
{
    const test::Scene scene;
    renderer::CRenderer renderer;
    const RefPtr<Culler> culler = new Culler(renderer);
    auto first = scene.Spawn<ComponentRuntimeData, ComponentTransformDirect>();
    RefPtr<CEntityArray_Occlusion> binding = new CEntityArray_Occlusion(&scene.GetArray(), culler.Get());
    auto second = scene.Spawn<ComponentRuntimeData, ComponentTransformDirect>();
    scene.Spawn<ComponentRuntimeData>(); // has no place
    ASSERT_EQ(culler->GetBoundingBoxCount(), 2);

    second->Find<ComponentTransform>()->SetTransform(test::At({7, 8, 9}));
    EXPECT_EQ(culler->updates, 2) << "for either event of the transform";
    culler->DoOcclusion();
    EXPECT_EQ(culler->GetVisibleBox(1)->user, second.Get());
    EXPECT_EQ(culler->GetVisibleBox(1)->min[1], 8);

    // A transform that outlives the payload calls nobody; an entity that dies takes its box along.
    scene.GetArray().Remove(first.Get());
    ASSERT_EQ(culler->GetBoundingBoxCount(), 1);
    first->Find<ComponentTransform>()->SetTransform(test::At({7, 8, 9}));
    EXPECT_EQ(culler->updates, 2);
    EXPECT_EQ(*static_cast<Internal_Occlusion&>(*second->Find<ComponentRuntimeData>()->secondaryData).handle, 0);
    binding = nullptr;
    second->Find<ComponentTransform>()->SetTransform(CMatrix());
    EXPECT_EQ(culler->updates, 4) << "boxes outlive the binding";
    scene.GetArray().Remove(second.Get());
    second = nullptr;
    EXPECT_EQ(culler->GetBoundingBoxCount(), 0);

    // In place of the other array; an entity that is added twice has one box.
    const test::Scene other;
    binding = new CEntityArray_Occlusion(&scene.GetArray(), culler.Get());
    binding->Initialize(&other.GetArray(), culler.Get());
    scene.GetArray().Add(first.Get());
    EXPECT_EQ(culler->GetBoundingBoxCount(), 0);
    other.GetArray().Add(first.Get());
    other.GetArray().Add(first.Get());
    EXPECT_EQ(culler->GetBoundingBoxCount(), 1);
}

TEST(Occlusion, BindingsSayWhatIsMissing)
{
    const test::Scene scene;
    renderer::CRenderer renderer;
    const auto bare = scene.Spawn<ComponentTransformDirect>();
    const auto whole = scene.Make<ComponentRuntimeData, ComponentTransformDirect>();
    const RefPtr<Culler> culler = new Culler(renderer);
    testing::internal::CaptureStdout();
    const RefPtr<CEntityArray_Occlusion> binding = new CEntityArray_Occlusion(&scene.GetArray(), culler.Get());
    EXPECT_EQ(testing::internal::GetCapturedStdout(),
              "CEntityArray_Occlusion: no runtime data found on entity - this should never happen.\n");
    scene.GetArray().Remove(bare.Get());

    const std::string module = "gameengine/engine/entityArrayOcclusion ";
    {
        const test::ExpectAssertions lines{module + "61", module + "86", module + "61", module + "86", module + "87"};
        binding->Initialize(&scene.GetArray(), nullptr);
        scene.GetArray().Add(whole.Get());
        scene.GetArray().Remove(whole.Get());
        binding->Initialize(nullptr, nullptr);
        binding->i_AddObject(whole.Get());
    }
    // A culler of whole sets has no box to follow with.
    const RefPtr<Whole> sets = new Whole(renderer);
    binding->Initialize(&scene.GetArray(), sets.Get());
    scene.GetArray().Add(whole.Get());
    whole->Find<ComponentTransform>()->SetTransform(CMatrix());
    EXPECT_EQ(sets->GetBoundingBoxCount(), 0);
}
} // namespace
