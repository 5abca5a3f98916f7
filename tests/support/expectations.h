#pragma once

#include "tamradeps/core/log.h"

#include <string>
#include <vector>

// In the test programs an assertion line, or an [ERROR] or [WARNING] log line, fails the test that caused it unless one
// of these scopes announces it.

namespace test
{
/// Announces exactly `lines.size()` assertion lines, each "module number", in this order, until the end of the scope.
///
///     ExpectAssertions expected{"gameengine/engine/entity 52"};
class ExpectAssertions
{
public:
    ExpectAssertions(std::initializer_list<std::string> lines);
    ExpectAssertions(const ExpectAssertions&) = delete;
    ExpectAssertions& operator=(const ExpectAssertions&) = delete;
    ~ExpectAssertions();

private:
    std::vector<std::string> m_expected;
    std::size_t m_start;
};

/// Announces exactly `parts.size()` error or warning lines; line i must contain part i.
class ExpectLog
{
public:
    ExpectLog(std::initializer_list<std::string> parts);
    ExpectLog(const ExpectLog&) = delete;
    ExpectLog& operator=(const ExpectLog&) = delete;
    ~ExpectLog();

private:
    std::vector<std::string> m_expected;
    std::size_t m_start;
};

/// A new empty folder, removed with all its content at the end of the scope.
class TemporaryFolder
{
public:
    TemporaryFolder();
    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;
    ~TemporaryFolder();

    std::string Path(const std::string& name) const { return m_path + "/" + name; }
    /// Makes folders in folders, and gives the path of the last one: longer than the 260 characters that some systems
    /// take without further ado, and with characters that are not ASCII.
    std::string MakeLongPath() const;

private:
    std::string m_path;
};
} // namespace test
