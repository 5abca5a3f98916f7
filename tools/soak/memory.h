#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace soak
{
/// Pieces of heap memory in use: under the address sanitizer all, otherwise those of `operator new`. None where each
/// library has an `operator new` of its own.
std::int64_t CountLiveAllocations() noexcept;

/// What the process occupied after each season, when everything that grew in it was let go again.
class CMemoryRecord
{
public:
    struct Sample
    {
        std::uint64_t round;
        std::int64_t allocations;
        std::uint64_t resident; // bytes
    };

    /// Of the line that fits the samples after the warm-up best, from its first to its last: allocations at most, and
    /// resident bytes at most, the larger of a number and a share of what there was. The latter leave room for a
    /// driver's buffers, which grow once with the largest picture; what is lost piece by piece shows in the former.
    static constexpr double kMostAllocations = 200.0;
    static constexpr double kMostAllocationShare = 0.01;
    static constexpr double kMostResident = 64.0 * 1024 * 1024;
    static constexpr double kMostResidentShare = 0.05;
    /// Before so many samples after the warm-up, nothing is said.
    static constexpr std::size_t kFewestSamples = 6;

    const Sample& Take(std::uint64_t round);
    const std::vector<Sample>& GetSamples() const noexcept { return m_samples; }
    /// The first sample that counts: the first third is warm-up, but ten samples at least.
    std::size_t GetWarm() const noexcept;
    /// Growth from the first sample that counts to the last, along the line that fits best.
    double GetAllocationGrowth() const;
    double GetResidentGrowth() const;
    /// Empty when both are in bounds, or there are too few samples to tell.
    std::string Judge() const;

private:
    template <class Get>
    double i_GetGrowth(Get get) const;

    std::vector<Sample> m_samples;
};
} // namespace soak
