// What it costs to find things by place: two trees of others, and a sweep over all boxes as the floor.

#include "benchmarks/spatialWorld.h"
#include "gameengine/engine/aabbGridAdvice.h"
#include "gameengine/engine/componentRuntimeData.h"
#include "gameengine/engine/componentTransformDirect.h"
#include "gameengine/engine/entityArraySpatialQuery.h"
#include "gameengine/engine/scene.h"
#include "tamradeps/collision/simdKernels.h"

#include <memory>
#include <string>

#include <BulletCollision/BroadphaseCollision/btDbvt.h>
#include <boost/geometry.hpp>
#include <boost/geometry/index/rtree.hpp>
#include <boost/iterator/function_output_iterator.hpp>

namespace
{
using bench::SpatialWorld;
using collision::PrimAABB;
using collision::PrimFrustum;

// Only single precision, which is also what Bullet is built in by default, finds the same boxes as we do.
static_assert(std::is_same_v<btScalar, float>);

btVector3 ToBullet(CVector3 v)
{
    return {v.x, v.y, v.z};
}

btDbvtVolume ToBullet(const PrimAABB& box)
{
    return btDbvtVolume::FromMM(ToBullet(box.GetMin()), ToBullet(box.GetMax()));
}

class BulletTree
{
public:
    explicit BulletTree(const std::vector<PrimAABB>& boxes)
    {
        m_leaves.reserve(boxes.size());
        for (std::size_t i = 0; i < boxes.size(); ++i)
        {
            m_leaves.push_back(m_tree.insert(ToBullet(boxes[i]), nullptr));
            m_leaves.back()->dataAsInt = static_cast<int>(i);
        }
    }

    void MoveAll(const std::vector<PrimAABB>&, const std::vector<PrimAABB>& to)
    {
        for (std::size_t i = 0; i < to.size(); ++i)
        {
            btDbvtVolume volume = ToBullet(to[i]);
            m_tree.update(m_leaves[i], volume);
        }
    }

    std::size_t Find(const PrimAABB& box, std::uint32_t* found)
    {
        Collector collector(found);
        m_tree.collideTV(m_tree.m_root, ToBullet(box), collector);
        return collector.count;
    }

    std::size_t Find(const PrimFrustum& frustum, std::uint32_t* found) const
    {
        btVector3 normals[6];
        btScalar offsets[6];
        for (int i = 0; i < 6; ++i)
        {
            const float* plane = frustum.GetPlane(i);
            const btVector3 normal(plane[0], plane[1], plane[2]);
            normals[i] = normal / normal.length();
            offsets[i] = plane[3] / normal.length();
        }
        Collector collector(found);
        btDbvt::collideKDOP(m_tree.m_root, normals, offsets, 6, collector);
        return collector.count;
    }

private:
    struct Collector : btDbvt::ICollide
    {
        explicit Collector(std::uint32_t* found) : indices(found) {}
        void Process(const btDbvtNode* leaf) override
        {
            indices[count++] = static_cast<std::uint32_t>(leaf->dataAsInt);
        }

        std::uint32_t* indices;
        std::size_t count = 0;
    };

    btDbvt m_tree;
    std::vector<btDbvtNode*> m_leaves;
};

namespace geometry = boost::geometry;

template <class Parameters>
class BoostTree
{
public:
    explicit BoostTree(const std::vector<PrimAABB>& boxes)
    {
        for (std::size_t i = 0; i < boxes.size(); ++i)
            m_tree.insert({ToBoost(boxes[i]), static_cast<std::uint32_t>(i)});
    }

    void MoveAll(const std::vector<PrimAABB>& from, const std::vector<PrimAABB>& to)
    {
        for (std::size_t i = 0; i < to.size(); ++i)
        {
            m_tree.remove({ToBoost(from[i]), static_cast<std::uint32_t>(i)});
            m_tree.insert({ToBoost(to[i]), static_cast<std::uint32_t>(i)});
        }
    }

    std::size_t Find(const PrimAABB& box, std::uint32_t* found) const
    {
        std::size_t count = 0;
        const auto write =
            boost::make_function_output_iterator([&](const Value& value) { found[count++] = value.second; });
        m_tree.query(geometry::index::intersects(ToBoost(box)), write);
        return count;
    }

private:
    using Point = geometry::model::point<float, 3, geometry::cs::cartesian>;
    using Box = geometry::model::box<Point>;
    using Value = std::pair<Box, std::uint32_t>;

    static Box ToBoost(const PrimAABB& box)
    {
        const CVector3 low = box.GetMin();
        const CVector3 high = box.GetMax();
        return {{low.x, low.y, low.z}, {high.x, high.y, high.z}};
    }

