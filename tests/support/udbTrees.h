#pragma once

#include "tamradeps/udb/udbGroup.h"
#include "tests/support/random.h"

#include <bit>
#include <cstdint>
#include <limits>
#include <string>
#include <vector>

namespace test
{
/// Numbers on both sides of every encoding's border, and the ones that conversions like to spoil.
inline std::vector<double> SpecialNumbers()
{
    constexpr double kLargestDouble = std::numeric_limits<double>::max();
    constexpr double kInfinity = std::numeric_limits<double>::infinity();
    std::vector<double> numbers{0.0, 0.5, 0.1F, 0.1, 1e-45F, 5e-324, 3.4028235677973366e+38, kLargestDouble, kInfinity};
    for (const double border : {1.0, 127.0, 128.0, 32767.0, 32768.0, 2147483647.0, 2147483648.0, 9007199254740993.0})
        numbers.insert(numbers.end(), {border, border + 1.0, border - 0.5});
    for (std::size_t i = numbers.size(); i-- > 0;)
        numbers.push_back(-numbers[i]);
    // Quiet and signalling NaN, with the payload at either end.
    for (const std::uint64_t bits :
         {0x7FF8000000000000U, 0x7FF8000000000001U, 0x7FF0000000000001U, 0x7FF4000020000000U})
        numbers.insert(numbers.end(),
                       {std::bit_cast<double>(bits), std::bit_cast<double>(bits | std::uint64_t{1} << 63)});
    return numbers;
}

inline std::string RandomText(Random& random)
{
    static constexpr std::string_view kTexts[]{
        "",  "m11", "a key with blanks", "exactly15bytes!",   "\xC3\xA9t\xC3\xA9",
        "}", "{",   "\"\\\n\r\t\x7F",    {"zero\0inside", 11}};
    if (random.Below(3) != 0)
        return std::string(kTexts[random.Below(std::size(kTexts))]);
    std::string text(random.Below(random.Below(8) == 0 ? 5000 : 20), '\0');
    for (char& c : text)
        c = static_cast<char>(random.Bits());
    return text;
}

inline void FillRandomly(UDBGroup& group, Random& random, int levels)
{
    static const std::vector<double> kSpecial = SpecialNumbers();
    for (std::uint64_t count = random.Below(12); count > 0; --count)
    {
        const std::string key = RandomText(random);
        switch (random.Below(levels > 0 ? 5 : 4))
        {
        case 0: group.AddNumber(key, kSpecial[random.Below(kSpecial.size())]); break;
        case 1: group.AddNumber(key, std::bit_cast<double>(random.Bits())); break;
        case 2: group.AddNumber(key, std::bit_cast<float>(static_cast<std::uint32_t>(random.Bits()))); break;
        case 3: group.AddString(key, RandomText(random)); break;
        default: FillRandomly(*group.AddNewGroup(key), random, levels - 1); break;
        }
    }
}

/// Equal in order, keys, kinds and every bit of the values.
inline bool SameTree(const UDBGroup& a, const UDBGroup& b)
{
    auto other = b.begin();
    for (const UDBEntry& entry : a)
    {
        if (other == b.end() || entry.GetKey() != other->GetKey() || entry.GetKind() != other->GetKind() ||
            std::bit_cast<std::uint64_t>(entry.GetNumber()) != std::bit_cast<std::uint64_t>(other->GetNumber()) ||
            entry.GetString() != other->GetString() ||
            (entry.GetGroup() && !SameTree(*entry.GetGroup(), *other->GetGroup())))
            return false;
        ++other;
    }
    return other == b.end() && a.GetEntryCount() == b.GetEntryCount();
}
} // namespace test
