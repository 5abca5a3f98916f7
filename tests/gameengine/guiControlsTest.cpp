#include "gameengine/gui/guiWidget/guiButton.h"
#include "gameengine/gui/guiWidget/guiLabel.h"
#include "gameengine/gui/guiWidget/guiList.h"
#include "gameengine/gui/guiWidget/guiSlider.h"
#include "support/guiFixture.h"
#include "support/random.h"

#include <tuple>

using namespace gui;

namespace
{
class GuiControls : public test::GuiTest<>
{
protected:
    // Without padding and spacing the sums are plain.
    void SetPlainStyle()
    {
        GuiStyleData style = GuiStyleData::MakeDark();
        style.padding = style.spacing = 0;
        m_context->SetStyleData(0, style);
    }
    std::string Drag(Vec2<int> from, Vec2<int> to)
    {
        Press(from);
        m_context->SetMousePos(to.x, to.y);
        return Release();
    }
};

TEST_F(GuiControls, ListsShareOutTheirRoom)
{
    SetPlainStyle();
    auto* list = Add<GuiListH>(m_root, "list", {0, 0, 300, 50});
    using Case = std::tuple<GuiSizePolicy, int, float>;
    const auto place = [&](std::initializer_list<Case> cases, int width)
    {
        while (list->GetChildCount() > 0)
            list->RemoveChild(list->GetChild(0));
        for (const auto& [policy, preferred, minimum] : cases)
        {
            auto* label = Add<GuiLabel>(*list, "", {0, 0, preferred, 20});
            label->SetSizePolicy(policy);
            label->SetMinimumSize({minimum, 0});
        }
        list->SetRect(0, 0, width, 50);
        m_context->Update(0.01F);
        std::string text;
        for (std::size_t i = 0; i < list->GetChildCount(); ++i)
        {
            const GuiRecti rect = list->GetChild(i)->GetRect();
            text += std::to_string(rect.x) + "+" + std::to_string(rect.w) + "x" + std::to_string(rect.h) + " ";
        }
        return text;
    };
    const GuiSizePolicy fixed = GuiSizePolicy::Fixed();
    const GuiSizePolicy shrink = GuiSizePolicy::Shrink();
    EXPECT_EQ(place({{fixed, 50, 0}, {fixed, 60, 0}}, 300), "0+50x20 50+60x20 ");
    // Spare room: to those that expand, in proportion; to those that may grow if there are none.
    EXPECT_EQ(
        place({{GuiSizePolicy::Expand(), 50, 0}, {GuiSizePolicy::Resize(), 50, 0}, {GuiSizePolicy::ExpandH(), 100, 0}},
              300),
        "0+83x50 83+50x50 133+167x20 ");
    EXPECT_EQ(place({{GuiSizePolicy::ResizeH(), 50, 0}, {fixed, 50, 0}, {GuiSizePolicy::ResizeV(), 50, 0}}, 300),
              "0+200x20 200+50x20 250+50x50 ");
    // Too little: those that may shrink lose in proportion to their slack, down to their minimum, and then it
    // overflows.
    EXPECT_EQ(place({{fixed, 100, 0}, {shrink, 100, 50}, {shrink, 100, 0}}, 150), "0+100x20 100+50x20 150+0x20 ");
    EXPECT_EQ(place({{fixed, 100, 0}, {shrink, 100, 50}, {shrink, 100, 0}}, 225), "0+100x20 100+75x20 175+50x20 ");
    EXPECT_EQ(place({{fixed, 100, 0}, {shrink, 100, 90}}, 50), "0+100x20 100+90x20 ");
    // And back: what was lost was not forgotten.
    list->SetRect(0, 0, 200, 50);
    m_context->Update(0.01F);
    EXPECT_EQ(list->GetChild(1)->GetRect(), GuiRecti(100, 0, 100, 20));
    list->GetChild(0)->SetVisible(false);
    m_context->Update(0.01F);
    EXPECT_EQ(list->GetChild(1)->GetRect().x, 0);
}

// Inside while there is room for the minima, side by side, and the same once more.
TEST_F(GuiControls, ListsKeepAnyChildrenInside)
{
    SetPlainStyle();
    test::Random random(3);
    auto* column = Add<GuiListV>(m_root, "column", {0, 0, 100, 500});
    for (int round = 0; round < 300; ++round)
    {
        while (column->GetChildCount() > 0)
            column->RemoveChild(column->GetChild(0));
        for (int i = 0; i < 6; ++i)
        {
            static constexpr int kPolicies[] = {1, 3, 7};
            auto* label = Add<GuiLabel>(*column, "", {0, 0, 10, random.Below(200)});
            label->SetSizePolicy({kPolicies[random.Below(3)], kPolicies[random.Below(3)]});
            label->SetMinimumSize({0, random.Between(0, 70)});
        }
        m_context->Update(0.01F);
        int bottom = 0;
        for (std::size_t i = 0; i < column->GetChildCount(); ++i)
        {
            const GuiRecti rect = column->GetChild(i)->GetRect();
            EXPECT_EQ(rect.y, bottom);
            EXPECT_GE(static_cast<float>(rect.h), column->GetChild(i)->GetMinimumSize().y - 1.0F);
            bottom = rect.y + rect.h;
        }
        EXPECT_LE(bottom, 500);
        const GuiRecti before = column->GetChild(3)->GetRect();
        column->InvalidateLayout();
        m_context->Update(0.01F);
        EXPECT_EQ(column->GetChild(3)->GetRect(), before);
    }
}

TEST_F(GuiControls, ClickWithMouseAndKeyboard)
{
    auto* button = Add<GuiButton>(m_root, "b", {0, 0, 50, 20});
    auto* check = Add<GuiCheckBox>(m_root, "c", {0, 20, 50, 20});
    auto* first = Add<GuiRadioButton>(m_root, "r", {0, 40, 50, 20});
    auto* second = Add<GuiRadioButton>(m_root, "s", {0, 60, 50, 20});
    auto* other = Add<GuiRadioButton>(m_root, "o", {0, 80, 50, 20});
    other->SetGroup(2);
    other->Select();
    first->SetValue(10);
    second->SetValue(20);
    EXPECT_EQ(Click({5, 5}), "b3:0 b4:1");
    EXPECT_EQ(Drag({5, 5}, {200, 5}), "b3:0 b4:0"); // let go beside it
    EXPECT_EQ(m_context->GetInputWidget(), nullptr);
    EXPECT_EQ(Key(257) + Key(32) + Key(65), "b3:0 b4:1b3:0 b4:1"); // in focus since the click
    EXPECT_EQ(Click({5, 25}), "c5:1");
    EXPECT_EQ(Drag({5, 25}, {99, 25}), "");
    EXPECT_EQ(Key(32), "c5:0");
    EXPECT_FALSE(check->IsChecked());
    EXPECT_EQ(Click({5, 45}), "r6:10");
    EXPECT_EQ(Click({5, 65}), "s6:20");
    EXPECT_EQ(Click({5, 65}), "");
    EXPECT_TRUE(!first->IsSelected() && second->IsSelected() && other->IsSelected());

    // Locked, invisible, and locked between press and release.
    button->SetLocked(true);
    EXPECT_EQ(Click({5, 5}), "");
    button->SetLocked(false);
    Press({5, 5});
    button->SetVisible(false);
    EXPECT_EQ(m_context->GetInputWidget(), nullptr);
    EXPECT_EQ(Release(), "b3:0");
    m_context->PushMouseClick(2);
    EXPECT_EQ(Click({5, 25}), "c5:1");
}

class GuiHandles : public GuiControls
{
protected:
    std::string Tell(const char*, const GuiEvent& event) const override
    {
        return std::to_string(event.type) + ":" + std::to_string(static_cast<int>(event.GetFloat(0)));
    }
};

TEST_F(GuiHandles, FollowTheMouseAndTheKeys)
{
    auto* slider = Add<GuiSlider>(m_root, "s", {10, 200, 110, 20});
    slider->SetRange(0.0F, 100.0F);
    EXPECT_EQ(Drag({65, 205}, {95, 205}), "7:0 9:50 9:80 8:80"); // beside the handle, which comes
    EXPECT_EQ(Drag({97, 205}, {999, 999}), "7:80 9:100 8:100");
    EXPECT_EQ(Key(262) + Key(265), ""); // no further, and not along it
    EXPECT_EQ(Key(263), "9:99");
    EXPECT_EQ(Key(268), "9:0");
    slider->SetValue(33.3F);
    EXPECT_EQ(Drag({45, 205}, {45, 205}), "7:33 8:33"); // a click on the handle moves nothing
    EXPECT_EQ(slider->GetValue(), 33.3F);
    Press({45, 205});
    slider->SetLocked(true);
    EXPECT_EQ(m_context->GetInputWidget(), nullptr);
    Take();
    EXPECT_EQ(Drag({65, 205}, {95, 205}) + Key(269), "");

    auto* bar = Add<GuiScrollBar>(m_root, "b", {200, 10, 14, 100}, true);
    EXPECT_EQ(Drag({205, 20}, {205, 90}), "10:0 11:0"); // nothing to scroll
    bar->SetContentLength(400);
    EXPECT_EQ(Drag({205, 20}, {205, 45}), "10:0 12:100 11:100");
    EXPECT_EQ(Key(264), "12:110");
    bar->SetContentLength(150); // less than what was scrolled
    EXPECT_EQ(bar->GetValue(), 50.0F);
    bar->SetContentLength(-5);
    EXPECT_EQ(bar->GetValue(), 0.0F);
}
} // namespace
