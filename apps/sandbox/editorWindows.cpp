#include "apps/sandbox/editorWindows.h"

#include "apps/sandbox/editorWidgets.h"
#include "gameengine/engine/entityComponentTypeDatabase.h"
#include "gameengine/gui/draw2D/font.h"
#include "gameengine/gui/draw2D/latin1.h"
#include "gameengine/gui/guiWidget/guiWidgetFile.h"
#include "tamradeps/core/log.h"

#include <algorithm>
#include <cstdio>
#include <string_view>

using namespace gui;

namespace
{
constexpr float kTextInterval = 0.25F; // seconds
constexpr const char* kFlags[] = {"boxes", "cells", "culled", "frozen"};

bool& GetFlag(TownDebug& debug, std::size_t number)
{
    bool* const flags[] = {&debug.boxes, &debug.cells, &debug.culled, &debug.frozen};
    return *flags[number];
}

bool IsClicked(const GuiEvent& event)
{
    return event.type == GET_BUTTON_RELEASED && event.GetInt(0) == 1;
}
} // namespace

void LogMissingWidget(std::string_view id)
{
    tamra::log::Error("the editor's files have no widget " + tamra::log::Quoted(id) + " of the kind that it needs");
}

CEditorWindow::CEditorWindow(CEditorTown& town, GuiContext& context, const char* file, const char* id) : m_town(town)
{
    if (!LoadWidgetFile(context.GetRoot(), file))
        return;
    m_window = FindWidget<GuiWindow>(context.GetRoot(), id);
    m_isLoaded = m_window != nullptr;
    if (m_isLoaded)
        m_window->SetCallback(this);
}

template <class Widget>
Widget* CEditorWindow::myFind(const char* id)
{
    Widget* const widget = m_window ? FindWidget<Widget>(*m_window, id) : nullptr;
    m_isLoaded = m_isLoaded && widget;
    return widget;
}

void CEditorWindow::Toggle()
{
    m_window->SetVisible(!m_window->IsVisible());
    if (m_window->IsVisible())
        i_Enter();
}

void CEditorWindow::Reach()
{
    const GuiWidget* focus = m_window->GetContext().GetFocusWidget();
    if (m_window->IsVisible() && !(focus && focus->IsWithin(*m_window)))
        i_Enter();
    else
        Toggle();
}

void CEditorWindow::i_Enter()
{
    m_window->Activate();
    m_window->GetContext().GrabFocus(m_window);
    m_window->GetContext().MoveFocus(1);
}

CEditorEntities::CEditorEntities(CEditorTown& town, GuiContext& context)
    : CEditorWindow(town, context, "gui/editor_entities.gui", "entitiesWindow"),
      m_filter(myFind<GuiTextEditLine>("filter")),
      m_list(myFind<GuiListBox>("entities")),
      m_count(myFind<GuiLabel>("count"))
{
}

void CEditorEntities::i_Fill()
{
    m_numbers = m_town.Find(ToUtf8(m_filter->GetText()));
    std::vector<std::string> items;
    items.reserve(m_numbers.size());
    for (const int number : m_numbers)
        items.push_back(ToLatin1(m_town.GetLabel(number)));
    m_list->SetItems(std::move(items));
    m_count->SetText(std::to_string(m_numbers.size()) + " of " +
                     std::to_string(m_town.GetModel().GetEntities().size()));
    m_shownRevision = m_town.GetListRevision();
    m_shownSelected = nullptr;
}

void CEditorEntities::Update()
{
    if (m_shownRevision != m_town.GetListRevision())
        i_Fill();
    const CEntity* selected = m_town.GetSelected();
    if (selected == m_shownSelected)
        return;
    m_shownSelected = selected;
    const auto found = std::ranges::lower_bound(m_numbers, selected ? m_town.GetNumber(*selected) : -1);
    const bool isListed = selected && found != m_numbers.end() && *found == m_town.GetNumber(*selected);
    m_list->SetSelected(isListed ? static_cast<int>(found - m_numbers.begin()) : -1);
}

bool CEditorEntities::OnGuiEvent(const char* name, const GuiEvent& event)
{
    const std::string_view id = name;
    if (id == "filter" && event.type == GET_TEXTEDIT_CHANGED)
        i_Fill();
    else if (id == "filter" && event.type == GET_TEXTEDIT_RETURNPRESSED && !m_numbers.empty())
        m_town.Select(m_town.Get(m_numbers.front()));
    else if (id == "entities" && event.type == GET_DROPLIST_CHANGED)
    {
        const auto row = static_cast<std::size_t>(event.GetInt(0));
        CEntity* entity = row < m_numbers.size() ? m_town.Get(m_numbers[row]) : nullptr;
        m_town.Select(entity);
        m_shownSelected = entity;
        if (entity && event.GetInt(1) == 1)
            m_town.GoTo(*entity);
    }
    else if (id == "goto" && IsClicked(event) && m_town.GetSelected())
        m_town.GoTo(*m_town.GetSelected());
    else if (id == "delete" && IsClicked(event))
        m_town.Delete(m_town.GetSelected());
    return true;
}

CEditorProperties::CEditorProperties(CEditorTown& town, GuiContext& context, CEditorColorPicker& picker)
    : CEditorWindow(town, context, "gui/editor_properties.gui", "propertiesWindow"),
      m_type(myFind<GuiDropList>("componentType")),
      m_add(myFind<GuiButton>("addComponent")),
      m_remove(myFind<GuiButton>("removeComponent")),
      m_picker(picker)
{
    auto* list = myFind<GuiListV>("properties");
    auto* bar = myFind<GuiScrollBar>("propertiesBar");
    if (!IsLoaded())
        return;
    m_rows = std::make_unique<CEditorPropertyRows>(town, picker, *list, bar);
    bar->SetCallback(m_rows.get());
    auto& types = CEntityComponentTypeDatabase::Instance();
    for (int i = 0; i < types.GetCount(); ++i)
        m_type->AddItem(ToLatin1(types.GetName(i)));
    m_type->SetSelected(0);
}

