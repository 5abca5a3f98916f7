// What outside the program can do to stored scenes: damaged rows, foreign and locked files, full disks, kills.

#include "support/storageFixture.h"
#include "tamradeps/sqlite/transaction.h"

#include <chrono>
#include <cstring>
#include <filesystem>
#include <functional>
#include <optional>
#include <random>
#include <thread>

#if defined(__unix__)
#include <csignal>

#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>
#endif

using namespace test;
using Store = CEntityArray_SaveLoad_SqliteDB;

namespace
{
class StorageFault : public testing::Test
{
protected:
    StorageFault()
    {
        m_scene.Add("first", {1.0F, 2.0F, 3.0F});
        m_scene.Add("second", {4.0F, 5.0F, 6.0F});
        m_scene.Add("third", {7.0F, 8.0F, 9.0F});
    }
    void Save() { ASSERT_TRUE(CEntityArray_SaveLoad::Save(m_path.c_str(), m_scene.GetInterfaces())); }

    TemporaryFolder m_folder;
    const std::string m_path = m_folder.Path("world.sdb");
    StorageScene m_scene;
};

bool IsReadable(const std::vector<std::byte>& blob)
{
    UDBDatabase data;
    return UDBReadWriteBinary(true).Read(blob.data(), blob.size(), *data.AllocateGroup());
}

std::vector<std::byte> ToBytes(std::string_view text)
{
    const auto* bytes = reinterpret_cast<const std::byte*>(text.data());
    return {bytes, bytes + text.size()};
}

// Damages the file's second row in every way that is asked for, and loads the scene each time.
class RowDamage
{
public:
    explicit RowDamage(const std::string& path) : m_store(path.c_str(), m_loaded.GetInterfaces()), m_undo(m_database) {}

    void Load(const std::vector<std::byte>& blob)
    {
        SetBlob(m_database, 2, blob);
        Load(IsReadable(blob));
    }

    void Load(bool isReadable)
    {
        m_store.ClearCache();
        m_loaded.GetArray().Clear();
        std::optional<ExpectLog> expected;
        if (!isReadable)
            expected.emplace(std::initializer_list<std::string>{"world.sdb: the data of entity 2 cannot be read"});
        ASSERT_TRUE(m_store.Load(nullptr, nullptr));
        ASSERT_EQ(m_loaded.GetArray().GetCount(), isReadable ? 3 : 2);
        ASSERT_EQ(m_store.FindEntity(2) != nullptr, isReadable);
        ASSERT_TRUE(GetName(m_store.FindEntity(1)) && GetName(m_store.FindEntity(3)));
        ASSERT_TRUE(m_loaded.GetArray().Validate());
    }

    StorageScene m_loaded;
    Store m_store;
    sqlite::database& m_database = m_store.GetDatabase();
    sqlite::transaction m_undo;
};
} // namespace

TEST_F(StorageFault, DamagedRowsAreSkippedAndTheOthersLoad)
{
    Save();
    RowDamage damage(m_path);
    damage.Load(true);
    const std::vector<std::byte> sound = GetBytes(damage.m_store.FindEntity(2));
    for (std::size_t size = 0; size < sound.size(); ++size)
        damage.Load({sound.begin(), sound.begin() + static_cast<std::ptrdiff_t>(size)});
    for (std::size_t bit = 0; bit < sound.size() * 8; ++bit)
    {
        std::vector<std::byte> blob = sound;
        blob[bit / 8] ^= std::byte{1} << (bit % 8);
        damage.Load(blob);
    }

    std::string deep("UDB\1", 4);
    for (int i = 0; i < 10000; ++i)
        deep.append("\1\x07\0", 3);
    damage.Load(ToBytes(deep));
    damage.Load(ToBytes(std::string("UDB\1\xFF\xFF\xFF\xFF\xFF\x07\0", 11)));
    std::string wide("UDB\1\xFF\x20\x4E\0\0", 9);
    for (int i = 0; i < 20000; ++i)
        wide.append("\x97"
                    "component\0\1\x46type\0\x18"
                    "ComponentTransformDirect\0",
                    44);
    damage.Load(ToBytes(wide));
    for (const char* value : {"NULL", "''", "17", "'text'", "zeroblob(1000000)"})
    {
        ASSERT_TRUE(damage.m_database.execute(
            std::string("UPDATE entities SET componentData=").append(value).append(" WHERE id=2").c_str()));
        damage.Load(false);
    }
}

