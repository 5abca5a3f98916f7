#include "gameengine/gui/guiWidget/guiNodeWidget.h"

#include "gameengine/gui/guiWidget/guiContext.h"
#include "gameengine/gui/guiWidget/guiStream.h"
#include "tamradeps/core/log.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdlib>
#include <iterator>

namespace gui
{
namespace
{
constexpr std::array kZoomSteps = {25, 30, 35, 40, 50, 60, 70, 80, 90, 100, 110, 125, 140, 160, 180, 200};
constexpr int kDragDistance = 3;

// Widgets may be as large as integers are, and what lies there larger.
int Floor(float value)
{
    return static_cast<int>(std::floor(std::clamp(value, -1.0e9F, 1.0e9F)));
}

bool IsPin(const GuiNodeHit& hit)
{
    return hit.part == GuiNodeHit::Part::Input || hit.part == GuiNodeHit::Part::Output;
}

bool Overlap(const GuiRecti& a, const GuiRecti& b)
{
    return a.x <= b.x + b.w && b.x <= a.x + a.w && a.y <= b.y + b.h && b.y <= a.y + a.h;
}
} // namespace

GuiNodeWidget::GuiNodeWidget(GuiContext& context, GuiStyle style, const GuiRecti& rect, GuiSizePolicy sizePolicy)
    : GuiWidget(context, style, rect, sizePolicy),
      m_graph([this](std::string_view text) { return myGetDraw().GetTextWidth(text, myGetStyle().font); }),
      m_self(std::make_shared<GuiNodeWidget*>(this))
{
    SetFocusable(true);
    myKeepPicture();
}

GuiNodeWidget::~GuiNodeWidget()
{
    *m_self = nullptr;
}

GuiNodeGraph& GuiNodeWidget::EditGraph()
{
    Redraw();
    return m_graph;
}

bool GuiNodeWidget::SetGraphText(std::string_view text)
{
    i_Cancel();
    std::string firstFault;
    const std::size_t count = EditGraph().ReadText(text, &firstFault);
    if (count > 0)
        tamra::log::Error("the graph of node widget \"" + tamra::log::Quoted(GetId()) + "\" has " +
                          std::to_string(count) + " parts that cannot be used, the first is \"" +
                          tamra::log::Quoted(firstFault) + "\"");
    return count == 0;
}

void GuiNodeWidget::SetListener(GuiNodeListener* listener)
{
    m_listener = listener ? listener->GetSelf() : nullptr;
}

float GuiNodeWidget::i_GetZoom() const
{
    return static_cast<float>(m_graph.GetView().percent) * 0.01F;
}

Vec2<int> GuiNodeWidget::ToGraph(Vec2<int> screen) const
{
    const GuiNodeView& view = m_graph.GetView();
    const float zoom = i_GetZoom();
    return {Floor(view.x + static_cast<float>(screen.x - GetRect().x) / zoom),
            Floor(view.y + static_cast<float>(screen.y - GetRect().y) / zoom)};
}

Vec2<int> GuiNodeWidget::ToScreen(Vec2<int> graph) const
{
    const GuiNodeView& view = m_graph.GetView();
    const float zoom = i_GetZoom();
    return {GetRect().x + Floor((static_cast<float>(graph.x) - view.x) * zoom),
            GetRect().y + Floor((static_cast<float>(graph.y) - view.y) * zoom)};
}

// The widths of nodes depend on the font, which comes with the style.
void GuiNodeWidget::i_Measure()
{
    if (std::exchange(m_measuredFont, myGetStyle().font) != myGetStyle().font)
        m_graph.MeasureAll();
}

void GuiNodeWidget::i_ZoomAt(int steps, Vec2<int> point)
{
    GuiNodeView view = m_graph.GetView();
    const auto next = steps > 0 ? std::upper_bound(kZoomSteps.begin(), kZoomSteps.end(), view.percent)
                                : std::lower_bound(kZoomSteps.begin(), kZoomSteps.end(), view.percent);
    if (steps > 0 ? next == kZoomSteps.end() : next == kZoomSteps.begin())
        return;
    const float before = i_GetZoom();
    view.percent = steps > 0 ? *next : *std::prev(next);
    const float now = static_cast<float>(view.percent) * 0.01F;
    view.x += static_cast<float>(point.x - GetRect().x) * (1.0F / before - 1.0F / now);
    view.y += static_cast<float>(point.y - GetRect().y) * (1.0F / before - 1.0F / now);
    EditGraph().SetView(view);
}

void GuiNodeWidget::ShowAll()
{
    i_Measure();
    if (m_graph.GetNodeCount() == 0)
        return EditGraph().SetView({});
    constexpr int kMost = 2 * GuiNodeGraph::kMaxPosition;
    Vec2<int> low{kMost, kMost};
    Vec2<int> high{-kMost, -kMost};
    for (const GuiNodeId id : m_graph.GetNodes())
    {
        const GuiRecti& rect = m_graph.GetNode(id)->rect;
        low = {std::min(low.x, rect.x), std::min(low.y, rect.y)};
        high = {std::max(high.x, rect.x + rect.w), std::max(high.y, rect.y + rect.h)};
    }
    const auto fits = [&](int percent)
    {
        return (high.x - low.x + 2 * kShowMargin) * std::int64_t{percent} <= std::int64_t{GetRect().w} * 100 &&
               (high.y - low.y + 2 * kShowMargin) * std::int64_t{percent} <= std::int64_t{GetRect().h} * 100;
    };
    int percent = kZoomSteps.front();
    for (const int step : kZoomSteps)
    {
        if (step <= 100 && fits(step))
            percent = step;
    }
    const float toGraph = 100.0F / static_cast<float>(percent);
    EditGraph().SetView({(static_cast<float>(low.x + high.x) - static_cast<float>(GetRect().w) * toGraph) * 0.5F,
                         (static_cast<float>(low.y + high.y) - static_cast<float>(GetRect().h) * toGraph) * 0.5F,
                         percent});
}

// Mouse

GuiWidget* GuiNodeWidget::GetHoverWidget(int x, int y)
{
    GuiWidget* const found = GuiWidget::GetHoverWidget(x, y);
    if (found)
        SetTicking(true); // for what lies under the mouse
    return found;
}

void GuiNodeWidget::Tick(float)
{
    i_Follow();
    i_FollowHover();
}

void GuiNodeWidget::OnMouseClick(unsigned button)
{
    if (m_isKeyLink)
        i_Cancel();
    if (m_action != Action::None || !myIsHoverWidget() || !i_TakesInput())
        return;
    m_pin = {};
    const bool isPan = button == kGuiMouseMiddle || (button == kGuiMouseLeft && GetContext().IsKeyDown(kGuiKeySpace));
    if (button == kGuiMouseWheelUp || button == kGuiMouseWheelDown)
        return i_ZoomAt(button == kGuiMouseWheelUp ? 1 : -1, myGetMousePos());
    if (button != kGuiMouseLeft && !isPan)
        return myPassClick(button);
    i_Measure();
    myGrabFocus();
    i_Start(isPan ? Action::Pan : Action::Frame, button);
    if (!isPan)
        i_Press();
}

void GuiNodeWidget::i_Start(Action action, unsigned button)
{
    m_action = action;
    m_button = button;
    m_startMouse = m_lastMouse = myGetMousePos();
    m_startModifiers = m_lastModifiers = GetContext().GetModifiers();
    m_startView = m_graph.GetView();
    m_selectionBefore = m_graph.GetSelection();
    m_frameStart = ToGraph(m_startMouse);
    myGrabInput();
    SetTicking(true);
    if (action == Action::Pan)
        SetCursor(GuiCursor::Move);
    Redraw();
}

void GuiNodeWidget::i_Press()
{
    const bool isControl = (m_startModifiers & kGuiControl) != 0;
    const GuiNodeHit hit = m_graph.FindAt(m_frameStart);
    if (IsPin(hit))
        return i_StartLink(hit);
    if (hit.part == GuiNodeHit::Part::None)
    {
        if (!isControl)
            m_graph.SelectAll(false);
        return;
    }
    m_action = Action::Press;
    m_pressed = hit.node;
    const bool wasSelected = m_graph.GetNode(hit.node)->isSelected;
    m_deselects = wasSelected && isControl;
    if (!wasSelected && !isControl)
        m_graph.SelectAll(false);
    m_graph.SetSelected(hit.node, true);
    m_graph.Raise(hit.node);
}

// From an input that has a link, that link comes off.
void GuiNodeWidget::i_StartLink(const GuiNodeHit& hit)
{
    m_action = Action::Link;
    m_link = {};
    m_link.start = hit;
    if (hit.part == GuiNodeHit::Part::Input)
        m_link.old = m_graph.GetLinkTo(hit.node, hit.pin);
    if (m_link.old.from != 0)
        m_link.start = {GuiNodeHit::Part::Output, m_link.old.from, m_link.old.output};
    if (m_graph.RefusesLoops())
        m_link.blocked = m_graph.FindConnected(m_link.start.node, m_link.start.part == GuiNodeHit::Part::Output);
}

void GuiNodeWidget::i_Follow()
{
    const Vec2<int> mouse = myGetMousePos();
    const unsigned modifiers = GetContext().GetModifiers();
    if (m_action == Action::None || (mouse == m_lastMouse && modifiers == m_lastModifiers))
        return;
    m_lastMouse = mouse;
    m_lastModifiers = modifiers;
    Redraw();
    const Vec2<int> by{mouse.x - m_startMouse.x, mouse.y - m_startMouse.y};
    if (m_action == Action::Press && std::max(std::abs(by.x), std::abs(by.y)) > kDragDistance)
    {
        m_action = Action::Move;
        m_moved.clear();
        for (const GuiNodeId id : m_graph.GetSelection())
        {
            const GuiRecti& rect = m_graph.GetNode(id)->rect;
            m_moved.push_back({id, {rect.x, rect.y}});
        }
    }
    if (m_action == Action::Move)
        i_FollowMove(by);
    else if (m_action == Action::Frame)
        i_FollowFrame();
    else if (m_action == Action::Pan)
        m_graph.SetView({m_startView.x - static_cast<float>(by.x) / i_GetZoom(),
                         m_startView.y - static_cast<float>(by.y) / i_GetZoom(), m_startView.percent});
}

// On the grid comes the one under the mouse, the others keep their distance.
void GuiNodeWidget::i_FollowMove(Vec2<int> by)
{
    Vec2<int> offset{Floor(static_cast<float>(by.x) / i_GetZoom() + 0.5F),
                     Floor(static_cast<float>(by.y) / i_GetZoom() + 0.5F)};
    const auto pressed =
        std::find_if(m_moved.begin(), m_moved.end(), [this](const auto& moved) { return moved.first == m_pressed; });
    const auto snap = [](int value)
    { return static_cast<int>(std::lround(static_cast<float>(value) / kSnap)) * kSnap; };
    if ((m_lastModifiers & kGuiControl) != 0 && pressed != m_moved.end())
        offset = {snap(pressed->second.x + offset.x) - pressed->second.x,
                  snap(pressed->second.y + offset.y) - pressed->second.y};
    for (const auto& [id, place] : m_moved)
        m_graph.SetPosition(id, {place.x + offset.x, place.y + offset.y});
}

GuiRecti GuiNodeWidget::i_GetFrame() const
{
    const Vec2<int> end = ToGraph(m_lastMouse);
    return {std::min(m_frameStart.x, end.x), std::min(m_frameStart.y, end.y), std::abs(end.x - m_frameStart.x),
            std::abs(end.y - m_frameStart.y)};
}

void GuiNodeWidget::i_FollowFrame()
{
    const GuiRecti frame = i_GetFrame();
    m_graph.SelectAll(false);
    if ((m_startModifiers & kGuiControl) != 0)
    {
        for (const GuiNodeId id : m_selectionBefore)
            m_graph.SetSelected(id, true);
    }
    m_graph.FindNodes(frame, m_found);
    for (const GuiNodeId id : m_found)
    {
        if (Overlap(frame, m_graph.GetNode(id)->rect))
            m_graph.SetSelected(id, true);
    }
}

void GuiNodeWidget::i_FollowHover()
{
    if (m_isKeyLink)
        return;
    const bool isHere = i_TakesInput() && (myIsHoverWidget() || m_action != Action::None);
    const GuiNodeHit hit = isHere ? m_graph.FindAt(ToGraph(myGetMousePos())) : GuiNodeHit();
    if (std::exchange(m_hot, hit) != hit)
        Redraw();
    if (m_action != Action::Pan)
        SetCursor(IsPin(hit) ? GuiCursor::Hand : GuiCursor::Arrow);
    if (!isHere)
        SetTicking(false);
}

void GuiNodeWidget::OnMouseRelease(unsigned button)
{
    if (m_action == Action::None || button != m_button)
        return;
    i_Follow();
    if (m_action == Action::Press)
        i_FinishPress();
    else if (m_action == Action::Link)
        i_FinishLink(m_graph.FindAt(ToGraph(myGetMousePos())));
    else if (m_action == Action::Move)
    {
        Change change{Change::Kind::Moved};
        for (const auto& [id, place] : m_moved)
        {
            const GuiNode* const node = m_graph.GetNode(id);
            if (node && Vec2<int>(node->rect.x, node->rect.y) != place)
                change.nodes.push_back(id);
        }
        if (!change.nodes.empty())
            m_changes.push_back(std::move(change));
    }
    i_AddSelectionChange(m_selectionBefore);
    i_Stop();
    i_Tell();
}

void GuiNodeWidget::i_FinishPress()
{
    if (m_deselects)
        m_graph.SetSelected(m_pressed, false);
    else if ((m_startModifiers & kGuiControl) == 0)
    {
        m_graph.SelectAll(false);
        m_graph.SetSelected(m_pressed, true);
    }
}

bool GuiNodeWidget::i_IsTarget(const GuiNodeHit& hit) const
{
    const auto wanted =
        m_link.start.part == GuiNodeHit::Part::Output ? GuiNodeHit::Part::Input : GuiNodeHit::Part::Output;
    return hit.part == wanted && !std::binary_search(m_link.blocked.begin(), m_link.blocked.end(), hit.node);
}

GuiNodeLink GuiNodeWidget::i_LinkTo(const GuiNodeHit& hit) const
{
    const GuiNodeHit& start = m_link.start;
    if (start.part == GuiNodeHit::Part::Output)
        return {start.node, start.pin, hit.node, hit.pin};
    return {hit.node, hit.pin, start.node, start.pin};
}

void GuiNodeWidget::i_RemoveLink(const GuiNodeLink& link)
{
    if (m_graph.RemoveLink(link))
        m_changes.push_back({Change::Kind::LinkRemoved, link});
}

void GuiNodeWidget::i_FinishLink(const GuiNodeHit& hit)
{
    if (!IsPin(hit))
        return i_RemoveLink(m_link.old);
    const GuiNodeLink link = i_LinkTo(hit);
    if (!i_IsTarget(hit) || !m_graph.CanLink(link, true) || m_graph.GetLinkTo(link.to, link.input) == link)
        return;
    i_RemoveLink(m_link.old);
    i_RemoveLink(m_graph.GetLinkTo(link.to, link.input));
    if (m_graph.AddLink(link))
        m_changes.push_back({Change::Kind::LinkAdded, link});
}

// As it was before the mouse went down.
void GuiNodeWidget::i_Cancel()
{
    if (m_action == Action::None)
        return;
    if (m_action == Action::Move)
    {
        for (const auto& [id, place] : m_moved)
            m_graph.SetPosition(id, place);
    }
    else if (m_action == Action::Pan)
        m_graph.SetView(m_startView);
    m_graph.SelectAll(false);
    for (const GuiNodeId id : m_selectionBefore)
        m_graph.SetSelected(id, true);
    i_Stop();
}

void GuiNodeWidget::i_Stop()
{
    m_action = Action::None;
    m_isKeyLink = false;
    SetCursor(GuiCursor::Arrow);
    myReleaseInput();
    Redraw();
}

void GuiNodeWidget::SetVisible(bool visible)
{
    GuiWidget::SetVisible(visible);
    if (!visible)
        i_Cancel();
}

void GuiNodeWidget::SetLocked(bool locked)
{
    GuiWidget::SetLocked(locked);
    if (locked)
        i_Cancel();
}

// Listener

void GuiNodeWidget::i_AddSelectionChange(const std::vector<GuiNodeId>& before)
{
    if (m_graph.GetSelection() != before)
        m_changes.push_back({Change::Kind::Selected});
}

// The last thing that is done about an input: afterwards there may be no widget any more.
void GuiNodeWidget::i_Tell()
{
    const std::shared_ptr<GuiNodeWidget*> self = m_self;
    const std::shared_ptr<GuiNodeListener*> listener = m_listener;
    const std::vector<Change> changes = std::exchange(m_changes, {});
    for (const Change& change : changes)
    {
        if (!listener || !*listener || !*self)
            return;
        i_TellOf(**listener, change);
    }
}

void GuiNodeWidget::i_TellOf(GuiNodeListener& listener, const Change& change)
{
    switch (change.kind)
    {
    case Change::Kind::Moved: listener.OnNodesMoved(*this, change.nodes); break;
    case Change::Kind::LinkAdded: listener.OnLinkAdded(*this, change.link); break;
    case Change::Kind::LinkRemoved: listener.OnLinkRemoved(*this, change.link); break;
    case Change::Kind::Deleted: listener.OnNodesDeleted(*this, change.nodes); break;
    case Change::Kind::Selected: listener.OnSelectionChanged(*this); break;
    }
}

void GuiNodeWidget::mySave(GuiStream& stream) const
{
    stream.WriteOptionalQuotedString(m_graph.WriteText());
}

void GuiNodeWidget::myLoad(GuiStream& stream)
{
    const std::int32_t start = stream.GetDataPosition();
    if (std::string text; stream.ReadOptionalQuotedString(text) && m_graph.ReadText(text) > 0)
        stream.MarkFault(start);
}
} // namespace gui
