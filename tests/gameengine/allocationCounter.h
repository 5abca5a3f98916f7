#pragma once

#include <cstddef>

namespace test
{
/// Calls of `operator new` since the program began.
std::size_t GetAllocationCount();
} // namespace test
