#pragma once

#include "tamradeps/export.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

/// Finds, reads and replaces whole files. All names and paths are UTF-8 with either separator of the system; names with
/// a zero byte are refused everywhere.
///
/// A relative name is looked for in the roots in the order in which they were added (assets), then in the user folder,
/// then in the temporary folder, which is the current directory until it is set.
///
/// A call that fails logs one [ERROR] line with the name and answers false.
class TAMRADEPS_API CFileSystem
{
public:
    static constexpr std::size_t kDefaultMaxSize = std::size_t{1} << 30;

    /// Adds a folder of assets after the others. It need not exist; adding it twice has no effect.
    void AddRoot(const std::string& folder);
    const std::vector<std::string>& GetRoots() const noexcept { return m_roots; }

    /// The folder for what the user keeps (settings, saves); empty, as at the start, for none.
    void SetUserFolder(const std::string& folder) { m_userFolder = folder; }
    const std::string& GetUserFolder() const noexcept { return m_userFolder; }

    /// The folder for scratch files; empty, as at the start, for the current directory.
    void SetTemporaryFolder(const std::string& folder) { m_temporaryFolder = folder; }
    const std::string& GetTemporaryFolder() const noexcept { return m_temporaryFolder; }

    /// The name in the temporary folder, whether or not the file exists; an absolute name as it is. Empty
    /// for no name.
    std::string GetTemporaryFilePath(const std::string& name) const;

    /// The path of an existing file (not a folder): an absolute name as it is, a relative one below the first folder
    /// that has it. Empty, without a log line, when there is none.
    std::string FindFile(const std::string& name) const;

    /// A number that is another one after the file that `FindFile` finds was written again or replaced, also by one of
    /// another folder. 0, without a log line, when there is none. Costs a look at each folder.
    std::uint64_t GetFileStamp(const std::string& name) const;

    /// Reads all of the file that `FindFile` finds. Fails, leaving `content` as it was, for a missing file, a folder, a
    /// device, more than `maxSize` bytes, and an error while reading.
    bool FileIn(const std::string& name, std::vector<std::byte>& content, std::size_t maxSize = kDefaultMaxSize) const;

    /// Replaces the file, or makes it, in one step: whoever opens it, also after a crash or a loss of power, finds all
    /// of the old content or all of the new. The content is written to a scratch file in the same folder, flushed to
    /// the disk, and renamed. On failure the old file is untouched and no scratch file stays.
    ///
    /// A relative path starts at the current directory. The file's permissions are kept, and a symbolic link stays one
    /// and its target is replaced. Devices, folders and files without any permission to write are refused.
    bool FileReplace(const std::string& path, const void* data, std::size_t size) const;

private:
    std::vector<std::string> m_roots;
    std::string m_userFolder;
    std::string m_temporaryFolder;
};

/// The program's file system. Lives as long as the program.
TAMRADEPS_API CFileSystem& GetFileSystem();
