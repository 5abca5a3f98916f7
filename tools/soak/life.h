#pragma once

#include "tools/soak/random.h"
#include "tools/soak/watch.h"

#include <cstdint>
#include <string>

namespace soak
{
/// What was done, for the report at the end.
struct Tally
{
    std::uint64_t created = 0;
    std::uint64_t destroyed = 0;
    std::uint64_t edits = 0;
    std::uint64_t saves = 0;
    std::uint64_t loads = 0;
    std::uint64_t comparisons = 0;
    std::uint64_t queries = 0;
    std::uint64_t culls = 0;
    std::uint64_t devicePasses = 0;
    std::uint64_t guiInputs = 0;
    std::uint64_t guiEvents = 0;
    std::uint64_t commands = 0;
};

/// What all lives have in common: a folder for their files, and a place for the first thing that is wrong.
class CJournal
{
public:
    explicit CJournal(std::string folder) : m_folder(std::move(folder)) {}

    std::string GetPath(const char* name) const { return m_folder + "/" + name; }
    CWatch& GetWatch() noexcept { return m_watch; }

    /// Notes what is wrong unless something was before. Answers `isRight`.
    bool Require(bool isRight, const std::string& what)
    {
        if (!isRight && m_fault.empty())
            m_fault = what;
        return isRight;
    }
    /// Empty while all is well.
    std::string GetFault() const
    {
        return !m_fault.empty() || m_watch.GetSurprise().empty() ? m_fault : "unannounced: " + m_watch.GetSurprise();
    }

    Tally tally;

private:
    std::string m_folder;
    std::string m_fault;
    CWatch m_watch;
};

/// One kind of life. All that it does comes from the numbers that it is given, so that it can be lived again: time,
/// addresses and the order of containers of pointers decide nothing.
class CLife
{
public:
    explicit CLife(CJournal& journal) : m_journal(journal) {}
    CLife(const CLife&) = delete;
    CLife& operator=(const CLife&) = delete;
    virtual ~CLife() = default;

    virtual const char* GetName() const = 0;
    /// Does something.
    virtual void Step(CRandom& random) = 0;
    /// Compares everything with the model.
    virtual void Check() = 0;
    /// Appends what must be the same whenever the same was lived.
    virtual void AppendState(std::string& state) const = 0;
    /// Lets go of everything that grew; the next step begins anew.
    virtual void Empty() = 0;

protected:
    bool i_Require(bool isRight, const std::string& what)
    {
        return m_journal.Require(isRight, GetName() + (": " + what));
    }

    CJournal& m_journal;
};
} // namespace soak
