#include "apps/sandbox/viewReport.h"

#include "tamradeps/io/fileSystem.h"

#include <algorithm>
#include <cstdio>

namespace
{
struct Summary
{
    double median = 0.0;
    double worst = 0.0;
};

Summary Summarise(std::vector<double> values)
{
    if (values.empty())
        return {};
    std::sort(values.begin(), values.end());
    return {values[values.size() / 2], values.back()};
}

template <class Get>
Summary SummariseFrames(const std::vector<CViewReport::Frame>& frames, Get get)
{
    std::vector<double> values;
    values.reserve(frames.size());
    for (const CViewReport::Frame& frame : frames)
        values.push_back(static_cast<double>(get(frame)));
    return Summarise(std::move(values));
}

std::string Format(const char* format, auto... values)
{
    char text[512];
    std::snprintf(text, sizeof text, format, values...);
    return text;
}

// A JSON string; other control characters do not come here.
std::string Quote(const std::string& text)
{
    std::string quoted = "\"";
    for (const char character : text)
    {
        if (character == '"' || character == '\\')
            quoted += '\\';
        quoted += static_cast<unsigned char>(character) < ' ' ? ' ' : character;
    }
    return quoted + '"';
}

struct Phase
{
    const char* name;
    double (*get)(const CViewReport::Frame&);
};

constexpr Phase kPhases[] = {{"cull", [](const CViewReport::Frame& frame) { return frame.cull * 1e3; }},
                             {"draw", [](const CViewReport::Frame& frame) { return frame.draw * 1e3; }},
                             {"finish", [](const CViewReport::Frame& frame) { return frame.finish * 1e3; }}};
} // namespace

void CViewReport::Print() const
{
    if (m_frames.empty())
        return;
    std::printf("%zu pictures; milliseconds of a picture, median and worst:\n", m_frames.size());
    for (const Phase& phase : kPhases)
    {
        const Summary summary = SummariseFrames(m_frames, phase.get);
        std::printf("  %-8s %8.3f %8.3f\n", phase.name, summary.median, summary.worst);
    }
    const auto count = [this](const char* name, auto get)
    { std::printf("  %-18s %.0f\n", name, SummariseFrames(m_frames, get).median); };
    std::printf("boxes of a picture, median:\n");
    count("visible", [](const Frame& frame) { return frame.counts.visible; });
    count("outside the view", [](const Frame& frame) { return frame.counts.rejected; });
    count("occluded", [](const Frame& frame) { return frame.counts.occluded; });
    count("queries", [](const Frame& frame) { return frame.counts.queries; });
}

bool CViewReport::WriteJson(const std::string& path, const std::string& world, const std::string& culler,
                            const std::string& device, int width, int height) const
{
    std::string text = "{\n  \"world\": " + Quote(world) + ",\n  \"culler\": " + Quote(culler) +
                       ",\n  \"device\": " + Quote(device) +
                       Format(",\n  \"width\": %d,\n  \"height\": %d,\n", width, height);
    text += Format("  \"frames\": %zu,\n  \"milliseconds\": {", m_frames.size());
    for (const Phase& phase : kPhases)
    {
        const Summary summary = SummariseFrames(m_frames, phase.get);
        text += Format("%s\"%s\": {\"median\": %.4f, \"worst\": %.4f}", &phase == kPhases ? "" : ", ", phase.name,
                       summary.median, summary.worst);
    }
    text += "},\n  \"pictures\": [";
    for (const Frame& frame : m_frames)
    {
        text += Format("%s\n    {\"visible\": %zu, \"frustumRejected\": %zu, \"occluded\": %zu, \"queries\": %d, "
                       "\"drawCalls\": %d, ",
                       &frame == m_frames.data() ? "" : ",", frame.counts.visible, frame.counts.rejected,
                       frame.counts.occluded, frame.counts.queries, frame.drawCalls);
        text += Format("\"cull\": %.4f, \"draw\": %.4f, \"finish\": %.4f}", frame.cull * 1e3, frame.draw * 1e3,
                       frame.finish * 1e3);
    }
    text += "\n  ]\n}\n";
    return GetFileSystem().FileReplace(path, text.data(), text.size());
}
