#pragma once

#include <cstdint>
#include <string>

// What tests do to the system around the program, as far as it lets them.

namespace test
{
#if defined(_WIN32)
inline constexpr bool kIsUnix = false;
#else
inline constexpr bool kIsUnix = true;
#endif

/// Whether Wine plays the system. It cannot replace a file that somebody reads, nor keep one without permission from
/// being written to.
bool IsWine();

/// A pipe that has a name among the files. Only where `kIsUnix`.
bool MakePipe(const std::string& path);

/// Until the end of the scope, writing to a file beyond this size fails as on a full disk. Only where `kIsUnix`.
class FileSizeLimit
{
public:
    explicit FileSizeLimit(std::uint64_t size);
    FileSizeLimit(const FileSizeLimit&) = delete;
    FileSizeLimit& operator=(const FileSizeLimit&) = delete;
    ~FileSizeLimit();
};

/// Until the end of the scope, the superuser is somebody for whom files can be read-only.
class NoSuperuser
{
public:
    NoSuperuser();
    NoSuperuser(const NoSuperuser&) = delete;
    NoSuperuser& operator=(const NoSuperuser&) = delete;
    ~NoSuperuser();
};
} // namespace test
