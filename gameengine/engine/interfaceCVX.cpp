#include "gameengine/engine/interfaceCVX.h"

#include "tamraengine/renderer/renderQueue.h"

const char* CInterfaceCVX::GetTypeString()
{
    return "CInterfaceCVX";
}

const char* CInterfaceCVX::GetTypeName() const
{
    return "CInterfaceCVX";
}

std::int32_t CInterfaceCVX::GetType() const
{
    return TYPEID();
}

CAuxRenderer* CInterfaceCVX::GetAuxRenderer()
{
    return &m_auxRenderer;
}

void CInterfaceCVX::RenderAuxToRenderQueue(CRenderQueue& queue)
{
    queue.AddLines(m_auxRenderer.GetLines());
    m_auxRenderer.Clear();
}
