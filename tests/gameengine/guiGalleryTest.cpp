// Every type of widget that a file can hold, together on one screen: how they are placed, and that no input of a user
// and nothing that callbacks do meanwhile brings them down. TAMRA_GUI_EVENTS sets how many inputs that is tried with.

#include "gameengine/gui/guiWidget/guiAutomation.h"
#include "gameengine/gui/guiWidget/guiStream.h"
#include "gameengine/gui/guiWidget/guiWidgetFile.h"
#include "gameengine/gui/guiWidget/guiWindow.h"
#include "support/expectations.h"
#include "support/guiFixture.h"
#include "support/random.h"
#include "support/recordingPictures.h"

#include <algorithm>
#include <cstdlib>
#include <iterator>
#include <set>

using namespace gui;

namespace
{
constexpr int kWidth = 1280;
constexpr int kHeight = 720;
constexpr std::size_t kMostWidgets = 400;

std::vector<GuiWidget*> Collect(GuiWidget& root)
{
    std::vector<GuiWidget*> widgets;
    IterateOverWidgets(
        root, [](GuiWidget& widget, void* user) { static_cast<std::vector<GuiWidget*>*>(user)->push_back(&widget); },
        &widgets);
    return widgets;
}

class Gallery : public test::GuiTest<test::RecordingPictures>
{
protected:
    Gallery() { Restart("gallery.gui"); }

    void Restart(const std::string& name)
    {
        while (m_root.GetChildCount() > 0)
            m_root.GetChild(0)->DestroySelf();
        ASSERT_TRUE(LoadWidgetFile(m_root, TAMRA_SOURCE_FOLDER "/assets/gui/" + name));
    }
    void Show(int width, int height)
    {
        m_context->Render(width, height);
        m_context->Update(0.1F);
        m_draw.calls.clear();
        m_context->Render(width, height);
    }
};

// Nothing lies over or outside of something else: the mouse reaches all of it, in every size, and once more.
TEST_F(Gallery, CanBeReachedAsCanTheOtherWindows)
{
    GuiAutomation user(*m_context);
    for (const char* name : {"gallery.gui", "sceneview_properties.gui", "colorpicker.gui", "scriptEditor.gui"})
    {
        SCOPED_TRACE(name);
        Restart(name);
        for (const auto& [width, height] : {std::pair{kWidth, kHeight}, {1600, 900}, {kWidth, kHeight}})
        {
            Show(width, height);
            EXPECT_EQ(m_draw.clips, 0);
            for (GuiWidget* widget : Collect(m_root))
            {
                const bool isEmpty = widget->GetRect().w * widget->GetRect().h == 0;
                EXPECT_TRUE(widget->AsLayout() || isEmpty || user.MoveTo(*widget))
                    << widget->GetTypeString() << ' ' << widget->GetId();
            }
            m_context->Update(0.1F);
            EXPECT_EQ(m_context->GetLayoutCount(), 0);
        }
    }
    Restart("sceneview_properties.gui");
    float value = 0.0F;
    EXPECT_TRUE(user.Fill("rotationY", "45\n") && user.GetValue("properties/rotationY", value) && value == 45.0F);
}

// Plays a user out of his mind, and a program that changes everything in answer to him.
class Storm : public Gallery
{
protected:
    bool OnGuiEvent(const char*, const GuiEvent& event) override
    {
        ++m_events;
        if (event.source && m_random.OneIn(40))
            event.source->DestroySelf();
        for (int i = m_random.Below(3); i > 0; --i)
            ChangeSomething();
        if (m_random.OneIn(50))
            m_context->Update(0.1F); // from within
        return true;
    }

    GuiWidget* PickWidget()
    {
        const std::vector<GuiWidget*> widgets = Collect(m_root);
        GuiWidget* const widget = widgets[m_random.Below(widgets.size())];
        return widget == &m_root ? nullptr : widget;
    }

