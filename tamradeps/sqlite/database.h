#pragma once

#include "tamradeps/export.h"

#include <cstdint>
#include <string>
#include <string_view>

struct sqlite3;

namespace sqlite
{
class query;
class transaction;

/// What `database::open` may do to the file.
enum class OpenMode
{
    ReadWriteCreate,
    ReadWrite,
    ReadOnly
};

/// A connection to one database file, set up for scenes that one process writes in bulk.
///
///     sqlite::database scene;
///     if (!scene.open("town.sdb"))
///         return false;                       // already logged
///     sqlite::transaction saving(scene);
///     sqlite::query insert;
///     insert.prepare(scene, "INSERT INTO entities(data) VALUES(?1)");
///     insert.bind(1, bytes.data(), bytes.size());
///     if (insert.step() != sqlite::query::Step::Done)
///         return false;                       // `saving` rolls back
///     return saving.commit();
///
/// A call that fails logs one [ERROR] line with the file's path and SQLite's message and answers false; the same text
/// is `lastError()`. Queries and transactions may die before or after their database: closing finalises the queries and
/// rolls the transaction back.
///
/// The file stays one file: the rollback journal beside it exists only during a transaction. A transaction whose commit
/// answered true is on the disk and survives a killed process and a loss of power; one that was interrupted is undone
/// when the file is next opened. A database, its queries and its transactions belong to one thread at a time.
class TAMRADEPS_API database
{
public:
    static constexpr int kDefaultBusyTimeout = 1000; ///< Milliseconds.

    database() noexcept = default;
    database(const database&) = delete;
    database& operator=(const database&) = delete;
    ~database();

    /// Opens the file, closing what was open before. The path is UTF-8; a relative one starts at the current directory,
    /// and ":memory:" is an empty database in memory.
    ///
    /// The file is read here, so a folder, a file that is no database and one that another process has locked longer
    /// than the busy timeout all answer false. A file that may not be written is opened for reading (see `isReadOnly`).
    bool open(const std::string& utf8Path, OpenMode mode = OpenMode::ReadWriteCreate);

    /// Rolls back an unfinished transaction, finalises every query, and lets the file go. Harmless when not open.
    void close() noexcept;

    bool isOpen() const noexcept { return m_connection != nullptr; }
    bool isReadOnly() const noexcept { return m_readOnly; }

    /// The path given to `open`, empty when closed.
    const std::string& getPath() const noexcept { return m_path; }

    /// Runs one or more statements, separated by semicolons, whose rows nobody wants. Stops at the first that fails.
    bool execute(const char* sql);

    /// The row id of the latest insert on this connection, 0 before the first.
    std::int64_t lastInsertRowID() const noexcept;

    /// Rows that the latest INSERT, UPDATE or DELETE changed, and rows changed since the database was opened.
    int changes() const noexcept;
    std::int64_t totalChanges() const noexcept;

    /// True when there is a table, not a view, of this name. ASCII letters compare without case, as in SQLite.
    /// `failed`, if given, says whether the file could not be asked.
    bool tableExists(std::string_view name, bool* failed = nullptr);

    /// Milliseconds that a call waits for a lock of another process before it fails. Kept over `close` and `open`.
    void setBusyTimeout(int milliseconds) noexcept;

    /// The text of the latest failure without the log's prefix, empty before the first since `open`.
    const std::string& lastError() const noexcept { return m_lastError; }

private:
    friend class query;
    friend class transaction;

    // Both log the line "<path>: <action>: <reason>" and answer false; the first takes SQLite's message as the reason.
    bool i_Fail(std::string_view action);
    bool i_Fail(std::string_view action, std::string_view reason);
    bool i_Connect(OpenMode mode);
    bool i_Configure();
    bool i_InTransaction() const noexcept;

    sqlite3* m_connection = nullptr;
    query* m_queries = nullptr;
    transaction* m_transaction = nullptr;
    int m_busyTimeout = kDefaultBusyTimeout;
    bool m_readOnly = false;
    std::string m_path;
    std::string m_lastError;
};
} // namespace sqlite