    geometry::index::rtree<Value, Parameters> m_tree;
};

using BoostQuadratic = BoostTree<geometry::index::quadratic<16>>;
using BoostRstar = BoostTree<geometry::index::rstar<16>>;

// Our grid, of plain numbers.
class Grid
{
public:
    explicit Grid(const std::vector<PrimAABB>& boxes) : Grid(boxes, GetAdvice()) {}

    // What the callers of the other trees get told by themselves: each box once, and only if it touches.
    std::size_t Find(const PrimAABB& box, std::uint32_t* found)
    {
        Walk walk{{}, found, 0, box};
        walk.function = [](CAABBDynamicGrid::walkCallback* callback, CAABBDynamicGridCell* cell)
        {
            auto& w = *static_cast<Walk*>(callback);
            for (const auto* link = cell->objects; link; link = link->next)
            {
                const auto i = static_cast<std::uint32_t>(static_cast<const char*>(link->object) - kFirst);
                if (w.box.Test(SpatialWorld::Get().boxes[i]))
                    w.found[w.count++] = i;
            }
        };
        m_grid.WalkAABBOnlyFilled(box.GetFloats(), walk);
        std::sort(found, found + walk.count);
        return static_cast<std::size_t>(std::unique(found, found + walk.count) - found);
    }

    static const AABBGridAdvice& GetAdvice()
    {
        static const AABBGridAdvice advice = AdviseGrid(SpatialWorld::Get().boxes);
        return advice;
    }

private:
    struct Walk : CAABBDynamicGrid::walkCallback
    {
        std::uint32_t* found;
        std::size_t count;
        const PrimAABB& box;
    };

    Grid(const std::vector<PrimAABB>& boxes, const AABBGridAdvice& advice)
        : m_grid(advice.bounds.GetFloats(), advice.cellSize.x, advice.cellSize.y, advice.cellSize.z)
    {
        for (std::size_t i = 0; i < boxes.size(); ++i)
            m_grid.AddObject(boxes[i].GetFloats(), const_cast<char*>(kFirst + i));
    }

    static constexpr const char* kFirst = nullptr;

    CAABBDynamicGrid m_grid;
};

// Entities with a transform each, in an acceleration tree with that grid.
class EntityWorld
{
public:
    explicit EntityWorld(const std::vector<PrimAABB>& boxes) : query(tree.Get())
    {
        const AABBGridAdvice& advice = Grid::GetAdvice();
        tree->InitializeWithDynamicGrid(advice.bounds.GetFloats(), advice.cellSize.x, advice.cellSize.y,
                                        advice.cellSize.z);
        tree->AddSource(&scene.GetArray());
        for (const PrimAABB& box : boxes)
        {
            const RefPtr<CEntity> entity(new CEntity(scene.GetInterfaces()));
            entity->LockComponentList();
            ComponentRuntimeData::CreateComponent(entity.Get());
            auto* transform = static_cast<ComponentTransform*>(ComponentTransformDirect::CreateComponent(entity.Get()));
            entity->UnlockComponentList();
            const PrimAABB local({0, 0, 0}, box.GetSize());
            transform->SetUntransformedBoundingBox(local.GetFloats());
            Move(*transform, box);
            firstSerial = transforms.empty() ? entity->GetSerial() : firstSerial;
            transforms.push_back(transform);
            scene.GetArray().Add(entity.Get());
        }
    }

    static void Move(ComponentTransform& transform, const PrimAABB& box)
    {
        CMatrix matrix;
        matrix.SetTranslation(box.GetMin());
        transform.SetTransform(matrix);
    }
    void MoveAll(const std::vector<PrimAABB>&, const std::vector<PrimAABB>& to)
    {
        for (std::size_t i = 0; i < to.size(); ++i)
            Move(*transforms[i], to[i]);
    }

    std::span<CEntity* const> Ask(const PrimAABB& box) { return query.InBox(box, buffer); }
    std::span<CEntity* const> Ask(const PrimFrustum& frustum) { return query.InFrustum(frustum, buffer); }
    std::size_t Find(const PrimAABB& box, std::uint32_t* found) const
    {
        CEntityArray_SpatialQuery fresh(tree.Get());
        CEntityArray_SpatialQuery::Buffer own;
        return Write(fresh.InBox(box, own), found);
    }

    // All that stands in the cells around the box, each once.
    std::span<CEntity* const> Walk(const PrimAABB& box)
    {
        struct Walk : CAABBDynamicGrid::walkCallback
        {
            CEntity** next;
        } walk;
        buffer.resize(transforms.size());
        walk.next = buffer.data();
        walk.function = [](CAABBDynamicGrid::walkCallback* callback, CAABBDynamicGridCell* cell)
        {
            auto& w = *static_cast<Walk*>(callback);
            for (const auto* link = cell->objects; link; link = link->next)
            {
                if (CEntity* entity = CEntityArray_AccelerationTree::GetEntityFromTreeObject_Once(link->object))
                    *w.next++ = entity;
            }
        };
        CEntityArray_AccelerationTree::IncrementOnceCounter();
        tree->GetGrid()->WalkAABBOnlyFilled(box.GetFloats(), walk);
        return {buffer.data(), walk.next};
    }

