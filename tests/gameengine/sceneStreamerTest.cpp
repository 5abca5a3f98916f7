#include "gameengine/engine/sceneStreamer.h"

#include "support/allocations.h"
#include "support/storageFixture.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <random>

using namespace test;
using Store = CEntityArray_SaveLoad_SqliteDB;

namespace
{
constexpr CSceneStreamer::Settings kSettings{.cellSize = 10, .loadRadius = 30, .keepRadius = 45, .rowBudget = 40};

double GetCellDistance(CVector3 position, CVector3 focus)
{
    const auto outside = [](float p, float f)
    {
        const double low = std::floor(static_cast<double>(p) / 10.0) * 10.0;
        return std::max({low - static_cast<double>(f), static_cast<double>(f) - low - 10.0, 0.0});
    };
    return std::hypot(outside(position.x, focus.x), outside(position.y, focus.y));
}

// A stored world of a grid of entities, and a scene into which it is streamed.
class SceneStreamer : public testing::Test
{
protected:
    void MakeWorld(int edge, float distance)
    {
        StorageScene world;
        for (int x = 0; x < edge; ++x)
            for (int y = 0; y < edge; ++y)
            {
                const std::string name = Label('e', x, '-', y);
                const CVector3 position(static_cast<float>(x) * distance, static_cast<float>(y) * distance, 0.0F);
                m_model[name] = position;
                world.Add(name, position);
            }
        ASSERT_TRUE(CEntityArray_SaveLoad::Save(m_path.c_str(), world.GetInterfaces()));
    }

    // After `Finish`: all within reach is there, and of what lies beyond only what has no row.
    void ExpectAround(Store& store, CVector3 focus)
    {
        const Content content = m_scene.GetContent();
        for (const auto& [name, position] : m_model)
        {
            const bool isNear = GetCellDistance(position, focus) <= static_cast<double>(kSettings.loadRadius);
            ASSERT_TRUE(!isNear || content.count(name) == 1) << name;
        }
        for (int i = 0; i < m_scene.GetArray().GetCount(); ++i)
        {
            const CEntity* entity = m_scene.GetArray().Get(i);
            ASSERT_EQ(m_model.at(GetName(entity)), GetPosition(entity));
            ASSERT_TRUE(store.FindRow(entity) < 0 ||
                        GetCellDistance(GetPosition(entity), focus) <= static_cast<double>(kSettings.keepRadius));
        }
    }

    TemporaryFolder m_folder;
    const std::string m_path = m_folder.Path("world.sdb");
    std::map<std::string, CVector3> m_model;
    StorageScene m_scene;
};
} // namespace

