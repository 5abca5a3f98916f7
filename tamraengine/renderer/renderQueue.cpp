#include "tamraengine/renderer/renderQueue.h"

#include "tamraengine/renderer/renderer.h"

using namespace renderer;

namespace
{
constexpr const char* kVertexShader = R"(
layout(location = 0) in vec3 position;
layout(location = 2) in vec4 color;
uniform mat4 projectionView;
out vec4 vertexColor;
void main()
{
    gl_Position = projectionView * vec4(position, 1.0);
    vertexColor = color;
}
)";

constexpr const char* kFragmentShader = R"(
in vec4 vertexColor;
out vec4 result;
void main()
{
    result = vertexColor;
}
)";
} // namespace

void CRenderQueue::AddLines(std::span<const RenderLineVertex> vertices)
{
    const auto whole = vertices.first(vertices.size() / 2 * 2);
    m_lines.insert(m_lines.end(), whole.begin(), whole.end());
}

void CRenderQueue::Render(CRenderer& renderer, const CMatrix& projectionView)
{
    CVertexCache* const cache = renderer.GetVertexCache();
    if (!cache || m_lines.empty())
        return;
    if (!m_program || !m_program->IsAlive())
        m_program = CProgram::CreateFromText(renderer, kVertexShader, kFragmentShader);
    if (!m_program)
        return;
    m_vertices.clear();
    for (const RenderLineVertex& vertex : m_lines)
        m_vertices.push_back({vertex.position, 0.0F, 0.0F, vertex.color});
    const std::size_t first = cache->Append(m_vertices);
    if (first == CVertexCache::kNoPlace)
        return;
    const CPreservedState guard(renderer.GetState());
    m_program->SetMatrix("projectionView", projectionView);
    m_program->Use();
    cache->Draw(Primitive::Lines, first, m_vertices.size());
}
