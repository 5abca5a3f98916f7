#include "tamradeps/platform/terminal.h"

#include <cstdio>

#if defined(_WIN32)
#include <io.h>
#else
#include <unistd.h>
#endif

namespace tamra::platform
{
bool IsStandardErrorATerminal() noexcept
{
#if defined(_WIN32)
    return _isatty(_fileno(stderr)) != 0;
#else
    return isatty(STDERR_FILENO) != 0;
#endif
}
} // namespace tamra::platform
