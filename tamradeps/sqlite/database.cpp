#include "tamradeps/sqlite/database.h"

#include "tamradeps/core/log.h"
#include "tamradeps/io/utf8Path.h"
#include "tamradeps/platform/fileAccess.h"
#include "tamradeps/sqlite/query.h"
#include "tamradeps/sqlite/transaction.h"

#include <filesystem>

#include <sqlite3.h>

namespace sqlite
{
namespace
{
constexpr const char* kMemory = ":memory:";

// The size of a cached page set is negative for kibibytes. EXTRA also flushes the folder after the journal is removed:
// with less, a loss of power just after a commit can bring the journal back and undo it. Nothing that the file's own
// schema says may call functions with side effects.
constexpr const char* kSettings = "PRAGMA synchronous=EXTRA;"
                                  "PRAGMA cache_size=-65536;"
                                  "PRAGMA temp_store=MEMORY;"
                                  "PRAGMA mmap_size=0;"
                                  "PRAGMA secure_delete=OFF;"
                                  "PRAGMA cell_size_check=ON;"
                                  "PRAGMA trusted_schema=OFF;";

int GetFlags(OpenMode mode)
{
    switch (mode)
    {
    case OpenMode::ReadOnly: return SQLITE_OPEN_READONLY;
    case OpenMode::ReadWrite: return SQLITE_OPEN_READWRITE;
    default: return SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE;
    }
}

// Why the path cannot be a database, or null. SQLite would read a pipe for ever and call a folder unreadable.
const char* GetObstacle(const std::string& path)
{
    if (path.empty())
        return "the path is empty";
    if (path.find('\0') != std::string::npos)
        return "the path holds a zero byte";
    const std::filesystem::path systemPath = tamra::ToPath(path);
    // SQLite would make a temporary database of an empty name.
    if (systemPath.empty())
        return "the path is not UTF-8";
    switch (tamra::platform::GetFileStatus(systemPath).kind)
    {
    case tamra::platform::FileKind::Folder: return "it is a folder";
    case tamra::platform::FileKind::Other: return "it is no regular file";
    default: return nullptr;
    }
}

// What SQLite takes for the path.
std::string GetName(const std::string& path)
{
    if (path == kMemory)
        return path;
    const std::u8string name = tamra::platform::GetSystemPath(tamra::ToPath(path)).u8string();
    // Builds of SQLite differ in whether they take names of this form for addresses.
    return (path.starts_with("file:") ? "./" : "") + std::string(name.begin(), name.end());
}
} // namespace

database::~database()
{
    close();
}

bool database::open(const std::string& utf8Path, OpenMode mode)
{
    // The caller may have passed our own path.
    std::string path = utf8Path;
    close();
    m_path = std::move(path);
    m_lastError.clear();
    const char* obstacle = m_path == kMemory ? nullptr : GetObstacle(m_path);
    const bool opened = obstacle ? i_Fail("cannot open the database", obstacle) : i_Connect(mode) && i_Configure();
    if (!opened)
        close();
    return opened;
}

bool database::i_Connect(OpenMode mode)
{
    const int flags = GetFlags(mode) | SQLITE_OPEN_NOMUTEX | SQLITE_OPEN_EXRESCODE;
    if (sqlite3_open_v2(GetName(m_path).c_str(), &m_connection, flags, tamra::platform::GetDatabaseAccess()) !=
        SQLITE_OK)
        return i_Fail("cannot open the database");
    sqlite3_busy_timeout(m_connection, m_busyTimeout);
    return true;
}

bool database::i_Configure()
{
    const auto run = [this](const char* sql)
    { return sqlite3_exec(m_connection, sql, nullptr, nullptr, nullptr) == SQLITE_OK; };
    // Reading the schema is the first look into the file.
    if (!run(kSettings) || !run("SELECT 1 FROM sqlite_master LIMIT 1"))
        return i_Fail("cannot open the database");
    m_readOnly = sqlite3_db_readonly(m_connection, "main") == 1;
    // A write-ahead log would be a second and a third file.
    if (!m_readOnly && !run("PRAGMA journal_mode=DELETE"))
        return i_Fail("cannot open the database");
    return true;
}

void database::close() noexcept
{
    if (m_transaction)
        m_transaction->rollback();
    while (m_queries)
        m_queries->finalize();
    sqlite3_close(m_connection);
    m_connection = nullptr;
    m_readOnly = false;
    m_path.clear();
}

bool database::execute(const char* sql)
{
    if (!m_connection)
        return i_Fail("cannot run a statement", "the database is not open");
    if (sqlite3_exec(m_connection, sql, nullptr, nullptr, nullptr) == SQLITE_OK)
        return true;
    return i_Fail("cannot run \"" + tamra::log::Quoted(sql) + '"');
}

std::int64_t database::lastInsertRowID() const noexcept
{
    return m_connection ? sqlite3_last_insert_rowid(m_connection) : 0;
}

int database::changes() const noexcept
{
    return m_connection ? sqlite3_changes(m_connection) : 0;
}

std::int64_t database::totalChanges() const noexcept
{
    return m_connection ? sqlite3_total_changes64(m_connection) : 0;
}

bool database::tableExists(std::string_view name, bool* failed)
{
    query find;
    const bool asked =
        find.prepare(*this, "SELECT 1 FROM sqlite_master WHERE type='table' AND name=?1 COLLATE NOCASE") &&
        find.bind(1, name);
    const query::Step step = asked ? find.step() : query::Step::Failed;
    if (failed)
        *failed = step == query::Step::Failed;
    return step == query::Step::Row;
}

void database::setBusyTimeout(int milliseconds) noexcept
{
    m_busyTimeout = milliseconds;
    if (m_connection)
        sqlite3_busy_timeout(m_connection, milliseconds);
}

bool database::i_InTransaction() const noexcept
{
    return m_connection && !sqlite3_get_autocommit(m_connection);
}

bool database::i_Fail(std::string_view action)
{
    return i_Fail(action, tamra::log::Quoted(sqlite3_errmsg(m_connection)));
}

bool database::i_Fail(std::string_view action, std::string_view reason)
{
    constexpr std::size_t kLongestPath = 512;
    m_lastError = tamra::log::Quoted(m_path, kLongestPath);
    m_lastError.append(": ").append(action).append(": ").append(reason);
    tamra::log::Error(m_lastError);
    return false;
}
} // namespace sqlite
