#pragma once

#include "gameengine/engine/entityArraySaveLoadSqliteDB.h"
#include "tamradeps/platform/counters.h"

#include <cstdint>
#include <string>
#include <vector>

/// Measures one phase of the program and prints a line about it.
class CPhaseReport
{
public:
    explicit CPhaseReport(std::string name) : m_name(std::move(name)) {}

    /// Encloses one frame's work, or one whole step of a phase without frames.
    void BeginFrame() { m_stopwatch.Restart(); }
    void EndFrame() { m_frames.push_back(m_stopwatch.GetSeconds()); }

    /// Adds what a store did since the counters were `before`.
    void AddRows(const CEntityArray_SaveLoad_SqliteDB::Counters& before,
                 const CEntityArray_SaveLoad_SqliteDB::Counters& now);

    double GetWorstMilliseconds() const;
    double GetMedianMilliseconds() const;
    double GetTotalSeconds() const;

    /// The first line of the process stands below a header.
    void Print(std::uint64_t entities) const;

private:
    static void i_PrintHeader();

    std::string m_name;
    tamra::platform::CStopwatch m_stopwatch;
    std::vector<double> m_frames; // seconds
    std::uint64_t m_rowsRead = 0;
    std::uint64_t m_rowsWritten = 0;
};
