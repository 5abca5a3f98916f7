#include "gameengine/gui/guiWidget/guiContext.h"

#include "gameengine/gui/draw2D/drawI.h"
#include "gameengine/gui/guiWidget/guiButton.h"
#include "gameengine/gui/guiWidget/guiGroupBox.h"
#include "gameengine/gui/guiWidget/guiLabel.h"
#include "gameengine/gui/guiWidget/guiList.h"
#include "gameengine/gui/guiWidget/guiSlider.h"
#include "support/deviceFixture.h"
#include "support/random.h"
#include "support/recordingDraw.h"
#include "tamradeps/io/fileSystem.h"

#include <string>
#include <vector>

using namespace gui;

namespace
{
constexpr unsigned kA = 'A';

// Takes keys and characters, and counts who is asked for a place.
class Field : public GuiWidget, public GuiTextReceiver
{
public:
    Field(GuiContext& context, const char* id, const GuiRecti& rect)
        : GuiWidget(context, 0, rect, GuiSizePolicy::Fixed())
    {
        SetId(id);
        SetFocusable(true);
    }

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

class GuiContexts : public testing::Test
{
protected:
    GuiContexts() { m_context->Render(400, 300); }

    Field* Add(GuiLayout& layout, const char* id, const GuiRecti& rect)
    {
        return static_cast<Field*>(layout.AddChild(std::make_unique<Field>(*m_context, id, rect)));
    }
    Panel* AddPanel(GuiLayout& layout, const char* id, const GuiRecti& rect)
    {
        auto panel = std::make_unique<Panel>(*m_context, 0, rect);
        panel->SetId(id);
        return static_cast<Panel*>(layout.AddChild(std::move(panel)));
    }
    void Press(unsigned key)
    {
        m_context->PushKeyPress(key);
        m_context->PushKeyRelease(key);
        m_context->Update(0.01F);
    }
    void Click(int x, int y, float pause)
    {
        m_context->SetMousePos(x, y);
        m_context->PushMouseClick(1);
        m_context->PushMouseRelease(1);
        m_context->Update(pause);
    }

