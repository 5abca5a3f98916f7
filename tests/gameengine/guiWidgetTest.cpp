#include "gameengine/gui/guiWidget/guiStream.h"
#include "gameengine/gui/guiWidget/guiWidgetFile.h"
#include "support/expectations.h"
#include "support/guiFixture.h"
#include "support/random.h"

#include <functional>
#include <limits>
#include <string>

using namespace gui;

namespace
{
// Emits its id when clicked, and does as it is told.
class Probe : public GuiWidget
{
public:
    explicit Probe(GuiContext& context, const char* id = "", const GuiRecti& rect = {})
        : GuiWidget(context, 0, rect, GuiSizePolicy::Fixed())
    {
        SetId(id);
    }

    GuiWidgetType GetType() const override { return GuiWidgetType::Label; }
    const char* GetTypeString() const override { return "GWT_LABEL"; }
    void OnKeyPress(unsigned key) override { heard += "k" + std::to_string(key); }
    void OnMouseClick(unsigned button) override
    {
        heard += "m" + std::to_string(button);
        if (button != 1 || !IsHoveredOver() || !IsVisible() || IsLocked())
            return;
        myGrabInput();
        GuiEvent event{GET_BUTTON_PRESSED};
        event.SetInt(0, 7);
        myEmitEvent(GetId(), event);
    }
    void OnMouseRelease(unsigned button) override
    {
        heard += "r" + std::to_string(button);
        myReleaseInput();
    }
    void Tick(float) override
    {
        if (const auto now = std::exchange(onTick, nullptr))
            now();
    }

    std::string heard;
    std::function<void()> onTick;
};

class Callback : public GuiCallback
{
public:
    bool OnGuiEvent(const char* name, const GuiEvent& event) override
    {
        heard += name;
        last = event;
        if (const auto now = std::exchange(onEvent, nullptr))
            now();
        return true;
    }

