#include "gameengine/engine/componentCamera.h"
#include "gameengine/engine/componentEditorData.h"
#include "gameengine/engine/componentTransformDirect.h"
#include "gameengine/engine/entityComponentDatabase.h"
#include "support/sceneFixture.h"

#include <array>
#include <set>

#include <gmock/gmock.h>

using namespace test;
using testing::ElementsAre;

namespace
{
using EntityArray = SceneTest;

TEST(SortedPointerArray, AgreesWithAnOrderedSet)
{
    static int storage[6000];
    // Per phase: whether pointers come rising, falling or in any order, and how many of ten steps insert.
    const std::pair<char, int> phases[] = {{'r', 9}, {'a', 2}, {'f', 9}, {'a', 7}, {'a', 0}, {'a', 8}};
    Random random(7);
    CSortedPointerArray<int> array;
    std::set<int*> model;
    for (const auto& [order, inserts] : phases)
        for (int step = 0; step < 3000; ++step)
        {
            int* const item = storage + (order == 'r' ? step * 2 : order == 'f' ? 5999 - step * 2 : random.Below(6000));
            if (random.Below(10) < inserts)
                ASSERT_EQ(array.Insert(item), model.insert(item).second);
            else
                ASSERT_EQ(array.Erase(item), model.erase(item) == 1);
            ASSERT_EQ(array.GetCount(), model.size());
            ASSERT_TRUE(array.Validate()) << step;
            int* const probe = storage + random.Below(6000);
            ASSERT_EQ(array.Contains(probe), model.contains(probe));
            if (step % 100 != 99)
                continue;
            const std::vector<int*> sorted(model.begin(), model.end());
            for (int i = 0; i < 50 && !sorted.empty(); ++i)
            {
                const std::size_t position = random.Below(sorted.size());
                ASSERT_EQ(array[position], sorted[position]);
                const std::size_t next = std::min(position + 1, sorted.size() - 1);
                ASSERT_EQ(array[next], sorted[next]);
            }
            for (std::size_t i = 0; i < sorted.size(); ++i)
                ASSERT_EQ(array[i], sorted[i]);
        }
}

TEST_F(EntityArray, TakesAReferenceForEachAddition)
{
    const RefPtr<CEntity> entity = m_scene.Make<ComponentCamera>();
    const CEntityComponentDatabase* cameras = m_array.CreateComponentDatabase(ComponentCamera::TYPEID());
    m_log.Listen(m_array.Events(), "array");
    m_array.Add(entity.Get());
    m_array.Add(entity.Get());
    EXPECT_EQ(entity->GetReferenceCount(), 3);
    EXPECT_EQ(m_array.GetCount(), 1);
    m_array.Remove(entity.Get());
    m_array.Remove(entity.Get());
    EXPECT_EQ(entity->GetReferenceCount(), 1);
    AddComponents<>(*entity);
    EXPECT_EQ(cameras->GetCount(), 0) << "unlocked, it returns to no array";
    entity->_AddRef();
    m_array.Remove(entity.Get());
    EXPECT_EQ(entity->GetReferenceCount(), 1) << "an absent entity loses its reference all the same";
    EXPECT_THAT(m_log.Take(), ElementsAre("array 0", "array 0", "array 1", "array 1", "array 1"));
    EXPECT_EQ(m_array.Get(0), nullptr);
    EXPECT_EQ(m_array.Get(-1), nullptr);
    auto* unreferenced = new CEntity(m_scene.GetInterfaces());
    m_array.Remove(unreferenced);
    EXPECT_EQ(CEntity::GetLiveCount(), m_live + 2) << "still alive";
    EXPECT_EQ(unreferenced->GetReferenceCount(), 0);
    delete unreferenced;
}

TEST_F(EntityArray, ADatabaseMadeLateListsWhatIsThere)
{
    constexpr std::int32_t kCamera = ComponentCamera::TYPEID();
    const auto both = m_scene.Spawn<ComponentTransformDirect, ComponentCamera>();
    const auto second = m_scene.Spawn<ComponentCamera>();
    const auto locked = m_scene.Spawn<ComponentCamera>();
    locked->LockComponentList();
    EXPECT_EQ(m_array.FindComponentDatabase(kCamera), nullptr);
    CEntityComponent* const first = m_array.FindFirstComponentByType(kCamera);
    EXPECT_TRUE(first == both->GetComponent(1) || first == second->GetComponent(0));
    CEntityComponentDatabase* cameras = m_array.FindComponentDatabase(kCamera);
    ASSERT_NE(cameras, nullptr);
    EXPECT_EQ(m_array.CreateComponentDatabase(kCamera), cameras);
    EXPECT_EQ(cameras->GetCount(), 2);
    locked->UnlockComponentList();
    EXPECT_EQ(cameras->GetCount(), 3);
    EXPECT_EQ(m_array.FindFirstComponentByType(20300), nullptr);
    EXPECT_NE(m_array.FindComponentDatabase(20300), nullptr);
    EXPECT_EQ(m_array.FindComponentDatabase(20301), nullptr);
    EXPECT_TRUE(m_array.Validate());
}

TEST_F(EntityArray, LockedEntitiesAreInNoDatabaseOfAnyArray)
{
    std::array<RefPtr<CEntityArray>, 3> arrays;
    const RefPtr<CEntity> entity = m_scene.Make<ComponentCamera, ComponentEditorData>();
    const RefPtr<CEntity> other = m_scene.Make<ComponentCamera, ComponentEditorData>();
    for (auto& array : arrays)
        array = new CEntityArray;
    // Of each array that lives, the sizes of its two databases.
    const auto count = [&arrays]
    {
        std::vector<int> counts;
        for (const auto& array : arrays)
            for (const std::int32_t type : {ComponentCamera::TYPEID(), ComponentEditorData::TYPEID()})
                if (array.Get())
                    counts.push_back(array->CreateComponentDatabase(type)->GetCount());
        return counts;
    };
    EXPECT_THAT(count(), ElementsAre(0, 0, 0, 0, 0, 0));
    arrays[1]->Add(other.Get());
    arrays[1]->Add(entity.Get());
    arrays[0]->Add(entity.Get());
    EXPECT_THAT(count(), ElementsAre(1, 1, 2, 2, 0, 0));
    entity->LockComponentList();
    EXPECT_THAT(count(), ElementsAre(0, 0, 1, 1, 0, 0));
    arrays[2]->Add(entity.Get());
    EXPECT_THAT(count(), ElementsAre(0, 0, 1, 1, 0, 0)) << "added while it is locked";
    delete entity->GetComponent(0);
    entity->UnlockComponentList();
    EXPECT_THAT(count(), ElementsAre(0, 1, 1, 2, 0, 1));
    arrays[0] = nullptr;
    entity->LockComponentList();
    entity->UnlockComponentList();
    EXPECT_THAT(count(), ElementsAre(1, 2, 0, 1)) << "a dead array is forgotten";
    EXPECT_TRUE(arrays[1]->Validate() && arrays[2]->Validate());
}

TEST_F(EntityArray, ListenersMayRemoveEntities)
{
    bool isActive = true;
    m_log.Listen(m_array.Events(), "array",
                 [&](const EventMessage& message)
                 {
                     if (std::exchange(isActive, false))
                         m_array.Remove(GetEntity(message));
                 });
    // In its own arrival, and with the reference of the array as the only one.
    m_array.Add(new CEntity(m_scene.GetInterfaces()));
    EXPECT_THAT(m_log.Take(), ElementsAre("array 0", "array 1"));
    EXPECT_EQ(CEntity::GetLiveCount(), m_live);

    // Once more while it is being removed.
    m_array.Add(new CEntity(m_scene.GetInterfaces()));
    isActive = true;
    m_array.Remove(m_array.Get(0));
    EXPECT_THAT(m_log.Take(), ElementsAre("array 0", "array 1", "array 1"));
    EXPECT_EQ(CEntity::GetLiveCount(), m_live);

    // Others, from a database's event, while the array is cleared.
    for (int i = 0; i < 40; ++i)
        m_scene.Spawn<ComponentCamera>();
    Random random(3);
    m_log.Listen(m_array.CreateComponentDatabase(ComponentCamera::TYPEID())->Events(), "cameras",
                 [&](const EventMessage& message)
                 {
                     auto* leaving = message.first.GetObjectPointer<CEntityComponent>("CEntityComponent");
                     for (int i = 0; i < 3 && m_array.GetCount() > 1; ++i)
                     {
                         CEntity* victim = m_array.Get(random.Below(m_array.GetCount()));
                         if (victim != leaving->GetEntity() && random.OneIn(2))
                             m_array.Remove(victim);
                     }
                 });
    m_array.Clear();
    EXPECT_EQ(m_array.GetCount(), 0);
    EXPECT_TRUE(m_array.Validate());
    EXPECT_EQ(CEntity::GetLiveCount(), m_live);
}

TEST_F(EntityArray, AnEntityLearnsOfTheArrayAfterItsListeners)
{
    const CEntityComponentDatabase& cameras = *m_array.CreateComponentDatabase(ComponentCamera::TYPEID());
    const RefPtr<CEntity> entity = m_scene.Make<ComponentCamera>();
    int seen = 0;
    m_log.Listen(m_array.Events(), "array",
                 [&](const EventMessage&)
                 {
                     entity->LockComponentList();
                     seen = cameras.GetCount();
                 });
    m_array.Add(entity.Get());
    EXPECT_EQ(seen, 1) << "still listed, for the next listener";
    EXPECT_EQ(cameras.GetCount(), 0) << "the list is locked";
    entity->UnlockComponentList();
    EXPECT_EQ(cameras.GetCount(), 1);
    m_array.Remove(entity.Get());
}

TEST_F(EntityArray, ListenersMayDestroyTheArray)
{
    // By releasing its last reference, or, where nobody references it, by deleting it.
    for (const bool isReferenced : {true, false})
        for (const std::int32_t event : {CEntityArray::kEntityAdded, CEntityArray::kEntityRemoved})
        {
            auto* array = new CEntityArray;
            if (isReferenced)
                array->_AddRef();
            const RefPtr<CEntity> entities[] = {m_scene.Make<ComponentCamera>(), m_scene.Make<ComponentCamera>()};
            EventLog log;
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
            array->Add(entities[0].Get());
            if (isAlive)
            {
                array->Add(entities[1].Get());
                array->Clear();
            }
            EXPECT_FALSE(isAlive);
            EXPECT_EQ(entities[0]->GetReferenceCount(), 1);
            EXPECT_EQ(entities[1]->GetReferenceCount(), 1);
            entities[0]->LockComponentList();
            entities[0]->UnlockComponentList();
        }
}

TEST_F(EntityArray, OnTheStackItOutlivesReferencesTakenByListeners)
{
    const RefPtr<CEntity> entity = m_scene.Make<>();
    {
        CEntityArray array;
        array.Add(entity.Get());
        m_log.Listen(array.Events(), "array",
                     [](const EventMessage& message) {
                         const RefPtr<CEntityArray> held(message.second.GetObjectPointer<CEntityArray>("CEntityArray"));
                     });
    }
    EXPECT_THAT(m_log.Take(), ElementsAre("array 1"));
    EXPECT_EQ(entity->GetReferenceCount(), 1);
}
} // namespace
