#include "gameengine/gui/guiWidget/guiButton.h"
#include "gameengine/gui/guiWidget/guiLabel.h"
#include "gameengine/gui/guiWidget/guiList.h"
#include "gameengine/gui/guiWidget/guiSlider.h"
#include "gameengine/gui/guiWidget/guiStream.h"
#include "gameengine/gui/guiWidget/guiWidgetFile.h"
#include "gameengine/gui/guiWidget/guiWindow.h"
#include "support/guiFixture.h"
#include "support/recordingPictures.h"

#include <functional>
#include <limits>

using namespace gui;

// What the context keeps up to date: pictures, places, and who has input and focus.

namespace
{
class Painter : public GuiWidget
{
public:
    Painter(GuiContext& context, bool keepsPicture) : GuiWidget(context, 0, {0, 0, 10, 10}, GuiSizePolicy::Fixed())
    {
        if (keepsPicture)
            myKeepPicture();
    }
    GuiWidgetType GetType() const override { return GuiWidgetType::Label; }
    const char* GetTypeString() const override { return "GWT_LABEL"; }
    void Render() override
    {
        ++count;
        if (onRender)
            onRender();
    }

    int count = 0;
    std::function<void()> onRender;
};

class Shelf : public GuiFreeLayout
{
public:
    using GuiFreeLayout::GuiFreeLayout;
    void AdjustLayout() override
    {
        ++count;
        if (const auto now = std::exchange(onAdjust, nullptr))
            now();
        GuiFreeLayout::AdjustLayout();
    }
    void Render() override
    {
        if (!isScrolledAway)
            GuiFreeLayout::Render();
    }

