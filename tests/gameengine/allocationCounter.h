#pragma once

#include <cstddef>

namespace test
{
/// Calls of `operator new` in the whole process since the program began.
std::size_t GetAllocationCount();
} // namespace test
