#include "gameengine/gui/guiWidget/guiWindow.h"

#include "gameengine/gui/guiWidget/guiButton.h"
#include "gameengine/gui/guiWidget/guiLabel.h"
#include "gameengine/gui/guiWidget/guiList.h"
#include "gameengine/gui/guiWidget/guiStream.h"
#include "gameengine/gui/guiWidget/guiWidgetFile.h"
#include "support/guiFixture.h"

#include <tuple>

using namespace gui;

namespace
{
// Windows have a title bar of 22 pixels and edges of 4.
using GuiWindows = test::GuiTest<>;

TEST_F(GuiWindows, MoveAndResizeWithinBounds)
{
    const GuiRecti start(100, 100, 100, 80);
    auto* window = Add<GuiWindow>(m_root, "w", start);
    window->SetMinimumSize({70, 30});
    window->SetMaximumSize({300, 0});
    // From where the mouse is dragged, how far, what becomes of the window, and the cursor at first.
    const std::tuple<Vec2<int>, Vec2<int>, GuiRecti, GuiCursor> cases[] = {
        {{130, 110}, {30, 20}, {130, 120, 100, 80}, GuiCursor::Arrow},
        {{130, 110}, {-999, -999}, {-36, 0, 100, 80}, GuiCursor::Arrow}, // 64 pixels of the title bar stay
        {{130, 110}, {999, 999}, {336, 278, 100, 80}, GuiCursor::Arrow},
        {{199, 150}, {50, 9}, {100, 100, 150, 80}, GuiCursor::SizeHorizontal},
        {{199, 150}, {999, 9}, {100, 100, 300, 80}, GuiCursor::SizeHorizontal},
        {{100, 150}, {-20, 9}, {80, 100, 120, 80}, GuiCursor::SizeHorizontal},
        {{100, 150}, {999, 9}, {130, 100, 70, 80}, GuiCursor::SizeHorizontal}, // the right edge stays
        {{150, 179}, {9, -999}, {100, 100, 100, 30}, GuiCursor::SizeVertical},
        {{150, 100}, {9, -999}, {100, 0, 100, 180}, GuiCursor::SizeVertical}, // no title bar beyond the upper edge
        {{199, 179}, {10, 20}, {100, 100, 110, 100}, GuiCursor::SizeDiagonalDown},
        {{100, 109}, {-10, -20}, {90, 80, 110, 100}, GuiCursor::SizeDiagonalDown},
        {{190, 179}, {-10, 20}, {100, 100, 90, 100}, GuiCursor::SizeDiagonalDown},
        {{102, 178}, {-10, 20}, {90, 100, 110, 100}, GuiCursor::SizeDiagonalUp},
        {{150, 150}, {9, 9}, start, GuiCursor::Arrow},
    };
    for (const auto& [from, by, after, cursor] : cases)
    {
        SCOPED_TRACE(testing::Message() << from.x << ", " << from.y << " by " << by.x << ", " << by.y);
        const Vec2<int> end{from.x + by.x, from.y + by.y};
        window->SetRect(start);
        Move(from);
        EXPECT_EQ(m_context->GetCursor(), cursor);
        Press(from);
        Move({150, 150});
        Move(end);
        EXPECT_EQ(window->GetRect(), after);
        // Taken back, and done in one step.
        Key(kGuiKeyEscape);
        EXPECT_EQ(window->GetRect(), start);
        window->SetVisible(true); // where nothing was under way, Escape closed it
        Release();
        Press(from);
        m_context->SetMousePos(end.x, end.y);
        Release();
        EXPECT_EQ(window->GetRect(), after);
        window->SetFlags(0);
        window->SetRect(start);
        Press(from);
        Move(end);
        Release();
        EXPECT_EQ(window->GetRect(), start);
        window->SetFlags(GuiWindow::kUsualFlags);
    }
}

TEST_F(GuiWindows, MoveByKeysAndWithTheirParent)
{
    auto* window = Add<GuiWindow>(m_root, "w", {100, 100, 100, 80});
    window->SetMinimumSize({70, 30});
    Click({150, 150}); // on the frame: it has the focus now
    EXPECT_EQ(m_context->GetFocusWidget(), window);
    Key(kGuiKeyLeft);
    Key(kGuiKeyDown, kGuiKeyLeftControl);
    Key(kGuiKeyRight, kGuiKeyLeftShift);
    EXPECT_EQ(window->GetRect(), GuiRecti(84, 101, 116, 80));

    // It follows when its parent shrinks, and lets go when it is locked.
    m_context->Render(90, 90);
    EXPECT_EQ(window->GetRect(), GuiRecti(26, 68, 116, 80));
    Press({50, 75});
    window->SetLocked(true);
    Move({20, 20});
    EXPECT_EQ(window->GetRect().x, 26);
    EXPECT_EQ(Click({50, 75}) + Key(kGuiKeyEscape), "");
}

TEST_F(GuiWindows, ComeToTheFrontAndClose)
{
    auto* low = Add<GuiWindow>(m_root, "low", {10, 10, 100, 100});
    auto* button = Add<GuiButton>(*low, "button", {});
    auto* high = Add<GuiWindow>(m_root, "high", {60, 10, 100, 100});
    auto* label = Add<GuiLabel>(*high, "label", {});
    m_context->Update(0.01F);
    EXPECT_EQ(button->GetRect(), GuiRecti(14, 32, 92, 74));
    EXPECT_EQ(m_root.GetHoverWidget(80, 50), label);
    // By what lies in it, with the focus there if it takes it.
    EXPECT_EQ(Click({30, 50}), "low19:0 button3:0 button4:1");
    EXPECT_TRUE(low->IsActive() && !high->IsActive());
    EXPECT_EQ(m_root.GetHoverWidget(80, 50), button);
    EXPECT_EQ(Click({30, 50}), "button3:0 button4:1");
    EXPECT_EQ(m_context->GetFocusWidget(), button);
    EXPECT_EQ(Click({130, 50}), "high19:0");
    EXPECT_EQ(m_context->GetFocusWidget(), high);
    m_context->SetMousePos(30, 50); // no click
    m_context->PushMouseClick(kGuiMouseWheelUp);
    EXPECT_EQ(Release(), "");
    EXPECT_FALSE(low->IsActive());

    // Escape, from inside too, and the button, when the mouse comes up there.
    EXPECT_EQ(Key(kGuiKeyEscape), "high20:1");
    EXPECT_FALSE(high->IsVisible());
    EXPECT_TRUE(low->IsActive());
    EXPECT_EQ(m_context->GetFocusWidget(), low);
    low->SetFlags(kWindowClosable | kWindowAsksToClose);
    Click({30, 50});
    EXPECT_EQ(Key(kGuiKeyEscape), "low20:0");
    EXPECT_TRUE(low->IsVisible());
    button->SetLocked(true);
    m_context->GrabFocus(button);
    EXPECT_EQ(Key(kGuiKeyEscape), "low20:0") << "around a locked control";
    button->SetLocked(false);
    Press({99, 20});
    Move({80, 50});
    EXPECT_EQ(Release(), "");
    EXPECT_EQ(Click({99, 20}), "low20:0");
    low->SetFlags(0);
    EXPECT_EQ(Key(kGuiKeyEscape) + Click({99, 20}), "");

    // What was pressed inside of one that is hidden is not pressed any more.
    Press({30, 50});
    low->SetVisible(false);
    EXPECT_TRUE(Draw("clip").empty()) << "both are hidden";
    EXPECT_EQ(m_context->GetInputWidget(), nullptr);
    low->SetVisible(true);
    EXPECT_EQ(Release(), "button3:0");

    // The order of a list stays.
    auto* list = Add<GuiListV>(m_root, "list", {200, 0, 100, 300});
    auto* first = Add<GuiWindow>(*list, "first", {0, 0, 100, 50});
    Add<GuiWindow>(*list, "second", {0, 0, 100, 50});
    m_context->Update(0.01F);
    EXPECT_EQ(Click({250, 20}), "first19:0");
    EXPECT_EQ(list->GetChild(0), first);
}

// From everything, and they have the focus from the start.
TEST_F(GuiWindows, ModalOnesKeepTheOthersOut)
{
    auto* low = Add<GuiWindow>(m_root, "low", {10, 10, 100, 100});
    Add<GuiButton>(*low, "button", {});
    auto* high = Add<GuiWindow>(m_root, "high", {60, 10, 100, 100});
    high->SetVisible(false);
    low->SetFlags(0);
    Click({30, 50});
    auto* const rest = Add<GuiButton>(m_root, "rest", {});
    m_context->GrabFocus(rest);
    high->SetFlags(GuiWindow::kUsualFlags | kWindowModal);
    EXPECT_EQ(m_context->GetFocusWidget(), rest) << "as long as it is hidden";
    high->SetVisible(true);
    EXPECT_TRUE(high->IsActive());
    EXPECT_EQ(m_context->GetFocusWidget(), high);
    EXPECT_EQ(Click({30, 50}), "");
    EXPECT_EQ(Key(kGuiKeyEscape), "high20:1");
    EXPECT_EQ(m_context->GetFocusWidget(), rest); // who had it
    high->SetVisible(true);
    rest->DestroySelf();
    Key(kGuiKeyEscape);
    EXPECT_NE(m_context->GetFocusWidget(), nullptr);
    EXPECT_EQ(Click({30, 50}), "button3:0 button4:1"); // it was the next one, and is active again
}

TEST_F(GuiWindows, CollapseAndRoundTrip)
{
    auto* window = Add<GuiWindow>(m_root, "w", {100, 100, 100, 80});
    window->SetTitle("a \"long\" title");
    auto* button = Add<GuiButton>(*window, "b", {});
    m_context->Update(0.01F);
    m_context->GrabFocus(button);
    Click({130, 110}, 0.0F);
    Click({130, 110});
    EXPECT_TRUE(window->IsCollapsed());
    EXPECT_EQ(m_root.GetHoverWidget(130, 150), &m_root);
    EXPECT_EQ(m_root.GetHoverWidget(130, 121), window);
    EXPECT_EQ(m_context->GetFocusWidget(), window);
    Key(kGuiKeyTab);
    EXPECT_NE(m_context->GetFocusWidget(), button);
    const auto texts = Draw("text");
    EXPECT_EQ(m_draw.clips, 0);
    ASSERT_EQ(texts.size(), 1U);
    EXPECT_EQ(texts[0].text, "a \"lo..."); // up to the button, 62 pixels

    // Read back it is the same; whatever came into it meanwhile shows when it opens.
    GuiStream stream;
    WriteWidgets(*window, stream);
    window->DestroySelf();
    GuiStream copy(stream.GetData());
    EXPECT_TRUE(ReadWidgets(m_root, copy));
    window = static_cast<GuiWindow*>(m_root.FindChild("w"));
    ASSERT_NE(window, nullptr);
    EXPECT_FALSE(window->GetChild(0)->IsVisible());
    window->SetCollapsed(false);
    EXPECT_TRUE(window->GetChild(0)->IsVisible());
    window->GetChild(0)->SetVisible(false); // by the program: that stays
    window->SetCollapsed(true);
    window->SetCollapsed(false);
    EXPECT_FALSE(window->GetChild(0)->IsVisible());
}

TEST_F(GuiWindows, NumbersWithoutSenseAreBounded)
{
    GuiStream hostile("GWT_WINDOW \"\" -5 2147483647 -1 x -1 \"h\" 2147483647 -999999999 -5 9 NONE NONE 0 0 0\n");
    EXPECT_FALSE(ReadWidgets(m_root, hostile));
    auto* odd = static_cast<GuiWindow*>(m_root.FindChild("h"));
    ASSERT_NE(odd, nullptr);
    EXPECT_EQ(odd->GetMinimumSize(), Vec2<float>(0, 100000));
    EXPECT_EQ(odd->GetFlags(), 127U);
    Click({399, 5});
    Draw("text");
    EXPECT_EQ(m_draw.clips, 0);
}
} // namespace
