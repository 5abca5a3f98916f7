#include "gameengine/engine/componentAlwaysVisible.h"
#include "gameengine/engine/componentRuntimeData.h"
#include "support/storageFixture.h"
#include "tamradeps/udb/udbGroup.h"

#include <algorithm>
#include <filesystem>
#include <limits>
#include <set>

using namespace test;
using Store = CEntityArray_SaveLoad_SqliteDB;

namespace
{
// Turns to the store while it is being loaded or saved.
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
    static void Meddle()
    {
        if (!s_store)
            return;
        EXPECT_FALSE(s_store->Save());
        EXPECT_TRUE(s_store->Load(nullptr, nullptr));
    }
    static inline Store* s_store = nullptr;
};
TAMRA_COMPONENT_IMPLEMENT(ComponentMeddler, CEntityComponentRepository);

class StorageSqlite : public testing::Test
{
protected:
    TemporaryFolder m_folder;
    const std::string m_path = m_folder.Path("world.sdb");
};

void ExpectCounters(const Store& store, std::uint64_t read, std::uint64_t inserted, std::uint64_t updated,
                    std::uint64_t deleted)
{
    const Store::Counters& counters = store.GetCounters();
    EXPECT_EQ(counters.read, read);
    EXPECT_EQ(counters.inserted, inserted);
    EXPECT_EQ(counters.updated, updated);
    EXPECT_EQ(counters.deleted, deleted);
}
} // namespace

TEST_F(StorageSqlite, SchemaAndRowsAreAsPromised)
{
    StorageScene scene;
    scene.Add("a", {1.5F, -2.0F, 3.0F});
    scene.GetArray().Add(new CEntity(scene.GetInterfaces()));
    Move(scene.Add("nan", {}), {std::numeric_limits<float>::quiet_NaN(), 4.0F, 5.0F});
    Store store(m_path.c_str(), scene.GetInterfaces());
    ASSERT_TRUE(store.Save());
    EXPECT_EQ(
        Query(m_path, "SELECT sql FROM sqlite_master WHERE name NOT LIKE 'sqlite_%' ORDER BY rowid"),
        (std::vector<std::string>{
            R"(CREATE TABLE "entities" ( "id"  INTEGER PRIMARY KEY AUTOINCREMENT ,"sceneID"  INTEGER NOT NULL,"pos_x"  REAL NOT NULL,"pos_y"  REAL NOT NULL,"pos_z"  REAL NOT NULL,"componentData"  BLOB))",
            R"(CREATE INDEX "entity_sceneID" ON "entities" ("sceneID"))",
            R"(CREATE INDEX "entity_position" ON "entities" ("pos_x", "pos_y", "pos_z"))"}));
    auto rows = Query(m_path, "SELECT sceneID, pos_x, pos_y, pos_z FROM entities");
    std::sort(rows.begin(), rows.end());
    EXPECT_EQ(rows, (std::vector<std::string>{"1|0.0|0.0|0.0", "1|0.0|4.0|5.0", "1|1.5|-2.0|3.0"}));
    EXPECT_EQ(Query(m_path, "SELECT DISTINCT typeof(componentData) FROM entities"), std::vector<std::string>{"blob"});

    // Emptying an existing file gives just the same, and ids start again.
    ASSERT_TRUE(store.CreateEmpty());
    EXPECT_EQ(store.GetEntityCount(), 0);
    EXPECT_TRUE(Query(m_path, "SELECT id FROM entities").empty());
    ASSERT_TRUE(store.Save());
    EXPECT_EQ(Query(m_path, "SELECT id FROM entities"), (std::vector<std::string>{"1", "2", "3"}));
}

