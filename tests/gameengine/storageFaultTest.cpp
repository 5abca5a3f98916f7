// What outside the program can do to stored scenes: damaged rows, foreign and locked files, full disks, kills.

#include "support/childProcess.h"
#include "support/storageFixture.h"
#include "support/system.h"
#include "tamradeps/sqlite/transaction.h"

#include <chrono>
#include <filesystem>
#include <thread>

using namespace test;
using Store = CEntityArray_SaveLoad_SqliteDB;
using Lines = std::vector<std::string>;

namespace
{
class StorageFault : public StorageTest<Store>
{
protected:
    StorageFault() : StorageTest("world.sdb")
    {
        m_world.Add("first", {1.0F, 2.0F, 3.0F});
        m_world.Add("second", {4.0F, 5.0F, 6.0F});
        m_world.Add("third", {7.0F, 8.0F, 9.0F});
    }

    // The file's second row was damaged, in a way that leaves it readable or not.
    void LoadDamaged(bool isReadable, std::initializer_list<std::string> lines = {})
    {
        m_store.ClearCache();
        m_scene.GetArray().Clear();
        {
            const std::string line = "world.sdb: the data of entity 2 cannot be read";
            const ExpectLog expected = isReadable ? ExpectLog(lines) : ExpectLog{line, line};
            ASSERT_TRUE(m_store.Load(nullptr, nullptr));
            ASSERT_EQ(m_store.LoadRow(2) != nullptr, isReadable);
        }
        ASSERT_EQ(m_scene.GetArray().GetCount(), isReadable ? 3 : 2);
        ASSERT_TRUE(m_scene.Find("first") && m_scene.Find("third"));
        ASSERT_TRUE(m_scene.GetArray().Validate());
    }
    void LoadDamaged(std::string_view text, std::initializer_list<std::string> lines = {})
    {
        const auto* bytes = reinterpret_cast<const std::byte*>(text.data());
        SetBlob(m_store.GetDatabase(), 2, {bytes, bytes + text.size()});
        UDBDatabase data;
        LoadDamaged(UDBReadWriteBinary(true).Read(bytes, text.size(), *data.AllocateGroup()), lines);
    }
};

TEST_F(StorageFault, DamagedRowsAreSkippedAndStayInTheFile)
{
    SaveWorld();
    sqlite::database& database = m_store.GetDatabase();
    {
        const sqlite::transaction undo(database);
        LoadDamaged(true);
        sqlite::query select;
        ASSERT_TRUE(select.prepare(database, "SELECT componentData FROM entities WHERE id=2"));
        ASSERT_EQ(select.step(), sqlite::query::Step::Row);
        const auto blob = select.getBlob(0);
        const std::string sound(reinterpret_cast<const char*>(blob.data()), blob.size());
        for (std::size_t size = 0; size < sound.size(); ++size)
            LoadDamaged(sound.substr(0, size));
        for (std::size_t bit = 0; bit < sound.size() * 8; ++bit)
        {
            std::string damaged = sound;
            damaged[bit / 8] = static_cast<char>(damaged[bit / 8] ^ (1 << (bit % 8)));
            LoadDamaged(damaged);
        }
        std::string deep("UDB\1", 4);
        for (int i = 0; i < 10000; ++i)
            deep.append("\1\x07\0", 3);
        LoadDamaged(deep);
        LoadDamaged(std::string_view("UDB\1\xFF\xFF\xFF\xFF\xFF\x07\0", 11));
        std::string wide("UDB\1\xFF\x20\x4E\0\0", 9);
        for (int i = 0; i < 20000; ++i)
            wide.append("\x97"
                        "component\0\1\x46type\0\x18"
                        "ComponentTransformDirect\0",
                        44);
        LoadDamaged(wide, {"more than 64 components"});
        EXPECT_EQ(m_store.FindEntity(2)->GetComponentCount(), 64);
        for (const char* value : {"NULL", "''", "17", "'text'", "zeroblob(1000000)"})
        {
            ASSERT_TRUE(database.execute(Label("UPDATE entities SET componentData=", value, " WHERE id=2").c_str()));
            LoadDamaged(false);
        }
    }
    const std::string damaged = "UDB\1 but not for long";
    LoadDamaged(damaged);
    Rename(m_scene.GetArray().Get(0), "changed");
    m_scene.Add("new", {});
    ASSERT_TRUE(m_store.Save());
    EXPECT_EQ(Query(m_path, "SELECT id FROM entities ORDER BY id"), (Lines{"1", "2", "3", "4"}));
    EXPECT_EQ(Query(m_path, "SELECT componentData FROM entities WHERE id=2"), Lines{damaged});
}

TEST_F(StorageFault, ForeignFilesAreRefusedAndLeftAlone)
{
    const auto expectRefused = [this](const char* name, std::initializer_list<std::string> lines)
    {
        const ExpectLog expected(lines);
        Store store(m_folder.Path(name).c_str(), m_world.GetInterfaces());
        EXPECT_FALSE(store.Save());
        EXPECT_FALSE(store.Load(nullptr, nullptr));
        EXPECT_EQ(store.GetEntityCount(), 0);
        EXPECT_EQ(m_world.GetArray().GetCount(), 3);
    };
    std::filesystem::create_directory(m_folder.Path("folder.sdb"));
    expectRefused("folder.sdb", {"folder.sdb"});

    // A table of the same name that holds something else: one line for opening, saving and loading each.
    Query(m_folder.Path("other.sdb"), "CREATE TABLE entities AS SELECT 1 AS id, 2 AS what");
    expectRefused("other.sdb", {"no such column", "no such column", "no such column"});
    EXPECT_EQ(Query(m_folder.Path("other.sdb"), "SELECT * FROM entities"), Lines{"1|2"});

    // A database without the table is an empty scene, which loading leaves as it is, and becomes a scene.
    Query(m_path, "CREATE TABLE notes AS SELECT 'kept'");
    const std::string notes = ReadFile(m_path);
    EXPECT_EQ(LoadContent(m_path), Content());
    EXPECT_EQ(ReadFile(m_path), notes);
    SaveWorld();
    EXPECT_EQ(LoadContent(m_path), m_world.GetContent());
    EXPECT_EQ(Query(m_path, "SELECT * FROM notes"), Lines{"kept"});
}

TEST_F(StorageFault, LockedFileIsRefusedUntilItIsReleased)
{
    // One that was opened before there was anything in the file.
    const test::Scene emptyScene;
    CEntityArray_SaveLoad_SqliteDB early(m_path.c_str(), emptyScene.GetInterfaces());
    SaveWorld();
    early.GetDatabase().setBusyTimeout(20);
    m_store.GetDatabase().setBusyTimeout(20);
    std::vector<std::int64_t> rows;
    ASSERT_TRUE(m_store.CollectRows(nullptr, nullptr, rows));
    sqlite::database other;
    ASSERT_TRUE(other.open(m_path) && other.execute("BEGIN EXCLUSIVE"));
    m_scene.Add("new", {});
    bool failed = false;
    {
        const ExpectLog expected{"locked", "locked", "locked", "locked", "locked", "locked", "locked", "locked"};
        for (Store* store : {&early, &m_store}) // of which the first does not know whether the file is empty
        {
            EXPECT_FALSE(store->Load(nullptr, nullptr));
            EXPECT_FALSE(store->CollectRows(nullptr, nullptr, rows));
            EXPECT_EQ(store->LoadRow(1, &failed), nullptr);
            EXPECT_TRUE(std::exchange(failed, false));
        }
        EXPECT_FALSE(m_store.Save() || m_store.CreateEmpty());
    }
    EXPECT_EQ(m_scene.GetArray().GetCount(), 1);
    ASSERT_TRUE(other.execute("ROLLBACK"));
    EXPECT_EQ(m_store.LoadRow(99, &failed), nullptr);
    EXPECT_FALSE(failed);

    // Readers only hold up the end of a save: it fails as a whole, and is done again later.
    ASSERT_TRUE(other.execute("BEGIN; SELECT count(*) FROM entities"));
    {
        const ExpectLog expected{"cannot commit"};
        EXPECT_FALSE(m_store.Save());
    }
    EXPECT_EQ(m_store.GetEntityCount(), 0);
    ASSERT_TRUE(other.execute("ROLLBACK"));
    EXPECT_TRUE(m_store.Save() && m_store.Load(nullptr, nullptr));
    EXPECT_EQ(m_scene.GetArray().GetCount(), 4);
    EXPECT_EQ(LoadContent(m_path), m_scene.GetContent());
}

// Two states between which a saved scene goes to and fro: other names, other places, some other entities.
void SetState(StorageScene& scene, CEntityArray_SaveLoad_Base& store, char state)
{
    CEntityArray& array = scene.GetArray();
    for (int i = array.GetCount() - 1; i >= 0; --i)
    {
        CEntity* entity = array.Get(i);
        std::string name = GetName(entity);
        if (name.ends_with("extra"))
        {
            if (auto* database = dynamic_cast<Store*>(&store))
                database->DeleteEntity(entity);
            array.Remove(entity);
            continue;
        }
        name[0] = state;
        Rename(entity, name);
        Move(entity, {GetPosition(entity).x, state == 'A' ? 0.0F : 100.0F, 0.0F});
    }
    for (int i = 0; i < 60; ++i)
        scene.Add(Label(state, "extra"), {});
}

template <class AnyStore>
void SaveForEver(const std::string& path)
{
    StorageScene scene;
    AnyStore store(path.c_str(), scene.GetInterfaces());
    ChildProcess::TellReady();
    bool done = store.Load(nullptr, nullptr);
    for (char state = scene.Find("A0") ? 'B' : 'A'; done; state = state == 'A' ? 'B' : 'A')
    {
        SetState(scene, store, state);
        done = store.Save();
    }
}

// Kills a process that saves again and again, at random moments, and checks what it leaves each time.
template <class AnyStore>
void KillDuringSaves(const char* name)
{
    ChildProcess::RunIfChild(&SaveForEver<AnyStore>);
    const TemporaryFolder folder;
    const std::string path = folder.Path(name);
    StorageScene scene;
    AnyStore store(path.c_str(), scene.GetInterfaces());
    for (int i = 0; i < 2000; ++i)
        scene.Add(Label("?", i), {static_cast<float>(i), 0.0F, 0.0F});
    SetState(scene, store, 'B');
    const Content stateB = scene.GetContent();
    SetState(scene, store, 'A');
    const Content stateA = scene.GetContent();
    ASSERT_TRUE(CEntityArray_SaveLoad::Save(path.c_str(), scene.GetInterfaces()));
    Random random(20240607);
    int seenA = 0;
    int seenB = 0;
    int interrupted = 0;
    unsigned longestMicroseconds = 60000;
    // Starting anew takes longer than copying.
    const int kills = kIsUnix ? 100 : 30;
    for (int i = 0; i < kills; ++i)
    {
        ChildProcess child(&SaveForEver<AnyStore>, path);
        std::this_thread::sleep_for(std::chrono::microseconds(random.Below(longestMicroseconds)));
        ASSERT_TRUE(child.Kill());
        // A journal or a scratch file is left where a save was cut short.
        for (const auto& entry : std::filesystem::directory_iterator(folder.Path("")))
            interrupted += entry.path() != path ? 1 : 0;
        ASSERT_TRUE(!path.ends_with(".sdb") || Query(path, "PRAGMA integrity_check") == Lines{"ok"});
        const Content content = LoadContent(path);
        seenA += content == stateA ? 1 : 0;
        seenB += content == stateB ? 1 : 0;
        ASSERT_EQ(seenA + seenB, i + 1) << "kill " << i << " left neither of the two states";
        for (const auto& entry : std::filesystem::directory_iterator(folder.Path("")))
            if (entry.path() != path)
                std::filesystem::remove(entry.path());
        // A slow machine needs longer to finish a save at all.
        if (i % 10 == 9 && (seenA == 0 || seenB == 0 || interrupted == 0))
            longestMicroseconds = std::min(longestMicroseconds * 2, 2000000U);
    }
    EXPECT_TRUE(seenA > 0 && seenB > 0 && interrupted > 0) << seenA << ' ' << seenB << ' ' << interrupted;
}
} // namespace

