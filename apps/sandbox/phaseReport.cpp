#include "apps/sandbox/phaseReport.h"

#include "tamradeps/platform/processMemory.h"

#include <algorithm>
#include <cstdio>
#include <numeric>
#include <utility>

void CPhaseReport::AddRows(const CEntityArray_SaveLoad_SqliteDB::Counters& before,
                           const CEntityArray_SaveLoad_SqliteDB::Counters& now)
{
    m_rowsRead += now.read - before.read;
    m_rowsWritten += now.inserted - before.inserted + now.updated - before.updated + now.deleted - before.deleted;
}

double CPhaseReport::GetWorstMilliseconds() const
{
    return m_frames.empty() ? 0.0 : 1e3 * *std::max_element(m_frames.begin(), m_frames.end());
}

double CPhaseReport::GetMedianMilliseconds() const
{
    if (m_frames.empty())
        return 0.0;
    std::vector<double> sorted = m_frames;
    const auto middle = sorted.begin() + static_cast<std::ptrdiff_t>(sorted.size() / 2);
    std::nth_element(sorted.begin(), middle, sorted.end());
    return 1e3 * *middle;
}

double CPhaseReport::GetTotalSeconds() const
{
    return std::accumulate(m_frames.begin(), m_frames.end(), 0.0);
}

void CPhaseReport::i_PrintHeader()
{
    std::printf("%-10s %10s %10s %13s %8s %14s %15s %14s\n", "phase", "entities", "rows read", "rows written", "frames",
                "worst [ms]", "median [ms]", "peak [MiB]");
}

void CPhaseReport::Print(std::uint64_t entities) const
{
    static bool isFirst = true;
    if (std::exchange(isFirst, false))
        i_PrintHeader();
    std::printf("%-10s %10llu %10llu %13llu %8zu %14.3f %15.3f %14.1f\n", m_name.c_str(),
                static_cast<unsigned long long>(entities), static_cast<unsigned long long>(m_rowsRead),
                static_cast<unsigned long long>(m_rowsWritten), m_frames.size(), GetWorstMilliseconds(),
                GetMedianMilliseconds(),
                static_cast<double>(tamra::platform::GetProcessMemory().peakResident) / (1024.0 * 1024.0));
    std::fflush(stdout);
}
