#include "gameengine/gui/guiWidget/guiNodeGraph.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>

namespace gui
{
namespace
{
constexpr std::string_view kDigits = "0123456789ABCDEF";
constexpr std::size_t kMostFields = 7;

void AppendNumber(std::string& text, int value)
{
    text += ' ';
    text += std::to_string(value);
}

void AppendName(std::string& text, std::string_view name)
{
    constexpr std::string_view kReserved = "%,;\"\\\x7F";
    for (const char c : name)
    {
        const auto byte = static_cast<unsigned char>(c);
        if (byte > ' ' && kReserved.find(c) == std::string_view::npos)
            text += c;
        else
            text.append({'%', kDigits[byte >> 4U], kDigits[byte & 15U]});
    }
}

void AppendNames(std::string& text, const std::vector<std::string>& names)
{
    text += ' ';
    if (names.empty())
        text += '-';
    else if (names.size() == 1 && names[0] == "-")
        text += "%2D";
    else
    {
        for (std::size_t i = 0; i < names.size(); ++i)
        {
            if (i > 0)
                text += ',';
            AppendName(text, names[i]);
        }
    }
}

// What stands before the next separator; it and the separator leave the text. At the end, all of it.
std::string_view TakeUntil(std::string_view& text, char separator)
{
    const std::size_t end = std::min(text.find(separator), text.size());
    const std::string_view part = text.substr(0, end);
    text.remove_prefix(std::min(end + 1, text.size()));
    return part;
}

bool ParseNumber(std::string_view text, int& number)
{
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    return error == std::errc{} && end == text.data() + text.size();
}

bool ParseNumbers(const std::string_view* fields, std::initializer_list<int*> numbers)
{
    return std::all_of(numbers.begin(), numbers.end(), [&](int* number) { return ParseNumber(*fields++, *number); });
}

bool ParseName(std::string_view text, std::string& name)
{
    name.clear();
    for (std::size_t i = 0; i < text.size(); ++i)
    {
        if (text[i] != '%')
        {
            name += text[i];
            continue;
        }
        const std::size_t high = i + 2 < text.size() ? kDigits.find(text[i + 1]) : std::string_view::npos;
        const std::size_t low = i + 2 < text.size() ? kDigits.find(text[i + 2]) : std::string_view::npos;
        if (high == std::string_view::npos || low == std::string_view::npos)
            return false;
        name += static_cast<char>(high << 4U | low);
        i += 2;
    }
    return true;
}

bool ParseNames(std::string_view text, std::vector<std::string>& names)
{
    names.clear();
    if (text == "-")
        return true;
    const auto count = static_cast<std::size_t>(std::count(text.begin(), text.end(), ',')) + 1;
    if (count > GuiNodeGraph::kMaxPins)
        return false;
    names.resize(count);
    return std::all_of(names.begin(), names.end(),
                       [&](std::string& name) { return ParseName(TakeUntil(text, ','), name); });
}

bool IsPlace(int x, int y)
{
    constexpr int kMost = GuiNodeGraph::kMaxPosition;
    return x >= -kMost && x <= kMost && y >= -kMost && y <= kMost;
}
} // namespace

struct GuiNodeGraph::TextReader
{
    struct Link
    {
        std::string_view record;
        std::array<int, 4> fields;
    };

    void Read(std::string_view text);
    bool ReadRecord(std::string_view record);
    bool ReadNode(const std::string_view* fields);
    bool ReadView(const std::string_view* fields);
    bool Connect(const Link& link);
    void Refuse(std::string_view record)
    {
        if (++faultCount == 1)
            firstFault = record;
    }

