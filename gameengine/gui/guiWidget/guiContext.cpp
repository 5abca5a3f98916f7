#include "gameengine/gui/guiWidget/guiContext.h"

#include "gameengine/gui/guiWidget/guiFocusInternal.h"
#include "gameengine/gui/guiWidget/guiInputInternal.h"
#include "gameengine/gui/guiWidget/guiLayout.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <map>
#include <utility>
#include <vector>

namespace gui
{
namespace
{
constexpr float kToolTipDelay = 0.5F; // seconds
constexpr std::size_t kManyRedrawn = 1024;
constexpr Vec2<int> kToolTipOffset{12, 18};

// Null, or a place that turns null with the widget.
using WidgetReference = std::shared_ptr<GuiWidget*>;

GuiWidget* Resolve(const WidgetReference& reference)
{
    return reference ? *reference : nullptr;
}

struct Posted
{
    std::shared_ptr<GuiCallback*> callback;
    WidgetReference source;
    std::string name;
    GuiEvent event;
};

struct Modal
{
    GuiWidget* widget;
    WidgetReference focusBefore;
};

// Each widget knows its place, so that twenty thousand of them leave as fast as they came. Who leaves while somebody
// goes through the list leaves a null, which the next pass closes up.
class CWidgetList
{
public:
    explicit CWidgetList(int GuiWidget::*place) : m_place(place) {}

    void Add(GuiWidget& widget)
    {
        if (widget.*m_place >= 0)
            return;
        widget.*m_place = static_cast<int>(m_widgets.size());
        m_widgets.push_back(&widget);
    }
    void Remove(GuiWidget& widget)
    {
        if (const int place = std::exchange(widget.*m_place, -1); place >= 0)
            m_widgets[static_cast<std::size_t>(place)] = nullptr;
    }
    void Set(GuiWidget& widget, bool isIn) { isIn ? Add(widget) : Remove(widget); }
    void CloseUp()
    {
        std::erase(m_widgets, nullptr);
        for (std::size_t i = 0; i < m_widgets.size(); ++i)
            m_widgets[i]->*m_place = static_cast<int>(i);
    }
    void Clear()
    {
        CloseUp();
        for (GuiWidget* const widget : m_widgets)
            widget->*m_place = -1;
        m_widgets.clear();
    }
    std::size_t GetSize() const noexcept { return m_widgets.size(); }
    GuiWidget* operator[](std::size_t i) const { return m_widgets[i]; }

private:
    int GuiWidget::*m_place;
    std::vector<GuiWidget*> m_widgets;
};

} // namespace

class GuiContextI final : public GuiContext
{
public:
    explicit GuiContextI(Draw& draw) : m_draw(draw), m_picture(draw.CreatePicture())
    {
        m_styles.fill(GuiStyleData::MakeDark());
        m_styles[kStyleLight] = GuiStyleData::MakeLight();
        m_root = std::make_unique<GuiFreeLayout>(*this);
        m_root->SetId("__root");
    }

    ~GuiContextI() override
    {
        if (m_died)
            *m_died = true;
        m_root = nullptr; // while there is still somebody to forget the widgets
    }

    void PushKeyPress(unsigned key) override { m_queue.PushKeyPress(key); }
    void PushKeyRelease(unsigned key) override { m_queue.PushKeyRelease(key); }
    void PushMouseClick(unsigned button) override { m_queue.PushMouseClick(button); }
    void PushMouseRelease(unsigned button) override { m_queue.PushMouseRelease(button); }
    void PushKeyChar(unsigned character) override { m_queue.PushKeyChar(character); }
    void SetMousePos(int x, int y) override
    {
        m_queue.SetMousePos(x, y);
        if (!m_delivered)
            m_mouse = m_queue.GetMousePos();
    }
    Vec2<int> GetMousePos() const override { return m_mouse; }
    bool IsKeyDown(unsigned key) const override { return m_queue.IsKeyDown(key); }
    bool IsMouseDown(unsigned button) const override { return m_queue.IsMouseDown(button); }
    unsigned GetModifiers() const override { return m_delivered ? m_delivered->modifiers : m_queue.GetModifiers(); }
    int GetClickCount() const override { return m_delivered ? m_delivered->clickCount : 0; }
    bool IsKeyRepeated() const override { return m_delivered && m_delivered->isRepeated; }
    void SetKeyRepeat(float delay, float interval) override { m_queue.SetKeyRepeat(delay, interval); }

