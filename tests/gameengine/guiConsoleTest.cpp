#include "gameengine/engine/entityComponentTypeDatabase.h"
#include "gameengine/gameEngine.h"
#include "support/allocations.h"
#include "support/expectations.h"
#include "support/files.h"
#include "support/recordingDraw.h"
#include "tamradeps/io/fileSystem.h"
#include "tamraengine/renderer/renderer.h"

#include <functional>
#include <map>
#include <sstream>

#include <gtest/gtest.h>

namespace
{
using Lines = std::vector<std::string>;

class GuiConsole : public testing::Test
{
protected:
    ~GuiConsole() override { GetFileSystem().SetUserFolder(""); }

    /// Runs calls by their names, and says what came of the last one that answers.
    void Run(const std::string& script)
    {
        std::istringstream words(script);
        for (std::string word; words >> word;)
        {
            const std::size_t colon = word.find(':');
            Call(word.substr(0, colon), word.substr(colon + 1));
        }
    }
    void Call(const std::string& call, const std::string& text)
    {
        const float number = std::strtof(text.c_str(), nullptr);
        const int code = static_cast<int>(number);
        const std::map<std::string, std::function<void()>> calls = {
            {"add", [&] { AddMessages(code); }},
            {"type", [&] { Type(text); }},
            {"char", [&] { m_answer = m_console.OnKeyChar(code); }},
            {"key", [&] { m_answer = m_console.OnKeyDown(code); }},
            {"keyup", [&] { m_answer = m_console.OnKeyUp(code); }},
            {"press", [&] { m_answer = m_console.OnMouseDown(code); }},
            {"release", [&] { m_answer = m_console.OnMouseUp(code); }},
            {"scroll", [&] { m_console.ScrollConsole(code); }},
            {"visible", [&] { m_console.SetVisible(code != 0); }},
            {"active", [&] { m_console.SetInputActive(code != 0); }},
            {"frame", [&] { Frame(number); }},
        };
        calls.at(call)();
    }
    void AddMessages(int count)
    {
        for (int i = 0; i < count; ++i)
            m_console.AddMessage(std::to_string(++m_added));
    }
    void Type(const std::string& text)
    {
        for (const char c : text)
            m_answer = m_console.OnKeyChar(c == '_' ? ' ' : c);
    }
    void Frame(float seconds)
    {
        m_renderer.BeginFrame(seconds);
        m_console.Update();
    }

    std::string GetView() const
    {
        const auto& messages = m_console.GetMessages();
        const auto at = [&](std::size_t i) { return i < messages.size() ? messages[i] : std::string("none"); };
        return std::to_string(messages.size()) + " from " + at(0) + ", view " + at(m_console.GetViewLine()) +
               " bottom " + at(m_console.GetBottomLine());
    }
    std::string GetState() const
    {
        const bool isCaptured = m_renderer.GetInput().GetCaptured() == &m_console;
        return std::string(m_console.GetVisible() ? "visible " : "") + (m_console.GetInputActive() ? "active " : "") +
               (isCaptured ? "captured " : "") + (m_console.IsCursorShown() ? "cursor " : "") +
               (m_answer ? "consumed " : "") + '\'' + m_console.GetInput() + '\'';
    }
    /// The messages since the last call.
    Lines Take()
    {
        Lines lines(m_console.GetMessages().begin(), m_console.GetMessages().end());
        m_console.ClearMessages();
        return lines;
    }
    Lines Execute(const std::string& line)
    {
        m_console.Execute(line);
        return Take();
    }

