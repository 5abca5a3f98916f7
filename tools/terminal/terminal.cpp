#include "tools/terminal/terminal.h"

#include "tamradeps/platform/terminal.h"

#include <algorithm>
#include <cstdio>
#include <utility>

namespace
{
constexpr int kBarWidth = 40;

using tamra::platform::IsStandardErrorATerminal;

// Erases the line that a progress bar may have left.
void ClearLine()
{
    if (IsStandardErrorATerminal())
        std::fputs("\r\033[K", stderr);
}
} // namespace

CTerminalLog::CTerminalLog(const char* program) : m_program(program)
{
    tamra::log::SetStandardErrorEnabled(false);
    tamra::log::AddSink(*this);
}

void CTerminalLog::Write(tamra::log::Level level, std::string_view line)
{
    constexpr std::string_view kPrefix = "[ERROR] ";
    if (level == tamra::log::Level::Info)
        return;
    if (line.starts_with(kPrefix))
        line.remove_prefix(kPrefix.size());
    ClearLine();
    std::fprintf(stderr, "%s: %.*s\n", m_program, static_cast<int>(line.size()), line.data());
}

CProgressBar::CProgressBar(std::string title) : m_title(std::move(title)), m_isVisible(IsStandardErrorATerminal())
{
    Show(0.0);
}

CProgressBar::~CProgressBar()
{
    if (m_isVisible)
        ClearLine();
}

void CProgressBar::Show(double done)
{
    const int percent = static_cast<int>(std::clamp(done, 0.0, 1.0) * 100.0);
    if (!m_isVisible || percent == m_percent)
        return;
    m_percent = percent;
    const auto filled = static_cast<std::size_t>(percent * kBarWidth / 100);
    const std::string bar = std::string(filled, '#') + std::string(kBarWidth - filled, '.');
    std::fprintf(stderr, "\r%s [%s] %3d %%", m_title.c_str(), bar.c_str(), percent);
    std::fflush(stderr);
}
