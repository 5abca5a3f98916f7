#include "tamraengine/renderer/materialScript.h"

#include "tamradeps/core/log.h"
#include "tamradeps/io/assetName.h"
#include "tamraengine/renderer/luaSandboxInternal.h"

#include <algorithm>
#include <cctype>

namespace renderer
{
namespace
{
constexpr std::size_t kMaxNameLength = 64;
constexpr std::size_t kMaxTextLength = 256;
constexpr std::size_t kMaxDefines = 64;

template <class Value>
struct Word
{
    std::string_view text;
    Value value;
};

constexpr Word<Blend> kBlends[] = {{"none", Blend::Off},
                                   {"alpha", Blend::Alpha},
                                   {"additive", Blend::Additive},
                                   {"premultiplied", Blend::Premultiplied}};
constexpr Word<DepthTest> kDepthTests[] = {{"none", DepthTest::Off},
                                           {"less", DepthTest::Less},
                                           {"lessEqual", DepthTest::LessEqual},
                                           {"equal", DepthTest::Equal},
                                           {"always", DepthTest::Always}};
constexpr Word<Cull> kCulls[] = {{"none", Cull::Off}, {"front", Cull::Front}, {"back", Cull::Back}};

bool IsPrintable(std::string_view text)
{
    return text.size() <= kMaxTextLength &&
           std::none_of(text.begin(), text.end(), [](unsigned char c) { return c < ' ' || c == 0x7F; });
}

bool IsDefine(std::string_view text)
{
    const auto isWordCharacter = [](unsigned char c) { return std::isalnum(c) || c == '_'; };
    const std::string_view name = text.substr(0, text.find(' '));
    // A backslash at the end would join the next line to it.
    return !name.empty() && !std::isdigit(static_cast<unsigned char>(name[0])) &&
           std::all_of(name.begin(), name.end(), isWordCharacter) && IsPrintable(text) && text.back() != '\\';
}

// Reads the table that a script gave to `pass`. Calls nothing of Lua's that may raise an error, so that nothing jumps
// over destructors.
class CPassReader
{
public:
    CPassReader(lua_State* state, const MaterialScript& script) : m_state(state), m_script(script) {}

    /// Empty when the first argument describes a pass.
    std::string Read(MaterialPass& pass)
    {
        if (lua_gettop(m_state) != 1 || !lua_istable(m_state, 1))
            return "'pass' takes one table";
        if (m_script.passes.size() >= MaterialScript::kMaxPasses)
            return "more than " + std::to_string(MaterialScript::kMaxPasses) + " passes";
        std::string fault;
        lua_pushnil(m_state);
        while (fault.empty() && lua_next(m_state, 1))
        {
            fault = i_ReadField(pass);
            lua_pop(m_state, 1);
        }
        return fault.empty() ? i_FindMissing(pass) : fault;
    }

private:
    // Of the value on top, empty for any other type than a string. Valid until the value is popped.
    std::string_view i_GetText() const
    {
        if (lua_type(m_state, -1) != LUA_TSTRING)
            return {};
        std::size_t length = 0;
        const char* text = lua_tolstring(m_state, -1, &length);
        return {text, length};
    }

    // Reads the value on top; the key lies below it.
    std::string i_ReadField(MaterialPass& pass)
    {
        if (lua_type(m_state, -2) != LUA_TSTRING)
            return "fields of a pass have names";
        const std::string_view field = lua_tostring(m_state, -2);
        std::string expected;
        if (field == "name")
            expected = i_ReadName(pass.name);
        else if (field == "vertex")
            expected = i_ReadFileName(pass.source.vertex);
        else if (field == "fragment")
            expected = i_ReadFileName(pass.source.fragment);
        else if (field == "defines")
            expected = i_ReadDefines(pass.source.defines);
        else if (field == "blend")
            expected = i_ReadWord(kBlends, pass.blend);
        else if (field == "depthTest")
            expected = i_ReadDepthTest(pass.depthTest);
        else if (field == "cull")
            expected = i_ReadWord(kCulls, pass.cull);
        else if (field == "depthWrite")
            expected = i_ReadFlag(pass.depthWrite);
        else if (field == "colorWrite")
            expected = i_ReadFlag(pass.colorWrite);
        else
            return "a pass has no field '" + tamra::log::Quoted(field) + "'";
        return expected.empty() ? expected : "'" + std::string(field) + "' must be " + expected;
    }

