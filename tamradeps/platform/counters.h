#pragma once

#include <chrono>
#include <cstdint>

namespace tamra::platform
{
/// The standard clock reads the system's monotonic high-resolution counter without a system call on both systems.
using CounterClock = std::chrono::steady_clock;

/// Ticks of `GetCounterTicks` in a second.
inline constexpr std::int64_t kTicksPerSecond = CounterClock::period::den / CounterClock::period::num;

/// A counter that runs evenly and never back, `kTicksPerSecond` ticks a second, from an arbitrary start. A reading
/// costs some tens of nanoseconds.
inline std::int64_t GetCounterTicks() noexcept
{
    return CounterClock::now().time_since_epoch().count();
}

/// Ticks, usually a difference of two readings, as seconds.
inline double TicksToSeconds(std::int64_t ticks) noexcept
{
    return static_cast<double>(ticks) / static_cast<double>(kTicksPerSecond);
}

/// Time since its making or the latest `Restart`.
class CStopwatch
{
public:
    void Restart() noexcept { m_start = GetCounterTicks(); }
    std::int64_t GetTicks() const noexcept { return GetCounterTicks() - m_start; }
    double GetSeconds() const noexcept { return TicksToSeconds(GetTicks()); }

private:
    std::int64_t m_start = GetCounterTicks();
};
} // namespace tamra::platform