TEST_F(StorageSqlite, NameChoosesTheBackEnd)
{
    StorageScene scene;
    scene.Add("a", {});
    for (const char* name : {"x.sdb", "x.SDB", "x.Sdb", "x.mfs", "x.MFS"})
    {
        const std::string path = m_folder.Path(name);
        EXPECT_TRUE(CEntityArray_SaveLoad::Save(path.c_str(), scene.GetInterfaces())) << name;
        EXPECT_EQ(LoadContent(path), scene.GetContent()) << name;
    }
    EXPECT_EQ(static_cast<char>(ReadFile(m_folder.Path("x.SDB"))[0]), 'S');
    EXPECT_EQ(static_cast<char>(ReadFile(m_folder.Path("x.MFS"))[0]), 'T');
    for (const char* name : {"x.db", "x.sdbx", "x", "db", ""})
    {
        const std::string path = m_folder.Path(name);
        EXPECT_FALSE(CEntityArray_SaveLoad::Save(path.c_str(), scene.GetInterfaces()));
        EXPECT_FALSE(CEntityArray_SaveLoad::Load(path.c_str(), scene.GetInterfaces(), nullptr, nullptr));
        EXPECT_FALSE(std::filesystem::is_regular_file(path));
    }
    EXPECT_FALSE(CEntityArray_SaveLoad::Save(nullptr, scene.GetInterfaces()));

    std::set<std::string> seen;
    StorageScene other;
    EXPECT_TRUE(CEntityArray_SaveLoad::Load(
        m_folder.Path("x.sdb").c_str(), other.GetInterfaces(),
        [](CEntityArray_SaveLoad_Base& backEnd) { backEnd.SetSceneAddition(false); }, nullptr, nullptr,
        [&](CEntity* entity) { seen.insert(GetName(entity)); }));
    EXPECT_EQ(seen, std::set<std::string>{"a"});
    EXPECT_EQ(other.GetArray().GetCount(), 0);
}

TEST_F(StorageSqlite, MissingArrayManagerIsReported)
{
    const RefPtr<CInterfaceCollection> interfaces(new CInterfaceCollection);
    const ExpectAssertions expected{"gameengine/engine/interfaceCollection 26",
                                    "gameengine/engine/entityArraySaveLoad 43"};
    Store store(m_path.c_str(), interfaces.Get());
    EXPECT_TRUE(store.IsOpen());
    EXPECT_FALSE(store.Save());
    EXPECT_FALSE(store.Load(nullptr, nullptr));
    EXPECT_TRUE(store.CreateEmpty());
}

TEST_F(StorageSqlite, OnlyNewAndChangedEntitiesAreWritten)
{
    StorageScene scene;
    for (int i = 0; i < 50; ++i)
        scene.Add(Label("e", i), {static_cast<float>(i), 0.0F, 0.0F});
    {
        Store store(m_path.c_str(), scene.GetInterfaces());
        ASSERT_TRUE(store.Save());
        ExpectCounters(store, 0, 50, 0, 0);
        const std::int64_t written = store.GetDatabase().totalChanges();
        ASSERT_TRUE(store.Save());
        ExpectCounters(store, 0, 50, 0, 0);
        EXPECT_EQ(store.GetDatabase().totalChanges(), written);
    }
    // Loading turns the order of components round; a second and a third round must not write for that.
    for (int round = 0; round < 3; ++round)
    {
        StorageScene loaded;
        Store store(m_path.c_str(), loaded.GetInterfaces());
        ASSERT_TRUE(store.Load(nullptr, nullptr));
        ASSERT_EQ(loaded.GetContent(), scene.GetContent());
        ASSERT_TRUE(store.Save());
        ASSERT_TRUE(store.Save());
        EXPECT_EQ(store.GetDatabase().totalChanges(), 0);

        CEntity* moved = loaded.Find("e7");
        std::string row = std::to_string(store.FindRow(moved));
        Move(moved, {0.0F, 0.0F, static_cast<float>(round + 1)});
        Move(scene.Find("e7"), GetPosition(moved));
        ASSERT_TRUE(store.Save());
        ASSERT_TRUE(store.Save());
        ExpectCounters(store, 50, 0, 1, 0);
        EXPECT_EQ(Query(m_path, Label("SELECT id, pos_x FROM entities WHERE pos_z > ", round)),
                  std::vector<std::string>{row.append("|0.0")});
    }
    EXPECT_EQ(LoadContent(m_path), scene.GetContent());
}

