#include "gameengine/engine/componentAlwaysVisible.h"
#include "gameengine/engine/componentRuntimeData.h"
#include "gameengine/engine/sceneStreamer.h"
#include "support/storageFixture.h"

#include <array>
#include <filesystem>
#include <limits>
#include <memory>

#include <gmock/gmock.h>

using namespace test;
using testing::ElementsAre;
using Store = CEntityArray_SaveLoad_SqliteDB;
using Lines = std::vector<std::string>;

namespace
{
// Does anything while it is being loaded or saved.
class ComponentMeddler : public CEntityComponent
{
    TAMRA_COMPONENT(ComponentMeddler, CEntityComponentRepository, 10999);

public:
    explicit ComponentMeddler(CEntity* entity) : CEntityComponent(TYPEID(), entity) {}
    ~ComponentMeddler() override { i_Unregister(REPOSITORY(), this); }
    CEntityComponentProperty* GetProperty(int, CEntityComponentProperty*) override { return nullptr; }
    void SetProperty(int, CEntityComponentProperty*) override {}
    void SerializerSave(UDBGroup&) override { Meddle(); }
    void SerializerLoad(UDBGroup&) override { Meddle(); }
    void Meddle() const
    {
        if (s_meddle)
            s_meddle(GetEntity());
    }
    static inline std::function<void(CEntity*)> s_meddle;
};
TAMRA_COMPONENT_IMPLEMENT(ComponentMeddler, CEntityComponentRepository);

class StorageSqlite : public StorageTest<Store>
{
protected:
    StorageSqlite() : StorageTest("world.sdb") {}

    // Rows read, inserted, updated and deleted.
    std::array<std::uint64_t, 4> Count() const
    {
        const Store::Counters& counters = m_store.GetCounters();
        return {counters.read, counters.inserted, counters.updated, counters.deleted};
    }
    // The only entity of a scene that is loaded anew.
    CEntity* Reload()
    {
        m_store.ClearCache();
        m_scene.GetArray().Clear();
        EXPECT_TRUE(m_store.Load(nullptr, nullptr));
        return m_scene.GetArray().Get(0);
    }
};
} // namespace

TEST_F(StorageSqlite, SchemaAndRowsAreAsPromised)
{
    m_scene.Add("a", {1.5F, -2.0F, 3.0F});
    m_scene.Spawn<>();
    Move(m_scene.Add("nan", {}), {std::numeric_limits<float>::quiet_NaN(), 4.0F, 5.0F});
    m_store.DeleteEntity(m_scene.Find("a")); // has no row yet
    ASSERT_TRUE(m_store.Save());
    EXPECT_EQ(m_store.Get(-1), nullptr);
    EXPECT_EQ(m_store.Get(3), nullptr);
    EXPECT_EQ(m_store.FindRow(nullptr), -1);
    EXPECT_EQ(
        Query(m_path, "SELECT sql FROM sqlite_master WHERE name NOT LIKE 'sqlite_%' ORDER BY rowid"),
        (Lines{
            R"(CREATE TABLE "entities" ( "id"  INTEGER PRIMARY KEY AUTOINCREMENT ,"sceneID"  INTEGER NOT NULL,"pos_x"  REAL NOT NULL,"pos_y"  REAL NOT NULL,"pos_z"  REAL NOT NULL,"componentData"  BLOB))",
            R"(CREATE INDEX "entity_sceneID" ON "entities" ("sceneID"))",
            R"(CREATE INDEX "entity_position" ON "entities" ("pos_x", "pos_y", "pos_z"))"}));
    EXPECT_EQ(Query(m_path, "SELECT sceneID, pos_x, pos_y, pos_z FROM entities ORDER BY pos_z"),
              (Lines{"1|0.0|0.0|0.0", "1|1.5|-2.0|3.0", "1|0.0|4.0|5.0"}));
    EXPECT_EQ(Query(m_path, "SELECT DISTINCT typeof(componentData) FROM entities"), Lines{"blob"});

    // Emptying an existing file gives just the same, and ids start again.
    ASSERT_TRUE(m_store.CreateEmpty());
    EXPECT_EQ(m_store.GetEntityCount(), 0);
    EXPECT_TRUE(Query(m_path, "SELECT id FROM entities").empty());
    ASSERT_TRUE(m_store.Save());
    EXPECT_EQ(Query(m_path, "SELECT id FROM entities"), (Lines{"1", "2", "3"}));
}

