#include "tools/soak/watch.h"

namespace soak
{
CWatch::CWatch()
{
    tamra::log::AddSink(*this);
    tamra::log::SetStandardErrorEnabled(false);
    SetAssertionSink(
        [](void* context, const char* module, int line) {
            static_cast<CWatch*>(context)->i_Hear("Assertion failed: " + std::string(module) + " " +
                                                  std::to_string(line));
        },
        this, &m_formerSink, &m_formerContext);
}

CWatch::~CWatch()
{
    SetAssertionSink(m_formerSink, m_formerContext);
    tamra::log::SetStandardErrorEnabled(true);
    tamra::log::RemoveSink(*this);
}

void CWatch::Write(tamra::log::Level level, std::string_view line)
{
    if (level != tamra::log::Level::Info)
        i_Hear(std::string(line));
}

void CWatch::i_Hear(const std::string& line)
{
    if (m_isAnnounced && line.find(m_announced) != std::string::npos)
        ++m_heard;
    else if (m_surprise.empty())
        m_surprise = line;
}
} // namespace soak