    std::string heard;
    GuiEvent last;
    std::function<void()> onEvent;
};

class GuiWidgets : public test::GuiTest<>
{
protected:
    Probe* AddProbe(GuiLayout& layout, const char* id, const GuiRecti& rect) { return Add<Probe>(layout, id, rect); }
    GuiFreeLayout* AddLayout(GuiLayout& layout, const char* id, const GuiRecti& rect)
    {
        return Add<GuiFreeLayout>(layout, id, rect);
    }
    void Click(int x, int y)
    {
        m_context->SetMousePos(x, y);
        m_context->PushMouseClick(1);
        m_context->PushMouseRelease(1);
        m_context->Update(0.01F);
    }
};

TEST_F(GuiWidgets, AreHitWhereTheyAre)
{
    m_context->Render(200, 100);
    EXPECT_EQ(m_root.GetId(), "__root");
    EXPECT_EQ(m_root.GetRect(), GuiRecti(0, 0, 200, 100));
    GuiFreeLayout* box = AddLayout(m_root, "box", {10, 10, 100, 50});
    Probe* low = AddProbe(*box, "low", {20, 20, 30, 10});
    Probe* high = AddProbe(*box, "high", {40, 20, 30, 10});
    Probe* none = AddProbe(*box, "none", {60, 20, 0, 0});
    EXPECT_EQ(none->GetHoverWidget(60, 20), nullptr);
    // Half open, the later one on top.
    EXPECT_EQ(m_root.GetHoverWidget(20, 20), low);
    EXPECT_EQ(m_root.GetHoverWidget(40, 29), high);
    EXPECT_EQ(m_root.GetHoverWidget(69, 29), high);
    EXPECT_EQ(m_root.GetHoverWidget(70, 29), box);
    EXPECT_EQ(m_root.GetHoverWidget(69, 30), box);
    EXPECT_EQ(m_root.GetHoverWidget(5, 5), &m_root);
    EXPECT_EQ(m_root.GetHoverWidget(-1, 5), nullptr);
    box->RaiseChild(low);
    EXPECT_EQ(m_root.GetHoverWidget(45, 25), low);
    box->SetVisible(false);
    EXPECT_EQ(m_root.GetHoverWidget(45, 25), &m_root);
    // No overflow at the ends of what there is.
    constexpr int kMost = std::numeric_limits<int>::max();
    Probe wide(*m_context, "", {-kMost, -kMost, kMost, kMost});
    EXPECT_EQ(wide.GetHoverWidget(kMost, kMost), nullptr);
    EXPECT_EQ(wide.GetHoverWidget(-kMost, -2), &wide);

    EXPECT_EQ(high->GetRelativePos(), Vec2<int>(30, 10));
    EXPECT_EQ(wide.GetRelativePos(), Vec2<int>(-kMost, -kMost));
    EXPECT_EQ(high->ConvertAbsoluteToRelative(41, 22), Vec2<int>(1, 2));
    EXPECT_EQ(m_root.FindChild("high"), high);
    EXPECT_EQ(m_root.FindChild("nobody"), nullptr);
    test::ExpectAssertions expected{"gameengine/gui/guiWidget 411"};
    EXPECT_EQ(m_root.FindChildNotNull("nobody"), nullptr);
}

TEST_F(GuiWidgets, EventsComeOnePassLaterToTheNearestCallback)
{
    m_context->Render(200, 100);
    GuiFreeLayout* box = AddLayout(m_root, "box", {0, 0, 100, 100});
    Probe* probe = AddProbe(*box, "probe", {0, 0, 10, 10});
    Click(5, 5); // nobody listens
    Callback outer;
    Callback inner;
    m_root.SetCallback(&outer);
    box->SetCallback(&inner);
    Click(5, 5);
    EXPECT_EQ(inner.heard, "probe");
    EXPECT_EQ(outer.heard, "");
    EXPECT_EQ(inner.last.source, probe);
    EXPECT_EQ(inner.last.GetInt(0), 7);
    EXPECT_STREQ(GuiEventType_GetString(inner.last.type), "GET_BUTTON_PRESSED");
    for (const int type : {0, 1, 2, 16, 21, -1})
        EXPECT_STREQ(GuiEventType_GetString(type), "Unknown GuiEventType");
    EXPECT_EQ(probe->heard, "m1r1m1r1");

    // What is posted while events are delivered waits for the next pass.
    inner.onEvent = [&] { m_context->PostEvent(&outer, "again", {}); };
    Click(5, 5);
    EXPECT_EQ(outer.heard, "");
    m_context->Update(0.01F);
    EXPECT_EQ(outer.heard, "again");
    // Grabbed input goes nowhere else, keys to whoever is in focus.
    m_context->GrabInput(probe);
    m_context->PushKeyPress(65);
    Click(50, 50);
    EXPECT_EQ(probe->heard.substr(12), "k65m1r1");
    EXPECT_TRUE(m_context->IsKeyDown(65));
    m_context->PushKeyRelease(65);
    EXPECT_FALSE(m_context->IsKeyDown(65));
    EXPECT_EQ(m_context->GetInputWidget(), nullptr);
}

TEST_F(GuiWidgets, AnybodyMayGoAtAnyTime)
{
    m_context->Render(200, 100);
    GuiFreeLayout* box = AddLayout(m_root, "box", {0, 0, 100, 100});
    Probe* probe = AddProbe(*box, "probe", {0, 0, 10, 10});
    Callback callback;
    {
        Callback gone;
        m_context->PostEvent(&gone, "gone", {});
        m_context->PostEvent(&callback, "x", {GET_BUTTON_PRESSED, probe});
        probe->SetCallback(&gone);
    }
    EXPECT_EQ(probe->GetCallback(), nullptr);
    m_context->SetMousePos(5, 5);
    m_context->GrabFocus(probe);
    m_context->GrabInput(probe);
    m_context->Update(0.01F);
    EXPECT_EQ(callback.heard, "x");
    m_context->PostEvent(&callback, "y", {GET_BUTTON_PRESSED, probe});
    probe->DestroySelf();
    EXPECT_EQ(m_context->GetHoverWidget(), nullptr);
    EXPECT_EQ(m_context->GetFocusWidget(), nullptr);
    EXPECT_EQ(m_context->GetInputWidget(), nullptr);
    m_context->Update(0.01F);
    EXPECT_EQ(callback.heard, "xy");
    EXPECT_EQ(callback.last.source, nullptr);

    // While it is ticked: itself, its layout, and in the end everything.
    Probe* tick = AddProbe(*box, "tick", {0, 0, 10, 10});
    AddProbe(*box, "after", {0, 0, 10, 10});
    tick->SetTicking(true);
    box->GetChild(1)->SetTicking(true);
    tick->onTick = [tick] { tick->DestroySelf(); };
    m_context->Update(0.01F);
    EXPECT_EQ(box->GetChildCount(), 1U);
    static_cast<Probe*>(box->GetChild(0))->onTick = [box] { box->DestroySelf(); };
    m_context->Update(0.01F);
    EXPECT_EQ(m_root.GetChildCount(), 0U);
    m_context->PostEvent(&callback, "end", {});
    callback.onEvent = [&] { m_context = nullptr; };
    m_context->Update(0.01F);
    EXPECT_EQ(m_context, nullptr);
}

TEST_F(GuiWidgets, DocksAndAnchors)
{
    m_context->Render(200, 100);
    struct Case
    {
        GuiDock dock;
        std::uint32_t anchors;
        GuiRecti before;
        GuiRecti after; // when the room grows from 200 x 100 to 300 x 200
    };
    const Case cases[] = {{GuiDock::Top, 0, {9, 9, 9, 20}, {0, 0, 300, 20}},
                          {GuiDock::Left, 0, {9, 9, 40, 9}, {0, 20, 40, 180}},
                          {GuiDock::Right, 0, {9, 9, 30, 9}, {270, 20, 30, 180}},
                          {GuiDock::Bottom, 0, {9, 9, 9, 500}, {40, 20, 230, 180}}, // more than there is
                          {GuiDock::Center, 0, {9, 9, 9, 9}, {40, 20, 230, 0}},
                          {GuiDock::None, kAnchorLeft | kAnchorTop, {5, 6, 7, 8}, {5, 6, 7, 8}},
                          {GuiDock::None, kAnchorRight | kAnchorBottom, {5, 6, 7, 8}, {105, 106, 7, 8}},
                          {GuiDock::None, 15, {5, 6, 7, 8}, {5, 6, 107, 108}},
                          {GuiDock::None, 0, {90, 40, 20, 20}, {140, 90, 20, 20}}};
    std::vector<Probe*> probes;
    for (const Case& entry : cases)
    {
        probes.push_back(AddProbe(m_root, "", entry.before));
        probes.back()->SetAnchorMask(entry.anchors);
        probes.back()->SetDockPosition(entry.dock);
    }
    m_context->Update(0.01F);
    EXPECT_GT(m_context->GetLayoutCount(), 0);
    m_context->Render(300, 200);
    for (std::size_t i = 0; i < probes.size(); ++i)
        EXPECT_EQ(probes[i]->GetRect(), cases[i].after) << i;
    // Nothing to do, nothing done; and the same again gives the same, also after there was no room for anybody.
    m_context->Update(0.01F);
    m_context->Update(0.01F);
    EXPECT_EQ(m_context->GetLayoutCount(), 0);
    m_context->Render(2, 2);
    m_context->Render(300, 200);
    for (std::size_t i = 0; i < probes.size(); ++i)
        EXPECT_EQ(probes[i]->GetRect(), cases[i].after) << i;
    m_root.InvalidateLayout();
    m_context->Update(0.01F);
    EXPECT_EQ(m_context->GetLayoutCount(), 1);
    for (std::size_t i = 0; i < probes.size(); ++i)
        EXPECT_EQ(probes[i]->GetRect(), cases[i].after) << i;
    probes[0]->SetAnchorMask(0);
    EXPECT_EQ(probes[0]->GetDockingPosition(), GuiDock::None);

    // Distances are those of the file, not those from the room that it is read into.
    GuiStream stream(std::string("GWT_FREELAYOUT \"box\" 10 10 100 50 NONE CENTER 7 7 0\n"
                                 "\tGWT_SPACER_H \"inside\" 80 20 20 10 RIGHT|TOP NONE 0 0 0\n"));
    GuiFreeLayout* outer = AddLayout(m_root, "outer", {20, 20, 200, 100});
    ASSERT_TRUE(ReadWidgets(*outer, stream));
    m_context->Update(0.01F);
    EXPECT_EQ(outer->FindChild("inside")->GetRect(), GuiRecti(190, 30, 20, 10));
}

TEST_F(GuiWidgets, WriteLinesThatSayTheirLevel)
{
    GuiFreeLayout* box = AddLayout(m_root, "a \"box\"\n", {1, 2, 3, 4});
    Probe* probe = AddProbe(*box, "probe", {-5, 6, 7, 8});
    probe->SetAnchorMask(kAnchorRight | kAnchorBottom);
    box->SetDockPosition(GuiDock::Center);
    box->SetSizePolicy(GuiSizePolicy::ExpandH());
    GuiStream stream;
    EXPECT_TRUE(box->Save(stream));
    EXPECT_TRUE(probe->Save(stream));
    EXPECT_EQ(stream.GetData(), "\tGWT_FREELAYOUT \"a \\\"box\\\"\\n\" 1 2 3 4 LEFT|TOP CENTER 7 1 0\n"
                                "\t\tGWT_LABEL \"probe\" -5 6 7 8 RIGHT|BOTTOM NONE 0 0 0\n");
    // Sixteen levels.
    GuiLayout* deep = &m_root;
    for (int i = 1; i < 16; ++i)
        deep = AddLayout(*deep, "", {});
    GuiStream levels;
    EXPECT_TRUE(deep->Save(levels));
    const std::string before = levels.GetData();
    EXPECT_FALSE(AddLayout(*deep, "", {})->Save(levels));
    EXPECT_EQ(levels.GetData(), before);
}
} // namespace