TEST_F(StorageSqlite, NameChoosesTheBackEnd)
{
    CInterfaceCollection* const world = m_world.GetInterfaces();
    m_world.Add("a", {});
    for (const auto& [name, firstByte] :
         {std::pair("x.sdb", 'S'), std::pair("y.SDB", 'S'), std::pair("x.mfs", 'T'), std::pair("y.MFS", 'T')})
    {
        const std::string path = m_folder.Path(name);
        EXPECT_TRUE(CEntityArray_SaveLoad::Save(path.c_str(), world)) << name;
        EXPECT_EQ(LoadContent(path), m_world.GetContent()) << name;
        EXPECT_EQ(ReadFile(path)[0], firstByte);
    }
    for (const char* name : {"x.db", "x.sdbx", "x", "db", ""})
    {
        const std::string path = m_folder.Path(name);
        EXPECT_FALSE(CEntityArray_SaveLoad::Save(path.c_str(), world));
        EXPECT_FALSE(CEntityArray_SaveLoad::Load(path.c_str(), world, nullptr, nullptr));
        EXPECT_FALSE(std::filesystem::is_regular_file(path));
    }
    EXPECT_FALSE(CEntityArray_SaveLoad::Save(nullptr, world));
    for (const char* name : {"missing.sdb", "missing.mfs"})
    {
        const ExpectLog expected{name};
        EXPECT_FALSE(CEntityArray_SaveLoad::Load(m_folder.Path(name).c_str(), world, nullptr, nullptr));
        EXPECT_FALSE(std::filesystem::exists(m_folder.Path(name)));
    }

    Lines seen;
    EXPECT_TRUE(CEntityArray_SaveLoad::Load(
        m_folder.Path("x.sdb").c_str(), m_scene.GetInterfaces(),
        [](CEntityArray_SaveLoad_Base& backEnd) { backEnd.SetSceneAddition(false); }, nullptr, nullptr,
        [&](CEntity* entity) { seen.emplace_back(GetName(entity)); }));
    EXPECT_EQ(seen, Lines{"a"});
    EXPECT_EQ(m_scene.GetArray().GetCount(), 0);
}

TEST_F(StorageSqlite, MissingArrayManagerIsReported)
{
    const RefPtr<CInterfaceCollection> interfaces(new CInterfaceCollection);
    const ExpectAssertions expected{"gameengine/engine/interfaceCollection 26",
                                    "gameengine/engine/entityArraySaveLoad 43"};
    Store store(m_path.c_str(), interfaces.Get());
    EXPECT_FALSE(store.Save());
    EXPECT_FALSE(store.Load(nullptr, nullptr));
    EXPECT_TRUE(store.CreateEmpty());
}

TEST_F(StorageSqlite, OnlyNewAndChangedEntitiesAreWritten)
{
    for (int i = 0; i < 50; ++i)
        m_scene.Add(Label("e", i), {static_cast<float>(i), 0.0F, 0.0F});
    ASSERT_TRUE(m_store.Save());
    const std::int64_t written = m_store.GetDatabase().totalChanges();
    ASSERT_TRUE(m_store.Save());
    EXPECT_THAT(Count(), ElementsAre(0, 50, 0, 0));
    EXPECT_EQ(m_store.GetDatabase().totalChanges(), written);
    // Loading turns the order of components round; a second and a third round must not write for that.
    for (std::uint64_t round = 1; round <= 3; ++round)
    {
        const Content content = m_scene.GetContent();
        Reload();
        ASSERT_TRUE(m_store.Save() && m_store.Save());
        EXPECT_EQ(m_scene.GetContent(), content);
        EXPECT_THAT(Count(), ElementsAre(50 * round, 50, round - 1, 0));

        CEntity* moved = m_scene.Find("e7");
        Move(moved, {0.0F, 0.0F, static_cast<float>(round)});
        ASSERT_TRUE(m_store.Save() && m_store.Save());
        EXPECT_THAT(Count(), ElementsAre(50 * round, 50, round, 0));
        EXPECT_EQ(m_store.GetDatabase().totalChanges(), written + static_cast<std::int64_t>(round));
        EXPECT_EQ(Query(m_path, "SELECT id, pos_x FROM entities WHERE pos_z > 0"),
                  Lines{Label(m_store.FindRow(moved), "|0.0")});
    }
    EXPECT_EQ(LoadContent(m_path), m_scene.GetContent());
}

