#pragma once

#include <cstdlib>

/// Ends the program, which is what the fuzzer calls a find, unless the condition holds.
inline void Check(bool condition)
{
    if (!condition)
        std::abort();
}
