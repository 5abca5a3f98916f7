#include "tamraengine/renderer/renderQueue.h"

void CRenderQueue::AddLines(std::span<const RenderLineVertex> vertices)
{
    const auto whole = vertices.first(vertices.size() / 2 * 2);
    m_lines.insert(m_lines.end(), whole.begin(), whole.end());
}
