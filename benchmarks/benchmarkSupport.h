#pragma once

#include "tamradeps/core/crc64.h"

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <utility>
#include <vector>

#include <benchmark/benchmark.h>

namespace bench
{
/// Objects in a benchmark: `full`, or few when BENCH_SMOKE is set and only the running counts.
inline std::size_t Count(std::size_t full)
{
    return std::getenv("BENCH_SMOKE") ? full / 100 + 1 : full;
}

/// A generator that is the same on every machine.
class Random
{
public:
    explicit Random(std::uint64_t seed) : m_state(seed) {}
    std::uint32_t Next()
    {
        m_state = m_state * 6364136223846793005U + 1442695040888963407U;
        return static_cast<std::uint32_t>(m_state >> 33);
    }
    std::size_t Below(std::size_t end) { return Next() % end; }
    float Unit() { return static_cast<float>(Next()) / 2147483648.0F; }

private:
    std::uint64_t m_state;
};

/// The numbers from 0 to `count - 1` in random order.
inline std::vector<std::uint32_t> Shuffled(std::size_t count, std::uint64_t seed)
{
    std::vector<std::uint32_t> order(count);
    for (std::size_t i = 0; i < count; ++i)
        order[i] = static_cast<std::uint32_t>(i);
    Random random(seed);
    for (std::size_t i = count; i > 1; --i)
        std::swap(order[i - 1], order[random.Below(i)]);
    return order;
}

/// Prints a hash of the result beside the speed, so that a faster wrong answer is seen, and the time for each item.
inline void Report(benchmark::State& state, std::size_t itemsPerIteration, std::uint64_t result)
{
    state.SetItemsProcessed(static_cast<std::int64_t>(state.iterations() * itemsPerIteration));
    state.counters["ns/item"] = benchmark::Counter(static_cast<double>(state.iterations() * itemsPerIteration) * 1e-9,
                                                   benchmark::Counter::kIsRate | benchmark::Counter::kInvert);
    char label[40];
    std::snprintf(label, sizeof(label), "hash %016llx",
                  static_cast<unsigned long long>(HashCRC64Data(&result, sizeof(result))));
    state.SetLabel(label);
}
} // namespace bench
