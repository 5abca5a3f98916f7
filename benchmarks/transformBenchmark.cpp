// What it costs to move things.

#include "benchmarks/benchmarkSupport.h"
#include "gameengine/engine/componentTransformDirect.h"
#include "gameengine/engine/componentTransformParent.h"
#include "gameengine/engine/scene.h"

#include <memory>

namespace
{
constexpr std::size_t kTransforms = 90000; // below the array repositories' 100000

constexpr float kBox[] = {-1, -2, -3, 1, 2, 3};

CMatrix GetMatrix(std::size_t i)
{
    CMatrix matrix;
    matrix.RotateEuler(0.1F * static_cast<float>(i % 7), 0.2F, 0.3F);
    matrix.SetTranslation({static_cast<float>(i % 100), static_cast<float>(i % 77), 5.0F});
    return matrix;
}

// The bare work in an object laid out like a transform component, so that memory behaves alike.
struct BareTransform
{
    char base[sizeof(CEntityComponent)];
    float box[6];
    collision::PrimAABB bounds;
    CMatrix matrix;

    void Set(const CMatrix& m)
    {
        matrix = m;
        bounds.TransformAABB(collision::PrimAABB(box), matrix);
    }
};

using Listener = void (*)(void*, std::int32_t);

void CountCall(void* context, std::int32_t)
{
    ++*static_cast<std::uint64_t*>(context);
}

std::uint64_t HashBounds(const collision::PrimAABB& bounds)
{
    return HashCRC64Data(bounds.GetFloats(), 6 * sizeof(float));
}

// As a scene does, the loops go through a list of pointers to objects that lie in a row.
struct BareTransforms
{
    std::vector<BareTransform> objects;
    std::vector<BareTransform*> list;

    BareTransforms() : objects(bench::Count(kTransforms))
    {
        for (auto& transform : objects)
        {
            std::copy_n(kBox, 6, transform.box);
            list.push_back(&transform);
        }
    }
};

void BareWork(benchmark::State& state)
{
    BareTransforms transforms;
    const CMatrix matrices[2] = {GetMatrix(1), GetMatrix(2)};
    std::size_t round = 0;
    for (auto _ : state)
    {
        for (BareTransform* transform : transforms.list)
            transform->Set(matrices[round % 2]);
        ++round;
    }
    transforms.list.back()->Set(matrices[0]);
    bench::Report(state, transforms.list.size(), HashBounds(transforms.list.back()->bounds));
}
BENCHMARK(BareWork);

void BareWorkAndTwoIndirectCalls(benchmark::State& state)
{
    BareTransforms transforms;
    std::uint64_t calls = 0;
    std::vector<std::pair<Listener, void*>> listeners(transforms.list.size(), {&CountCall, &calls});
    benchmark::DoNotOptimize(listeners.data());
    const CMatrix matrices[2] = {GetMatrix(1), GetMatrix(2)};
    std::size_t round = 0;
    for (auto _ : state)
    {
        for (std::size_t i = 0; i < transforms.list.size(); ++i)
        {
            BareTransform& transform = *transforms.list[i];
            transform.matrix = matrices[round % 2];
            listeners[i].first(listeners[i].second, 0);
            transform.bounds.TransformAABB(collision::PrimAABB(transform.box), transform.matrix);
            listeners[i].first(listeners[i].second, 1);
        }
        ++round;
    }
    transforms.list.back()->Set(matrices[0]);
    bench::Report(state, transforms.list.size(), HashBounds(transforms.list.back()->bounds));
}
BENCHMARK(BareWorkAndTwoIndirectCalls);

struct Transforms
{
    CScene scene;
    std::vector<RefPtr<CEntity>> entities;
    std::vector<ComponentTransformDirect*> transforms;

    Transforms()
    {
        for (std::size_t i = 0; i < bench::Count(kTransforms); ++i)
        {
            entities.emplace_back(new CEntity(scene.GetInterfaces()));
            entities.back()->LockComponentList();
            transforms.push_back(static_cast<ComponentTransformDirect*>(
                ComponentTransformDirect::CreateComponent(entities.back().Get())));
            entities.back()->UnlockComponentList();
            transforms.back()->SetUntransformedBoundingBox(kBox);
        }
    }

    void MoveAll(benchmark::State& state)
    {
        const CMatrix matrices[2] = {GetMatrix(1), GetMatrix(2)};
        std::size_t round = 0;
        for (auto _ : state)
        {
            for (ComponentTransform* transform : transforms)
                transform->SetTransform(matrices[round % 2]);
            ++round;
        }
        transforms.back()->SetTransform(matrices[0]);
        bench::Report(state, transforms.size(), HashBounds(transforms.back()->GetBoundingBox()));
    }
};

void SetTransformWithoutHandler(benchmark::State& state)
{
    Transforms world;
    world.MoveAll(state);
}
BENCHMARK(SetTransformWithoutHandler);

void SetTransformWithOneListener(benchmark::State& state)
{
    Transforms world;
    std::uint64_t calls = 0;
    std::vector<std::unique_ptr<CEventSubscription>> listeners;
    for (auto* transform : world.transforms)
    {
        listeners.push_back(std::make_unique<CEventSubscription>([&calls](const EventMessage&) { ++calls; }));
        listeners.back()->Subscribe(transform->Events());
    }
    world.MoveAll(state);
    state.counters["calls/item"] = static_cast<double>(calls) / static_cast<double>(world.transforms.size()) /
                                   static_cast<double>(state.iterations());
}
BENCHMARK(SetTransformWithOneListener);

void MoveRootOfHierarchy(benchmark::State& state)
{
    const CScene scene;
    const auto make = [&](CEntityComponent* (*create)(CEntity*))
    {
        RefPtr<CEntity> entity(new CEntity(scene.GetInterfaces()));
        entity->LockComponentList();
        create(entity.Get());
        entity->UnlockComponentList();
        return entity;
    };
    const RefPtr<CEntity> root = make(&ComponentTransformDirect::CreateComponent);
    std::vector<RefPtr<CEntity>> children;
    for (std::size_t i = 0; i < bench::Count(10000); ++i)
    {
        children.push_back(make(&ComponentTransformParent::CreateComponent));
        children.back()->Find<ComponentTransformParent>()->SetParent(root->Find<ComponentTransform>());
    }
    const CMatrix matrices[2] = {GetMatrix(1), GetMatrix(2)};
    std::size_t round = 0;
    for (auto _ : state)
        root->Find<ComponentTransform>()->SetTransform(matrices[round++ % 2]);
    root->Find<ComponentTransform>()->SetTransform(matrices[0]);
    bench::Report(state, children.size(), HashBounds(children.back()->Find<ComponentTransform>()->GetBoundingBox()));
}
BENCHMARK(MoveRootOfHierarchy);

// The work of the above on plain arrays.
void BareHierarchy(benchmark::State& state)
{
    std::vector<BareTransform> children(bench::Count(10000));
    std::vector<CMatrix> locals(children.size());
    for (auto& child : children)
        std::fill_n(child.box, 6, 0.0F);
    const CMatrix matrices[2] = {GetMatrix(1), GetMatrix(2)};
    std::size_t round = 0;
    for (auto _ : state)
    {
        const CMatrix& root = matrices[round++ % 2];
        for (std::size_t i = 0; i < children.size(); ++i)
            children[i].Set(root * locals[i]);
    }
    children.back().Set(matrices[0] * locals.back());
    bench::Report(state, children.size(), HashBounds(children.back().bounds));
}
BENCHMARK(BareHierarchy);
} // namespace