TEST_F(StorageSqlite, RegionBoundsAreInclusiveAndMayBeOpen)
{
    StorageScene scene;
    for (int x = -1; x <= 3; ++x)
        for (int y = -1; y <= 3; ++y)
            scene.Add(Label(Label("", x).append(",").c_str(), y),
                      {static_cast<float>(x), static_cast<float>(y), static_cast<float>(x * y)});
    constexpr float kInfinity = std::numeric_limits<float>::infinity();
    scene.Add("far", {kInfinity, -kInfinity, 0.0F});
    ASSERT_TRUE(CEntityArray_SaveLoad::Save(m_path.c_str(), scene.GetInterfaces()));
    ASSERT_TRUE(CEntityArray_SaveLoad::Save(m_folder.Path("world.mfs").c_str(), scene.GetInterfaces()));

    const float low[] = {0.0F, 1.0F, 0.0F};
    const float high[] = {2.0F, 2.0F, 2.0F};
    struct Case
    {
        const float* min;
        const float* max;
    };
    for (const Case& box : {Case{low, high}, Case{low, nullptr}, Case{nullptr, high}, Case{nullptr, nullptr},
                            Case{high, low}, Case{low, low}})
        for (const std::string& path : {m_path, m_folder.Path("world.mfs")})
        {
            Content expected;
            for (const auto& [name, p] : scene.GetContent())
                if ((!box.min || (p.x >= box.min[0] && p.y >= box.min[1] && p.z >= box.min[2])) &&
                    (!box.max || (p.x <= box.max[0] && p.y <= box.max[1] && p.z <= box.max[2])))
                    expected.emplace(name, p);
            StorageScene loaded;
            ASSERT_TRUE(CEntityArray_SaveLoad::Load(path.c_str(), loaded.GetInterfaces(), box.min, box.max));
            EXPECT_EQ(loaded.GetContent(), expected);
        }

    // Overlapping regions, one loader: each row once.
    StorageScene loaded;
    Store store(m_path.c_str(), loaded.GetInterfaces());
    ASSERT_TRUE(store.Load(low, high) && store.Load(low, high) && store.Load(nullptr, high) &&
                store.Load(nullptr, nullptr));
    EXPECT_EQ(loaded.GetContent(), scene.GetContent());
    EXPECT_EQ(store.GetEntityCount(), 26);
    // An entity that the game took out stays out while the loader knows it.
    loaded.GetArray().Remove(loaded.Find("0,0"));
    ASSERT_TRUE(store.Load(nullptr, nullptr));
    EXPECT_FALSE(loaded.Find("0,0"));
    store.ClearCache();
    EXPECT_EQ(store.GetEntityCount(), 0);
    ASSERT_TRUE(store.Load(low, low));
    EXPECT_EQ(store.GetEntityCount(), 1);
    EXPECT_EQ(loaded.GetArray().GetCount(), 26);
}

TEST_F(StorageSqlite, LoadedEntitiesHaveRunTimeDataFirst)
{
    StorageScene scene;
    CEntity* entity = scene.Add(std::string(100000, 'n'), {});
    entity->LockComponentList();
    ComponentAlwaysVisible::CreateComponent(entity);
    entity->UnlockComponentList();
    ASSERT_TRUE(CEntityArray_SaveLoad::Save(m_path.c_str(), scene.GetInterfaces()));
    StorageScene loaded;
    ASSERT_TRUE(CEntityArray_SaveLoad::Load(m_path.c_str(), loaded.GetInterfaces(), nullptr, nullptr));
    ASSERT_EQ(loaded.GetArray().GetCount(), 1);
    const CEntity* copy = loaded.GetArray().Get(0);
    EXPECT_EQ(GetName(copy), std::string(100000, 'n'));
    EXPECT_EQ(copy->GetComponent(0), copy->Find<ComponentRuntimeData>());
    EXPECT_EQ(copy->Find<ComponentRuntimeData>()->flags, ComponentRuntimeData::kAlwaysVisible);
}