// Rows that another program has deleted, or numbered otherwise.
TEST_F(StorageSqlite, ForeignHandsOnRowsLoseNothing)
{
    CEntity* const entity = m_scene.Add("a", {});
    ASSERT_TRUE(m_store.Save());
    Query(m_path, "DELETE FROM entities");
    Rename(entity, "b");
    CEntity* const twice[] = {entity, entity};
    ASSERT_TRUE(m_store.SaveEntities(twice));
    EXPECT_EQ(LoadContent(m_path), m_scene.GetContent());
    EXPECT_EQ(Query(m_path, "SELECT id FROM entities"), Lines{Label(m_store.FindRow(entity))});

    Query(m_path, "UPDATE entities SET id=-1");
    m_store.ClearCache();
    m_scene.GetArray().Clear();
    CSceneStreamer streamer(m_store, m_scene.GetArray(), {});
    EXPECT_TRUE(streamer.Finish({}) && m_scene.GetArray().GetCount() == 1);
    EXPECT_TRUE(streamer.ReleaseAll() && m_scene.GetArray().GetCount() == 0);
    ASSERT_TRUE(m_store.Load(nullptr, nullptr));
    m_store.DeleteEntity(m_scene.Find("b"));
    m_scene.GetArray().Clear();
    EXPECT_TRUE(m_store.Save() && LoadContent(m_path).empty());
}

TEST_F(StorageSqlite, RegionBoundsAreInclusiveAndMayBeOpen)
{
    for (int x = -1; x <= 3; ++x)
        for (int y = -1; y <= 3; ++y)
            m_world.Add(Label(x, ',', y), {static_cast<float>(x), static_cast<float>(y), static_cast<float>(x * y)});
    constexpr float kInfinity = std::numeric_limits<float>::infinity();
    m_world.Add("far", {kInfinity, -kInfinity, 0.0F});
    const float low[] = {0.0F, 1.0F, 0.0F};
    const float high[] = {2.0F, 2.0F, 2.0F};
    const float* const boxes[][2] = {{low, high}, {low, nullptr}, {nullptr, high}, {nullptr, nullptr}, {high, low}};
    for (const std::string& path : {m_path, m_folder.Path("world.mfs")})
    {
        ASSERT_TRUE(CEntityArray_SaveLoad::Save(path.c_str(), m_world.GetInterfaces()));
        for (const auto& [min, max] : boxes)
        {
            Content expected;
            for (const auto& [name, p] : m_world.GetContent())
                if ((!min || (p.x >= min[0] && p.y >= min[1] && p.z >= min[2])) &&
                    (!max || (p.x <= max[0] && p.y <= max[1] && p.z <= max[2])))
                    expected.emplace(name, p);
            const StorageScene loaded;
            ASSERT_TRUE(CEntityArray_SaveLoad::Load(path.c_str(), loaded.GetInterfaces(), min, max));
            EXPECT_EQ(loaded.GetContent(), expected);
        }
    }
}

