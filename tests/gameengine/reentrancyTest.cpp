#include "gameengine/engine/componentAlwaysVisible.h"
#include "gameengine/engine/componentCamera.h"
#include "gameengine/engine/componentEditorData.h"
#include "gameengine/engine/componentLight.h"
#include "gameengine/engine/componentRenderSettings.h"
#include "gameengine/engine/componentRuntimeData.h"
#include "gameengine/engine/componentTransformDirect.h"
#include "gameengine/engine/componentTransformParent.h"
#include "gameengine/engine/entityComponentDatabase.h"
#include "support/expectations.h"
#include "support/sceneFixture.h"

#include <set>

using namespace test;

namespace
{
using Reentrancy = SceneTest;

constexpr std::int32_t kTypes[] = {ComponentCamera::TYPEID(), ComponentEditorData::TYPEID(),
                                   ComponentRenderSettings::TYPEID()};

// Whether the array's databases list every component of the unlocked entity once, if it is there, and nothing else.
bool IsListedOnce(const CEntityArray& array, const CEntity& entity)
{
    const bool isIn = array.Contains(&entity) && !entity.IsComponentListLocked();
    for (const std::int32_t type : kTypes)
    {
        const CEntityComponentDatabase* database = array.FindComponentDatabase(type);
        std::multiset<const CEntityComponent*> wanted;
        std::multiset<const CEntityComponent*> listed;
        for (int i = 0; isIn && i < entity.GetComponentCount(); ++i)
            if (entity.GetComponent(i)->GetType() == type)
                wanted.insert(entity.GetComponent(i));
        for (unsigned int i = 0; database && database->Get(i); ++i)
            listed.insert(database->Get(i));
        if (database && (wanted != listed || !database->Validate()))
            return false;
    }
    return true;
}

// Two arrays that hold an entity, and how often each does.
struct Stage
{
    RefPtr<CEntityArray> arrays[2] = {new CEntityArray, new CEntityArray};
    int additions[2] = {};
    RefPtr<CEntity> entity;

