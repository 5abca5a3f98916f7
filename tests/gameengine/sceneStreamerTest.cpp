#include "gameengine/engine/sceneStreamer.h"

#include "support/allocations.h"
#include "support/storageFixture.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <optional>

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

class SceneStreamer : public StorageTest<Store>
{
protected:
    SceneStreamer() : StorageTest("world.sdb") {}

    // Stores a grid of entities named by their places in it, and starts to stream it into the scene.
    void MakeWorld(int edge, float distance)
    {
        for (int x = 0; x < edge; ++x)
            for (int y = 0; y < edge; ++y)
            {
                const CVector3 position(static_cast<float>(x) * distance, static_cast<float>(y) * distance, 0.0F);
                const std::string name = Label('e', x, '-', y);
                m_model[name] = position;
                m_world.Add(name, position);
            }
        SaveWorld();
        m_streamer.emplace(m_store, m_array, kSettings);
    }

    // After `Finish`: all within reach is there, and of what lies beyond only what has no row.
    void FinishAround(CVector3 focus)
    {
        ASSERT_TRUE(m_streamer->Finish(focus) && m_streamer->Validate());
        const Content content = m_scene.GetContent();
        for (const auto& [name, position] : m_model)
            ASSERT_TRUE(GetCellDistance(position, focus) > 30.0 || content.count(name) == 1) << name;
        for (int i = 0; i < m_array.GetCount(); ++i)
        {
            const CEntity* entity = m_array.Get(i);
            ASSERT_EQ(m_model.at(GetName(entity)), GetPosition(entity));
            ASSERT_TRUE(m_store.FindRow(entity) < 0 || GetCellDistance(GetPosition(entity), focus) <= 45.0);
        }
    }

    void Update(CVector3 focus, int times)
    {
        for (int i = 0; i < times; ++i)
        {
            const CSceneStreamer::Statistics& statistics = m_streamer->Update(focus);
            ASSERT_LE(statistics.loaded, kSettings.rowBudget);
            ASSERT_LE(statistics.released, kSettings.rowBudget);
            ASSERT_TRUE(m_streamer->Validate());
        }
    }

    CEntityArray& m_array = m_scene.GetArray();
    std::map<std::string, CVector3> m_model;
    std::optional<CSceneStreamer> m_streamer;
};
} // namespace

TEST_F(SceneStreamer, RandomWalkWithEdits)
{
    MakeWorld(71, 4.0F);
    Random random(7);
    const auto step = [&random](float reach)
    { return CVector3(random.Between(-reach, reach), random.Between(-reach, reach), 0.0F); };
    CVector3 focus(140.0F, 140.0F, 0.0F);
    int created = 0;
    for (int frame = 0; frame < 600; ++frame)
    {
        focus = random.OneIn(60) ? CVector3(140.0F, 140.0F, 0.0F) + step(190) : focus + step(6);
        for (int edit = 0; edit < 3 && m_array.GetCount() > 0; ++edit)
        {
            CEntity* entity = m_array.Get(random.Below(m_array.GetCount()));
            const std::string name = GetName(entity);
            switch (random.Below(8))
            {
            case 0:
                m_store.DeleteEntity(entity);
                m_array.Remove(entity);
                m_model.erase(name);
                break;
            case 1:
                m_model[Label("new", ++created)] = focus + step(60);
                m_scene.Add(Label("new", created), m_model[Label("new", created)]);
                break;
            case 2:
                m_model.erase(name);
                m_model[Label("renamed", ++created)] = GetPosition(entity);
                Rename(entity, Label("renamed", created));
                break;
            default:
                m_model[name] = GetPosition(entity) + step(random.OneIn(4) ? 200.0F : 8.0F);
                Move(entity, m_model[name]);
            }
        }
        ASSERT_TRUE(!random.OneIn(40) || m_store.Save());
        Update(focus, 1);
        if (frame % 25 == 24)
            FinishAround(focus);
        ASSERT_FALSE(HasFailure()) << frame;
    }
    ASSERT_TRUE(m_store.Save());
    EXPECT_EQ(LoadContent(m_path), Content(m_model.begin(), m_model.end()));
    ASSERT_TRUE(m_streamer->ReleaseAll());
    EXPECT_EQ(m_array.GetCount(), 0);
    EXPECT_TRUE(m_streamer->Validate());
    FinishAround(focus);
}

