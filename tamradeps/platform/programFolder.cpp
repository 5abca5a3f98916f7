#include "tamradeps/platform/programFolder.h"

#include <filesystem>

#if defined(_WIN32)
#include <windows.h>
#endif

namespace tamra::platform
{
std::string GetProgramFolder()
{
    std::filesystem::path program;
#if defined(_WIN32)
    wchar_t name[32768]; // longer than any path of the system
    if (GetModuleFileNameW(nullptr, name, 32768) > 0)
        program = name;
#else
    std::error_code error;
    program = std::filesystem::read_symlink("/proc/self/exe", error);
#endif
    if (!program.has_parent_path())
        return ".";
    const std::u8string folder = program.parent_path().u8string();
    return {folder.begin(), folder.end()};
}
} // namespace tamra::platform
