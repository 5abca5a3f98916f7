#include "gameengine/gui/guiWidget/guiContext.h"

#include "gameengine/gui/guiWidget/guiLayout.h"

#include <algorithm>
#include <array>
#include <string>
#include <unordered_set>
#include <utility>
#include <vector>

namespace gui
{
namespace
{
struct Input
{
    enum class Kind : std::uint8_t
    {
        KeyPress,
        KeyRelease,
        KeyChar,
        MouseClick,
        MouseRelease
    };
    Kind kind;
    unsigned code;
    Vec2<int> mouse; // where it was then
};

struct Posted
{
    std::shared_ptr<GuiCallback*> callback;
    std::string name;
    GuiEvent event;
};

class GuiContextI final : public GuiContext
{
public:
    explicit GuiContextI(Draw& draw) : m_draw(draw)
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

    void PushKeyPress(unsigned key) override
    {
        m_keys.insert(key);
        i_Push(Input::Kind::KeyPress, key);
    }
    void PushKeyRelease(unsigned key) override
    {
        m_keys.erase(key);
        i_Push(Input::Kind::KeyRelease, key);
    }
    void PushMouseClick(unsigned button) override
    {
        m_buttons.insert(button);
        i_Push(Input::Kind::MouseClick, button);
    }
    void PushMouseRelease(unsigned button) override
    {
        m_buttons.erase(button);
        i_Push(Input::Kind::MouseRelease, button);
    }
    void PushKeyChar(unsigned character) override { i_Push(Input::Kind::KeyChar, character); }
    void SetMousePos(int x, int y) override { m_mouse.Set(x, y); }
    Vec2<int> GetMousePos() const override { return m_mouse; }
    bool IsKeyDown(unsigned key) const override { return m_keys.contains(key); }
    bool IsMouseDown(unsigned button) const override { return m_buttons.contains(button); }

    GuiWidget* GetHoverWidget() const override { return m_hover; }
    GuiWidget* GetFocusWidget() const override { return m_focus; }
    GuiWidget* GetInputWidget() const override { return m_input; }
    void GrabInput(GuiWidget* widget) override { m_input = widget; }
    void GrabFocus(GuiWidget* widget) override { m_focus = widget; }

    void ForgetWidget(GuiWidget* widget) override
    {
        for (GuiWidget** pointer : {&m_hover, &m_focus, &m_input, &m_ticking})
        {
            if (*pointer == widget)
                *pointer = nullptr;
        }
        for (Walk& walk : m_walk)
        {
            if (walk.widget == widget)
                walk.widget = nullptr;
        }
        for (std::vector<Posted>& queue : m_queues)
        {
            for (Posted& posted : queue)
            {
                if (posted.event.source == widget)
                    posted.event.source = nullptr;
            }
        }
    }

    void PostEvent(GuiCallback* callback, std::string_view name, const GuiEvent& event) override
    {
        if (callback)
            m_queues[m_current].push_back({callback->GetSelf(), std::string(name), event});
    }