TEST_F(SceneStreamer, GoingToAndFroLoadsAndAllocatesNothing)
{
    MakeWorld(30, 5.0F);
    m_scene.Add("new and far away", {5000.0F, 0.0F, 0.0F});
    ASSERT_TRUE(m_streamer->Finish({79.0F, 75.0F, 0.0F}) && m_streamer->Finish({81.0F, 75.0F, 0.0F}));
    const std::uint64_t read = m_store.GetCounters().read;
    ASSERT_GT(read, 0U);
    m_streamer->Update({79.0F, 75.0F, 0.0F});
    const std::size_t before = GetAllocationCount();
    for (int i = 0; i < 40; ++i)
        EXPECT_EQ(m_streamer->Update({i % 2 == 0 ? 81.0F : 79.0F, 75.0F, 0.0F}).released, 0);
    EXPECT_EQ(GetAllocationCount(), before);
    EXPECT_EQ(m_store.GetCounters().read, read);
    EXPECT_EQ(m_store.GetCounters().updated, 0U);
}

// Cells whose edges are no floats: an entity on the last float before an edge, on the edge, and far outside.
TEST_F(SceneStreamer, EveryPositionBelongsToTheCellThatLoadsIt)
{
    const float cellSizes[] = {0.1F, 33.3F, 1.0F / 3.0F, 1e-3F};
    std::vector<CVector3> positions{{3e38F, 0.0F, 0.0F}, {-3e38F, 0.0F, 0.0F}, {1e20F, 0.0F, 0.0F}};
    for (const float cellSize : cellSizes)
        for (int n = -40; n < 40; ++n)
        {
            const float edge = static_cast<float>(n) * cellSize;
            for (const float x : {edge, std::nextafter(edge, -1e9F), std::nextafter(edge, 1e9F)})
                positions.emplace_back(x, edge, 0.0F);
        }
    for (std::size_t i = 0; i < positions.size(); ++i)
        m_world.Add(Label(i), positions[i]);
    m_world.Add("nowhere", {std::numeric_limits<float>::infinity(), 0.0F, 0.0F});
    SaveWorld();
    for (const float cellSize : cellSizes)
    {
        const StorageScene scene;
        Store store(m_path.c_str(), scene.GetInterfaces());
        // One cell and its neighbours at a time: what a cell fails to load, nobody else loads.
        CSceneStreamer streamer(store, scene.GetArray(),
                                {.cellSize = cellSize, .loadRadius = cellSize / 8, .keepRadius = cellSize / 8});
        for (std::size_t i = 0; i < positions.size(); ++i)
        {
            ASSERT_TRUE(streamer.Finish(positions[i]));
            ASSERT_TRUE(scene.Find(Label(i))) << positions[i].x << " in cells of " << cellSize;
        }
        ASSERT_TRUE(streamer.Validate());
    }
}

TEST_F(SceneStreamer, WanderersCountWhereTheyAre)
{
    MakeWorld(30, 5.0F);
    const CVector3 there(120.0F, 120.0F, 0.0F);
    ASSERT_TRUE(m_streamer->Finish({20.0F, 20.0F, 0.0F}));
    // The player's companion jumps along, to where nothing is loaded yet: it must not be dropped and loaded anew.
    const RefPtr<CEntity> companion(m_scene.Find("e4-4"));
    Move(companion.Get(), there);
    m_streamer->Update(there);
    EXPECT_TRUE(m_array.Contains(companion.Get()));
    ASSERT_TRUE(m_streamer->Finish(there));
    EXPECT_TRUE(m_array.Contains(companion.Get()));
    // One that drives away from here leaves after a while; one that gets its place later counts from then on.
    Move(companion.Get(), {1000.0F, 0.0F, 0.0F});
    const RefPtr<CEntity> late = m_scene.Spawn<>();
    AddComponents<ComponentTransformDirect>(*late);
    ASSERT_TRUE(m_store.Save());
    Update(there, 10);
    EXPECT_FALSE(m_array.Contains(companion.Get()));
    EXPECT_FALSE(m_array.Contains(late.Get()));
}

