#pragma once

#include <chrono>
#include <cstddef>
#include <functional>
#include <memory>
#include <string>
#include <string_view>

#include <lua.hpp>

namespace renderer
{
/// Runs one script that may be hostile: with few functions, none of which catches errors or works for long out of sight
/// of the interpreter, and with bounded memory and time.
class CLuaSandbox
{
public:
    /// What a function of the host does with its arguments, which are all that is on the stack. Answers the message of
    /// the error that it raises, empty for none. It must not call anything of Lua's that may raise errors itself: they
    /// jump over destructors.
    using Function = std::function<std::string(lua_State*)>;

    static constexpr std::size_t kMaxTextLength = 65536;
    static constexpr std::size_t kMaxMemory = std::size_t{1} << 20;
    static constexpr int kMaxInstructions = 1'000'000;
    static constexpr std::chrono::seconds kMaxTime{1};

    /// The name is for messages.
    explicit CLuaSandbox(const std::string& name);

    /// Runs a text with one function of the host's. Empty when it got to its end, otherwise "name:line: reason".
    std::string Run(std::string_view text, const char* functionName, const Function& function);

private:
    using Clock = std::chrono::steady_clock;

    static CLuaSandbox& i_Get(lua_State* state);
    static void* i_Allocate(void* self, void* block, std::size_t oldSize, std::size_t newSize);
    static int i_RunProtected(lua_State* state);
    static int i_CallHost(lua_State* state);
    static int i_Print(lua_State* state);
    static void i_OnInstructions(lua_State* state, lua_Debug* debug);

    bool i_CallFunction(lua_State* state) noexcept;
    void i_LogLine(std::string_view text);
    std::string i_GetFault(lua_State* state, int status) const;

    std::string m_name;
    std::string m_chunkName;
    std::string_view m_text;
    const char* m_functionName = nullptr;
    const Function* m_function = nullptr;
    std::string m_hostFault;
    std::size_t m_memoryUsed = 0;
    int m_instructionsLeft = kMaxInstructions;
    int m_linesLeft;
    Clock::time_point m_end;
};
} // namespace renderer
