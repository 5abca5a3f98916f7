#include "gameengine/gui/guiWidget/guiNodeWidget.h"

#include "gameengine/gui/guiWidget/guiStream.h"
#include "gameengine/gui/guiWidget/guiWidgetFile.h"
#include "support/expectations.h"
#include "support/guiFixture.h"
#include "support/random.h"

#include <algorithm>
#include <functional>
#include <map>
#include <tuple>

using namespace gui;

namespace
{
using Part = GuiNodeHit::Part;

std::vector<std::string> Pins(int count)
{
    return std::vector<std::string>(static_cast<std::size_t>(count), "p");
}

// Everything that can be asked, against what the slow way of asking says.
void Check(const GuiNodeGraph& graph, const std::map<std::pair<GuiNodeId, int>, GuiNodeLink>& links,
           test::Random& random)
{
    ASSERT_EQ(graph.GetLinkCount(), links.size());
    std::size_t visited = 0;
    graph.VisitLinks(
        [&](const GuiNodeLink& link, const GuiNode& from, const GuiNode& to)
        {
            ++visited;
            EXPECT_EQ(links.at({link.to, link.input}), link);
            EXPECT_EQ(from.id, link.from);
            EXPECT_EQ(to.id, link.to);
        });
    EXPECT_EQ(visited, links.size());
    const std::vector<GuiNodeId> nodes = graph.GetNodes();
    ASSERT_EQ(nodes.size(), graph.GetNodeCount());
    const GuiRecti area(random.Below(3000) - 1500, random.Below(3000) - 1500, random.Below(900), random.Below(900));
    std::vector<GuiNodeId> expected;
    GuiNodeHit top;
    const Vec2<int> point(area.x, area.y);
    for (const GuiNodeId id : nodes)
    {
        const GuiNode& node = *graph.GetNode(id);
        const GuiRecti& rect = node.rect;
        const int margin = GuiNodeGraph::kGrabRadius;
        if (area.x <= rect.x + rect.w + margin && rect.x - margin <= area.x + area.w &&
            area.y <= rect.y + rect.h + margin && rect.y - margin <= area.y + area.h)
            expected.push_back(id);
        const auto tryPins = [&](std::size_t count, bool areInputs)
        {
            for (int i = 0; static_cast<std::size_t>(i) < count; ++i)
            {
                const Vec2<int> pin = areInputs ? graph.GetInputPlace(node, i) : graph.GetOutputPlace(node, i);
                const int x = pin.x - point.x;
                const int y = pin.y - point.y;
                if (x * x + y * y <= margin * margin)
                    top = {areInputs ? Part::Input : Part::Output, id, i};
            }
        };
        if (point.x >= rect.x && point.x <= rect.x + rect.w && point.y >= rect.y && point.y <= rect.y + rect.h)
            top = {Part::Body, id, 0};
        tryPins(node.outputs.size(), false);
        tryPins(node.inputs.size(), true);
    }
    std::vector<GuiNodeId> found;
    graph.FindNodes(area, found);
    EXPECT_EQ(found, expected);
    EXPECT_EQ(graph.FindAt(point), top);
}

bool HasLoop(const GuiNodeGraph& graph)
{
    bool hasLoop = false;
    graph.VisitLinks(
        [&](const GuiNodeLink& link, const GuiNode&, const GuiNode&)
        {
            const auto later = graph.FindConnected(link.to, false);
            hasLoop = hasLoop || std::binary_search(later.begin(), later.end(), link.from);
        });
    return hasLoop;
}

TEST(GuiNodeGraph, AgreesWithTheSlowWayAndRoundTrips)
{
    for (const bool refusesLoops : {false, true})
    {
        test::Random random(refusesLoops ? 5 : 4);
        GuiNodeGraph graph;
        graph.SetRefusesLoops(refusesLoops);
        std::map<std::pair<GuiNodeId, int>, GuiNodeLink> links;
        std::vector<GuiNodeId> nodes;
        for (int round = 0; round < 6000; ++round)
        {
            const auto any = [&] { return nodes.empty() ? 0 : nodes[random.Below(nodes.size())]; };
            const unsigned what = random.Below(10U);
            if (what < 2 && nodes.size() < 60)
            {
                nodes.push_back(graph.AddNode("node", {random.Below(2000) - 1000, random.Below(2000) - 1000},
                                              Pins(random.Below(20)), Pins(random.Below(6))));
                EXPECT_NE(nodes.back(), 0U);
            }
            else if (what == 2 && nodes.size() > 20 && random.OneIn(4))
            {
                const GuiNodeId gone = any();
                EXPECT_TRUE(graph.RemoveNode(gone));
                EXPECT_FALSE(graph.RemoveNode(gone));
                EXPECT_EQ(graph.GetNode(gone), nullptr);
                std::erase(nodes, gone);
                std::erase_if(links,
                              [&](const auto& entry) { return entry.second.from == gone || entry.second.to == gone; });
            }
            else if (what == 3)
                graph.SetPosition(any(), {random.Below(2000) - 1000, random.Below(2000) - 1000});
            else if (what == 4)
                graph.Raise(any());
            else if (what == 5 && !links.empty() && random.OneIn(8))
            {
                const auto gone = std::next(links.begin(), random.Below(static_cast<int>(links.size())));
                EXPECT_TRUE(graph.RemoveLink(gone->second));
                EXPECT_FALSE(graph.RemoveLink(gone->second));
                links.erase(gone);
            }
            else if (const GuiNodeLink link{any(), random.Below(7) - 1, any(), random.Below(21) - 1};
                     graph.AddLink(link))
            {
                EXPECT_TRUE(links.insert({{link.to, link.input}, link}).second);
                EXPECT_FALSE(graph.AddLink(link));
            }
            if (round % 16 == 0)
                Check(graph, links, random);
        }
        EXPECT_EQ(HasLoop(graph), !refusesLoops);
        EXPECT_GT(links.size(), 50U);
        const std::string text = graph.WriteText();
        GuiNodeGraph copy;
        EXPECT_EQ(copy.ReadText(text), 0U);
        EXPECT_EQ(copy.WriteText(), text);
        EXPECT_EQ(copy.ReadText("a;" + text) > 0, !refusesLoops);
        EXPECT_FALSE(HasLoop(copy));
    }
}

TEST(GuiNodeGraph, ReadsTextsOfAnyKind)
{
    const std::string long255(255, 'x');
    // The number of faults, the first of them, and what was understood.
    const std::tuple<std::string, std::size_t, std::string, std::string> cases[] = {
        {"", 0, "", ""},
        {";;v 0 0 100;", 0, "", ""},
        {"v -20 7 75;a;n 1 2 -3 a%20%25%3B%0A%22%5C,b%00 i,,%2C o;l 0 0 0 1", 1, "a link that closes a loop",
         "v -20 7 75;a;n 1 2 -3 a%20%25%3B%0A%22%5C%2Cb%00 i,,%2C o"},
        {"n 1 2 0  %2D -;n 1 2 0 \xE4 - ", 0, "", "n 1 2 0  %2D -;n 1 2 0 \xE4 - "}, // a lone pin without a name
        {"l 0 0 1 0;n 0 0 0 a - x;n 0 0 0 b y -", 0, "", "n 0 0 0 a - x;n 0 0 0 b y -;l 0 0 1 0"},
        // Numbers count those that are left out too.
        {"n 0 0 0 a - x;n 1000001 0 0 b y -;n 0 0 0 c y -;l 0 0 2 0;l 0 0 1 0;l 0 0 2 0;l 0 1 2 0;l -1 0 2 0", 5,
         "n 1000001 0 0 b y -", "n 0 0 0 a - x;n 0 0 0 c y -;l 0 0 1 0"},
        {"n 0 0 0 a -;n 0 0 0 a - - -;n 0 0 x a - -;n 0 0 0 %4 - -;n 0 0 0 %zz - -;n 0  0 a - -;q;v 0 0 24;v 0 0 100 1",
         9, "n 0 0 0 a -", ""},
        {"n 0 0 0 " + long255 + " - -;n 0 0 0 " + long255 + "x - -", 1, "n 0 0 0 " + long255 + "x - -",
         "n 0 0 0 " + long255 + " - -"},
        {"n 0 0 0 a " + std::string(255, ',') + " -;n 0 0 0 a " + std::string(255, ',') + " b", 1,
         "n 0 0 0 a " + std::string(255, ',') + " b", "n 0 0 0 a " + std::string(255, ',') + " -"},
    };
    for (const auto& [text, faults, firstFault, written] : cases)
    {
        GuiNodeGraph graph;
        graph.AddNode("before", {}, {}, {});
        std::string first;
        EXPECT_EQ(graph.ReadText(text, &first), faults) << text;
        EXPECT_EQ(first, firstFault);
        EXPECT_EQ(graph.WriteText(), written);
    }
}

TEST(GuiNodeGraph, FindsOneOfTenThousandWithoutAskingAll)
{
    GuiNodeGraph graph;
    for (int i = 0; i < 10'000; ++i)
        ASSERT_NE(graph.AddNode("", {i % 100 * 150, i / 100 * 100}, Pins(2), Pins(1)), 0U);
    EXPECT_EQ(graph.AddNode("", {}, {}, {}), 0U);
    EXPECT_EQ(graph.FindAt({50 * 150 + 20, 50 * 100 + 10}).node, graph.GetNodes()[5050]);
    EXPECT_LT(graph.GetVisitCount(), 30U);
    std::vector<GuiNodeId> found;
    graph.FindNodes({5000, 5000, 1000, 600}, found);
    EXPECT_GT(found.size(), 40U);
    EXPECT_LT(graph.GetVisitCount(), 200U);
    graph.FindNodes({-2'000'000'000, -2'000'000'000, 2'147'483'647, 2'147'483'647}, found); // no cell is looked for
    const GuiNodeId old = graph.GetNodes()[7];
    graph.RemoveNode(old);
    EXPECT_NE(graph.AddNode("", {}, {}, {}), old);
    graph.Clear();
    EXPECT_EQ(graph.WriteText(), "");
}

class Listener : public GuiNodeListener
{
public:
    void OnNodesMoved(GuiNodeWidget&, std::span<const GuiNodeId> nodes) override
    {
        Hear("moved" + std::to_string(nodes.size()));
    }
    void OnLinkAdded(GuiNodeWidget&, const GuiNodeLink& link) override { Hear("linked" + std::to_string(link.input)); }
    void OnLinkRemoved(GuiNodeWidget&, const GuiNodeLink& link) override
    {
        Hear("unlinked" + std::to_string(link.input));
    }
    void OnNodesDeleted(GuiNodeWidget&, std::span<const GuiNodeId> nodes) override
    {
        Hear("deleted" + std::to_string(nodes.size()));
    }
    void OnSelectionChanged(GuiNodeWidget& widget) override
    {
        Hear("selected" + std::to_string(widget.GetGraph().GetSelectedCount()));
    }

    std::string heard;
    std::function<void()> onHear;

private:
    void Hear(const std::string& what)
    {
        heard += (heard.empty() ? "" : " ") + what;
        if (const auto now = std::exchange(onHear, nullptr))
            now();
    }
};

class GuiNodes : public test::GuiTest<>
{
protected:
    GuiNodes() : GuiTest(800, 600)
    {
        m_widget->SetListener(&m_listener);
        // 100 wide; pins 34, 54 and 74 below the upper edge.
        m_source = m_widget->EditGraph().AddNode("source", {20, 20}, {}, {"x", "y"});
        m_middle = m_widget->EditGraph().AddNode("middle", {220, 20}, {"a", "b", "c"}, {"r"});
        m_sink = m_widget->EditGraph().AddNode("sink", {420, 20}, {"s"}, {});
        m_context->Update(0.01F);
    }

    const GuiNodeGraph& Graph() const { return m_widget->GetGraph(); }
    Vec2<int> Place(GuiNodeId id) const { return {Graph().GetNode(id)->rect.x, Graph().GetNode(id)->rect.y}; }
    // Positions of the graph.
    void Point(Vec2<int> at) { Move(m_widget->ToScreen(at)); }
    void Press(Vec2<int> at, unsigned button = kGuiMouseLeft) { GuiTest::Press(m_widget->ToScreen(at), button); }
    std::string Release(unsigned button = kGuiMouseLeft)
    {
        m_context->PushMouseRelease(button);
        m_context->Update(1.0F);
        return std::exchange(m_listener.heard, {});
    }
    std::string Drag(Vec2<int> from, Vec2<int> to, unsigned held = 0, unsigned button = kGuiMouseLeft)
    {
        Hold(held);
        Press(from, button);
        Point(to);
        Hold(held, false);
        return Release(button);
    }
    std::string Click(Vec2<int> at, unsigned held = 0) { return Drag(at, at, held); }
    std::string Key(unsigned key, unsigned held = 0)
    {
        GuiTest::Key(key, held);
        return std::exchange(m_listener.heard, {});
    }

    Listener m_listener;
    GuiNodeWidget* m_widget = Add<GuiNodeWidget>(m_root, "", {100, 50, 600, 500});
    GuiNodeId m_source = 0;
    GuiNodeId m_middle = 0;
    GuiNodeId m_sink = 0;
};

constexpr unsigned kControl = kGuiKeyLeftControl;

TEST_F(GuiNodes, SelectAndMove)
{
    EXPECT_EQ(Click({30, 30}), "selected1");
    EXPECT_EQ(Click({30, 30}), "");
    EXPECT_EQ(Click({230, 30}, kControl), "selected2");
    EXPECT_EQ(Click({230, 30}, kControl), "selected1");
    EXPECT_EQ(Click({10, 300}), "selected0");
    EXPECT_EQ(Drag({10, 10}, {320, 30}), "selected2");
    EXPECT_EQ(Drag({410, 10}, {430, 30}, kControl), "selected3");
    EXPECT_EQ(Drag({410, 300}, {460, 30}), "selected1");
    EXPECT_EQ(Key('A', kControl) + Key('A'), "selected3");
    // One of the selection takes the others along; a small jerk moves nothing.
    EXPECT_EQ(Drag({30, 30}, {32, 32}), "selected1");
    Key('A', kControl);
    EXPECT_EQ(Drag({30, 30}, {77, 53}), "moved3");
    EXPECT_EQ(Place(m_source), Vec2<int>(67, 43));
    EXPECT_EQ(Place(m_sink), Vec2<int>(467, 43));
    Press({77, 53});
    Point({177, 153});
    EXPECT_EQ(Place(m_sink), Vec2<int>(567, 143));
    EXPECT_EQ(Key(kGuiKeyEscape), "");
    EXPECT_EQ(Release(), "");
    EXPECT_EQ(Place(m_sink), Vec2<int>(467, 43));
    EXPECT_EQ(Key(kGuiKeyEscape), "selected0");
    // On the grid while Control is held when it comes down.
    Press({77, 53});
    m_context->PushKeyPress(kControl);
    Point({84, 63});
    EXPECT_EQ(Release(), "moved1 selected1");
    m_context->PushKeyRelease(kControl);
    EXPECT_EQ(Place(m_source), Vec2<int>(80, 48));
    EXPECT_EQ(Key(kGuiKeyRight), "moved1");
    EXPECT_EQ(Key(kGuiKeyUp, kGuiKeyLeftShift), "moved1");
    EXPECT_EQ(Place(m_source), Vec2<int>(96, 47));
    EXPECT_EQ(Key(kGuiKeyDelete), "deleted1 selected0");
    EXPECT_EQ(Graph().GetNode(m_source), nullptr);
    EXPECT_EQ(Key(kGuiKeyDelete), "");

    // What is taken away while it is moved.
    Press({277, 53});
    Point({300, 100});
    m_widget->EditGraph().RemoveNode(m_middle);
    Point({310, 120});
    EXPECT_EQ(Release(), "");
    m_widget->SetLocked(true);
    EXPECT_EQ(Click({477, 53}) + Key('A', kControl) + Key(kGuiKeyDelete), "");
}

TEST_F(GuiNodes, LinkByDragging)
{
    const Vec2<int> x{120, 54};
    const Vec2<int> y{120, 74};
    const Vec2<int> a{220, 54};
    const Vec2<int> b{220, 74};
    const Vec2<int> r{320, 54};
    const Vec2<int> s{420, 54};
    const Vec2<int> nothing{300, 300};
    EXPECT_EQ(Drag(x, a), "linked0");
    EXPECT_EQ(Drag(b, x), "linked1"); // the other way round
    EXPECT_EQ(Drag(x, b), "");        // that link is there
    EXPECT_EQ(Drag(y, a), "unlinked0 linked0");
    EXPECT_EQ(Graph().GetLinkTo(m_middle, 0), (GuiNodeLink{m_source, 1, m_middle, 0}));
    EXPECT_EQ(Drag(a, s), "unlinked0 linked0"); // to another input
    EXPECT_EQ(Drag(s, s), "");
    EXPECT_EQ(Drag(x, r) + Drag(a, b) + Drag(x, nothing), ""); // no such links
    Press(s);
    Point(nothing);
    EXPECT_EQ(Key(kGuiKeyEscape), "");
    EXPECT_EQ(Release(), "");
    EXPECT_EQ(Drag(s, nothing), "unlinked0");
    EXPECT_EQ(Graph().GetLinkCount(), 1U);
    m_widget->EditGraph().SetRefusesLoops(true);
    EXPECT_EQ(Drag(r, s) + Drag(r, a), "linked0");
    // The pins that would take it are marked, and only what can be seen is drawn.
    const auto countTargets = [this]
    {
        const auto pins = Draw("round");
        return std::count_if(pins.begin(), pins.end(),
                             [](const auto& call)
                             { return call.rect.w == 11 && call.color == GuiStyleData::MakeDark().accent; });
    };
    EXPECT_EQ(countTargets(), 0);
    Press(s); // its link comes off the sink
    Point(nothing);
    EXPECT_EQ(countTargets(), 1);
    Release();
    Press(x);
    Point(nothing);
    EXPECT_EQ(countTargets(), 4);
    EXPECT_EQ(m_widget->GetDrawnCounts(), Vec2<int>(3, 1));
    Release();
    m_widget->EditGraph().SetView({250, 0, 100});
    m_context->Render(800, 600);
    EXPECT_EQ(m_widget->GetDrawnCounts(), Vec2<int>(2, 0));
    EXPECT_EQ(m_draw.clips, 0);
}

TEST_F(GuiNodes, LinkByKeys)
{
    m_context->GrabFocus(m_widget);
    const auto press = [this](std::initializer_list<unsigned> keys)
    {
        std::string heard;
        for (const unsigned key : keys)
            heard += Key(key);
        return heard;
    };
    EXPECT_EQ(Key(kGuiKeyLeft, kControl), "selected1"); // the one nearest to the middle
    EXPECT_EQ(Key(kGuiKeyLeft, kControl) + Key(kGuiKeyLeft, kControl) + Key(kGuiKeyLeft, kControl),
              "selected1selected1");
    ASSERT_EQ(Graph().GetSelection(), std::vector<GuiNodeId>{m_source});
    // From its second output: to the nearest input, then over the second to the third one.
    EXPECT_EQ(press({kGuiKeyEnter, kGuiKeyDown, kGuiKeyLeft, kGuiKeyEnter, kGuiKeyEnter}), "linked1");
    EXPECT_EQ(press({kGuiKeyEnter, kGuiKeyUp, kGuiKeyUp, kGuiKeyEnter}), "linked2");
    EXPECT_EQ(Graph().GetLinkTo(m_middle, 2), (GuiNodeLink{m_source, 1, m_middle, 2}));
    // Taken back, and taken away; Escape leads back to the nodes.
    EXPECT_EQ(press({kGuiKeyEnter, kGuiKeyEscape}), "");
    EXPECT_EQ(press({kGuiKeyDelete}), "unlinked1 unlinked2");
    EXPECT_EQ(press({kGuiKeyEscape, kGuiKeyRight}), "moved1");
    EXPECT_EQ(Key(kGuiKeyRight, kControl), "selected1");
    // From an input its link comes off.
    ASSERT_TRUE(m_widget->EditGraph().AddLink({m_source, 0, m_middle, 0}));
    Key(kGuiKeyEnter);
    m_widget->EditGraph().RemoveNode(m_sink); // meanwhile
    EXPECT_EQ(press({kGuiKeyLeft, kGuiKeyEnter, kGuiKeyDelete}), "unlinked0");
    // A click ends it, and so does a graph that is another one.
    press({kGuiKeyEnter, kGuiKeyEnter});
    Click({700, 400});
    press({kGuiKeyEnter, kGuiKeyEnter});
    m_widget->EditGraph().Clear();
    EXPECT_EQ(press({kGuiKeyDown, kGuiKeyEnter, kGuiKeyEnter, kGuiKeyEscape, kGuiKeyDelete}), "");
}

TEST_F(GuiNodes, PanAndZoom)
{
    EXPECT_EQ(Drag({10, 10}, {110, 60}, 0, kGuiMouseMiddle), "");
    EXPECT_EQ(Graph().GetView(), (GuiNodeView{-100, -50, 100}));
    Drag({10, 10}, {-90, -40}, kGuiKeySpace);
    EXPECT_EQ(Graph().GetView(), (GuiNodeView{0, 0, 100}));
    // The point under the mouse stays there, from end to end.
    for (const auto& [button, percent] : {std::pair{kGuiMouseWheelUp, 200}, {kGuiMouseWheelDown, 25}})
    {
        m_context->SetMousePos(400, 300);
        for (int i = 0; i < 20; ++i)
        {
            m_context->PushMouseClick(button);
            m_context->PushMouseRelease(button);
            m_context->Update(0.01F);
            const Vec2<int> there = m_widget->ToScreen({300, 250});
            EXPECT_LE(std::abs(there.x - 400) + std::abs(there.y - 300), 2);
        }
        EXPECT_EQ(Graph().GetView().percent, percent);
    }
    Key(kGuiKeyHome);
    EXPECT_EQ(Graph().GetView().percent, 100);
    EXPECT_EQ(m_widget->ToScreen({270, 65}), Vec2<int>(400, 300)); // the middle of all
    Key(kGuiKeyPageDown);
    Key(kGuiKeyRight); // nothing is selected: the view
    EXPECT_EQ(Graph().GetView().percent, 90);

    EXPECT_EQ(Graph().WriteText().substr(0, 14), "v -28 -213 90;");
    GuiStream damaged("GWT_NODEWIDGET \"n 1 2 0 a - -;n x\" \"id\" 1 2 3 4 NONE NONE 0 0 0\n");
    std::vector<GuiReadFault> faults;
    EXPECT_FALSE(ReadWidgets(m_context->GetRoot(), damaged, &faults));
    ASSERT_EQ(faults.size(), 1U);
    EXPECT_EQ(faults[0].column, 16);
    EXPECT_EQ(static_cast<GuiNodeWidget*>(m_context->GetRoot().FindChild("id"))->GetGraph().GetNodeCount(), 1U);
    test::ExpectLog expected{"the graph of node widget \"\" has 2 parts that cannot be used, the first is \"x\""};
    EXPECT_FALSE(m_widget->SetGraphText("x;n 0 0 0 a - -;y"));
}

// The one who hears of it may end all.
TEST_F(GuiNodes, AnybodyMayGoWhileTheListenerHears)
{
    const auto end = [this](int who)
    {
        m_listener.onHear = [this, who]
        {
            if (who == 0)
                m_widget->DestroySelf();
            else if (who == 1)
                m_context = nullptr;
            else
                m_widget->SetListener(nullptr);
        };
    };
    // Two things happen each time; the second is not heard of by a widget that is gone.
    end(2);
    Press({30, 30});
    Point({60, 60});
    EXPECT_EQ(Release(), "moved1 selected1");
    m_widget->SetListener(&m_listener);
    end(0);
    EXPECT_EQ(Key(kGuiKeyDelete), "deleted1");
    EXPECT_EQ(m_context->GetRoot().GetChildCount(), 0U);
    m_widget = static_cast<GuiNodeWidget*>(m_context->GetRoot().AddChild(std::make_unique<GuiNodeWidget>(*m_context)));
    m_widget->SetRect(100, 50, 600, 500);
    {
        Listener gone;
        m_widget->SetListener(&gone);
    }
    EXPECT_TRUE(m_widget->SetGraphText("n 0 0 0 a - -"));
    Press({30, 30});
    EXPECT_EQ(Release(), "");
    m_widget->SetListener(&m_listener);
    end(1);
    Press({30, 30});
    Point({60, 60});
    m_context->PushMouseRelease(kGuiMouseLeft);
    m_context->Update(0.01F);
    EXPECT_EQ(m_listener.heard, "moved1");
    EXPECT_EQ(m_context, nullptr);
}
} // namespace
