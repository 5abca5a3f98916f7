#pragma once

#include "tamradeps/export.h"

#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>

struct sqlite3_stmt;

namespace sqlite
{
class database;

/// One prepared statement, to be kept and run again with other values.
///
///     while ((step = select.step()) == sqlite::query::Step::Row)
///         Read(select.getInt64(0), select.getBlob(1));
///
/// Values are bound to positions from 1, or by the parameter's name in the statement; columns are read by number from
/// 0. The query neither moves nor copies.
class TAMRADEPS_API query
{
public:
    /// What `step` has come to.
    enum class Step
    {
        /// A row is there to be read.
        Row,
        /// The statement has run to its end.
        Done,
        /// The statement failed, and has been logged. Its own changes are undone.
        Failed
    };

    query() noexcept = default;
    query(const query&) = delete;
    query& operator=(const query&) = delete;
    ~query();

    /// Compiles one statement, UTF-8, in place of the former one. SQLite is told that it will be kept for long.
    bool prepare(database& owner, const char* sql);

    /// Forgets the statement. Closing the database does it too.
    void finalize() noexcept;

    bool isPrepared() const noexcept { return m_statement != nullptr; }

    /// Bind a value; it stays bound until the position is bound again. Values can be bound before the first `step`,
    /// after `Done` and `Failed`, and after `reset`, not between rows.
    ///
    /// Texts (UTF-8) and blobs are not copied: their memory must stay in place and unchanged until the query has been
    /// stepped to `Done` or `Failed`, or been reset, and must be bound anew, if it is gone, before the next `step`. A
    /// text or blob of no bytes is stored as such, not as NULL.
    bool bind(int position, int value) { return bind(position, std::int64_t{value}); }
    bool bind(int position, std::int64_t value);
    bool bind(int position, double value);
    bool bind(int position, std::string_view text);
    bool bind(int position, const void* blob, std::size_t size);
    bool bindNull(int position);

    /// As `bind`, to the parameter of this name, given with its prefix (":id"). Finding the name takes a walk over the
    /// statement's parameters.
    template <class... Value>
    bool bindName(const char* name, const Value&... value)
    {
        const int position = i_GetPosition(name);
        return position > 0 && bind(position, value...);
    }

    /// Runs up to the next row or the end. After `Done` and `Failed` the query is at its start again, values still
    /// bound, and the next `step` runs it anew.
    Step step();

    /// Returns to the start from the middle of the rows, which lets SQLite's lock for reading go. Values stay bound.
    void reset() noexcept;

    /// Read a column of the current row; SQLite converts as needed, integers are cut to 32 bits by `getInt`. Without a
    /// row or such a column, and for NULL, they give 0 or nothing.
    int getInt(int column) const noexcept;
    std::int64_t getInt64(int column) const noexcept;
    double getDouble(int column) const noexcept;
    /// The text or the bytes in place, valid until the next `step`, `reset`, `finalize` or the database's `close`, or
    /// until the same column is read as another kind.
    std::string_view getText(int column) const noexcept;
    std::span<const std::byte> getBlob(int column) const noexcept;
    /// True for NULL, and without a row or such a column.
    bool isNull(int column) const noexcept;

    /// Columns of a result row, 0 for a statement that gives none or when not prepared.
    int columnCount() const noexcept;

private:
    friend class database;

    int i_GetPosition(const char* name);
    bool i_CheckBind(int result);

    sqlite3_stmt* m_statement = nullptr;
    database* m_database = nullptr;
    // The database's list of its queries.
    query* m_next = nullptr;
    query** m_link = nullptr;
};
} // namespace sqlite
