#pragma once

#include "apps/sandbox/editorGraph.h"
#include "apps/sandbox/editorPropertyRows.h"
#include "gameengine/gui/guiWidget/guiButton.h"
#include "gameengine/gui/guiWidget/guiDropList.h"
#include "gameengine/gui/guiWidget/guiLabel.h"
#include "gameengine/gui/guiWidget/guiListBox.h"

#include <memory>
#include <string>
#include <vector>

/// A window of the editor, by a file of widgets.
class CEditorWindow : public gui::GuiCallback
{
public:
    /// Whether the file had all that it needs; what is missing was logged.
    bool IsLoaded() const noexcept { return m_isLoaded; }
    gui::GuiWindow& GetWindow() noexcept { return *m_window; }
    /// Shows it with the keyboard in it, or hides it.
    void Toggle();
    /// Brings the keyboard into it; hides it where that is already.
    void Reach();

protected:
    /// Loads the file into the root; the window has this id, and `town` outlives it.
    CEditorWindow(CEditorTown& town, gui::GuiContext& context, const char* file, const char* id);

    /// Null, and then this is not loaded, when it is missing.
    template <class Widget>
    Widget* myFind(const char* id);

    CEditorTown& m_town;

private:
    void i_Enter();

    gui::GuiWindow* m_window = nullptr;
    bool m_isLoaded = false;
};

/// The entities whose names have the filter's text in them.
class CEditorEntities final : public CEditorWindow
{
public:
    CEditorEntities(CEditorTown& town, gui::GuiContext& context);

    /// Once a frame.
    void Update();
    bool OnGuiEvent(const char* name, const gui::GuiEvent& event) override;

private:
    void i_Fill();

    gui::GuiTextEditLine* m_filter;
    gui::GuiListBox* m_list;
    gui::GuiLabel* m_count;
    std::vector<int> m_numbers; // of the rows
    const CEntity* m_shownSelected = nullptr;
    unsigned m_shownRevision = 0;
};

/// The properties of the selected entity, and the types of components that it may get.
class CEditorProperties final : public CEditorWindow
{
public:
    CEditorProperties(CEditorTown& town, gui::GuiContext& context, CEditorColorPicker& picker);

    void Update();
    bool OnGuiEvent(const char* name, const gui::GuiEvent& event) override;

private:
    gui::GuiDropList* m_type;
    gui::GuiButton* m_add;
    gui::GuiButton* m_remove;
    CEditorColorPicker& m_picker;
    std::unique_ptr<CEditorPropertyRows> m_rows;
    unsigned m_shownRevision = 0;
};

/// The camera, who culls, and what is shown besides the town.
class CEditorView final : public CEditorWindow
{
public:
    CEditorView(CEditorTown& town, gui::GuiContext& context, CEditorColorPicker& picker);

    void Update();
    bool OnGuiEvent(const char* name, const gui::GuiEvent& event) override;
    /// Metres a second that the camera flies.
    float GetSpeed() const { return m_speed->GetValue(); }
    /// Metres between the places to which a drag brings things; 0 for any place.
    float GetSnap() const { return m_snap->GetValue(); }

private:
    gui::GuiDropList* m_culler;
    gui::GuiSpinner* m_speed;
    gui::GuiSpinner* m_snap;
    gui::GuiCheckBox* m_flags[4];
    std::unique_ptr<CEditorPropertyRows> m_rows;
};

/// What a frame costs.
class CEditorStatistics final : public CEditorWindow
{
public:
    CEditorStatistics(CEditorTown& town, gui::GuiContext& context);

    /// `seconds` that the last frame took.
    void Update(float seconds);
    bool OnGuiEvent(const char*, const gui::GuiEvent&) override { return false; }
    /// Lines of text.
    std::string GetFigures() const;

private:
    gui::GuiLabel* m_figures;
    CEditorGraph* m_graph = nullptr;
    float m_untilText = 0.0F;
};
