#include "gameengine/engine/interfaceCVX.h"
#include "support/expectations.h"
#include "support/sceneFixture.h"

#include <limits>

#include <gmock/gmock.h>

using testing::ElementsAre;

namespace
{
TEST(InterfaceCollection, ReportsWhatIsMissing)
{
    const RefPtr<CInterfaceCollection> collection(new CInterfaceCollection);
    {
        const std::string line = "gameengine/engine/interfaceCollection 26";
        test::ExpectAssertions lines{line, line, line};
        EXPECT_EQ(collection->GetArrayManager(), nullptr);
        EXPECT_EQ(collection->GetUpdateEvent(), nullptr);
        EXPECT_EQ(collection->GetCVX(), nullptr);
    }
    const RefPtr<CInterfaceBase> service(new CInterfaceCVX);
    for (const std::int32_t slot : {-1, 128, std::numeric_limits<std::int32_t>::min(), 127})
    {
        collection->SetInterface(slot, service.Get());
        EXPECT_EQ(collection->GetInterface(slot), slot == 127 ? service.Get() : nullptr);
    }
    EXPECT_EQ(service->GetReferenceCount(), 2);
    collection->SetInterface(CInterfaceUpdateEvent::TYPEID(), service.Get());
    EXPECT_EQ(collection->GetUpdateEvent(), nullptr) << "something else stands in the slot";
    collection->SetInterface(CInterfaceCVX::TYPEID(), service.Get());
    EXPECT_EQ(collection->GetCVX(), service.Get());
    collection->Cleanup();
    EXPECT_EQ(service->GetReferenceCount(), 1);
}

TEST(InterfaceCollection, CleanupEndsTheCircleOfReferences)
{
    const std::int32_t live = CEntity::GetLiveCount();
    const RefPtr<CEntityArray> array(new CEntityArray);
    auto* const collection = new CInterfaceCollection;
    collection->SetInterface(CInterfaceArrayManager::TYPEID(), new CInterfaceArrayManager(array.Get()));
    CInterfaceArrayManager* const manager = collection->GetArrayManager();
    EXPECT_EQ(manager->GetArray(), array.Get());
    for (int i = 0; i < 3; ++i)
        manager->AddEntity(new CEntity(collection));
    manager->RemoveEntity(array->Get(1));
    EXPECT_EQ(CEntity::GetLiveCount(), live + 2);
    EXPECT_EQ(collection->GetReferenceCount(), 2) << "those of the entities";
    collection->Cleanup();
    EXPECT_EQ(CEntity::GetLiveCount(), live);
    EXPECT_EQ(array->GetReferenceCount(), 1);
}

// An update event whose two handlers are written down.
struct Clock
{
    explicit Clock(float step) : update(new CInterfaceUpdateEvent(step))
    {
        log.Listen(update->GetUpdate_FixedStep(), "fixed",
                   [this](const EventMessage& message)
                   {
                       EXPECT_EQ(message.first.GetObjectPointer<void>("CInterfaceUpdateEvent"), update.Get());
                       EXPECT_EQ(message.second.GetFloat(), update->GetStep());
                   });
        log.Listen(update->GetUpdate_EachFrame(), "frame",
                   [this](const EventMessage& message) { lastFrame = message.second.GetFloat(); });
    }
    std::vector<std::string> Update(float seconds)
    {
        update->DoUpdate(seconds);
        return log.Take();
    }

    RefPtr<CInterfaceUpdateEvent> update;
    float lastFrame = -1.0F;
    test::EventLog log;
};

TEST(UpdateEvent, RaisesWholeStepsThenTheFrame)
{
    Clock clock(0.1F);
    EXPECT_THAT(clock.Update(0.35F), ElementsAre("fixed 0", "fixed 0", "fixed 0", "frame 0"));
    EXPECT_NEAR(clock.update->GetAccumulator(), 0.05F, 1e-6F);
    EXPECT_EQ(clock.update->GetFixedStepCount(), 3U);
    EXPECT_EQ(clock.lastFrame, 0.35F);
    EXPECT_THAT(clock.Update(0.03F), ElementsAre("frame 0"));
    EXPECT_THAT(clock.Update(0.03F), ElementsAre("fixed 0", "frame 0")) << "the rest carries over";
    EXPECT_NEAR(static_cast<double>(clock.Update(100.0F).size()), 1001.0, 1.0) << "a long frame has no bound";
}

TEST(UpdateEvent, EndsWhateverTheNumbers)
{
    constexpr float kInfinity = std::numeric_limits<float>::infinity();
    constexpr float kNaN = std::numeric_limits<float>::quiet_NaN();
    for (const float step : {0.0F, -1.0F, kNaN, kInfinity, std::numeric_limits<float>::denorm_min(), 0.1F})
        for (const float dt : {kNaN, kInfinity, -kInfinity, 3e38F, 0.0F})
        {
            Clock clock(step);
            EXPECT_EQ(clock.Update(dt).back(), "frame 0") << step << ' ' << dt;
            EXPECT_EQ(clock.Update(dt).back(), "frame 0") << step << ' ' << dt;
            EXPECT_EQ(clock.Update(0.15F).size(), step > 0.0F && step < 1.0F ? 2U : 1U) << step << ' ' << dt;
        }
}

TEST(UpdateEvent, AListenerMayDestroyIt)
{
    auto* update = new CInterfaceUpdateEvent(0.1F);
    update->_AddRef();
    test::EventLog log;
    log.Listen(update->GetUpdate_FixedStep(), "fixed", [update](const EventMessage&) { update->_RemoveRef(); });
    log.Listen(update->GetUpdate_EachFrame(), "frame");
    update->DoUpdate(1.0F);
    EXPECT_THAT(log.Take(), ElementsAre("fixed 0"));
}

TEST(InterfaceCVX, HandsItsLinesOverOnce)
{
    CInterfaceCVX service;
    service.GetAuxRenderer()->AddBox({{0, 0, 0}, {1, 2, 3}}, 0xFF0000FF);
    CRenderQueue queue;
    service.RenderAuxToRenderQueue(queue);
    service.RenderAuxToRenderQueue(queue);
    EXPECT_EQ(queue.GetLines().size(), 24U) << "twelve edges";
}
} // namespace