    void SetClipboardAccess(std::function<void(const std::string&)> set, std::function<std::string()> get) override
    {
        m_setClipboard = std::move(set);
        m_getClipboard = std::move(get);
    }
    void SetClipboard(std::string_view text) override
    {
        if (m_setClipboard)
            m_setClipboard(std::string(text));
        else
            m_clipboard = text;
    }
    std::string GetClipboard() const override { return m_getClipboard ? m_getClipboard() : m_clipboard; }
    GuiCursor GetCursor() const override
    {
        const GuiWidget* const widget = m_input ? m_input : m_hover;
        return widget ? widget->GetCursor() : GuiCursor::Arrow;
    }

    GuiWidget* GetHoverWidget() const override { return m_hover; }
    GuiWidget* GetFocusWidget() const override { return m_focus; }
    GuiWidget* GetInputWidget() const override { return m_input; }
    void GrabInput(GuiWidget* widget) override { m_input = widget; }
    void GrabFocus(GuiWidget* widget) override { i_Change(m_focus, widget); }
    void MoveFocus(int step) override { GrabFocus(FindNextFocus(i_GetScope(), m_focus, step)); }
    void SetModal(GuiWidget& widget, bool modal) override;
    GuiWidget* GetModal() const override
    {
        const auto last = std::find_if(m_modals.rbegin(), m_modals.rend(),
                                       [](const auto& entry) { return entry.second.widget->IsShown(); });
        return last == m_modals.rend() ? nullptr : last->second.widget;
    }
    bool ReturnFocus(const GuiWidget& modal) override;
    void ForgetWidget(GuiWidget* widget) override;
    void PostEvent(GuiCallback* callback, std::string_view name, const GuiEvent& event) override
    {
        if (!callback)
            return;
        m_queues[m_current].push_back({callback->GetSelf(), i_Refer(event.source), std::string(name), event});
    }

    void Update(float seconds) override;
    void Render(int width, int height) override;

    GuiFreeLayout& GetRoot() override { return *m_root; }
    Draw& GetDraw() override { return m_draw; }
    const GuiStyleData& GetStyleData(GuiStyle style) const override
    {
        return m_styles[style >= 0 && style < kStyleCount ? static_cast<std::size_t>(style) : 0];
    }
    void SetStyleData(GuiStyle style, const GuiStyleData& data) override
    {
        if (style < 0 || style >= kStyleCount)
            return;
        m_styles[static_cast<std::size_t>(style)] = data;
        m_needsPicture = true;
        IterateOverWidgets(
            *m_root,
            [](GuiWidget& widget, void*)
            {
                if (widget.AsLayout())
                    widget.InvalidateLayout();
            },
            nullptr);
    }
    int GetLayoutCount() const override { return m_layoutCount; }
    int GetRenderCount() const override { return m_renderCount; }

    void SetTicking(GuiWidget& widget, bool ticking) override { m_ticking.Set(widget, ticking); }
    void SetOverlay(GuiWidget& widget, bool overlay) override { m_overlays.Set(widget, overlay); }
    void RequestRedraw(GuiWidget& widget) override
    {
        // With many of them everything is drawn, so that their list stays short.
        m_needsPicture = m_needsPicture || widget.AsLayout() || m_redrawn.GetSize() >= kManyRedrawn;
        if (!m_needsPicture)
            m_redrawn.Add(widget);
    }
    void RequestPicture() override { m_needsPicture = true; }
    void RenderWidget(GuiWidget& widget) override;

private:
    static WidgetReference i_Refer(GuiWidget* widget)
    {
        if (widget && !widget->m_self)
            widget->m_self = std::make_shared<GuiWidget*>(widget);
        return widget ? widget->m_self : nullptr;
    }
    // What looks otherwise when it is hovered or in focus; layouts draw what is theirs by themselves.
    void i_Change(GuiWidget*& current, GuiWidget* next)
    {
        if (current == next)
            return;
        for (GuiWidget* const widget : {current, next})
        {
            if (widget && !widget->AsLayout())
                RequestRedraw(*widget);
        }
        current = next;
    }
    GuiWidget& i_GetScope() const
    {
        GuiWidget* const modal = GetModal();
        return modal ? *modal : *m_root;
    }
    // Whoever has the focus keeps it while it is hidden, but hears of no keys.
    GuiWidget* i_GetSeenFocus() const { return m_focus && m_focus->IsShown() ? m_focus : nullptr; }
    void i_UpdateHover();
    void i_HandleInput(const bool& died);
    void i_Deliver(const bool& died);
    void i_DeliverKey(unsigned key);
    bool i_TellLayouts(GuiWidget* target, unsigned button, const bool& died);
    void i_Tick(float seconds, const bool& died);
    void i_DeliverEvents(const bool& died);
    void i_DrawPicture();
    bool i_ReplacePieces();
    bool i_ReplacePiece(GuiWidget& widget);
    void i_RenderToolTip(int width, int height);

