#include "support/childProcess.h"

#include <cstdlib>

#include <gtest/gtest.h>

#if defined(_WIN32)
#include "support/expectations.h"

#include <filesystem>
#include <fstream>

#include <windows.h>
#else
#include <csignal>

#include <sys/wait.h>
#include <unistd.h>
#endif

namespace test
{
#if defined(_WIN32)
namespace
{
constexpr const char* kArgument = "TAMRA_TEST_ARGUMENT";
constexpr const char* kReady = "TAMRA_TEST_READY";
constexpr UINT kKilled = 9;
} // namespace

struct ChildProcess::State
{
    PROCESS_INFORMATION process = {};
};

void ChildProcess::RunIfChild(Work work)
{
    if (const char* const argument = std::getenv(kArgument))
    {
        work(argument);
        ExitProcess(1);
    }
}

ChildProcess::ChildProcess(Work, const std::string& argument) : m_state(std::make_unique<State>())
{
    const TemporaryFolder folder;
    const std::string ready = folder.Path("ready");
    SetEnvironmentVariableA(kArgument, argument.c_str());
    SetEnvironmentVariableA(kReady, ready.c_str());
    char program[MAX_PATH] = {};
    GetModuleFileNameA(nullptr, program, MAX_PATH);
    const testing::TestInfo& test = *testing::UnitTest::GetInstance()->current_test_info();
    std::string command =
        std::string("\"") + program + "\" --gtest_brief=1 --gtest_filter=" + test.test_suite_name() + "." + test.name();
    STARTUPINFOA startup = {};
    startup.cb = sizeof startup;
    EXPECT_TRUE(CreateProcessA(nullptr, command.data(), nullptr, nullptr, FALSE, 0, nullptr, nullptr, &startup,
                               &m_state->process));
    SetEnvironmentVariableA(kArgument, nullptr);
    SetEnvironmentVariableA(kReady, nullptr);
    while (!std::filesystem::exists(ready) && WaitForSingleObject(m_state->process.hProcess, 1) == WAIT_TIMEOUT)
    {
    }
}

ChildProcess::~ChildProcess()
{
    Kill();
    CloseHandle(m_state->process.hThread);
    CloseHandle(m_state->process.hProcess);
}

void ChildProcess::TellReady()
{
    std::ofstream(std::getenv(kReady)) << "ready";
}

bool ChildProcess::Kill()
{
    TerminateProcess(m_state->process.hProcess, kKilled);
    DWORD code = 0;
    WaitForSingleObject(m_state->process.hProcess, INFINITE);
    GetExitCodeProcess(m_state->process.hProcess, &code);
    return code == kKilled;
}
#else
struct ChildProcess::State
{
    pid_t process = 0;
    bool isOver = false;
    bool wasKilled = false;
};

void ChildProcess::RunIfChild(Work) {}

ChildProcess::ChildProcess(Work work, const std::string& argument) : m_state(std::make_unique<State>())
{
    m_state->process = fork();
    if (m_state->process == 0)
    {
        work(argument);
        _exit(1);
    }
}

ChildProcess::~ChildProcess()
{
    Kill();
}

// A copy is where it was copied.
void ChildProcess::TellReady() {}

bool ChildProcess::Kill()
{
    int status = 0;
    if (!m_state->isOver && kill(m_state->process, SIGKILL) == 0 &&
        waitpid(m_state->process, &status, 0) == m_state->process)
        m_state->wasKilled = WIFSIGNALED(status);
    m_state->isOver = true;
    return m_state->wasKilled;
}
#endif
} // namespace test