TEST_F(StorageFault, DamagedRowsStayInTheFileAsTheyAre)
{
    Save();
    const std::vector<std::byte> damaged = ToBytes("UDB\1 but not for long");
    {
        sqlite::database database;
        ASSERT_TRUE(database.open(m_path));
        SetBlob(database, 2, damaged);
    }
    StorageScene loaded;
    Store store(m_path.c_str(), loaded.GetInterfaces());
    {
        const ExpectLog expected{"entity 2 ", "entity 2 "};
        ASSERT_TRUE(store.Load(nullptr, nullptr));
        EXPECT_EQ(store.LoadRow(2), nullptr);
    }
    Rename(loaded.GetArray().Get(0), "changed");
    loaded.Add("new", {});
    ASSERT_TRUE(store.Save());
    EXPECT_EQ(Query(m_path, "SELECT id FROM entities ORDER BY id"), (std::vector<std::string>{"1", "2", "3", "4"}));
    EXPECT_EQ(Query(m_path, "SELECT componentData FROM entities WHERE id=2"),
              std::vector<std::string>{"UDB\1 but not for long"});
}

TEST_F(StorageFault, ForeignFilesAreRefusedAndLeftAlone)
{
    const auto saveAndLoad = [this](const std::string& path)
    {
        Store store(path.c_str(), m_scene.GetInterfaces());
        EXPECT_FALSE(store.Save());
        EXPECT_FALSE(store.Load(nullptr, nullptr));
        EXPECT_EQ(store.GetEntityCount(), 0);
        EXPECT_EQ(m_scene.GetArray().GetCount(), 3);
    };
    std::filesystem::create_directory(m_folder.Path("folder.sdb"));
    {
        const ExpectLog expected{"folder.sdb"};
        saveAndLoad(m_folder.Path("folder.sdb"));
    }
    const std::vector<std::byte> text = ToBytes(std::string(5000, 'x'));
    WriteFile(m_path, text);
    {
        const ExpectLog expected{"world.sdb"};
        saveAndLoad(m_path);
    }
    EXPECT_EQ(ReadFile(m_path), text);

    // A table of the same name that holds something else: one line for opening, saving and loading each.
    const std::string other = m_folder.Path("other.sdb");
    sqlite::database database;
    ASSERT_TRUE(database.open(other) &&
                database.execute("CREATE TABLE entities(id, what); INSERT INTO entities VALUES(1, 2)"));
    {
        const ExpectLog expected{"no such column", "no such column", "no such column"};
        saveAndLoad(other);
    }
    EXPECT_EQ(Query(other, "SELECT * FROM entities"), std::vector<std::string>{"1|2"});

    // A database without the table is an empty scene, and becomes a scene.
    const std::string empty = m_folder.Path("empty.sdb");
    ASSERT_TRUE(database.open(empty) && database.execute("CREATE TABLE notes(text); INSERT INTO notes VALUES('kept')"));
    database.close();
    EXPECT_EQ(LoadContent(empty), Content());
    ASSERT_TRUE(CEntityArray_SaveLoad::Save(empty.c_str(), m_scene.GetInterfaces()));
    EXPECT_EQ(LoadContent(empty), m_scene.GetContent());
    EXPECT_EQ(Query(empty, "SELECT text FROM notes"), std::vector<std::string>{"kept"});
}

