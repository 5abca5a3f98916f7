#pragma once

#include "tamradeps/export.h"

namespace sqlite
{
class database;

/// Makes the changes of its life one change: all are kept by `commit`, none without it.
///
/// The write lock is taken at the start, so a file that another process is writing shows in `begin`, before any work is
/// done. A database has one transaction at a time; beginning a second one is refused.
class TAMRADEPS_API transaction
{
public:
    transaction() noexcept = default;
    /// Begins at once; `isActive` tells whether that worked.
    explicit transaction(database& owner) { begin(owner); }
    transaction(const transaction&) = delete;
    transaction& operator=(const transaction&) = delete;
    /// Rolls back what was not committed.
    ~transaction() { rollback(); }

    bool begin(database& owner);

    /// Keeps the changes. On failure they are rolled back, so that file and caller agree that nothing happened.
    ///
    /// False also when SQLite had to roll back on its own before (disk full, read or write error): then nothing of what
    /// was done since `begin` can be relied on.
    bool commit();

    /// Undoes the changes since `begin`; harmless when there is no transaction. Queries in the middle of their rows
    /// fail at their next step.
    void rollback() noexcept;

    /// True from a successful `begin` to `commit`, `rollback` or the database's `close`.
    bool isActive() const noexcept { return m_database != nullptr; }

private:
    friend class database;

    void i_Detach() noexcept;

    database* m_database = nullptr;
};
} // namespace sqlite
