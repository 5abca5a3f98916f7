#pragma once

#include "tamradeps/core/assertion.h"
#include "tamradeps/core/log.h"

#include <string>

namespace soak
{
/// Hears of every assertion line, and of every warning and error of the log, and keeps the first that nobody announced.
class CWatch final : public tamra::log::Sink
{
public:
    CWatch();
    ~CWatch() override;
    void Write(tamra::log::Level level, std::string_view line) override;

    /// Empty for none.
    const std::string& GetSurprise() const noexcept { return m_surprise; }

private:
    friend class CAnnounced;

    void i_Hear(const std::string& line);

    AssertionSink m_formerSink = nullptr;
    void* m_formerContext = nullptr;
    std::string m_surprise;
    std::string m_announced;
    bool m_isAnnounced = false;
    int m_heard = 0;
};

/// Until its end, lines with this part are no surprise, and counted. One at a time.
class CAnnounced
{
public:
    CAnnounced(CWatch& watch, const char* part) : m_watch(watch)
    {
        m_watch.m_announced = part;
        m_watch.m_isAnnounced = true;
        m_watch.m_heard = 0;
    }
    CAnnounced(const CAnnounced&) = delete;
    CAnnounced& operator=(const CAnnounced&) = delete;
    ~CAnnounced() { m_watch.m_isAnnounced = false; }

    int GetCount() const noexcept { return m_watch.m_heard; }

private:
    CWatch& m_watch;
};
} // namespace soak
