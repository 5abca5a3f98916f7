#include "tamradeps/core/log.h"
#include "tamraengine/renderer/deviceInternal.h"

#include <string>

namespace renderer
{
namespace
{
// A fault in a frame's code comes back each frame; the log keeps the beginning.
constexpr int kMaxMessages = 100;

int g_messages = 0;
int g_expectOutOfMemory = 0;

void GLAPIENTRY OnMessage(GLenum, GLenum type, GLuint, GLenum severity, GLsizei length, const GLchar* text, const void*)
{
    const bool isError = type == GL_DEBUG_TYPE_ERROR || severity == GL_DEBUG_SEVERITY_HIGH;
    if ((!isError && severity != GL_DEBUG_SEVERITY_MEDIUM) || (isError && g_expectOutOfMemory > 0))
        return;
    if (++g_messages > kMaxMessages)
        return;
    const std::string_view message(text, static_cast<std::size_t>(length > 0 ? length : 0));
    std::string line = "OpenGL: " + tamra::log::Quoted(message, 500);
    if (g_messages == kMaxMessages)
        line += " (the last message of the device that is logged)";
    tamra::log::Write(isError ? tamra::log::Level::Error : tamra::log::Level::Warning, line);
}
} // namespace

void EnableDeviceMessages()
{
    g_messages = 0;
    GLint flags = 0;
    glGetIntegerv(GL_CONTEXT_FLAGS, &flags);
    if ((flags & GL_CONTEXT_FLAG_DEBUG_BIT) == 0)
        return;
    glEnable(GL_DEBUG_OUTPUT);
    // In the thread that caused it: the log belongs to it.
    glEnable(GL_DEBUG_OUTPUT_SYNCHRONOUS);
    glDebugMessageCallback(OnMessage, nullptr);
    glDebugMessageControl(GL_DONT_CARE, GL_DONT_CARE, GL_DONT_CARE, 0, nullptr, GL_TRUE);
    glDebugMessageControl(GL_DONT_CARE, GL_DONT_CARE, GL_DEBUG_SEVERITY_NOTIFICATION, 0, nullptr, GL_FALSE);
    glDebugMessageControl(GL_DONT_CARE, GL_DONT_CARE, GL_DEBUG_SEVERITY_LOW, 0, nullptr, GL_FALSE);
    // CProgram reports those, with files and lines.
    glDebugMessageControl(GL_DEBUG_SOURCE_SHADER_COMPILER, GL_DONT_CARE, GL_DONT_CARE, 0, nullptr, GL_FALSE);
}

void ClearDeviceErrors()
{
    // A lost context may answer with an error for ever.
    for (int i = 0; i < 16 && glGetError() != GL_NO_ERROR; ++i)
    {
    }
}

CExpectOutOfMemory::CExpectOutOfMemory()
{
    ++g_expectOutOfMemory;
    ClearDeviceErrors();
}

CExpectOutOfMemory::~CExpectOutOfMemory()
{
    ClearDeviceErrors();
    --g_expectOutOfMemory;
}

bool CExpectOutOfMemory::HasFailed() const
{
    return glGetError() != GL_NO_ERROR;
}

bool AllocateBuffer(GLuint buffer, std::size_t size, GLenum usage)
{
    const CExpectOutOfMemory expect;
    glNamedBufferData(buffer, static_cast<GLsizeiptr>(size), nullptr, usage);
    return !expect.HasFailed();
}

void LogDeviceFailure(std::string_view what, std::string_view why)
{
    tamra::log::Error("Cannot make " + std::string(what) + ": " + std::string(why));
}
} // namespace renderer
