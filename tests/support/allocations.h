#pragma once

#include <cstddef>

namespace test
{
/// Calls of `operator new` by this program and its libraries so far. For code that must not allocate:
///
///     const std::size_t before = GetAllocationCount();
///     ...
///     EXPECT_EQ(GetAllocationCount(), before);
std::size_t GetAllocationCount();
} // namespace test
