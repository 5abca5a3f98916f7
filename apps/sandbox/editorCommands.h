#pragma once

#include "apps/sandbox/editorTown.h"
#include "gameengine/gui/guiConsole/guiConsole.h"

#include <functional>
#include <string>
#include <vector>

/// The editor's commands in the console, until it is destroyed. What they answer is written there.
class CEditorCommands
{
public:
    /// Both must outlive it. `getFigures` gives the text of "stat".
    CEditorCommands(CEditorTown& town, CGuiConsole& console, std::function<std::string()> getFigures);
    CEditorCommands(const CEditorCommands&) = delete;
    CEditorCommands& operator=(const CEditorCommands&) = delete;
    ~CEditorCommands();

private:
    void i_Add(const char* name, void (CEditorCommands::*command)(const std::string&), const char* help);
    void i_Spawn(const std::string& arguments);
    void i_Delete(const std::string& arguments);
    void i_GoTo(const std::string& arguments);
    void i_Resize(const std::string& arguments);
    void i_Undo(const std::string& arguments);
    void i_Redo(const std::string& arguments);
    void i_Save(const std::string& arguments);
    void i_Load(const std::string& arguments);
    void i_Culler(const std::string& arguments);
    void i_Stat(const std::string& arguments);
    void i_List(const std::string& arguments);
    void i_Get(const std::string& arguments);
    void i_Set(const std::string& arguments);

    bool i_IsSize(CVector3 size);
    CEntity* i_TakeEntity(std::string_view& arguments);
    void i_Say(const std::string& text) { m_console.AddMessage(text); }

    CEditorTown& m_town;
    CGuiConsole& m_console;
    std::function<std::string()> m_getFigures;
    std::vector<std::string> m_names;
};
