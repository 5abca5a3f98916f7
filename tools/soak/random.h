#pragma once

#include <cstdint>

namespace soak
{
/// The same numbers on every machine.
class CRandom
{
public:
    explicit CRandom(std::uint64_t seed) : m_state(seed) {}

    std::uint64_t Bits()
    {
        m_state += 0x9E3779B97F4A7C15;
        std::uint64_t bits = m_state;
        bits = (bits ^ bits >> 30) * 0xBF58476D1CE4E5B9;
        bits = (bits ^ bits >> 27) * 0x94D049BB133111EB;
        return bits ^ bits >> 31;
    }
    /// From 0 to `end - 1`.
    int Below(int end) { return static_cast<int>(Bits() % static_cast<std::uint64_t>(end)); }
    std::size_t Below(std::size_t end) { return static_cast<std::size_t>(Bits() % end); }
    /// True once in `n` calls on average.
    bool OneIn(int n) { return Below(n) == 0; }
    float Between(float low, float high)
    {
        return low + (high - low) * static_cast<float>(static_cast<double>(Bits() >> 40) * 0x1p-24);
    }

private:
    std::uint64_t m_state;
};
} // namespace soak