    test::RecordingDraw m_draw;
    std::unique_ptr<GuiContext> m_context = GuiContext::Create(m_draw);
    GuiFreeLayout& m_root = m_context->GetRoot();
};

TEST_F(GuiContexts, TabGoesRoundInTheWindow)
{
    Field* const first = Add(m_root, "first", {});
    Panel* const window = AddPanel(m_root, "window", {0, 0, 100, 100});
    window->type = GuiWidgetType::Window;
    Field* const a = Add(*AddPanel(*window, "inner", {}), "a", {});
    Field* const hidden = Add(*window, "hidden", {});
    hidden->SetVisible(false);
    Add(*window, "locked", {})->SetLocked(true);
    Add(*window, "still", {})->SetFocusable(false);
    Field* const b = Add(*window, "b", {});

    Press(kGuiKeyTab);
    EXPECT_EQ(m_context->GetFocusWidget(), first);
    Press(kGuiKeyTab);
    EXPECT_EQ(m_context->GetFocusWidget(), a);
    for (Field* const next : {b, a, b})
    {
        Press(kGuiKeyTab);
        EXPECT_EQ(m_context->GetFocusWidget(), next);
    }
    m_context->PushKeyPress(kGuiKeyRightShift);
    Press(kGuiKeyTab);
    EXPECT_EQ(m_context->GetFocusWidget(), a);
    m_context->PushKeyRelease(kGuiKeyRightShift);
    a->SetTakesTab(true);
    Press(kGuiKeyTab);
    EXPECT_EQ(m_context->GetFocusWidget(), a);
    EXPECT_EQ(a->Take(), "258 ");
    m_context->PushKeyPress(kGuiKeyLeftControl);
    Press(kGuiKeyTab);
    EXPECT_EQ(m_context->GetFocusWidget(), b);
}

TEST_F(GuiContexts, HeldKeysAreRepeated)
{
    Field* const field = Add(m_root, "field", {});
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
    Field* const field = Add(m_root, "field", {0, 0, 200, 200});
    for (const float pause : {0.1F, 0.1F, 0.1F, 0.1F, 1.0F})
        Click(50, 50, pause);
    EXPECT_EQ(field->Take(), "x1 x2 x3 x1 x2 ");
    Click(50, 50, 0.1F);
    Click(53, 47, 0.1F);
    Click(60, 47, 0.1F);
    EXPECT_EQ(field->Take(), "x1 x2 x1 ");
}

TEST_F(GuiContexts, LayoutsHearOfClicksBelowAndModalOnesOfNoOthers)
{
    Panel* const outer = AddPanel(m_root, "outer", {0, 0, 200, 200});
    Panel* const inner = AddPanel(*outer, "inner", {0, 0, 100, 100});
    Field* const field = Add(*inner, "field", {0, 0, 50, 50});
    Click(10, 10, 1.0F);
    EXPECT_EQ(std::exchange(Panel::heard, {}), "outer<inner<inner!");
    EXPECT_EQ(field->Take(), "x1 ");

    Panel* const dialog = AddPanel(m_root, "dialog", {300, 0, 50, 50});
    m_context->GrabFocus(field);
    m_context->SetModal(*dialog, true);
    EXPECT_EQ(m_context->GetFocusWidget(), nullptr);
    Click(10, 10, 1.0F);
    EXPECT_EQ(field->Take() + Panel::heard, "");
    Click(310, 10, 1.0F);
    EXPECT_EQ(std::exchange(Panel::heard, {}), "dialog<dialog!");
    Press(kGuiKeyTab);
    EXPECT_EQ(m_context->GetFocusWidget(), nullptr) << "there is nothing in the dialog";
    dialog->SetVisible(false);
    EXPECT_EQ(m_context->GetModal(), nullptr);
    dialog->SetVisible(true);
    EXPECT_EQ(m_context->GetModal(), dialog);
    dialog->DestroySelf();
    Click(10, 10, 1.0F);
    EXPECT_EQ(field->Take(), "x1 ");
    Panel::heard.clear();
}

TEST_F(GuiContexts, ToolTipsStayOnTheScreen)
{
    Panel* const panel = AddPanel(m_root, "panel", {300, 200, 100, 100});
    Add(*panel, "field", {300, 200, 100, 100});
    panel->SetToolTip("what this is good for");
    m_context->SetMousePos(390, 290);
    m_context->Update(0.1F);
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
    Click(390, 290, 1.0F);
    EXPECT_EQ(shown(1.0F), GuiRecti()) << "not over what is being used";
    m_context->SetMousePos(10, 10);
    m_context->Update(0.1F);
    m_context->SetMousePos(310, 210);
    m_context->Update(0.1F);
    EXPECT_NE(shown(0.6F), GuiRecti());
}

// Places by a grid are those found by asking everybody, whatever lies over what.
TEST_F(GuiContexts, FindingAWidgetAsksFewOfThem)
{
    test::Random random(11);
    for (int i = 0; i < 20000; ++i)
    {
        const int size = random.OneIn(1000) ? 150 : 4;
        Add(m_root, "", {random.Below(400), random.Below(300), random.Below(size), random.Below(size)});
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

// What was replaced piece by piece looks like what is drawn anew.
class GuiPictures : public test::DeviceTest
{
protected:
    static constexpr int kWidth = 240;
    static constexpr int kHeight = 160;

    void SetUp() override
    {
        DeviceTest::SetUp();
        if (IsSkipped())
            return;
        GetFileSystem().AddRoot(TAMRA_SOURCE_FOLDER "/assets");
        m_target = renderer::CRenderTarget::Create(m_renderer, kWidth, kHeight);
        m_draw = std::make_unique<DrawI>(m_renderer);
        m_context = GuiContext::Create(*m_draw);
    }

    std::vector<std::uint8_t> Render()
    {
        m_target->Bind();
        m_renderer.Clear({0, 0, 0});
        m_context->Render(kWidth, kHeight);
        m_draw->RenderAll(kWidth, kHeight);
        return m_target->ReadPixels().pixels;
    }

    template <class Widget, class... Arguments>
    Widget* Add(GuiLayout& layout, Arguments... arguments)
    {
        auto widget = std::make_unique<Widget>(*m_context, arguments...);
        widget->SetPreferredSize({60, 20});
        m_widgets.push_back(widget.get());
        return static_cast<Widget*>(layout.AddChild(std::move(widget)));
    }

    RefPtr<renderer::CRenderTarget> m_target;
    std::unique_ptr<DrawI> m_draw;
    std::unique_ptr<GuiContext> m_context;
    std::vector<GuiWidget*> m_widgets;
};

TEST_F(GuiPictures, ReplacedPiecesLookAsIfDrawnAnew)
{
    auto* const row = Add<GuiListH>(m_context->GetRoot());
    row->SetDockPosition(GuiDock::Center);
    auto* const list = Add<GuiListV>(*row);
    auto* const label = Add<GuiLabel>(*list);
    auto* const button = Add<GuiButton>(*list);
    auto* const box = Add<GuiCheckBox>(*Add<GuiGroupBox>(*list));
    auto* const slider = Add<GuiSlider>(*list);
    auto* const bar = Add<GuiScrollBar>(*row, true);
    for (GuiWidget* const widget : {static_cast<GuiWidget*>(list), static_cast<GuiWidget*>(bar)})
        widget->SetSizePolicy(GuiSizePolicy::Expand());
    test::Random random(3);
    int redraws = 0;
    for (int step = 0; step < 150; ++step)
    {
        GuiWidget* const any = m_widgets[random.Below(m_widgets.size())];
        const std::string text(random.Below(12U), static_cast<char>('a' + random.Below(26)));
        switch (random.Below(11))
        {
        case 0: label->SetText(text); break;
        case 1: button->SetText(text); break;
        case 2: box->SetChecked(!box->IsChecked()); break;
        case 3: slider->SetValue(random.Between(0, 1)); break;
        case 4: bar->SetContentLength(random.Below(1000)); break;
        case 5: any->SetLocked(!any->IsLocked()); break;
        case 6: any->SetVisible(!any->IsVisible()); break;
        case 7: any->SetStyle(random.Below(3)); break;
        case 8: m_context->MoveFocus(1); break;
        case 9: random.OneIn(2) ? m_context->PushMouseClick(1) : m_context->PushMouseRelease(1); break;
        default: m_context->SetMousePos(random.Below(kWidth), random.Below(kHeight)); break;
        }
        m_context->Update(0.01F);
        const std::vector<std::uint8_t> kept = Render();
        redraws += m_context->GetRenderCount();
        m_context->RequestPicture();
        ASSERT_EQ(kept, Render()) << "step " << step;
    }
    EXPECT_LT(redraws, 150 * 9 / 2) << "most steps need a few pieces only";
    m_context->Update(0.01F);
    EXPECT_EQ(Render(), Render());
    EXPECT_EQ(m_context->GetRenderCount() + m_context->GetLayoutCount(), 0) << "nothing happened";
}
} // namespace
