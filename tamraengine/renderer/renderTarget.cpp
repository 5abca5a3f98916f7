#include "tamraengine/renderer/renderTarget.h"

#include "tamraengine/renderer/deviceInternal.h"
#include "tamraengine/renderer/renderer.h"

#include <cstring>

namespace renderer
{
RefPtr<CRenderTarget> CRenderTarget::Create(CRenderer& renderer, int width, int height)
{
    if (!renderer.HasDevice())
    {
        LogDeviceFailure("a render target", "the renderer has no device");
        return nullptr;
    }
    RefPtr<CRenderTarget> target(new CRenderTarget(renderer));
    glCreateFramebuffers(1, &target->m_handle);
    return target->Resize(width, height) ? target : nullptr;
}

CRenderTarget::~CRenderTarget()
{
    if (CRenderer* renderer = i_GetRenderer())
    {
        renderer->GetState().Forget(&CRenderState::Values::framebuffer, m_handle);
        glDeleteFramebuffers(1, &m_handle);
    }
}

const char* CRenderTarget::GetTypeString()
{
    return "CRenderTarget";
}

bool CRenderTarget::Resize(int width, int height)
{
    CRenderer* renderer = i_GetRenderer();
    if (!renderer)
        return false;
    TextureDesc desc;
    desc.width = width;
    desc.height = height;
    RefPtr<CTexture> color = CTexture::Create(*renderer, desc);
    if (!color)
        return false;
    desc.format = TextureFormat::Depth32F;
    desc.filter = TextureFilter::Nearest;
    RefPtr<CTexture> depth = CTexture::Create(*renderer, desc);
    if (!depth)
        return false;
    glNamedFramebufferTexture(m_handle, GL_COLOR_ATTACHMENT0, color->GetHandle(), 0);
    glNamedFramebufferTexture(m_handle, GL_DEPTH_ATTACHMENT, depth->GetHandle(), 0);
    m_color = std::move(color);
    m_depth = std::move(depth);
    if (glCheckNamedFramebufferStatus(m_handle, GL_FRAMEBUFFER) == GL_FRAMEBUFFER_COMPLETE)
        return true;
    LogDeviceFailure("a render target", "the device refuses its formats");
    return false;
}

void CRenderTarget::Bind()
{
    CRenderer* renderer = i_GetRenderer();
    if (!renderer)
        return;
    renderer->GetState().SetFramebuffer(m_handle);
    renderer->GetState().SetViewport(0, 0, GetWidth(), GetHeight());
}

void CRenderTarget::CopyToWindow(int width, int height) const
{
    CRenderer* renderer = i_GetRenderer();
    if (!renderer || width < 1 || height < 1)
        return;
    // A copy heeds the scissor box.
    const CPreservedState guard(renderer->GetState());
    renderer->GetState().DisableScissor();
    glBlitNamedFramebuffer(m_handle, 0, 0, 0, GetWidth(), GetHeight(), 0, 0, width, height, GL_COLOR_BUFFER_BIT,
                           width == GetWidth() && height == GetHeight() ? GL_NEAREST : GL_LINEAR);
}

Image CRenderTarget::ReadPixels() const
{
    const std::vector<std::byte> rows = m_color->Read();
    if (rows.empty())
        return {};
    Image image;
    image.width = GetWidth();
    image.height = GetHeight();
    image.pixels.resize(rows.size());
    const std::size_t rowSize = static_cast<std::size_t>(image.width) * 4;
    const auto height = static_cast<std::size_t>(image.height);
    for (std::size_t y = 0; y < height; ++y)
        std::memcpy(&image.pixels[rowSize * y], &rows[rowSize * (height - 1 - y)], rowSize);
    return image;
}
} // namespace renderer
