#include "tamraengine/renderer/program.h"

#include "tamradeps/core/log.h"
#include "tamradeps/io/fileSystem.h"
#include "tamraengine/renderer/deviceInternal.h"
#include "tamraengine/renderer/renderer.h"

#include <cctype>
#include <sstream>

namespace renderer
{
namespace
{
constexpr std::size_t kMaxFileSize = std::size_t{1} << 20;
constexpr int kMaxMessages = 8;

std::string GetShaderLog(GLuint shader)
{
    GLint length = 0;
    glGetShaderiv(shader, GL_INFO_LOG_LENGTH, &length);
    std::string text(static_cast<std::size_t>(length > 0 ? length : 0), '\0');
    glGetShaderInfoLog(shader, length, &length, text.data());
    text.resize(static_cast<std::size_t>(length > 0 ? length : 0));
    return text;
}

std::string GetProgramLog(GLuint program)
{
    GLint length = 0;
    glGetProgramiv(program, GL_INFO_LOG_LENGTH, &length);
    std::string text(static_cast<std::size_t>(length > 0 ? length : 0), '\0');
    glGetProgramInfoLog(program, length, &length, text.data());
    text.resize(static_cast<std::size_t>(length > 0 ? length : 0));
    return text;
}

// Drivers write "0:12(3): error" or "0(12) : error": the string's number, then the line's. Empty when there is none.
std::string FindLineNumber(const std::string& message)
{
    const auto isDigit = [&](std::size_t i)
    { return i < message.size() && std::isdigit(static_cast<unsigned char>(message[i])); };
    std::size_t i = message.find_first_of("0123456789");
    if (i == std::string::npos)
        return "";
    while (isDigit(i))
        ++i;
    if (i >= message.size() || (message[i] != ':' && message[i] != '('))
        return "";
    const std::size_t start = ++i;
    while (isDigit(i))
        ++i;
    return message.substr(start, i - start);
}

// The driver's messages, a line each, with the file and line in front.
std::string Annotate(const std::string& name, const std::string& driverLog)
{
    std::string block;
    std::istringstream lines(driverLog);
    std::string line;
    for (int i = 0; i < kMaxMessages && std::getline(lines, line);)
    {
        if (line.find_first_not_of(" \t\r") == std::string::npos)
            continue;
        const std::string number = FindLineNumber(line);
        block += "\n  " + name + (number.empty() ? "" : ":" + number) + ": " + tamra::log::Quoted(line, 300);
        ++i;
    }
    return block.empty() ? "\n  " + name + ": the driver does not say why" : block;
}

// Owns shaders and a program until the program is known to be good.
class CProgramBuilder
{
public:
    CProgramBuilder() : m_program(glCreateProgram()) {}
    CProgramBuilder(const CProgramBuilder&) = delete;
    CProgramBuilder& operator=(const CProgramBuilder&) = delete;
    ~CProgramBuilder() { glDeleteProgram(m_program); }

    bool Compile(GLenum stage, const std::string& name, const std::string& text)
    {
        const GLuint shader = glCreateShader(stage);
        const char* const pointer = text.c_str();
        glShaderSource(shader, 1, &pointer, nullptr);
        glCompileShader(shader);
        GLint isCompiled = GL_FALSE;
        glGetShaderiv(shader, GL_COMPILE_STATUS, &isCompiled);
        if (isCompiled)
            glAttachShader(m_program, shader);
        else
            m_messages += Annotate(name, GetShaderLog(shader));
        glDeleteShader(shader); // the program keeps it as long as it is attached
        return isCompiled != GL_FALSE;
    }

    bool Link(const std::string& name)
    {
        glLinkProgram(m_program);
        GLint isLinked = GL_FALSE;
        glGetProgramiv(m_program, GL_LINK_STATUS, &isLinked);
        if (!isLinked)
            m_messages += Annotate(name, GetProgramLog(m_program));
        return isLinked != GL_FALSE;
    }