TEST_F(SceneStreamer, EntitiesStayWhileTheStoreFails)
{
    MakeWorld(30, 5.0F);
    m_store.GetDatabase().setBusyTimeout(0);
    const CVector3 here(20.0F, 20.0F, 0.0F);
    const CVector3 there(120.0F, 120.0F, 0.0F);
    ASSERT_TRUE(m_streamer->Finish(here));
    const int loaded = m_array.GetCount();
    Rename(m_scene.Find("e0-0"), "renamed");
    sqlite::database other;
    ASSERT_TRUE(other.open(m_path) && other.execute("BEGIN EXCLUSIVE"));
    {
        // One attempt to save and one to load, whatever the number of cells, and then peace for a while.
        const ExpectLog expected{"locked", "locked"};
        Update(there, 100);
    }
    {
        const ExpectLog expected{"locked", "locked", "locked"};
        EXPECT_FALSE(m_streamer->Finish(there) || m_streamer->ReleaseAll());
    }
    EXPECT_EQ(m_array.GetCount(), loaded);
    ASSERT_TRUE(other.execute("ROLLBACK") && m_streamer->Finish(there));
    EXPECT_FALSE(m_scene.Find("renamed"));
    EXPECT_TRUE(m_scene.Find("e24-24"));

    // The file is locked when the rows of all cells are known, but not read: they come later, none is missing.
    m_streamer.emplace(m_store, m_array,
                       CSceneStreamer::Settings{.cellSize = 10, .loadRadius = 30, .keepRadius = 45, .rowBudget = 3});
    Update(here, 20);
    ASSERT_TRUE(other.execute("BEGIN EXCLUSIVE"));
    {
        const ExpectLog expected{"locked", "locked"};
        Update(here, 20);
    }
    ASSERT_TRUE(other.execute("ROLLBACK"));
    Update(here, 400);
    EXPECT_TRUE(m_scene.Find("renamed"));
    EXPECT_EQ(m_array.GetCount(), loaded);
}

// Listeners that take entities out, save, or turn to the streamer in the middle of its work.
TEST_F(SceneStreamer, ListenersMayInterfere)
{
    bool refuses = true;
    CEventSubscription listener(
        [&](const EventMessage& message)
        {
            CEntity* entity = GetEntity(message);
            if (message.id == CEntityArray::kEntityAdded && refuses && GetName(entity)[1] == '3')
            {
                m_array.Remove(entity);
                m_store.RemoveEntity(entity);
            }
            EXPECT_TRUE(message.id != CEntityArray::kEntityRemoved || m_store.Save());
            m_streamer->Update({500.0F, 500.0F, 0.0F});
            EXPECT_FALSE(m_streamer->Finish({0.0F, 0.0F, 0.0F}) || m_streamer->ReleaseAll());
        });
    listener.Subscribe(m_array.Events()); // before the streamer, which hears of everything afterwards
    MakeWorld(30, 5.0F);
    Update({20.0F, 20.0F, 0.0F}, 100);
    EXPECT_FALSE(m_scene.Find("e3-3"));
    EXPECT_TRUE(m_scene.Find("e4-4"));
    refuses = false;
    Update({120.0F, 120.0F, 0.0F}, 100);
    EXPECT_FALSE(m_scene.Find("e4-4"));
    listener.Leave();
    // Nothing was stored twice.
    EXPECT_EQ(LoadContent(m_path), Content(m_model.begin(), m_model.end()));
}
