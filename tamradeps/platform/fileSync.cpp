#include "tamradeps/platform/fileSync.h"

#include "tamradeps/platform/fileAccess.h"

#include <algorithm>

#if defined(_WIN32)
#include <string>
#include <vector>

#include <windows.h>
#else
#include <cerrno>

#include <fcntl.h>
#include <unistd.h>
#endif

namespace tamra::platform
{
namespace
{
// Neither system takes more than 2 GiB in one call.
constexpr std::size_t kLargestWrite = std::size_t{1} << 30;
} // namespace

#if defined(_WIN32)
namespace
{
std::error_code GetSystemError() noexcept
{
    return {static_cast<int>(GetLastError()), std::system_category()};
}

std::error_code WriteAndFlush(HANDLE file, const char* data, std::size_t size) noexcept
{
    while (size > 0)
    {
        const auto piece = static_cast<DWORD>((std::min)(size, kLargestWrite));
        DWORD written = 0;
        if (!WriteFile(file, data, piece, &written, nullptr))
            return GetSystemError();
        data += written;
        size -= written;
    }
    return FlushFileBuffers(file) ? std::error_code() : GetSystemError();
}
} // namespace

std::error_code WriteNewFileToDisk(const std::filesystem::path& path, const void* data, std::size_t size) noexcept
{
    const HANDLE file =
        CreateFileW(GetSystemPath(path).c_str(), GENERIC_WRITE, 0, nullptr, CREATE_NEW, FILE_ATTRIBUTE_NORMAL, nullptr);
    if (file == INVALID_HANDLE_VALUE)
        return GetSystemError();
    std::error_code error = WriteAndFlush(file, static_cast<const char*>(data), size);
    if (!CloseHandle(file) && !error)
        error = GetSystemError();
    return error;
}

namespace
{
// Also over a file that others have open, where the system and the file system know that.
bool RenameLikeUnix(const std::wstring& from, const std::wstring& to) noexcept
{
    const HANDLE file = CreateFileW(from.c_str(), DELETE | SYNCHRONIZE, FILE_SHARE_READ | FILE_SHARE_DELETE, nullptr,
                                    OPEN_EXISTING, FILE_FLAG_WRITE_THROUGH, nullptr);
    if (file == INVALID_HANDLE_VALUE)
        return false;
    // Not in every version of the headers.
    constexpr auto kFileRenameInfoEx = static_cast<FILE_INFO_BY_HANDLE_CLASS>(22);
    std::vector<std::byte> memory(sizeof(FILE_RENAME_INFO) + to.size() * sizeof(wchar_t));
    auto* const info = reinterpret_cast<FILE_RENAME_INFO*>(memory.data());
    info->Flags = FILE_RENAME_FLAG_REPLACE_IF_EXISTS | FILE_RENAME_FLAG_POSIX_SEMANTICS;
    info->FileNameLength = static_cast<DWORD>(to.size() * sizeof(wchar_t));
    std::copy(to.begin(), to.end(), info->FileName);
    const bool renamed =
        SetFileInformationByHandle(file, kFileRenameInfoEx, info, static_cast<DWORD>(memory.size())) != 0;
    CloseHandle(file);
    return renamed;
}

bool MayPass(int error) noexcept
{
    return error == ERROR_SHARING_VIOLATION || error == ERROR_LOCK_VIOLATION || error == ERROR_ACCESS_DENIED;
}
} // namespace

std::error_code RenameOver(const std::filesystem::path& from, const std::filesystem::path& to) noexcept
{
    // Programs that look for viruses or fill an index hold what was just written for a moment.
    constexpr int kAttempts = 20;
    constexpr DWORD kPause = 25;
    constexpr DWORD kFlags = MOVEFILE_REPLACE_EXISTING | MOVEFILE_WRITE_THROUGH;
    const std::wstring source = GetSystemPath(from).native();
    const std::wstring target = GetSystemPath(to).native();
    for (int attempt = 1;; ++attempt)
    {
        if (RenameLikeUnix(source, target) || MoveFileExW(source.c_str(), target.c_str(), kFlags))
            return {};
        const std::error_code error = GetSystemError();
        if (attempt == kAttempts || !MayPass(error.value()))
            return error;
        Sleep(kPause);
    }
}

std::error_code FlushFolderToDisk(const std::filesystem::path&) noexcept
{
    // The renaming was written through; folders cannot be flushed here.
    return {};
}
#else
namespace
{
std::error_code GetSystemError() noexcept
{
    return {errno, std::generic_category()};
}

std::error_code WriteAndFlush(int file, const char* data, std::size_t size) noexcept
{
    while (size > 0)
    {
        const ssize_t written = write(file, data, std::min(size, kLargestWrite));
        if (written < 0 && errno == EINTR)
            continue;
        if (written < 0)
            return GetSystemError();
        data += written;
        size -= static_cast<std::size_t>(written);
    }
    return fsync(file) == 0 ? std::error_code() : GetSystemError();
}
} // namespace

std::error_code WriteNewFileToDisk(const std::filesystem::path& path, const void* data, std::size_t size) noexcept
{
    const int file = open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
    if (file < 0)
        return GetSystemError();
    std::error_code error = WriteAndFlush(file, static_cast<const char*>(data), size);
    if (close(file) != 0 && !error)
        error = GetSystemError();
    return error;
}

std::error_code RenameOver(const std::filesystem::path& from, const std::filesystem::path& to) noexcept
{
    return rename(from.c_str(), to.c_str()) == 0 ? std::error_code() : GetSystemError();
}

std::error_code FlushFolderToDisk(const std::filesystem::path& folder) noexcept
{
    const int handle = open(folder.empty() ? "." : folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (handle < 0)
        return GetSystemError();
    std::error_code error;
    // Some file systems have no such call for folders and say so with EINVAL.
    if (fsync(handle) != 0 && errno != EINVAL)
        error = GetSystemError();
    close(handle);
    return error;
}
#endif
} // namespace tamra::platform