TEST_F(SceneStreamer, RandomWalkWithEdits)
{
    MakeWorld(71, 4.0F);
    Store store(m_path.c_str(), m_scene.GetInterfaces());
    CSceneStreamer streamer(store, m_scene.GetArray(), kSettings);
    std::mt19937 random(7);
    const auto number = [&random](float low, float high)
    { return low + (high - low) * static_cast<float>(random() % 10001) / 10000.0F; };
    CEntityArray& array = m_scene.GetArray();
    CVector3 focus(140.0F, 140.0F, 0.0F);
    int created = 0;
    for (int step = 0; step < 600; ++step)
    {
        focus = random() % 60 == 0 ? CVector3(number(-50, 330), number(-50, 330), 0.0F)
                                   : focus + CVector3(number(-6, 6), number(-6, 6), 0.0F);
        for (int edit = 0; edit < 3 && array.GetCount() > 0; ++edit)
        {
            CEntity* entity = array.Get(static_cast<int>(random() % static_cast<unsigned>(array.GetCount())));
            const std::string name = GetName(entity);
            switch (random() % 8)
            {
            case 0:
                store.DeleteEntity(entity);
                array.Remove(entity);
                m_model.erase(name);
                break;
            case 1:
            {
                const std::string fresh = Label("new", created++);
                m_model[fresh] = focus + CVector3(number(-60, 60), number(-60, 60), 0.0F);
                m_scene.Add(fresh, m_model[fresh]);
                break;
            }
            case 2:
                m_model.erase(name);
                Rename(entity, Label("renamed", created));
                m_model[Label("renamed", created++)] = GetPosition(entity);
                break;
            default:
            {
                const float reach = random() % 4 == 0 ? 200.0F : 8.0F;
                m_model[name] = GetPosition(entity) + CVector3(number(-reach, reach), number(-reach, reach), 0.0F);
                Move(entity, m_model[name]);
            }
            }
        }
        ASSERT_TRUE(random() % 40 != 0 || store.Save());
        const CSceneStreamer::Statistics& statistics = streamer.Update(focus);
        ASSERT_LE(statistics.loaded, kSettings.rowBudget);
        ASSERT_LE(statistics.released, kSettings.rowBudget);
        ASSERT_TRUE(streamer.Validate()) << step;
        if (step % 25 == 24)
        {
            ASSERT_TRUE(streamer.Finish(focus));
            ASSERT_TRUE(streamer.Validate());
            ExpectAround(store, focus);
        }
    }
    ASSERT_TRUE(store.Save());
    EXPECT_EQ(LoadContent(m_path), Content(m_model.begin(), m_model.end()));
    ASSERT_TRUE(streamer.ReleaseAll());
    EXPECT_EQ(array.GetCount(), 0);
    EXPECT_TRUE(streamer.Validate());
    ASSERT_TRUE(streamer.Finish(focus));
    ExpectAround(store, focus);
}

TEST_F(SceneStreamer, GoingToAndFroAcrossABorderLoadsNothing)
{
    MakeWorld(30, 5.0F);
    Store store(m_path.c_str(), m_scene.GetInterfaces());
    CSceneStreamer streamer(store, m_scene.GetArray(), kSettings);
    ASSERT_TRUE(streamer.Finish({79.0F, 75.0F, 0.0F}));
    ASSERT_TRUE(streamer.Finish({81.0F, 75.0F, 0.0F}));
    const std::uint64_t read = store.GetCounters().read;
    ASSERT_GT(read, 0U);
    for (int i = 0; i < 20; ++i)
    {
        ASSERT_TRUE(streamer.Finish({i % 2 == 0 ? 79.0F : 81.0F, 75.0F, 0.0F}));
        ASSERT_EQ(streamer.Update({80.0F, 75.0F, 0.0F}).released, 0);
    }
    EXPECT_EQ(store.GetCounters().read, read);
    EXPECT_EQ(store.GetCounters().updated, 0U);
}

TEST_F(SceneStreamer, SteadyFrameAllocatesNothing)
{
    MakeWorld(30, 5.0F);
    Store store(m_path.c_str(), m_scene.GetInterfaces());
    CSceneStreamer streamer(store, m_scene.GetArray(), kSettings);
    m_scene.Add("new and far away", {5000.0F, 0.0F, 0.0F});
    ASSERT_TRUE(streamer.Finish({75.0F, 75.0F, 0.0F}));
    streamer.Update({76.0F, 75.0F, 0.0F});
    const std::size_t before = GetAllocationCount();
    for (int i = 0; i < 10; ++i)
        streamer.Update({75.0F + static_cast<float>(i % 5), 75.0F, 0.0F});
    EXPECT_EQ(GetAllocationCount(), before);
}