TEST_F(StorageSqlite, RowsKeepWhatIsUnknownUntilTheEntityChanges)
{
    const std::string longName(100000, 'n');
    AddComponents<ComponentAlwaysVisible>(*m_world.Add(longName, {}));
    SaveWorld();
    auto& types = CEntityComponentTypeDatabase::Instance();
    types.Remove(types.FindByName("ComponentAlwaysVisible"));
    ASSERT_TRUE(m_store.Load(nullptr, nullptr));
    EXPECT_EQ(m_scene.GetArray().Get(0)->GetComponentCount(), 3) << "run-time data, transform and name";
    ASSERT_TRUE(m_store.Save() && m_store.Save());
    EXPECT_THAT(Count(), ElementsAre(1, 0, 0, 0));
    RegisterBuiltInComponents();
    CEntity* entity = Reload();
    EXPECT_EQ(GetName(entity), longName);
    EXPECT_EQ(entity->GetComponent(0), entity->Find<ComponentRuntimeData>());
    EXPECT_EQ(entity->Find<ComponentRuntimeData>()->flags, ComponentRuntimeData::kAlwaysVisible);

    // So it is with values of a known component that only a later version of it knows.
    UDBDatabase data;
    UDBGroup* group = data.AllocateGroup();
    entity->SerializerSave(*group);
    for (const UDBEntry& component : *group)
        component.GetGroup()->AddNumber("later", 1.0);
    std::vector<std::byte> blob;
    ASSERT_TRUE(UDBReadWriteBinary(false).Write(*group, blob));
    SetBlob(m_store.GetDatabase(), 1, blob);
    entity = Reload();
    ASSERT_TRUE(m_store.Save());
    EXPECT_THAT(Count(), ElementsAre(3, 0, 0, 0));
    Rename(entity, "changed");
    ASSERT_TRUE(m_store.Save());
    EXPECT_THAT(Count(), ElementsAre(3, 0, 1, 0));
}

// Listeners of the array that turn to the loader in the middle of its loop over the rows.
TEST_F(StorageSqlite, ListenersMaySaveLoadAndForgetDuringLoad)
{
    for (int i = 0; i < 40; ++i)
        m_world.Add(Label("e", i), {static_cast<float>(i % 20), 0.0F, 0.0F});
    SaveWorld();
    const float low[] = {0.0F, 0.0F, 0.0F};
    const float high[] = {2.0F, 0.0F, 0.0F};
    const std::function<void(CEntity*)> actions[] = {
        [&](CEntity*) { EXPECT_TRUE(m_store.Load(low, high)); },
        [&](CEntity*) { EXPECT_TRUE(m_store.Load(nullptr, nullptr)); },
        [&](CEntity* entity)
        {
            Move(entity, GetPosition(entity) + CVector3(0.5F, 0.0F, 0.0F));
            EXPECT_TRUE(m_store.Save());
            Move(entity, GetPosition(entity) - CVector3(0.5F, 0.0F, 0.0F));
        },
        [&](CEntity* entity)
        {
            std::vector<std::int64_t> rows;
            EXPECT_TRUE(m_store.CollectRows(nullptr, nullptr, rows));
            EXPECT_TRUE(m_store.LoadRow(rows[rows.size() / 2]));
            EXPECT_EQ(m_store.LoadRow(m_store.FindRow(entity)), entity);
        },
    };
    CEventSubscription listener;
    const auto load = [&](const std::function<void(CEntity*)>& action)
    {
        m_scene.GetArray().Clear();
        listener.SetCallback([&](const EventMessage& message) { action(GetEntity(message)); });
        listener.Subscribe(m_scene.GetArray().Events());
        Reload();
        listener.Leave();
    };
    std::uint64_t read = 0;
    for (const auto& action : actions)
    {
        load(action);
        EXPECT_EQ(m_scene.GetContent(), m_world.GetContent());
        EXPECT_EQ(m_store.GetEntityCount(), 40);
        EXPECT_EQ(m_store.GetCounters().read, read += 40);
        EXPECT_TRUE(m_store.Save());
        EXPECT_EQ(LoadContent(m_path), m_world.GetContent());
    }
    load(
        [&](CEntity* entity)
        {
            listener.Leave();
            m_scene.GetArray().Remove(entity);
            m_store.ClearCache();
        });
    EXPECT_EQ(m_scene.GetArray().GetCount(), 39);
    EXPECT_EQ(m_store.GetEntityCount(), 39);
}

