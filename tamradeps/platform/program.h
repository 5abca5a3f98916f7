#pragma once

#include "tamradeps/export.h"

#include <filesystem>

namespace tamra::platform
{
/// The folder of the running program's file; empty where the system does not tell.
TAMRADEPS_API std::filesystem::path GetProgramFolder();
} // namespace tamra::platform
