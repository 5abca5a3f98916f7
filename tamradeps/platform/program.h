#pragma once

#include "tamradeps/export.h"

#include <string>

namespace tamra::platform
{
/// The folder of the running program's file, in UTF-8; empty where the system does not tell.
TAMRADEPS_API std::string GetProgramFolder();
} // namespace tamra::platform