// Cells whose edges are no floats: an entity on the last float before an edge, on the edge, and far outside.
TEST_F(SceneStreamer, EveryPositionBelongsToTheCellThatLoadsIt)
{
    StorageScene world;
    const float cellSizes[] = {0.1F, 33.3F, 1.0F / 3.0F, 1e-3F};
    std::vector<CVector3> positions;
    for (const float cellSize : cellSizes)
        for (int n = -40; n < 40; ++n)
        {
            const float edge = static_cast<float>(n) * cellSize;
            for (const float x : {edge, std::nextafter(edge, -1e9F), std::nextafter(edge, 1e9F)})
                positions.emplace_back(x, edge, 0.0F);
        }
    for (const float x : {3e38F, -3e38F, 1e20F, std::numeric_limits<float>::infinity()})
        positions.emplace_back(x, 0.0F, 0.0F);
    for (std::size_t i = 0; i < positions.size(); ++i)
        world.Add(Label("", static_cast<int>(i)), positions[i]);
    ASSERT_TRUE(CEntityArray_SaveLoad::Save(m_path.c_str(), world.GetInterfaces()));
    for (const float cellSize : cellSizes)
    {
        StorageScene scene;
        Store store(m_path.c_str(), scene.GetInterfaces());
        // One cell and its neighbours at a time: what a cell fails to load, nobody else loads.
        CSceneStreamer streamer(store, scene.GetArray(),
                                {.cellSize = cellSize, .loadRadius = cellSize / 8, .keepRadius = cellSize / 8});
        for (std::size_t i = 0; i < positions.size(); ++i)
        {
            if (!std::isfinite(positions[i].x))
                continue;
            ASSERT_TRUE(streamer.Finish(positions[i]));
            ASSERT_TRUE(scene.Find(Label("", static_cast<int>(i)))) << positions[i].x << " in cells of " << cellSize;
        }
        ASSERT_TRUE(streamer.Validate());
    }
}

TEST_F(SceneStreamer, WanderersCountWhereTheyAre)
{
    MakeWorld(30, 5.0F);
    Store store(m_path.c_str(), m_scene.GetInterfaces());
    CSceneStreamer streamer(store, m_scene.GetArray(), kSettings);
    ASSERT_TRUE(streamer.Finish({20.0F, 20.0F, 0.0F}));
    // The player's companion jumps along, to where nothing is loaded yet: it must not be dropped and loaded anew.
    const RefPtr<CEntity> companion(m_scene.Find("e4-4"));
    Move(companion.Get(), {120.0F, 120.0F, 0.0F});
    streamer.Update({120.0F, 120.0F, 0.0F});
    EXPECT_TRUE(m_scene.GetArray().Contains(companion.Get()));
    ASSERT_TRUE(streamer.Finish({120.0F, 120.0F, 0.0F}));
    EXPECT_TRUE(m_scene.GetArray().Contains(companion.Get()));
    EXPECT_TRUE(m_scene.Find("e24-24"));
    EXPECT_FALSE(m_scene.Find("e0-0"));
    // One that drives away from here leaves, saved, after a while.
    Move(m_scene.Find("e24-24"), {1000.0F, 0.0F, 0.0F});
    for (int i = 0; i < 10; ++i)
        streamer.Update({120.0F, 120.0F, 0.0F});
    EXPECT_FALSE(m_scene.Find("e24-24"));
    ASSERT_TRUE(streamer.Finish({1000.0F, 0.0F, 0.0F}));
    EXPECT_TRUE(m_scene.Find("e24-24"));
    // One that gets its place later counts from then on.
    const RefPtr<CEntity> late(new CEntity(m_scene.GetInterfaces()));
    m_scene.GetArray().Add(late.Get());
    late->LockComponentList();
    ComponentTransformDirect::CreateComponent(late.Get());
    late->UnlockComponentList();
    ASSERT_TRUE(store.Save() && streamer.Finish({1000.0F, 0.0F, 0.0F}));
    EXPECT_FALSE(m_scene.GetArray().Contains(late.Get()));
    EXPECT_TRUE(streamer.Validate());
}

