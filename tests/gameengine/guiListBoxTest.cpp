#include "gameengine/gui/guiWidget/guiListBox.h"

#include "gameengine/gui/guiWidget/guiDropList.h"
#include "gameengine/gui/guiWidget/guiImage.h"
#include "support/deviceFixture.h"
#include "support/expectations.h"
#include "support/guiFixture.h"
#include "support/random.h"
#include "support/recordingPictures.h"

#include <algorithm>

using namespace gui;

namespace
{
std::vector<std::string> MakeItems(int count)
{
    std::vector<std::string> items;
    for (int i = 0; i < count; ++i)
        items.push_back("item " + std::to_string(i));
    return items;
}

/// Rows are 20 pixels high, the screen has 400 x 300.
class GuiItems : public test::GuiTest<>
{
protected:
    // "3" for an event that tells of item 3, "3!" where it was confirmed.
    std::string Tell(const char*, const GuiEvent& event) const override
    {
        EXPECT_EQ(event.type, GET_DROPLIST_CHANGED);
        return std::to_string(event.GetInt(0)) + (event.GetInt(1) != 0 ? "!" : "");
    }

    template <class Widget>
    Widget& Add(const GuiRecti& rect, std::vector<std::string> items)
    {
        auto* widget = GuiTest::Add<Widget>(m_root, "", rect);
        widget->SetItems(std::move(items));
        return *widget;
    }
    void Pass()
    {
        Update(0.02F);
        m_context->Render(400, 300);
    }
    std::string Take()
    {
        Pass();
        return GuiTest::Take();
    }
    // In order, which a sum of calls would not keep.
    static std::string All(std::initializer_list<std::string> heard)
    {
        std::string all;
        for (const std::string& part : heard)
            all += part.empty() ? "-" : part;
        return all;
    }
    std::string Press(int x, int y, unsigned button = kGuiMouseLeft)
    {
        GuiTest::Press({x, y}, button);
        return Take();
    }
    std::string Release(int x, int y)
    {
        m_context->SetMousePos(x, y);
        m_context->PushMouseRelease(kGuiMouseLeft);
        return Take();
    }
    // Clicks in a row at the same place count as one click more, so each comes after another one elsewhere.
    std::string Click(int x, int y)
    {
        Press(399, 299);
        Release(399, 299);
        const std::string heard = Press(x, y);
        const std::string later = Release(x, y);
        return heard + (heard.empty() || later.empty() ? "" : " ") + later;
    }
    std::string Type(std::string_view text)
    {
        for (const char c : text)
        {
            const unsigned key = c == ' ' ? static_cast<unsigned>(kGuiKeySpace) : 'A';
            m_context->PushKeyPress(key);
            m_context->PushKeyChar(static_cast<unsigned char>(c));
            m_context->PushKeyRelease(key);
        }
        const std::string heard = Take();
        m_context->Update(2.0F); // the next one begins a word
        return heard;
    }
    // What stands in the rows of a picture, from the first to the last.
    std::string GetRows()
    {
        const auto rows = Draw("text");
        EXPECT_EQ(m_draw.clips, 0);
        return rows.empty() ? ".." : rows.front().text + ".." + rows.back().text;
    }
};

TEST_F(GuiItems, ListBoxSelectsByMouseAndKeyboard)
{
    auto& list = Add<GuiListBox>({10, 10, 120, 102}, MakeItems(100)); // five rows, from y = 11 on
    EXPECT_EQ(Click(50, 35), "1");
    EXPECT_EQ(Click(50, 35), "");
    EXPECT_EQ(Press(50, 35), "1!"); // the second one in a row
    Release(50, 35);
    EXPECT_EQ(Key(kGuiKeyEnter), "1!");
    EXPECT_EQ(All({Key(kGuiKeyUp), Key(kGuiKeyUp)}), "0-");
    EXPECT_EQ(All({Key(kGuiKeyPageDown), Key(kGuiKeyPageDown)}), "49");
    EXPECT_EQ(GetRows(), "item 5..item 9");
    EXPECT_EQ(All({Key(kGuiKeyPageUp), Key(kGuiKeyPageUp)}), "50");
    EXPECT_EQ(All({Key(kGuiKeyEnd), Key(kGuiKeyDown)}), "99-");
    EXPECT_EQ(GetRows(), "item 95..item 99");
    EXPECT_EQ(Key(kGuiKeyHome), "0");

    // The wheel leaves the selection alone, which comes back into view when it is moved.
    EXPECT_EQ(All({Press(50, 50, kGuiMouseWheelDown), Press(50, 50, kGuiMouseWheelUp)}), "--");
    Press(50, 50, kGuiMouseWheelDown);
    EXPECT_EQ(GetRows(), "item 3..item 7");
    EXPECT_EQ(Key(kGuiKeyDown), "1");
    EXPECT_EQ(GetRows(), "item 1..item 5");
    list.SetHeight(72); // three rows and a half
    EXPECT_TRUE(list.SetSelected(50));
    EXPECT_EQ(GetRows(), "item 48..item 51");
    EXPECT_EQ(Click(50, 75), "51"); // which is seen in part
    list.SetHeight(52);
    EXPECT_EQ(GetRows(), "item 50..item 52");

    // Dragged over the rows, and beyond the edge.
    list.SetHeight(102);
    list.SetSelected(0);
    Press(50, 15);
    m_context->SetMousePos(50, 55);
    EXPECT_EQ(All({Take(), Take()}), "2-");
    m_context->SetMousePos(50, 200);
    for (int i = 0; i < 7; ++i)
        Pass();
    EXPECT_GT(list.GetSelected(), 5);
    EXPECT_LT(list.GetSelected(), 9);
    EXPECT_EQ(m_context->GetInputWidget(), &list);
    list.SetLocked(true);
    EXPECT_EQ(m_context->GetInputWidget(), nullptr);
    Take();
    EXPECT_EQ(All({Click(50, 35), Key(kGuiKeyEnd), Type("i")}), "---");
    list.SetLocked(false);
}

TEST_F(GuiItems, TypedLettersFindRows)
{
    Add<GuiListBox>({10, 10, 120, 302}, {"Alpha", "beta", "Bravo two", "bravo One", "\xC4rger", "?"});
    Click(50, 250); // below the rows
    EXPECT_EQ(All({Type("b"), Type("b"), Type("b"), Type("b")}), "1231");
    EXPECT_EQ(Type("bravo o"), "2 3");
    EXPECT_EQ(Type("bbb"), "1 2 3"); // one letter again and again
    EXPECT_EQ(All({Type("\xE4"), Type("zz"), Type(" ")}), "4--");
    m_context->PushKeyChar(0x3F); // a question mark, and what Latin-1 does not have
    m_context->PushKeyChar(0x20AC);
    EXPECT_EQ(Take(), "5");
}

TEST_F(GuiItems, SeveralRowsAreSelectedTogether)
{
    auto& list = Add<GuiListBox>({10, 10, 120, 202}, MakeItems(10));
    using Rows = std::vector<int>;
    EXPECT_FALSE(list.SetItemSelected(1, true));
    list.SetSelectsSeveral(true);
    EXPECT_EQ(Click(50, 55), "2");
    m_context->PushKeyPress(kGuiKeyLeftShift);
    EXPECT_EQ(Click(50, 115), "5");
    EXPECT_EQ(list.GetSelection(), Rows({2, 3, 4, 5}));
    EXPECT_EQ(Click(50, 15), "0");
    EXPECT_EQ(list.GetSelection(), Rows({0, 1, 2}));
    m_context->PushKeyRelease(kGuiKeyLeftShift);
    m_context->PushKeyPress(kGuiKeyLeftControl);
    EXPECT_EQ(All({Click(50, 195), Click(50, 195)}), "90"); // on and off
    EXPECT_EQ(Click(50, 35), "0");
    EXPECT_EQ(All({Key(kGuiKeyDown), Key(kGuiKeyDown)}), "--");
    EXPECT_EQ(Key(kGuiKeySpace), "3");
    EXPECT_EQ(list.GetSelection(), Rows({0, 2, 3}));
    EXPECT_EQ(Key('A'), "3");
    m_context->PushKeyRelease(kGuiKeyLeftControl);
    EXPECT_EQ(list.GetSelection().size(), 10U);
    EXPECT_EQ(Key(kGuiKeyDown, kGuiKeyLeftShift), "4");
    EXPECT_EQ(list.GetSelection(), Rows({3, 4}));
    list.SetSelectsSeveral(false);
    EXPECT_EQ(list.GetSelection(), Rows({4}));
}

TEST_F(GuiItems, SelectionFollowsItsItems)
{
    test::Random random(5);
    auto& list = Add<GuiListBox>({10, 10, 120, 102}, {});
    auto& drop = Add<GuiDropList>({150, 10, 120, 20}, {});
    list.SetSelectsSeveral(true);
    std::vector<std::string> chosen;
    std::string chosenOfDrop;
    for (int step = 0; step < 3000; ++step)
    {
        const int count = list.GetItemCount();
        const int index = random.Below(40);
        const std::string text = list.GetItem(index);
        if (random.OneIn(2))
        {
            EXPECT_EQ(list.InsertItem(index, std::to_string(step)), index <= count);
            drop.InsertItem(index, std::to_string(step));
        }
        else
        {
            EXPECT_EQ(list.RemoveItem(index), index < count);
            drop.RemoveItem(index);
            std::erase(chosen, text);
            chosenOfDrop = chosenOfDrop == text ? "" : chosenOfDrop;
        }
        const int other = random.Below(40);
        if (step % 3 == 0 && list.SetItemSelected(other, true) && drop.SetSelected(other))
        {
            chosenOfDrop = list.GetItem(other);
            std::erase(chosen, chosenOfDrop);
            chosen.push_back(chosenOfDrop);
        }
        if (step % 50 == 0)
            Key(kGuiKeyDown, kGuiKeyLeftControl);
        std::vector<std::string> selection;
        for (const int row : list.GetSelection())
            selection.push_back(list.GetItem(row));
        std::sort(selection.begin(), selection.end());
        std::sort(chosen.begin(), chosen.end());
        ASSERT_EQ(selection, chosen) << step;
        ASSERT_EQ(drop.GetItem(drop.GetSelected()), chosenOfDrop) << step;
    }
    EXPECT_EQ(list.Find("nothing") + drop.Find(drop.GetItem(3), 4), -2);
    EXPECT_FALSE(list.SetSelected(list.GetItemCount()) || list.SetItem(-1, "") || drop.SetSelected(-2));
}

TEST_F(GuiItems, DrawingCostsWhatIsSeen)
{
    auto& list = Add<GuiListBox>({10, 10, 120, 102}, MakeItems(100000));
    auto& drop = Add<GuiDropList>({150, 10, 120, 20}, MakeItems(100000));
    list.SetSelected(99990);
    drop.SetSelected(50000);
    drop.Open();
    GetRows();
    EXPECT_LT(m_draw.calls.size(), 50U);
    for (const auto& call : m_draw.calls)
        EXPECT_TRUE(call.rect.h < 300 && (call.rect.y >= 10 || call.what == "triangle")) << call.what;
    drop.Close();
    Move({50, 15});
    const auto areas = Draw("fill");
    const test::RecordingDraw::Call hovered{"fill", {11, 11, 104, 20}, "", m_context->GetStyleData(0).faceHover};
    EXPECT_EQ(std::count(areas.begin(), areas.end(), hovered), 1);
}

using GuiKeptItems = test::GuiTest<test::RecordingPictures>;

TEST_F(GuiKeptItems, OnlyChangesAreDrawn)
{
    auto& list = *Add<GuiListBox>(m_root, "", {10, 10, 120, 102});
    auto& drop = *Add<GuiDropList>(m_root, "", {10, 200, 120, 20});
    list.SetItems(MakeItems(20));
    drop.SetItems(MakeItems(20));
    const auto render = [this]
    {
        Update();
        m_context->Render(400, 300);
        return m_context->GetRenderCount();
    };
    const auto count = [&](const auto& act)
    {
        render(); // until nothing more comes of what was before
        render();
        EXPECT_EQ(render(), 0);
        act();
        return render();
    };
    const auto moveTo = [&](int y) { m_context->SetMousePos(50, y); };
    EXPECT_EQ(count([&] { moveTo(15); }), 1);
    EXPECT_EQ(count([&] { moveTo(18); }), 0); // in the same row
    EXPECT_EQ(count([&] { moveTo(150); }), 1);
    EXPECT_EQ(count([&] { list.AddItem("more"); }), 1);
    EXPECT_EQ(count([&] { list.SetSelected(3); }), 1);
    EXPECT_EQ(count([&] { drop.SetItem(0, "other"); }), 1);
    EXPECT_EQ(count([&] { drop.Open(); }), 1);
    EXPECT_EQ(count([&] { moveTo(35); }), 0) << "the list box lies below the open list";
}

TEST_F(GuiItems, DropListChoosesOrLeavesAll)
{
    auto& drop = Add<GuiDropList>({10, 50, 120, 20}, MakeItems(30)); // its list: ten rows from y = 71 on
    EXPECT_EQ(Click(50, 55), "");
    ASSERT_TRUE(drop.IsOpen());
    EXPECT_EQ(GetRows(), "item 0..item 10");
    EXPECT_EQ(Click(50, 95), "");
    EXPECT_FALSE(drop.IsOpen()) << "the click elsewhere of Click has closed it";

    EXPECT_EQ(All({Press(50, 55), Release(50, 55), Press(50, 95), Release(50, 95)}), "---1");
    EXPECT_FALSE(drop.IsOpen());
    EXPECT_EQ(GetRows(), "item 1..item 1");
    Press(50, 55); // down, over the rows, and up
    m_context->SetMousePos(50, 155);
    Pass();
    EXPECT_EQ(Release(50, 155), "4");
    EXPECT_EQ(m_context->GetInputWidget(), nullptr);
}

// Escape undoes what they did.
TEST_F(GuiItems, DropListTakesKeysAndTheWheel)
{
    auto& drop = Add<GuiDropList>({10, 50, 120, 20}, MakeItems(30));
    drop.SetSelected(4);
    m_context->GrabFocus(&drop);
    EXPECT_EQ(All({Key(kGuiKeyDown), Key(kGuiKeyUp), Key(kGuiKeyUp), Type("item 2")}), "5434 20");
    EXPECT_EQ(All({Key(kGuiKeySpace), Key(kGuiKeyDown), Key(kGuiKeyEnd), Key(kGuiKeyEscape)}), "----");
    EXPECT_EQ(drop.GetSelected(), 20);
    EXPECT_EQ(All({Key(kGuiKeyDown, kGuiKeyLeftAlt), Key(kGuiKeyEnd), Key(kGuiKeyEnter)}), "--29");
    EXPECT_EQ(All({Key(kGuiKeyEnter), Type("item 7"), Key(kGuiKeySpace)}), "--7");
    EXPECT_EQ(All({Press(50, 55, kGuiMouseWheelUp), Press(300, 55, kGuiMouseWheelUp)}), "6-");

    // A key that is held opens it once; Tab goes on to the next widget.
    m_context->PushKeyPress(kGuiKeyEnter);
    for (int pass = 0; pass < 60; ++pass)
    {
        Pass();
        ASSERT_TRUE(drop.IsOpen()) << pass;
    }
    m_context->PushKeyRelease(kGuiKeyEnter);
    auto& other = Add<GuiListBox>({300, 200, 50, 50}, {});
    EXPECT_EQ(Key(kGuiKeyDown) + Key(kGuiKeyTab), "");
    EXPECT_EQ(m_context->GetFocusWidget(), &other);
    EXPECT_EQ(drop.GetSelected(), 6);

    // Upwards where there is more room, scrolled by wheel and bar.
    drop.SetPos(10, 250);
    drop.Open();
    Pass();
    EXPECT_EQ(All({Press(50, 200, kGuiMouseWheelDown), Press(50, 200, kGuiMouseWheelDown)}), "--");
    EXPECT_EQ(GetRows(), "item 6..item 17");
    EXPECT_EQ(All({Press(125, 245), Release(125, 245)}), "--");
    EXPECT_TRUE(drop.IsOpen());
    EXPECT_EQ(All({Press(50, 245), Release(50, 245)}), "-29");

    // It does not outlive what it belongs to.
    drop.Open();
    drop.SetLocked(true);
    EXPECT_EQ(m_context->GetInputWidget(), nullptr);
    drop.Open();
    EXPECT_FALSE(drop.IsOpen());
    drop.SetLocked(false);
    drop.Open();
    m_root.SetVisible(false);
    Pass();
    EXPECT_FALSE(drop.IsOpen());
    m_root.SetVisible(true);
    drop.Open();
    drop.Clear();
    EXPECT_FALSE(drop.IsOpen());
}

TEST_F(GuiItems, ImagesStayBelowTheAssets)
{
    for (const char* name : {"/etc/passwd", "../secret.png", "c:\\x.png", "a\nb", "\\\\host\\x.png"})
    {
        auto* const image = GuiTest::Add<GuiImage>(m_root, "", {10, 10, 50, 40});
        image->SetName(name);
        {
            test::ExpectLog expected{"not one of a file below the assets"};
            Pass();
            image->SetPos(20, 20); // drawn again, logged once
            Pass();
        }
        GetRows();
        ASSERT_EQ(m_draw.calls.size(), 3U) << name;
        EXPECT_EQ(m_draw.calls[0].rect, GuiRecti(20, 20, 50, 40));
        m_root.RemoveChild(image);
    }
}

using GuiImageTest = test::DeviceTest;

TEST_F(GuiImageTest, LoadsWhenDrawnAndKeepsItsAspect)
{
    test::RecordingDraw draw;
    const auto context = GuiContext::Create(draw);
    auto& image = static_cast<GuiImage&>(*context->GetRoot().AddChild(std::make_unique<GuiImage>(*context)));
    image.SetRect(10, 10, 50, 90);
    const auto render = [&]
    {
        draw.calls.clear();
        context->Render(400, 300);
        return draw.calls.empty() ? test::RecordingDraw::Call() : draw.calls.front();
    };
    EXPECT_EQ(render().what, "");
    image.SetName("textures/roundcorners.png");
    EXPECT_FALSE(image.GetImage().IsValid());
    EXPECT_EQ(render().what, "image");
    ASSERT_TRUE(image.GetImage().IsValid());

    const std::uint32_t pixels[8] = {};
    Image made;
    ASSERT_TRUE(made.Create(4, 2, pixels));
    image.SetImage(made);
    EXPECT_EQ(image.GetName(), "");
    EXPECT_EQ(render().rect, GuiRecti(10, 42, 50, 25));
    image.SetKeepsAspect(false);
    EXPECT_EQ(render().rect, GuiRecti(10, 10, 50, 90));
    image.SetBorder({1, 0, 1, 0});
    EXPECT_EQ(render().what, "ninepatch");

    image.SetName("textures/none.png");
    test::ExpectLog expected{"textures/none.png"};
    EXPECT_EQ(render().what, "frame");
    image.SetTint(0x80FFFFFF); // drawn again
    EXPECT_EQ(render().what, "frame");
}
} // namespace