TEST_F(StorageSqlite, ComponentsCannotDisturbTheirOwnLoadingOrSaving)
{
    auto& types = CEntityComponentTypeDatabase::Instance();
    types.Add("ComponentMeddler", ComponentMeddler::TYPEID(), &ComponentMeddler::CreateComponent);
    AddComponents<ComponentMeddler>(*m_world.Add("a", {}));
    SaveWorld();
    {
        ComponentMeddler::s_meddle = [this](CEntity* entity)
        {
            EXPECT_FALSE(m_store.Save());
            EXPECT_TRUE(m_store.Load(nullptr, nullptr));
            m_store.RemoveEntity(entity);
            m_store.DeleteEntity(entity);
            m_store.ClearCache();
        };
        // Saving, a row and the cache while it is read; saving, forgetting, deleting and the cache while it is saved.
        const std::string refused = "turned to the store while";
        const ExpectLog expected{refused, refused, refused, refused, refused, refused, refused};
        EXPECT_TRUE(m_store.Load(nullptr, nullptr) && m_store.Save());
        EXPECT_EQ(m_store.GetEntityCount(), 1);
        ComponentMeddler::s_meddle = nullptr;
    }
    EXPECT_EQ(m_scene.GetContent(), m_world.GetContent());
    types.Remove(types.FindByName("ComponentMeddler"));
}

// Both stores: a component that takes entities away, of which some were saved before and others wait for it.
TEST_F(StorageSqlite, ComponentsMayTakeEntitiesAwayDuringSave)
{
    auto& types = CEntityComponentTypeDatabase::Instance();
    types.Add("ComponentMeddler", ComponentMeddler::TYPEID(), &ComponentMeddler::CreateComponent);
    CEntityArray& array = m_scene.GetArray();
    for (const std::string& path : {m_path, m_folder.Path("world.mfs")})
    {
        for (int i = 0; i < 7; ++i)
            m_scene.Add(Label("e", i), {});
        AddComponents<ComponentMeddler>(*array.Get(3));
        const Content content = m_scene.GetContent();
        ComponentMeddler::s_meddle = [&](CEntity* meddler)
        {
            for (int i = array.GetCount() - 1; i >= 0; --i)
                if (array.Get(i) != meddler)
                    array.Remove(array.Get(i));
        };
        EXPECT_TRUE(CEntityArray_SaveLoad::Save(path.c_str(), m_scene.GetInterfaces()));
        ComponentMeddler::s_meddle = nullptr;
        EXPECT_EQ(array.GetCount(), 1);
        EXPECT_EQ(LoadContent(path), content);
        array.Clear();
    }
    types.Remove(types.FindByName("ComponentMeddler"));
}

// Both stores: entities that only the store holds turn to it when they die, by being forgotten or with the store.
TEST_F(StorageSqlite, DyingEntitiesMayTurnToTheStore)
{
    for (int i = 0; i < 5; ++i)
        m_world.Add(Label("e", i), {});
    SaveWorld();
    const std::string other = m_folder.Path("world.mfs");
    ASSERT_TRUE(CEntityArray_SaveLoad::Save(other.c_str(), m_world.GetInterfaces()));
    CInterfaceCollection* const interfaces = m_scene.GetInterfaces();
    const int before = CEntity::GetLiveCount();
    for (int round = 0; round < 4; ++round)
    {
        std::unique_ptr<CEntityArray_SaveLoad_Base> store;
        if (round % 2 == 0)
            store = std::make_unique<Store>(m_path.c_str(), interfaces);
        else
            store = std::make_unique<CEntityArray_SaveLoad_Serialized>(other.c_str(), interfaces);
        store->SetSceneAddition(false);
        ASSERT_TRUE(store->Load(nullptr, nullptr));
        std::deque<CEventSubscription> listeners;
        store->IterateOverEntities(
            [&, raw = store.get()](CEntity* entity)
            {
                const auto forget = [raw, entity](const EventMessage&)
                {
                    raw->RemoveEntity(entity);
                    raw->RemoveEntity(raw->Get(0));
                };
                listeners.emplace_back(forget).Subscribe(entity->Events());
            });
        if (round < 2)
            store->RemoveEntity(store->Get(1));
        else
            store.reset();
        EXPECT_EQ(CEntity::GetLiveCount(), before);
    }
    auto* const unreferenced = new CEntity(interfaces);
    CEntityArray_SaveLoad_Serialized(other.c_str(), interfaces).RemoveEntity(unreferenced);
    EXPECT_EQ(CEntity::GetLiveCount(), before + 1);
    const RefPtr<CEntity> reference(unreferenced);
}
