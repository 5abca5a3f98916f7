#include "tamradeps/core/log.h"

#include <algorithm>
#include <cstdio>
#include <memory>
#include <mutex>
#include <vector>

#include <spdlog/pattern_formatter.h>
#include <spdlog/sinks/base_sink.h>
#include <spdlog/spdlog.h>

namespace tamra::log
{
namespace
{
// spdlog's own holds the system's handle from the start, which on Windows ends when the stream is redirected.
class StandardErrorSink : public spdlog::sinks::base_sink<spdlog::details::null_mutex>
{
    void sink_it_(const spdlog::details::log_msg& message) override
    {
        spdlog::memory_buf_t line;
        formatter_->format(message, line);
        std::fwrite(line.data(), 1, line.size(), stderr);
    }
    void flush_() override { std::fflush(stderr); }
};

struct State
{
    std::recursive_mutex mutex; // sinks log, come and go while a line is written
    std::vector<Sink*> sinks;
    std::vector<Sink*> writing;
    bool standardError = true;
    spdlog::logger logger{"tamra", std::make_shared<StandardErrorSink>()};

    State()
    {
        // The stream makes of a line's end what the system has there.
        logger.set_formatter(std::make_unique<spdlog::pattern_formatter>("%v", spdlog::pattern_time_type::local, "\n"));
        logger.flush_on(spdlog::level::info);
    }
};

// Never destroyed: objects that die at exit may still log.
State& GetState()
{
    static State& state = *new State;
    return state;
}

const char* GetPrefix(Level level)
{
    switch (level)
    {
    case Level::Warning: return "[WARNING] ";
    case Level::Error: return "[ERROR] ";
    default: return "";
    }
}
} // namespace

Sink::~Sink()
{
    RemoveSink(*this);
}

void AddSink(Sink& sink)
{
    State& state = GetState();
    const std::lock_guard lock(state.mutex);
    if (std::find(state.sinks.begin(), state.sinks.end(), &sink) == state.sinks.end())
        state.sinks.push_back(&sink);
}

void RemoveSink(Sink& sink)
{
    State& state = GetState();
    const std::lock_guard lock(state.mutex);
    std::erase(state.sinks, &sink);
}

void SetStandardErrorEnabled(bool enabled)
{
    State& state = GetState();
    const std::lock_guard lock(state.mutex);
    state.standardError = enabled;
}

void Write(Level level, std::string_view text)
{
    State& state = GetState();
    std::string line = GetPrefix(level);
    line += text;
    const std::lock_guard lock(state.mutex);
    if (state.standardError)
        state.logger.log(spdlog::level::info, line);

    const std::vector<Sink*> receivers = state.sinks;
    for (Sink* sink : receivers)
    {
        const auto contains = [sink](const std::vector<Sink*>& list)
        { return std::find(list.begin(), list.end(), sink) != list.end(); };
        if (!contains(state.sinks) || contains(state.writing))
            continue;
        state.writing.push_back(sink);
        sink->Write(level, line);
        state.writing.pop_back();
    }
}

std::string Quoted(std::string_view text, std::size_t maxLength)
{
    std::size_t length = std::min(text.size(), maxLength);
    // Not between the bytes of one character.
    while (length > 0 && length < text.size() && (static_cast<unsigned char>(text[length]) & 0xC0U) == 0x80U)
        --length;
    std::string result(text.substr(0, length));
    for (char& c : result)
    {
        if (static_cast<unsigned char>(c) < 32 || c == 127)
            c = '?';
    }
    // Those that are two bytes in UTF-8, U+0080 to U+009F, begin escape sequences in some terminals.
    for (std::size_t i = 1; i < result.size(); ++i)
    {
        if (result[i - 1] == '\xC2' && (static_cast<unsigned char>(result[i]) & 0xE0U) == 0x80U)
            result[i - 1] = result[i] = '?';
    }
    if (length < text.size())
        result += "...";
    return result;
}
} // namespace tamra::log
