#pragma once

#include "apps/sandbox/editorClosing.h"
#include "apps/sandbox/editorCommands.h"
#include "apps/sandbox/editorControls.h"
#include "apps/sandbox/editorDrag.h"
#include "apps/sandbox/editorTown.h"
#include "apps/sandbox/editorWindows.h"
#include "gameengine/gameEngine.h"
#include "gameengine/gui/guiInputAdapter.h"
#include "gameengine/gui/guiWidget/guiContext.h"
#include "tamradeps/platform/counters.h"

#include <memory>
#include <set>
#include <string>

/// The editor: a view of a town with windows over it. Everything that they do goes by the town, which knows nothing of
/// them.
class CEditor : public gui::GuiCallback, public renderer::CInputListener
{
public:
    /// The engine must outlive it; its renderer has a device.
    explicit CEditor(CTamraGameEngine& engine);
    ~CEditor() override;

    /// Loads the town and the windows. `window`, whose clipboard and mouse are used, may be null, and must outlive it.
    /// False, with the reason logged, when something is missing.
    bool Initialize(const std::string& scene, int width, int height, TownCuller culler, CWindow* window);
    /// Colours and measures of the windows; dark at first.
    void SetStyle(const gui::GuiStyleData& style);

    /// One frame: takes what was done, and draws town and windows into the target.
    void Update(float seconds);
    /// One frame in the window: takes its input, and shows the picture in its size. False when it is to be closed,
    /// which is where changes that are not saved are asked about first.
    bool ShowFrame(float seconds);
    /// Ends the editor, at once when all is saved, otherwise when the user wants that.
    void Close();
    bool IsClosed() const noexcept { return m_isClosed; }

    CEditorTown& GetTown() noexcept { return m_town; }
    gui::GuiContext& GetContext() noexcept { return *m_context; }
    renderer::CRenderTarget& GetTarget() noexcept { return m_town.GetViewer().GetTarget(); }
    static const char* GetHelp();

    const char* GetTypeString() override { return "CEditor"; }
    bool OnGuiEvent(const char* name, const gui::GuiEvent& event) override;
    /// The keys that work everywhere. They come before the widgets.
    bool OnKeyDown(int key) override;
    bool OnKeyUp(int key) override;
    int GetPriority() override { return gui::GuiInputAdapter::kPriority + 1; }

private:
    bool i_LoadWindows();
    bool i_LoadMenu();
    void i_ConnectControls();
    bool i_OnPress(int x, int y);
    void i_LetGo();
    void i_OpenConsole();
    void i_UpdateConsole();
    void i_UpdateWindows(float seconds);
    void i_UpdateStatus();
    void i_OnViewKey(int key);
    void i_Save();
    void i_TakeTyped();
    void i_OnClosingAnswered(CEditorClosing::Answer answer);
    void i_Undo(bool isUndo);
    bool i_LeavesUndo(bool isUndo) const;
    bool i_IsEditing() const;
    bool i_OnKey(int key);
    bool i_OnShortcut(int key);

    CTamraGameEngine& m_engine;
    CWindow* m_window = nullptr;
    CEditorTown m_town;
    CEditorDrag m_drag{m_town};
    std::unique_ptr<gui::GuiContext> m_context;
    std::unique_ptr<gui::GuiInputAdapter> m_adapter;
    std::unique_ptr<CEditorColorPicker> m_picker;
    std::unique_ptr<CEditorEntities> m_entities;
    std::unique_ptr<CEditorProperties> m_properties;
    std::unique_ptr<CEditorView> m_view;
    std::unique_ptr<CEditorStatistics> m_statistics;
    std::unique_ptr<CEditorClosing> m_closing;
    std::unique_ptr<CEditorCommands> m_commands;
    std::unique_ptr<CEditorControls> m_controls;
    std::set<int> m_held; // keys, so that those that the window repeats count once
    gui::GuiLabel* m_status = nullptr;
    gui::GuiImage* m_menuBack = nullptr;
    gui::GuiButton* m_undo = nullptr;
    gui::GuiButton* m_redo = nullptr;
    std::string m_shownStatus;
    int m_shownStatusWidth = 0;
    std::string m_message; // what the status shows until something is changed
    unsigned m_messageRevision = 0;
    bool m_isClosed = false;
    tamra::platform::CStopwatch m_frameTime; // since the last frame, whatever time that stood for
};
