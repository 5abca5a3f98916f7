#include "tamradeps/io/fileSystem.h"

#include "tamradeps/core/log.h"
#include "tamradeps/io/utf8Path.h"
#include "tamradeps/platform/fileSync.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <functional>
#include <new>
#include <random>

namespace fs = std::filesystem;

namespace
{
bool HasZeroByte(std::string_view name)
{
    return name.find('\0') != std::string_view::npos;
}

bool IsFile(const fs::path& path)
{
    std::error_code error;
    const fs::file_status status = fs::status(path, error);
    return fs::exists(status) && !fs::is_directory(status);
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
    const fs::path path = tamra::ToPath(found);
    std::error_code error;
    const auto time = static_cast<std::uint64_t>(fs::last_write_time(path, error).time_since_epoch().count());
    const std::uint64_t size = fs::file_size(path, error);
    // Times may be coarse, so the size counts, too. Odd factors keep apart what differs in one of the three.
    const std::uint64_t stamp = (time * 31 + size) * 31 + std::hash<std::string>()(found);
    return std::max<std::uint64_t>(stamp, 1);
}

bool CFileSystem::FileIn(const std::string& name, std::vector<std::byte>& content, std::size_t maxSize) const
{
    constexpr std::string_view kAction = "cannot read";
    const std::string found = FindFile(name);
    if (found.empty())
        return Fail(kAction, name, "there is no such file");
    const fs::path path = tamra::ToPath(found);
    std::error_code error;
    // Opening a pipe would wait for its other end.
    if (!fs::is_regular_file(path, error))
        return Fail(kAction, found, "it is no regular file");
    const std::uintmax_t size = fs::file_size(path, error);
    if (error)
        return Fail(kAction, found, error.message());
    if (size > maxSize)
        return Fail(kAction, found,
                    std::to_string(size) + " bytes are more than the limit of " + std::to_string(maxSize));
    try
    {
        std::ifstream file(path, std::ios::binary);
        if (!file)
            return Fail(kAction, found, "it cannot be opened");
        std::vector<std::byte> bytes(static_cast<std::size_t>(size));
        const bool read = !!file.read(reinterpret_cast<char*>(bytes.data()), static_cast<std::streamsize>(size));
        if (!read || file.peek() != std::ifstream::traits_type::eof() || file.bad())
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
    if (fs::is_symlink(target, error))
        target = fs::weakly_canonical(target, error);
    if (target.empty())
        return Fail(kAction, path, error.message());
    const fs::file_status status = fs::status(target, error);
    constexpr fs::perms kAnyWrite = fs::perms::owner_write | fs::perms::group_write | fs::perms::others_write;
    if (fs::exists(status) && !fs::is_regular_file(status))
        return Fail(kAction, path, "it is no regular file");
    if (fs::exists(status) && (status.permissions() & kAnyWrite) == fs::perms::none)
        return Fail(kAction, path, "it is write-protected");

    const fs::path folder = target.parent_path();
    fs::path scratch;
    error = WriteScratchFile(folder, data, size, scratch);
    if (!error && fs::exists(status))
        fs::permissions(scratch, status.permissions(), error);
    if (!error)
        error = tamra::platform::RenameOver(scratch, target);
    if (error)
    {
        std::error_code ignored;
        fs::remove(scratch, ignored);
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
