#pragma once

#include "apps/sandbox/editorColorPicker.h"
#include "apps/sandbox/editorProperties.h"
#include "apps/sandbox/editorTown.h"
#include "gameengine/gui/guiWidget/guiList.h"
#include "gameengine/gui/guiWidget/guiSlider.h"

#include <array>
#include <string>
#include <vector>

/// Rows of widgets, one for each property of an entity, whatever its components are: spinners for numbers and vectors,
/// a line for a text, a preview and a button for a colour, a list for a choice, a box for a flag. An edit is applied at
/// once. The controls have the ids "Component.Property", for vectors with ".x", ".y" and ".z" behind.
class CEditorPropertyRows : public gui::GuiCallback
{
public:
    /// All must outlive it. `bar`, and the wheel over rows, chooses which ones are seen where there is no room for all;
    /// null for none. Tab goes on through rows that are not seen.
    CEditorPropertyRows(CEditorTown& town, CEditorColorPicker& picker, gui::GuiListV& list, gui::GuiScrollBar* bar);

    /// Makes rows for the entity, for none when it is null; of one component alone if its class is named.
    void Show(CEntity* entity, const std::string& component = {});
    /// Null for none.
    CEntity* GetEntity() const noexcept { return m_entity.Get(); }
    /// Brings the values up to date, as far as they are not being typed, and the rows into their place. Once a frame.
    void Update();

    bool OnGuiEvent(const char* name, const gui::GuiEvent& event) override;

private:
    struct Row
    {
        gui::GuiWidget* widget = nullptr;
        std::array<gui::GuiWidget*, 3> controls{};
        bool isTitle = false;
        EditorProperty property;
    };

    void i_AddTitle(const std::string& component);
    void i_AddProperty(const EditorProperty& property);
    void i_AddControls(gui::GuiListH& list, Row& row);
    template <class Widget>
    Widget* i_Add(gui::GuiListH& list, const std::string& id, int width);
    void i_ShowValue(Row& row, bool isForced);
    void i_Apply(Row& row, std::size_t control, const gui::GuiEvent& event);
    void i_OpenPicker(Row& row);
    void i_FollowFocus(int room);
    void i_Place();
    int i_GetHeight(const Row& row) const;

    CEditorTown& m_town;
    CEditorColorPicker& m_picker;
    gui::GuiList& m_list; // of its own, in the one given
    gui::GuiScrollBar* m_bar;
    RefPtr<CEntity> m_entity;
    std::vector<Row> m_rows;
    const gui::GuiWidget* m_focus = nullptr; // last seen
    unsigned m_shownRevision = 0;
    unsigned m_shownUndo = 0;
};
