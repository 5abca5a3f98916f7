#include "support/system.h"

#include <gtest/gtest.h>

#if defined(_WIN32)
#include <windows.h>
#else
#include <algorithm>
#include <csignal>

#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>
#endif

namespace test
{
#if defined(_WIN32)
bool IsWine()
{
    return GetProcAddress(GetModuleHandleA("ntdll.dll"), "wine_get_version") != nullptr;
}

bool MakePipe(const std::string&)
{
    return false;
}

FileSizeLimit::FileSizeLimit(std::uint64_t)
{
    ADD_FAILURE() << "there is no such limit on this system";
}
FileSizeLimit::~FileSizeLimit() = default;

NoSuperuser::NoSuperuser() = default;
NoSuperuser::~NoSuperuser() = default;
#else
namespace
{
void SetLimit(rlim_t size)
{
    rlimit limit = {};
    getrlimit(RLIMIT_FSIZE, &limit);
    limit.rlim_cur = std::min(size, limit.rlim_max);
    setrlimit(RLIMIT_FSIZE, &limit);
}
} // namespace

bool IsWine()
{
    return false;
}

bool MakePipe(const std::string& path)
{
    return mkfifo(path.c_str(), 0600) == 0;
}

FileSizeLimit::FileSizeLimit(std::uint64_t size)
{
    std::signal(SIGXFSZ, SIG_IGN);
    SetLimit(size);
}

FileSizeLimit::~FileSizeLimit()
{
    SetLimit(RLIM_INFINITY);
    std::signal(SIGXFSZ, SIG_DFL);
}

NoSuperuser::NoSuperuser()
{
    constexpr uid_t kNobody = 65534;
    EXPECT_TRUE(geteuid() != 0 || seteuid(kNobody) == 0);
}

NoSuperuser::~NoSuperuser()
{
    EXPECT_EQ(seteuid(getuid()), 0);
}
#endif
} // namespace test
