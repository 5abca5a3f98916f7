#include "gameengine/gui/guiConsole/guiConsole.h"
#include "tamradeps/core/tools.h"
#include "tamradeps/io/fileSystem.h"
#include "tamradeps/io/utf8Path.h"

#include <algorithm>
#include <cstddef>
#include <filesystem>
#include <utility>

// The commands that every console has from the start.

namespace
{
constexpr std::size_t kMaxScriptSize = std::size_t{1} << 20;
constexpr int kMaxScriptDepth = 16;
constexpr int kMaxScriptLines = 10000;
constexpr std::size_t kMaxScriptText = std::size_t{1} << 23; // bytes that are split into commands in one go

/// The first word, and what comes after the space behind it.
std::pair<std::string, std::string> SplitWord(const std::string& text)
{
    const std::size_t space = text.find(' ');
    if (space == std::string::npos)
        return {text, {}};
    return {text.substr(0, space), text.substr(space + 1)};
}

std::string Trim(std::string_view text)
{
    return std::string(Tools_StringTrim(text));
}

std::string InQuotes(std::string_view text)
{
    return '"' + tamra::log::Quoted(text) + '"';
}

/// Where a file of the user goes: relative names to the user folder, if there is one.
std::string GetUserPath(const std::string& name)
{
    const std::string& folder = GetFileSystem().GetUserFolder();
    return folder.empty() || tamra::ToPath(name).is_absolute() ? name : folder + '/' + name;
}

bool IsInUserFolder(const std::string& name)
{
    const std::filesystem::path path = tamra::ToPath(name);
    return !GetFileSystem().GetUserFolder().empty() && !path.has_root_path() &&
           std::find(path.begin(), path.end(), "..") == path.end();
}
} // namespace

/// While one of these lives a script or an alias runs.
class CGuiConsole::ScriptScope
{
public:
    explicit ScriptScope(CGuiConsole& console) : m_console(console) { ++m_console.m_scriptDepth; }
    ScriptScope(const ScriptScope&) = delete;
    ScriptScope& operator=(const ScriptScope&) = delete;
    ~ScriptScope()
    {
        if (--m_console.m_scriptDepth > 0)
            return;
        m_console.m_scriptLines = 0;
        m_console.m_scriptText = 0;
    }

    /// False, with a message and everything that runs ended, when too much is nested.
    bool IsAllowed(const std::string& name) const
    {
        if (m_console.m_scriptDepth <= kMaxScriptDepth)
            return true;
        return i_End(InQuotes(name) + " runs itself, or is nested deeper than " + std::to_string(kMaxScriptDepth) +
                     '.');
    }
    /// The same when there is too much to read.
    bool HasRoomFor(std::string_view text) const
    {
        m_console.m_scriptText += text.size();
        return m_console.m_scriptText <= kMaxScriptText || i_End("The script ends here: it is too long.");
    }

private:
    bool i_End(const std::string& why) const
    {
        m_console.AddMessage("[ERROR] " + why);
        m_console.m_scriptLines = kMaxScriptLines + 1;
        return false;
    }

    CGuiConsole& m_console;
};

void CGuiConsole::i_AddCommands()
{
    AddHandler(
        "help", [this](const std::string&, const std::string& name) { i_Help(Trim(name)); },
        "help NAME: what a command or a variable does; without a name, what there is");
    AddHandler(
        "find", [this](const std::string&, const std::string& text) { i_Find(Trim(text)); },
        "find TEXT: commands and variables with this in their name or description");
    AddHandler(
        "echo", [this](const std::string&, const std::string& text) { AddMessage(text); }, "echo TEXT: shows the text");
    i_AddLogCommands();
    i_AddScriptCommands();
    i_AddVariableCommands();
}

void CGuiConsole::i_AddLogCommands()
{
    AddHandler(
        "clear", [this](const std::string&, const std::string&) { ClearMessages(); }, "clear: forgets all messages");
    AddHandler(
        "log.copy", [this](const std::string&, const std::string&) { i_CopyLog(); },
        "log.copy: takes all messages to the clipboard");
    AddHandler(
        "log.save", [this](const std::string&, const std::string& fileName) { i_SaveLog(Trim(fileName)); },
        "log.save FILE: writes all messages to a file");
}

