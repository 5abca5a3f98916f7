#include "support/expectations.h"

#include "tamradeps/core/assertion.h"
#include "tamradeps/io/utf8Path.h"
#include "tamradeps/platform/fileAccess.h"

#include <filesystem>
#include <random>
#include <string_view>

#include <gtest/gtest.h>

namespace test
{
namespace
{
// Lines reported since the test began that no scope has taken yet.
std::vector<std::string> g_assertions;
std::vector<std::string> g_logLines;

void RecordAssertion(void*, const char* module, int line)
{
    g_assertions.push_back(std::string(module) + " " + std::to_string(line));
}

class RecordingSink : public tamra::log::Sink
{
public:
    void Write(tamra::log::Level level, std::string_view line) override
    {
        if (level != tamra::log::Level::Info)
            g_logLines.emplace_back(line);
    }
};

class UnannouncedLines : public testing::EmptyTestEventListener
{
    void OnTestStart(const testing::TestInfo&) override
    {
        g_assertions.clear();
        g_logLines.clear();
    }
    void OnTestEnd(const testing::TestInfo&) override
    {
        for (const std::string& line : g_assertions)
            ADD_FAILURE() << "unannounced assertion line: " << line;
        for (const std::string& line : g_logLines)
            ADD_FAILURE() << "unannounced log line: " << line;
    }
};

std::vector<std::string> TakeFrom(std::vector<std::string>& lines, std::size_t start)
{
    const auto first = lines.begin() + static_cast<std::ptrdiff_t>(std::min(start, lines.size()));
    std::vector<std::string> taken(first, lines.end());
    lines.erase(first, lines.end());
    return taken;
}
} // namespace

ExpectAssertions::ExpectAssertions(std::initializer_list<std::string> lines)
    : m_expected(lines),
      m_start(g_assertions.size())
{
}

ExpectAssertions::~ExpectAssertions()
{
    EXPECT_EQ(TakeFrom(g_assertions, m_start), m_expected);
}

ExpectLog::ExpectLog(std::initializer_list<std::string> parts) : m_expected(parts), m_start(g_logLines.size()) {}

ExpectLog::~ExpectLog()
{
    const std::vector<std::string> lines = TakeFrom(g_logLines, m_start);
    EXPECT_EQ(lines.size(), m_expected.size());
    for (std::size_t i = 0; i < lines.size(); ++i)
    {
        if (i >= m_expected.size())
            ADD_FAILURE() << "unannounced log line: " << lines[i];
        else
            EXPECT_NE(lines[i].find(m_expected[i]), std::string::npos)
                << "log line: " << lines[i] << "\nlacks: " << m_expected[i];
    }
}

TemporaryFolder::TemporaryFolder()
{
    std::random_device random;
    std::filesystem::path path;
    do
    {
        path = std::filesystem::temp_directory_path() / ("tamra-test-" + std::to_string(random()));
    } while (!std::filesystem::create_directory(path));
    m_path = path.generic_string();
}

TemporaryFolder::~TemporaryFolder()
{
    std::error_code ignored;
    std::filesystem::remove_all(m_path, ignored);
}

std::string TemporaryFolder::MakeLongPath() const
{
    std::string path = m_path + "/";
    while (path.size() < 400)
    {
        path += "a folder \xC3\xA4\xE2\x82\xAC with a name of its own/";
        std::filesystem::create_directory(tamra::platform::GetSystemPath(tamra::ToPath(path)));
    }
    return path;
}
} // namespace test

int main(int argc, char** argv)
{
    testing::InitGoogleTest(&argc, argv);
    testing::UnitTest::GetInstance()->listeners().Append(new test::UnannouncedLines);
    static test::RecordingSink sink;
    tamra::log::AddSink(sink);
    tamra::log::SetStandardErrorEnabled(false);
    SetAssertionSink(&test::RecordAssertion, nullptr);
    return RUN_ALL_TESTS();
}
