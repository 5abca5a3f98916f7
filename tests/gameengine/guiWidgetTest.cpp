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
    explicit Probe(GuiContext& context, const GuiRecti& rect = {}) : GuiWidget(context, 0, rect, GuiSizePolicy::Fixed())
    {
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

using GuiWidgets = test::GuiTest<>;

TEST_F(GuiWidgets, AreHitWhereTheyAre)
{
    m_context->Render(200, 100);
    auto* box = Add<GuiFreeLayout>(m_root, "box", {10, 10, 100, 50});
    auto* low = Add<Probe>(*box, "low", {20, 20, 30, 10});
    auto* high = Add<Probe>(*box, "high", {40, 20, 30, 10});
    auto* none = Add<Probe>(*box, "none", {60, 20, 0, 0});
    EXPECT_EQ(none->GetHoverWidget(60, 20), nullptr);
    const auto whoIsAt = [this](int x, int y)
    {
        const GuiWidget* widget = m_root.GetHoverWidget(x, y);
        return widget ? widget->GetId() : "nobody";
    };
    // Half open, the later one on top.
    EXPECT_EQ(whoIsAt(20, 20), "low");
    EXPECT_EQ(whoIsAt(40, 29), "high");
    EXPECT_EQ(whoIsAt(69, 29), "high");
    EXPECT_EQ(whoIsAt(70, 29), "box");
    EXPECT_EQ(whoIsAt(69, 30), "box");
    EXPECT_EQ(whoIsAt(199, 99), "__root");
    EXPECT_EQ(whoIsAt(200, 5), "nobody");
    box->RaiseChild(low);
    EXPECT_EQ(whoIsAt(45, 25), "low");
    box->SetVisible(false);
    EXPECT_EQ(whoIsAt(45, 25), "__root");
    // No overflow at the ends of what there is.
    constexpr int kMost = std::numeric_limits<int>::max();
    Probe wide(*m_context, {-kMost, -kMost, kMost, kMost});
    EXPECT_EQ(wide.GetHoverWidget(kMost, kMost), nullptr);
    EXPECT_EQ(wide.GetHoverWidget(-kMost, -2), &wide);

    EXPECT_EQ(high->ConvertAbsoluteToRelative(41, 22), Vec2<int>(1, 2));
    EXPECT_EQ(m_root.FindChild("high"), high);
    test::ExpectAssertions expected{"gameengine/gui/guiWidget 411"};
    EXPECT_EQ(m_root.FindChildNotNull("nobody"), nullptr);
}

TEST_F(GuiWidgets, EventsComeOnePassLaterToTheNearestCallback)
{
    m_context->Render(200, 100);
    auto* box = Add<GuiFreeLayout>(m_root, "box", {0, 0, 100, 100});
    auto* probe = Add<Probe>(*box, "probe", {0, 0, 10, 10});
    Tap({5, 5}); // nobody listens
    Callback outer;
    Callback inner;
    m_root.SetCallback(&outer);
    box->SetCallback(&inner);
    Tap({5, 5});
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
    Tap({5, 5});
    EXPECT_EQ(outer.heard, "");
    Update();
    EXPECT_EQ(outer.heard, "again");
    // Grabbed input goes nowhere else, keys to whoever is in focus.
    m_context->GrabInput(probe);
    m_context->PushKeyPress(65);
    Tap({50, 50});
    EXPECT_EQ(probe->heard.substr(12), "k65m1r1");
    EXPECT_TRUE(m_context->IsKeyDown(65));
    m_context->PushKeyRelease(65);
    EXPECT_FALSE(m_context->IsKeyDown(65));
    EXPECT_EQ(m_context->GetInputWidget(), nullptr);
}

TEST_F(GuiWidgets, AnybodyMayGoAtAnyTime)
{
    m_context->Render(200, 100);
    auto* box = Add<GuiFreeLayout>(m_root, "box", {0, 0, 100, 100});
    auto* probe = Add<Probe>(*box, "probe", {0, 0, 10, 10});
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
    Update();
    EXPECT_EQ(callback.heard, "x");
    m_context->PostEvent(&callback, "y", {GET_BUTTON_PRESSED, probe});
    probe->DestroySelf();
    EXPECT_EQ(m_context->GetHoverWidget(), nullptr);
    EXPECT_EQ(m_context->GetFocusWidget(), nullptr);
    EXPECT_EQ(m_context->GetInputWidget(), nullptr);
    Update();
    EXPECT_EQ(callback.heard, "xy");
    EXPECT_EQ(callback.last.source, nullptr);

    // While it is ticked: itself, its layout, and in the end everything.
    auto* tick = Add<Probe>(*box, "tick", {0, 0, 10, 10});
    Add<Probe>(*box, "after", {0, 0, 10, 10});
    tick->SetTicking(true);
    box->GetChild(1)->SetTicking(true);
    tick->onTick = [tick] { tick->DestroySelf(); };
    Update();
    EXPECT_EQ(box->GetChildCount(), 1U);
    static_cast<Probe*>(box->GetChild(0))->onTick = [box] { box->DestroySelf(); };
    Update();
    EXPECT_EQ(m_root.GetChildCount(), 0U);
    m_context->PostEvent(&callback, "end", {});
    callback.onEvent = [&] { m_context = nullptr; };
    Update();
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
    std::vector<GuiRecti> expected;
    for (const Case& entry : cases)
    {
        probes.push_back(Add<Probe>(m_root, "", entry.before));
        probes.back()->SetAnchorMask(entry.anchors);
        probes.back()->SetDockPosition(entry.dock);
        expected.push_back(entry.after);
    }
    const auto getPlaces = [&]
    {
        std::vector<GuiRecti> places;
        for (const Probe* probe : probes)
            places.push_back(probe->GetRect());
        return places;
    };
    Update();
    m_context->Render(300, 200);
    EXPECT_EQ(getPlaces(), expected);
    // Nothing to do, nothing done; and the same again gives the same, also after there was no room for anybody.
    Update();
    Update();
    EXPECT_EQ(m_context->GetLayoutCount(), 0);
    m_context->Render(2, 2);
    m_context->Render(300, 200);
    EXPECT_EQ(getPlaces(), expected);
    m_root.InvalidateLayout();
    Update();
    EXPECT_EQ(m_context->GetLayoutCount(), 1);
    EXPECT_EQ(getPlaces(), expected);
    probes[0]->SetAnchorMask(0);
    EXPECT_EQ(probes[0]->GetDockingPosition(), GuiDock::None);

    // Distances are those of the file, not those from the room that it is read into.
    GuiStream stream(std::string("GWT_FREELAYOUT \"box\" 10 10 100 50 NONE CENTER 7 7 0\n"
                                 "\tGWT_SPACER_H \"inside\" 80 20 20 10 RIGHT|TOP NONE 0 0 0\n"));
    auto* outer = Add<GuiFreeLayout>(m_root, "outer", {20, 20, 200, 100});
    ASSERT_TRUE(ReadWidgets(*outer, stream));
    Update();
    const GuiWidget& inside = *outer->FindChild("inside");
    EXPECT_EQ(inside.GetRect(), GuiRecti(190, 30, 20, 10));
    EXPECT_TRUE(inside.GetRelativePos().x == 170 && inside.GetRelativePos().y == 10);
}
} // namespace
