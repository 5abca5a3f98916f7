#include "gameengine/gui/guiWidget/guiNodeGraph.h"

#include <algorithm>
#include <cmath>
#include <tuple>
#include <utility>

namespace gui
{
namespace
{
constexpr int kCellSize = 256;
constexpr int kMinWidth = 100;
constexpr int kMaxWidth = 400;
constexpr int kGap = 16;       // between the names of inputs and outputs
constexpr int kNameInset = 12; // from the edge to a name
constexpr int kFoot = 6;       // below the last pin

int FloorDiv(int value, int divisor)
{
    return value >= 0 ? value / divisor : -((-value + divisor - 1) / divisor);
}

// Areas that a program asks for may reach further than integers do.
int ToCell(std::int64_t value)
{
    constexpr std::int64_t kMost = std::int64_t{4} * GuiNodeGraph::kMaxPosition;
    return FloorDiv(static_cast<int>(std::clamp(value, -kMost, kMost)), kCellSize);
}

std::uint64_t CellKey(int x, int y)
{
    return static_cast<std::uint64_t>(static_cast<std::uint32_t>(x)) << 32U | static_cast<std::uint32_t>(y);
}

bool Touches(const GuiRecti& area, const GuiRecti& rect, int margin)
{
    const auto reaches = [margin](std::int64_t start, std::int64_t size, std::int64_t other, std::int64_t otherSize)
    { return start <= other + otherSize + margin && other - margin <= start + size; };
    return reaches(area.x, area.w, rect.x, rect.w) && reaches(area.y, area.h, rect.y, rect.h);
}

bool IsWithin(Vec2<int> point, Vec2<int> middle, int radius)
{
    const std::int64_t dx = std::int64_t{point.x} - middle.x;
    const std::int64_t dy = std::int64_t{point.y} - middle.y;
    return dx * dx + dy * dy <= std::int64_t{radius} * radius;
}

bool AreGoodNames(const std::vector<std::string>& names)
{
    return std::all_of(names.begin(), names.end(),
                       [](const std::string& name) { return name.size() <= GuiNodeGraph::kMaxName; });
}
} // namespace

GuiNodeGraph::GuiNodeGraph(Measure measure) : m_measure(std::move(measure))
{
    if (!m_measure)
        m_measure = [](std::string_view text) { return static_cast<int>(text.size()) * 8; };
}

GuiNodeGraph::Slot* GuiNodeGraph::i_Find(GuiNodeId id)
{
    return const_cast<Slot*>(std::as_const(*this).i_Find(id));
}

const GuiNodeGraph::Slot* GuiNodeGraph::i_Find(GuiNodeId id) const
{
    const std::size_t index = (id & 0xFFFFU) - 1U;
    return id != 0 && index < m_slots.size() && m_slots[index].node.id == id ? &m_slots[index] : nullptr;
}

GuiNodeId GuiNodeGraph::AddNode(std::string_view title, Vec2<int> position, const std::vector<std::string>& inputs,
                                const std::vector<std::string>& outputs, int kind)
{
    if (m_nodeCount >= kMaxNodes || inputs.size() > kMaxPins || outputs.size() > kMaxPins - inputs.size() ||
        title.size() > kMaxName || !AreGoodNames(inputs) || !AreGoodNames(outputs))
        return 0;
    if (m_freeSlots.empty())
    {
        m_freeSlots.push_back(static_cast<SlotIndex>(m_slots.size()));
        m_slots.emplace_back();
    }
    const SlotIndex index = m_freeSlots.back();
    m_freeSlots.pop_back();
    Slot& slot = m_slots[index];
    slot.node = {.id = static_cast<GuiNodeId>(slot.generation) << 16U | (index + 1U),
                 .kind = kind,
                 .title = std::string(title),
                 .inputs = inputs,
                 .outputs = outputs,
                 .rect = {},
                 .order = ++m_lastOrder};
    slot.sources.assign(inputs.size(), {});
    const auto rows = static_cast<int>(std::max(inputs.size(), outputs.size()));
    slot.node.rect.w = i_FindWidth(slot.node);
    slot.node.rect.h = kTitleHeight + rows * kRowHeight + kFoot;
    ++m_nodeCount;
    SetPosition(slot.node.id, position);
    return slot.node.id;
}

bool GuiNodeGraph::RemoveNode(GuiNodeId id)
{
    Slot* const slot = i_Find(id);
    if (!slot)
        return false;
    const SlotIndex index = i_IndexOf(*slot);
    for (std::size_t input = 0; input < slot->sources.size(); ++input)
        i_Disconnect(index, static_cast<int>(input));
    while (!slot->targets.empty())
        i_Disconnect(slot->targets.back().slot, slot->targets.back().input);
    SetSelected(id, false);
    i_LeaveCells(*slot);
    slot->node = {};
    ++slot->generation;
    m_freeSlots.push_back(index);
    --m_nodeCount;
    return true;
}

void GuiNodeGraph::Clear()
{
    for (const GuiNodeId id : GetNodes())
        RemoveNode(id);
}

const GuiNode* GuiNodeGraph::GetNode(GuiNodeId id) const
{
    const Slot* const slot = i_Find(id);
    return slot ? &slot->node : nullptr;
}

std::vector<GuiNodeId> GuiNodeGraph::GetNodes() const
{
    std::vector<std::pair<std::uint64_t, GuiNodeId>> sorted;
    sorted.reserve(m_nodeCount);
    for (const Slot& slot : m_slots)
    {
        if (slot.node.id != 0)
            sorted.emplace_back(slot.node.order, slot.node.id);
    }
    std::sort(sorted.begin(), sorted.end());
    std::vector<GuiNodeId> ids;
    ids.reserve(sorted.size());
    for (const auto& [order, id] : sorted)
        ids.push_back(id);
    return ids;
}

void GuiNodeGraph::SetPosition(GuiNodeId id, Vec2<int> position)
{
    Slot* const slot = i_Find(id);
    if (!slot)
        return;
    slot->node.rect.x = std::clamp(position.x, -kMaxPosition, kMaxPosition);
    slot->node.rect.y = std::clamp(position.y, -kMaxPosition, kMaxPosition);
    i_UpdateCells(*slot);
}

void GuiNodeGraph::Raise(GuiNodeId id)
{
    if (Slot* const slot = i_Find(id))
        slot->node.order = ++m_lastOrder;
}

void GuiNodeGraph::MeasureAll()
{
    for (Slot& slot : m_slots)
    {
        if (slot.node.id == 0)
            continue;
        slot.node.rect.w = i_FindWidth(slot.node);
        i_UpdateCells(slot);
    }
}

int GuiNodeGraph::i_FindWidth(const GuiNode& node) const
{
    const auto widest = [this](const std::vector<std::string>& names)
    {
        int width = 0;
        for (const std::string& name : names)
            width = std::max(width, m_measure(name));
        return width;
    };
    const int names = widest(node.inputs) + kGap + widest(node.outputs);
    return std::clamp(std::max(names, m_measure(node.title)) + 2 * kNameInset, kMinWidth, kMaxWidth);
}

Vec2<int> GuiNodeGraph::GetInputPlace(const GuiNode& node, int input) const
{
    if (input < 0 || static_cast<std::size_t>(input) >= node.inputs.size())
        return {node.rect.x, node.rect.y};
    return {node.rect.x, node.rect.y + kTitleHeight + input * kRowHeight + kRowHeight / 2};
}

Vec2<int> GuiNodeGraph::GetOutputPlace(const GuiNode& node, int output) const
{
    if (output < 0 || static_cast<std::size_t>(output) >= node.outputs.size())
        return {node.rect.x, node.rect.y};
    return {node.rect.x + node.rect.w, node.rect.y + kTitleHeight + output * kRowHeight + kRowHeight / 2};
}

bool GuiNodeGraph::i_HavePins(const GuiNodeLink& link) const
{
    const GuiNode* const from = GetNode(link.from);
    const GuiNode* const to = GetNode(link.to);
    return from && to && link.output >= 0 && static_cast<std::size_t>(link.output) < from->outputs.size() &&
           link.input >= 0 && static_cast<std::size_t>(link.input) < to->inputs.size();
}

bool GuiNodeGraph::CanLink(const GuiNodeLink& link, bool mayReplace) const
{
    if (!i_HavePins(link) || (!mayReplace && GetLinkTo(link.to, link.input).from != 0))
        return false;
    if (!m_refusesLoops)
        return true;
    const std::vector<GuiNodeId> later = FindConnected(link.to, false);
    return !std::binary_search(later.begin(), later.end(), link.from);
}

bool GuiNodeGraph::AddLink(const GuiNodeLink& link)
{
    if (!CanLink(link))
        return false;
    i_Connect(link);
    return true;
}

void GuiNodeGraph::i_Connect(const GuiNodeLink& link)
{
    Slot& from = *i_Find(link.from);
    Slot& to = *i_Find(link.to);
    to.sources[static_cast<std::size_t>(link.input)] = {i_IndexOf(from), link.output,
                                                        static_cast<std::uint32_t>(from.targets.size())};
    from.targets.push_back({i_IndexOf(to), link.output, link.input});
    ++m_linkCount;
}

bool GuiNodeGraph::RemoveLink(const GuiNodeLink& link)
{
    if (link.from == 0 || GetLinkTo(link.to, link.input) != link)
        return false;
    i_Disconnect(i_IndexOf(*i_Find(link.to)), link.input);
    return true;
}

// The last of the targets takes the place of the one that goes.
void GuiNodeGraph::i_Disconnect(SlotIndex to, int input)
{
    Source& source = m_slots[to].sources[static_cast<std::size_t>(input)];
    if (source.slot == kNoSlot)
        return;
    std::vector<Target>& targets = m_slots[source.slot].targets;
    const std::uint32_t place = std::exchange(source, {}).place;
    if (place + 1U < targets.size())
    {
        const Target& moved = targets[place] = targets.back();
        m_slots[moved.slot].sources[static_cast<std::size_t>(moved.input)].place = place;
    }
    targets.pop_back();
    --m_linkCount;
}

GuiNodeLink GuiNodeGraph::GetLinkTo(GuiNodeId id, int input) const
{
    const Slot* const slot = i_Find(id);
    if (!slot || input < 0 || static_cast<std::size_t>(input) >= slot->sources.size())
        return {};
    const Source& source = slot->sources[static_cast<std::size_t>(input)];
    if (source.slot == kNoSlot)
        return {};
    return {m_slots[source.slot].node.id, source.output, id, input};
}

std::vector<GuiNodeLink> GuiNodeGraph::GetLinksOf(GuiNodeId id) const
{
    std::vector<GuiNodeLink> links;
    const Slot* const slot = i_Find(id);
    if (!slot)
        return links;
    for (int input = 0; static_cast<std::size_t>(input) < slot->sources.size(); ++input)
    {
        if (const GuiNodeLink link = GetLinkTo(id, input); link.from != 0 && link.from != id)
            links.push_back(link);
    }
    for (const Target& target : slot->targets)
        links.push_back({id, target.output, m_slots[target.slot].node.id, target.input});
    return links;
}

std::uint32_t GuiNodeGraph::i_NewStamp() const
{
    if (++m_stamp == 0)
    {
        for (const Slot& slot : m_slots)
            slot.stamp = 0;
        m_stamp = 1;
    }
    return m_stamp;
}

std::vector<GuiNodeId> GuiNodeGraph::FindConnected(GuiNodeId id, bool upstream) const
{
    std::vector<GuiNodeId> found;
    const std::uint32_t stamp = i_NewStamp();
    const auto reach = [&](SlotIndex index)
    {
        if (index != kNoSlot && std::exchange(m_slots[index].stamp, stamp) != stamp)
            found.push_back(m_slots[index].node.id);
    };
    if (const Slot* const start = i_Find(id))
        reach(i_IndexOf(*start));
    for (std::size_t i = 0; i < found.size(); ++i)
    {
        const Slot& slot = *i_Find(found[i]);
        if (upstream)
        {
            for (const Source& source : slot.sources)
                reach(source.slot);
        }
        else
        {
            for (const Target& target : slot.targets)
                reach(target.slot);
        }
    }
    std::sort(found.begin(), found.end());
    return found;
}

// Walks from link to link; one that comes back to a node on the way there closes a loop and is removed.
std::size_t GuiNodeGraph::i_BreakLoops()
{
    enum class State : std::uint8_t
    {
        New,
        OnTheWay,
        Done
    };
    struct Step
    {
        SlotIndex slot;
        std::size_t next;
    };
    std::vector<State> states(m_slots.size(), State::New);
    std::vector<Target> closing;
    std::vector<Step> way;
    for (std::size_t start = 0; start < m_slots.size(); ++start)
    {
        if (states[start] != State::New)
            continue;
        states[start] = State::OnTheWay;
        way.push_back({static_cast<SlotIndex>(start), 0});
        while (!way.empty())
        {
            const std::vector<Target>& targets = m_slots[way.back().slot].targets;
            if (way.back().next == targets.size())
            {
                states[way.back().slot] = State::Done;
                way.pop_back();
                continue;
            }
            const Target target = targets[way.back().next++];
            if (states[target.slot] == State::OnTheWay)
                closing.push_back(target);
            else if (states[target.slot] == State::New)
            {
                states[target.slot] = State::OnTheWay;
                way.push_back({target.slot, 0});
            }
        }
    }
    for (const Target& target : closing)
        i_Disconnect(target.slot, target.input);
    return closing.size();
}

void GuiNodeGraph::SetSelected(GuiNodeId id, bool selected)
{
    Slot* const slot = i_Find(id);
    if (!slot || std::exchange(slot->node.isSelected, selected) == selected)
        return;
    if (selected)
        ++m_selectedCount;
    else
        --m_selectedCount;
}

void GuiNodeGraph::SelectAll(bool selected)
{
    for (Slot& slot : m_slots)
        slot.node.isSelected = selected && slot.node.id != 0;
    m_selectedCount = selected ? m_nodeCount : 0;
}

std::vector<GuiNodeId> GuiNodeGraph::GetSelection() const
{
    std::vector<GuiNodeId> ids;
    ids.reserve(m_selectedCount);
    for (const Slot& slot : m_slots)
    {
        if (slot.node.isSelected)
            ids.push_back(slot.node.id);
    }
    return ids;
}

GuiNodeGraph::Cells GuiNodeGraph::i_CellsOf(const GuiRecti& area, int margin)
{
    return {ToCell(std::int64_t{area.x} - margin), ToCell(std::int64_t{area.y} - margin),
            ToCell(std::int64_t{area.x} + area.w + margin), ToCell(std::int64_t{area.y} + area.h + margin)};
}

void GuiNodeGraph::i_UpdateCells(Slot& slot)
{
    const Cells cells = i_CellsOf(slot.node.rect, kGrabRadius);
    if (cells == slot.cells)
        return;
    i_LeaveCells(slot);
    slot.cells = cells;
    for (int y = cells.top; y <= cells.bottom; ++y)
    {
        for (int x = cells.left; x <= cells.right; ++x)
            m_cells[CellKey(x, y)].push_back(i_IndexOf(slot));
    }
}

void GuiNodeGraph::i_LeaveCells(Slot& slot)
{
    const Cells cells = std::exchange(slot.cells, {});
    for (int y = cells.top; y <= cells.bottom; ++y)
    {
        for (int x = cells.left; x <= cells.right; ++x)
        {
            const auto cell = m_cells.find(CellKey(x, y));
            std::vector<SlotIndex>& inside = cell->second;
            *std::find(inside.begin(), inside.end(), i_IndexOf(slot)) = inside.back();
            inside.pop_back();
            if (inside.empty())
                m_cells.erase(cell);
        }
    }
}

void GuiNodeGraph::FindNodes(const GuiRecti& area, std::vector<GuiNodeId>& found) const
{
    found.clear();
    m_visitCount = 0;
    const std::uint32_t stamp = i_NewStamp();
    const auto look = [&](const std::vector<SlotIndex>& inside)
    {
        m_visitCount += inside.size();
        for (const SlotIndex index : inside)
        {
            const Slot& slot = m_slots[index];
            if (std::exchange(slot.stamp, stamp) != stamp && Touches(area, slot.node.rect, kGrabRadius))
                found.push_back(slot.node.id);
        }
    };
    const Cells cells = i_CellsOf(area, 0);
    const std::int64_t width = std::int64_t{cells.right} - cells.left + 1;
    const std::int64_t height = std::int64_t{cells.bottom} - cells.top + 1;
    // Whatever is less: the cells of the area, or those with something in them.
    if (width * height > static_cast<std::int64_t>(m_cells.size()))
    {
        for (const auto& [key, inside] : m_cells)
            look(inside);
    }
    else
    {
        for (int y = cells.top; y <= cells.bottom; ++y)
        {
            for (int x = cells.left; x <= cells.right; ++x)
            {
                if (const auto cell = m_cells.find(CellKey(x, y)); cell != m_cells.end())
                    look(cell->second);
            }
        }
    }
    std::sort(found.begin(), found.end(),
              [this](GuiNodeId a, GuiNodeId b) { return i_Find(a)->node.order < i_Find(b)->node.order; });
}

GuiNodeHit GuiNodeGraph::FindAt(Vec2<int> point) const
{
    m_visitCount = 0;
    GuiNodeHit best;
    const auto cell = m_cells.find(CellKey(ToCell(point.x), ToCell(point.y)));
    if (cell == m_cells.end())
        return best;
    std::uint64_t bestOrder = 0;
    for (const SlotIndex index : cell->second)
    {
        const GuiNode& node = m_slots[index].node;
        ++m_visitCount;
        if (node.order < bestOrder || !Touches({point.x, point.y, 0, 0}, node.rect, kGrabRadius))
            continue;
        GuiNodeHit hit{GuiNodeHit::Part::None, node.id, (point.y - node.rect.y - kTitleHeight) / kRowHeight};
        const bool isRow = point.y >= node.rect.y + kTitleHeight;
        const auto isOn = [&](const std::vector<std::string>& pins, Vec2<int> place)
        { return isRow && static_cast<std::size_t>(hit.pin) < pins.size() && IsWithin(point, place, kGrabRadius); };
        if (isOn(node.inputs, GetInputPlace(node, hit.pin)))
            hit.part = GuiNodeHit::Part::Input;
        else if (isOn(node.outputs, GetOutputPlace(node, hit.pin)))
            hit.part = GuiNodeHit::Part::Output;
        else if (Touches({point.x, point.y, 0, 0}, node.rect, 0))
            hit = {GuiNodeHit::Part::Body, node.id, 0};
        if (hit.part != GuiNodeHit::Part::None)
        {
            best = hit;
            bestOrder = node.order;
        }
    }
    return best;
}

void GuiNodeGraph::SetView(const GuiNodeView& view)
{
    const auto limit = [most = static_cast<float>(kMaxPosition)](float value)
    { return std::isnan(value) ? 0.0F : std::clamp(value, -most, most); };
    m_view = {limit(view.x), limit(view.y), std::clamp(view.percent, kMinPercent, kMaxPercent)};
}
} // namespace gui
