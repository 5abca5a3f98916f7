#pragma once

// What the compiler should know about where a program spends its time.

#if defined(__GNUC__)
/// Before a function that hardly ever runs: keeps it out of the way of what always does.
#define TAMRA_COLD __attribute__((cold, noinline))
/// A condition that is as good as always true, so that it is branched on.
#define TAMRA_SURELY(condition) __builtin_expect_with_probability(condition, 1, 0.999)
/// Fetches memory that will be touched soon; any address does.
#define TAMRA_PREFETCH(address) __builtin_prefetch(address, 1)
#else
#define TAMRA_COLD
#define TAMRA_PREFETCH(address) static_cast<void>(address)
#define TAMRA_SURELY(condition) (condition)
#endif