    // An answer as numbers of boxes.
    std::size_t Write(std::span<CEntity* const> entities, std::uint32_t* found) const
    {
        for (std::size_t i = 0; i < entities.size(); ++i)
            found[i] = entities[i]->GetSerial() - firstSerial;
        return entities.size();
    }

private:
    CScene scene;
    RefPtr<CEntityArray_AccelerationTree> tree{new CEntityArray_AccelerationTree};
    CEntityArray_SpatialQuery query;
    CEntityArray_SpatialQuery::Buffer buffer;
    std::vector<ComponentTransform*> transforms;
    std::uint32_t firstSerial = 0;
};

// Over one query's worth of boxes, enough to see that the tree is right.
template <class Tree>
std::uint64_t HashOf(Tree& tree)
{
    const SpatialWorld& world = SpatialWorld::Get();
    std::vector<std::uint32_t> found(world.boxes.size());
    std::uint64_t hash = 0;
    for (std::size_t hits = tree.Find(world.boxQueries[0], found.data()); hits > 0; --hits)
        hash += HashCRC64Data(&found[hits - 1], sizeof(found[0]));
    return hash;
}

template <class Tree>
void InsertAll(benchmark::State& state)
{
    const SpatialWorld& world = SpatialWorld::Get();
    std::unique_ptr<Tree> tree;
    for (auto _ : state)
    {
        state.PauseTiming();
        tree.reset();
        state.ResumeTiming();
        tree = std::make_unique<Tree>(world.boxes);
    }
    bench::Report(state, world.boxes.size(), HashOf(*tree));
}

template <class Tree>
void MoveAll(benchmark::State& state)
{
    const SpatialWorld& world = SpatialWorld::Get();
    const std::vector<PrimAABB>* places[2] = {&world.boxes, &world.movedBoxes};
    Tree tree(world.boxes);
    int at = 0;
    for (auto _ : state)
    {
        tree.MoveAll(*places[at], *places[1 - at]);
        at = 1 - at;
    }
    tree.MoveAll(*places[at], world.boxes);
    tree.MoveAll(world.boxes, world.movedBoxes);
    bench::Report(state, world.boxes.size(), HashOf(tree));
}

template <class Tree>
void FindInBox(benchmark::State& state)
{
    Tree tree(SpatialWorld::Get().boxes);
    bench::RunQueries(state, SpatialWorld::Get().boxQueries,
                      [&](const PrimAABB& box, std::uint32_t* found) { return tree.Find(box, found); });
}

BENCHMARK(InsertAll<Grid>)->Unit(benchmark::kMillisecond);
BENCHMARK(InsertAll<BulletTree>)->Unit(benchmark::kMillisecond);
BENCHMARK(InsertAll<BoostQuadratic>)->Unit(benchmark::kMillisecond);
BENCHMARK(InsertAll<BoostRstar>)->Unit(benchmark::kMillisecond);
BENCHMARK(MoveAll<EntityWorld>)->Unit(benchmark::kMillisecond);
BENCHMARK(MoveAll<BulletTree>)->Unit(benchmark::kMillisecond);
BENCHMARK(MoveAll<BoostQuadratic>)->Unit(benchmark::kMillisecond);
BENCHMARK(MoveAll<BoostRstar>)->Unit(benchmark::kMillisecond);
BENCHMARK(FindInBox<BulletTree>)->Unit(benchmark::kMillisecond);
BENCHMARK(FindInBox<BoostQuadratic>)->Unit(benchmark::kMillisecond);
BENCHMARK(FindInBox<BoostRstar>)->Unit(benchmark::kMillisecond);

template <class Query, class Ask>
void AskEntities(benchmark::State& state, const std::vector<Query>& queries, EntityWorld& world, const Ask& ask)
{
    bench::RunQueries(
        state, queries, [&](const Query& query, std::uint32_t* found) { return world.Write(ask(query), found); },
        [&](const Query& query, std::uint32_t*) { return ask(query).data(); });
}

void FindInBoxEntities(benchmark::State& state)
{
    EntityWorld world(SpatialWorld::Get().boxes);
    AskEntities(state, SpatialWorld::Get().boxQueries, world, [&](const PrimAABB& box) { return world.Ask(box); });
}
BENCHMARK(FindInBoxEntities)->Unit(benchmark::kMillisecond);

// Not an exact answer: what a renderer that walks the cells gets to see.
void WalkOnceInBox(benchmark::State& state)
{
    EntityWorld world(SpatialWorld::Get().boxes);
    AskEntities(state, SpatialWorld::Get().boxQueries, world, [&](const PrimAABB& box) { return world.Walk(box); });
}
BENCHMARK(WalkOnceInBox)->Unit(benchmark::kMillisecond);

// May leave out some of what is outside near an edge and passes every plane.
void FindInFrustumEntities(benchmark::State& state)
{
    EntityWorld world(SpatialWorld::Get().boxes);
    AskEntities(state, SpatialWorld::Get().frusta, world,
                [&](const PrimFrustum& frustum) { return world.Ask(frustum); });
}
BENCHMARK(FindInFrustumEntities)->Unit(benchmark::kMillisecond);

// The planes of Bullet are of unit length, so its rounding differs: a box that touches a plane may be kept or not.
void FindInFrustumBullet(benchmark::State& state)
{
    BulletTree tree(SpatialWorld::Get().boxes);
    bench::RunQueries(state, SpatialWorld::Get().frusta,
                      [&](const PrimFrustum& frustum, std::uint32_t* found) { return tree.Find(frustum, found); });
}
BENCHMARK(FindInFrustumBullet)->Unit(benchmark::kMillisecond);

template <class Query>
std::size_t ScalarSweep(const Query& query, std::uint32_t* found)
{
    const std::vector<PrimAABB>& boxes = SpatialWorld::Get().boxes;
    std::size_t count = 0;
    for (std::size_t i = 0; i < boxes.size(); ++i)
    {
        if (query.Test(boxes[i]))
            found[count++] = static_cast<std::uint32_t>(i);
    }
    return count;
}

void FindInBoxScalarSweep(benchmark::State& state)
{
    bench::RunQueries(state, SpatialWorld::Get().boxQueries, ScalarSweep<PrimAABB>);
}
BENCHMARK(FindInBoxScalarSweep)->Unit(benchmark::kMillisecond);

void FindInFrustumScalarSweep(benchmark::State& state)
{
    bench::RunQueries(state, SpatialWorld::Get().frusta, ScalarSweep<PrimFrustum>);
}
BENCHMARK(FindInFrustumScalarSweep)->Unit(benchmark::kMillisecond);

using collision::BoxBlock;
using collision::SimdKernels;

// The same sweeps in vector instructions, with every set that this processor has: over boxes in a row, and to masks
// over boxes that lie in blocks.
template <class Query, class Ready>
void VectorSweeps(const std::string& name, const std::vector<Query>& (*getQueries)(), auto find, auto test)
{
    for (const SimdKernels* kernels : SimdKernels::GetAll())
    {
        const auto sweep = [=](benchmark::State& state)
        {
            const std::vector<PrimAABB>& boxes = SpatialWorld::Get().boxes;
            bench::RunQueries(state, getQueries(),
                              [&](const Query& query, std::uint32_t* found)
                              { return (kernels->*find)(Ready(query), boxes.data(), boxes.size(), found); });
        };
        const auto sweepBlocks = [=](benchmark::State& state)
        {
            const std::vector<PrimAABB>& boxes = SpatialWorld::Get().boxes;
            std::vector<BoxBlock> blocks((boxes.size() + BoxBlock::kBoxes - 1) / BoxBlock::kBoxes);
            for (std::size_t i = 0; i < boxes.size(); ++i)
                blocks[i / BoxBlock::kBoxes].Set(i % BoxBlock::kBoxes, boxes[i]);
            std::vector<std::uint8_t> masks(blocks.size());
            std::uint64_t hash = 0;
            for (auto _ : state)
            {
                for (const Query& query : getQueries())
                    (kernels->*test)(Ready(query), blocks.data(), blocks.size(), masks.data());
            }
            hash = HashCRC64Data(masks.data(), masks.size());
            bench::Report(state, getQueries().size(), hash);
        };
        benchmark::RegisterBenchmark((name + "Sweep/" + kernels->name).c_str(), sweep)->Unit(benchmark::kMillisecond);
        benchmark::RegisterBenchmark((name + "SweepOfBlocks/" + kernels->name).c_str(), sweepBlocks)
            ->Unit(benchmark::kMillisecond);
    }
}

const std::vector<PrimAABB>& BoxQueries()
{
    return SpatialWorld::Get().boxQueries;
}
const std::vector<PrimFrustum>& Frusta()
{
    return SpatialWorld::Get().frusta;
}

const bool kRegistered = []
{
    VectorSweeps<PrimAABB, PrimAABB>("FindInBox", &BoxQueries, &SimdKernels::findInBox, &SimdKernels::testBox);
    VectorSweeps<PrimFrustum, collision::FrustumQuery>("FindInFrustum", &Frusta, &SimdKernels::findInFrustum,
                                                       &SimdKernels::testFrustum);
    return true;
}();
} // namespace
