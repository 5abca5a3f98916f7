#pragma once

#include "gameengine/export.h"
#include "gameengine/gui/draw2D/draw.h"
#include "gameengine/gui/guiConsole/guiConsoleHistory.h"
#include "gameengine/gui/guiConsole/guiConsoleVariables.h"
#include "tamradeps/core/log.h"
#include "tamraengine/renderer/input.h"

#include <atomic>
#include <cstddef>
#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

/// The console of a game: the newest 100 messages, those of the log among them, a line to type commands in, and the
/// commands, which any part of a program adds.
///
///     console.AddHandler("spawn", [&](const std::string&, const std::string& what) { world.Spawn(what); },
///                        "spawn NAME: puts one of these before the camera");
///     console.SetVisible(true);
///     console.SetInputActive(true);
///
/// It begins hidden, without the keyboard; a key to open it is the program's own. Text is UTF-8. Everything but
/// `AddMessage` belongs to the thread that made the console. The commands and variables that it has from the start
/// stand in docs/console.md.
class TAMRAGAMEENGINE_API CGuiConsole final : public renderer::CInputListener
{
public:
    /// Gets the name by which it was called and the text after that. It may add and remove handlers, itself too, and
    /// run commands; it must not destroy the console.
    using Handler = std::function<void(const std::string& name, const std::string& arguments)>;
    using ClipboardWriter = std::function<void(const std::string& text)>;

    static constexpr std::size_t kMaxMessages = 100;
    /// Messages from the view line on that are shown.
    static constexpr std::size_t kBottomMessages = 5;

    /// Hears of the renderer's input and of the log until it is destroyed. The renderer must outlive it.
    explicit CGuiConsole(renderer::CRenderer& renderer);
    CGuiConsole(const CGuiConsole&) = delete;
    CGuiConsole& operator=(const CGuiConsole&) = delete;
    ~CGuiConsole() override;

    /// That of the engine instance; null without one.
    static CGuiConsole* Singleton() noexcept;

    const char* GetTypeString() override;

    /// Enters a command or replaces the one of that name; an empty handler removes it. Names are compared byte by byte,
    /// and end at the first space of a line: one with a space in it is never called, which is logged.
    /// `help` is shown by the command "help", and best begins with the name and what follows it.
    void AddHandler(const std::string& name, Handler handler, std::string help = {});
    void RemoveHandler(const std::string& name);
    bool HasHandler(std::string_view name) const { return m_commands.contains(name); }

    /// Appends a message; the oldest of more than 100 goes. Any thread may call it: messages of others than the
    /// console's own appear with its next message or `Update`, and of those waiting too the newest 100 stay.
    void AddMessage(std::string text);
    /// Oldest first.
    const std::deque<std::string>& GetMessages() const noexcept { return m_messages; }
    void ClearMessages();

    /// Runs a command line: up to the first space a command's name, after it the text that the handler gets. Where
    /// there is no such command the message "Unknown command." is added.
    void Execute(const std::string& line);

    /// The first of the five messages that stand lowest (those before it fill the room above), and what it is when
    /// nothing is scrolled: positions in `GetMessages`.
    std::size_t GetViewLine() const noexcept { return m_viewLine; }
    std::size_t GetBottomLine() const noexcept { return m_bottomLine; }
    /// Moves the view by so many messages towards newer ones, or by -lines towards older ones, as far as there are any.
    void ScrollConsole(int lines);

    /// Hiding takes the keyboard away too; showing does not give it.
    void SetVisible(bool visible);
    bool GetVisible() const noexcept { return m_isVisible; }
    /// While it is active all of the renderer's input comes to the console. Escape ends it.
    void SetInputActive(bool active);
    bool GetInputActive() const noexcept { return m_isInputActive; }

    /// What is being typed.
    const std::string& GetInput() const noexcept { return m_input; }
    bool IsCursorShown() const noexcept { return m_isCursorShown; }