    void ChangeSomething()
    {
        GuiWidget* const widget = PickWidget();
        if (!widget)
            return;
        const auto* layout = widget->AsLayout();
        switch (m_random.Below(13))
        {
        case 0:
            if (!layout || m_random.OneIn(8))
                widget->DestroySelf();
            break;
        case 1:
        case 2: Grow(*widget); break;
        case 3: widget->SetLocked(m_random.OneIn(4)); break;
        case 4: widget->SetVisible(!m_random.OneIn(4)); break;
        case 5: widget->SetRect(Coordinate(), Coordinate(), Coordinate(), Coordinate()); break;
        case 6: widget->SetAnchorMask(m_random.Below(16U)); break;
        case 7: widget->SetDockPosition(static_cast<GuiDock>(m_random.Below(6))); break;
        case 8: m_context->GrabFocus(widget); break;
        case 9: widget->SetStyle(m_random.Below(3)); break;
        case 10: widget->SetSizePolicy({m_random.Below(8), m_random.Below(8)}); break;
        case 11:
            if (auto* window = dynamic_cast<GuiWindow*>(widget))
                window->SetFlags(m_random.Below(128U));
            break;
        case 12: widget->SetMinimumSize({m_random.Between(0.0F, 99.0F), m_random.Between(0.0F, 99.0F)}); break;
        }
    }

    // One more of what there is, at or beside the widget.
    void Grow(GuiWidget& place)
    {
        auto* layout = place.AsLayout();
        if (!layout)
            layout = place.GetParent()->AsLayout();
        const GuiWidget* const model = PickWidget();
        GuiStream stream;
        if (!layout || !model || layout->GetDepth() > 12 || Collect(m_root).size() > kMostWidgets ||
            !model->Save(stream))
            return;
        GuiStream copy(stream.GetData());
        std::unique_ptr<GuiWidget> widget = CreateWidgetFromStream(*m_context, copy);
        ASSERT_TRUE(widget);
        widget->SetParent(nullptr);
        layout->AddChild(std::move(widget));
    }

    int Coordinate() { return m_random.OneIn(100) ? m_random.Below(2000000) - 1000000 : m_random.Below(700); }

    void MoveMouse()
    {
        const GuiWidget* const widget = m_random.OneIn(3) ? nullptr : PickWidget();
        const GuiRecti rect = widget ? widget->GetRect() : GuiRecti(-10, -10, kWidth + 20, kHeight + 20);
        m_context->SetMousePos(rect.x + m_random.Below(std::max(rect.w, 1)),
                               rect.y + m_random.Below(std::max(rect.h, 1)));
    }

    unsigned PickKey()
    {
        static constexpr unsigned kKeys[] = {32,  256, 257, 258, 259, 260, 261, 262, 263, 264, 265, 266, 267, 268,
                                             269, 290, 340, 341, 342, 344, 345, 346, 'A', 'C', 'V', 'X', 'Y', 'Z'};
        return m_random.OneIn(20) ? m_random.Below(1000U) : kKeys[m_random.Below(std::size(kKeys))];
    }

    unsigned PickButton()
    {
        static constexpr unsigned kButtons[] = {1, 1, 1, 1, 2, 4, 32, 64, 0, 1U << 31};
        return kButtons[m_random.Below(std::size(kButtons))];
    }

    void Input()
    {
        switch (m_random.Below(13))
        {
        case 0:
        case 1:
        case 2: MoveMouse(); break;
        case 3: m_context->PushMouseClick(PickButton()); break;
        case 4:
        case 5: m_context->PushMouseRelease(PickButton()); break;
        case 6: m_context->PushKeyPress(PickKey()); break;
        case 7: m_context->PushKeyRelease(PickKey()); break;
        case 8:
            m_context->PushKeyChar(m_random.OneIn(10) ? static_cast<unsigned>(m_random.Bits()) : m_random.Below(300U));
            break;
        default: // a click without mishaps
            MoveMouse();
            m_context->PushMouseClick(1);
            m_context->PushMouseRelease(1);
            break;
        }
    }