    // These are empty when the value on top is good, and otherwise say what it must be.

    std::string i_ReadName(std::string& name) const
    {
        const std::string_view text = i_GetText();
        if (text.empty() || text.size() > kMaxNameLength || !IsPrintable(text))
            return "a text of 1 to 64 characters";
        const auto isSame = [&](const MaterialPass& pass) { return pass.name == text; };
        if (std::any_of(m_script.passes.begin(), m_script.passes.end(), isSame))
            return "that of no other pass";
        name = text;
        return {};
    }

    std::string i_ReadFileName(std::string& name) const
    {
        const std::string_view text = i_GetText();
        if (!tamra::IsAssetName(text))
            return "a relative file name";
        name = text;
        return {};
    }

    std::string i_ReadDefines(std::vector<std::string>& defines) const
    {
        if (!lua_istable(m_state, -1) || lua_rawlen(m_state, -1) > kMaxDefines)
            return "a list of at most 64 texts";
        const auto count = static_cast<lua_Integer>(lua_rawlen(m_state, -1));
        for (lua_Integer i = 1; i <= count; ++i)
        {
            lua_rawgeti(m_state, -1, i);
            const std::string text(i_GetText());
            lua_pop(m_state, 1);
            if (!IsDefine(text))
                return "a list of texts \"NAME\" or \"NAME value\"";
            defines.push_back(text);
        }
        return {};
    }

    template <class Value, std::size_t Count>
    std::string i_ReadWord(const Word<Value> (&words)[Count], Value& value) const
    {
        const std::string_view text = i_GetText();
        std::string all;
        for (const Word<Value>& word : words)
        {
            if (word.text == text)
            {
                value = word.value;
                return {};
            }
            all.append(all.empty() ? "\"" : ", \"").append(word.text).append("\"");
        }
        return "one of " + all;
    }

    std::string i_ReadDepthTest(DepthTest& test) const
    {
        if (!lua_isboolean(m_state, -1))
            return i_ReadWord(kDepthTests, test);
        test = lua_toboolean(m_state, -1) ? DepthTest::LessEqual : DepthTest::Off;
        return {};
    }

    std::string i_ReadFlag(bool& flag) const
    {
        if (!lua_isboolean(m_state, -1))
            return "true or false";
        flag = lua_toboolean(m_state, -1) != 0;
        return {};
    }

    static std::string i_FindMissing(const MaterialPass& pass)
    {
        if (pass.name.empty())
            return "a pass needs a 'name'";
        if (pass.source.vertex.empty())
            return "a pass needs a file 'vertex'";
        return pass.source.fragment.empty() ? "a pass needs a file 'fragment'" : "";
    }

    lua_State* m_state;
    const MaterialScript& m_script;
};
} // namespace

std::optional<MaterialScript> RunMaterialScript(const std::string& name, std::string_view text)
{
    MaterialScript script;
    const auto readPass = [&](lua_State* state)
    {
        MaterialPass pass;
        std::string fault = CPassReader(state, script).Read(pass);
        if (fault.empty())
            script.passes.push_back(std::move(pass));
        return fault;
    };
    CLuaSandbox sandbox(name);
    std::string fault = sandbox.Run(text, "pass", readPass);
    if (fault.empty() && script.passes.empty())
        fault = name + ": it has no pass";
    if (fault.empty())
        return script;
    tamra::log::Error("material " + tamra::log::Quoted(fault, 400));
    return std::nullopt;
}
} // namespace renderer
