#include "tamraengine/renderer/renderer.h"

#include "tamradeps/core/log.h"
#include "tamraengine/renderer/deviceInternal.h"
#include "tamraengine/renderer/vertexCache.h"

namespace renderer
{
namespace
{
constexpr std::size_t kFirstVertices = 16384;

CRenderer* g_active = nullptr;

std::string ReadText(GLenum name)
{
    const GLubyte* text = glGetString(name);
    return text ? reinterpret_cast<const char*>(text) : "";
}
} // namespace

CRenderer::CRenderer() : m_device(std::make_shared<CRenderer*>(nullptr))
{
    Activate();
}

CRenderer::~CRenderer()
{
    ShutdownDevice();
    if (g_active == this)
        g_active = nullptr;
}

const char* CRenderer::GetTypeString()
{
    return "CRenderer";
}

CRenderer* CRenderer::GetActive() noexcept
{
    return g_active;
}

void CRenderer::Activate() noexcept
{
    g_active = this;
}

bool CRenderer::InitializeDevice()
{
    ShutdownDevice();
    glewExperimental = GL_TRUE;
    const GLenum result = glewInit();
    // Without an X display the entry points are loaded all the same.
    if ((result != GLEW_OK && result != GLEW_ERROR_NO_GLX_DISPLAY) || !GLEW_VERSION_4_5)
    {
        const std::string version = result == GLEW_ERROR_NO_GL_VERSION ? "" : ReadText(GL_VERSION);
        tamra::log::Error(version.empty() ? "The renderer has no OpenGL context"
                                          : "The renderer needs OpenGL 4.5; this is " + version);
        return false;
    }
    ClearDeviceErrors();
    EnableDeviceMessages();
    m_deviceName = ReadText(GL_VENDOR) + ", " + ReadText(GL_RENDERER) + ", OpenGL " + ReadText(GL_VERSION);
    m_hasDevice = true;
    m_device = std::make_shared<CRenderer*>(this);
    m_state.m_hasDevice = true;
    m_state.m_values = {};
    m_state.i_ApplyAll();
    glPixelStorei(GL_PACK_ALIGNMENT, 1);
    glPixelStorei(GL_UNPACK_ALIGNMENT, 1);
    m_vertexCache = CVertexCache::Create(*this, kFirstVertices);
    if (!m_vertexCache)
        ShutdownDevice();
    return m_hasDevice;
}

void CRenderer::ShutdownDevice()
{
    if (!m_hasDevice)
        return;
    m_vertexCache = nullptr;
    *m_device = nullptr;
    m_hasDevice = false;
    m_state.m_hasDevice = false;
    m_state.m_values = {};
    m_deviceName.clear();
}

void CRenderer::BeginFrame(float deltaTime)
{
    ++m_frameNumber;
    m_deltaTime = deltaTime;
    if (m_vertexCache)
        m_vertexCache->BeginFrame();
}

void CRenderer::BindWindow(int width, int height)
{
    m_state.SetFramebuffer(0);
    m_state.SetViewport(0, 0, width, height);
}

void CRenderer::Clear(CVector3 color, float alpha)
{
    if (!m_hasDevice)
        return;
    const CPreservedState guard(m_state);
    m_state.SetColorWrite(true);
    m_state.SetDepthWrite(true);
    m_state.DisableScissor();
    const float values[4] = {color.x, color.y, color.z, alpha};
    const float depth = 1.0F;
    glClearBufferfv(GL_COLOR, 0, values);
    glClearBufferfv(GL_DEPTH, 0, &depth);
}
} // namespace renderer