TEST_F(StorageSqlite, ForgettingKeepsTheRowDeletingDeletesIt)
{
    StorageScene scene;
    CEntity* kept = scene.Add("kept", {});
    CEntity* forgotten = scene.Add("forgotten", {});
    CEntity* deleted = scene.Add("deleted", {});
    Store store(m_path.c_str(), scene.GetInterfaces());
    store.DeleteEntity(deleted); // has no row yet
    ASSERT_TRUE(store.Save());
    ExpectCounters(store, 0, 3, 0, 0);
    const std::int64_t row = store.FindRow(deleted);

    store.RemoveEntity(forgotten);
    store.DeleteEntity(deleted);
    EXPECT_EQ(store.GetEntityCount(), 1);
    EXPECT_EQ(store.Get(0), kept);
    EXPECT_EQ(store.Get(1), nullptr);
    EXPECT_EQ(store.Get(-1), nullptr);
    EXPECT_EQ(store.FindRow(forgotten), -1);
    EXPECT_EQ(store.FindRow(nullptr), -1);
    scene.GetArray().Remove(forgotten);
    scene.GetArray().Remove(deleted);

    // Not loaded again, although its row is there till the next full save.
    ASSERT_TRUE(store.SaveEntities({}));
    EXPECT_EQ(store.LoadRow(row), nullptr);
    std::vector<std::int64_t> rows;
    ASSERT_TRUE(store.CollectRows(nullptr, nullptr, rows));
    EXPECT_EQ(rows.size(), 2U);
    ASSERT_TRUE(store.Load(nullptr, nullptr));
    EXPECT_EQ(scene.GetContent(), (Content{{"kept", {}}, {"forgotten", {}}}));
    EXPECT_EQ(Query(m_path, "SELECT id FROM entities").size(), 3U);
    ASSERT_TRUE(store.Save());
    ASSERT_TRUE(store.Save());
    ExpectCounters(store, 1, 3, 0, 1);
    EXPECT_EQ(Query(m_path, "SELECT id FROM entities").size(), 2U);
}

TEST_F(StorageSqlite, RowsKeepWhatIsUnknownUntilTheEntityChanges)
{
    StorageScene scene;
    CEntity* entity = scene.Add("a", {});
    entity->LockComponentList();
    ComponentAlwaysVisible::CreateComponent(entity);
    entity->UnlockComponentList();
    ASSERT_TRUE(CEntityArray_SaveLoad::Save(m_path.c_str(), scene.GetInterfaces()));

    auto& types = CEntityComponentTypeDatabase::Instance();
    types.Remove(types.FindByName("ComponentAlwaysVisible"));
    {
        const CScene loaded;
        Store store(m_path.c_str(), loaded.GetInterfaces());
        ASSERT_TRUE(store.Load(nullptr, nullptr));
        ASSERT_EQ(loaded.GetArray().GetCount(), 1);
        EXPECT_EQ(loaded.GetArray().Get(0)->GetComponentCount(), 3);
        ASSERT_TRUE(store.Save());
        ASSERT_TRUE(store.Save());
        EXPECT_EQ(store.GetCounters().updated, 0U);
    }
    RegisterBuiltInComponents();
    StorageScene loaded;
    Store store(m_path.c_str(), loaded.GetInterfaces());
    ASSERT_TRUE(store.Load(nullptr, nullptr));
    EXPECT_TRUE(loaded.GetArray().Get(0)->Find<ComponentAlwaysVisible>());

    // So it is with values of a known component that only a later version of it knows.
    UDBDatabase data;
    UDBGroup* group = data.AllocateGroup();
    loaded.GetArray().Get(0)->SerializerSave(*group);
    for (const UDBEntry& component : *group)
        component.GetGroup()->AddNumber("later", 1.0);
    std::vector<std::byte> blob;
    ASSERT_TRUE(UDBReadWriteBinary(false).Write(*group, blob));
    SetBlob(store.GetDatabase(), 1, blob);
    store.ClearCache();
    ASSERT_TRUE(store.Load(nullptr, nullptr));
    loaded.GetArray().Remove(loaded.GetArray().Get(store.FindRow(loaded.GetArray().Get(0)) < 0 ? 0 : 1));
    ASSERT_TRUE(store.Save());
    EXPECT_EQ(store.GetCounters().updated, 0U);
    Rename(loaded.GetArray().Get(0), "changed");
    ASSERT_TRUE(store.Save());
    EXPECT_EQ(store.GetCounters().updated, 1U);
}