    GuiNodeGraph& graph;
    std::vector<GuiNodeId> ids = {}; // by number; 0 for those left out
    std::vector<Link> links = {};    // for when all nodes are there
    std::vector<std::string> inputs = {};
    std::vector<std::string> outputs = {};
    std::string title = {};
    std::size_t faultCount = 0;
    std::string_view firstFault = {};
};

void GuiNodeGraph::TextReader::Read(std::string_view text)
{
    while (!text.empty())
    {
        const std::string_view record = TakeUntil(text, ';');
        if (!record.empty() && !ReadRecord(record))
            Refuse(record);
    }
    for (const Link& link : links)
    {
        if (!Connect(link))
            Refuse(link.record);
    }
    // At once: looking for a loop at each link would cost their number squared.
    const std::size_t loops = graph.m_refusesLoops ? graph.i_BreakLoops() : 0;
    if (loops > 0 && faultCount == 0)
        firstFault = "a link that closes a loop";
    faultCount += loops;
}

bool GuiNodeGraph::TextReader::ReadRecord(std::string_view record)
{
    std::array<std::string_view, kMostFields> fields;
    std::size_t count = 0;
    const auto wanted = static_cast<std::size_t>(std::count(record.begin(), record.end(), ' ')) + 1;
    for (std::string_view rest = record; count < std::min(wanted, kMostFields); ++count)
        fields[count] = TakeUntil(rest, ' ');
    const std::string_view type = fields[0];
    if (type == "n" && wanted == 7)
        return ReadNode(&fields[1]);
    if (type == "v" && wanted == 4)
        return ReadView(&fields[1]);
    if (type == "a" && wanted == 1)
    {
        graph.m_refusesLoops = true;
        return true;
    }
    Link link{record, {}};
    auto& [from, output, to, input] = link.fields;
    if (type != "l" || wanted != 5 || !ParseNumbers(&fields[1], {&from, &output, &to, &input}))
        return false;
    links.push_back(link);
    return true;
}

bool GuiNodeGraph::TextReader::ReadNode(const std::string_view* fields)
{
    int x = 0;
    int y = 0;
    int kind = 0;
    ids.push_back(0);
    if (!ParseNumbers(fields, {&x, &y, &kind}) || !IsPlace(x, y) || !ParseName(fields[3], title) ||
        !ParseNames(fields[4], inputs) || !ParseNames(fields[5], outputs))
        return false;
    ids.back() = graph.AddNode(title, {x, y}, inputs, outputs, kind);
    return ids.back() != 0;
}

bool GuiNodeGraph::TextReader::ReadView(const std::string_view* fields)
{
    int x = 0;
    int y = 0;
    int percent = 0;
    if (!ParseNumbers(fields, {&x, &y, &percent}) || !IsPlace(x, y) || percent < kMinPercent || percent > kMaxPercent)
        return false;
    graph.m_view = {static_cast<float>(x), static_cast<float>(y), percent};
    return true;
}

bool GuiNodeGraph::TextReader::Connect(const Link& link)
{
    const auto find = [this](int number) {
        return number >= 0 && static_cast<std::size_t>(number) < ids.size() ? ids[static_cast<std::size_t>(number)] : 0;
    };
    const GuiNodeLink found{find(link.fields[0]), link.fields[1], find(link.fields[2]), link.fields[3]};
    if (!graph.i_HavePins(found) || graph.GetLinkTo(found.to, found.input).from != 0)
        return false;
    graph.i_Connect(found);
    return true;
}

std::size_t GuiNodeGraph::ReadText(std::string_view text, std::string* firstFault)
{
    Clear();
    m_view = {};
    m_refusesLoops = false;
    TextReader reader{*this};
    reader.Read(text);
    if (firstFault)
        *firstFault = reader.firstFault;
    return reader.faultCount;
}

std::string GuiNodeGraph::WriteText() const
{
    std::string text;
    const auto x = static_cast<int>(std::lround(m_view.x));
    const auto y = static_cast<int>(std::lround(m_view.y));
    if (x != 0 || y != 0 || m_view.percent != 100)
    {
        text += 'v';
        for (const int value : {x, y, m_view.percent})
            AppendNumber(text, value);
        text += ';';
    }
    if (m_refusesLoops)
        text.append("a;");
    const std::vector<GuiNodeId> ids = GetNodes();
    std::vector<int> numbers(m_slots.size());
    for (std::size_t i = 0; i < ids.size(); ++i)
    {
        const Slot& slot = *i_Find(ids[i]);
        const GuiNode& node = slot.node;
        numbers[i_IndexOf(slot)] = static_cast<int>(i);
        text += 'n';
        for (const int value : {node.rect.x, node.rect.y, node.kind})
            AppendNumber(text, value);
        text += ' ';
        AppendName(text, node.title);
        AppendNames(text, node.inputs);
        AppendNames(text, node.outputs);
        text += ';';
    }
    for (const GuiNodeId id : ids)
    {
        const Slot& slot = *i_Find(id);
        for (std::size_t input = 0; input < slot.sources.size(); ++input)
        {
            const Source& source = slot.sources[input];
            if (source.slot == kNoSlot)
                continue;
            text += 'l';
            for (const int value :
                 {numbers[source.slot], source.output, numbers[i_IndexOf(slot)], static_cast<int>(input)})
                AppendNumber(text, value);
            text += ';';
        }
    }
    if (!text.empty())
        text.pop_back(); // separators stand between records only
    return text;
}
} // namespace gui
