#pragma once

#include <cfloat>
#include <cmath>
#include <cstdint>
#include <iterator>

namespace test
{
/// The same numbers on every machine.
class Random
{
public:
    explicit Random(std::uint64_t seed) : m_state(seed) {}

    std::uint64_t Bits()
    {
        std::uint64_t z = m_state += 0x9E3779B97F4A7C15;
        z = (z ^ z >> 30) * 0xBF58476D1CE4E5B9;
        z = (z ^ z >> 27) * 0x94D049BB133111EB;
        return z ^ z >> 31;
    }
    /// From 0 to `end - 1`.
    template <class Integer>
    Integer Below(Integer end)
    {
        return static_cast<Integer>(Bits() % static_cast<std::uint64_t>(end));
    }
    /// True once in `n` calls on average.
    bool OneIn(unsigned n) { return Below(n) == 0; }
    float Between(float low, float high)
    {
        return low + (high - low) * static_cast<float>(static_cast<double>(Bits() >> 11) * 0x1p-53);
    }
    /// One that calculations stumble over.
    float Strange()
    {
        constexpr float kStrange[] = {NAN,   INFINITY, -INFINITY, FLT_MAX, -FLT_MAX,
                                      1e16F, -1e10F,   1e-42F,    -1e-40F, -0.0F};
        return kStrange[Below(std::size(kStrange))];
    }

private:
    std::uint64_t m_state;
};
} // namespace test
