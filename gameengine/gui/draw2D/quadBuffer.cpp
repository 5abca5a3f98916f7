#include "gameengine/gui/draw2D/quadBufferInternal.h"
#include "tamraengine/renderer/renderer.h"

#include <algorithm>
#include <vector>

#include <GL/glew.h>

namespace gui
{
namespace
{
constexpr std::size_t kIndices = 6;   // of a quad
constexpr std::uint32_t kStorage = 7; // the binding in shaders/gui.vert
constexpr std::size_t kFirstCapacity = 1024;
} // namespace

RefPtr<CQuadBuffer> CQuadBuffer::Create(renderer::CRenderer& renderer)
{
    RefPtr<CQuadBuffer> buffer(new CQuadBuffer(renderer));
    buffer->m_quads = renderer::CBuffer::Create(renderer, 0);
    buffer->m_indices = renderer::CBuffer::Create(renderer, 0);
    if (!buffer->m_quads || !buffer->m_indices)
        return nullptr;
    glCreateVertexArrays(1, &buffer->m_handle);
    return buffer;
}

CQuadBuffer::~CQuadBuffer()
{
    renderer::CRenderer* renderer = i_GetRenderer();
    if (!renderer || m_handle == 0)
        return;
    renderer->GetState().Forget(&renderer::CRenderState::Values::vertexArray, m_handle);
    glDeleteVertexArrays(1, &m_handle);
}

bool CQuadBuffer::i_Reserve(std::size_t quadCount)
{
    if (quadCount <= m_capacity)
        return true;
    if (quadCount > kMaxQuads)
        return false;
    const std::size_t capacity = std::clamp(2 * quadCount, kFirstCapacity, kMaxQuads);
    std::vector<std::uint32_t> indices;
    indices.reserve(capacity * kIndices);
    for (std::uint32_t first = 0; first < 4 * capacity; first += 4)
        indices.insert(indices.end(), {first, first + 1, first + 2, first, first + 2, first + 3});
    if (!m_quads->Reserve(capacity * sizeof(Quad)) || !m_indices->Reserve(indices.size() * sizeof(std::uint32_t)))
        return false;
    m_indices->WriteRecords(std::span<const std::uint32_t>(indices));
    glVertexArrayElementBuffer(m_handle, m_indices->GetHandle());
    m_capacity = capacity;
    return true;
}

bool CQuadBuffer::Upload(std::span<const Quad> quads)
{
    if (!IsAlive() || !i_Reserve(quads.size()))
        return false;
    glInvalidateBufferData(m_quads->GetHandle());
    return m_quads->WriteRecords(quads);
}

bool CQuadBuffer::UploadPart(std::span<const Quad> quads, std::size_t first)
{
    return IsAlive() && m_quads->WriteRecords(quads, first);
}

void CQuadBuffer::Bind() const
{
    renderer::CRenderer* renderer = i_GetRenderer();
    if (!renderer)
        return;
    renderer->GetState().SetVertexArray(m_handle);
    m_quads->BindStorage(kStorage);
}

void CQuadBuffer::Draw(std::size_t first, std::size_t count) const
{
    if (!IsAlive() || count > m_capacity || first > m_capacity - count)
        return;
    glDrawElements(GL_TRIANGLES, static_cast<GLsizei>(count * kIndices), GL_UNSIGNED_INT,
                   reinterpret_cast<const void*>(first * kIndices * sizeof(std::uint32_t)));
}
} // namespace gui