void CEditorProperties::Update()
{
    CEntity* entity = m_town.GetSelected();
    if (entity != m_rows->GetEntity() || m_shownRevision != m_town.GetComponentRevision())
    {
        m_picker.Close();
        m_rows->Show(entity);
        m_shownRevision = m_town.GetComponentRevision();
        m_add->SetLocked(!entity);
        m_remove->SetLocked(!entity);
        m_type->SetLocked(!entity);
    }
    const std::string title =
        entity ? "Properties of " + m_town.GetLabel(m_town.GetNumber(*entity)) : std::string("Properties");
    if (const std::string shown = ToLatin1(title); shown != GetWindow().GetTitle())
        GetWindow().SetTitle(shown);
    m_rows->Update();
}

bool CEditorProperties::OnGuiEvent(const char* name, const GuiEvent& event)
{
    CEntity* entity = m_town.GetSelected();
    if (!entity || !IsClicked(event))
        return false;
    const bool adds = std::string_view(name) == "addComponent";
    std::string fault;
    if (!(adds ? m_town.AddComponent(*entity, m_type->GetSelected(), fault)
               : m_town.RemoveComponent(*entity, m_type->GetSelected(), fault)))
        tamra::log::Warning(m_type->GetItem(m_type->GetSelected()) + (adds ? " not added: " : " not removed: ") +
                            fault);
    return true;
}

CEditorView::CEditorView(CEditorTown& town, GuiContext& context, CEditorColorPicker& picker)
    : CEditorWindow(town, context, "gui/editor_view.gui", "viewWindow"),
      m_culler(myFind<GuiDropList>("culler")),
      m_speed(myFind<GuiSpinner>("speed")),
      m_snap(myFind<GuiSpinner>("snap"))
{
    for (std::size_t i = 0; i < std::size(kFlags); ++i)
        m_flags[i] = myFind<GuiCheckBox>(kFlags[i]);
    auto* list = myFind<GuiListV>("camera");
    if (!IsLoaded())
        return;
    m_rows = std::make_unique<CEditorPropertyRows>(town, picker, *list, nullptr);
    for (int i = 0; i < kTownCullerCount; ++i)
        m_culler->AddItem(GetTownCullerName(static_cast<TownCuller>(i)));
}

void CEditorView::Update()
{
    CEntity& viewer = m_town.GetModel().GetViewer();
    if (m_rows->GetEntity() != &viewer)
        m_rows->Show(&viewer, "ComponentCamera");
    m_rows->Update();
    if (!m_culler->IsOpen())
        m_culler->SetSelected(static_cast<int>(m_town.GetViewer().GetCuller()));
    for (std::size_t i = 0; i < std::size(kFlags); ++i)
        m_flags[i]->SetChecked(GetFlag(m_town.GetViewer().GetDebug(), i));
}

bool CEditorView::OnGuiEvent(const char*, const GuiEvent& event)
{
    for (std::size_t i = 0; i < std::size(kFlags); ++i)
    {
        if (event.source == m_flags[i] && event.type == GET_CHECKBOX_CHANGED)
            GetFlag(m_town.GetViewer().GetDebug(), i) = event.GetInt(0) != 0;
    }
    if (event.source == m_culler && event.type == GET_DROPLIST_CHANGED)
        m_town.GetViewer().SetCuller(static_cast<TownCuller>(event.GetInt(0)));
    return true;
}

CEditorStatistics::CEditorStatistics(CEditorTown& town, GuiContext& context)
    : CEditorWindow(town, context, "gui/editor_statistics.gui", "statisticsWindow"),
      m_figures(myFind<GuiLabel>("figures"))
{
    if (auto* list = myFind<GuiListV>("statisticsContent"))
        m_graph = static_cast<CEditorGraph*>(list->AddChild(std::make_unique<CEditorGraph>(context)));
}

std::string CEditorStatistics::GetFigures() const
{
    if (m_town.GetViewer().GetReport().IsEmpty())
        return {};
    const CViewReport::Frame& frame = m_town.GetViewer().GetReport().GetLast();
    const float average = m_graph->GetAverage();
    char text[400];
    std::snprintf(text, sizeof text,
                  "frame %.1f ms, %.0f a second, at most %.1f ms\n"
                  "cull %.2f ms, draw %.2f ms\n"
                  "%zu visible, %zu occluded\n"
                  "%zu outside of the view\n"
                  "%d draw calls, culler %s",
                  static_cast<double>(average) * 1e3, average > 0.0F ? 1.0 / static_cast<double>(average) : 0.0,
                  static_cast<double>(m_graph->GetLongest()) * 1e3, frame.cull * 1e3, frame.draw * 1e3,
                  frame.counts.visible, frame.counts.occluded, frame.counts.rejected, frame.drawCalls,
                  GetTownCullerName(m_town.GetViewer().GetCuller()).data());
    return text;
}

void CEditorStatistics::Update(float seconds)
{
    m_graph->Add(seconds);
    m_untilText -= seconds;
    if (m_untilText > 0.0F || !GetWindow().IsVisible())
        return;
    m_untilText = kTextInterval;
    m_figures->SetText(GetFigures());
}
