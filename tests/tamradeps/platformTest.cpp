#include "tamradeps/platform/counters.h"
#include "tamradeps/platform/processMemory.h"

#include <utility>
#include <vector>

#include <gtest/gtest.h>

using namespace tamra::platform;

TEST(Platform, ProcessMemoryFollowsWhatIsTouched)
{
    constexpr std::size_t kSize = 64U << 20;
    const ProcessMemory before = GetProcessMemory();
    EXPECT_GT(before.resident, 1U << 20);
    {
        std::vector<char> block(kSize, 'x');
        EXPECT_EQ(block[kSize / 2], 'x');
        EXPECT_GT(GetProcessMemory().resident, before.resident + kSize / 2);
    }
    const ProcessMemory after = GetProcessMemory();
    EXPECT_GE(after.peakResident, before.resident + kSize / 2);
    EXPECT_GE(after.peakResident, after.resident);
}

TEST(Platform, CounterRunsAtItsFrequencyAndNeverBack)
{
    const CStopwatch watch;
    const auto start = std::chrono::steady_clock::now();
    std::int64_t last = GetCounterTicks();
    while (std::chrono::steady_clock::now() - start < std::chrono::milliseconds(20))
    {
        const std::int64_t now = GetCounterTicks();
        ASSERT_GE(now, std::exchange(last, now));
    }
    EXPECT_GE(watch.GetSeconds(), 0.02);
    EXPECT_EQ(TicksToSeconds(kTicksPerSecond), 1.0);
}