    void Add(int i) { ++additions[i], arrays[i]->Add(entity.Get()); }
    void Remove(int i)
    {
        if (additions[i] > 0)
            --additions[i], arrays[i]->Remove(entity.Get());
    }
    void Do(int step)
    {
        switch (step)
        {
        case 0: Add(0), Add(1); break;
        case 1: Remove(0); break;
        case 2: Remove(1), Add(1); break;
        case 3: entity->LockComponentList(); break;
        case 4: entity->UnlockComponentList(); break;
        case 5: AddComponents<ComponentCamera, ComponentEditorData>(*entity); break;
        case 6:
        {
            const bool wasLocked = entity->IsComponentListLocked();
            if (!wasLocked)
                entity->LockComponentList();
            delete entity->GetComponent(1);
            if (!wasLocked)
                entity->UnlockComponentList();
            break;
        }
        case 7: arrays[0]->FindFirstComponentByType(kTypes[2]); break;
        default: Remove(1); break;
        }
    }
};

TEST_F(Reentrancy, DatabasesListEveryComponentOnceWhateverTheirListenersDo)
{
    // Each step of each event of a database or an array, to which its listener reacts once with each step.
    for (int run = 0; run < 9 * 9 * 6 * 2; ++run)
    {
        const int step = run % 9;
        const int reaction = run / 9 % 9;
        const int source = run / 81 % 6;
        const int event = run / 486;
        SCOPED_TRACE(Label("step ", step, ", reaction ", reaction, " to event ", event, " of source ", source));
        Stage stage;
        stage.entity = m_scene.Make<ComponentRenderSettings, ComponentCamera, ComponentEditorData>();
        bool isActive = false;
        CEventSubscription listener(
            [&](const EventMessage& message)
            {
                if (message.id == event && std::exchange(isActive, false))
                    stage.Do(reaction);
            });
        for (const int i : {0, 1, 2, 3})
            stage.arrays[i / 2]->CreateComponentDatabase(kTypes[i % 2]);
        listener.Subscribe(source < 4 ? stage.arrays[source / 2]->FindComponentDatabase(kTypes[source % 2])->Events()
                                      : stage.arrays[source - 4]->Events());
        stage.Do(0);
        isActive = true;
        stage.Do(step);
        for (int round = 0; round < 2; ++round, stage.entity->UnlockComponentList())
            for (const auto& array : stage.arrays)
                EXPECT_TRUE(IsListedOnce(*array, *stage.entity)) << round;
        isActive = false;
        for (const int i : {0, 1, 0, 1, 0, 1})
            stage.Remove(i);
        for (auto& array : stage.arrays)
        {
            EXPECT_TRUE(IsListedOnce(*array, *stage.entity)) << "removed";
            array = nullptr;
        }
        EXPECT_EQ(stage.entity->GetReferenceCount(), 1);
        AddComponents<>(*stage.entity); // finds none of the dead arrays
    }
}

TEST_F(Reentrancy, ArraysMayDieUnderTheirListenersAndTakeNobodyMore)
{
    const auto entity = m_scene.Make<ComponentCamera, ComponentEditorData>();
    for (const int event : {CEntityComponentDatabase::kAdded, CEntityComponentDatabase::kRemoved})
    {
        auto* array = new CEntityArray; // without a reference that would keep it
        array->CreateComponentDatabase(kTypes[1]);
        m_log.Listen(array->CreateComponentDatabase(kTypes[0])->Events(), "cameras",
                     [&](const EventMessage& message)
                     {
                         if (message.id == event)
                             delete std::exchange(array, nullptr);
                     });
        array->Add(entity.Get());
        if (array)
            array->Remove(entity.Get());
        EXPECT_EQ(entity->GetReferenceCount(), array ? 0 : 1);
    }
    auto* const unreferenced = new CEntity(m_scene.GetInterfaces());
    {
        CEntityArray array;
        const auto first = m_scene.Make<>();
        array.Add(first.Get());
        m_log.Listen(array.Events(), "array",
                     [&](const EventMessage&)
                     {
                         for (CEntity* late : {entity.Get(), unreferenced})
                         {
                             array.Add(late);
                             array.Remove(late);
                         }
                     });
    }
    EXPECT_EQ(entity->GetReferenceCount(), 1);
    EXPECT_EQ(unreferenced->GetReferenceCount(), 0) << "refused, not deleted";
    delete unreferenced;
    AddComponents<>(*entity);
}

TEST_F(Reentrancy, ListenersMayReplaceWithoutEndOrTurnTheLock)
{
    const auto entity = m_scene.Make<ComponentCamera, ComponentEditorData>();
    for (const std::int32_t type : {kTypes[0], kTypes[1]})
        m_array.CreateComponentDatabase(type);
    CEventHandler& cameras = m_array.FindComponentDatabase(kTypes[0])->Events();
    {
        // An entity that always has a camera.
        EventLog log;
        log.Listen(cameras, "cameras",
                   [&](const EventMessage& message)
                   {
                       if (message.id != CEntityComponentDatabase::kRemoved)
                           return;
                       entity->LockComponentList();
                       ComponentCamera::CreateComponent(entity.Get());
                       delete message.first.GetObjectPointer<CEntityComponent>("CEntityComponent");
                       entity->UnlockComponentList();
                   });
        m_array.Add(entity.Get());
        m_array.Remove(entity.Get());
        EXPECT_TRUE(entity->Find<ComponentCamera>() && IsListedOnce(m_array, *entity));
    }
    {
        EventLog log;
        log.Listen(cameras, "cameras",
                   [&](const EventMessage& message)
                   {
                       if (message.id == CEntityComponentDatabase::kAdded)
                           entity->LockComponentList();
                       else
                           entity->UnlockComponentList();
                   });
        m_array.Add(entity.Get());
        EXPECT_TRUE(IsListedOnce(m_array, *entity));
        m_array.Remove(entity.Get());
    }
    EventLog log;
    std::unique_ptr<CEntityComponent> loose;
    log.Listen(m_array.Events(), "array",
               [&](const EventMessage& message)
               {
                   if (message.id != CEntityArray::kEntityAdded)
                       return;
                   entity->LockComponentList();
                   loose.reset(entity->Find<ComponentCamera>());
                   entity->RemoveComponent(loose.get());
                   entity->UnlockComponentList();
               });
    m_array.Add(entity.Get());
    EXPECT_TRUE(loose && IsListedOnce(m_array, *entity));
    m_array.Remove(entity.Get());
}

TEST_F(Reentrancy, TheDeathOfAnEntityMayTakeAnArrayAlongThatIsCleared)
{
    auto* const array = new CEntityArray;
    array->Add(new CEntity(m_scene.GetInterfaces()));
    array->Add(new CEntity(m_scene.GetInterfaces()));
    bool isAlive = true;
    m_log.Listen(array->Get(0)->Events(), "entity",
                 [&](const EventMessage&)
                 {
                     if (std::exchange(isAlive, false))
                         delete array;
                 });
    array->Clear();
    EXPECT_FALSE(isAlive);
    EXPECT_EQ(CEntity::GetLiveCount(), m_live);
}

TEST_F(Reentrancy, RemovedComponentsAndStrangeRecordsLeaveTheRestSound)
{
    const auto entity = m_scene.Make<ComponentRuntimeData, ComponentAlwaysVisible, ComponentTransformDirect,
                                     ComponentLight, ComponentCamera, ComponentEditorData, ComponentRenderSettings>();
    auto* mark = entity->Find<ComponentAlwaysVisible>();
    entity->LockComponentList();
    entity->RemoveComponent(mark);
    delete mark;
    entity->UnlockComponentList();
    EXPECT_EQ(entity->Find<ComponentRuntimeData>()->flags, 0U);

    Random random(5);
    const float color[] = {1, 2, 3, 4};
    for (int i = 1; i < entity->GetComponentCount(); ++i)
    {
        CEntityComponent& component = *entity->GetComponent(i);
        ChangeProperties(component, random);
        const std::string before = Describe(component);
        for (int property = 0; component.GetProperty(property, &m_property); ++property)
        {
            const int own = m_property.kind;
            for (const int kind : {2, 3, 4, 5})
            {
                m_property.SetColor("", color);
                m_property.kind = kind;
                if (kind != own)
                    component.SetProperty(property, &m_property);
            }
        }
        EXPECT_EQ(Describe(component), before);
        EXPECT_EQ(component.FindProperty(nullptr), -1);
    }
}

TEST_F(Reentrancy, PrototypesMayAddTypesWhileTheyDie)
{
    struct Component : ComponentCamera
    {
        using ComponentCamera::ComponentCamera;
        ~Component() override
        {
            for (int i = 0; i < 100; ++i)
                CEntityComponentTypeDatabase::Instance().Add("late", 20400, &ComponentCamera::CreateComponent);
        }
        static void* operator new(std::size_t size) { return ::operator new(size); }
        static void operator delete(void* memory) { ::operator delete(memory); }
    };
    auto& types = CEntityComponentTypeDatabase::Instance();
    const int count = types.GetCount();
    types.Add(nullptr, 20401, &ComponentCamera::CreateComponent);
    types.Add("nothing", 20401, nullptr);
    EXPECT_TRUE(types.FindByName(nullptr) == -1 && types.FindByType(20401) == -1);
    types.Add("early", 20402, [](CEntity* entity) -> CEntityComponent* { return new Component(entity); });
    types.GetComponent(count);
    types.Remove(count);
    EXPECT_EQ(types.GetCount(), count + 100);
    for (int position; (position = types.FindByName("late")) >= 0;)
        types.Remove(position);
    EXPECT_EQ(types.GetCount(), count);
}

TEST_F(Reentrancy, ALoopIsFoundThroughAnyNumberOfPaths)
{
    ComponentTransformParent* rows[2] = {&Make<ComponentTransformParent>(), &Make<ComponentTransformParent>()};
    ComponentTransformParent& root = *rows[0];
    for (int depth = 0; depth < 64; ++depth)
    {
        ComponentTransformParent* next[2] = {&Make<ComponentTransformParent>(), &Make<ComponentTransformParent>()};
        for (auto* child : next)
            for (auto* parent : rows)
                child->SetParent(parent);
        std::copy_n(next, 2, rows);
    }
    ExpectLog expected{"cannot follow itself"};
    root.SetParent(rows[1]);
    EXPECT_EQ(root.GetParent(), nullptr);
}
} // namespace