// Listeners of the array that turn to the loader in the middle of its loop over the rows.
TEST_F(StorageSqlite, ListenersMaySaveLoadAndForgetDuringLoad)
{
    StorageScene scene;
    for (int i = 0; i < 40; ++i)
        scene.Add(Label("e", i), {static_cast<float>(i % 20), 0.0F, 0.0F});
    ASSERT_TRUE(CEntityArray_SaveLoad::Save(m_path.c_str(), scene.GetInterfaces()));

    using Action = std::function<void(Store&, StorageScene&, CEntity*)>;
    const float low[] = {0.0F, 0.0F, 0.0F};
    const float high[] = {2.0F, 0.0F, 0.0F};
    const Action actions[] = {
        [&](Store& store, StorageScene&, CEntity*) { EXPECT_TRUE(store.Load(low, high)); },
        [](Store& store, StorageScene&, CEntity*) { EXPECT_TRUE(store.Load(nullptr, nullptr)); },
        [](Store& store, StorageScene&, CEntity* entity)
        {
            Move(entity, GetPosition(entity) + CVector3(0.5F, 0.0F, 0.0F));
            EXPECT_TRUE(store.Save());
            Move(entity, GetPosition(entity) - CVector3(0.5F, 0.0F, 0.0F));
        },
        [](Store& store, StorageScene&, CEntity* entity)
        {
            std::vector<std::int64_t> rows;
            EXPECT_TRUE(store.CollectRows(nullptr, nullptr, rows));
            EXPECT_TRUE(store.LoadRow(rows[rows.size() / 2]));
            EXPECT_EQ(store.LoadRow(store.FindRow(entity)), entity);
        },
    };
    for (const Action& action : actions)
    {
        StorageScene loaded;
        Store store(m_path.c_str(), loaded.GetInterfaces());
        CEventSubscription listener([&](const EventMessage& message)
                                    { action(store, loaded, message.first.GetObjectPointer<CEntity>("CEntity")); });
        listener.Subscribe(loaded.GetArray().Events());
        EXPECT_TRUE(store.Load(nullptr, nullptr));
        listener.Leave();
        EXPECT_EQ(loaded.GetContent(), scene.GetContent());
        EXPECT_EQ(store.GetEntityCount(), 40);
        EXPECT_EQ(store.GetCounters().read, 40U);
        EXPECT_TRUE(store.Save());
        EXPECT_EQ(LoadContent(m_path), scene.GetContent());
    }

    StorageScene loaded;
    Store store(m_path.c_str(), loaded.GetInterfaces());
    CEventSubscription listener;
    listener.SetCallback(
        [&](const EventMessage& message)
        {
            listener.Leave();
            loaded.GetArray().Remove(message.first.GetObjectPointer<CEntity>("CEntity"));
            store.ClearCache();
        });
    listener.Subscribe(loaded.GetArray().Events());
    EXPECT_TRUE(store.Load(nullptr, nullptr));
    EXPECT_EQ(loaded.GetArray().GetCount(), 39);
    EXPECT_EQ(store.GetEntityCount(), 39);
    listener.Leave();
}

TEST_F(StorageSqlite, ComponentsCannotDisturbTheirOwnLoadingOrSaving)
{
    auto& types = CEntityComponentTypeDatabase::Instance();
    types.Add("ComponentMeddler", ComponentMeddler::TYPEID(), &ComponentMeddler::CreateComponent);
    StorageScene scene;
    CEntity* entity = scene.Add("a", {});
    entity->LockComponentList();
    ComponentMeddler::CreateComponent(entity);
    entity->UnlockComponentList();
    ASSERT_TRUE(CEntityArray_SaveLoad::Save(m_path.c_str(), scene.GetInterfaces()));
    {
        StorageScene loaded;
        Store store(m_path.c_str(), loaded.GetInterfaces());
        ComponentMeddler::s_store = &store;
        // A save and a row while it is read, a save while it is saved.
        const std::string refused = "tried to load or save";
        const ExpectLog expected{refused, refused, refused};
        EXPECT_TRUE(store.Load(nullptr, nullptr));
        EXPECT_TRUE(store.Save());
        ComponentMeddler::s_store = nullptr;
        EXPECT_EQ(loaded.GetContent(), scene.GetContent());
    }
    types.Remove(types.FindByName("ComponentMeddler"));
}
