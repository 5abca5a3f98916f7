#include "tamradeps/core/log.h"
#include "tamraengine/renderer/luaSandboxInternal.h"

#include <algorithm>
#include <cstdlib>
#include <new>

namespace renderer
{
namespace
{
// How often the clock and the budget are looked at.
constexpr int kInstructionsPerCheck = 100;
constexpr int kMaxPrintedLines = 100;

// Not among them: what reaches other scripts or files, catches errors (they must end the script), sets metatables
// (their finalizers run unbounded), and what loops in C without end or bound: patterns, `rep`, `move`, `sort`.
constexpr const char* kBase[] = {"assert", "error",  "ipairs",   "next",     "pairs",
                                 "print",  "select", "tonumber", "tostring", "type"};
constexpr const char* kMath[] = {"abs", "ceil", "cos",        "deg",       "exp",        "floor", "fmod", "huge",
                                 "log", "max",  "maxinteger", "min",       "mininteger", "modf",  "pi",   "rad",
                                 "sin", "sqrt", "tan",        "tointeger", "type",       "ult"};
constexpr const char* kString[] = {"byte", "char", "format", "len", "lower", "reverse", "sub", "upper"};
constexpr const char* kTable[] = {"concat", "insert", "remove", "unpack"};

// Removes all other fields of the table on top.
template <std::size_t Count>
void KeepOnly(lua_State* state, const char* const (&names)[Count])
{
    lua_pushnil(state);
    while (lua_next(state, -2))
    {
        lua_pop(state, 1);
        const std::string_view key = lua_tostring(state, -1);
        if (std::find(std::begin(names), std::end(names), key) != std::end(names))
            continue;
        lua_pushvalue(state, -1);
        lua_pushnil(state);
        lua_rawset(state, -4);
    }
}

template <std::size_t Count>
void OpenLibrary(lua_State* state, const char* name, lua_CFunction open, const char* const (&names)[Count])
{
    luaL_requiref(state, name, open, 1);
    KeepOnly(state, names);
    lua_pop(state, 1);
}
} // namespace

CLuaSandbox::CLuaSandbox(const std::string& name) : m_name(name), m_linesLeft(kMaxPrintedLines)
{
    // Lua's messages have room for so much.
    constexpr std::size_t kMaxLength = LUA_IDSIZE - 8;
    if (m_name.size() > kMaxLength)
        m_name = "..." + m_name.substr(m_name.size() - kMaxLength);
    m_chunkName = "@" + m_name;
}

std::string CLuaSandbox::Run(std::string_view text, const char* functionName, const Function& function)
{
    if (text.size() > kMaxTextLength)
        return m_name + ": it is longer than " + std::to_string(kMaxTextLength) + " bytes";
    m_text = text;
    m_functionName = functionName;
    m_function = &function;
    m_end = Clock::now() + kMaxTime;
    const std::unique_ptr<lua_State, void (*)(lua_State*)> state(lua_newstate(i_Allocate, this), lua_close);
    if (!state)
        return m_name + ": out of memory";
    *static_cast<CLuaSandbox**>(lua_getextraspace(state.get())) = this;
    lua_pushcfunction(state.get(), i_RunProtected);
    return i_GetFault(state.get(), lua_pcall(state.get(), 0, 0, 0));
}

CLuaSandbox& CLuaSandbox::i_Get(lua_State* state)
{
    return **static_cast<CLuaSandbox**>(lua_getextraspace(state));
}

void* CLuaSandbox::i_Allocate(void* self, void* block, std::size_t oldSize, std::size_t newSize)
{
    std::size_t& used = static_cast<CLuaSandbox*>(self)->m_memoryUsed;
    const std::size_t others = used - (block ? oldSize : 0); // for new blocks, the old size is a kind
    if (newSize == 0)
    {
        std::free(block);
        used = others;
        return nullptr;
    }
    // Lua relies on making blocks smaller.
    const bool isGrowing = !block || newSize > oldSize;
    if (isGrowing && newSize > kMaxMemory - others)
        return nullptr;
    void* moved = std::realloc(block, newSize);
    if (moved)
        used = others + newSize;
    return moved;
}

int CLuaSandbox::i_RunProtected(lua_State* state)
{
    const CLuaSandbox& self = i_Get(state);
    OpenLibrary(state, "_G", luaopen_base, kBase);
    OpenLibrary(state, LUA_MATHLIBNAME, luaopen_math, kMath);
    OpenLibrary(state, LUA_STRLIBNAME, luaopen_string, kString);
    OpenLibrary(state, LUA_TABLIBNAME, luaopen_table, kTable);
    lua_register(state, "print", i_Print);
    lua_register(state, self.m_functionName, i_CallHost);
    // Text only: bytecode is not checked, and could do anything.
    if (luaL_loadbufferx(state, self.m_text.data(), self.m_text.size(), self.m_chunkName.c_str(), "t") != LUA_OK)
        return lua_error(state);
    lua_sethook(state, i_OnInstructions, LUA_MASKCOUNT, kInstructionsPerCheck);
    lua_call(state, 0, 0);
    return 0;
}

int CLuaSandbox::i_CallHost(lua_State* state)
{
    CLuaSandbox& self = i_Get(state);
    if (self.i_CallFunction(state))
        return 0;
    return luaL_error(state, "%s", self.m_hostFault.c_str());
}

bool CLuaSandbox::i_CallFunction(lua_State* state) noexcept
{
    try
    {
        m_hostFault = (*m_function)(state);
    }
    catch (const std::bad_alloc&)
    {
        m_hostFault = "no memory"; // short enough to need none
    }
    return m_hostFault.empty();
}

int CLuaSandbox::i_Print(lua_State* state)
{
    const int count = lua_gettop(state);
    luaL_Buffer line;
    luaL_buffinit(state, &line);
    for (int i = 1; i <= count; ++i)
    {
        if (i > 1)
            luaL_addchar(&line, ' ');
        luaL_tolstring(state, i, nullptr);
        luaL_addvalue(&line);
    }
    luaL_pushresult(&line);
    std::size_t length = 0;
    const char* text = lua_tolstring(state, -1, &length);
    i_Get(state).i_LogLine({text, length});
    return 0;
}

void CLuaSandbox::i_LogLine(std::string_view text)
{
    if (m_linesLeft > 0)
        tamra::log::Info(tamra::log::Quoted(m_name) + ": " + tamra::log::Quoted(text));
    --m_linesLeft;
}

void CLuaSandbox::i_OnInstructions(lua_State* state, lua_Debug* debug)
{
    CLuaSandbox& self = i_Get(state);
    self.m_instructionsLeft -= kInstructionsPerCheck;
    const bool isLate = Clock::now() > self.m_end;
    if (self.m_instructionsLeft > 0 && !isLate)
        return;
    lua_getinfo(state, "Sl", debug);
    lua_pushfstring(state, "%s:%d: it takes %s", debug->short_src, debug->currentline,
                    isLate ? "too much time" : "too many instructions");
    lua_error(state);
}

std::string CLuaSandbox::i_GetFault(lua_State* state, int status) const
{
    if (status == LUA_OK)
        return {};
    if (status == LUA_ERRMEM)
        return m_name + ": it needs more than " + std::to_string(kMaxMemory) + " bytes of memory";
    if (lua_type(state, -1) != LUA_TSTRING)
        return m_name + ": it raised an error that is no text";
    std::size_t length = 0;
    const char* text = lua_tolstring(state, -1, &length);
    std::string fault(text, length);
    return fault.starts_with(m_name + ":") ? fault : m_name + ": " + fault;
}
} // namespace renderer
