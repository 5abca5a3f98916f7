#include "gameengine/gui/guiWidget/guiContext.h"
#include "gameengine/gui/guiWidget/guiLayout.h"
#include "gameengine/gui/guiWidget/guiNodeWidget.h"
#include "gameengine/gui/guiWidget/guiShortenInternal.h"

#include <algorithm>
#include <array>
#include <cmath>

namespace gui
{
namespace
{
constexpr int kGridStep = 64;
constexpr int kNameInset = 12;
constexpr double kLeastHandle = 30.0; // of a curve, in the graph
constexpr double kGreatestHandle = 200.0;
constexpr double kFlatness = 0.3; // pixels
constexpr int kMostSplits = 16;
// From these on there are titles, names of pins, text of the style's size, and large text.
constexpr int kTitlePercent = 50;
constexpr int kNamePercent = 70;
constexpr int kTextPercent = 80;
constexpr int kLargeTextPercent = 150;

Color WithAlpha(Color color, Color alpha)
{
    return (color & 0x00FFFFFFU) | alpha << 24U;
}

using Curve = std::array<Vec2<double>, 4>;

Vec2<double> Middle(Vec2<double> a, Vec2<double> b)
{
    return {(a.x + b.x) * 0.5, (a.y + b.y) * 0.5};
}

// A curve lies within the box around its four points.
bool MayBeSeen(const Curve& curve, const GuiRecti& seen)
{
    constexpr double kMargin = 2.0;
    const auto reaches = [&curve](double Vec2<double>::*axis, int low, int high)
    {
        const double least = std::min({curve[0].*axis, curve[1].*axis, curve[2].*axis, curve[3].*axis});
        const double most = std::max({curve[0].*axis, curve[1].*axis, curve[2].*axis, curve[3].*axis});
        return least - kMargin <= high && most + kMargin >= low;
    };
    return reaches(&Vec2<double>::x, seen.x, seen.BR().x) && reaches(&Vec2<double>::y, seen.y, seen.BR().y);
}

bool IsFlat(const Curve& curve)
{
    const auto deviation = [&curve](double Vec2<double>::*axis)
    {
        const double first = 3.0 * curve[1].*axis - 2.0 * curve[0].*axis - curve[3].*axis;
        const double second = 3.0 * curve[2].*axis - 2.0 * curve[3].*axis - curve[0].*axis;
        return std::max(first * first, second * second);
    };
    return deviation(&Vec2<double>::x) + deviation(&Vec2<double>::y) <= 16.0 * kFlatness * kFlatness;
}

Vec2<int> Round(Vec2<double> point)
{
    return {static_cast<int>(std::lround(point.x)), static_cast<int>(std::lround(point.y))};
}

// Halves the curve until the halves are straight; those beside the screen end there.
bool DrawCurve(Draw& draw, const GuiRecti& seen, const Curve& curve, Color color, float width, int splits)
{
    if (!MayBeSeen(curve, seen))
        return false;
    if (splits == kMostSplits || IsFlat(curve))
    {
        draw.Line(Round(curve[0]), Round(curve[3]), color, width);
        return true;
    }
    const Vec2<double> first = Middle(curve[0], curve[1]);
    const Vec2<double> center = Middle(curve[1], curve[2]);
    const Vec2<double> last = Middle(curve[2], curve[3]);
    const Vec2<double> early = Middle(first, center);
    const Vec2<double> late = Middle(center, last);
    const Vec2<double> middle = Middle(early, late);
    const bool isFirst = DrawCurve(draw, seen, {curve[0], first, early, middle}, color, width, splits + 1);
    const bool isSecond = DrawCurve(draw, seen, {middle, late, last, curve[3]}, color, width, splits + 1);
    return isFirst || isSecond;
}

// A widget may reach far beyond the screen.
GuiRecti GetSeen(const GuiRecti& rect, const GuiRecti& screen)
{
    const Vec2<int> low{std::max(rect.x, screen.x), std::max(rect.y, screen.y)};
    const Vec2<int> high{std::min(rect.BR().x, screen.BR().x), std::min(rect.BR().y, screen.BR().y)};
    return {low.x, low.y, std::max(high.x - low.x, 0), std::max(high.y - low.y, 0)};
}
} // namespace

void GuiNodeWidget::Render()
{
    i_Measure();
    const GuiStyleData& style = myGetStyle();
    const GuiRecti rect = GetRect();
    Draw& draw = myGetDraw();
    m_drawn = {};
    m_seen = GetSeen(rect, GetContext().GetRoot().GetRect());
    draw.PushClip(rect);
    draw.FillRect(rect, style.panel);
    i_DrawGrid();
    i_DrawLinks();
    const Vec2<int> low = ToGraph({m_seen.x, m_seen.y});
    const Vec2<int> high = ToGraph(m_seen.BR());
    m_graph.FindNodes({low.x, low.y, high.x - low.x + 1, high.y - low.y + 1}, m_found);
    for (const GuiNodeId id : m_found)
        i_DrawNode(*m_graph.GetNode(id));
    m_drawn.x = static_cast<int>(m_found.size());
    if (m_action == Action::Link)
        i_DrawLooseLink();
    if (m_action == Action::Frame)
    {
        const GuiRecti frame = i_ToScreenRect(i_GetFrame());
        draw.FillRect(frame, WithAlpha(style.accent, 0x30));
        draw.FrameRect(frame, style.accent);
    }
    draw.FrameRect(rect, myIsFocusWidget() && !IsLocked() ? style.accent : style.border);
    draw.PopClip();
}

GuiRecti GuiNodeWidget::i_ToScreenRect(const GuiRecti& rect) const
{
    const Vec2<int> low = ToScreen({rect.x, rect.y});
    const Vec2<int> high = ToScreen({rect.x + rect.w, rect.y + rect.h});
    return {low.x, low.y, high.x - low.x, high.y - low.y};
}

int GuiNodeWidget::i_GetTextFont() const
{
    const int percent = m_graph.GetView().percent;
    if (percent >= kLargeTextPercent)
        return TFB_SEGOE_16;
    return percent >= kTextPercent ? myGetStyle().font : TFB_PIXEL;
}

void GuiNodeWidget::i_DrawGrid()
{
    const Color color = WithAlpha(myGetStyle().border, 0x50);
    // Far away, with wider meshes.
    const int step = m_graph.GetView().percent < kTitlePercent ? 4 * kGridStep : kGridStep;
    const auto first = [step](int value) { return (value / step - 1) * step; };
    const Vec2<int> low = ToGraph({m_seen.x, m_seen.y});
    const Vec2<int> high = ToGraph(m_seen.BR());
    for (int x = first(low.x); x <= high.x; x += step)
        myGetDraw().FillRect({ToScreen({x, 0}).x, m_seen.y, 1, m_seen.h}, color);
    for (int y = first(low.y); y <= high.y; y += step)
        myGetDraw().FillRect({m_seen.x, ToScreen({0, y}).y, m_seen.w, 1}, color);
}

void GuiNodeWidget::i_DrawLinks()
{
    const GuiStyleData& style = myGetStyle();
    m_graph.VisitLinks(
        [&](const GuiNodeLink& link, const GuiNode& from, const GuiNode& to)
        {
            if (m_action == Action::Link && link == m_link.old)
                return;
            const Color color = from.isSelected || to.isSelected ? style.accent : style.textDisabled;
            if (i_DrawCurve(ToScreen(m_graph.GetOutputPlace(from, link.output)),
                            ToScreen(m_graph.GetInputPlace(to, link.input)), color))
                ++m_drawn.y;
        });
}

// From left to right. False when nothing of it can be seen.
bool GuiNodeWidget::i_DrawCurve(Vec2<int> from, Vec2<int> to, Color color)
{
    const double zoom = i_GetZoom();
    const Vec2<double> start(from.x, from.y);
    const Vec2<double> end(to.x, to.y);
    const double handle = std::clamp(std::abs(end.x - start.x) * 0.5, kLeastHandle * zoom, kGreatestHandle * zoom);
    const Curve curve{start, {start.x + handle, start.y}, {end.x - handle, end.y}, end};
    return DrawCurve(myGetDraw(), m_seen, curve, color, zoom < 0.5 ? 1.0F : 2.0F, 0);
}

void GuiNodeWidget::i_DrawNode(const GuiNode& node)
{
    const GuiStyleData& style = myGetStyle();
    const GuiRecti rect = i_ToScreenRect(node.rect);
    const float zoom = i_GetZoom();
    const int titleHeight = static_cast<int>(static_cast<float>(GuiNodeGraph::kTitleHeight) * zoom);
    const int inset = static_cast<int>(kNameInset * zoom);
    Draw& draw = myGetDraw();
    draw.FillRoundRect(rect, style.radius, style.background);
    const Color titleColor = node.isSelected ? style.selection : style.titleBar;
    draw.FillRoundRect({rect.x, rect.y, rect.w, titleHeight}, style.radius, titleColor);
    draw.FillRect({rect.x, rect.y + titleHeight / 2, rect.w, titleHeight - titleHeight / 2}, titleColor);
    const bool isHot = m_hot.part == GuiNodeHit::Part::Body && m_hot.node == node.id && m_action == Action::None;
    draw.FrameRoundRect(rect, style.radius, node.isSelected || isHot ? style.accent : style.border);
    if (m_graph.GetView().percent >= kTitlePercent)
    {
        const int font = i_GetTextFont();
        draw.Text(rect.x + inset, rect.y + (titleHeight - draw.GetLineHeight(font)) / 2,
                  Shorten(draw, node.title, rect.w - 2 * inset, font, m_shortened),
                  IsLocked() ? style.textDisabled : style.text, font);
    }
    i_DrawPins(node, true);
    i_DrawPins(node, false);
}

void GuiNodeWidget::i_DrawPins(const GuiNode& node, bool areInputs)
{
    const GuiStyleData& style = myGetStyle();
    Draw& draw = myGetDraw();
    const int font = i_GetTextFont();
    const int lineHeight = draw.GetLineHeight(font);
    const int inset = static_cast<int>(kNameInset * i_GetZoom());
    const int fullWidth = i_ToScreenRect(node.rect).w - 2 * inset;
    const std::vector<std::string>& names = areInputs ? node.inputs : node.outputs;
    const std::vector<std::string>& others = areInputs ? node.outputs : node.inputs;
    for (int i = 0; static_cast<std::size_t>(i) < names.size(); ++i)
    {
        const auto index = static_cast<std::size_t>(i);
        const Vec2<int> place = ToScreen(areInputs ? m_graph.GetInputPlace(node, i) : m_graph.GetOutputPlace(node, i));
        if (place.y + lineHeight < m_seen.y || place.y - lineHeight > m_seen.y + m_seen.h)
            continue;
        const auto part = areInputs ? GuiNodeHit::Part::Input : GuiNodeHit::Part::Output;
        i_DrawPin(place, {part, node.id, i}, areInputs && m_graph.GetLinkTo(node.id, i).from != 0);
        if (m_graph.GetView().percent < kNamePercent)
            continue;
        // What the one on the other side leaves over, but half of it at least.
        const int other = index < others.size() ? draw.GetTextWidth(others[index], font) + inset / 2 : 0;
        const int room = std::max(fullWidth - other, fullWidth / 2);
        const std::string_view name = Shorten(draw, names[index], room, font, m_shortened);
        const int x = areInputs ? place.x + inset : place.x - inset - draw.GetTextWidth(name, font);
        draw.Text(x, place.y - lineHeight / 2, name, IsLocked() ? style.textDisabled : style.text, font);
    }
}

void GuiNodeWidget::i_DrawPin(Vec2<int> place, const GuiNodeHit& pin, bool isLinked)
{
    const GuiStyleData& style = myGetStyle();
    const bool isTarget = m_action == Action::Link && i_IsTarget(pin);
    const bool isHot = pin == m_hot && (isTarget || m_action == Action::None);
    const auto radius =
        static_cast<int>(std::lround(static_cast<float>(GuiNodeGraph::kPinRadius + (isHot ? 2 : 0)) * i_GetZoom()));
    const GuiRecti rect(place.x - radius, place.y - radius, 2 * radius + 1, 2 * radius + 1);
    Color color = isLinked ? style.textDisabled : style.face;
    if (isTarget || isHot)
        color = style.accent;
    myGetDraw().FillRoundRect(rect, radius, color);
    myGetDraw().FrameRoundRect(rect, radius, isHot ? style.accentText : style.border);
}

void GuiNodeWidget::i_DrawLooseLink()
{
    const GuiNode* const node = m_graph.GetNode(m_link.start.node);
    if (!node)
        return;
    const bool isFromOutput = m_link.start.part == GuiNodeHit::Part::Output;
    const Vec2<int> start = ToScreen(isFromOutput ? m_graph.GetOutputPlace(*node, m_link.start.pin)
                                                  : m_graph.GetInputPlace(*node, m_link.start.pin));
    Vec2<int> end = m_lastMouse;
    // Over a pin that takes it, it snaps there.
    const GuiNode* const target = i_IsTarget(m_hot) ? m_graph.GetNode(m_hot.node) : nullptr;
    if (target)
        end = ToScreen(isFromOutput ? m_graph.GetInputPlace(*target, m_hot.pin)
                                    : m_graph.GetOutputPlace(*target, m_hot.pin));
    const Color color = target ? myGetStyle().accent : myGetStyle().text;
    i_DrawCurve(isFromOutput ? start : end, isFromOutput ? end : start, color);
}
} // namespace gui
