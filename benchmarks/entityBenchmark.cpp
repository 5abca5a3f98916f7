// Entities and their components: making, finding, walking, filing into a scene.

#include "benchmarks/benchmarkSupport.h"
#include "gameengine/engine/componentCamera.h"
#include "gameengine/engine/componentEditorData.h"
#include "gameengine/engine/componentRuntimeData.h"
#include "gameengine/engine/componentTransformDirect.h"
#include "gameengine/engine/entityComponentDatabase.h"
#include "gameengine/engine/scene.h"

#include <algorithm>
#include <memory>
#include <unordered_map>

namespace
{
constexpr std::size_t kEntities = 90000; // below the array repositories' 100000

// ---- Create and destroy

// A peer of each component: a pooled object of the same size with a virtual destructor, all of it written.
template <class Component>
class PooledPeer
{
public:
    PooledPeer() : m_first(this) { std::fill(std::begin(m_rest), std::end(m_rest), nullptr); }
    virtual ~PooledPeer() { benchmark::DoNotOptimize(m_first); }
    static void* operator new(std::size_t) { return GetPool().Allocate(); }
    static void operator delete(void* memory) { GetPool().Deallocate(memory); }

private:
    static CMemoryDynamicPoolAllocator& GetPool()
    {
        static auto& pool = *new CMemoryDynamicPoolAllocator(sizeof(Component), 64);
        return pool;
    }
    void* m_first;
    void* m_rest[sizeof(Component) / sizeof(void*) - 2];
};

using Transform = ComponentTransformDirect;

void PeerSetsOfFour(benchmark::State& state)
{
    const std::size_t count = bench::Count(kEntities);
    struct Set
    {
        PooledPeer<Transform>* a;
        PooledPeer<ComponentRuntimeData>* b;
        PooledPeer<ComponentEditorData>* c;
        PooledPeer<ComponentCamera>* d;
    };
    std::vector<Set> sets(count);
    for (auto _ : state)
    {
        for (Set& set : sets)
            set = {new PooledPeer<Transform>, new PooledPeer<ComponentRuntimeData>, new PooledPeer<ComponentEditorData>,
                   new PooledPeer<ComponentCamera>};
        for (Set& set : sets)
        {
            delete set.a;
            delete set.b;
            delete set.c;
            delete set.d;
        }
    }
    bench::Report(state, count, count);
}
BENCHMARK(PeerSetsOfFour)->Unit(benchmark::kMillisecond);

RefPtr<CEntity> MakeEntity(CInterfaceCollection* interfaces)
{
    RefPtr<CEntity> entity(new CEntity(interfaces));
    entity->LockComponentList();
    Transform::CreateComponent(entity.Get());
    ComponentRuntimeData::CreateComponent(entity.Get());
    ComponentEditorData::CreateComponent(entity.Get());
    ComponentCamera::CreateComponent(entity.Get());
    entity->UnlockComponentList();
    return entity;
}

struct World
{
    CScene scene;
    std::vector<RefPtr<CEntity>> entities;
    std::vector<std::uint32_t> order; // entity indices in random order