TEST_F(StorageFault, LockedFileIsRefusedUntilItIsReleased)
{
    Save();
    StorageScene loaded;
    Store store(m_path.c_str(), loaded.GetInterfaces());
    store.GetDatabase().setBusyTimeout(20);
    sqlite::database other;
    ASSERT_TRUE(other.open(m_path) && other.execute("BEGIN EXCLUSIVE"));
    loaded.Add("new", {});
    std::vector<std::int64_t> rows;
    bool failed = false;
    {
        const ExpectLog expected{"locked", "locked", "locked", "locked", "locked"};
        EXPECT_FALSE(store.Load(nullptr, nullptr));
        EXPECT_FALSE(store.Save());
        EXPECT_FALSE(store.CreateEmpty());
        EXPECT_FALSE(store.CollectRows(nullptr, nullptr, rows));
        EXPECT_EQ(store.LoadRow(1, &failed), nullptr);
        EXPECT_TRUE(failed);
    }
    EXPECT_EQ(loaded.GetArray().GetCount(), 1);
    ASSERT_TRUE(other.execute("ROLLBACK"));
    EXPECT_EQ(store.LoadRow(99, &failed), nullptr);
    EXPECT_FALSE(failed);
    EXPECT_TRUE(store.Save());
    EXPECT_TRUE(store.Load(nullptr, nullptr));
    EXPECT_EQ(loaded.GetArray().GetCount(), 4);

    // Readers only hold up the end of a save: it fails as a whole, and is done again later.
    ASSERT_TRUE(other.execute("BEGIN; SELECT count(*) FROM entities"));
    loaded.Add("newer", {});
    {
        const ExpectLog expected{"cannot commit"};
        EXPECT_FALSE(store.Save());
    }
    EXPECT_EQ(store.FindRow(loaded.Find("newer")), -1);
    ASSERT_TRUE(other.execute("ROLLBACK"));
    EXPECT_TRUE(store.Save());
    EXPECT_EQ(LoadContent(m_path), loaded.GetContent());
}

TEST_F(StorageFault, FailedSaveChangesNothingAndTheNextOneWritesItAll)
{
    Store store(m_path.c_str(), m_scene.GetInterfaces());
    ASSERT_TRUE(store.Save());
    const Content before = m_scene.GetContent();
    CEntity* deleted = m_scene.Find("second");
    const std::int64_t deletedRow = store.FindRow(deleted);
    store.DeleteEntity(deleted);
    m_scene.GetArray().Remove(deleted);
    Rename(m_scene.Find("third"), "renamed");
    for (int i = 0; i < 20; ++i)
        m_scene.Add(std::string(1000, static_cast<char>('a' + i)), {});

    const std::string pages = Query(m_path, "PRAGMA page_count").at(0);
    ASSERT_TRUE(store.GetDatabase().execute(std::string("PRAGMA max_page_count=").append(pages).c_str()));
    for (int attempt = 0; attempt < 2; ++attempt)
    {
        const ExpectLog expected{"full"};
        EXPECT_FALSE(store.Save());
        EXPECT_EQ(store.GetEntityCount(), 2);
        EXPECT_EQ(store.GetCounters().inserted, 3U);
        EXPECT_EQ(store.GetCounters().updated, 0U);
        EXPECT_EQ(store.LoadRow(deletedRow), nullptr);
        EXPECT_EQ(LoadContent(m_path), before);
    }
    ASSERT_TRUE(store.GetDatabase().execute("PRAGMA max_page_count=1000000"));
    ASSERT_TRUE(store.Save());
    EXPECT_EQ(store.GetCounters().inserted, 23U);
    EXPECT_EQ(store.GetCounters().updated, 1U);
    EXPECT_EQ(store.GetCounters().deleted, 1U);
    EXPECT_EQ(LoadContent(m_path), m_scene.GetContent());

    // The save that makes the table fails.
    const std::string fresh = m_folder.Path("fresh.sdb");
    Store second(fresh.c_str(), m_scene.GetInterfaces());
    ASSERT_TRUE(second.GetDatabase().execute("PRAGMA max_page_count=5"));
    {
        const ExpectLog expected{"full"};
        EXPECT_FALSE(second.Save());
    }
    EXPECT_EQ(second.GetEntityCount(), 0);
    ASSERT_TRUE(second.GetDatabase().execute("PRAGMA max_page_count=1000000"));
    ASSERT_TRUE(second.Save());
    EXPECT_EQ(LoadContent(fresh), m_scene.GetContent());
}

