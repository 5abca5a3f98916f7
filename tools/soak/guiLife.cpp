#include "tools/soak/guiLife.h"

#include "gameengine/gui/guiWidget/guiKey.h"
#include "gameengine/gui/guiWidget/guiStream.h"
#include "gameengine/gui/guiWidget/guiWidgetFile.h"
#include "gameengine/gui/guiWidget/guiWindow.h"
#include "tamraengine/renderer/renderer.h"
#include "tools/soak/entityModel.h"

#include <algorithm>
#include <cmath>
#include <iterator>
#include <set>

using namespace gui;

namespace soak
{
namespace
{
constexpr const char* kFiles[] = {"gui/gallery.gui",           "gui/sceneview_properties.gui", "gui/colorpicker.gui",
                                  "gui/scriptEditor.gui",      "gui/editor_entities.gui",      "gui/editor_menu.gui",
                                  "gui/editor_properties.gui", "gui/editor_statistics.gui",    "gui/editor_view.gui"};
constexpr unsigned kButtons[] = {1, 1, 1, 1, 2, 4, 32, 64, 0, 1U << 31};
constexpr unsigned kKeys[] = {32,  256, 257, 258, 259, 260, 261, 262, 263, 264, 265, 266, 267, 268,
                              269, 290, 340, 341, 342, 344, 345, 346, 'A', 'C', 'V', 'X', 'Y', 'Z'};
constexpr unsigned kMostKeys = 1000;
constexpr std::size_t kMostWidgets = 500;
constexpr std::size_t kMostWindows = 6;
constexpr int kInputs = 12;
constexpr int kDeepest = 10;

int MakeCoordinate(CRandom& random)
{
    return random.OneIn(100) ? random.Below(2000000) - 1000000 : random.Below(700);
}
} // namespace

CGuiLife::CGuiLife(CJournal& journal, CTamraGameEngine& engine)
    : CLife(journal),
      m_engine(engine),
      m_context(GuiContext::Create(engine.GetDraw()))
{
    m_context->GetRoot().SetCallback(this);
    if (engine.GetRenderer().HasDevice())
        m_target = renderer::CRenderTarget::Create(engine.GetRenderer(), m_width, m_height);
}

CGuiLife::Widgets CGuiLife::i_Collect() const
{
    Widgets widgets;
    IterateOverWidgets(
        m_context->GetRoot(), [](GuiWidget& widget, void* user) { static_cast<Widgets*>(user)->push_back(&widget); },
        &widgets);
    return widgets;
}

GuiWidget* CGuiLife::i_Pick(CRandom& random) const
{
    const Widgets widgets = i_Collect();
    GuiWidget* const widget = widgets[random.Below(widgets.size())];
    return widget == &m_context->GetRoot() ? nullptr : widget;
}

void CGuiLife::Step(CRandom& random)
{
    m_random = &random;
    const std::size_t windows = m_context->GetRoot().GetChildCount();
    if (windows == 0 || (windows < kMostWindows && random.OneIn(8)))
        i_Open(random);
    else if (random.OneIn(12))
        i_Close(random);
    for (int i = 0; i < kInputs; ++i)
    {
        i_Input(random);
        if (random.OneIn(3))
            i_Pass(random);
    }
    if (random.OneIn(40))
    {
        m_width = random.Below(2000);
        m_height = random.Below(1200);
    }
    if (random.OneIn(25))
    {
        i_Change(random);
        i_Mend();
    }
    if (random.OneIn(60))
        i_LetGo();
    m_random = nullptr;
}

void CGuiLife::i_Open(CRandom& random)
{
    if (i_Collect().size() < kMostWidgets)
        i_Require(LoadWidgetFile(m_context->GetRoot(), kFiles[random.Below(std::size(kFiles))]),
                  "a window's file cannot be read");
}

void CGuiLife::i_Close(CRandom& random)
{
    GuiFreeLayout& root = m_context->GetRoot();
    root.GetChild(random.Below(root.GetChildCount()))->DestroySelf();
}

bool CGuiLife::OnGuiEvent(const char*, const GuiEvent& event)
{
    ++m_journal.tally.guiEvents;
    if (!m_random)
        return true;
    CRandom& random = *m_random;
    if (event.source && random.OneIn(40))
        event.source->DestroySelf();
    for (int i = random.Below(3); i > 0; --i)
        i_Change(random);
    if (random.OneIn(50))
        m_context->Update(0.1F); // from within
    return true;
}

void CGuiLife::i_Change(CRandom& random)
{
    GuiWidget* const widget = i_Pick(random);
    if (!widget)
        return;
    const CVector3 size = MakePoint(random, 99.0F);
    switch (random.Below(12))
    {
    case 0:
        if (!widget->AsLayout() || random.OneIn(8))
            widget->DestroySelf();
        break;
    case 1:
    case 2: i_Grow(*widget, random); break;
    case 3: widget->SetLocked(random.OneIn(4)); break;
    case 4: widget->SetVisible(!random.OneIn(4)); break;
    case 5:
    {
        const GuiRecti rect{MakeCoordinate(random), MakeCoordinate(random), MakeCoordinate(random),
                            MakeCoordinate(random)};
        widget->SetRect(rect);
        break;
    }
    case 6: widget->SetAnchorMask(static_cast<unsigned>(random.Below(16))); break;
    case 7: widget->SetDockPosition(static_cast<GuiDock>(random.Below(6))); break;
    case 8: m_context->GrabFocus(widget); break;
    case 9: widget->SetStyle(random.Below(3)); break;
    case 10: widget->SetMinimumSize({std::abs(size.x), std::abs(size.y)}); break;
    default:
        if (auto* window = dynamic_cast<GuiWindow*>(widget))
            window->SetFlags(static_cast<unsigned>(random.Below(128)));
        break;
    }
}

// One more of what there is, at or beside the widget.
void CGuiLife::i_Grow(GuiWidget& place, CRandom& random)
{
    auto* layout = place.AsLayout();
    if (!layout)
        layout = place.GetParent()->AsLayout();
    const GuiWidget* const model = i_Pick(random);
    GuiStream stream;
    if (!layout || !model || layout->GetDepth() > kDeepest || i_Collect().size() > kMostWidgets || !model->Save(stream))
        return;
    GuiStream copy(stream.GetData());
    std::unique_ptr<GuiWidget> widget = CreateWidgetFromStream(*m_context, copy);
    if (!i_Require(widget != nullptr, "what a widget saves cannot be read"))
        return;
    widget->SetParent(nullptr);
    layout->AddChild(std::move(widget));
}

void CGuiLife::i_MoveMouse(CRandom& random)
{
    const GuiWidget* const widget = random.OneIn(3) ? nullptr : i_Pick(random);
    const GuiRecti rect = widget ? widget->GetRect() : GuiRecti(-10, -10, m_width + 20, m_height + 20);
    const int x = rect.x + random.Below(std::max(rect.w, 1));
    m_context->SetMousePos(x, rect.y + random.Below(std::max(rect.h, 1)));
}

void CGuiLife::i_Input(CRandom& random)
{
    const auto pickKey = [&random]
    {
        return random.OneIn(20) ? static_cast<unsigned>(random.Below(static_cast<int>(kMostKeys)))
                                : kKeys[random.Below(std::size(kKeys))];
    };
    const auto pickButton = [&random] { return kButtons[random.Below(std::size(kButtons))]; };
    ++m_journal.tally.guiInputs;
    switch (random.Below(13))
    {
    case 0:
    case 1:
    case 2: i_MoveMouse(random); break;
    case 3: m_context->PushMouseClick(pickButton()); break;
    case 4:
    case 5: m_context->PushMouseRelease(pickButton()); break;
    case 6: m_context->PushKeyPress(pickKey()); break;
    case 7: m_context->PushKeyRelease(pickKey()); break;
    case 8:
        m_context->PushKeyChar(random.OneIn(10) ? static_cast<unsigned>(random.Bits())
                                                : static_cast<unsigned>(random.Below(300)));
        break;
    default: // a click without mishaps
        i_MoveMouse(random);
        m_context->PushMouseClick(1);
        m_context->PushMouseRelease(1);
        break;
    }
}

void CGuiLife::i_Pass(CRandom& random)
{
    static constexpr float kSeconds[] = {0.016F, 0.016F, 0.016F, 0.0F, 0.3F, 5.0F};
    m_context->Update(kSeconds[random.Below(std::size(kSeconds))]);
    if (!random.OneIn(4))
        return;
    i_Draw();
}

void CGuiLife::i_Draw()
{
    m_engine.GetRenderer().BeginFrame(0.016F);
    if (m_target)
        m_target->Bind();
    m_context->Render(m_width, m_height);
    m_engine.RenderGUI(m_width, m_height);
}

// So that there is always something to use.
void CGuiLife::i_Mend()
{
    for (GuiWidget* widget : i_Collect())
    {
        widget->SetVisible(true);
        widget->SetLocked(false);
        if (auto* window = dynamic_cast<GuiWindow*>(widget))
            window->SetFlags(GuiWindow::kUsualFlags);
    }
}

// Whoever has all input, lets go of it when the user lets go of everything and leaves.
void CGuiLife::i_LetGo()
{
    for (const unsigned button : kButtons)
        m_context->PushMouseRelease(button);
    m_context->PushKeyPress(kGuiKeyEscape);
    m_context->PushKeyRelease(kGuiKeyEscape);
    m_context->Update(0.016F);
    i_Require(!m_context->GetInputWidget(), "somebody keeps all input");
    // With the last events heard, there is nothing to be placed any more.
    for (int pass = 0; pass < 4; ++pass)
        m_context->Update(0.0F);
    i_Require(m_context->GetLayoutCount() == 0, "layouts do not come to rest");
}

void CGuiLife::Check()
{
    const Widgets widgets = i_Collect();
    const std::set<const GuiWidget*> alive(widgets.begin(), widgets.end());
    for (const GuiWidget* widget :
         {m_context->GetHoverWidget(), m_context->GetFocusWidget(), m_context->GetInputWidget()})
        i_Require(!widget || alive.contains(widget), "the context points at a widget that is gone");
    for (GuiWidget* widget : widgets)
    {
        const auto* const layout = widget->AsLayout();
        for (std::size_t i = 0; layout && i < layout->GetChildCount(); ++i)
            i_Require(layout->GetChild(i)->GetParent() == widget, "a child has another parent");
    }
    ++m_journal.tally.comparisons;
}

void CGuiLife::AppendState(std::string& state) const
{
    for (const GuiWidget* widget : i_Collect())
    {
        state.append(widget->GetId()).push_back('\0');
        AppendBytes(state, widget->GetType());
        AppendBytes(state, widget->GetRect());
    }
}

void CGuiLife::Empty()
{
    GuiFreeLayout& root = m_context->GetRoot();
    while (root.GetChildCount() > 0)
        root.GetChild(0)->DestroySelf();
    for (unsigned key = 0; key < kMostKeys; ++key)
        m_context->PushKeyRelease(key);
    i_LetGo();
    i_Require(!m_context->GetHoverWidget() || m_context->GetHoverWidget() == &root,
              "a closed window is under the mouse");
    i_Draw();
}
} // namespace soak