#if defined(__unix__)
// Lets the disk be full at different moments of a save: in the journal, in the middle, at the commit.
TEST_F(StorageFault, FailedSaveChangesNothingAndTheNextOneWritesItAll)
{
    const auto failToSave = [](Store& store, std::uint64_t limit)
    {
        const ExpectLog expected{"world.sdb"};
        const FileSizeLimit fullDisk(limit);
        EXPECT_FALSE(store.Save());
    };
    failToSave(m_store, 0);
    m_scene.Add("made the table", {});
    failToSave(m_store, 5000);
    ASSERT_TRUE(m_store.Save());
    EXPECT_EQ(LoadContent(m_path), m_scene.GetContent());

    for (const std::uint64_t limit : {100, 600, 15000, 30000, 130000})
    {
        std::filesystem::remove(m_path);
        SaveWorld();
        const auto size = std::filesystem::file_size(m_path);
        EXPECT_TRUE(size > 15000 && size < 30000) << size;
        StorageScene scene;
        Store store(m_path.c_str(), scene.GetInterfaces());
        ASSERT_TRUE(store.Load(nullptr, nullptr));
        CEntity* deleted = scene.Find("second");
        const std::int64_t deletedRow = store.FindRow(deleted);
        store.DeleteEntity(deleted);
        scene.GetArray().Remove(deleted);
        Rename(scene.Find("first"), "renamed");
        for (int i = 0; i < 200; ++i)
            scene.Add(std::string(1000, 'n'), {});
        const Store::Counters& counters = store.GetCounters();
        for (int attempt = 0; attempt < 2; ++attempt)
        {
            failToSave(store, limit);
            EXPECT_EQ(LoadContent(m_path), m_world.GetContent());
            EXPECT_EQ(store.GetEntityCount(), 2);
            EXPECT_EQ(counters.inserted + counters.updated + counters.deleted, 0U);
            EXPECT_EQ(store.LoadRow(deletedRow), nullptr);
        }
        ASSERT_TRUE(store.Save());
        EXPECT_TRUE(counters.inserted == 200 && counters.updated == 1 && counters.deleted == 1);
        EXPECT_EQ(LoadContent(m_path), scene.GetContent());
    }
}

#endif

TEST(StorageKill, DatabaseHoldsOneStateOrTheOther)
{
    KillDuringSaves<Store>("world.sdb");
}

TEST(StorageKill, SceneFileHoldsOneStateOrTheOther)
{
    KillDuringSaves<CEntityArray_SaveLoad_Serialized>("world.mfs");
}