TEST_F(SceneStreamer, EntitiesStayWhileTheStoreFails)
{
    MakeWorld(30, 5.0F);
    Store store(m_path.c_str(), m_scene.GetInterfaces());
    store.GetDatabase().setBusyTimeout(0);
    CSceneStreamer streamer(store, m_scene.GetArray(), kSettings);
    const CVector3 here(20.0F, 20.0F, 0.0F);
    const CVector3 there(120.0F, 120.0F, 0.0F);
    ASSERT_TRUE(streamer.Finish(here));
    const Content loaded = m_scene.GetContent();
    Rename(m_scene.Find("e0-0"), "renamed");

    sqlite::database other;
    ASSERT_TRUE(other.open(m_path) && other.execute("BEGIN EXCLUSIVE"));
    {
        // One attempt to save and one to load, whatever the number of cells, and then peace for a while.
        const ExpectLog expected{"locked", "locked"};
        for (int i = 0; i < 100; ++i)
            streamer.Update(there);
    }
    {
        const ExpectLog expected{"locked", "locked"};
        EXPECT_FALSE(streamer.Finish(there));
    }
    {
        const ExpectLog expected{"locked"};
        EXPECT_FALSE(streamer.ReleaseAll());
    }
    EXPECT_EQ(m_scene.GetArray().GetCount(), static_cast<int>(loaded.size()));
    ASSERT_TRUE(other.execute("ROLLBACK"));
    ASSERT_TRUE(streamer.Finish(there));
    EXPECT_FALSE(m_scene.Find("renamed"));
    EXPECT_TRUE(m_scene.Find("e24-24"));

    // The file is locked when the rows of a cell are known, but not read: they come later, none is missing.
    streamer.Update(here);
    ASSERT_TRUE(other.execute("BEGIN EXCLUSIVE"));
    {
        const ExpectLog expected{"locked", "locked"};
        for (int i = 0; i < 20; ++i)
            streamer.Update(here);
    }
    ASSERT_TRUE(other.execute("ROLLBACK"));
    for (int i = 0; i < 400; ++i)
        streamer.Update(here);
    EXPECT_TRUE(m_scene.Find("renamed"));
    EXPECT_EQ(m_scene.GetContent().size(), loaded.size());
    EXPECT_TRUE(streamer.Validate());
}

// Listeners that take entities out, save, or turn to the streamer in the middle of its work.
TEST_F(SceneStreamer, ListenersMayInterfere)
{
    MakeWorld(30, 5.0F);
    Store store(m_path.c_str(), m_scene.GetInterfaces());
    CSceneStreamer* streamer = nullptr;
    CEntityArray& array = m_scene.GetArray();
    bool refuses = true;
    // Subscribed before the streamer, which hears of everything afterwards.
    CEventSubscription listener(
        [&](const EventMessage& message)
        {
            auto* entity = message.first.GetObjectPointer<CEntity>("CEntity");
            if (message.id == CEntityArray::kEntityAdded && refuses && GetName(entity)[1] == '3')
            {
                array.Remove(entity);
                store.RemoveEntity(entity);
            }
            EXPECT_TRUE(message.id != CEntityArray::kEntityRemoved || store.Save());
            streamer->Update({500.0F, 500.0F, 0.0F});
            EXPECT_FALSE(streamer->Finish({0.0F, 0.0F, 0.0F}));
            EXPECT_FALSE(streamer->ReleaseAll());
        });
    listener.Subscribe(array.Events());
    CSceneStreamer made(store, array, kSettings);
    streamer = &made;
    for (int i = 0; i < 100; ++i)
    {
        made.Update({20.0F, 20.0F, 0.0F});
        ASSERT_TRUE(made.Validate());
    }
    EXPECT_FALSE(m_scene.Find("e3-3"));
    EXPECT_TRUE(m_scene.Find("e4-4"));
    refuses = false;
    for (int i = 0; i < 100; ++i)
    {
        made.Update({120.0F, 120.0F, 0.0F});
        ASSERT_TRUE(made.Validate());
    }
    EXPECT_FALSE(m_scene.Find("e4-4"));
    listener.Leave();
    // Nothing was stored twice.
    EXPECT_EQ(LoadContent(m_path), Content(m_model.begin(), m_model.end()));
}
