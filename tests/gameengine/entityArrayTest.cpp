#include "gameengine/engine/componentCamera.h"
#include "gameengine/engine/componentEditorData.h"
#include "gameengine/engine/componentTransformDirect.h"
#include "gameengine/engine/entityComponentDatabase.h"
#include "support/sceneFixture.h"

#include <algorithm>
#include <array>
#include <memory>
#include <set>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

using testing::ElementsAre;
using testing::IsEmpty;

namespace
{
TEST(SortedPointerArray, AgreesWithAnOrderedSet)
{
    static int storage[6000];
    // Per phase: how the next pointer is chosen, and how many of ten steps insert.
    enum class Order
    {
        Rising,
        Falling,
        Any
    };
    const std::pair<Order, std::uint32_t> phases[] = {{Order::Rising, 9}, {Order::Any, 2}, {Order::Falling, 9},
                                                      {Order::Any, 7},    {Order::Any, 0}, {Order::Any, 8}};
    test::Random random(7);
    CSortedPointerArray<int> array;
    std::set<int*> model;
    const auto checkAll = [&]
    {
        std::size_t position = 0;
        for (int* expected : model)
            ASSERT_EQ(array[position++], expected);
    };
    for (const auto& [order, inserts] : phases)
    {
        for (std::uint32_t step = 0; step < 3000; ++step)
        {
            const std::uint32_t at = order == Order::Rising    ? step * 2
                                     : order == Order::Falling ? 5999 - step * 2
                                                               : random.Below(6000U);
            int* const item = storage + at;
            if (random.Below(10U) < inserts)
                ASSERT_EQ(array.Insert(item), model.insert(item).second);
            else
                ASSERT_EQ(array.Erase(item), model.erase(item) == 1);
            ASSERT_EQ(array.GetCount(), model.size());
            ASSERT_TRUE(array.Validate()) << step;
            int* const probe = storage + random.Below(6000U);
            ASSERT_EQ(array.Contains(probe), model.contains(probe));
            if (random.OneIn(100))
            {
                const std::vector<int*> sorted(model.begin(), model.end());
                for (int i = 0; i < 50 && !sorted.empty(); ++i)
                {
                    const std::size_t position = random.Below(static_cast<std::uint32_t>(sorted.size()));
                    ASSERT_EQ(array[position], sorted[position]);
                    const std::size_t next = std::min(position + 1, sorted.size() - 1);
                    ASSERT_EQ(array[next], sorted[next]);
                }
                checkAll();
            }
        }
        checkAll();
    }
}

TEST(EntityArray, TakesAReferenceForEachAddition)
{
    test::Scene scene;
    CEntityArray& array = scene.GetArray();
    const RefPtr<CEntity> entity = scene.Make<ComponentCamera>();
    CEntityComponentDatabase* cameras = array.CreateComponentDatabase(ComponentCamera::TYPEID());
    test::EventLog log;
    log.Listen(array.Events(), "array");
    array.Add(entity.Get());
    array.Add(entity.Get());
    EXPECT_EQ(entity->GetReferenceCount(), 3);
    EXPECT_EQ(array.GetCount(), 1);
    EXPECT_EQ(array.Get(0), entity.Get());
    array.Remove(entity.Get());
    array.Remove(entity.Get());
    EXPECT_EQ(entity->GetReferenceCount(), 1);
    EXPECT_EQ(cameras->GetCount(), 0);
    entity->_AddRef();
    array.Remove(entity.Get());
    EXPECT_EQ(entity->GetReferenceCount(), 1) << "an absent entity loses its reference all the same";
    EXPECT_THAT(log.Take(), ElementsAre("array 0", "array 0", "array 1", "array 1", "array 1"));
    EXPECT_EQ(array.Get(0), nullptr);
    EXPECT_EQ(array.Get(-1), nullptr);

    auto* unreferenced = new CEntity(scene.GetInterfaces());
    array.Remove(unreferenced);
    EXPECT_EQ(unreferenced->GetComponentCount(), 0) << "still alive";
    delete unreferenced;
}

TEST(EntityArray, ADatabaseMadeLateListsWhatIsThere)
{
    test::Scene scene;
    CEntityArray& array = scene.GetArray();
    const auto both = scene.Spawn<ComponentTransformDirect, ComponentCamera>();
    const auto second = scene.Spawn<ComponentCamera>();
    const auto none = scene.Spawn<ComponentTransformDirect>();
    const auto locked = scene.Spawn<ComponentCamera>();
    locked->LockComponentList();
    EXPECT_EQ(array.FindComponentDatabase(ComponentCamera::TYPEID()), nullptr);
    CEntityComponent* const first = array.FindFirstComponentByType(ComponentCamera::TYPEID());
    EXPECT_TRUE(first == both->GetComponent(1) || first == second->GetComponent(0));
    CEntityComponentDatabase* cameras = array.FindComponentDatabase(ComponentCamera::TYPEID());
    ASSERT_NE(cameras, nullptr);
    EXPECT_EQ(array.CreateComponentDatabase(ComponentCamera::TYPEID()), cameras);
    EXPECT_EQ(cameras->GetCount(), 2);
    locked->UnlockComponentList();
    EXPECT_EQ(cameras->GetCount(), 3);
    EXPECT_EQ(array.FindFirstComponentByType(20300), nullptr);
    EXPECT_NE(array.FindComponentDatabase(20300), nullptr);
    EXPECT_EQ(array.FindComponentDatabase(20301), nullptr);
    EXPECT_EQ(array.FindComponentDatabase(-1), nullptr);
    EXPECT_TRUE(array.Validate());
}

TEST(EntityArray, LockedEntitiesAreInNoDatabaseOfAnyArray)
{
    test::Scene scene;
    std::array<RefPtr<CEntityArray>, 3> arrays;
    std::vector<CEntityComponentDatabase*> databases;
    const RefPtr<CEntity> entity = scene.Make<ComponentCamera, ComponentEditorData>();
    const RefPtr<CEntity> other = scene.Make<ComponentCamera, ComponentEditorData>();
    for (auto& array : arrays)
    {
        array = new CEntityArray;
        for (const std::int32_t type : {ComponentCamera::TYPEID(), ComponentEditorData::TYPEID()})
            databases.push_back(array->CreateComponentDatabase(type));
    }
    arrays[1]->Add(other.Get());
    arrays[1]->Add(entity.Get());
    arrays[0]->Add(entity.Get());
    const auto count = [&]
    {
        std::vector<int> counts;
        for (const CEntityComponentDatabase* database : databases)
        {
            EXPECT_TRUE(database->Validate());
            counts.push_back(database->GetCount());
        }
        return counts;
    };
    EXPECT_THAT(count(), ElementsAre(1, 1, 2, 2, 0, 0));
    entity->LockComponentList();
    EXPECT_THAT(count(), ElementsAre(0, 0, 1, 1, 0, 0));
    arrays[2]->Add(entity.Get());
    EXPECT_THAT(count(), ElementsAre(0, 0, 1, 1, 0, 0)) << "added while it is locked";
    delete entity->GetComponent(0);
    entity->UnlockComponentList();
    EXPECT_THAT(count(), ElementsAre(0, 1, 1, 2, 0, 1));
    arrays[0] = nullptr;
    databases.erase(databases.begin(), databases.begin() + 2);
    entity->LockComponentList();
    entity->UnlockComponentList();
    EXPECT_THAT(count(), ElementsAre(1, 2, 0, 1)) << "a dead array is forgotten";
}

TEST(EntityArray, ListenersMayRemoveEntities)
{
    test::Scene scene;
    const std::int32_t live = CEntity::GetLiveCount();
    CEntityArray& array = scene.GetArray();
    CEntityComponentDatabase* cameras = array.CreateComponentDatabase(ComponentCamera::TYPEID());
    bool isActive = true;
    test::EventLog log;
    const auto removeOnce = [&](const EventMessage& message)
    {
        if (std::exchange(isActive, false))
            array.Remove(message.first.GetObjectPointer<CEntity>("CEntity"));
    };
    log.Listen(array.Events(), "array", removeOnce);

    // In its own arrival, and with the reference of the array as the only one.
    array.Add(new CEntity(scene.GetInterfaces()));
    EXPECT_THAT(log.Take(), ElementsAre("array 0", "array 1"));
    EXPECT_EQ(CEntity::GetLiveCount(), live);

    // Once more while it is being removed.
    array.Add(new CEntity(scene.GetInterfaces()));
    isActive = true;
    array.Remove(array.Get(0));
    EXPECT_THAT(log.Take(), ElementsAre("array 0", "array 1", "array 1"));
    EXPECT_EQ(CEntity::GetLiveCount(), live);

    // Others, from a database's event, while the array is cleared.
    for (int i = 0; i < 40; ++i)
        scene.Spawn<ComponentCamera>();
    test::EventLog databaseLog;
    test::Random random(3);
    databaseLog.Listen(cameras->Events(), "cameras",
                       [&](const EventMessage& message)
                       {
                           auto* leaving = message.first.GetObjectPointer<CEntityComponent>("CEntityComponent");
                           for (int i = 0; i < 3 && array.GetCount() > 1; ++i)
                           {
                               CEntity* victim =
                                   array.Get(static_cast<int>(random.Below(static_cast<unsigned>(array.GetCount()))));
                               if (victim != leaving->GetEntity() && random.OneIn(2))
                                   array.Remove(victim);
                           }
                       });
    array.Clear();
    EXPECT_EQ(array.GetCount(), 0);
    EXPECT_TRUE(array.Validate());
    EXPECT_EQ(CEntity::GetLiveCount(), live);
}

TEST(EntityArray, ListenersMayDestroyTheArray)
{
    test::Scene scene;
    // By releasing its last reference, or, where nobody references it, by deleting it.
    for (const bool isReferenced : {true, false})
    {
        for (const std::int32_t event : {CEntityArray::kEntityAdded, CEntityArray::kEntityRemoved})
        {
            auto* array = new CEntityArray;
            if (isReferenced)
                array->_AddRef();
            const RefPtr<CEntity> first = scene.Make<ComponentCamera>();
            const RefPtr<CEntity> second = scene.Make<ComponentCamera>();
            test::EventLog log;
            bool isAlive = true;
            log.Listen(array->Events(), "array",
                       [&](const EventMessage& message)
                       {
                           if (message.id != event || !std::exchange(isAlive, false))
                               return;
                           if (isReferenced)
                               array->_RemoveRef();
                           else
                               delete array;
                       });
            array->Add(first.Get());
            if (isAlive)
            {
                array->Add(second.Get());
                array->Clear();
            }
            EXPECT_FALSE(isAlive);
            EXPECT_EQ(first->GetReferenceCount(), 1);
            EXPECT_EQ(second->GetReferenceCount(), 1);
            first->LockComponentList();
            first->UnlockComponentList();
        }
    }
}

TEST(EntityArray, OnTheStackItOutlivesReferencesTakenByListeners)
{
    test::Scene scene;
    const RefPtr<CEntity> entity = scene.Make<>();
    test::EventLog log;
    {
        CEntityArray array;
        array.Add(entity.Get());
        log.Listen(array.Events(), "array",
                   [](const EventMessage& message)
                   { const RefPtr<CEntityArray> held(message.second.GetObjectPointer<CEntityArray>("CEntityArray")); });
    }
    EXPECT_THAT(log.Take(), ElementsAre("array 1"));
    EXPECT_EQ(entity->GetReferenceCount(), 1);
}
} // namespace
