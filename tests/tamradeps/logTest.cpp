#include "tamradeps/core/log.h"

#include "support/expectations.h"
#include "tamradeps/core/assertion.h"

#include <functional>
#include <memory>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

namespace log = tamra::log;

namespace
{
class Recorder : public log::Sink
{
public:
    explicit Recorder(std::function<void()> action = {}) : m_action(std::move(action)) { log::AddSink(*this); }
    void Write(log::Level, std::string_view line) override
    {
        lines.emplace_back(line);
        if (m_action)
            m_action();
    }

    std::vector<std::string> lines;

private:
    std::function<void()> m_action;
};

using Lines = std::vector<std::string>;

TEST(Log, SinksReceiveWholeLinesUntilTheyLeave)
{
    const test::ExpectLog expected{"[WARNING] b"};
    Recorder sink;
    log::AddSink(sink);
    log::Info("a {} %s");
    log::Warning("b");
    log::RemoveSink(sink);
    log::Info("c");
    EXPECT_EQ(sink.lines, (Lines{"a {} %s", "[WARNING] b"}));

    log::SetStandardErrorEnabled(true);
    testing::internal::CaptureStderr();
    log::Info("{0} %n");
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "{0} %n\n");
    log::SetStandardErrorEnabled(false);
}

TEST(Log, ASinkMayLog)
{
    Recorder first([] { log::Info("inner"); });
    Recorder second;
    log::Info("outer");
    EXPECT_EQ(first.lines, Lines{"outer"});
    EXPECT_EQ(second.lines, (Lines{"inner", "outer"}));
}

TEST(Log, SinksMayComeAndGoDuringALine)
{
    std::unique_ptr<Recorder> last;
    std::unique_ptr<Recorder> added;
    Recorder first(
        [&]
        {
            if (!added)
                added = std::make_unique<Recorder>();
            last.reset();
        });
    Recorder once([&] { log::RemoveSink(once); });
    last = std::make_unique<Recorder>([] { FAIL() << "left before its turn"; });
    log::Info("one");
    EXPECT_EQ(added->lines, Lines());
    log::Info("two");
    EXPECT_EQ(added->lines, Lines{"two"});
    EXPECT_EQ(once.lines, Lines{"one"});
}

TEST(Log, ThreadsTakeTurns)
{
    constexpr int kLines = 2000;
    const auto write = [](char name)
    {
        for (int i = 0; i < kLines; ++i)
        {
            log::Info(std::string(20, name));
            Recorder passing; // sinks come and go meanwhile
            log::RemoveSink(passing);
        }
    };
    Recorder sink;
    std::thread other(write, 'a');
    write('b');
    other.join();
    ASSERT_EQ(sink.lines.size(), 2U * kLines);
    for (const std::string& line : sink.lines)
        EXPECT_EQ(line, std::string(20, line[0]));
}

TEST(Log, QuotedNamesCannotForgeOrFloodLines)
{
    EXPECT_EQ(log::Quoted("a\nb\x1B[1m\x7F\t"), "a?b?[1m??");
    EXPECT_EQ(log::Quoted(std::string(500, 'x')).size(), 123U);
    EXPECT_EQ(log::Quoted("\xC3\xA4\xC3\xA4", 3), "\xC3\xA4...") << "cut between characters";
    EXPECT_EQ(log::Quoted("\xC3\xA4\xC3\xA4", 4), "\xC3\xA4\xC3\xA4");
}

TEST(Assertion, PrintsOneLineToStandardOutputUnlessASinkIsSet)
{
    AssertionSink sink = nullptr;
    void* context = nullptr;
    SetAssertionSink(nullptr, nullptr, &sink, &context);
    testing::internal::CaptureStdout();
    AssertionFailed("folder/module", 12);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "Assertion failed: folder/module 12\n");
    SetAssertionSink(sink, context);
    const test::ExpectAssertions expected{"folder/module 13"};
    AssertionFailed("folder/module", 13);
}
} // namespace
