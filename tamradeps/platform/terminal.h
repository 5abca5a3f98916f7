#pragma once

#include "tamradeps/export.h"

namespace tamra::platform
{
/// True when standard error is a terminal, where progress may be drawn, and no file or pipe.
TAMRADEPS_API bool IsStandardErrorATerminal() noexcept;
} // namespace tamra::platform
