#include "tamraengine/renderer/materialScript.h"

#include "support/expectations.h"
#include "tamradeps/core/log.h"

#include <gtest/gtest.h>

using namespace renderer;

namespace
{
// With the fields that a pass must have, so that a test names only what it is about.
std::string MakePass(const std::string& fields)
{
    return "pass { name = 'A', vertex = 'a.vert', fragment = 'a.frag', " + fields + " }";
}

struct Lines : tamra::log::Sink
{
    void Write(tamra::log::Level, std::string_view line) override { lines.emplace_back(line); }
    std::vector<std::string> lines;
};
} // namespace

// What a good script describes is for corpusTest.cpp.
TEST(MaterialScript, MistakesAreNamedWithTheirLine)
{
    const std::pair<std::string, std::string> kMistakes[] = {
        {"", "m.lua: it has no pass"},
        {"x = = 1", "m.lua:1: unexpected symbol near '='"},
        {"\nerror('too bad')", "m.lua:2: too bad"},
        {"error {}", "m.lua: it raised an error that is no text"},
        {"\n\npass()", "m.lua:3: 'pass' takes one table"},
        {"pass { 1 }", "m.lua:1: fields of a pass have names"},
        {"pass { vertex = 'a', fragment = 'b' }", "a pass needs a 'name'"},
        {"pass { name = 'A', vertex = 'a' }", "a pass needs a file 'fragment'"},
        {MakePass("") + "\n" + MakePass(""), "m.lua:2: 'name' must be that of no other pass"},
        {MakePass("speed = 1"), "a pass has no field 'speed'"},
        {MakePass("['a\\nb'] = 1"), "a pass has no field 'a?b'"},
        {MakePass("blend = 'multiply'"), R"('blend' must be one of "none", "alpha", "additive", "premultiplied")"},
        {MakePass("depthWrite = 'yes'"), "'depthWrite' must be true or false"},
        {MakePass("defines = { 'A\\n#include' }"), "'defines' must be a list"},
        {MakePass("defines = { 'A \\\\' }"), "'defines' must be a list"},
        {MakePass("defines = { 'A', '9' }"), "'defines' must be a list"},
        {"pass { name = 'A', vertex = '../a', fragment = 'b' }", "'vertex' must be a relative file name"},
        {"pass { name = 'A', vertex = 'a', fragment = '/etc/passwd' }", "'fragment' must be a relative file name"},
        {"for i = 1, 65 do pass { name = 'N' .. i, vertex = 'a', fragment = 'b' } end", "more than 64 passes"},
    };
    for (const auto& [text, fault] : kMistakes)
    {
        const test::ExpectLog expected{fault};
        EXPECT_FALSE(RunMaterialScript("m.lua", text)) << text;
    }
    const test::ExpectLog expected{"...xxxx", "m.lua: it is longer"};
    EXPECT_FALSE(RunMaterialScript(std::string(500, 'x'), "pass(1)"));
    EXPECT_FALSE(RunMaterialScript("m.lua", std::string(70000, ' ')));
}

TEST(MaterialScript, HostileScriptsEndSoonInOneLine)
{
    const std::pair<std::string, std::string> kAttacks[] = {
        {"while true do end", "m.lua:1: it takes too"},
        {"\nlocal function f() return f() end f()", "m.lua:2: it takes too"},
        {"for i = 1, 1e18 do end", "it takes too"},
        {"local s = 'x' while true do s = s .. s end", "bytes of memory"},
        {"local t = {} while true do t[#t + 1] = {} end", "bytes of memory"},
        {"local function f() return 1 + f() end f()", "m.lua"},
        {"local s = 'xxxxxxxx' for i = 1, 15 do s = s .. s end local t = s .. 'a' local u = s .. 'b' "
         "while true do if t < u and t == u then end end",
         "it takes too"},
        {"table.concat({}, 'x', 1, 1 << 60)", "at index 1 in table"},
        {"table.unpack({}, 1, 1e6)", "m.lua"},
        {"string.format('%9999d', 1)", "invalid conversion"},
        {"\x1BLua\x54", "attempt to load a binary chunk"},
        {std::string(60000, '('), "m.lua: C stack overflow"},
        {"local x = " + std::string(60000, '{'), "m.lua: C stack overflow"},
        {std::string(3, '\0'), "m.lua:1: unexpected symbol"},
    };
    for (const auto& [text, fault] : kAttacks)
    {
        const test::ExpectLog expected{fault};
        EXPECT_FALSE(RunMaterialScript("m.lua", text)) << text;
    }
    // What reaches out, catches the errors above, or loops in C, is not there.
    EXPECT_TRUE(RunMaterialScript("m.lua", R"(
        local missing = { "pcall", "xpcall", "coroutine", "setmetatable", "getmetatable", "io", "os", "debug", "package",
                          "require", "load", "loadfile", "dofile", "collectgarbage", "random", "randomseed", "dump",
                          "find", "match", "gmatch", "gsub", "rep", "pack", "move", "sort", "rawset", "warn" }
        for _, functions in ipairs { _ENV, math, string, table } do
            for _, name in ipairs(missing) do assert(functions[name] == nil and ("")[name] == nil, name) end
        end
        )" + MakePass("")));
}

TEST(MaterialScript, PrintsToTheLogAndNotForEver)
{
    Lines sink;
    tamra::log::AddSink(sink);
    EXPECT_TRUE(RunMaterialScript("m.lua", MakePass("") + " print('a\\n', nil, 1.5) for i = 1, 1000 do print(i) end"));
    ASSERT_EQ(sink.lines.size(), 100U);
    EXPECT_EQ(sink.lines[0], "m.lua: a? nil 1.5");
}