    void Update(float seconds) override
    {
        // A callback may come here again, what is under way goes on afterwards; or end the context.
        if (m_isUpdating)
            return;
        m_isUpdating = true;
        bool died = false;
        m_died = &died;
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

    void Render(int width, int height) override
    {
        const GuiRecti rect(0, 0, width, height);
        if (m_root->GetRect() != rect)
            m_root->SetRect(rect);
        if (m_root->NeedsLayout())
            m_layoutCount += m_root->UpdateLayout();
        m_root->Render();
        i_RenderOverlay(*m_root);
    }

    GuiFreeLayout& GetRoot() override { return *m_root; }
    Draw& GetDraw() override { return m_draw; }
    const GuiStyleData& GetStyleData(GuiStyle style) const override
    {
        return m_styles[style >= 0 && style < kStyleCount ? static_cast<std::size_t>(style) : 0];
    }
    void SetStyleData(GuiStyle style, const GuiStyleData& data) override
    {
        if (style >= 0 && style < kStyleCount)
            m_styles[static_cast<std::size_t>(style)] = data;
    }
    int GetLayoutCount() const override { return m_layoutCount; }

private:
    struct Walk
    {
        GuiWidget* widget; // null when it is gone
        GuiLayout* layout; // the same
        std::size_t next;
    };

    void i_Push(Input::Kind kind, unsigned code) { m_inputs.push_back({kind, code, m_mouse}); }

    void i_UpdateHover() { m_hover = m_root->GetHoverWidget(m_mouse.x, m_mouse.y); }

    // A widget hears of a click where the mouse was then; in the end it is where it is now.
    void i_HandleInput(const bool& died)
    {
        m_inputsNow.swap(m_inputs);
        const Vec2<int> mouse = m_mouse;
        for (std::size_t i = 0; i < m_inputsNow.size(); ++i)
        {
            m_mouse = m_inputsNow[i].mouse;
            i_UpdateHover();
            i_Deliver(m_inputsNow[i]);
            if (died)
                return;
        }
        m_inputsNow.clear();
        m_mouse = mouse;
        i_UpdateHover();
    }

    void i_Deliver(const Input& input)
    {
        GuiWidget* const forKeys = m_input ? m_input : m_focus;
        GuiWidget* const forMouse = m_input ? m_input : m_hover;
        switch (input.kind)
        {
        case Input::Kind::KeyPress:
            if (forKeys)
                forKeys->OnKeyPress(input.code);
            break;
        case Input::Kind::KeyRelease:
            if (forKeys)
                forKeys->OnKeyRelease(input.code);
            break;
        case Input::Kind::KeyChar:
            if (auto* receiver = dynamic_cast<GuiTextReceiver*>(m_focus))
                receiver->OnKeyChar(input.code);
            break;
        case Input::Kind::MouseClick:
            if (forMouse)
                forMouse->OnMouseClick(input.code);
            break;
        case Input::Kind::MouseRelease:
            if (forMouse)
                forMouse->OnMouseRelease(input.code);
            break;
        }
    }

    // Widgets may go, themselves included, while they are ticked.
    void i_Tick(float seconds, const bool& died)
    {
        m_walk.assign(1, {m_root.get(), m_root.get(), 0});
        while (!m_walk.empty())
        {
            Walk& walk = m_walk.back();
            GuiWidget* const widget = walk.widget ? walk.layout->GetChild(walk.next++) : nullptr;
            if (!widget)
            {
                m_walk.pop_back();
                continue;
            }
            m_ticking = widget;
            widget->Tick(seconds);
            if (died)
                return;
            if (auto* layout = m_ticking ? dynamic_cast<GuiLayout*>(widget) : nullptr)
                m_walk.push_back({widget, layout, 0});
        }
        m_ticking = nullptr;
    }

    // By place, not by reference: a callback may destroy what is posted, and who posted it.
    void i_DeliverEvents(const bool& died)
    {
        std::vector<Posted>& queue = m_queues[m_current];
        m_current = 1 - m_current;
        for (std::size_t i = 0; i < queue.size(); ++i)
        {
            if (GuiCallback* const callback = *queue[i].callback)
            {
                const std::string name = queue[i].name;
                callback->OnGuiEvent(name.c_str(), GuiEvent(queue[i].event));
                if (died)
                    return;
            }
        }
        queue.clear();
    }

    void i_RenderOverlay(GuiWidget& widget)
    {
        if (!widget.IsVisible())
            return;
        widget.RenderOverlay();
        if (const auto* layout = dynamic_cast<GuiLayout*>(&widget))
        {
            for (std::size_t i = 0; i < layout->GetChildCount(); ++i)
                i_RenderOverlay(*layout->GetChild(i));
        }
    }

    Draw& m_draw;
    std::array<GuiStyleData, kStyleCount> m_styles;
    std::unordered_set<unsigned> m_keys;
    std::unordered_set<unsigned> m_buttons;
    std::vector<Input> m_inputs;
    std::vector<Input> m_inputsNow;
    Vec2<int> m_mouse;
    std::vector<Walk> m_walk; // layouts whose children are being ticked
    GuiWidget* m_ticking = nullptr;
    GuiWidget* m_hover = nullptr;
    GuiWidget* m_focus = nullptr;
    GuiWidget* m_input = nullptr;
    std::vector<Posted> m_queues[2];
    int m_current = 0;
    int m_layoutCount = 0;
    bool m_isUpdating = false;
    bool* m_died = nullptr;                // of the pass under way
    std::unique_ptr<GuiFreeLayout> m_root; // last: widgets ask the context until they are gone
};
} // namespace

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
