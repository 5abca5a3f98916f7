#include "tamradeps/platform/program.h"

#if defined(_WIN32)
#include <string>

#include <windows.h>
#endif

namespace tamra::platform
{
#if defined(_WIN32)
std::filesystem::path GetProgramFolder()
{
    std::wstring file(32768, L'\0');
    file.resize(GetModuleFileNameW(nullptr, file.data(), static_cast<DWORD>(file.size())));
    return std::filesystem::path(file).parent_path();
}
#else
std::filesystem::path GetProgramFolder()
{
    std::error_code error;
    return std::filesystem::read_symlink("/proc/self/exe", error).parent_path();
}
#endif
} // namespace tamra::platform
