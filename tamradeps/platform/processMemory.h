#pragma once

#include "tamradeps/export.h"

#include <cstdint>

namespace tamra::platform
{
/// Physical memory that this process occupies, in bytes; 0 where the system does not tell.
struct ProcessMemory
{
    std::uint64_t resident = 0;
    /// The largest that `resident` has been.
    std::uint64_t peakResident = 0;
};

/// Asks the system: some tens of microseconds, not for every frame.
TAMRADEPS_API ProcessMemory GetProcessMemory() noexcept;
} // namespace tamra::platform