#if defined(__unix__)
namespace
{
void LimitFileSize(rlim_t size)
{
    rlimit limit{};
    getrlimit(RLIMIT_FSIZE, &limit);
    limit.rlim_cur = std::min(size, limit.rlim_max);
    setrlimit(RLIMIT_FSIZE, &limit);
}

// Two scenes between which the saved file goes to and fro: other names, other places, other entities.
void MakeState(StorageScene& scene, char state, const std::function<void(CEntity*)>& onRemove)
{
    constexpr int kCount = 2000;
    constexpr int kExtra = 60;
    std::map<std::string, CEntity*> entities;
    std::vector<CEntity*> extras;
    for (int i = 0; i < scene.GetArray().GetCount(); ++i)
    {
        CEntity* entity = scene.GetArray().Get(i);
        const std::string name = GetName(entity);
        if (name.ends_with("extra"))
            extras.push_back(entity);
        else
            entities[name.substr(1)] = entity;
    }
    for (CEntity* extra : extras)
    {
        onRemove(extra);
        scene.GetArray().Remove(extra);
    }
    for (int i = 0; i < kCount; ++i)
    {
        const std::string number = Label("", i);
        CEntity*& entity = entities[number];
        entity = entity ? entity : scene.Add("", {});
        Rename(entity, std::string(1, state).append(number));
        Move(entity, {static_cast<float>(i), state == 'A' ? 0.0F : 100.0F, 0.0F});
    }
    for (int i = 0; i < kExtra; ++i)
        scene.Add(std::string(1, state).append("extra"), {});
}

// Kills a process that saves again and again, at random moments, and checks what it leaves each time.
void KillDuringSaves(const std::string& path, int kills, const std::function<void()>& saveForEver,
                     const Content& stateA, const Content& stateB)
{
    std::mt19937 random(20240607);
    int seenA = 0;
    int seenB = 0;
    int interrupted = 0;
    unsigned longestMicroseconds = 60000;
    const std::filesystem::path folder = std::filesystem::path(path).parent_path();
    for (int i = 0; i < kills; ++i)
    {
        int ready[2];
        ASSERT_EQ(pipe(ready), 0);
        const pid_t child = fork();
        if (child == 0)
        {
            if (write(ready[1], "", 1) == 1)
                saveForEver();
            _exit(1);
        }
        char byte = 0;
        ASSERT_EQ(read(ready[0], &byte, 1), 1);
        std::this_thread::sleep_for(std::chrono::microseconds(random() % longestMicroseconds));
        ASSERT_EQ(kill(child, SIGKILL), 0);
        int status = 0;
        waitpid(child, &status, 0);
        ASSERT_TRUE(WIFSIGNALED(status));
        close(ready[0]);
        close(ready[1]);
        // A journal or a scratch file is left where a save was cut short.
        for (const auto& entry : std::filesystem::directory_iterator(folder))
            if (entry.path() != path)
                ++interrupted;
        if (path.ends_with(".sdb"))
        {
            ASSERT_EQ(Query(path, "PRAGMA integrity_check"), std::vector<std::string>{"ok"});
        }
        const Content content = LoadContent(path);
        seenA += content == stateA ? 1 : 0;
        seenB += content == stateB ? 1 : 0;
        ASSERT_EQ(seenA + seenB, i + 1) << "kill " << i << " left neither of the two states";
        for (const auto& entry : std::filesystem::directory_iterator(folder))
            if (entry.path() != path)
                std::filesystem::remove(entry.path());
        // A slow machine needs longer to finish a save at all.
        if (i % 10 == 9 && (seenA == 0 || seenB == 0))
            longestMicroseconds = std::min(longestMicroseconds * 2, 2000000U);
    }
    EXPECT_GT(seenA, 0);
    EXPECT_GT(seenB, 0);
    EXPECT_GT(interrupted, 0);
}
} // namespace

