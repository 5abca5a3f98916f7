#include "tamradeps/core/log.h"

#include "support/expectations.h"
#include "tamradeps/core/assertion.h"

#include <functional>
#include <memory>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

namespace
{
class Recorder : public tamra::log::Sink
{
public:
    explicit Recorder(std::function<void()> action = {}) : m_action(std::move(action)) { tamra::log::AddSink(*this); }
    void Write(tamra::log::Level, std::string_view line) override
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
    tamra::log::AddSink(sink);
    tamra::log::Info("a {} %s");
    tamra::log::Warning("b");
    tamra::log::RemoveSink(sink);
    tamra::log::Info("c");
    EXPECT_EQ(sink.lines, (Lines{"a {} %s", "[WARNING] b"}));

    tamra::log::SetStandardErrorEnabled(true);
    testing::internal::CaptureStderr();
    tamra::log::Info("{0} %n");
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "{0} %n\n");
    tamra::log::SetStandardErrorEnabled(false);
}

TEST(Log, ASinkMayLog)
{
    Recorder first([] { tamra::log::Info("inner"); });
    Recorder second;
    tamra::log::Info("outer");
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
    Recorder once([&] { tamra::log::RemoveSink(once); });
    last = std::make_unique<Recorder>([] { FAIL() << "left before its turn"; });
    tamra::log::Info("one");
    EXPECT_EQ(added->lines, Lines());
    tamra::log::Info("two");
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
            tamra::log::Info(std::string(20, name));
            Recorder passing; // sinks come and go meanwhile
            tamra::log::RemoveSink(passing);
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
    EXPECT_EQ(tamra::log::Quoted("a\nb\x1B[1m\x7F\t"), "a?b?[1m??");
    EXPECT_EQ(tamra::log::Quoted("\xC2\x9B[\xC2\xA0"), "??[\xC2\xA0");
    EXPECT_EQ(tamra::log::Quoted(std::string(500, 'x')).size(), 123U);
    EXPECT_EQ(tamra::log::Quoted("\xC3\xA4\xC3\xA4", 3), "\xC3\xA4...") << "cut between characters";
    EXPECT_EQ(tamra::log::Quoted("\xC3\xA4\xC3\xA4", 4), "\xC3\xA4\xC3\xA4");
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
