#include "tools/soak/memory.h"

#include "tamradeps/platform/processMemory.h"

#include <algorithm>
#include <atomic>
#include <cstdlib>
#include <new>

#if defined(__SANITIZE_ADDRESS__)
#define SOAK_ADDRESS_SANITIZER 1
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
#define SOAK_ADDRESS_SANITIZER 1
#endif
#endif

namespace
{
constexpr std::size_t kFewestWarmUp = 10;
std::atomic<std::int64_t> g_live = 0;
} // namespace

#if defined(SOAK_ADDRESS_SANITIZER)
// Of the sanitizer's runtime, whose header not every compiler brings along.
extern "C" int __sanitizer_install_malloc_and_free_hooks(void (*onAllocate)(const volatile void*, std::size_t),
                                                         void (*onFree)(const volatile void*));

namespace
{
void OnAllocate(const volatile void*, std::size_t)
{
    g_live.fetch_add(1, std::memory_order_relaxed);
}
void OnFree(const volatile void* memory)
{
    if (memory)
        g_live.fetch_sub(1, std::memory_order_relaxed);
}
[[maybe_unused]] const int g_installed = __sanitizer_install_malloc_and_free_hooks(OnAllocate, OnFree);
} // namespace
#elif !defined(__SANITIZE_THREAD__) && !defined(SOAK_COUNTS_NO_ALLOCATIONS)
// The array forms call these.
void* operator new(std::size_t size)
{
    void* const memory = std::malloc(std::max<std::size_t>(size, 1));
    if (!memory)
        throw std::bad_alloc();
    g_live.fetch_add(1, std::memory_order_relaxed);
    return memory;
}

void* operator new(std::size_t size, const std::nothrow_t&) noexcept
{
    void* const memory = std::malloc(std::max<std::size_t>(size, 1));
    g_live.fetch_add(memory ? 1 : 0, std::memory_order_relaxed);
    return memory;
}

void operator delete(void* memory) noexcept
{
    g_live.fetch_sub(memory ? 1 : 0, std::memory_order_relaxed);
    std::free(memory);
}

void operator delete(void* memory, std::size_t) noexcept
{
    operator delete(memory);
}

void operator delete(void* memory, const std::nothrow_t&) noexcept
{
    operator delete(memory);
}
#endif

namespace soak
{
std::int64_t CountLiveAllocations() noexcept
{
    return g_live.load(std::memory_order_relaxed);
}

const CMemoryRecord::Sample& CMemoryRecord::Take(std::uint64_t round)
{
    // The vector's own piece counts from the first sample on.
    if (m_samples.capacity() == 0)
        m_samples.reserve(64);
    return m_samples.emplace_back(Sample{round, CountLiveAllocations(), tamra::platform::GetProcessMemory().resident});
}

std::size_t CMemoryRecord::GetWarm() const noexcept
{
    return std::min(std::max(kFewestWarmUp, m_samples.size() / 3), m_samples.size());
}

template <class Get>
double CMemoryRecord::i_GetGrowth(Get get) const
{
    const std::size_t first = GetWarm();
    const auto count = static_cast<double>(m_samples.size() - first);
    if (count < 2.0)
        return 0.0;
    double meanX = 0.0;
    double meanY = 0.0;
    for (std::size_t i = first; i < m_samples.size(); ++i)
    {
        meanX += static_cast<double>(m_samples[i].round) / count;
        meanY += get(m_samples[i]) / count;
    }
    double covariance = 0.0;
    double variance = 0.0;
    for (std::size_t i = first; i < m_samples.size(); ++i)
    {
        const double x = static_cast<double>(m_samples[i].round) - meanX;
        covariance += x * (get(m_samples[i]) - meanY);
        variance += x * x;
    }
    const auto span = static_cast<double>(m_samples.back().round - m_samples[first].round);
    return variance > 0.0 ? covariance / variance * span : 0.0;
}

double CMemoryRecord::GetAllocationGrowth() const
{
    return i_GetGrowth([](const Sample& sample) { return static_cast<double>(sample.allocations); });
}

double CMemoryRecord::GetResidentGrowth() const
{
    return i_GetGrowth([](const Sample& sample) { return static_cast<double>(sample.resident); });
}

std::string CMemoryRecord::Judge() const
{
    if (m_samples.size() < GetWarm() + kFewestSamples)
        return {};
    const Sample& warm = m_samples[GetWarm()];
    const double mostAllocations =
        std::max(kMostAllocations, kMostAllocationShare * static_cast<double>(warm.allocations));
    const double mostResident = std::max(kMostResident, kMostResidentShare * static_cast<double>(warm.resident));
    if (GetAllocationGrowth() > mostAllocations)
        return "live allocations grow by " + std::to_string(GetAllocationGrowth()) + ", more than " +
               std::to_string(mostAllocations);
    if (GetResidentGrowth() > mostResident)
        return "resident memory grows by " + std::to_string(GetResidentGrowth()) + " bytes, more than " +
               std::to_string(mostResident);
    return {};
}
} // namespace soak