TEST_F(StorageFault, ReadOnlyFileLoadsAndIsNotSaved)
{
    Save();
    const auto run = [this]
    {
        chmod(m_path.c_str(), 0444);
        // The administrator may write everything.
        if (geteuid() == 0 && setresuid(65534, 65534, 65534) != 0)
            return 1;
        StorageScene loaded;
        Store store(m_path.c_str(), loaded.GetInterfaces());
        if (!store.Load(nullptr, nullptr) || loaded.GetContent() != m_scene.GetContent())
            return 2;
        if (!store.Save()) // there is nothing to write
            return 3;
        Rename(loaded.Find("first"), "changed");
        return store.Save() ? 4 : 0;
    };
    // In a process of its own, which gives up its rights.
    const pid_t child = fork();
    if (child == 0)
        _exit(run());
    int status = -1;
    waitpid(child, &status, 0);
    EXPECT_TRUE(WIFEXITED(status));
    EXPECT_EQ(WEXITSTATUS(status), 0);
    EXPECT_EQ(LoadContent(m_path), m_scene.GetContent());
}

// Lets the disk be full at different moments of a save: in the journal, in the middle, at the commit.
TEST_F(StorageFault, FullDiskAtAnyMomentOfASave)
{
    signal(SIGXFSZ, SIG_IGN);
    Save();
    const Content before = m_scene.GetContent();
    const rlim_t size = std::filesystem::file_size(m_path);
    for (const rlim_t limit : {rlim_t{100}, rlim_t{600}, size / 2, size, size + 4096, size + 100000})
    {
        StorageScene loaded;
        Store store(m_path.c_str(), loaded.GetInterfaces());
        ASSERT_TRUE(store.Load(nullptr, nullptr));
        for (int i = 0; i < 200; ++i)
            loaded.Add(std::string(1000, 'n'), {});
        Rename(loaded.Find("first"), "renamed");
        {
            const ExpectLog expected{"world.sdb"};
            LimitFileSize(limit);
            const bool saved = store.Save();
            LimitFileSize(RLIM_INFINITY);
            EXPECT_FALSE(saved);
        }
        EXPECT_EQ(LoadContent(m_path), before);
        EXPECT_EQ(store.GetEntityCount(), 3);
        ASSERT_TRUE(store.Save());
        EXPECT_EQ(LoadContent(m_path), loaded.GetContent());
        std::filesystem::remove(m_path);
        Save();
    }
    signal(SIGXFSZ, SIG_DFL);
}

TEST(StorageKill, DatabaseHoldsOneStateOrTheOther)
{
    const TemporaryFolder folder;
    const std::string path = folder.Path("world.sdb");
    StorageScene b;
    MakeState(b, 'B', [](CEntity*) {});
    StorageScene a;
    MakeState(a, 'A', [](CEntity*) {});
    ASSERT_TRUE(CEntityArray_SaveLoad::Save(path.c_str(), a.GetInterfaces()));
    KillDuringSaves(
        path, 100,
        [&]
        {
            StorageScene scene;
            Store store(path.c_str(), scene.GetInterfaces());
            bool done = store.Load(nullptr, nullptr);
            for (char state = scene.Find("A0") ? 'B' : 'A'; done; state = state == 'A' ? 'B' : 'A')
            {
                MakeState(scene, state, [&](CEntity* entity) { store.DeleteEntity(entity); });
                done = store.Save();
            }
        },
        a.GetContent(), b.GetContent());
}

TEST(StorageKill, SceneFileHoldsOneStateOrTheOther)
{
    const TemporaryFolder folder;
    const std::string path = folder.Path("world.mfs");
    StorageScene a;
    MakeState(a, 'A', [](CEntity*) {});
    StorageScene b;
    MakeState(b, 'B', [](CEntity*) {});
    ASSERT_TRUE(CEntityArray_SaveLoad::Save(path.c_str(), a.GetInterfaces()));
    KillDuringSaves(
        path, 100,
        [&]
        {
            while (CEntityArray_SaveLoad::Save(path.c_str(), b.GetInterfaces()) &&
                   CEntityArray_SaveLoad::Save(path.c_str(), a.GetInterfaces()))
            {
            }
        },
        a.GetContent(), b.GetContent());
}
#endif
