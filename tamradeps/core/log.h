#pragma once

#include "tamradeps/export.h"

#include <string>
#include <string_view>

/// The log: lines of text that go to every registered sink. Errors and warnings carry the prefixes "[ERROR] " and
/// "[WARNING] ". At the start there is one sink, standard error; the console and tests add their own.
///
/// Any thread may log, and add and remove sinks. One line at a time is written, by the thread that it comes from.
namespace tamra::log
{
/// How serious a line is; sets its prefix.
enum class Level
{
    Info,
    Warning,
    Error
};

/// Receives whole lines, prefix included, without a line end. A sink may log itself: such a line reaches the other
/// sinks only.
class TAMRADEPS_API Sink
{
public:
    Sink() = default;
    Sink(const Sink&) = delete;
    Sink& operator=(const Sink&) = delete;
    /// Leaves the log. Where other threads log, a sink must leave in the destructor of its own class already.
    virtual ~Sink();
    virtual void Write(Level level, std::string_view line) = 0;
};

/// Adds a sink; it is not owned and leaves by itself when destroyed. Adding a sink twice has no effect.
TAMRADEPS_API void AddSink(Sink& sink);
/// Waits for a line that another thread is writing. From then on the sink hears of no more.
TAMRADEPS_API void RemoveSink(Sink& sink);

/// Turns the sink on standard error on or off (on at the start).
TAMRADEPS_API void SetStandardErrorEnabled(bool enabled);

/// Sends a line, without a line end, to every sink.
TAMRADEPS_API void Write(Level level, std::string_view text);

/// A line without a prefix.
inline void Info(std::string_view text)
{
    Write(Level::Info, text);
}
/// A line with "[WARNING] " before it: something is wrong, and was made do with.
inline void Warning(std::string_view text)
{
    Write(Level::Warning, text);
}
/// A line with "[ERROR] " before it: something could not be done.
inline void Error(std::string_view text)
{
    Write(Level::Error, text);
}

/// The text with its control characters (line ends, escape sequences) shown as '?' and cut after at most `maxLength`
/// bytes, so that a name from a file cannot forge or flood log lines.
TAMRADEPS_API std::string Quoted(std::string_view text, std::size_t maxLength = 120);
} // namespace tamra::log