    World()
    {
        for (std::size_t i = 0; i < bench::Count(kEntities); ++i)
        {
            entities.push_back(MakeEntity(scene.GetInterfaces()));
            scene.GetArray().Add(entities.back().Get());
        }
        for (const std::uint32_t i : bench::Shuffled(entities.size(), 1))
            order.push_back(static_cast<std::uint32_t>(entities[i]->GetIndex()));
    }
};

std::unique_ptr<World> theWorld;

World& GetWorld()
{
    if (!theWorld)
        theWorld = std::make_unique<World>();
    return *theWorld;
}

// Benchmarks run in any order, and array repositories hold 100,000 entities of all worlds together.
void DropWorld()
{
    theWorld.reset();
}

void EntitiesWithFourComponents(benchmark::State& state)
{
    DropWorld();
    const std::size_t count = bench::Count(kEntities);
    CScene scene;
    std::vector<RefPtr<CEntity>> entities(count);
    std::int64_t indices = 0;
    for (auto _ : state)
    {
        for (auto& entity : entities)
            entity = MakeEntity(scene.GetInterfaces());
        indices = 0;
        for (auto& entity : entities)
        {
            indices += entity->GetIndex();
            entity = nullptr;
        }
    }
    bench::Report(state, count, static_cast<std::uint64_t>(indices));
}
BENCHMARK(EntitiesWithFourComponents)->Unit(benchmark::kMillisecond);

void EntitiesInSceneWithFourDatabases(benchmark::State& state)
{
    DropWorld();
    const std::size_t count = bench::Count(kEntities);
    CScene scene;
    CEntityArray& array = scene.GetArray();
    for (const std::int32_t type : {Transform::TYPEID(), ComponentRuntimeData::TYPEID(), ComponentEditorData::TYPEID(),
                                    ComponentCamera::TYPEID()})
        array.CreateComponentDatabase(type);
    std::vector<CEntity*> entities(count);
    std::uint64_t listed = 0;
    for (auto _ : state)
    {
        for (CEntity*& entity : entities)
        {
            const RefPtr<CEntity> made = MakeEntity(scene.GetInterfaces());
            array.Add(made.Get());
            entity = made.Get();
        }
        listed = static_cast<std::uint64_t>(array.FindComponentDatabase(ComponentCamera::TYPEID())->GetCount());
        for (CEntity* entity : entities)
            array.Remove(entity);
    }
    bench::Report(state, count, listed);
}
BENCHMARK(EntitiesInSceneWithFourDatabases)->Unit(benchmark::kMillisecond);

// ---- Look-up

// Sums what a look-up gives for every index, in random order.
template <class Find>
void LookUp(benchmark::State& state, Find find)
{
    const World& world = GetWorld();
    std::uintptr_t sum = 0;
    for (auto _ : state)
    {
        sum = 0;
        for (const std::uint32_t index : world.order)
            sum += find(index) != nullptr ? index : 0;
        benchmark::DoNotOptimize(sum);
    }
    bench::Report(state, world.order.size(), sum);
}

void FloorPointerArray(benchmark::State& state)
{
    std::vector<void*> array(CEntityComponentRepositoryFast::kCapacity);
    for (const auto& entity : GetWorld().entities)
        array[static_cast<std::size_t>(entity->GetIndex())] = entity->Find<ComponentTransform>();
    void** const data = array.data();
    LookUp(state, [data](std::uint32_t index) { return data[index]; });
}
BENCHMARK(FloorPointerArray);

void FastRepository(benchmark::State& state)
{
    LookUp(state, [](std::uint32_t index) { return ComponentTransform::REPOSITORY().Find(index); });
}
BENCHMARK(FastRepository);

void PeerUnorderedMap(benchmark::State& state)
{
    std::unordered_map<std::uint32_t, void*> map;
    for (const auto& entity : GetWorld().entities)
        map[static_cast<std::uint32_t>(entity->GetIndex())] = entity->Find<ComponentCamera>();
    LookUp(state,
           [&map](std::uint32_t index)
           {
               const auto found = map.find(index);
               return found != map.end() ? found->second : nullptr;
           });
}
BENCHMARK(PeerUnorderedMap);

void MapRepository(benchmark::State& state)
{
    LookUp(state, [](std::uint32_t index) { return ComponentCamera::REPOSITORY().Find(index); });
}
BENCHMARK(MapRepository);

// ---- Walking all components of a type

void PeerPointerList(benchmark::State& state)
{
    auto* database = GetWorld().scene.GetArray().CreateComponentDatabase(ComponentCamera::TYPEID());
    std::vector<ComponentCamera*> list;
    for (int i = 0; i < database->GetCount(); ++i)
        list.push_back(static_cast<ComponentCamera*>(database->Get(static_cast<unsigned>(i))));
    float sum = 0.0F;
    for (auto _ : state)
    {
        sum = 0.0F;
        for (const ComponentCamera* camera : list)
            sum += camera->GetFov();
        benchmark::DoNotOptimize(sum);
    }
    bench::Report(state, list.size(), static_cast<std::uint64_t>(sum));
}
BENCHMARK(PeerPointerList);

void WalkDatabase(benchmark::State& state)
{
    const auto* database = GetWorld().scene.GetArray().CreateComponentDatabase(ComponentCamera::TYPEID());
    float sum = 0.0F;
    for (auto _ : state)
    {
        sum = 0.0F;
        for (int i = 0; i < database->GetCount(); ++i)
            sum += static_cast<ComponentCamera*>(database->Get(static_cast<unsigned>(i)))->GetFov();
        benchmark::DoNotOptimize(sum);
    }
    bench::Report(state, static_cast<std::size_t>(database->GetCount()), static_cast<std::uint64_t>(sum));
}
BENCHMARK(WalkDatabase);

// ---- Filing entities into a scene

// The entities in order of creation (0) or random order (1), added and then removed in the same order. They come and go
// in order of creation, so that those of the next benchmark lie as these do.
struct BareEntities
{
    std::vector<RefPtr<CEntity>> made;
    std::vector<CEntity*> order;

