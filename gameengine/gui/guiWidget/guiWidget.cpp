#include "gameengine/gui/guiWidget/guiWidget.h"

#include "gameengine/gui/guiWidget/guiContext.h"
#include "gameengine/gui/guiWidget/guiLayout.h"
#include "gameengine/gui/guiWidget/guiStream.h"
#include "tamradeps/core/assertion.h"

#include <algorithm>
#include <array>
#include <utility>

namespace gui
{
namespace
{
constexpr const char* kModule = "gameengine/gui/guiWidget";
constexpr std::array<std::pair<const char*, std::uint32_t>, 4> kAnchorNames = {
    {{"LEFT", kAnchorLeft}, {"RIGHT", kAnchorRight}, {"TOP", kAnchorTop}, {"BOTTOM", kAnchorBottom}}};
constexpr std::array<std::string_view, 6> kDockNames = {"NONE", "LEFT", "RIGHT", "TOP", "BOTTOM", "CENTER"};

// What does not fit an integer, or is no number, is cut to what does.
int Truncate(float value)
{
    // The greatest of nine digits: those and a sign are what a stream reads back.
    constexpr float kMost = 999'999'936.0F;
    if (!(value > -kMost))
        return value < 0.0F ? static_cast<int>(-kMost) : 0;
    return static_cast<int>(value < kMost ? value : kMost);
}

std::string JoinAnchors(std::uint32_t mask)
{
    std::string text;
    for (const auto& [name, bit] : kAnchorNames)
    {
        if ((mask & bit) != 0)
            text.append(name).append("|");
    }
    if (text.empty())
        return "NONE";
    text.pop_back();
    return text;
}

// The edges that the text names; false when there are other names in it.
bool SplitAnchors(std::string_view text, std::uint32_t& mask)
{
    mask = 0;
    bool areKnown = true;
    if (text == "NONE")
        return true;
    for (std::size_t start = 0; start <= text.size();)
    {
        const std::size_t end = std::min(text.find('|', start), text.size());
        const auto known =
            std::find_if(kAnchorNames.begin(), kAnchorNames.end(),
                         [&](const auto& anchor) { return text.substr(start, end - start) == anchor.first; });
        if (known != kAnchorNames.end())
            mask |= known->second;
        else
            areKnown = false;
        start = end + 1;
    }
    return areKnown;
}

bool FindDock(std::string_view text, GuiDock& dock)
{
    const auto known = std::find(kDockNames.begin(), kDockNames.end(), text);
    if (known == kDockNames.end())
        return false;
    dock = static_cast<GuiDock>(known - kDockNames.begin());
    return true;
}
} // namespace

GuiWidget::GuiWidget(GuiContext& context, GuiStyle style, const GuiRecti& rect, GuiSizePolicy sizePolicy)
    : m_style(style),
      m_context(&context),
      m_sizePolicy(sizePolicy),
      m_preferredSize(ToFloat(rect).Size()),
      m_rect(rect),
      m_layoutRect(ToFloat(rect))
{
}

GuiWidget::~GuiWidget()
{
    m_context->ForgetWidget(this);
}

void GuiWidget::AdjustLayout() {}

void GuiWidget::OnUpdateLayout(const GuiRectf& rect)
{
    m_layoutRect = rect;
}

void GuiWidget::OnUpdateRect(const GuiRecti& rect)
{
    if (m_rect == rect)
        return;
    m_rect = rect;
    if (m_owner)
        m_owner->OnChildMoved();
    m_context->RequestPicture();
}

void GuiWidget::OnKeyPress(unsigned) {}
void GuiWidget::OnKeyRelease(unsigned) {}
void GuiWidget::OnMouseClick(unsigned) {}
void GuiWidget::OnMouseRelease(unsigned) {}

GuiWidget* GuiWidget::GetHoverWidget(int x, int y)
{
    return m_isVisible && m_rect.Holds({x, y}) ? this : nullptr;
}

void GuiWidget::Tick(float) {}
void GuiWidget::Render() {}
void GuiWidget::RenderOverlay() {}

void GuiWidget::SetVisible(bool visible)
{
    if (m_isVisible == visible)
        return;
    m_isVisible = visible;
    InvalidateLayout();
}

void GuiWidget::SetLocked(bool locked)
{
    if (m_isLocked == locked)
        return;
    m_isLocked = locked;
    Redraw();
}

GuiRecti GuiWidget::GetContainingRect() const
{
    return m_rect;
}

void GuiWidget::mySave(GuiStream&) const {}
void GuiWidget::myLoad(GuiStream&) {}

GuiCallback* GuiWidget::GetCallback() const noexcept
{
    return m_callback ? *m_callback : nullptr;
}

void GuiWidget::SetCallback(GuiCallback* callback)
{
    m_callback = callback ? callback->GetSelf() : nullptr;
}

void GuiWidget::SetStyle(GuiStyle style)
{
    m_style = style;
    if (m_asLayout) // its measures
        InvalidateLayout();
    Redraw();
}

void GuiWidget::SetTicking(bool ticking)
{
    m_context->SetTicking(*this, ticking);
}

void GuiWidget::SetOverlay(bool overlay)
{
    m_context->SetOverlay(*this, overlay);
}

void GuiWidget::SetSizePolicy(GuiSizePolicy policy)
{
    m_sizePolicy = policy;
    InvalidateLayout();
}

GuiRecti GuiWidget::GetLayoutRectInteger() const noexcept
{
    return {Truncate(m_layoutRect.x), Truncate(m_layoutRect.y), Truncate(m_layoutRect.w), Truncate(m_layoutRect.h)};
}

void GuiWidget::SetRect(const GuiRecti& rect)
{
    SetPreferredSize(ToFloat(rect).Size());
    OnUpdateLayout(ToFloat(rect));
    OnUpdateRect(rect);
}

void GuiWidget::SetRect(const GuiRectf& rect)
{
    SetPreferredSize(rect.Size());
    OnUpdateLayout(rect);
    OnUpdateRect(GetLayoutRectInteger());
}

void GuiWidget::PlaceAt(const GuiRectf& rect)
{
    const int x = Truncate(rect.x);
    const int y = Truncate(rect.y);
    OnUpdateLayout(rect);
    OnUpdateRect({x, y, Truncate(rect.x + rect.w) - x, Truncate(rect.y + rect.h) - y});
}

void GuiWidget::SetPreferredSize(Vec2<float> size)
{
    if (m_preferredSize == size)
        return;
    m_preferredSize = size;
    InvalidateLayout();
}

void GuiWidget::SetMinimumSize(Vec2<float> size)
{
    if (m_minimumSize == size)
        return;
    m_minimumSize = size;
    InvalidateLayout();
}

Vec2<int> GuiWidget::GetRelativePos() const noexcept
{
    return m_parent ? m_parent->ConvertAbsoluteToRelative(m_rect.x, m_rect.y) : Vec2<int>(m_rect.x, m_rect.y);
}

void GuiWidget::SetDockPosition(GuiDock dock)
{
    m_dock = dock;
    InvalidateLayout();
}

void GuiWidget::SetAnchorMask(std::uint32_t mask)
{
    m_anchorMask = mask;
    m_dock = GuiDock::None;
    InvalidateLayout();
}

GuiWidget* GuiWidget::FindChild(std::string_view id)
{
    if (m_id == id)
        return this;
    const GuiLayout* layout = m_asLayout;
    if (!layout)
        return nullptr;
    for (std::size_t i = 0; i < layout->GetChildCount(); ++i)
    {
        if (layout->GetChild(i)->m_id == id)
            return layout->GetChild(i);
    }
    for (std::size_t i = 0; i < layout->GetChildCount(); ++i)
    {
        if (GuiWidget* found = layout->GetChild(i)->FindChild(id))
            return found;
    }
    return nullptr;
}

GuiWidget* GuiWidget::FindChildNotNull(std::string_view id)
{
    GuiWidget* const found = FindChild(id);
    if (!found)
        AssertionFailed(kModule, 411);
    return found;
}

void GuiWidget::DestroySelf()
{
    if (m_owner && m_owner->RemoveChild(this)) // deletes it
        return;
    delete this;
}

int GuiWidget::GetDepth() const noexcept
{
    int depth = 0;
    for (const GuiWidget* widget = m_parent; widget; widget = widget->m_parent)
        ++depth;
    return depth;
}

bool GuiWidget::IsWithin(const GuiWidget& other) const noexcept
{
    const GuiWidget* widget = this;
    while (widget && widget != &other)
        widget = widget->m_parent;
    return widget != nullptr;
}

bool GuiWidget::IsShown() const
{
    const GuiWidget* widget = this;
    while (widget->m_isVisible && widget->m_parent)
        widget = widget->m_parent;
    return widget->m_isVisible && widget == &m_context->GetRoot();
}

bool GuiWidget::Save(GuiStream& stream) const
{
    const int depth = GetDepth();
    // The table is for whoever reads and writes with the same stream; saving changes nothing of the widget.
    if (!stream.SetParent(depth, const_cast<GuiWidget*>(this)))
        return false;
    stream.WriteNumberOfTabs(depth);
    stream.WriteSimpleString(GetTypeString());
    mySave(stream);
    stream.WriteQuotedString(m_id);
    const GuiRecti rect = GetLayoutRectInteger();
    for (const int value : {rect.x, rect.y, rect.w, rect.h})
        stream.WriteInteger(value);
    stream.WriteSimpleString(JoinAnchors(m_anchorMask));
    const auto dock = static_cast<std::size_t>(m_dock);
    stream.WriteSimpleString(kDockNames[dock < kDockNames.size() ? dock : 0]);
    for (const int value : {m_sizePolicy.horizontal, m_sizePolicy.vertical, m_style})
        stream.WriteInteger(value);
    stream.WriteNewline();
    return true;
}

bool GuiWidget::Load(GuiStream& stream)
{
    const int depth = stream.ReadNumberOfTabs();
    std::string word;
    stream.ReadSimpleString(word);
    if (word != GetTypeString() || depth >= GuiStream::kMaxDepth)
        return false;
    if (depth > 0)
        SetParent(stream.GetParent(depth - 1));
    stream.SetParent(depth, this);
    myLoad(stream);
    stream.ReadQuotedString(m_id);
    GuiRecti rect = GetLayoutRectInteger();
    for (int* value : {&rect.x, &rect.y, &rect.w, &rect.h})
        stream.ReadInteger(*value);
    m_preferredSize = ToFloat(rect).Size();
    OnUpdateLayout(ToFloat(rect));
    std::int32_t start = stream.GetDataPosition();
    if (stream.ReadSimpleString(word) && !SplitAnchors(word, m_anchorMask))
        stream.MarkFault(start);
    start = stream.GetDataPosition();
    if (stream.ReadSimpleString(word) && !FindDock(word, m_dock))
        stream.MarkFault(start);
    stream.ReadInteger(m_sizePolicy.horizontal);
    stream.ReadInteger(m_sizePolicy.vertical);
    stream.ReadInteger(m_style);
    Redraw();
    return true;
}

void GuiWidget::InvalidateLayout()
{
    m_context->RequestPicture();
    if (m_asLayout && m_owner)
        m_owner->m_needsLayout = true;
    GuiLayout* const layout = m_asLayout ? m_asLayout : m_owner;
    if (!layout)
        return;
    layout->m_needsLayout = true;
    for (GuiLayout* above = layout->m_owner; above && !above->m_childNeedsLayout; above = above->m_owner)
        above->m_childNeedsLayout = true;
}

void GuiWidget::Redraw()
{
    m_context->RequestRedraw(*this);
}

void GuiWidget::myPassKey(unsigned key)
{
    if (m_parent)
        m_parent->OnKeyPress(key);
}

void GuiWidget::myPassClick(unsigned button)
{
    if (m_parent)
        m_parent->OnMouseClick(button);
}

void GuiWidget::myEmitEvent(std::string_view name, GuiEvent event)
{
    if (!event.source)
        event.source = this;
    for (GuiWidget* widget = this; widget; widget = widget->m_parent)
    {
        if (GuiCallback* const callback = widget->GetCallback())
        {
            m_context->PostEvent(callback, name, event);
            return;
        }
    }
}

Draw& GuiWidget::myGetDraw() const
{
    return m_context->GetDraw();
}
Vec2<int> GuiWidget::myGetMousePos() const
{
    return m_context->GetMousePos();
}
const GuiStyleData& GuiWidget::myGetStyle() const
{
    return m_context->GetStyleData(m_style);
}
void GuiWidget::myGrabFocus()
{
    m_context->GrabFocus(this);
}
void GuiWidget::myReleaseFocus()
{
    if (myIsFocusWidget())
        m_context->GrabFocus(nullptr);
}
void GuiWidget::myGrabInput()
{
    m_context->GrabInput(this);
}
void GuiWidget::myReleaseInput()
{
    if (myIsInputWidget())
        m_context->GrabInput(nullptr);
}
bool GuiWidget::myIsFocusWidget() const
{
    return m_context->GetFocusWidget() == this;
}
bool GuiWidget::myIsHoverWidget() const
{
    return m_context->GetHoverWidget() == this;
}
bool GuiWidget::myIsInputWidget() const
{
    return m_context->GetInputWidget() == this;
}
bool GuiWidget::myIsKeyDown(unsigned key) const
{
    return m_context->IsKeyDown(key);
}
bool GuiWidget::myIsMouseDown(unsigned button) const
{
    return m_context->IsMouseDown(button);
}

void GuiWidget::myDrawArrow(float x, float y, int size, Color color)
{
    const float half = static_cast<float>(size) * 0.5F;
    myGetDraw().FillTriangle({x - half, y - half * 0.5F}, {x + half, y - half * 0.5F}, {x, y + half * 0.5F}, color);
}

void GuiWidget::myDrawButton(const GuiRecti& rect, bool isHovered, bool isPressed, bool isLocked, bool isFocused)
{
    const GuiStyleData& style = myGetStyle();
    Color face = isHovered ? style.faceHover : style.face;
    if (isPressed)
        face = style.facePressed;
    if (isLocked)
        face = style.background;
    myGetDraw().FillRoundRect(rect, style.radius, face);
    myGetDraw().FrameRoundRect(rect, style.radius, isFocused && !isLocked ? style.accent : style.border);
}

void IterateOverWidgets(GuiWidget& root, void (*function)(GuiWidget& widget, void* user), void* user)
{
    function(root, user);
    if (const GuiLayout* layout = root.AsLayout())
    {
        for (std::size_t i = 0; i < layout->GetChildCount(); ++i)
            IterateOverWidgets(*layout->GetChild(i), function, user);
    }
}
} // namespace gui