    void Pass()
    {
        static constexpr float kSeconds[] = {0.016F, 0.016F, 0.016F, 0.0F, 0.3F, 5.0F};
        m_context->Update(kSeconds[m_random.Below(std::size(kSeconds))]);
        if (!m_random.OneIn(4))
            return;
        m_context->Render(m_width, m_height);
        ASSERT_EQ(m_draw.clips, 0);
        m_draw.calls.clear();
        if (m_random.OneIn(4))
            ComparePictures();
    }

    // What was replaced piece by piece is what is drawn anew.
    void ComparePictures()
    {
        const auto kept = m_draw.GetPicture();
        m_context->RequestPicture();
        m_context->Render(m_width, m_height);
        const auto drawn = m_draw.GetPicture();
        const auto [a, b] = std::mismatch(kept.begin(), kept.end(), drawn.begin(), drawn.end());
        ASSERT_TRUE(kept == drawn) << (a != kept.end() ? a->what + " " + a->text : "nothing") << " instead of "
                                   << (b != drawn.end() ? b->what + " " + b->text : "nothing");
    }

    void Check()
    {
        const std::vector<GuiWidget*> widgets = Collect(m_root);
        const std::set<GuiWidget*> alive(widgets.begin(), widgets.end());
        for (GuiWidget* widget :
             {m_context->GetHoverWidget(), m_context->GetFocusWidget(), m_context->GetInputWidget()})
            ASSERT_TRUE(!widget || alive.contains(widget));
        for (GuiWidget* widget : widgets)
        {
            const auto* layout = widget->AsLayout();
            for (std::size_t i = 0; layout && i < layout->GetChildCount(); ++i)
                ASSERT_EQ(layout->GetChild(i)->GetParent(), widget);
        }
    }

    // So that there is always something to use.
    void Mend()
    {
        ChangeSomething();
        for (GuiWidget* widget : Collect(m_root))
        {
            widget->SetVisible(true);
            widget->SetLocked(false);
            if (auto* window = dynamic_cast<GuiWindow*>(widget))
                window->SetFlags(GuiWindow::kUsualFlags);
        }
    }

    // Whoever has all input, lets go of it when the user lets go of everything and leaves.
    void LetGo()
    {
        for (const unsigned button : {1U, 2U, 4U, 32U, 64U, 0U, 1U << 31})
            m_context->PushMouseRelease(button);
        m_context->PushKeyPress(kGuiKeyEscape);
        m_context->PushKeyRelease(kGuiKeyEscape);
        m_context->Update(0.016F);
        const GuiWidget* const input = m_context->GetInputWidget();
        ASSERT_TRUE(!input) << input->GetTypeString() << ' ' << input->GetId();
        // With the last events heard, there is nothing to be placed any more.
        for (int pass = 0; pass < 4; ++pass)
            m_context->Update(0.0F);
        ASSERT_EQ(m_context->GetLayoutCount(), 0);
    }

    test::Random m_random{20};
    int m_width = kWidth;
    int m_height = kHeight;
    std::size_t m_events = 0;
};

TEST_F(Storm, IsWeathered)
{
    const char* const wanted = std::getenv("TAMRA_GUI_EVENTS");
    const int count = wanted ? std::atoi(wanted) : 100000;
    for (int i = 0; i < count && !HasFatalFailure(); ++i)
    {
        SCOPED_TRACE(i);
        Input();
        if (m_random.OneIn(3))
            Pass();
        if (m_random.OneIn(500))
        {
            m_width = m_random.Below(2000);
            m_height = m_random.Below(1200);
        }
        if (m_random.OneIn(200))
            Check();
        if (m_random.OneIn(1000))
            LetGo();
        if (m_random.OneIn(300))
            Mend();
        if (m_random.OneIn(3000) || Collect(m_root).size() < 20)
        {
            Restart("gallery.gui");
            m_width = kWidth;
            m_height = kHeight;
        }
    }
    EXPECT_GT(m_events, static_cast<std::size_t>(count / 20));
    RecordProperty("events", std::to_string(m_events));
}
} // namespace
