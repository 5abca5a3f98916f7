#include "support/expectations.h"
#include "support/files.h"
#include "support/system.h"
#include "tamradeps/io/utf8Path.h"
#include "tamradeps/platform/fileAccess.h"
#include "tamradeps/sqlite/database.h"
#include "tamradeps/sqlite/query.h"
#include "tamradeps/sqlite/transaction.h"

#include <filesystem>
#include <limits>
#include <memory>
#include <thread>

#include <gmock/gmock.h>

namespace
{
namespace fs = std::filesystem;
using sqlite::OpenMode;
using Step = sqlite::query::Step;

class SQLite : public testing::Test
{
protected:
    SQLite()
    {
        EXPECT_TRUE(m_database.open(m_path) && m_database.execute("CREATE TABLE t(id INTEGER PRIMARY KEY, v)"));
    }

    std::int64_t Count(sqlite::database& database)
    {
        sqlite::query count;
        EXPECT_TRUE(count.prepare(database, "SELECT count(*) FROM t"));
        EXPECT_EQ(count.step(), Step::Row);
        return count.getInt64(0);
    }
    std::int64_t Count() { return Count(m_database); }
    static bool Exists(const std::string& path) { return fs::exists(tamra::ToPath(path)); }
    bool Insert() { return m_database.execute("INSERT INTO t(v) VALUES(1)"); }

