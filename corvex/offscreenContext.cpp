#include "corvex/context.h"
#include "corvex/contextInternal.h"
#include "tamradeps/core/log.h"

#include <cstring>
#include <string>

#ifdef _WIN32

#include "corvex/window.h"

// A context of this system belongs to a window; this one is never shown.
struct COffscreenContext::Handles
{
    std::unique_ptr<CWindow> window;
};

COffscreenContext::COffscreenContext(std::unique_ptr<Handles> handles) : m_handles(std::move(handles)) {}
COffscreenContext::~COffscreenContext() = default;

std::unique_ptr<COffscreenContext> COffscreenContext::Create()
{
    auto handles = std::make_unique<Handles>();
    handles->window = CWindow::Create({.title = "off-screen", .width = 64, .height = 64, .isVisible = false}, nullptr);
    if (!handles->window)
        return nullptr;
    return std::unique_ptr<COffscreenContext>(new COffscreenContext(std::move(handles)));
}

bool COffscreenContext::MakeCurrent()
{
    return m_handles->window->MakeCurrent();
}

void ReleaseOffscreenContext() {}

#else

#include <EGL/egl.h>
#include <EGL/eglext.h>

struct COffscreenContext::Handles
{
    EGLDisplay display = EGL_NO_DISPLAY;
    EGLContext context = EGL_NO_CONTEXT;
};

namespace
{
std::string DescribeError()
{
    char text[32];
    std::snprintf(text, sizeof text, "EGL error 0x%04x", static_cast<unsigned>(eglGetError()));
    return text;
}

void LogFailure(const std::string& why)
{
    tamra::log::Error("Cannot make an off-screen context: " + why);
}

bool HasExtension(const char* extensions, const char* name)
{
    return extensions && std::strstr(extensions, name);
}

EGLDisplay OpenDisplay()
{
    // Asked first: no display server is needed then, whatever the environment says.
    const char* const extensions = eglQueryString(EGL_NO_DISPLAY, EGL_EXTENSIONS);
    if (HasExtension(extensions, "EGL_MESA_platform_surfaceless"))
    {
        const auto getDisplay =
            reinterpret_cast<PFNEGLGETPLATFORMDISPLAYEXTPROC>(eglGetProcAddress("eglGetPlatformDisplayEXT"));
        const EGLDisplay display = getDisplay ? getDisplay(EGL_PLATFORM_SURFACELESS_MESA, nullptr, nullptr) : nullptr;
        if (display && eglInitialize(display, nullptr, nullptr))
            return display;
    }
    const EGLDisplay display = eglGetDisplay(EGL_DEFAULT_DISPLAY);
    return display && eglInitialize(display, nullptr, nullptr) ? display : EGL_NO_DISPLAY;
}

EGLContext MakeContext(EGLDisplay display)
{
    const EGLint configAttributes[] = {EGL_SURFACE_TYPE, 0, EGL_RENDERABLE_TYPE, EGL_OPENGL_BIT, EGL_NONE};
    EGLConfig config = nullptr;
    EGLint count = 0;
    if (!eglBindAPI(EGL_OPENGL_API) || !eglChooseConfig(display, configAttributes, &config, 1, &count) || count < 1)
        return EGL_NO_CONTEXT;
    const EGLint contextAttributes[] = {EGL_CONTEXT_MAJOR_VERSION,
                                        4,
                                        EGL_CONTEXT_MINOR_VERSION,
                                        5,
                                        EGL_CONTEXT_OPENGL_PROFILE_MASK,
                                        EGL_CONTEXT_OPENGL_CORE_PROFILE_BIT,
                                        EGL_CONTEXT_OPENGL_DEBUG,
                                        EGL_TRUE,
                                        EGL_NONE};
    return eglCreateContext(display, config, EGL_NO_CONTEXT, contextAttributes);
}
} // namespace

COffscreenContext::COffscreenContext(std::unique_ptr<Handles> handles) : m_handles(std::move(handles)) {}

COffscreenContext::~COffscreenContext()
{
    if (eglGetCurrentContext() == m_handles->context)
        eglMakeCurrent(m_handles->display, EGL_NO_SURFACE, EGL_NO_SURFACE, EGL_NO_CONTEXT);
    // The display is shared by all contexts of the process and stays.
    eglDestroyContext(m_handles->display, m_handles->context);
}

std::unique_ptr<COffscreenContext> COffscreenContext::Create()
{
    const EGLDisplay display = OpenDisplay();
    if (display == EGL_NO_DISPLAY)
    {
        LogFailure("no EGL display, " + DescribeError());
        return nullptr;
    }
    if (!HasExtension(eglQueryString(display, EGL_EXTENSIONS), "EGL_KHR_surfaceless_context"))
    {
        LogFailure("this EGL needs a surface");
        return nullptr;
    }
    const EGLContext context = MakeContext(display);
    if (context == EGL_NO_CONTEXT)
    {
        LogFailure("no OpenGL 4.5 core, " + DescribeError());
        return nullptr;
    }
    auto handles = std::make_unique<Handles>();
    handles->display = display;
    handles->context = context;
    std::unique_ptr<COffscreenContext> result(new COffscreenContext(std::move(handles)));
    return result->MakeCurrent() ? std::move(result) : nullptr;
}

bool COffscreenContext::MakeCurrent()
{
    ReleaseWindowContext();
    if (eglMakeCurrent(m_handles->display, EGL_NO_SURFACE, EGL_NO_SURFACE, m_handles->context))
        return true;
    tamra::log::Error("Cannot make the off-screen context current: " + DescribeError());
    return false;
}

void ReleaseOffscreenContext()
{
    if (eglGetCurrentContext() != EGL_NO_CONTEXT)
        eglMakeCurrent(eglGetCurrentDisplay(), EGL_NO_SURFACE, EGL_NO_SURFACE, EGL_NO_CONTEXT);
}

#endif

const char* COffscreenContext::GetTypeString()
{
    return "COffscreenContext";
}
