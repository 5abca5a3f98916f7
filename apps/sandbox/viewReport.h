#pragma once

#include "apps/sandbox/townCulling.h"

#include <string>
#include <vector>

/// Gathers what the pictures of a view cost and hold, and writes it down.
class CViewReport
{
public:
    /// Seconds of this thread.
    struct Frame
    {
        double cull = 0.0;
        double draw = 0.0;   // hands the picture to the device
        double finish = 0.0; // waits for the device and reads the picture back, and writes it
        CTownCulling::Counts counts;
        int drawCalls = 0;
    };

    void Add(const Frame& frame) { m_frames.push_back(frame); }
    /// Forgets all others, for a view without end.
    void KeepLast() { m_frames.erase(m_frames.begin(), m_frames.end() - (IsEmpty() ? 0 : 1)); }
    Frame& GetLast() noexcept { return m_frames.back(); }
    bool IsEmpty() const noexcept { return m_frames.empty(); }

    /// Prints a line for each phase.
    void Print() const;
    /// Writes the same as JSON, with every frame. False and one log line when it fails.
    bool WriteJson(const std::string& path, const std::string& world, const std::string& culler,
                   const std::string& device, int width, int height) const;

private:
    std::vector<Frame> m_frames;
};
