#include "gameengine/gui/draw2D/quadBufferInternal.h"
#include "tamradeps/core/log.h"
#include "tamraengine/renderer/renderer.h"

#include <algorithm>
#include <string>
#include <vector>

#include <GL/glew.h>

namespace gui
{
namespace
{
constexpr std::size_t kMaxQuads = std::size_t{1} << 24;
constexpr std::size_t kIndices = 6; // of a quad

bool Allocate(GLuint buffer, std::size_t size, const void* data, GLenum usage)
{
    while (glGetError() != GL_NO_ERROR)
    {
    }
    glNamedBufferData(buffer, static_cast<GLsizeiptr>(size), data, usage);
    return glGetError() == GL_NO_ERROR;
}
} // namespace

RefPtr<CQuadBuffer> CQuadBuffer::Create(renderer::CRenderer& renderer)
{
    if (!renderer.HasDevice())
    {
        tamra::log::Error("Cannot make a buffer of quads: the renderer has no device");
        return nullptr;
    }
    RefPtr<CQuadBuffer> buffer(new CQuadBuffer(renderer));
    glCreateVertexArrays(1, &buffer->m_handle);
    glCreateBuffers(1, &buffer->m_vertices);
    glCreateBuffers(1, &buffer->m_indices);
    const auto attribute = [&](GLuint index, GLint count, GLenum type, GLboolean normalized, std::size_t offset)
    {
        glEnableVertexArrayAttrib(buffer->m_handle, index);
        glVertexArrayAttribFormat(buffer->m_handle, index, count, type, normalized, static_cast<GLuint>(offset));
        glVertexArrayAttribBinding(buffer->m_handle, index, 0);
    };
    attribute(0, 2, GL_FLOAT, GL_FALSE, offsetof(QuadVertex, x));
    attribute(1, 2, GL_FLOAT, GL_FALSE, offsetof(QuadVertex, u));
    attribute(2, 4, GL_UNSIGNED_BYTE, GL_TRUE, offsetof(QuadVertex, color));
    glVertexArrayVertexBuffer(buffer->m_handle, 0, buffer->m_vertices, 0, sizeof(QuadVertex));
    glVertexArrayElementBuffer(buffer->m_handle, buffer->m_indices);
    return buffer;
}

CQuadBuffer::~CQuadBuffer()
{
    renderer::CRenderer* renderer = i_GetRenderer();
    if (!renderer)
        return;
    renderer->GetState().Forget(&renderer::CRenderState::Values::vertexArray, m_handle);
    glDeleteVertexArrays(1, &m_handle);
    glDeleteBuffers(1, &m_vertices);
    glDeleteBuffers(1, &m_indices);
}

bool CQuadBuffer::i_Reserve(std::size_t quadCount)
{
    if (quadCount <= m_capacity)
        return true;
    const std::size_t capacity = std::clamp<std::size_t>(2 * quadCount, 1024, kMaxQuads);
    std::vector<std::uint32_t> indices;
    indices.reserve(capacity * kIndices);
    for (std::uint32_t first = 0; first < 4 * capacity; first += 4)
        indices.insert(indices.end(), {first, first + 1, first + 2, first, first + 2, first + 3});
    m_capacity = 0;
    if (quadCount > kMaxQuads || !Allocate(m_vertices, capacity * sizeof(Quad), nullptr, GL_STREAM_DRAW) ||
        !Allocate(m_indices, indices.size() * sizeof(std::uint32_t), indices.data(), GL_STATIC_DRAW))
    {
        tamra::log::Error("Cannot make a buffer of " + std::to_string(quadCount) + " quads: too little memory");
        return false;
    }
    m_capacity = capacity;
    return true;
}

bool CQuadBuffer::Upload(std::span<const Quad> quads)
{
    if (!IsAlive() || !i_Reserve(quads.size()))
        return false;
    glInvalidateBufferData(m_vertices);
    glNamedBufferSubData(m_vertices, 0, static_cast<GLsizeiptr>(quads.size_bytes()), quads.data());
    return true;
}

void CQuadBuffer::Draw(std::size_t first, std::size_t count) const
{
    renderer::CRenderer* renderer = i_GetRenderer();
    if (!renderer || count > m_capacity || first > m_capacity - count)
        return;
    renderer->GetState().SetVertexArray(m_handle);
    glDrawElements(GL_TRIANGLES, static_cast<GLsizei>(count * kIndices), GL_UNSIGNED_INT,
                   reinterpret_cast<const void*>(first * kIndices * sizeof(std::uint32_t)));
}
} // namespace gui
