#pragma once

#include "tamradeps/core/log.h"

#include <string>
#include <string_view>

/// Prints warnings and errors of the log on standard error as those of the program, "scenetool: town.sdb does not
/// exist".
class CTerminalLog : public tamra::log::Sink
{
public:
    /// The name is not copied.
    explicit CTerminalLog(const char* program);
    void Write(tamra::log::Level level, std::string_view line) override;

private:
    const char* m_program;
};

/// A progress bar on standard error. Shows nothing where that is no terminal.
class CProgressBar
{
public:
    explicit CProgressBar(std::string title);
    CProgressBar(const CProgressBar&) = delete;
    CProgressBar& operator=(const CProgressBar&) = delete;
    /// Leaves an empty line for what is printed next.
    ~CProgressBar();

    /// `done` is from 0 to 1.
    void Show(double done);

private:
    std::string m_title;
    bool m_isVisible;
    int m_percent = -1;
};