    mutable renderer::CRenderer m_renderer;
    CGuiConsole m_console{m_renderer};
    int m_added = 0;
    bool m_answer = false;
};

using Case = std::pair<const char*, const char*>; // what is played, and what comes of it

TEST_F(GuiConsole, MessagesAndViewFollowTheRules)
{
    static constexpr Case kCases[] = {
        {"", "0 from none, view none bottom none"},
        {"scroll:1 scroll:-1", "0 from none, view none bottom none"},
        {"add:5", "5 from 1, view 1 bottom 1"},
        {"add:6", "6 from 1, view 2 bottom 2"},
        {"add:101", "100 from 2, view 97 bottom 97"},
        {"add:10 scroll:-2 add:1", "11 from 1, view 4 bottom 7"},
        {"add:10 scroll:-2147483648", "10 from 1, view 1 bottom 6"},
        {"add:10 scroll:-99 scroll:1 scroll:99", "10 from 1, view 6 bottom 6"},
        {"add:100 scroll:-50 add:7", "100 from 8, view 46 bottom 103"},
        {"add:100 scroll:-999 add:300", "100 from 301, view 301 bottom 396"},
        {"add:10 press:32 release:32 press:64", "10 from 1, view 6 bottom 6"},
        {"add:10 active:1 press:32 press:32 press:64", "10 from 1, view 5 bottom 6"},
        {"add:6 active:1 press:32 press:32 press:32 press:1", "6 from 1, view 1 bottom 2"},
        {"add:6 active:1 press:64", "6 from 1, view 2 bottom 2"},
        {"add:30 active:1 key:266", "30 from 1, view 21 bottom 26"},
        {"add:30 active:1 key:268 key:267", "30 from 1, view 6 bottom 26"},
    };
    for (const auto& [script, expected] : kCases)
    {
        m_console.ClearMessages();
        m_added = 0;
        Run(std::string("active:0 ") + script);
        EXPECT_EQ(GetView(), expected) << script;
    }
}

TEST_F(GuiConsole, KeysAndFramesFollowTheRules)
{
    static constexpr Case kCases[] = {
        {"", "cursor ''"},
        {"type:a key:65 keyup:65 press:32 release:64", "cursor ''"},
        {"active:1 type:ab char:8", "active captured cursor consumed 'a'"},
        {"active:1 char:8", "active captured cursor consumed ''"},
        {"active:1 char:228 char:8364 char:128512 char:8", "active captured cursor consumed '\xC3\xA4\xE2\x82\xAC'"},
        {"active:1 char:9", "active captured cursor consumed ''"},
        {"active:1 type:x char:10", "active captured cursor consumed ''"},
        {"active:1 type:x char:13 type:yy char:9", "active captured cursor consumed 'x'"},
        {"active:1 press:32", "active captured cursor consumed ''"},
        {"active:1 release:64", "active captured cursor consumed ''"},
        {"active:1 press:64 press:1", "active captured cursor ''"},
        {"active:1 key:65", "active captured cursor consumed ''"},
        {"visible:1 active:1 type:a key:256", "visible cursor consumed 'a'"},
        {"visible:1 active:1 visible:0", "cursor ''"},
        {"visible:1 frame:0.1", "visible ''"},
        {"visible:1 active:1 frame:0.5", "visible active captured cursor ''"},
        {"visible:1 active:1 frame:0.5 frame:0.0001", "visible active captured ''"},
        {"visible:1 active:1 frame:9 frame:0.5", "visible active captured ''"},
        {"visible:1 active:1 frame:0.51 frame:0.51", "visible active captured cursor ''"},
        {"visible:1 active:1 frame:0.4 active:0 frame:1 active:1 frame:0.2", "visible active captured cursor ''"},
    };
    for (const auto& [script, expected] : kCases)
    {
        m_console.~CGuiConsole();
        new (&m_console) CGuiConsole(m_renderer);
        m_answer = false;
        Run(script);
        EXPECT_EQ(GetState(), expected) << script;
    }
    EXPECT_TRUE(m_renderer.GetInput().KeyChar('a')) << "it hears of the renderer's input";
}

TEST_F(GuiConsole, ExecuteSplitsAtTheFirstSpace)
{
    const Lines unknown{"Unknown command."};
    EXPECT_EQ(Execute(""), unknown);
    const auto handler = [this](const std::string& name, const std::string& text)
    { m_console.AddMessage('[' + name + "][" + text + ']'); };
    m_console.AddHandler("", handler);
    m_console.AddHandler("Go", handler);
    static constexpr Case kCases[] = {
        {"", "[][]"},
        {" ", "[][]"},
        {" Go", "[][Go]"},
        {"Go", "[Go][]"},
        {"Go two words", "[Go][two words]"},
        {"Go ", "[Go][]"},
        {"Go  a ", "[Go][ a ]"},
        {"go", "Unknown command."},
        {"Gone", "Unknown command."},
    };
    for (const auto& [script, expected] : kCases)
        EXPECT_EQ(Execute(script), Lines{expected}) << '"' << script << '"';

    Run("active:1 type:Go_x char:13");
    EXPECT_EQ(Take(), (Lines{"> Go x", "[Go][x]"}));

    // A handler that replaces or removes itself finishes first.
    m_console.AddHandler("Go",
                         [this, kept = std::string(100, 'k')](const std::string& name, const std::string&)
                         {
                             m_console.AddHandler(name, [](const std::string&, const std::string&) {});
                             m_console.RemoveHandler(name);
                             m_console.AddMessage(kept);
                         });
    EXPECT_EQ(Execute("Go"), Lines{std::string(100, 'k')});
    EXPECT_EQ(Execute("Go"), unknown);
}

TEST_F(GuiConsole, TabAndArrowsRecallAndComplete)
{
    for (const char* name : {"spawn", "spawner", "stat"})
        m_console.AddHandler(name, [](const std::string&, const std::string&) {});
    m_console.GetVariables().Add("view.angle", {.value = 75});
    static constexpr Case kCases[] = {
        {"type:one char:13 char:9", "one"},
        {"type:sp char:9", "spawn"},
        {"type:spawne char:9", "spawner "},
        {"type:set_v char:9", "set view.angle "},
        {"type:get_x char:9", "one"}, // nothing begins like that
        {"type:get_x char:9 key:264", "get x"},
        {"type:two char:13 type:two char:13 type:dr key:265", "two"},
        {"type:dr key:265 key:265 key:265 key:265", "one"},
        {"type:dr key:265 key:265 key:264 key:264 key:264", "dr"},
        {"key:265 type:x key:265 key:264", "twox"}, // what was changed is the new draft
    };
    for (const auto& [script, expected] : kCases)
    {
        m_console.SetInputActive(true);
        while (!m_console.GetInput().empty())
            m_console.OnKeyChar(8);
        Run(script);
        EXPECT_EQ(m_console.GetInput(), expected) << script;
    }
    Take();
    for (int i = 0; i < 4; ++i)
        m_console.OnKeyChar(8);
    Run("type:spawn char:9");
    EXPECT_EQ(Take(), Lines{"spawn  spawner"}) << "what there is to choose from";
}

TEST_F(GuiConsole, VariablesKeepTheirTypeAndRange)
{
    CGuiConsoleVariables& variables = m_console.GetVariables();
    EXPECT_TRUE(variables.Add("speed", {.value = 2.0F, .low = 0.5, .high = 100000, .help = "Fast."}));
    EXPECT_TRUE(variables.Add("count", {.value = 3, .low = -5.5, .high = 100000.9}));
    EXPECT_TRUE(variables.Add("share", {.value = 0.01F, .low = 0.01, .high = 0.3}));
    EXPECT_TRUE(variables.Add("fog", {.value = true}));
    EXPECT_TRUE(variables.Add("title", {.value = "a b", .high = 5}));
    {
        const test::ExpectLog expected{"is taken", "no name", "no name", "range", "range"};
        EXPECT_FALSE(variables.Add("fog", {.value = 1}));
        EXPECT_FALSE(variables.Add("", {.value = 1}));
        EXPECT_FALSE(variables.Add("a b", {.value = 1}));
        EXPECT_FALSE(variables.Add("x", {.value = 1, .low = 2}));
        EXPECT_FALSE(variables.Add("x", {.value = std::numeric_limits<float>::quiet_NaN()}));
    }
    Take();
    static constexpr Case kCases[] = {
        {"get speed", "speed = 2 (float, 0.5 to 100000)  Fast."},
        {"set count 7", "count = 7 (int, -5 to 100000, at first 3)"},
        {"set count 7.5", "[ERROR] count takes another value: int, -5 to 100000."},
        {"set count -6", "[ERROR] count takes another value: int, -5 to 100000."},
        {"set count 99999999999", "[ERROR] count takes another value: int, -5 to 100000."},
        {"set count", "[ERROR] count takes another value: int, -5 to 100000."},
        {"reset count", "count = 3 (int, -5 to 100000)"},
        {"set speed nan", "[ERROR] speed takes another value: float, 0.5 to 100000."},
        {"set share 0.3", "share = 0.3 (float, 0.01 to 0.3, at first 0.01)"},
        {"set fog OFF", "fog = false (bool, at first true)"},
        {"toggle fog", "fog = true (bool)"},
        {"toggle count", "[ERROR] count takes another value: int, -5 to 100000."},
        {"set title  c d ", "title = \" c d \" (text, at most 5 bytes, at first \"a b\")"},
        {"set title 123456", "[ERROR] title takes another value: text, at most 5 bytes."},
        {"set nothing 1", "[ERROR] There is no variable \"nothing\"."},
        {"find FAST", "speed = 2 (float, 0.5 to 100000)  Fast."},
        {"find zebra", "Nothing has \"zebra\" in its name or description."},
        {"help zebra", "[ERROR] There is no command or variable \"zebra\"."},
    };
    for (const auto& [script, expected] : kCases)
        EXPECT_EQ(Execute(script), Lines{expected}) << script;
    EXPECT_EQ(variables.Get("speed", 9), 9) << "of another type";
}

TEST_F(GuiConsole, VariablesTellOfTheirChangesOnce)
{
    CGuiConsoleVariables& variables = m_console.GetVariables();
    std::string told;
    const auto tell = [&](const std::string& name, const GuiConsoleValue&)
    {
        told += name + ' ';
        variables.Set("speed", 1.5F); // is not told again
    };
    variables.Add("speed", {.value = 2.0F, .low = 0.5, .changed = tell});
    Execute("set speed 0");
    EXPECT_EQ(told, "");
    Execute("set speed 3");
    EXPECT_EQ(told, "speed ");
    EXPECT_EQ(variables.Get<float>("speed"), 1.5F);

    variables.Add("once", {.value = 1,
                           .changed = [&](const std::string& name, const GuiConsoleValue&)
                           {
                               variables.Remove(name);
                               told = name;
                           }});
    EXPECT_TRUE(variables.Set("once", 2));
    EXPECT_EQ(told, "once");
    EXPECT_EQ(variables.Find("once"), nullptr);
}

TEST_F(GuiConsole, ScriptsAndAliasesEnd)
{
    const test::TemporaryFolder folder;
    GetFileSystem().SetUserFolder(folder.Path(""));
    const auto write = [&](const char* name, const std::string& text) { test::WriteFile(folder.Path(name), text); };
    write("boot.cfg", "\xEF\xBB\xBF# comment\r\n\r\n  echo a b\t\r\n// no\nbogus 1\nexec inner.cfg\necho end");
    write("inner.cfg", "alias hi echo hello; echo\nhi you");
    EXPECT_EQ(Execute("exec boot.cfg"),
              (Lines{"a b", "[WARNING] \"boot.cfg\", line 5: \"bogus 1\"", "Unknown command.", "hello", "you", "end"}));
    write("self.cfg", "echo x\nexec self.cfg\nexec self.cfg\n");
    Lines lines = Execute("exec self.cfg");
    ASSERT_EQ(lines.size(), 17U) << "sixteen deep, and then all of it ends";
    EXPECT_EQ(lines.back(), "[ERROR] \"self.cfg\" runs itself, or is nested deeper than 16.");

    Execute("alias a b; b");
    Execute("alias b a; a");
    EXPECT_EQ(Execute("a").size(), 1U);
    EXPECT_EQ(Execute("hi"), (Lines{"hello", ""})) << "the next one starts anew";

    int count = 0;
    m_console.AddHandler("c", [&](const std::string&, const std::string&) { ++count; });
    std::string many;
    for (int i = 0; i < 10000; ++i)
        many += "c\n";
    write("most.cfg", many);
    EXPECT_EQ(Execute("exec most.cfg"), Lines());
    EXPECT_EQ(count, 10000);
    write("over.cfg", "exec most.cfg\nc");
    Execute("alias over exec over.cfg");
    lines = Execute("over");
    ASSERT_EQ(lines.size(), 1U);
    EXPECT_NE(lines[0].find("10000 commands"), std::string::npos);
    EXPECT_EQ(count, 19998) << "two of them are the alias and exec";
    write("blank.cfg", std::string(1 << 20, ' '));
    Execute("alias blanks exec blank.cfg; exec blank.cfg; exec blank.cfg");
    EXPECT_EQ(Execute("alias blank blanks; blanks"), Lines());
    EXPECT_EQ(Execute("blank"), Lines());
    write("blanks.cfg", "blank\nblank\nc");
    EXPECT_EQ(Execute("exec blanks.cfg"), Lines{"[ERROR] The script ends here: it is too long."});
    EXPECT_EQ(count, 19998);
    const test::ExpectLog expected{"missing.cfg", "large.cfg"};
    EXPECT_EQ(Execute("exec missing.cfg").size(), 1U) << "the log's line";
    write("large.cfg", std::string((1 << 20) + 1, '\n'));
    Execute("exec large.cfg");
}

TEST_F(GuiConsole, AliasesAreListedAndChangedButNoCommands)
{
    Execute("alias hi echo hello; echo");
    EXPECT_EQ(Execute("alias exec echo"), Lines{"[ERROR] \"exec\" is a command and cannot be an alias."});
    EXPECT_EQ(Execute("alias hi"), Lines{"hi = echo hello; echo"});
    EXPECT_EQ(Execute("help hi"), Lines{"hi is an alias: echo hello; echo"});
    EXPECT_EQ(Execute("alias"), Lines{"hi = echo hello; echo"});
    const Lines help = Execute("help");
    ASSERT_EQ(help.size(), 2U);
    EXPECT_TRUE(help[0].starts_with("alias  ") && help[0].find("  unalias") != std::string::npos) << help[0];
    EXPECT_EQ(Execute("alias gone unalias gone; echo still"), Lines());
    EXPECT_EQ(Execute("gone"), Lines{"still"});
    EXPECT_EQ(Execute("gone"), Lines{"Unknown command."});
    EXPECT_EQ(Execute("unalias echo"), Lines{"[ERROR] There is no alias \"echo\"."});
}

TEST_F(GuiConsole, TheLogComesInFromAllThreadsAndGoesOut)
{
    tamra::log::Info("one");
    std::thread other([] { tamra::log::Info("two"); });
    other.join();
    EXPECT_EQ(m_console.GetMessages().size(), 1U) << "until the console's own thread comes by";
    tamra::log::Info("three");
    std::string clipboard;
    m_console.SetClipboardWriter([&](const std::string& text) { clipboard = text; });
    m_console.Execute("log.copy");
    EXPECT_EQ(clipboard, "one\ntwo\nthree\n");
    const test::TemporaryFolder folder;
    GetFileSystem().SetUserFolder(folder.Path(""));
    m_console.Execute("log.save l\xC3\xB6g.txt");
    EXPECT_EQ(test::ReadFile(folder.Path("l\xC3\xB6g.txt")), clipboard + "Copied 3 messages.\n");
    // A script, which may be somebody else's, writes nowhere but there.
    for (const std::string& name : {folder.Path("no.txt"), std::string("a/../../no.txt")})
    {
        m_console.Execute("alias away log.save " + name);
        m_console.Execute("away");
        EXPECT_TRUE(m_console.GetMessages().back().ends_with("user folder only.")) << name;
    }
    m_console.Execute("alias here log.save yes.txt");
    m_console.Execute("here");
    EXPECT_TRUE(m_console.GetMessages().back().starts_with("Wrote"));

    std::thread flood(
        []
        {
            for (int i = 0; i < 1000; ++i)
                tamra::log::Info(std::to_string(i));
        });
    for (int i = 0; i < 1000; ++i)
        m_console.Update();
    flood.join();
    m_console.Update();
    EXPECT_EQ(m_console.GetMessages().size(), CGuiConsole::kMaxMessages);
    EXPECT_EQ(m_console.GetMessages().back(), "999");
}

TEST_F(GuiConsole, DrawsTheViewAboveTheInput)
{
    test::RecordingDraw draw;
    const auto render = [&](int width, int height)
    {
        draw.calls.clear();
        m_console.RenderGUI(draw, width, height);
        EXPECT_EQ(draw.clips, 0);
        std::map<std::string, gui::GuiRecti> texts;
        for (const auto& call : draw.calls)
        {
            if (call.what == "text")
                texts[call.text] = call.rect;
        }
        return texts;
    };
    render(400, 200);
    EXPECT_TRUE(draw.calls.empty()) << "hidden";
    Run("visible:1 active:1 type:echo_hey add:9 scroll:-1");
    m_console.AddMessage("[ERROR] " + std::string(60, 'e') + "\n\tx"); // 48 characters fit
    EXPECT_TRUE(render(400, 200).contains("2 more below"));
    m_console.ScrollConsole(2);
    const auto texts = render(400, 200);
    EXPECT_EQ(texts.size(), 2U + 3U + 2U) << "prompt, input, the three rows of the newest, and what has room above";
    for (const auto& [text, rect] : texts)
        EXPECT_TRUE(rect.BR().x <= 400 && rect.BR().y <= 100) << text;
    ASSERT_TRUE(texts.contains("echo hey") && texts.contains("9") && texts.contains(" x"));
    EXPECT_LT(texts.at("9").y, texts.at(" x").y);
    EXPECT_LT(texts.at(" x").y, texts.at("echo hey").y);
    Run("type:" + std::string(5000, 'x') + "end");
    render(400, 200);
    EXPECT_TRUE(draw.calls[draw.calls.size() - 2].text.ends_with("xend"));
    render(0, 0);
    render(3, 3);
}

TEST(GameEngine, OwnsWhatThereIsOnce)
{
    GetFileSystem().AddRoot(TAMRA_SOURCE_FOLDER "/assets");
    renderer::CRenderer renderer;
    EXPECT_EQ(gui::Draw::Create(renderer)->GetTextWidth("abc", gui::TFB_PIXEL), 18) << "without a device too";
    EXPECT_EQ(CGuiConsole::Singleton(), nullptr);
    for (int round = 0; round < 2; ++round)
    {
        const auto engine = CTamraGameEngine::Create(renderer);
        ASSERT_TRUE(engine);
        EXPECT_EQ(CTamraGameEngine::Singleton(), engine.get());
        EXPECT_EQ(CGuiConsole::Singleton(), &engine->GetConsole());
        EXPECT_GE(engine->GetTypeDatabase().FindByName("ComponentCamera"), 0);
        const test::ExpectLog expected{"already"};
        EXPECT_EQ(CTamraGameEngine::Create(renderer), nullptr);
        EXPECT_EQ(engine->GetConsole().GetMessages().size(), 1U);

        // Steady frames take no memory, whatever is shown.
        engine->GetConsole().SetVisible(true);
        engine->GetConsole().SetInputActive(true);
        for (int i = 0; i < 120; ++i)
            engine->GetConsole().AddMessage("A message with \xC3\xA4 and\ttabs " + std::string(200, 'x'));
        engine->GetConsole().ScrollConsole(-20);
        std::size_t before = 0;
        for (int frame = 0; frame < 40; ++frame)
        {
            before = frame == 4 ? test::GetAllocationCount() : before;
            renderer.BeginFrame(0.1F);
            engine->Update();
            engine->RenderGUI(1280, 720);
        }
        EXPECT_EQ(test::GetAllocationCount(), before);
    }
    EXPECT_EQ(CTamraGameEngine::Singleton(), nullptr);
    EXPECT_EQ(CGuiConsole::Singleton(), nullptr);
    EXPECT_FALSE(renderer.GetInput().KeyChar('a')) << "nobody listens any more";
}
} // namespace