    BareEntities(CInterfaceCollection* interfaces, bool shuffled)
    {
        const std::size_t count = bench::Count(100000);
        for (std::size_t i = 0; i < count; ++i)
            made.emplace_back(new CEntity(interfaces));
        for (const auto& entity : made)
            order.push_back(entity.Get());
        if (!shuffled)
            return;
        const std::vector<std::uint32_t> places = bench::Shuffled(count, 2);
        for (std::size_t i = 0; i < count; ++i)
            order[i] = made[places[i]].Get();
    }
    ~BareEntities()
    {
        while (!made.empty())
            made.pop_back();
    }
};

void PeerSortedVector(benchmark::State& state)
{
    const CScene scene;
    const BareEntities bare(scene.GetInterfaces(), state.range(0) != 0);
    const std::vector<CEntity*>& entities = bare.order;
    for (auto _ : state)
    {
        std::vector<CEntity*> sorted;
        for (CEntity* entity : entities)
            sorted.insert(std::lower_bound(sorted.begin(), sorted.end(), entity), entity);
        for (CEntity* entity : entities)
            sorted.erase(std::lower_bound(sorted.begin(), sorted.end(), entity));
    }
    bench::Report(state, entities.size(), entities.size());
}
BENCHMARK(PeerSortedVector)->Arg(0)->Arg(1)->ArgName("random")->Unit(benchmark::kMillisecond);

void ArrayAddAndRemove(benchmark::State& state)
{
    const CScene scene;
    const BareEntities bare(scene.GetInterfaces(), state.range(0) != 0);
    const std::vector<CEntity*>& entities = bare.order;
    const RefPtr<CEntityArray> array(new CEntityArray);
    int count = 0;
    for (auto _ : state)
    {
        for (CEntity* entity : entities)
            array->Add(entity);
        count = array->GetCount();
        for (CEntity* entity : entities)
            array->Remove(entity);
    }
    bench::Report(state, entities.size(), static_cast<std::uint64_t>(count));
}
BENCHMARK(ArrayAddAndRemove)->Arg(0)->Arg(1)->ArgName("random")->Unit(benchmark::kMillisecond);

void ArrayAddOnly(benchmark::State& state)
{
    const CScene scene;
    const BareEntities bare(scene.GetInterfaces(), state.range(0) != 0);
    const std::vector<CEntity*>& entities = bare.order;
    int count = 0;
    for (auto _ : state)
    {
        const RefPtr<CEntityArray> array(new CEntityArray);
        for (CEntity* entity : entities)
            array->Add(entity);
        count = array->GetCount();
        state.PauseTiming();
        array->Clear();
        state.ResumeTiming();
    }
    bench::Report(state, entities.size(), static_cast<std::uint64_t>(count));
}
BENCHMARK(ArrayAddOnly)->Arg(0)->Arg(1)->ArgName("random")->Unit(benchmark::kMillisecond);
} // namespace
