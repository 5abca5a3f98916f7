#include "gameengine/gui/guiConsole/guiConsole.h"

#include "gameengine/gui/guiWidget/guiKey.h"
#include "tamradeps/core/log.h"
#include "tamraengine/renderer/renderer.h"

#include <algorithm>
#include <utility>

namespace
{
constexpr int kPriority = 100;
constexpr float kBlinkTime = 0.5F;
constexpr int kPageMessages = 5;

CGuiConsole* g_singleton = nullptr;

void AppendUtf8(std::string& text, int character)
{
    auto code = static_cast<unsigned>(character);
    if (code > 0x10FFFF || (code >= 0xD800 && code <= 0xDFFF))
        code = 0xFFFD;
    const auto tail = [code](unsigned shift) { return static_cast<char>(0x80U | (code >> shift & 0x3FU)); };
    if (code < 0x80)
        text += static_cast<char>(code);
    else if (code < 0x800)
        text += {static_cast<char>(0xC0U | code >> 6), tail(0)};
    else if (code < 0x10000)
        text += {static_cast<char>(0xE0U | code >> 12), tail(6), tail(0)};
    else
        text += {static_cast<char>(0xF0U | code >> 18), tail(12), tail(6), tail(0)};
}

void RemoveLastCharacter(std::string& text)
{
    const auto isTail = [](char c) { return (static_cast<unsigned char>(c) & 0xC0U) == 0x80U; };
    for (int i = 0; i < 3 && text.size() > 1 && isTail(text.back()); ++i)
        text.pop_back();
    if (!text.empty())
        text.pop_back();
}
} // namespace

CGuiConsole::CGuiConsole(renderer::CRenderer& renderer) : m_renderer(renderer)
{
    i_AddCommands();
    m_renderer.GetInput().AddListener(this);
    tamra::log::AddSink(m_logSink);
}

CGuiConsole::~CGuiConsole()
{
    tamra::log::RemoveSink(m_logSink);
    m_renderer.GetInput().RemoveListener(this);
}

CGuiConsole* CGuiConsole::Singleton() noexcept
{
    return g_singleton;
}

void CGuiConsole::i_SetSingleton(CGuiConsole* console) noexcept
{
    g_singleton = console;
}

const char* CGuiConsole::GetTypeString()
{
    return "CGuiConsole";
}

void CGuiConsole::LogSink::Write(tamra::log::Level, std::string_view line)
{
    m_console.AddMessage(std::string(line));
}

void CGuiConsole::AddHandler(const std::string& name, Handler handler, std::string help)
{
    if (!handler)
        return RemoveHandler(name);
    if (name.find(' ') != std::string::npos)
        tamra::log::Warning("CGuiConsole: nobody can call \"" + tamra::log::Quoted(name) +
                            "\", which has a space in it");
    m_commands.insert_or_assign(name,
                                Command{std::make_shared<const Handler>(std::move(handler)), std::move(help), {}});
}

void CGuiConsole::RemoveHandler(const std::string& name)
{
    m_commands.erase(name);
}

void CGuiConsole::AddMessage(std::string text)
{
    if (std::this_thread::get_id() == m_thread)
    {
        i_TakeForeignMessages();
        i_Append(std::move(text));
        return;
    }
    const std::lock_guard lock(m_foreignMutex);
    m_foreignMessages.push_back(std::move(text));
    if (m_foreignMessages.size() > kMaxMessages)
        m_foreignMessages.pop_front();
    m_hasForeignMessages = true;
}

void CGuiConsole::i_TakeForeignMessages()
{
    if (!m_hasForeignMessages)
        return;
    std::deque<std::string> messages;
    {
        const std::lock_guard lock(m_foreignMutex);
        messages.swap(m_foreignMessages);
        m_hasForeignMessages = false;
    }
    for (std::string& message : messages)
        i_Append(std::move(message));
}

void CGuiConsole::i_Append(std::string text)
{
    const bool isAtBottom = m_viewLine == m_bottomLine;
    m_messages.push_back(std::move(text));
    if (m_messages.size() > kMaxMessages)
    {
        m_messages.pop_front();
        // The same message stands one earlier now; the view of the one that went is that of the next.
        m_viewLine -= m_viewLine > 0 ? 1 : 0;
    }
    m_bottomLine = m_messages.size() - std::min(m_messages.size(), kBottomMessages);
    if (isAtBottom)
        m_viewLine = m_bottomLine;
}

void CGuiConsole::ClearMessages()
{
    m_messages.clear();
    m_viewLine = m_bottomLine = 0;
}

void CGuiConsole::Execute(const std::string& line)
{
    const std::size_t space = std::min(line.find(' '), line.size());
    const std::string name = line.substr(0, space);
    const auto found = m_commands.find(name);
    if (found == m_commands.end())
        return AddMessage("Unknown command.");
    const std::shared_ptr<const Handler> handler = found->second.handler;
    (*handler)(name, line.substr(std::min(space + 1, line.size())));
}

