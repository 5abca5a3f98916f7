#include "tamradeps/io/fileSystem.h"

#include "tamradeps/core/log.h"
#include "tamradeps/io/utf8Path.h"
#include "tamradeps/platform/fileAccess.h"
#include "tamradeps/platform/fileSync.h"

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <functional>
#include <memory>
#include <new>
#include <random>

namespace fs = std::filesystem;
using tamra::platform::FileKind;
using tamra::platform::FileStatus;
using tamra::platform::GetFileStatus;

namespace
{
bool HasZeroByte(std::string_view name)
{
    return name.find('\0') != std::string_view::npos;
}

bool IsFile(const fs::path& path)
{
    const FileKind kind = GetFileStatus(path).kind;
    return kind != FileKind::None && kind != FileKind::Folder;
}

// Writes a scratch file beside the target under a name that nobody has.
std::error_code WriteScratchFile(const fs::path& folder, const void* data, std::size_t size, fs::path& scratch)
{
    static std::mt19937_64 random{std::random_device{}()};
    std::error_code error;
    do
    {
        scratch = folder / (".tamra-" + std::to_string(random()) + ".tmp");
        error = tamra::platform::WriteNewFileToDisk(scratch, data, size);
    } while (error == std::errc::file_exists);
    return error;
}

bool Fail(std::string_view action, std::string_view name, std::string_view reason)
{
    constexpr std::size_t kLongestName = 512;
    std::string line(action);
    line.append(" \"").append(tamra::log::Quoted(name, kLongestName)).append("\": ").append(reason);
    tamra::log::Error(line);
    return false;
}
} // namespace

void CFileSystem::AddRoot(const std::string& folder)
{
    if (std::find(m_roots.begin(), m_roots.end(), folder) == m_roots.end())
        m_roots.push_back(folder);
}

std::string CFileSystem::GetTemporaryFilePath(const std::string& name) const
{
    if (name.empty() || HasZeroByte(name))
        return {};
    // Joining gives the name alone when it is absolute, or when there is no folder.
    return tamra::ToUtf8(tamra::ToPath(m_temporaryFolder) / tamra::ToPath(name));
}

std::string CFileSystem::FindFile(const std::string& name) const
{
    const fs::path path = tamra::ToPath(name);
    if (path.empty() || HasZeroByte(name))
        return {};
    if (path.is_absolute())
        return IsFile(path) ? name : std::string();
    const auto isIn = [&](const std::string& folder) { return IsFile(tamra::ToPath(folder) / path); };
    const auto join = [&](const std::string& folder) { return tamra::ToUtf8(tamra::ToPath(folder) / path); };
    const auto root = std::find_if(m_roots.begin(), m_roots.end(), isIn);
    if (root != m_roots.end())
        return join(*root);
    if (!m_userFolder.empty() && isIn(m_userFolder))
        return join(m_userFolder);
    return isIn(m_temporaryFolder) ? join(m_temporaryFolder) : std::string();
}

std::uint64_t CFileSystem::GetFileStamp(const std::string& name) const
{
    const std::string found = FindFile(name);
    if (found.empty())
        return 0;
    const FileStatus status = GetFileStatus(tamra::ToPath(found));
    // Times may be coarse, so the size counts, too. Odd factors keep apart what differs in one of the three.
    const std::uint64_t stamp = (status.writeTime * 31 + status.size) * 31 + std::hash<std::string>()(found);
    return std::max<std::uint64_t>(stamp, 1);
}

bool CFileSystem::FileIn(const std::string& name, std::vector<std::byte>& content, std::size_t maxSize) const
{
    constexpr std::string_view kAction = "cannot read";
    const std::string found = FindFile(name);
    if (found.empty())
        return Fail(kAction, name, "there is no such file");
    const fs::path path = tamra::ToPath(found);
    const FileStatus status = GetFileStatus(path);
    const std::uint64_t size = status.size;
    // Opening a pipe would wait for its other end.
    if (status.kind != FileKind::Regular)
        return Fail(kAction, found, "it is no regular file");
    if (size > maxSize)
        return Fail(kAction, found,
                    std::to_string(size) + " bytes are more than the limit of " + std::to_string(maxSize));
    try
    {
        const std::unique_ptr<std::FILE, decltype(&std::fclose)> file(tamra::platform::OpenForReading(path),
                                                                      &std::fclose);
        if (!file)
            return Fail(kAction, found, "it cannot be opened");
        std::vector<std::byte> bytes(static_cast<std::size_t>(size));
        const bool read = std::fread(bytes.data(), 1, bytes.size(), file.get()) == bytes.size();
        if (!read || std::fgetc(file.get()) != EOF || std::ferror(file.get()))
            return Fail(kAction, found, "it is not as long as it says, or the disk has an error");
        content = std::move(bytes);
        return true;
    }
    catch (const std::bad_alloc&)
    {
        return Fail(kAction, found, "out of memory");
    }
}

bool CFileSystem::FileReplace(const std::string& path, const void* data, std::size_t size) const
{
    constexpr std::string_view kAction = "cannot write";
    fs::path target = tamra::ToPath(path);
    if (HasZeroByte(path) || target.empty())
        return Fail(kAction, path, "the name is empty or holds a zero byte");
    std::error_code error;
    target = tamra::platform::FollowLink(target, error);
    if (target.empty())
        return Fail(kAction, path, error.message());
    const FileStatus status = GetFileStatus(target);
    const bool exists = status.kind != FileKind::None;
    if (exists && status.kind != FileKind::Regular)
        return Fail(kAction, path, "it is no regular file");
    if (exists && status.isWriteProtected)
        return Fail(kAction, path, "it is write-protected");

    const fs::path folder = target.parent_path();
    fs::path scratch;
    error = WriteScratchFile(folder, data, size, scratch);
    if (!error && exists)
        error = tamra::platform::CopyPermissions(target, scratch);
    if (!error)
        error = tamra::platform::RenameOver(scratch, target);
    if (error)
    {
        tamra::platform::RemoveFile(scratch);
        return Fail(kAction, path, error.message());
    }
    // The new content is in place and whole; only the old one might come back.
    error = tamra::platform::FlushFolderToDisk(folder);
    if (error)
        tamra::log::Warning("the folder of \"" + tamra::log::Quoted(path) + "\" is not flushed: " + error.message());
    return true;
}

CFileSystem& GetFileSystem()
{
    static auto& fileSystem = *new CFileSystem;
    return fileSystem;
}