    Draw& m_draw;
    std::array<GuiStyleData, kStyleCount> m_styles;

    CGuiInputQueue m_queue;
    std::vector<GuiInput> m_inputs;        // being delivered
    const GuiInput* m_delivered = nullptr; // of these
    Vec2<int> m_mouse;
    GuiWidget* m_hover = nullptr;
    GuiWidget* m_focus = nullptr;
    GuiWidget* m_input = nullptr;
    std::map<std::uint64_t, Modal> m_modals; // in the order in which they became so
    std::uint64_t m_modalCount = 0;          // ever
    std::vector<GuiWidget*> m_told;          // layouts above what was clicked; null when they are gone
    std::function<void(const std::string&)> m_setClipboard;
    std::function<std::string()> m_getClipboard;
    std::string m_clipboard;

    CWidgetList m_ticking{&GuiWidget::m_tickingPlace};
    std::vector<Posted> m_queues[2];
    int m_current = 0;
    int m_layoutCount = 0;
    bool m_isUpdating = false;
    bool* m_died = nullptr; // of the pass under way

    std::shared_ptr<DrawPicture> m_picture; // null: the drawer has none
    unsigned m_pictureNumber = 0;
    bool m_isPicturing = false;
    bool m_needsPicture = true;
    CWidgetList m_redrawn{&GuiWidget::m_redrawnPlace}; // since the last picture
    CWidgetList m_unkept{&GuiWidget::m_unkeptPlace};   // of the picture, drawn anew each time
    CWidgetList m_overlays{&GuiWidget::m_overlayPlace};
    int m_renderCount = 0;
    float m_toolTipTime = 0.0F; // seconds that the mouse rests; below 0 when none is wanted

