#pragma once

#include "tamradeps/export.h"

#include <cstddef>
#include <filesystem>
#include <system_error>

namespace tamra::platform
{
/// Makes a file that must not exist yet (`std::errc::file_exists` if it does), writes the bytes, and returns when they
/// are on the disk. After any other error the file may be there in part, for the caller to remove.
TAMRADEPS_API std::error_code WriteNewFileToDisk(const std::filesystem::path& path, const void* data,
                                                 std::size_t size) noexcept;

/// Renames a file over another one or to a new name in the same file system, in one step for everybody who looks.
TAMRADEPS_API std::error_code RenameOver(const std::filesystem::path& from, const std::filesystem::path& to) noexcept;

/// Returns when the folder's list of names, as changed by making and renaming files, is on the disk.
TAMRADEPS_API std::error_code FlushFolderToDisk(const std::filesystem::path& folder) noexcept;
} // namespace tamra::platform
