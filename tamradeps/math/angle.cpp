#include "tamradeps/math/angle.h"

#include <cmath>
#include <numbers>

namespace
{
struct Exact
{
    double sine;
    double cosine;
};

Exact GetExact(float angle) noexcept
{
    // Beyond this, whole turns are taken off first: the quarters could not be counted exactly.
    constexpr float kLargest = 1e6F;
    constexpr double kTurn = 2 * std::numbers::pi;
    constexpr double kQuarter = kTurn / 4;
    constexpr double kQuarterHigh = 1.5707963109016418; // its first 25 bits, of which multiples are exact
    constexpr double kQuarterLow = 1.5893254773528196e-8;
    // Adding it and taking it away rounds to a whole number.
    constexpr double kRounding = 0x1.8p52;
    double x = static_cast<double>(angle);
    if (!(std::abs(angle) < kLargest))
        x = std::remainder(x, kTurn);
    const double quarters = (x * (1.0 / kQuarter) + kRounding) - kRounding;
    const double r = (x - quarters * kQuarterHigh) - quarters * kQuarterLow;
    const double r2 = r * r;
    // Nearest for an eighth of a turn to either side, to less than a hundredth of what a float tells apart.
    const double sine =
        r + r * r2 *
                (-0.166666666416265235595 + r2 * (0.0083333293858894631756 + r2 * (-0.000198393348360966317347 +
                                                                                   r2 * 0.0000027183114939898219064)));
    const double cosine =
        1.0 +
        r2 * (-0.499999997251031003120 +
              r2 * (0.0416666233237390631894 + r2 * (-0.00138867637746099294692 + r2 * 0.0000243904487962774090654)));
    // What is not a number has no quarter.
    const int quarter = std::isfinite(quarters) ? static_cast<int>(quarters) & 3 : 0;
    const double s = (quarter & 1) ? cosine : sine;
    const double c = (quarter & 1) ? sine : cosine;
    return {(quarter & 2) ? -s : s, ((quarter + 1) & 2) ? -c : c};
}
} // namespace

SineAndCosine GetSineAndCosine(float angle) noexcept
{
    const auto [sine, cosine] = GetExact(angle);
    return {static_cast<float>(sine), static_cast<float>(cosine)};
}

float GetTangent(float angle) noexcept
{
    const auto [sine, cosine] = GetExact(angle);
    return static_cast<float>(sine / cosine);
}