    const std::string& GetMessages() const { return m_messages; }
    GLuint Release() { return std::exchange(m_program, 0U); }

private:
    GLuint m_program;
    std::string m_messages;
};
} // namespace

RefPtr<CProgram> CProgram::Create(CRenderer& renderer, const std::string& name)
{
    const std::string base = "shaders/" + name;
    ProgramSource source;
    if (!GetFileSystem().FindFile(base + ".comp").empty())
        source.compute = base + ".comp";
    else
    {
        source.vertex = base + ".vert";
        source.fragment = base + ".frag";
    }
    return Create(renderer, source);
}

RefPtr<CProgram> CProgram::Create(CRenderer& renderer, const ProgramSource& source)
{
    if (!renderer.HasDevice())
    {
        LogDeviceFailure("a shader program", "the renderer has no device");
        return nullptr;
    }
    RefPtr<CProgram> program(new CProgram(renderer));
    program->m_source = source;
    program->m_isFromFiles = true;
    return program->Reload() ? program : nullptr;
}

RefPtr<CProgram> CProgram::CreateFromText(CRenderer& renderer, const std::string& vertex, const std::string& fragment)
{
    return i_CreateFromTexts(
        renderer, {{GL_VERTEX_SHADER, "vertex shader", vertex}, {GL_FRAGMENT_SHADER, "fragment shader", fragment}});
}

RefPtr<CProgram> CProgram::CreateComputeFromText(CRenderer& renderer, const std::string& compute)
{
    return i_CreateFromTexts(renderer, {{GL_COMPUTE_SHADER, "compute shader", compute}});
}

RefPtr<CProgram> CProgram::i_CreateFromTexts(CRenderer& renderer, const std::vector<Text>& texts)
{
    if (!renderer.HasDevice())
    {
        LogDeviceFailure("a shader program", "the renderer has no device");
        return nullptr;
    }
    RefPtr<CProgram> program(new CProgram(renderer));
    return program->i_Build(texts) ? program : nullptr;
}

CProgram::~CProgram()
{
    if (CRenderer* renderer = i_GetRenderer())
    {
        renderer->GetState().Forget(&CRenderState::Values::program, m_handle);
        glDeleteProgram(m_handle);
    }
}

const char* CProgram::GetTypeString()
{
    return "CProgram";
}

bool CProgram::Reload()
{
    std::vector<Text> texts;
    return IsAlive() && m_isFromFiles && i_ReadTexts(texts) && i_Build(texts);
}

bool CProgram::i_ReadTexts(std::vector<Text>& texts) const
{
    const auto read = [&](GLenum stage, const std::string& name)
    {
        if (name.empty())
            return true;
        std::vector<std::byte> content;
        if (!GetFileSystem().FileIn(name, content, kMaxFileSize))
            return false;
        texts.push_back({stage, name, {reinterpret_cast<const char*>(content.data()), content.size()}});
        return true;
    };
    if (!m_source.compute.empty())
        return read(GL_COMPUTE_SHADER, m_source.compute);
    return read(GL_VERTEX_SHADER, m_source.vertex) && read(GL_FRAGMENT_SHADER, m_source.fragment);
}

bool CProgram::i_Build(const std::vector<Text>& texts)
{
    std::string head = "#version 450 core\n";
    for (const std::string& define : m_source.defines)
        head += "#define " + define + "\n";
    head += "#line 1\n";
    CProgramBuilder builder;
    bool isGood = !texts.empty();
    std::string names;
    for (const Text& text : texts)
    {
        isGood = builder.Compile(text.stage, text.name, head + text.text) && isGood;
        names += (names.empty() ? "" : " + ") + text.name;
    }
    if (!isGood || !builder.Link(names))
    {
        tamra::log::Error("A shader program does not build:" + builder.GetMessages());
        return false;
    }
    CRenderState& state = i_GetRenderer()->GetState();
    const GLuint program = builder.Release();
    if (m_handle != 0 && state.GetValues().program == m_handle)
        state.SetProgram(program);
    glDeleteProgram(m_handle);
    m_handle = program;
    m_locations.clear();
    return true;
}

int CProgram::i_GetLocation(const char* name)
{
    // A program has a handful: a walk beats hashing, and makes no string.
    for (const auto& [known, location] : m_locations)
    {
        if (known == name)
            return location;
    }
    return m_locations.emplace_back(name, glGetUniformLocation(m_handle, name)).second;
}

void CProgram::Use() const
{
    if (CRenderer* renderer = i_GetRenderer())
        renderer->GetState().SetProgram(m_handle);
}

void CProgram::SetInt(const char* name, int value)
{
    if (IsAlive())
        glProgramUniform1i(m_handle, i_GetLocation(name), value);
}

void CProgram::SetFloat(const char* name, float value)
{
    if (IsAlive())
        glProgramUniform1f(m_handle, i_GetLocation(name), value);
}

void CProgram::SetVector(const char* name, CVector3 value)
{
    if (IsAlive())
        glProgramUniform3f(m_handle, i_GetLocation(name), value.x, value.y, value.z);
}

void CProgram::SetVector4(const char* name, const float* values)
{
    if (IsAlive())
        glProgramUniform4fv(m_handle, i_GetLocation(name), 1, values);
}

void CProgram::SetMatrix(const char* name, const CMatrix& value)
{
    if (IsAlive())
        glProgramUniformMatrix4fv(m_handle, i_GetLocation(name), 1, GL_FALSE, value.GetElements());
}

void CProgram::BindUniformBlock(const char* name, std::uint32_t index)
{
    if (!IsAlive())
        return;
    const GLuint block = glGetUniformBlockIndex(m_handle, name);
    if (block != GL_INVALID_INDEX)
        glUniformBlockBinding(m_handle, block, index);
}

void CProgram::Dispatch(std::uint32_t x, std::uint32_t y, std::uint32_t z) const
{
    if (!IsAlive())
        return;
    Use();
    glDispatchCompute(x, y, z);
}
} // namespace renderer
