#include "tamradeps/sqlite/transaction.h"

#include "tamradeps/core/log.h"
#include "tamradeps/sqlite/database.h"

#include <sqlite3.h>

namespace sqlite
{
bool transaction::begin(database& owner)
{
    if (m_database || owner.i_InTransaction())
        return owner.i_Fail("cannot begin a transaction", "one is under way");
    if (!owner.isOpen())
        return owner.i_Fail("cannot begin a transaction", "the database is not open");
    if (sqlite3_exec(owner.m_connection, "BEGIN IMMEDIATE", nullptr, nullptr, nullptr) != SQLITE_OK)
        return owner.i_Fail("cannot begin a transaction");
    // A former one that SQLite itself ended.
    if (owner.m_transaction)
        owner.m_transaction->i_Detach();
    owner.m_transaction = this;
    m_database = &owner;
    return true;
}

bool transaction::commit()
{
    if (!m_database)
    {
        tamra::log::Error("cannot commit a transaction that has not begun or is over");
        return false;
    }
    if (!m_database->i_InTransaction())
    {
        database& owner = *m_database;
        i_Detach();
        return owner.i_Fail("cannot commit", "the transaction was rolled back after an error");
    }
    if (sqlite3_exec(m_database->m_connection, "COMMIT", nullptr, nullptr, nullptr) == SQLITE_OK)
    {
        i_Detach();
        return true;
    }
    m_database->i_Fail("cannot commit");
    rollback();
    return false;
}

void transaction::rollback() noexcept
{
    if (!m_database)
        return;
    if (m_database->i_InTransaction() &&
        sqlite3_exec(m_database->m_connection, "ROLLBACK", nullptr, nullptr, nullptr) != SQLITE_OK)
        m_database->i_Fail("cannot roll back");
    i_Detach();
}

void transaction::i_Detach() noexcept
{
    m_database->m_transaction = nullptr;
    m_database = nullptr;
}
} // namespace sqlite
