#include "tamradeps/platform/program.h"

#include "tamradeps/io/utf8Path.h"

#include <filesystem>

#if defined(_WIN32)
#include <windows.h>
#endif

namespace tamra::platform
{
#if defined(_WIN32)
std::string GetProgramFolder()
{
    std::wstring file(32768, L'\0');
    file.resize(GetModuleFileNameW(nullptr, file.data(), static_cast<DWORD>(file.size())));
    return ToUtf8(std::filesystem::path(file).parent_path());
}
#else
std::string GetProgramFolder()
{
    std::error_code error;
    return ToUtf8(std::filesystem::read_symlink("/proc/self/exe", error).parent_path());
}
#endif
} // namespace tamra::platform
