#include "tools/soak/consoleLife.h"

#include "tamradeps/io/fileSystem.h"
#include "tools/soak/entityModel.h"

#include <algorithm>
#include <cstdlib>
#include <iterator>
#include <thread>
#include <utility>

namespace soak
{
namespace
{
struct Variable
{
    const char* name;
    GuiConsoleValue initial;
    double low;
    double high;
};

const Variable kVariables[] = {{"soak.switch", false, 0, 1},
                               {"soak.count", std::int32_t{3}, -20, 20},
                               {"soak.size", 2.5F, 0, 10},
                               {"soak.text", std::string("none"), 0, 8}};
constexpr int kVariableCount = static_cast<int>(std::size(kVariables));
constexpr int kAliases = 6;

std::string MakeWord(CRandom& random, int length)
{
    std::string word;
    for (; length > 0; --length)
        word.push_back(static_cast<char>('a' + random.Below(26)));
    return word;
}
} // namespace

CConsoleLife::CConsoleLife(CJournal& journal, CGuiConsole& console) : CLife(journal), m_console(console)
{
    for (const Variable& variable : kVariables)
    {
        GuiConsoleVariable record{.value = variable.initial, .low = variable.low, .high = variable.high};
        record.changed = [this](const std::string&, const GuiConsoleValue&) { ++m_heardChanges; };
        i_Require(m_console.GetVariables().Add(variable.name, std::move(record)), "a variable was refused");
        m_values.push_back(variable.initial);
    }
}

CConsoleLife::~CConsoleLife()
{
    for (const Variable& variable : kVariables)
        m_console.GetVariables().Remove(variable.name);
}

CConsoleLife::Command CConsoleLife::i_MakeCommand(CRandom& random) const
{
    const int index = random.Below(kVariableCount);
    const Variable& variable = kVariables[index];
    if (random.OneIn(6))
        return {std::string("reset ") + variable.name, index, variable.initial};
    std::string text;
    Command command{{}, index, {}};
    if (index == 0)
    {
        static constexpr const char* kWords[] = {"on", "off", "true", "false", "1", "0"};
        if (random.OneIn(2))
            return {std::string("toggle ") + variable.name, index, {}, true};
        const int word = random.Below(7);
        text = word < 6 ? kWords[word] : "maybe";
        command.isRefused = word >= 6;
        command.value = word % 2 == 0;
    }
    else if (index == 1)
    {
        const int number = random.Below(60) - 30;
        text = std::to_string(number);
        command.isRefused = number < -20 || number > 20;
        command.value = std::int32_t{number};
    }
    else if (index == 2)
    {
        const int quarters = random.Below(60) - 8;
        static constexpr const char* kFractions[] = {".0", ".25", ".5", ".75"};
        text = (quarters < 0 ? "-" : "") + std::to_string(std::abs(quarters) / 4) + kFractions[std::abs(quarters) % 4];
        command.isRefused = quarters < 0 || quarters > 40;
        command.value = static_cast<float>(quarters) * 0.25F;
    }
    else
    {
        const int length = 1 + random.Below(10);
        text = MakeWord(random, length);
        command.isRefused = length > 8;
        command.value = text;
    }
    command.line = std::string("set ") + variable.name + " " + text;
    return command;
}

CConsoleLife::Script CConsoleLife::i_MakeScript(CRandom& random) const
{
    Script script;
    for (int i = 1 + random.Below(4); i > 0; --i)
        script.push_back(i_MakeCommand(random));
    return script;
}

void CConsoleLife::i_Apply(const Script& script)
{
    for (const Command& command : script)
    {
        GuiConsoleValue& value = m_values[static_cast<std::size_t>(command.variable)];
        const GuiConsoleValue wanted = command.isToggle ? GuiConsoleValue(!std::get<bool>(value)) : command.value;
        if (command.isRefused || wanted == value)
            continue;
        value = wanted;
        ++m_changes;
    }
}

void CConsoleLife::i_Enter(const std::string& line, CRandom& random)
{
    ++m_journal.tally.commands;
    const bool isTyped =
        random.OneIn(2) && std::all_of(line.begin(), line.end(), [](char c) { return c >= ' ' && c <= '~'; });
    if (!isTyped)
        return m_console.Execute(line);
    m_console.SetVisible(true);
    m_console.SetInputActive(true);
    for (const char c : line)
        m_console.OnKeyChar(static_cast<unsigned char>(c));
    i_Require(m_console.GetInput() == line, "what was typed is something else");
    m_console.OnKeyChar(13);
    m_console.SetInputActive(false);
    m_console.SetVisible(random.OneIn(2));
}

void CConsoleLife::Step(CRandom& random)
{
    switch (random.Below(6))
    {
    case 0:
    case 1:
    {
        const Script script{i_MakeCommand(random)};
        i_Enter(script.front().line, random);
        i_Apply(script);
        break;
    }
    case 2: i_ChangeAlias(random); break;
    case 3:
        if (!m_aliases.empty())
        {
            const auto alias = std::next(m_aliases.begin(), random.Below(static_cast<int>(m_aliases.size())));
            i_Enter(alias->first, random);
            i_Apply(alias->second);
        }
        break;
    case 4: i_ExecuteFile(random); break;
    default: i_Chat(random); break;
    }
    m_console.Update();
    Check();
}

void CConsoleLife::i_ChangeAlias(CRandom& random)
{
    const std::string name = "soak" + std::to_string(random.Below(kAliases));
    if (m_aliases.contains(name) && random.OneIn(2))
    {
        i_Enter("unalias " + name, random);
        m_aliases.erase(name);
        return;
    }
    const Script script = i_MakeScript(random);
    std::string line = "alias " + name + " ";
    for (const Command& command : script)
        line += command.line + (random.OneIn(3) ? " ; " : ";");
    i_Enter(line, random);
    m_aliases[name] = script;
}

void CConsoleLife::i_ExecuteFile(CRandom& random)
{
    const std::string path = m_journal.GetPath("commands.cfg");
    std::string text = "# made up\r\n";
    const Script script = i_MakeScript(random);
    for (const Command& command : script)
        text += (random.OneIn(3) ? "\n  " : "") + command.line + (random.OneIn(3) ? "\r\n" : "\n// a remark\n");
    i_Require(GetFileSystem().FileReplace(path, text.data(), text.size()), "a file of commands cannot be written");
    i_Enter("exec " + path, random);
    i_Apply(script);
}

void CConsoleLife::i_Chat(CRandom& random)
{
    static constexpr const char* kLines[] = {
        "help",        "find s", "echo a b  c",      "get soak.text", "help set",
        "get nothing", "set",    "toggle soak.text", "alias",         "unalias nothing",
        "log.copy",    "exec",   "alias help a",     "find",          ""};
    switch (random.Below(8))
    {
    case 0: tamra::log::Info(MakeText(random)); break;
    case 1: i_Enter(MakeText(random), random); break;
    case 2: m_console.ScrollConsole(random.Below(20) - 10); break;
    case 3:
    {
        std::thread other([this] { m_console.AddMessage("from elsewhere"); });
        other.join();
        break;
    }
    case 4: i_Enter("log.save " + m_journal.GetPath("console.txt"), random); break;
    case 5:
        if (random.OneIn(10))
            i_Enter("clear", random);
        break;
    default: i_Enter(kLines[random.Below(std::size(kLines))], random); break;
    }
}

void CConsoleLife::Check()
{
    for (int i = 0; i < kVariableCount; ++i)
    {
        const GuiConsoleValue* const value = m_console.GetVariables().Find(kVariables[i].name);
        i_Require(value && *value == m_values[static_cast<std::size_t>(i)],
                  std::string("the variable ") + kVariables[i].name + " has another value");
    }
    for (int i = 0; i < kAliases; ++i)
    {
        const std::string name = "soak" + std::to_string(i);
        i_Require(m_console.HasHandler(name) == m_aliases.contains(name), "there are other aliases");
    }
    i_Require(m_heardChanges == m_changes, "another number of changes was heard of");
    i_Require(m_console.GetMessages().size() <= CGuiConsole::kMaxMessages, "there are too many messages");
    ++m_journal.tally.comparisons;
}

void CConsoleLife::AppendState(std::string& state) const
{
    for (const Variable& variable : kVariables)
        state += m_console.GetVariables().Describe(variable.name) + '\n';
    for (const auto& [name, script] : m_aliases)
        state += name + '\n';
    AppendBytes(state, m_heardChanges);
}

void CConsoleLife::Empty()
{
    for (const auto& [name, script] : m_aliases)
        m_console.Execute("unalias " + name);
    m_aliases.clear();
    m_console.ClearMessages();
    Check();
}
} // namespace soak
