#include "gameengine/gui/guiWidget/guiContext.h"

#include "support/guiFixture.h"
#include "support/random.h"

using namespace gui;

namespace
{
constexpr unsigned kA = 'A';

// Takes keys and characters, and counts who is asked for a place.
class Field : public GuiWidget, public GuiTextReceiver
{
public:
    explicit Field(GuiContext& context) : GuiWidget(context, 0, {}, GuiSizePolicy::Fixed()) { SetFocusable(true); }

    GuiWidgetType GetType() const override { return GuiWidgetType::Label; }
    const char* GetTypeString() const override { return "GWT_LABEL"; }
    GuiWidget* GetHoverWidget(int x, int y) override
    {
        ++asked;
        return GuiWidget::GetHoverWidget(x, y);
    }
    void OnKeyPress(unsigned key) override
    {
        heard += std::to_string(key) + (GetContext().IsKeyRepeated() ? "r" : "") +
                 ((GetContext().GetModifiers() & kGuiControl) != 0 ? "c " : " ");
    }
    void OnKeyChar(unsigned character) override { heard += static_cast<char>(character); }
    void OnMouseClick(unsigned button) override
    {
        heard += "x" + std::to_string(GetContext().GetClickCount()) + " ";
        myPassClick(button);
    }
    std::string Take() { return std::exchange(heard, {}); }

    std::string heard;
    static inline int asked = 0;
};

class Panel : public GuiFreeLayout
{
public:
    using GuiFreeLayout::GuiFreeLayout;
    GuiWidgetType GetType() const override { return type; }
    void OnClickBelow(unsigned) override { heard += GetId() + "<"; }
    void OnMouseClick(unsigned) override { heard += GetId() + "!"; }

