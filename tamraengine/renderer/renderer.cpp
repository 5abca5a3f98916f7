#include "tamraengine/renderer/renderer.h"

namespace renderer
{
namespace
{
CRenderer* g_active = nullptr;
} // namespace

CRenderer::CRenderer()
{
    Activate();
}

CRenderer::~CRenderer()
{
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

void CRenderer::BeginFrame(float deltaTime) noexcept
{
    ++m_frameNumber;
    m_deltaTime = deltaTime;
}
} // namespace renderer
