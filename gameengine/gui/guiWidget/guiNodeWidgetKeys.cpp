#include "gameengine/gui/guiWidget/guiContext.h"
#include "gameengine/gui/guiWidget/guiNodeWidget.h"

#include <algorithm>
#include <cstdlib>
#include <limits>

namespace gui
{
namespace
{
constexpr int kPanStep = 32; // pixels

Vec2<int> GetArrow(unsigned key)
{
    switch (key)
    {
    case kGuiKeyLeft: return {-1, 0};
    case kGuiKeyRight: return {1, 0};
    case kGuiKeyUp: return {0, -1};
    case kGuiKeyDown: return {0, 1};
    default: return {};
    }
}

Vec2<int> GetMiddle(const GuiRecti& rect)
{
    return {rect.x + rect.w / 2, rect.y + rect.h / 2};
}
} // namespace

void GuiNodeWidget::OnKeyPress(unsigned key)
{
    if (m_action != Action::None)
    {
        if (key == kGuiKeyEscape)
            i_Cancel();
        else if (m_isKeyLink)
            i_PressLinkKey(key);
        Redraw();
        return i_Tell();
    }
    if (!i_TakesInput() || (!i_PressPinKey(key) && !i_PressArrow(key) && !i_PressCommand(key)))
        return myPassKey(key);
    Redraw();
    i_Tell();
}

bool GuiNodeWidget::i_PressCommand(unsigned key)
{
    const GuiRecti rect = GetRect();
    const std::vector<GuiNodeId> before = m_graph.GetSelection();
    switch (key)
    {
    case kGuiKeyDelete: i_DeleteSelection(); break;
    case kGuiKeyPageUp: i_ZoomAt(1, {rect.x + rect.w / 2, rect.y + rect.h / 2}); break;
    case kGuiKeyPageDown: i_ZoomAt(-1, {rect.x + rect.w / 2, rect.y + rect.h / 2}); break;
    case kGuiKeyHome: ShowAll(); break;
    case kGuiKeySpace: break; // held while the mouse moves the view
    case kGuiKeyEscape:
        if (before.empty())
            return false;
        m_graph.SelectAll(false);
        i_AddSelectionChange(before);
        break;
    case 'A':
        if ((GetContext().GetModifiers() & kGuiControl) == 0)
            return false;
        m_graph.SelectAll(true);
        i_AddSelectionChange(before);
        break;
    default: return false;
    }
    return true;
}

bool GuiNodeWidget::i_PressArrow(unsigned key)
{
    const Vec2<int> by = GetArrow(key);
    if (by == Vec2<int>())
        return false;
    if ((GetContext().GetModifiers() & kGuiControl) != 0)
    {
        i_SelectTowards(by);
        return true;
    }
    if (m_graph.GetSelectedCount() > 0)
    {
        const int step = (GetContext().GetModifiers() & kGuiShift) != 0 ? 1 : kSnap;
        i_MoveSelection({by.x * step, by.y * step});
        return true;
    }
    GuiNodeView view = m_graph.GetView();
    view.x += static_cast<float>(by.x * kPanStep) / i_GetZoom();
    view.y += static_cast<float>(by.y * kPanStep) / i_GetZoom();
    m_graph.SetView(view);
    return true;
}

void GuiNodeWidget::i_MoveSelection(Vec2<int> by)
{
    Change change{Change::Kind::Moved, {}, m_graph.GetSelection()};
    for (const GuiNodeId id : change.nodes)
    {
        const GuiRecti rect = m_graph.GetNode(id)->rect;
        m_graph.SetPosition(id, {rect.x + by.x, rect.y + by.y});
    }
    m_changes.push_back(std::move(change));
}

void GuiNodeWidget::i_DeleteSelection()
{
    Change change{Change::Kind::Deleted, {}, m_graph.GetSelection()};
    if (change.nodes.empty())
        return;
    for (const GuiNodeId id : change.nodes)
        m_graph.RemoveNode(id);
    m_changes.push_back(std::move(change));
    m_changes.push_back({Change::Kind::Selected});
}

// The next one in a direction: far ahead counts less than far aside.
void GuiNodeWidget::i_SelectTowards(Vec2<int> by)
{
    const std::vector<GuiNodeId> before = m_graph.GetSelection();
    const GuiRecti rect = GetRect();
    const Vec2<int> start = before.empty() ? ToGraph(GetMiddle(rect)) : GetMiddle(m_graph.GetNode(before.back())->rect);
    const GuiNode* next = nullptr;
    std::int64_t least = std::numeric_limits<std::int64_t>::max();
    for (const GuiNodeId id : m_graph.GetNodes())
    {
        const GuiNode* const node = m_graph.GetNode(id);
        const Vec2<int> middle = GetMiddle(node->rect);
        const std::int64_t x = std::int64_t{middle.x} - start.x;
        const std::int64_t y = std::int64_t{middle.y} - start.y;
        const std::int64_t ahead = x * by.x + y * by.y;
        const std::int64_t distance = ahead + 3 * std::abs(x * by.y + y * by.x);
        if ((before.empty() || (ahead > 0 && id != before.back())) && distance < least)
        {
            next = node;
            least = distance;
        }
    }
    if (!next)
        return;
    m_graph.SelectAll(false);
    m_graph.SetSelected(next->id, true);
    i_Show(*next);
    i_AddSelectionChange(before);
}

// Moves the view no farther than it must.
void GuiNodeWidget::i_Show(const GuiNode& node)
{
    const auto shift = [](int low, int size, float viewLow, float viewSize)
    {
        const auto first = static_cast<float>(low - kShowMargin);
        const auto last = static_cast<float>(low + size + kShowMargin);
        const float moved = last > viewLow + viewSize ? last - viewSize : viewLow;
        return std::min(moved, first);
    };
    GuiNodeView view = m_graph.GetView();
    const float zoom = i_GetZoom();
    view.x = shift(node.rect.x, node.rect.w, view.x, static_cast<float>(GetRect().w) / zoom);
    view.y = shift(node.rect.y, node.rect.h, view.y, static_cast<float>(GetRect().h) / zoom);
    m_graph.SetView(view);
}

void GuiNodeWidget::i_GoToPin(GuiNodeHit::Part part, int pin)
{
    const GuiNode* const node = m_graph.GetNode(m_pin.node);
    const std::size_t count = part == GuiNodeHit::Part::Input ? node->inputs.size() : node->outputs.size();
    if (count == 0)
        return;
    m_pin = {part, m_pin.node, std::clamp(pin, 0, static_cast<int>(count) - 1)};
    m_hot = m_pin;
}

bool GuiNodeWidget::i_PressPinKey(unsigned key)
{
    // The program may have changed the graph.
    const std::vector<GuiNodeId> selection = m_graph.GetSelection();
    if (selection.size() != 1 || selection[0] != m_pin.node)
        m_pin = {};
    if (m_pin.part == GuiNodeHit::Part::None)
    {
        if (key != kGuiKeyEnter || selection.size() != 1)
            return false;
        m_pin.node = selection[0];
        i_GoToPin(GuiNodeHit::Part::Input, 0);
        i_GoToPin(GuiNodeHit::Part::Output, 0);
        return true;
    }
    if ((GetContext().GetModifiers() & kGuiControl) != 0)
        return false;
    i_GoToPin(m_pin.part, m_pin.pin);
    switch (key)
    {
    case kGuiKeyUp: i_GoToPin(m_pin.part, m_pin.pin - 1); break;
    case kGuiKeyDown: i_GoToPin(m_pin.part, m_pin.pin + 1); break;
    case kGuiKeyLeft: i_GoToPin(GuiNodeHit::Part::Input, m_pin.pin); break;
    case kGuiKeyRight: i_GoToPin(GuiNodeHit::Part::Output, m_pin.pin); break;
    case kGuiKeyEnter: i_StartKeyLink(); break;
    case kGuiKeyDelete: i_UnlinkPin(); break;
    case kGuiKeyEscape: m_pin = m_hot = {}; break;
    default: return false;
    }
    return true;
}

// To any pin that takes it, the nearest one first.
void GuiNodeWidget::i_StartKeyLink()
{
    i_StartLink(m_pin);
    m_button = 0;
    m_selectionBefore = m_graph.GetSelection();
    m_targets.clear();
    const GuiNode* const startNode = m_graph.GetNode(m_link.start.node);
    const bool isFromOutput = m_link.start.part == GuiNodeHit::Part::Output;
    const auto getPlace = [this](const GuiNode& node, bool isOutput, int pin)
    { return isOutput ? m_graph.GetOutputPlace(node, pin) : m_graph.GetInputPlace(node, pin); };
    const Vec2<int> start = getPlace(*startNode, isFromOutput, m_link.start.pin);
    std::vector<std::pair<std::int64_t, GuiNodeHit>> found;
    for (const GuiNodeId id : m_graph.GetNodes())
    {
        const GuiNode& node = *m_graph.GetNode(id);
        const std::size_t count = isFromOutput ? node.inputs.size() : node.outputs.size();
        for (int pin = 0; static_cast<std::size_t>(pin) < count; ++pin)
        {
            const GuiNodeHit hit{isFromOutput ? GuiNodeHit::Part::Input : GuiNodeHit::Part::Output, id, pin};
            const Vec2<int> place = getPlace(node, !isFromOutput, pin);
            if (i_IsTarget(hit) && m_graph.CanLink(i_LinkTo(hit), true))
                found.push_back(
                    {std::abs(std::int64_t{place.x} - start.x) + std::abs(std::int64_t{place.y} - start.y), hit});
        }
    }
    std::stable_sort(found.begin(), found.end(), [](const auto& a, const auto& b) { return a.first < b.first; });
    for (const auto& [distance, hit] : found)
        m_targets.push_back(hit);
    if (m_targets.empty())
        return i_Stop();
    m_isKeyLink = true;
    m_target = 0;
    i_ChooseTarget(0);
}

void GuiNodeWidget::i_ChooseTarget(int step)
{
    const int count = static_cast<int>(m_targets.size());
    m_target = (m_target + step + count) % count;
    m_hot = m_targets[static_cast<std::size_t>(m_target)];
    if (const GuiNode* const node = m_graph.GetNode(m_hot.node))
        i_Show(*node);
}

void GuiNodeWidget::i_PressLinkKey(unsigned key)
{
    const Vec2<int> by = GetArrow(key);
    if (by != Vec2<int>())
        return i_ChooseTarget(by.x + by.y);
    if (key != kGuiKeyEnter && key != kGuiKeyDelete)
        return;
    i_FinishLink(key == kGuiKeyEnter ? m_hot : GuiNodeHit());
    i_Stop();
    m_hot = m_pin;
}

void GuiNodeWidget::i_UnlinkPin()
{
    for (const GuiNodeLink& link : m_graph.GetLinksOf(m_pin.node))
    {
        const bool isHere = m_pin.part == GuiNodeHit::Part::Input ? link.to == m_pin.node && link.input == m_pin.pin
                                                                  : link.from == m_pin.node && link.output == m_pin.pin;
        if (isHere)
            i_RemoveLink(link);
    }
}
} // namespace gui