    GuiWidgetType type = GuiWidgetType::FreeLayout;
    static inline std::string heard;
};

class GuiContexts : public test::GuiTest<>
{
protected:
    // Who has the focus after the key.
    std::string Tab()
    {
        Key(kGuiKeyTab);
        return m_context->GetFocusWidget() ? m_context->GetFocusWidget()->GetId() : "nobody";
    }
};

TEST_F(GuiContexts, TabGoesRoundInTheWindow)
{
    Add<Field>(m_root, "first", {});
    auto* const window = Add<Panel>(m_root, "window", {0, 0, 100, 100});
    window->type = GuiWidgetType::Window;
    auto* const a = Add<Field>(*Add<Panel>(*window, "inner", {}), "a", {});
    Add<Field>(*window, "hidden", {})->SetVisible(false);
    Add<Field>(*window, "locked", {})->SetLocked(true);
    Add<Field>(*window, "still", {})->SetFocusable(false);
    Add<Field>(*window, "b", {});

    for (const char* const next : {"first", "a", "b", "a", "b"})
        EXPECT_EQ(Tab(), next);
    m_context->PushKeyPress(kGuiKeyRightShift);
    EXPECT_EQ(Tab(), "a");
    m_context->PushKeyRelease(kGuiKeyRightShift);
    a->SetTakesTab(true);
    EXPECT_EQ(Tab(), "a");
    EXPECT_EQ(a->Take(), "258 ");
    m_context->PushKeyPress(kGuiKeyLeftControl);
    EXPECT_EQ(Tab(), "b");
}

TEST_F(GuiContexts, HeldKeysAreRepeated)
{
    auto* const field = Add<Field>(m_root, "field", {});
    m_context->GrabFocus(field);
    m_context->SetKeyRepeat(0.5F, 0.1F);
    m_context->PushKeyPress(kGuiKeyLeftControl); // is no key to repeat
    m_context->PushKeyPress(kA);
    m_context->PushKeyChar('a');
    m_context->PushKeyRelease(kGuiKeyLeftControl);
    m_context->Update(0.45F);
    EXPECT_EQ(field->Take(), "341c 65c a") << "modifiers are those of the time when the key went down";
    m_context->Update(0.1F);
    EXPECT_EQ(field->Take(), "65r a");
    m_context->Update(0.2F);
    EXPECT_EQ(field->Take(), "65r a65r a");
    m_context->Update(1000.0F); // no flood after a pause
    EXPECT_LT(field->Take().size(), 30U);
    m_context->PushKeyRelease(kA);
    m_context->Update(1.0F);
    EXPECT_EQ(field->Take(), "");
    // The release was lost: pressed again much later it is no repetition, and still repeated here.
    m_context->SetKeyRepeat(0.5F, 10.0F);
    m_context->PushKeyPress(kGuiKeyLeftControl);
    m_context->Update(2.0F);
    m_context->PushKeyPress(kGuiKeyLeftControl);
    m_context->PushKeyRelease(kGuiKeyLeftControl);
    m_context->Update(2.0F);
    EXPECT_EQ(field->Take(), "341c 341c ");
    m_context->PushKeyPress(kA);
    m_context->Update(0.0F);
    m_context->Update(2.0F);
    m_context->PushKeyPress(kA);
    m_context->Update(0.0F);
    m_context->Update(0.6F);
    EXPECT_EQ(field->Take(), "65 65r 65 65r ");
    m_context->PushKeyRelease(kA);
    // A host that repeats by itself.
    for (int i = 0; i < 3; ++i)
        m_context->PushKeyPress(kA);
    m_context->Update(1.0F);
    m_context->Update(1.0F);
    EXPECT_EQ(field->Take(), "65 65r 65r ");
}

TEST_F(GuiContexts, ClicksInARowAreCounted)
{
    auto* const field = Add<Field>(m_root, "field", {0, 0, 200, 200});
    for (const float pause : {0.1F, 0.1F, 0.1F, 0.1F, 1.0F})
        Tap({50, 50}, pause);
    EXPECT_EQ(field->Take(), "x1 x2 x3 x1 x2 ");
    for (const Vec2<int> place : {Vec2<int>(50, 50), {53, 47}, {60, 47}})
        Tap(place, 0.1F);
    EXPECT_EQ(field->Take(), "x1 x2 x1 ");
}

TEST_F(GuiContexts, LayoutsHearOfClicksBelowAndModalOnesOfNoOthers)
{
    auto* const outer = Add<Panel>(m_root, "outer", {0, 0, 200, 200});
    auto* const inner = Add<Panel>(*outer, "inner", {0, 0, 100, 100});
    auto* const field = Add<Field>(*inner, "field", {0, 0, 50, 50});
    Tap({10, 10}, 1.0F);
    EXPECT_EQ(std::exchange(Panel::heard, {}), "outer<inner<inner!");
    EXPECT_EQ(field->Take(), "x1 ");

    auto* const dialog = Add<Panel>(m_root, "dialog", {300, 0, 50, 50});
    m_context->GrabFocus(field);
    m_context->SetModal(*dialog, true);
    EXPECT_EQ(m_context->GetFocusWidget(), nullptr);
    Tap({10, 10}, 1.0F);
    EXPECT_EQ(field->Take() + Panel::heard, "");
    Tap({310, 10}, 1.0F);
    EXPECT_EQ(std::exchange(Panel::heard, {}), "dialog<dialog!");
    EXPECT_EQ(Tab(), "nobody") << "there is nothing in the dialog";
    dialog->SetVisible(false);
    EXPECT_EQ(m_context->GetModal(), nullptr);
    dialog->SetVisible(true);
    EXPECT_EQ(m_context->GetModal(), dialog);
    dialog->DestroySelf();
    Tap({10, 10}, 1.0F);
    EXPECT_EQ(field->Take(), "x1 ");
    Panel::heard.clear();
}

TEST_F(GuiContexts, ToolTipsStayOnTheScreen)
{
    auto* const panel = Add<Panel>(m_root, "panel", {300, 200, 100, 100});
    Add<Field>(*panel, "field", {300, 200, 100, 100});
    panel->SetToolTip("what this is good for");
    Move({390, 290});
    const auto shown = [this](float seconds)
    {
        m_context->Update(seconds);
        m_draw.calls.clear();
        m_context->Render(400, 300);
        return m_draw.calls.empty() ? GuiRecti() : m_draw.calls.front().rect;
    };
    EXPECT_EQ(shown(0.3F), GuiRecti());
    const GuiRecti rect = shown(0.3F);
    EXPECT_GT(rect.w, 21 * 8);
    EXPECT_EQ(rect.BR(), Vec2<int>(400, 300));
    Tap({390, 290}, 1.0F);
    EXPECT_EQ(shown(1.0F), GuiRecti()) << "not over what is being used";
    Move({10, 10});
    Move({310, 210});
    EXPECT_NE(shown(0.6F), GuiRecti());
}

// Places by a grid are those found by asking everybody, whatever lies over what.
TEST_F(GuiContexts, FindingAWidgetAsksFewOfThem)
{
    test::Random random(11);
    for (int i = 0; i < 20000; ++i)
    {
        const int size = random.OneIn(1000) ? 150 : 4;
        Add<Field>(m_root, "", {random.Below(400), random.Below(300), random.Below(size), random.Below(size)});
    }
    const auto findByAskingAll = [this](int x, int y) -> GuiWidget*
    {
        for (std::size_t i = m_root.GetChildCount(); i > 0; --i)
        {
            if (GuiWidget* const found = m_root.GetChild(i - 1)->GetHoverWidget(x, y))
                return found;
        }
        return &m_root;
    };
    int most = 0;
    for (int i = 0; i < 300; ++i)
    {
        const int x = random.Below(400);
        const int y = random.Below(300);
        GuiWidget* const expected = findByAskingAll(x, y);
        Field::asked = 0;
        EXPECT_EQ(m_root.GetHoverWidget(x, y), expected);
        most = std::max(most, Field::asked);
        if (expected != &m_root && random.OneIn(4))
            expected->SetPos(random.Below(400), random.Below(300));
        else if (expected != &m_root && random.OneIn(4))
            expected->DestroySelf();
    }
    EXPECT_LE(most, 200);
}
} // namespace
