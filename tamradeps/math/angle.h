#pragma once

#include "tamradeps/export.h"

// The C library's sines differ in the last bit from one system to another. What is saved of them must not, so that
// equal input gives equal files everywhere: these are the same on every machine.

/// Both of one angle.
struct SineAndCosine
{
    float sine;
    float cosine;
};

/// Of an angle in radians, each to within 0.501 units of a float's last place up to a million radians; beyond that, the
/// error of counting the turns off in double precision is added. What is not finite gives what is not a number.
TAMRADEPS_API SineAndCosine GetSineAndCosine(float angle) noexcept;

/// Of an angle in radians, as exact.
TAMRADEPS_API float GetTangent(float angle) noexcept;
