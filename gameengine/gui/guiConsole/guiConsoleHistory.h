#pragma once

#include <cstddef>
#include <deque>
#include <string>

/// The lines that were entered, and where the user is among them while going through.
class CGuiConsoleHistory
{
public:
    static constexpr std::size_t kMaxLines = 100;

    /// The newest line. An empty one and one like the newest before are left out. Ends going through.
    void Add(const std::string& line)
    {
        Leave();
        if (line.empty() || line == GetNewest())
            return;
        m_lines.push_back(line);
        if (m_lines.size() > kMaxLines)
            m_lines.pop_front();
    }

    /// One line back from `input`, which is kept to come back to. `input` stays at the oldest one.
    void GoBack(std::string& input)
    {
        if (m_back == m_lines.size())
            return;
        if (m_back == 0)
            m_draft = input;
        ++m_back;
        input = m_lines[m_lines.size() - m_back];
    }
    /// One line forth; after the newest comes what was typed.
    void GoForth(std::string& input)
    {
        if (m_back == 0)
            return;
        --m_back;
        input = m_back == 0 ? m_draft : m_lines[m_lines.size() - m_back];
    }
    void Leave() noexcept { m_back = 0; }

    std::string GetNewest() const { return m_lines.empty() ? std::string() : m_lines.back(); }
    std::size_t GetCount() const noexcept { return m_lines.size(); }

private:
    std::deque<std::string> m_lines;
    std::size_t m_back = 0; // lines back from the draft
    std::string m_draft;
};
