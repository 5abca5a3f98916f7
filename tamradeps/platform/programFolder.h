#pragma once

#include "tamradeps/export.h"

#include <string>

namespace tamra::platform
{
/// The folder of the program that runs, in UTF-8 and without a separator at its end, wherever it was started from;
/// "." where the system does not tell.
TAMRADEPS_API std::string GetProgramFolder();
} // namespace tamra::platform