void CGuiConsole::ScrollConsole(int lines)
{
    // Counted from what is left, so that no number is too large.
    if (lines >= 1)
        m_viewLine += std::min(static_cast<std::size_t>(lines), m_bottomLine - m_viewLine);
    else
        m_viewLine -= std::min(std::size_t{0} - static_cast<std::size_t>(lines), m_viewLine);
}

void CGuiConsole::SetVisible(bool visible)
{
    m_isVisible = visible;
    if (!visible)
        SetInputActive(false);
}

void CGuiConsole::SetInputActive(bool active)
{
    m_isInputActive = active;
    if (active)
        m_renderer.GetInput().Capture(this);
    else
        m_renderer.GetInput().Release(this);
}

void CGuiConsole::Update()
{
    i_TakeForeignMessages();
    if (!m_isVisible)
        return;
    if (!m_isInputActive)
    {
        m_isCursorShown = false;
        return;
    }
    m_blinkTimer += m_renderer.GetDeltaTime();
    if (m_blinkTimer > kBlinkTime)
    {
        m_blinkTimer = 0.0F;
        m_isCursorShown = !m_isCursorShown;
    }
}

bool CGuiConsole::OnKeyChar(int character)
{
    if (!m_isInputActive)
        return false;
    switch (character)
    {
    case 8:
        RemoveLastCharacter(m_input);
        m_history.Leave();
        break;
    case 9: i_RecallLine(); break;
    case 10:
    case 13: i_EnterInput(); break;
    default:
        AppendUtf8(m_input, character);
        m_history.Leave();
        break;
    }
    return true;
}

void CGuiConsole::i_EnterInput()
{
    // A copy: the command may type, as scripts of tests do.
    const std::string line = m_input;
    m_history.Add(line);
    AddMessage("> " + line);
    Execute(line);
    m_input.clear();
}

void CGuiConsole::i_RecallLine()
{
    const Completion completion = i_Complete();
    if (completion.line.empty())
    {
        // What was typed can be had back with Down.
        const std::string newest = m_history.GetNewest();
        if (!newest.empty() && m_input != newest)
        {
            m_history.Leave();
            m_history.GoBack(m_input);
        }
        return;
    }
    if (completion.line == m_input)
    {
        std::string list;
        for (const std::string& name : completion.names)
            list += (list.empty() ? "" : "  ") + name;
        AddMessage(std::move(list));
    }
    m_input = completion.line;
    m_history.Leave();
}

CGuiConsole::Completion CGuiConsole::i_Complete() const
{
    Completion completion;
    if (m_input.empty())
        return completion;
    const std::size_t space = m_input.find(' ');
    const bool isName = space == std::string::npos;
    const std::string head = isName ? "" : m_input.substr(0, space + 1);
    const std::string_view start = std::string_view(m_input).substr(head.size());
    const auto add = [&](const std::string& name)
    {
        if (!name.empty() && name.starts_with(start))
            completion.names.push_back(name);
    };
    if (isName || head == "help " || head == "alias " || head == "unalias ")
    {
        for (const auto& [name, command] : m_commands)
            add(name);
    }
    if (head == "help " || head == "get " || head == "set " || head == "toggle " || head == "reset ")
    {
        for (const std::string& name : m_variables.GetNames())
            add(name);
    }
    if (completion.names.empty())
        return completion;
    std::string common = completion.names.front();
    for (const std::string& name : completion.names)
        common.resize(static_cast<std::size_t>(
            std::mismatch(common.begin(), common.end(), name.begin(), name.end()).first - common.begin()));
    completion.line = head + common + (completion.names.size() == 1 ? " " : "");
    return completion;
}

bool CGuiConsole::OnKeyDown(int key)
{
    if (!m_isInputActive)
        return false;
    switch (key)
    {
    case gui::kGuiKeyEscape: SetInputActive(false); break;
    case gui::kGuiKeyUp: m_history.GoBack(m_input); break;
    case gui::kGuiKeyDown: m_history.GoForth(m_input); break;
    case gui::kGuiKeyPageUp: ScrollConsole(-kPageMessages); break;
    case gui::kGuiKeyPageDown: ScrollConsole(kPageMessages); break;
    case gui::kGuiKeyHome: ScrollConsole(-static_cast<int>(kMaxMessages)); break;
    case gui::kGuiKeyEnd: ScrollConsole(static_cast<int>(kMaxMessages)); break;
    default: break;
    }
    return true;
}

bool CGuiConsole::OnKeyUp(int)
{
    return m_isInputActive;
}

bool CGuiConsole::OnMouseDown(int button)
{
    return i_Scroll(button);
}

bool CGuiConsole::OnMouseUp(int button)
{
    return i_Scroll(button);
}

bool CGuiConsole::i_Scroll(int button)
{
    if (!m_isInputActive || (button != renderer::kMouseWheelUp && button != renderer::kMouseWheelDown))
        return false;
    ScrollConsole(button == renderer::kMouseWheelUp ? -1 : 1);
    return true;
}

int CGuiConsole::GetPriority()
{
    return kPriority;
}
