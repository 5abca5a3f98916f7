#pragma once

#include <memory>
#include <string>

namespace test
{
/// Another process that does work for a test and is killed. Where a process cannot be copied, this program is started
/// anew with only the test that is running; so the test begins with
///
///     ChildProcess::RunIfChild(work);
///
/// which there does the work and does not come back.
class ChildProcess
{
public:
    using Work = void (*)(const std::string& argument);

    static void RunIfChild(Work work);

    /// Starts the work, and returns when it has called `TellReady` or is over.
    ChildProcess(Work work, const std::string& argument);
    ChildProcess(const ChildProcess&) = delete;
    ChildProcess& operator=(const ChildProcess&) = delete;
    ~ChildProcess();

    /// Called by the work when it comes to what the test is about.
    static void TellReady();

    /// Kills the process and returns when it is gone. False if it had ended by itself.
    bool Kill();

private:
    struct State;

    std::unique_ptr<State> m_state;
};
} // namespace test