    std::unique_ptr<GuiFreeLayout> m_root; // last: widgets ask the context until they are gone
};

void GuiContextI::SetModal(GuiWidget& widget, bool modal)
{
    m_modals.erase(std::exchange(widget.m_modalNumber, 0));
    if (!modal)
        return;
    const bool isFocusElsewhere = m_focus && !m_focus->IsWithin(widget);
    widget.m_modalNumber = ++m_modalCount;
    m_modals[widget.m_modalNumber] = {&widget, i_Refer(isFocusElsewhere ? m_focus : nullptr)};
    if (isFocusElsewhere)
        GrabFocus(nullptr);
    if (m_input && !m_input->IsWithin(widget))
        i_Change(m_input, nullptr);
}

bool GuiContextI::ReturnFocus(const GuiWidget& modal)
{
    const auto found = m_modals.find(modal.m_modalNumber);
    GuiWidget* const before = found == m_modals.end() ? nullptr : Resolve(found->second.focusBefore);
    if (!before || !before->IsShown())
        return false;
    GrabFocus(before);
    return true;
}

void GuiContextI::ForgetWidget(GuiWidget* widget)
{
    for (GuiWidget** pointer : {&m_hover, &m_focus, &m_input})
    {
        if (*pointer == widget)
            *pointer = nullptr;
    }
    m_modals.erase(std::exchange(widget->m_modalNumber, 0));
    std::replace(m_told.begin(), m_told.end(), widget, static_cast<GuiWidget*>(nullptr));
    for (CWidgetList* const list : {&m_ticking, &m_overlays, &m_redrawn, &m_unkept})
        list->Remove(*widget);
    if (const WidgetReference self = std::exchange(widget->m_self, nullptr))
        *self = nullptr;
}

void GuiContextI::Update(float seconds)
{
    // A callback may come here again, what is under way goes on afterwards; or end the context.
    if (m_isUpdating)
        return;
    m_isUpdating = true;
    seconds = std::isfinite(seconds) ? std::max(seconds, 0.0F) : 0.0F;
    bool died = false;
    m_died = &died;
    m_queue.Advance(seconds);
    m_toolTipTime += m_toolTipTime < 0.0F ? 0.0F : seconds;
    i_HandleInput(died);
    if (!died)
        i_Tick(seconds, died);
    if (!died)
    {
        m_layoutCount = m_root->UpdateLayout();
        i_DeliverEvents(died);
    }
    if (died)
        return;
    m_died = nullptr;
    m_isUpdating = false;
}

void GuiContextI::i_UpdateHover()
{
    GuiWidget* const hover = i_GetScope().GetHoverWidget(m_mouse.x, m_mouse.y);
    if (hover != m_hover)
        m_toolTipTime = 0.0F;
    i_Change(m_hover, hover);
}

// A widget hears of a click where the mouse was then; in the end it is where it is now.
void GuiContextI::i_HandleInput(const bool& died)
{
    m_queue.Take(m_inputs);
    for (const GuiInput& input : m_inputs)
    {
        m_delivered = &input;
        m_mouse = input.mouse;
        i_UpdateHover();
        i_Deliver(died);
        if (died)
            return;
    }
    m_delivered = nullptr;
    m_mouse = m_queue.GetMousePos();
    i_UpdateHover();
}

void GuiContextI::i_Deliver(const bool& died)
{
    const auto [kind, isRepeated, code, modifiers, clickCount, mouse] = *m_delivered;
    const auto forKeys = [this] { return m_input ? m_input : i_GetSeenFocus(); };
    const auto forMouse = [this] { return m_input ? m_input : m_hover; };
    if (kind != GuiInput::Kind::MouseRelease && kind != GuiInput::Kind::KeyRelease)
        m_toolTipTime = -1.0F;
    switch (kind)
    {
    case GuiInput::Kind::KeyPress: i_DeliverKey(code); break;
    case GuiInput::Kind::KeyRelease:
        if (GuiWidget* const target = forKeys())
            target->OnKeyRelease(code);
        break;
    case GuiInput::Kind::KeyChar:
        if (auto* const receiver = dynamic_cast<GuiTextReceiver*>(i_GetSeenFocus()))
            receiver->OnKeyChar(code);
        break;
    case GuiInput::Kind::MouseClick:
        if (!i_TellLayouts(forMouse(), code, died))
            return;
        if (GuiWidget* const target = forMouse())
            target->OnMouseClick(code);
        break;
    case GuiInput::Kind::MouseRelease:
        if (GuiWidget* const target = forMouse())
            target->OnMouseRelease(code);
        break;
    }
}

void GuiContextI::i_DeliverKey(unsigned key)
{
    GuiWidget* const focus = i_GetSeenFocus();
    const bool wantsTab = focus && focus->TakesTab() && (m_delivered->modifiers & kGuiControl) == 0;
    if (key == kGuiKeyTab && !m_input && !wantsTab)
        MoveFocus((m_delivered->modifiers & kGuiShift) != 0 ? -1 : 1);
    else if (GuiWidget* target = m_input ? m_input : focus)
    {
        // Who is locked has no use for keys, but a window around it may.
        while (target != m_input && target->IsLocked() && target->GetParent())
            target = target->GetParent();
        target->OnKeyPress(key);
    }
    else if (GuiWidget* const modal = GetModal())
        modal->OnKeyPress(key);
}

// Outermost first. False when that was the end of the context.
bool GuiContextI::i_TellLayouts(GuiWidget* target, unsigned button, const bool& died)
{
    m_told.clear();
    for (GuiWidget* widget = target; widget; widget = widget->GetParent())
    {
        if (widget->AsLayout())
            m_told.push_back(widget);
    }
    for (std::size_t i = m_told.size(); i > 0; --i)
    {
        if (GuiWidget* const widget = m_told[i - 1])
            widget->AsLayout()->OnClickBelow(button);
        if (died)
            return false;
    }
    m_told.clear();
    return true;
}

// By place, not by reference: widgets come and go, themselves included, while they are ticked. New ones wait.
void GuiContextI::i_Tick(float seconds, const bool& died)
{
    m_ticking.CloseUp();
    const std::size_t count = m_ticking.GetSize();
    for (std::size_t i = 0; i < count; ++i)
    {
        if (GuiWidget* const widget = m_ticking[i])
            widget->Tick(seconds);
        if (died)
            return;
    }
}

// By place, not by reference: a callback may destroy what is posted, and who posted it.
void GuiContextI::i_DeliverEvents(const bool& died)
{
    std::vector<Posted>& queue = m_queues[m_current];
    m_current = 1 - m_current;
    for (std::size_t i = 0; i < queue.size(); ++i)
    {
        if (GuiCallback* const callback = *queue[i].callback)
        {
            const std::string name = queue[i].name;
            GuiEvent event = queue[i].event;
            event.source = Resolve(queue[i].source);
            callback->OnGuiEvent(name.c_str(), event);
            if (died)
                return;
        }
    }
    queue.clear();
}

void GuiContextI::Render(int width, int height)
{
    const GuiRecti rect(0, 0, width, height);
    if (m_root->GetRect() != rect)
        m_root->SetRect(rect);
    if (m_root->NeedsLayout())
        m_layoutCount += m_root->UpdateLayout();
    m_renderCount = 0;
    if (!m_picture)
        RenderWidget(*m_root);
    else
    {
        if (m_needsPicture || !i_ReplacePieces())
            i_DrawPicture();
        m_draw.AddPicture(m_picture);
    }

    m_overlays.CloseUp();
    for (std::size_t i = 0; i < m_overlays.GetSize(); ++i)
    {
        if (m_overlays[i] && m_overlays[i]->IsShown())
            m_overlays[i]->RenderOverlay();
    }
    i_RenderToolTip(width, height);
}

void GuiContextI::RenderWidget(GuiWidget& widget)
{
    if (!widget.IsVisible())
        return;
    ++m_renderCount;
    if (widget.AsLayout() || !m_isPicturing)
        return widget.Render();
    m_draw.BeginPiece();
    widget.Render();
    widget.m_piece = m_draw.EndPiece();
    widget.m_pictureNumber = m_pictureNumber;
    if (!widget.m_keepsPicture)
        m_unkept.Add(widget);
}

void GuiContextI::i_DrawPicture()
{
    m_renderCount = 0;
    m_needsPicture = false;
    m_redrawn.Clear();
    m_unkept.Clear();
    ++m_pictureNumber;
    m_draw.BeginPicture(*m_picture);
    m_isPicturing = true;
    RenderWidget(*m_root);
    m_isPicturing = false;
    m_draw.EndPicture();
}

// False when a piece does not fit into its place any more. By place: widgets may ask to be drawn, themselves included,
// while others are; that is for the next time.
bool GuiContextI::i_ReplacePieces()
{
    const std::size_t count = m_redrawn.GetSize();
    for (std::size_t i = 0; i < count; ++i)
    {
        GuiWidget* const widget = m_redrawn[i];
        if (!widget)
            continue;
        m_redrawn.Remove(*widget);
        if (!i_ReplacePiece(*widget))
            return false;
    }
    m_redrawn.CloseUp();
    m_unkept.CloseUp();
    for (std::size_t i = 0; i < m_unkept.GetSize(); ++i)
    {
        if (m_unkept[i] && !i_ReplacePiece(*m_unkept[i]))
            return false;
    }
    return true;
}

bool GuiContextI::i_ReplacePiece(GuiWidget& widget)
{
    // Its layout may leave it out of the picture, such as what is scrolled away.
    const bool isLeftOut = widget.m_pictureNumber != 0 && widget.m_pictureNumber != m_pictureNumber;
    if (isLeftOut || !widget.IsShown())
        return true;
    if (widget.m_pictureNumber == 0 || widget.m_piece < 0)
        return false;
    ++m_renderCount;
    m_draw.BeginReplace(*m_picture, widget.m_piece);
    widget.Render();
    return m_draw.EndReplace();
}

void GuiContextI::i_RenderToolTip(int width, int height)
{
    if (m_toolTipTime < kToolTipDelay || m_input)
        return;
    const GuiWidget* widget = m_hover;
    while (widget && widget->GetToolTip().empty())
        widget = widget->GetParent();
    if (!widget)
        return;
    const GuiStyleData& style = GetStyleData(widget->GetStyle());
    const std::string& text = widget->GetToolTip();
    const Vec2<int> size{m_draw.GetTextWidth(text, style.font) + 2 * style.padding,
                         m_draw.GetLineHeight(style.font) + 2 * style.padding};
    const GuiRecti rect(std::max(std::min(m_mouse.x + kToolTipOffset.x, width - size.x), 0),
                        std::max(std::min(m_mouse.y + kToolTipOffset.y, height - size.y), 0), size.x, size.y);
    m_draw.FillRect(rect, style.panel);
    m_draw.FrameRect(rect, style.border);
    m_draw.Text(rect.x + style.padding, rect.y + style.padding, text, style.text, style.font);
}

std::unique_ptr<GuiContext> GuiContext::Create(Draw& draw)
{
    return std::make_unique<GuiContextI>(draw);
}

bool GuiContext::Create(Draw& draw, std::unique_ptr<GuiContext>& context)
{
    context = Create(draw);
    return context != nullptr;
}
} // namespace gui
