#include "tamraengine/renderer/vertexCache.h"

#include "tamraengine/renderer/deviceInternal.h"
#include "tamraengine/renderer/renderer.h"

#include <algorithm>
#include <limits>
#include <string>

namespace renderer
{
namespace
{
constexpr std::size_t kMaxVertices = std::numeric_limits<GLint>::max();

GLenum ToGl(Primitive primitive)
{
    switch (primitive)
    {
    case Primitive::TriangleStrip: return GL_TRIANGLE_STRIP;
    case Primitive::Lines: return GL_LINES;
    case Primitive::Points: return GL_POINTS;
    case Primitive::Triangles: break;
    }
    return GL_TRIANGLES;
}

void DescribeVertex(GLuint vertexArray)
{
    const auto attribute = [vertexArray](GLuint index, GLint count, GLenum type, GLboolean normalized, GLuint offset)
    {
        glEnableVertexArrayAttrib(vertexArray, index);
        glVertexArrayAttribFormat(vertexArray, index, count, type, normalized, offset);
        glVertexArrayAttribBinding(vertexArray, index, 0);
    };
    attribute(0, 3, GL_FLOAT, GL_FALSE, offsetof(Vertex, position));
    attribute(1, 2, GL_FLOAT, GL_FALSE, offsetof(Vertex, u));
    attribute(2, 4, GL_UNSIGNED_BYTE, GL_TRUE, offsetof(Vertex, color));
}
} // namespace

RefPtr<CVertexCache> CVertexCache::Create(CRenderer& renderer, std::size_t vertexCount)
{
    if (!renderer.HasDevice())
    {
        LogDeviceFailure("a vertex cache", "the renderer has no device");
        return nullptr;
    }
    RefPtr<CVertexCache> cache(new CVertexCache(renderer));
    glCreateVertexArrays(1, &cache->m_handle);
    DescribeVertex(cache->m_handle);
    return cache->i_Allocate(std::max<std::size_t>(vertexCount, 1), false) ? cache : nullptr;
}

CVertexCache::~CVertexCache()
{
    CRenderer* renderer = i_GetRenderer();
    if (!renderer)
        return;
    renderer->GetState().Forget(&CRenderState::Values::vertexArray, m_handle);
    glDeleteVertexArrays(1, &m_handle);
    glDeleteBuffers(1, &m_buffer);
}

const char* CVertexCache::GetTypeString()
{
    return "CVertexCache";
}

bool CVertexCache::i_Allocate(std::size_t vertexCount, bool keep)
{
    GLuint buffer = 0;
    glCreateBuffers(1, &buffer);
    if (vertexCount > kMaxVertices || !AllocateBuffer(buffer, vertexCount * sizeof(Vertex), GL_DYNAMIC_DRAW))
    {
        glDeleteBuffers(1, &buffer);
        LogDeviceFailure("a cache of " + std::to_string(vertexCount) + " vertices", "too little memory");
        return false;
    }
    if (keep)
        glCopyNamedBufferSubData(m_buffer, buffer, 0, 0, static_cast<GLsizeiptr>(m_capacity * sizeof(Vertex)));
    glVertexArrayVertexBuffer(m_handle, 0, buffer, 0, sizeof(Vertex));
    glDeleteBuffers(1, &m_buffer);
    m_buffer = buffer;
    m_capacity = vertexCount;
    return true;
}

bool CVertexCache::Reserve(std::size_t vertexCount)
{
    if (!IsAlive())
        return false;
    return vertexCount <= m_capacity || i_Allocate(std::max(vertexCount, m_capacity + m_capacity / 2), true);
}

bool CVertexCache::Write(std::size_t first, std::span<const Vertex> vertices)
{
    if (!IsAlive() || first > m_capacity || vertices.size() > m_capacity - first)
        return false;
    if (!vertices.empty())
        glNamedBufferSubData(m_buffer, static_cast<GLintptr>(first * sizeof(Vertex)),
                             static_cast<GLsizeiptr>(vertices.size_bytes()), vertices.data());
    return true;
}

std::size_t CVertexCache::Append(std::span<const Vertex> vertices)
{
    const std::size_t first = m_appended;
    if (!Reserve(first + vertices.size()) || !Write(first, vertices))
        return kNoPlace;
    m_appended += vertices.size();
    return first;
}

void CVertexCache::BeginFrame()
{
    m_appended = 0;
    if (IsAlive())
        glInvalidateBufferData(m_buffer);
}

void CVertexCache::Bind() const
{
    if (CRenderer* renderer = i_GetRenderer())
        renderer->GetState().SetVertexArray(m_handle);
}

void CVertexCache::Draw(Primitive primitive, std::size_t first, std::size_t count) const
{
    DrawInstances(primitive, first, count, 1);
}

void CVertexCache::DrawInstances(Primitive primitive, std::size_t first, std::size_t count, std::size_t instances) const
{
    if (!IsAlive() || first >= m_capacity || count == 0 || instances == 0)
        return;
    Bind();
    count = std::min(count, m_capacity - first);
    instances = std::min(instances, kMaxVertices);
    glDrawArraysInstanced(ToGl(primitive), static_cast<GLint>(first), static_cast<GLsizei>(count),
                          static_cast<GLsizei>(instances));
}
} // namespace renderer
