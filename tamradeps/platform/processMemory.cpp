#include "tamradeps/platform/processMemory.h"

#if defined(_WIN32)
#include <windows.h>
// After windows.h.
#include <psapi.h>
#else
#include <cinttypes>
#include <cstdio>
#endif

namespace tamra::platform
{
#if defined(_WIN32)
ProcessMemory GetProcessMemory() noexcept
{
    PROCESS_MEMORY_COUNTERS counters = {};
    if (!K32GetProcessMemoryInfo(GetCurrentProcess(), &counters, sizeof(counters)))
        return {};
    return {counters.WorkingSetSize, counters.PeakWorkingSetSize};
}
#else
ProcessMemory GetProcessMemory() noexcept
{
    ProcessMemory memory;
    std::FILE* status = std::fopen("/proc/self/status", "r");
    if (!status)
        return memory;
    char line[256];
    std::uint64_t kibibytes = 0;
    while (std::fgets(line, sizeof(line), status))
    {
        if (std::sscanf(line, "VmRSS: %" SCNu64, &kibibytes) == 1)
            memory.resident = kibibytes * 1024;
        else if (std::sscanf(line, "VmHWM: %" SCNu64, &kibibytes) == 1)
            memory.peakResident = kibibytes * 1024;
    }
    std::fclose(status);
    return memory;
}
#endif
} // namespace tamra::platform