void CGuiConsole::i_AddScriptCommands()
{
    AddHandler(
        "exec", [this](const std::string&, const std::string& fileName) { i_ExecuteFile(Trim(fileName)); },
        "exec FILE: runs the lines of a file as commands; # and // begin lines that are left out");
    AddHandler(
        "alias", [this](const std::string&, const std::string& arguments) { i_Alias(arguments); },
        "alias NAME COMMANDS: makes a command of others, separated by ;. Without them: shows the alias, or all");
    AddHandler(
        "unalias",
        [this](const std::string&, const std::string& arguments)
        {
            const auto found = m_commands.find(Trim(arguments));
            if (found == m_commands.end() || found->second.alias.empty())
                return AddMessage("[ERROR] There is no alias " + InQuotes(arguments) + '.');
            m_commands.erase(found);
        },
        "unalias NAME: removes an alias");
}

void CGuiConsole::i_AddVariableCommands()
{
    const auto report = [this](const std::string& name, bool isGood, const std::string& fault)
    { AddMessage(isGood ? m_variables.Describe(name) : "[ERROR] " + fault); };
    AddHandler(
        "get",
        [this](const std::string&, const std::string& arguments)
        {
            const std::string name = Trim(arguments);
            const std::string line = m_variables.Describe(name);
            AddMessage(line.empty() ? "[ERROR] There is no variable " + InQuotes(name) + '.' : line);
        },
        "get NAME: the value of a variable");
    AddHandler(
        "set",
        [this, report](const std::string&, const std::string& arguments)
        {
            const auto [name, value] = SplitWord(arguments);
            std::string fault;
            const bool isGood = m_variables.SetText(name, value, &fault);
            report(name, isGood, fault);
        },
        "set NAME VALUE: changes a variable");
    AddHandler(
        "toggle",
        [this, report](const std::string&, const std::string& arguments)
        {
            const std::string name = Trim(arguments);
            std::string fault;
            const bool isGood = m_variables.Set(name, !m_variables.Get<bool>(name), &fault);
            report(name, isGood, fault);
        },
        "toggle NAME: switches a variable on or off");
    AddHandler(
        "reset",
        [this, report](const std::string&, const std::string& arguments)
        {
            const std::string name = Trim(arguments);
            std::string fault;
            const bool isGood = m_variables.Reset(name, &fault);
            report(name, isGood, fault);
        },
        "reset NAME: gives a variable the value that it had at first");
}

void CGuiConsole::i_Help(const std::string& name)
{
    if (name.empty())
    {
        std::string list;
        for (const auto& [commandName, command] : m_commands)
            list += (list.empty() ? "" : "  ") + commandName;
        AddMessage(std::move(list));
        AddMessage("\"help NAME\" tells more, \"find TEXT\" searches. Tab completes names, Up and Down recall lines.");
        return;
    }
    const auto found = m_commands.find(name);
    const std::string variable = m_variables.Describe(name);
    if (found == m_commands.end() && variable.empty())
        return AddMessage("[ERROR] There is no command or variable " + InQuotes(name) + '.');
    if (found != m_commands.end())
    {
        const Command& command = found->second;
        AddMessage(!command.alias.empty()  ? name + " is an alias: " + command.alias
                   : !command.help.empty() ? command.help
                                           : name + " has no description.");
    }
    if (!variable.empty())
        AddMessage(variable);
}

void CGuiConsole::i_Find(const std::string& text)
{
    const std::string wanted = Tools_StringToLowercase(text);
    std::vector<std::string> lines;
    for (const auto& [name, command] : m_commands)
    {
        const std::string line = !command.alias.empty()  ? name + " = " + command.alias
                                 : !command.help.empty() ? command.help
                                                         : name;
        if (Tools_StringToLowercase(name + ' ' + line).find(wanted) != std::string::npos)
            lines.push_back(line);
    }
    for (const std::string& name : m_variables.GetNames())
    {
        const std::string line = m_variables.Describe(name);
        if (Tools_StringToLowercase(line).find(wanted) != std::string::npos)
            lines.push_back(line);
    }
    if (lines.empty())
        return AddMessage("Nothing has " + InQuotes(text) + " in its name or description.");
    for (std::string& line : lines)
        AddMessage(std::move(line));
}

