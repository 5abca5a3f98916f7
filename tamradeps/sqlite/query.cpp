#include "tamradeps/sqlite/query.h"

#include "tamradeps/core/log.h"
#include "tamradeps/sqlite/database.h"

#include <string>
#include <utility>

#include <sqlite3.h>

namespace sqlite
{
namespace
{
std::string Describe(const char* action, const char* sql)
{
    return std::string(action) + " \"" + tamra::log::Quoted(sql) + '"';
}

bool FailUnprepared(const char* action)
{
    tamra::log::Error(std::string("cannot ") + action + " a query that is not prepared");
    return false;
}
} // namespace

query::~query()
{
    finalize();
}

bool query::prepare(database& owner, const char* sql)
{
    finalize();
    if (!owner.isOpen())
        return owner.i_Fail("cannot prepare a query", "the database is not open");
    const char* rest = nullptr;
    if (sqlite3_prepare_v3(owner.m_connection, sql, -1, SQLITE_PREPARE_PERSISTENT, &m_statement, &rest) != SQLITE_OK)
        return owner.i_Fail(Describe("cannot prepare", sql));
    // What stands after the first statement would be dropped in silence.
    if (!m_statement || std::string_view(rest).find_first_not_of(" \t\r\n;") != std::string_view::npos)
    {
        sqlite3_finalize(std::exchange(m_statement, nullptr));
        return owner.i_Fail(Describe("cannot prepare", sql), "a query is one statement");
    }
    m_database = &owner;
    m_next = owner.m_queries;
    m_link = &owner.m_queries;
    owner.m_queries = this;
    if (m_next)
        m_next->m_link = &m_next;
    return true;
}

void query::finalize() noexcept
{
    if (!m_statement)
        return;
    // Repeats the error of the last step, which has been logged.
    sqlite3_finalize(std::exchange(m_statement, nullptr));
    *m_link = m_next;
    if (m_next)
        m_next->m_link = m_link;
    m_next = nullptr;
    m_link = nullptr;
    m_database = nullptr;
}

bool query::bind(int position, std::int64_t value)
{
    return m_statement ? i_CheckBind(sqlite3_bind_int64(m_statement, position, value)) : FailUnprepared("bind to");
}

bool query::bind(int position, double value)
{
    return m_statement ? i_CheckBind(sqlite3_bind_double(m_statement, position, value)) : FailUnprepared("bind to");
}

bool query::bind(int position, std::string_view text)
{
    if (!m_statement)
        return FailUnprepared("bind to");
    // A null pointer would bind NULL.
    const char* data = text.empty() ? "" : text.data();
    return i_CheckBind(sqlite3_bind_text64(m_statement, position, data, text.size(), SQLITE_STATIC, SQLITE_UTF8));
}

bool query::bind(int position, const void* blob, std::size_t size)
{
    if (!m_statement)
        return FailUnprepared("bind to");
    const void* data = size == 0 ? "" : blob;
    return i_CheckBind(sqlite3_bind_blob64(m_statement, position, data, size, SQLITE_STATIC));
}

bool query::bindNull(int position)
{
    return m_statement ? i_CheckBind(sqlite3_bind_null(m_statement, position)) : FailUnprepared("bind to");
}

query::Step query::step()
{
    if (!m_statement)
    {
        FailUnprepared("step");
        return Step::Failed;
    }
    const int result = sqlite3_step(m_statement);
    if (result == SQLITE_ROW)
        return Step::Row;
    if (result != SQLITE_DONE)
        m_database->i_Fail(Describe("cannot run", sqlite3_sql(m_statement)));
    sqlite3_reset(m_statement);
    return result == SQLITE_DONE ? Step::Done : Step::Failed;
}

void query::reset() noexcept
{
    sqlite3_reset(m_statement);
}

int query::getInt(int column) const noexcept
{
    return sqlite3_column_int(m_statement, column);
}

std::int64_t query::getInt64(int column) const noexcept
{
    return sqlite3_column_int64(m_statement, column);
}

double query::getDouble(int column) const noexcept
{
    return sqlite3_column_double(m_statement, column);
}

std::string_view query::getText(int column) const noexcept
{
    const auto* text = reinterpret_cast<const char*>(sqlite3_column_text(m_statement, column));
    return text ? std::string_view(text, static_cast<std::size_t>(sqlite3_column_bytes(m_statement, column)))
                : std::string_view();
}

std::span<const std::byte> query::getBlob(int column) const noexcept
{
    const auto* blob = static_cast<const std::byte*>(sqlite3_column_blob(m_statement, column));
    return {blob, blob ? static_cast<std::size_t>(sqlite3_column_bytes(m_statement, column)) : 0};
}

bool query::isNull(int column) const noexcept
{
    return sqlite3_column_type(m_statement, column) == SQLITE_NULL;
}

int query::columnCount() const noexcept
{
    return sqlite3_column_count(m_statement);
}

int query::i_GetPosition(const char* name)
{
    if (!m_statement)
    {
        FailUnprepared("bind to");
        return 0;
    }
    const int position = sqlite3_bind_parameter_index(m_statement, name);
    if (position == 0)
        m_database->i_Fail(Describe("cannot bind to", sqlite3_sql(m_statement)),
                           "no parameter " + tamra::log::Quoted(name));
    return position;
}

bool query::i_CheckBind(int result)
{
    return result == SQLITE_OK || m_database->i_Fail(Describe("cannot bind to", sqlite3_sql(m_statement)));
}
} // namespace sqlite
