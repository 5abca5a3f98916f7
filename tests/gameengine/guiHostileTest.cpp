#include "gameengine/gui/guiInputAdapter.h"
#include "gameengine/gui/guiWidget/guiButton.h"
#include "gameengine/gui/guiWidget/guiStream.h"
#include "gameengine/gui/guiWidget/guiWidgetFile.h"
#include "gameengine/gui/guiWidget/guiWindow.h"
#include "support/guiFixture.h"
#include "tamraengine/renderer/input.h"

using namespace gui;

// Widgets in numbers and in states that nobody makes by hand.

namespace
{
using GuiHostileTest = test::GuiTest<>;

TEST_F(GuiHostileTest, ALayoutLetsGoOfAChildThatWasGivenAnotherParent)
{
    auto* const box = Add<GuiFreeLayout>(m_root, "box", {0, 0, 100, 100});
    for (int way = 0; way < 3; ++way)
    {
        auto* const button = Add<GuiButton>(*box, "b", {1, 2, 30, 40});
        GuiStream stream;
        button->Save(stream);
        stream.SetDataPosition(0);
        if (way == 0)
            EXPECT_TRUE(button->Load(stream)); // the stream knows nobody above
        else
            button->SetParent(way == 1 ? nullptr : &m_root);
        EXPECT_EQ(button->GetParent(), way == 2 ? &m_root : nullptr);
        EXPECT_EQ(button->GetOwner(), box);
        button->DestroySelf();
        EXPECT_EQ(box->GetChildCount(), 0U);
    }
}

std::string Radio(int group, const std::string& id)
{
    return "GWT_RADIOBUTTON \"\" " + std::to_string(group) + " 0 1 \"" + id + "\" 0 0 9 9 NONE NONE 0 0 0\n";
}

TEST_F(GuiHostileTest, OfAGroupTheLastSelectedRadioButtonIs)
{
    for (const std::string& text : {Radio(1, "a") + Radio(1, "b") + Radio(2, "c"), Radio(2, "d"),
                                    "GWT_FREELAYOUT \"\" 1 2 3 4 NONE NONE 0 0 0\n\t" + Radio(1, "e") + '\t' +
                                        Radio(2, "f") + '\t' + Radio(1, "g")})
    {
        GuiStream stream(text);
        ASSERT_TRUE(ReadWidgets(m_root, stream));
    }
    std::string selected;
    for (const char* id : {"a", "b", "c", "d", "e", "f", "g"})
        selected += static_cast<GuiRadioButton*>(m_root.FindChild(id))->IsSelected() ? 'x' : '-';
    EXPECT_EQ(selected, "-x-x-xx");
}

TEST_F(GuiHostileTest, AModalAndAnEventForgetAWidgetThatIsGone)
{
    struct Sources : GuiCallback
    {
        bool OnGuiEvent(const char*, const GuiEvent& event) override { return heard.push_back(event.source), true; }
        std::vector<GuiWidget*> heard;
    } sources;
    auto* const kept = Add<GuiButton>(m_root, "kept", {0, 0, 9, 9});
    auto* const gone = Add<GuiButton>(m_root, "gone", {0, 0, 9, 9});
    GuiWidget* const modals[] = {Add<GuiButton>(m_root, "1", {}), Add<GuiButton>(m_root, "2", {})};
    m_context->GrabFocus(kept);
    m_context->SetModal(*modals[0], true);
    m_context->GrabFocus(gone);
    m_context->SetModal(*modals[1], true);
    for (GuiWidget* const source : {gone, kept, gone, static_cast<GuiButton*>(nullptr)})
        m_context->PostEvent(&sources, "", {GET_BUTTON_PRESSED, source});
    gone->DestroySelf();
    Update();
    EXPECT_EQ(sources.heard, (std::vector<GuiWidget*>{nullptr, kept, nullptr, nullptr}));
    EXPECT_FALSE(m_context->ReturnFocus(*modals[1]));
    EXPECT_TRUE(m_context->ReturnFocus(*modals[0]));
    EXPECT_EQ(m_context->GetFocusWidget(), kept);
    m_context->SetModal(*modals[0], true); // again, over the other one
    EXPECT_EQ(m_context->GetModal(), modals[0]);
    modals[0]->DestroySelf();
    EXPECT_EQ(m_context->GetModal(), modals[1]);
    m_context->SetModal(*modals[1], false);
    EXPECT_EQ(m_context->GetModal(), nullptr);
}

TEST_F(GuiHostileTest, AnAdapterTakesOnlyWhatAWidgetHearsOf)
{
    GuiInputAdapter adapter(*m_context);
    const auto takes = [&](int x, int y)
    {
        const bool moved = adapter.OnMouseMove(x, y);
        const bool clicked = adapter.OnMouseDown(1);
        EXPECT_EQ(adapter.OnMouseUp(1), clicked);
        EXPECT_EQ(moved, clicked);
        Update();
        return clicked;
    };
    const auto takesKey = [&](int key)
    {
        const bool down = adapter.OnKeyDown(key);
        EXPECT_FALSE(adapter.OnKeyUp(key)); // nobody is kept from that
        return down;
    };
    EXPECT_FALSE(takes(10, 10)); // nothing there but the root
    EXPECT_FALSE(takes(900, 10));
    EXPECT_FALSE(takesKey(renderer::kKeyTab));

    auto* const panel = Add<GuiFreeLayout>(m_root, "panel", {0, 0, 100, 100});
    auto* const button = Add<GuiButton>(*panel, "b", {0, 0, 50, 20});
    Update();
    EXPECT_TRUE(takes(10, 10));
    EXPECT_EQ(m_context->GetFocusWidget(), button);
    EXPECT_TRUE(takesKey('W'));
    EXPECT_TRUE(adapter.OnKeyChar('w'));
    // What went down on a widget comes up for it wherever that is.
    EXPECT_TRUE(adapter.OnMouseDown(1));
    EXPECT_TRUE(adapter.OnMouseMove(900, 10));
    EXPECT_TRUE(adapter.OnMouseUp(1));
    Update();

    panel->SetVisible(false);
    EXPECT_FALSE(takes(10, 10));
    EXPECT_EQ(m_context->GetFocusWidget(), button); // which keeps it, but hears of no keys
    EXPECT_FALSE(takesKey('W') || adapter.OnKeyChar('w') || takesKey(renderer::kKeyTab));
    panel->SetVisible(true);
    m_context->GrabFocus(nullptr);
    EXPECT_TRUE(takesKey(renderer::kKeyTab));
    m_context->SetModal(*panel, true);
    EXPECT_TRUE(takes(200, 200) && takesKey('W'));
    m_context->SetModal(*panel, false);
    Update();
    m_context->GrabFocus(nullptr);
    m_root.SetVisible(false);
    EXPECT_FALSE(takes(10, 10) || takesKey(renderer::kKeyTab));
}
} // namespace