std::string CGuiConsole::i_JoinMessages() const
{
    std::string text;
    for (const std::string& message : m_messages)
        text += message + '\n';
    return text;
}

void CGuiConsole::i_CopyLog()
{
    if (!m_clipboardWriter)
        return AddMessage("[ERROR] There is no clipboard.");
    m_clipboardWriter(i_JoinMessages());
    AddMessage("Copied " + std::to_string(m_messages.size()) + " messages.");
}

void CGuiConsole::i_SaveLog(const std::string& fileName)
{
    if (fileName.empty())
        return i_Help("log.save");
    // Who wrote a script may not be who runs it.
    if (m_scriptDepth > 0 && !IsInUserFolder(fileName))
        return AddMessage("[ERROR] Scripts and aliases write to the user folder only.");
    const std::string path = GetUserPath(fileName);
    const std::string text = i_JoinMessages();
    // A failure is a line of the log, which comes here.
    if (GetFileSystem().FileReplace(path, text.data(), text.size()))
        AddMessage("Wrote the messages to " + InQuotes(path) + '.');
}

void CGuiConsole::i_Alias(const std::string& arguments)
{
    const auto [name, rest] = SplitWord(arguments);
    const std::string commands = Trim(rest);
    if (name.empty())
    {
        for (const auto& [other, command] : m_commands)
        {
            if (!command.alias.empty())
                AddMessage(other + " = " + command.alias);
        }
        return;
    }
    const auto found = m_commands.find(name);
    const bool isAlias = found != m_commands.end() && !found->second.alias.empty();
    if (commands.empty())
        return AddMessage(isAlias ? name + " = " + found->second.alias
                                  : "[ERROR] There is no alias " + InQuotes(name) + '.');
    if (found != m_commands.end() && !isAlias)
        return AddMessage("[ERROR] " + InQuotes(name) + " is a command and cannot be an alias.");
    AddHandler(name, [this](const std::string& alias, const std::string& text) { i_RunAlias(alias, text); });
    m_commands.find(name)->second.alias = commands;
}

void CGuiConsole::i_RunAlias(const std::string& name, const std::string& arguments)
{
    const ScriptScope scope(*this);
    if (!scope.IsAllowed(name))
        return;
    // A copy: the alias may change itself.
    std::string commands = m_commands.find(name)->second.alias;
    if (!arguments.empty())
        commands += ' ' + arguments;
    if (!scope.HasRoomFor(commands))
        return;
    for (const std::string_view command : Tools_StringSplit(commands, ';'))
    {
        const std::string line = Trim(command);
        if (!line.empty() && !i_ExecuteOfScript(line))
            return;
    }
}

void CGuiConsole::i_ExecuteFile(const std::string& fileName)
{
    if (fileName.empty())
        return i_Help("exec");
    const ScriptScope scope(*this);
    std::vector<std::byte> content;
    // A failure is a line of the log, which comes here.
    if (!scope.IsAllowed(fileName) || !GetFileSystem().FileIn(fileName, content, kMaxScriptSize))
        return;
    std::string_view text(reinterpret_cast<const char*>(content.data()), content.size());
    if (text.starts_with("\xEF\xBB\xBF"))
        text.remove_prefix(3);
    if (!scope.HasRoomFor(text))
        return;
    int number = 0;
    for (const std::string_view piece : Tools_StringSplit(text, '\n'))
    {
        ++number;
        const std::string line = Trim(piece);
        if (line.empty() || line.starts_with('#') || line.starts_with("//"))
            continue;
        if (!HasHandler(SplitWord(line).first))
            AddMessage("[WARNING] " + InQuotes(fileName) + ", line " + std::to_string(number) + ": " + InQuotes(line));
        if (!i_ExecuteOfScript(line))
            return;
    }
}

bool CGuiConsole::i_ExecuteOfScript(const std::string& line)
{
    if (m_scriptLines == kMaxScriptLines)
        AddMessage(std::string("[ERROR] The script ends here: it has run ")
                       .append(std::to_string(kMaxScriptLines))
                       .append(" commands."));
    if (++m_scriptLines > kMaxScriptLines)
        return false;
    Execute(line);
    return m_scriptLines <= kMaxScriptLines;
}