    int count = 0;
    std::function<void()> onAdjust;
    bool isScrolledAway = false;
};

class GuiUpkeep : public test::GuiTest<test::RecordingPictures>
{
protected:
    void Frame(float seconds = 0.01F)
    {
        Update(seconds);
        m_context->Render(400, 300);
    }
    template <class Widget, class... Arguments>
    Widget* Add(GuiLayout& layout, const GuiRecti& rect, Arguments... arguments)
    {
        return GuiTest::Add<Widget>(layout, "", rect, arguments...);
    }
    void MoveMouse(int x, int y)
    {
        m_context->SetMousePos(x, y);
        Frame();
    }
    // The button comes up when somebody else has become modal.
    void PressAndLose(Vec2<int> at, GuiWidget& modal)
    {
        Press(at);
        m_context->SetModal(modal, true);
        Release();
        m_context->SetModal(modal, false);
    }
};

TEST_F(GuiUpkeep, WidgetsAskForDrawingWhileTheyAreDrawn)
{
    std::vector<Painter*> painters;
    for (int i = 0; i < 50; ++i)
        painters.push_back(Add<Painter>(m_root, {0, 0, 10, 10}, true));
    Frame();
    painters[0]->onRender = [&]
    {
        for (Painter* const other : painters)
            other->Redraw();
    };
    painters[0]->Redraw();
    painters[1]->Redraw();
    for (int i = 0; i < 3; ++i)
        Frame();
    EXPECT_EQ(painters[0]->count, 4);
    EXPECT_EQ(painters[49]->count, 2) << "in the second of them";
}

TEST_F(GuiUpkeep, WhatIsNotInThePictureDoesNotCostOne)
{
    auto* const shelf = Add<Shelf>(m_root, {0, 0, 100, 100});
    auto* const kept = Add<Painter>(*shelf, {0, 0, 10, 10}, true);
    auto* const unkept = Add<Painter>(*shelf, {20, 0, 10, 10}, false);
    auto* const other = Add<Painter>(m_root, {200, 0, 10, 10}, true);
    Frame();
    shelf->isScrolledAway = true;
    shelf->Redraw();
    Frame();
    const int before = other->count + kept->count + unkept->count;
    for (int i = 0; i < 5; ++i)
    {
        kept->Redraw();
        Frame();
    }
    EXPECT_EQ(other->count + kept->count + unkept->count, before);
    shelf->isScrolledAway = false;
    shelf->Redraw();
    Frame();
    Frame();
    EXPECT_EQ(other->count + kept->count + unkept->count, before + 4);
}

TEST_F(GuiUpkeep, NobodyWaitsForItsPlace)
{
    auto* const first = Add<Shelf>(m_root, {0, 0, 100, 100});
    auto* const inner = Add<Shelf>(*first, {0, 0, 50, 50});
    auto* const second = Add<Shelf>(m_root, {100, 0, 100, 100});
    Frame();
    const int before = inner->count;
    second->onAdjust = [&] { inner->InvalidateLayout(); };
    second->InvalidateLayout();
    Frame();
    Frame();
    EXPECT_EQ(inner->count, before + 1) << "marked when it had been placed in this pass";
    inner->InvalidateLayout();
    Frame();
    EXPECT_EQ(inner->count, before + 2);

    auto* const list = Add<GuiListV>(m_root, {0, 100, 100, 100});
    auto* const nested = Add<GuiListV>(*list, {0, 0, 100, 100});
    auto* const above = Add<GuiLabel>(*nested, {0, 0, 10, 10});
    auto* const below = Add<GuiLabel>(*nested, {0, 0, 10, 10});
    Frame();
    const int y = below->GetRect().y;
    above->SetHeight(30);
    Frame();
    EXPECT_EQ(below->GetRect().y, y + 20) << "a size that was set";
    GuiStyleData style = m_context->GetStyleData(kStyleDark);
    style.padding = 20;
    m_context->SetStyleData(kStyleDark, style);
    Frame();
    EXPECT_EQ(above->GetRect().x, 40) << "a style that was changed";
    nested->SetStyle(kStyleLight);
    Frame();
    EXPECT_EQ(above->GetRect().x, 24) << "another style";
    Frame();
    EXPECT_EQ(m_context->GetLayoutCount(), 0);
}

TEST_F(GuiUpkeep, KeysAreNotForTheHidden)
{
    auto* const shelf = Add<Shelf>(m_root, {0, 0, 100, 100});
    auto* const box = Add<GuiCheckBox>(*shelf, {0, 0, 50, 20});
    m_context->GrabFocus(box);
    shelf->SetVisible(false);
    Key(kGuiKeySpace);
    EXPECT_FALSE(box->IsChecked());
    shelf->SetVisible(true);
    Key(kGuiKeySpace);
    EXPECT_TRUE(box->IsChecked());

    Add<GuiCheckBox>(*shelf, {0, 50, 50, 20});
    for (const int step : {-5, -4, 7, std::numeric_limits<int>::min(), std::numeric_limits<int>::max()})
    {
        m_context->MoveFocus(step);
        ASSERT_NE(m_context->GetFocusWidget(), nullptr) << step;
    }
}

TEST_F(GuiUpkeep, AModalWidgetEndsWhatTheMouseDoes)
{
    auto* const modal = Add<Shelf>(m_root, {0, 200, 50, 50});
    auto* const slider = Add<GuiSlider>(m_root, {0, 0, 200, 20});
    auto* const box = Add<GuiCheckBox>(m_root, {300, 0, 50, 20});
    auto* const window = Add<GuiWindow>(m_root, {100, 100, 100, 100});
    PressAndLose({2, 5}, *modal);
    MoveMouse(150, 5);
    EXPECT_EQ(slider->GetValue(), 0.0F);
    PressAndLose({150, 110}, *modal);
    MoveMouse(250, 150);
    EXPECT_EQ(window->GetRect(), GuiRecti(100, 100, 100, 100));
    PressAndLose({310, 5}, *modal);
    Release();
    EXPECT_FALSE(box->IsChecked()) << "a release alone is no click";
}

TEST_F(GuiUpkeep, NumbersWithoutSense)
{
    // A track and a layout with negative sizes.
    GuiStream stream(std::string("GWT_SCROLLBAR_V 0 0.0 \"bar\" 0 0 10 -5 LEFT|TOP NONE 0 0 0\n"
                                 "GWT_FREELAYOUT \"box\" 0 0 -10 -5 LEFT|TOP NONE 0 0 0\n"
                                 "\tGWT_LABEL \"\" 0 0 0 \"label\" 0 0 10 10 NONE LEFT 0 0 0\n"));
    EXPECT_TRUE(ReadWidgets(m_root, stream));
    Frame();
    EXPECT_EQ(m_root.FindChild("label")->GetRect().Size(), Vec2<int>());

    auto* const slider = Add<GuiSlider>(m_root, {100, 0, 200, 20});
    auto* const window = Add<GuiWindow>(m_root, {0, 100, 100, 100});
    slider->SetToolTip("tip");
    constexpr float kMost = std::numeric_limits<float>::max();
    slider->SetRange(-kMost, kMost);
    slider->SetValue(kMost);
    MoveMouse(102, 5);
    for (const float seconds : {std::numeric_limits<float>::quiet_NaN(), -1.0F, kMost * 2.0F})
    {
        m_draw.calls.clear();
        Frame(seconds);
        EXPECT_TRUE(m_draw.calls.empty()) << "the mouse did not rest for " << seconds;
    }
    Frame(1.0F);
    constexpr int kFar = std::numeric_limits<int>::max();
    m_context->SetMousePos(kFar, kFar);
    m_context->Render(400, 300); // with the tool tip
    for (const Vec2<int> start : {Vec2<int>(102, 5), Vec2<int>(50, 110), Vec2<int>(window->GetRect().x + 1, 150)})
    {
        MoveMouse(start.x, start.y);
        m_context->PushMouseClick(kGuiMouseLeft);
        MoveMouse(kFar, -kFar - 1);
        MoveMouse(-kFar - 1, kFar);
        MoveMouse(start.x, start.y);
        m_context->PushMouseRelease(kGuiMouseLeft);
        Frame();
    }
    EXPECT_EQ(window->GetRect().y, 100);
}

TEST_F(GuiUpkeep, WhoIsAddedStandsWhereItWasPut)
{
    auto* const shelf = Add<GuiFreeLayout>(m_root, {0, 0, 100, 100});
    auto* const first = Add<GuiLabel>(*shelf, {10, 10, 20, 20});
    Frame();
    shelf->SetRect(100, 0, 100, 100);
    auto* const second = Add<GuiLabel>(*shelf, {110, 50, 20, 20});
    Frame();
    EXPECT_EQ(first->GetRect(), GuiRecti(110, 10, 20, 20));
    EXPECT_EQ(second->GetRect(), GuiRecti(110, 50, 20, 20));
}
} // namespace