    test::TemporaryFolder m_folder;
    std::string m_path = m_folder.Path("a scene \xC3\xA4\xE2\x82\xAC.sdb");
    sqlite::database m_database;
};

TEST_F(SQLite, ValuesComeBackAsTheyWereBound)
{
    sqlite::query insert;
    ASSERT_TRUE(insert.prepare(m_database, "INSERT INTO t(v) VALUES(:v) ; \n"));
    constexpr std::int64_t kSmallest = std::numeric_limits<std::int64_t>::min();
    const std::string text("zero\0inside", 11);
    const char bytes[] = {0, -1, 0, 1};
    const auto add = [&](bool isBound) { EXPECT_TRUE(isBound && insert.step() == Step::Done); };
    add(insert.bind(1, -5));
    EXPECT_EQ(m_database.lastInsertRowID(), 1);
    add(insert.bindName(":v", kSmallest));
    add(insert.bind(1, 0.5));
    add(insert.bind(1, text));
    add(insert.bindName(":v", bytes, sizeof(bytes)));
    add(insert.bind(1, std::string_view()));
    add(insert.bind(1, nullptr, 0));
    add(insert.bindNull(1));
    EXPECT_EQ(m_database.changes(), 1);
    EXPECT_EQ(m_database.totalChanges(), 8);

    sqlite::query select;
    ASSERT_TRUE(select.prepare(m_database, "SELECT typeof(v), v FROM t ORDER BY id"));
    EXPECT_EQ(select.columnCount(), 2);
    std::vector<std::string> rows;
    while (select.step() == Step::Row)
    {
        EXPECT_EQ(select.getBlob(1).size(), select.getText(1).size());
        rows.push_back(std::string(select.getText(0)).append(" ").append(select.getText(1)) +
                       (select.isNull(1) ? "" : ' ' + std::to_string(select.getInt64(1))) +
                       (select.getDouble(1) == 0.5 ? " half" : ""));
    }
    EXPECT_THAT(rows, testing::ElementsAre("integer -5 -5", "integer -9223372036854775808 -9223372036854775808",
                                           "real 0.5 0 half", "text " + text + " 0",
                                           "blob " + std::string(bytes, 4) + " 0", "text  0", "blob  0", "null "));
    EXPECT_TRUE(select.isNull(1)) << "no row";
    for (int i = 0; i < 2; ++i, select.reset())
        EXPECT_TRUE(select.step() == Step::Row && select.getInt(1) == -5)
            << "it starts again, after the end and a reset";
    EXPECT_TRUE(select.isNull(7) && select.isNull(-1));
}

TEST_F(SQLite, EveryFailureIsLoggedOnce)
{
    sqlite::query q;
    const test::ExpectLog expected{"not prepared",  "not prepared",      "no such table", "one statement",
                                   "one statement", "no parameter :x",   "out of range",  "API misuse",
                                   "too big",       "UNIQUE constraint", "near \"BAD\"",  "not open",
                                   "not open",      "not open",          "not prepared"};
    EXPECT_EQ(q.step(), Step::Failed);
    EXPECT_FALSE(q.bind(1, 5));
    EXPECT_FALSE(q.prepare(m_database, "SELECT * FROM missing"));
    EXPECT_FALSE(q.prepare(m_database, "SELECT 1; DELETE FROM t"));
    EXPECT_FALSE(q.prepare(m_database, ""));
    EXPECT_FALSE(q.isPrepared());
    ASSERT_TRUE(q.prepare(m_database, "INSERT INTO t(id) VALUES(?1) RETURNING id"));
    EXPECT_FALSE(q.bindName(":x", 1));
    EXPECT_FALSE(q.bind(2, 1));
    EXPECT_TRUE(q.bind(1, 9));
    EXPECT_EQ(q.step(), Step::Row);
    EXPECT_FALSE(q.bind(1, 1)) << "between rows";
    EXPECT_EQ(q.step(), Step::Done);
    EXPECT_FALSE(q.bind(1, "", std::size_t{1} << 40)) << "refused without being read";
    EXPECT_TRUE(q.bind(1, 9));
    EXPECT_EQ(q.step(), Step::Failed);
    q.reset();
    EXPECT_TRUE(q.bind(1, 10));
    EXPECT_EQ(q.step(), Step::Row) << "a failed query can be used again";
    EXPECT_FALSE(m_database.execute("INSERT INTO t(v) VALUES(1); BAD; INSERT INTO t(v) VALUES(2)"));
    EXPECT_NE(m_database.lastError().find(m_path), std::string::npos);
    EXPECT_EQ(q.step(), Step::Done);
    EXPECT_EQ(Count(), 3);

    m_database.close();
    EXPECT_FALSE(m_database.execute("SELECT 1"));
    EXPECT_FALSE(sqlite::transaction(m_database).isActive());
    EXPECT_FALSE(m_database.tableExists("t"));
    EXPECT_EQ(q.step(), Step::Failed) << "the query went with its database";
    EXPECT_EQ(q.columnCount() + q.getInt(0), 0);
}

TEST_F(SQLite, QueriesAndTransactionsMayOutliveTheirDatabase)
{
    sqlite::query queries[3];
    auto database = std::make_unique<sqlite::database>();
    sqlite::transaction transaction;
    ASSERT_TRUE(database->open(m_path));
    for (sqlite::query& q : queries)
        ASSERT_TRUE(q.prepare(*database, "SELECT id FROM t"));
    ASSERT_TRUE(transaction.begin(*database));
    EXPECT_TRUE(database->execute("INSERT INTO t(v) VALUES(1)"));
    EXPECT_EQ(queries[0].step(), Step::Row);
    queries[1].finalize();
    ASSERT_TRUE(queries[2].prepare(m_database, "SELECT 1")) << "to another database";
    database.reset();
    EXPECT_FALSE(queries[0].isPrepared() || transaction.isActive());
    EXPECT_EQ(queries[2].step(), Step::Row);
    EXPECT_EQ(Count(), 0) << "rolled back, and the lock is gone";
    EXPECT_TRUE(Insert());
}

TEST_F(SQLite, TransactionsKeepAllOrNothing)
{
    {
        sqlite::transaction lost(m_database);
        EXPECT_TRUE(Insert());
        const test::ExpectLog expected{"under way", "under way"};
        EXPECT_FALSE(sqlite::transaction(m_database).isActive());
        EXPECT_FALSE(lost.begin(m_database));
        EXPECT_EQ(Count(), 1) << "the refused ones roll nothing back";
    }
    EXPECT_EQ(Count(), 0);
    sqlite::transaction kept(m_database);
    EXPECT_TRUE(Insert());
    EXPECT_TRUE(Exists(m_path + "-journal"));
    EXPECT_TRUE(kept.commit());
    kept.rollback();
    const test::ExpectLog expected{"cannot commit"};
    EXPECT_FALSE(kept.commit());
    EXPECT_EQ(Count(), 1);
    EXPECT_FALSE(Exists(m_path + "-journal")) << "a scene is one file";
    EXPECT_FALSE(Exists(m_path + "-wal"));
}

TEST_F(SQLite, AFullDiskUndoesTheWholeTransaction)
{
    ASSERT_TRUE(m_database.execute("PRAGMA max_page_count=16"));
    sqlite::transaction transaction(m_database);
    EXPECT_TRUE(Insert());
    const test::ExpectLog expected{"full", "rolled back"};
    EXPECT_FALSE(m_database.execute("INSERT INTO t(v) VALUES(zeroblob(1000000))"));
    EXPECT_FALSE(transaction.commit()) << "SQLite has ended it by itself";
    EXPECT_EQ(Count(), 0);
}

TEST_F(SQLite, LocksOfOthersShowAtTheStart)
{
    sqlite::database other;
    ASSERT_TRUE(other.open(m_path));
    other.setBusyTimeout(5);
    {
        const test::ExpectLog expected{"locked", "locked"};
        {
            sqlite::transaction writing(m_database);
            EXPECT_FALSE(sqlite::transaction(other).isActive());
            EXPECT_EQ(Count(other), 0) << "reading goes on";
        }
        ASSERT_TRUE(m_database.execute("BEGIN EXCLUSIVE"));
        EXPECT_FALSE(other.open(m_path) || other.isOpen()) << "the timeout holds for opening too";
    }
    other.setBusyTimeout(60000);
    std::thread release(
        [&]
        {
            std::this_thread::sleep_for(std::chrono::milliseconds(50));
            m_database.execute("COMMIT");
        });
    EXPECT_TRUE(other.open(m_path)) << "waits for the lock";
    release.join();
}

TEST_F(SQLite, WhatIsNoDatabaseIsRefusedAtOpen)
{
    const auto write = [&](const char* name, const std::string& content)
    {
        test::WriteFile(m_folder.Path(name), content);
        return m_folder.Path(name);
    };
    ASSERT_TRUE(m_database.execute("INSERT INTO t(v) VALUES(zeroblob(20000))"));
    std::string bytes = test::ReadFile(m_path).substr(0, 9000);
    const std::string cut = write("cut", bytes);
    const std::string spoiled = write("spoiled", bytes.replace(100, 3000, 3000, '\xEE'));
    sqlite::database database;
    const auto refuse = [&](const std::string& path, const char* reason, OpenMode mode = OpenMode::ReadWriteCreate)
    {
        const test::ExpectLog expected{reason};
        EXPECT_FALSE(database.open(path, mode)) << path;
    };
    refuse(write("junk", std::string(5000, 'x')), "not a database");
    refuse(cut, "malformed");
    refuse(spoiled, "malformed");
    refuse(m_folder.Path(""), "folder");
    refuse("", "empty");
    refuse(std::string("a\0b", 3), "zero byte");
    if (test::kIsUnix)
    {
        ASSERT_TRUE(test::MakePipe(m_folder.Path("pipe")));
        refuse(m_folder.Path("pipe"), "no regular file");
    }
    else
        refuse("\xC3(", "not UTF-8");
    const std::string missing = m_folder.Path("missing");
    refuse(missing, "unable to open", OpenMode::ReadWrite);
    refuse(missing, "unable to open", OpenMode::ReadOnly);
    EXPECT_FALSE(fs::exists(missing) || database.isOpen());
    EXPECT_EQ(database.getPath(), "");
    EXPECT_TRUE(database.open(write("new", "")) && !database.tableExists("t")) << "an empty file is an empty database";
}

TEST_F(SQLite, ReadOnlyFilesOpenForReading)
{
    ASSERT_TRUE(Insert());
    m_database.close();
    const fs::path path = tamra::ToPath(m_path);
    fs::permissions(path, fs::perms(0444));
    fs::permissions(path.parent_path(), fs::perms(0755));
    for (const OpenMode mode : {OpenMode::ReadOnly, OpenMode::ReadWrite, OpenMode::ReadWriteCreate})
    {
        if (mode != OpenMode::ReadOnly && test::IsWine())
            break;
        const test::NoSuperuser user;
        EXPECT_TRUE(m_database.open(m_path, mode) && m_database.isReadOnly());
        EXPECT_EQ(Count(), 1);
        const test::ExpectLog expected{"readonly"};
        EXPECT_FALSE(Insert());
    }
    m_database.close();
    fs::permissions(path, fs::perms(0644));
}

TEST_F(SQLite, FilesWithAWriteAheadLogBecomeOneFile)
{
    ASSERT_TRUE(m_database.execute("PRAGMA journal_mode=WAL") && Insert());
    EXPECT_TRUE(Exists(m_path + "-wal"));
    ASSERT_TRUE(m_database.open(m_path) && Insert());
    EXPECT_FALSE(Exists(m_path + "-wal"));
    EXPECT_EQ(Count(), 2);
}

TEST_F(SQLite, TableNamesAreFoundAsSQLiteComparesThem)
{
    ASSERT_TRUE(m_database.execute("CREATE VIEW seen AS SELECT 1; CREATE TABLE \"o'x\"(a)"));
    EXPECT_TRUE(m_database.tableExists("T"));
    EXPECT_TRUE(m_database.tableExists("o'x"));
    EXPECT_FALSE(m_database.tableExists("seen"));
    EXPECT_FALSE(m_database.tableExists(""));
    if (!test::kIsUnix)
        return;
    // Some builds of SQLite would take this for an address with options.
    const fs::path before = fs::current_path();
    fs::current_path(fs::path(m_path).parent_path());
    EXPECT_TRUE(m_database.open("file:x?mode=memory") && m_database.execute("CREATE TABLE a(b)"));
    EXPECT_TRUE(fs::exists("file:x?mode=memory"));
    fs::current_path(before);
}

TEST_F(SQLite, NamesMayBeLong)
{
    const std::string folder = m_folder.MakeLongPath();
    const std::string path = folder + "scene.sdb";
    ASSERT_TRUE(m_database.open(path) && m_database.execute("CREATE TABLE t(v)"));
    {
        sqlite::transaction transaction(m_database);
        EXPECT_TRUE(Insert());
        const auto journal = tamra::platform::GetSystemPath(tamra::ToPath(path + "-journal"));
        EXPECT_EQ(tamra::platform::GetFileStatus(journal).kind, tamra::platform::FileKind::Regular);
        EXPECT_TRUE(transaction.commit());
    }
    ASSERT_TRUE(m_database.open(path, OpenMode::ReadOnly));
    EXPECT_EQ(Count(), 1);
}
} // namespace
