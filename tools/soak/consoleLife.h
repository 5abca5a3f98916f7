#pragma once

#include "gameengine/gui/guiConsole/guiConsole.h"
#include "tools/soak/life.h"

#include <map>
#include <string>
#include <vector>

namespace soak
{
/// Enters commands: variables, aliases, files of commands, and lines that mean nothing.
class CConsoleLife final : public CLife
{
public:
    CConsoleLife(CJournal& journal, CGuiConsole& console);
    ~CConsoleLife() override;

    const char* GetName() const override { return "console"; }
    void Step(CRandom& random) override;
    void Check() override;
    void AppendState(std::string& state) const override;
    void Empty() override;

private:
    /// A line, and what it must make of a variable.
    struct Command
    {
        std::string line;
        int variable;
        GuiConsoleValue value;
        bool isToggle = false;
        bool isRefused = false;
    };
    using Script = std::vector<Command>;

    Command i_MakeCommand(CRandom& random) const;
    Script i_MakeScript(CRandom& random) const;
    void i_Apply(const Script& script);
    void i_Enter(const std::string& line, CRandom& random);
    void i_ChangeAlias(CRandom& random);
    void i_ExecuteFile(CRandom& random);
    void i_Chat(CRandom& random);

    CGuiConsole& m_console;
    std::vector<GuiConsoleValue> m_values;
    std::map<std::string, Script> m_aliases;
    std::size_t m_changes = 0;
    std::size_t m_heardChanges = 0;
};
} // namespace soak
