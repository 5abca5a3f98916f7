#pragma once

#include "tamradeps/export.h"

#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <string>
#include <system_error>

// The standard library's functions for files where they would not do on every system: those of Windows do not take
// names of more than 260 characters, know times in whole seconds, and hold a file that they read against its
// replacement.

namespace tamra::platform
{
/// What a path leads to.
enum class FileKind
{
    None, ///< There is nothing, or it cannot be seen.
    Regular,
    Folder,
    Other ///< A device, a pipe, ...
};

/// What the system says about a file.
struct FileStatus
{
    FileKind kind = FileKind::None;
    /// Nobody may write to it.
    bool isWriteProtected = false;
    std::uint64_t size = 0;
    /// In units of the system, from a start of its own.
    std::uint64_t writeTime = 0;
};

/// Follows links.
TAMRADEPS_API FileStatus GetFileStatus(const std::filesystem::path& path) noexcept;

/// Opens a file for reading bytes, so that others may replace and delete it meanwhile. Null when that fails.
TAMRADEPS_API std::FILE* OpenForReading(const std::filesystem::path& path) noexcept;

/// Removes a file, also one that is not there.
TAMRADEPS_API void RemoveFile(const std::filesystem::path& path) noexcept;

/// The file that a symbolic link leads to, whether it exists or not; any other path as it is. Empty on an error.
TAMRADEPS_API std::filesystem::path FollowLink(const std::filesystem::path& path, std::error_code& error) noexcept;

/// Gives a file the permissions of another one.
TAMRADEPS_API std::error_code CopyPermissions(const std::filesystem::path& from,
                                              const std::filesystem::path& to) noexcept;

/// The name by which the system takes the path whatever its length. Only to be handed to the system.
TAMRADEPS_API std::filesystem::path GetSystemPath(const std::filesystem::path& path) noexcept;

/// The name of SQLite's access to files that takes names of any length; null for its usual one.
TAMRADEPS_API const char* GetDatabaseAccess() noexcept;
} // namespace tamra::platform
