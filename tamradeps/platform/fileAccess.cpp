#include "tamradeps/platform/fileAccess.h"

#if defined(_WIN32)
#include <memory>

#include <fcntl.h>
#include <io.h>
#include <windows.h>
#else
#include <sys/stat.h>
#include <unistd.h>
#endif

namespace tamra::platform
{
namespace fs = std::filesystem;

#if defined(_WIN32)
namespace
{
constexpr std::wstring_view kLongPrefix = L"\\\\?\\";

struct HandleCloser
{
    using pointer = HANDLE;
    void operator()(HANDLE handle) const noexcept
    {
        if (handle != INVALID_HANDLE_VALUE)
            CloseHandle(handle);
    }
};
using Handle = std::unique_ptr<HANDLE, HandleCloser>;

std::error_code GetSystemError() noexcept
{
    return {static_cast<int>(GetLastError()), std::system_category()};
}

Handle Open(const fs::path& path, DWORD access, DWORD flags) noexcept
{
    constexpr DWORD kShare = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;
    return Handle(CreateFileW(GetSystemPath(path).c_str(), access, kShare, nullptr, OPEN_EXISTING, flags, nullptr));
}

std::uint64_t Join(DWORD high, DWORD low) noexcept
{
    return std::uint64_t{high} << 32 | low;
}
} // namespace

FileStatus GetFileStatus(const fs::path& path) noexcept
{
    const std::wstring name = GetSystemPath(path).native();
    WIN32_FILE_ATTRIBUTE_DATA data = {};
    if (!GetFileAttributesExW(name.c_str(), GetFileExInfoStandard, &data))
        return {};
    DWORD attributes = data.dwFileAttributes;
    std::uint64_t size = Join(data.nFileSizeHigh, data.nFileSizeLow);
    FILETIME time = data.ftLastWriteTime;
    if (attributes & FILE_ATTRIBUTE_REPARSE_POINT)
    {
        const Handle file = Open(path, FILE_READ_ATTRIBUTES, FILE_FLAG_BACKUP_SEMANTICS);
        BY_HANDLE_FILE_INFORMATION target = {};
        if (!GetFileInformationByHandle(file.get(), &target))
            return {};
        attributes = target.dwFileAttributes;
        size = Join(target.nFileSizeHigh, target.nFileSizeLow);
        time = target.ftLastWriteTime;
    }
    FileKind kind = FileKind::Regular;
    if (attributes & FILE_ATTRIBUTE_DIRECTORY)
        kind = FileKind::Folder;
    else if (attributes & FILE_ATTRIBUTE_DEVICE)
        kind = FileKind::Other;
    return {kind, (attributes & FILE_ATTRIBUTE_READONLY) != 0, size, Join(time.dwHighDateTime, time.dwLowDateTime)};
}

std::FILE* OpenForReading(const fs::path& path) noexcept
{
    Handle handle = Open(path, GENERIC_READ, FILE_FLAG_SEQUENTIAL_SCAN);
    if (handle.get() == INVALID_HANDLE_VALUE || GetFileType(handle.get()) != FILE_TYPE_DISK)
        return nullptr;
    const int descriptor = _open_osfhandle(reinterpret_cast<std::intptr_t>(handle.get()), _O_RDONLY | _O_BINARY);
    if (descriptor < 0)
        return nullptr;
    handle.release();
    std::FILE* const file = _fdopen(descriptor, "rb");
    if (!file)
        _close(descriptor);
    return file;
}

void RemoveFile(const fs::path& path) noexcept
{
    DeleteFileW(GetSystemPath(path).c_str());
}

fs::path FollowLink(const fs::path& path, std::error_code& error) noexcept
{
    const DWORD attributes = GetFileAttributesW(GetSystemPath(path).c_str());
    if (attributes == INVALID_FILE_ATTRIBUTES || !(attributes & FILE_ATTRIBUTE_REPARSE_POINT))
        return path;
    const Handle file = Open(path, FILE_READ_ATTRIBUTES, FILE_FLAG_BACKUP_SEMANTICS);
    std::wstring target(32768, L'\0');
    const auto size = static_cast<DWORD>(target.size());
    target.resize(GetFinalPathNameByHandleW(file.get(), target.data(), size, FILE_NAME_NORMALIZED));
    if (target.empty())
        error = GetSystemError();
    return target;
}

std::error_code CopyPermissions(const fs::path& from, const fs::path& to) noexcept
{
    constexpr DWORD kKept = FILE_ATTRIBUTE_HIDDEN | FILE_ATTRIBUTE_SYSTEM | FILE_ATTRIBUTE_NOT_CONTENT_INDEXED;
    const std::wstring source = GetSystemPath(from).native();
    const std::wstring target = GetSystemPath(to).native();
    const DWORD attributes = GetFileAttributesW(source.c_str());
    if (attributes != INVALID_FILE_ATTRIBUTES && (attributes & kKept))
        SetFileAttributesW(target.c_str(), attributes & kKept);
    DWORD size = 0;
    GetFileSecurityW(source.c_str(), DACL_SECURITY_INFORMATION, nullptr, 0, &size);
    // Disks of some kinds have no rights for single files.
    if (size == 0)
        return {};
    const auto descriptor = std::make_unique<std::byte[]>(size);
    const bool copied = GetFileSecurityW(source.c_str(), DACL_SECURITY_INFORMATION, descriptor.get(), size, &size) &&
                        SetFileSecurityW(target.c_str(), DACL_SECURITY_INFORMATION, descriptor.get());
    return copied ? std::error_code() : GetSystemError();
}

fs::path GetSystemPath(const fs::path& path) noexcept
{
    // From 248 characters on, folders need the prefix.
    constexpr DWORD kLongest = 247;
    const std::wstring& name = path.native();
    if (name.empty() || name.starts_with(kLongPrefix))
        return path;
    const DWORD needed = GetFullPathNameW(name.c_str(), 0, nullptr, nullptr);
    if (needed <= kLongest)
        return path;
    std::wstring full(needed, L'\0');
    full.resize(GetFullPathNameW(name.c_str(), needed, full.data(), nullptr));
    // With the prefix, the share of another machine is written in another way.
    if (full.starts_with(L"\\\\"))
        return std::wstring(kLongPrefix) + L"UNC" + full.substr(1);
    return std::wstring(kLongPrefix) + full;
}

const char* GetDatabaseAccess() noexcept
{
    return "win32-longpath";
}
#else
FileStatus GetFileStatus(const fs::path& path) noexcept
{
    struct stat status = {};
    if (stat(path.c_str(), &status) != 0)
        return {};
    FileKind kind = FileKind::Other;
    if (S_ISREG(status.st_mode))
        kind = FileKind::Regular;
    else if (S_ISDIR(status.st_mode))
        kind = FileKind::Folder;
    constexpr std::uint64_t kSecond = 1000000000;
    return {kind, (status.st_mode & (S_IWUSR | S_IWGRP | S_IWOTH)) == 0, static_cast<std::uint64_t>(status.st_size),
            static_cast<std::uint64_t>(status.st_mtim.tv_sec) * kSecond +
                static_cast<std::uint64_t>(status.st_mtim.tv_nsec)};
}

std::FILE* OpenForReading(const fs::path& path) noexcept
{
    return std::fopen(path.c_str(), "rbe");
}

void RemoveFile(const fs::path& path) noexcept
{
    unlink(path.c_str());
}

fs::path FollowLink(const fs::path& path, std::error_code& error) noexcept
{
    return fs::is_symlink(path, error) ? fs::weakly_canonical(path, error) : path;
}

std::error_code CopyPermissions(const fs::path& from, const fs::path& to) noexcept
{
    std::error_code error;
    const fs::perms permissions = fs::status(from, error).permissions();
    if (!error)
        fs::permissions(to, permissions, error);
    return error;
}

fs::path GetSystemPath(const fs::path& path) noexcept
{
    return path;
}

const char* GetDatabaseAccess() noexcept
{
    return nullptr;
}
#endif
} // namespace tamra::platform