    /// Once a frame: lets the cursor blink in the renderer's time, and takes in messages of other threads.
    void Update();
    /// Draws the console, while it is visible, over the upper half of a screen of so many pixels.
    void RenderGUI(gui::Draw& draw, int width, int height);

    /// The settings that the commands "get", "set", "toggle" and "reset" reach.
    CGuiConsoleVariables& GetVariables() noexcept { return m_variables; }
    const CGuiConsoleVariables& GetVariables() const noexcept { return m_variables; }
    /// Takes a text to the clipboard, such as that of `CWindow`, for the command "log.copy". At the start there is
    /// none.
    void SetClipboardWriter(ClipboardWriter writer) { m_clipboardWriter = std::move(writer); }

    // While the input is active every key is consumed, and so is the wheel; otherwise nothing is.

    /// 8, 9, 10 and 13 are backspace, Tab and twice Enter; any other code point is appended to the input.
    bool OnKeyChar(int character) override;
    /// Escape ends the input; Up and Down go through the lines that were entered; Page Up, Page Down, Home and End
    /// scroll.
    bool OnKeyDown(int key) override;
    bool OnKeyUp(int key) override;
    /// The wheel scrolls by a message with its button's press and by another with the release.
    bool OnMouseDown(int button) override;
    bool OnMouseUp(int button) override;
    int GetPriority() override;

private:
    friend class CTamraGameEngine;

    class LogSink final : public tamra::log::Sink
    {
    public:
        explicit LogSink(CGuiConsole& console) : m_console(console) {}
        void Write(tamra::log::Level level, std::string_view line) override;

    private:
        CGuiConsole& m_console;
    };
    struct Command
    {
        std::shared_ptr<const Handler> handler; // shared with the call that runs
        std::string help;
        std::string alias; // the commands that it stands for; empty for others
    };
    struct Completion
    {
        std::string line; // empty for none
        std::vector<std::string> names;
    };
    class ScriptScope;

    static void i_SetSingleton(CGuiConsole* console) noexcept;

    void i_Append(std::string text);
    void i_TakeForeignMessages();
    bool i_Scroll(int button);
    Completion i_Complete() const;
    void i_EnterInput();
    void i_RecallLine();

    void i_AddCommands();
    void i_AddLogCommands();
    void i_AddScriptCommands();
    void i_AddVariableCommands();
    void i_Help(const std::string& name);
    void i_Find(const std::string& text);
    void i_CopyLog();
    void i_SaveLog(const std::string& fileName);
    void i_Alias(const std::string& arguments);
    void i_RunAlias(const std::string& name, const std::string& arguments);
    void i_ExecuteFile(const std::string& fileName);
    bool i_ExecuteOfScript(const std::string& line);
    std::string i_JoinMessages() const;

    void i_DrawMessages(gui::Draw& draw, int columns, int bottom);
    void i_DrawInput(gui::Draw& draw, std::size_t columns, int y);

    renderer::CRenderer& m_renderer;
    std::map<std::string, Command, std::less<>> m_commands;
    CGuiConsoleVariables m_variables;
    ClipboardWriter m_clipboardWriter;

    std::deque<std::string> m_messages;
    std::size_t m_viewLine = 0;
    std::size_t m_bottomLine = 0;

    std::string m_input;
    CGuiConsoleHistory m_history;
    float m_blinkTimer = 0.0F; // seconds
    bool m_isInputActive = false;
    bool m_isVisible = false;
    bool m_isCursorShown = true;

    int m_scriptDepth = 0;
    int m_scriptLines = 0;        // run by the outermost script so far
    std::size_t m_scriptText = 0; // bytes that it has read
    std::string m_shown;          // a message as it is drawn

    const std::thread::id m_thread = std::this_thread::get_id();
    std::atomic<bool> m_hasForeignMessages = false;
    std::mutex m_foreignMutex;
    std::deque<std::string> m_foreignMessages;
    LogSink m_logSink{*this};
};
