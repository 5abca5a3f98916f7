#include "tamraengine/renderer/buffer.h"

#include "tamraengine/renderer/deviceInternal.h"
#include "tamraengine/renderer/renderer.h"

#include <algorithm>
#include <string>

namespace renderer
{
namespace
{
constexpr std::size_t kMinSize = 16;
} // namespace

RefPtr<CBuffer> CBuffer::Create(CRenderer& renderer, std::size_t size)
{
    if (!renderer.HasDevice())
    {
        LogDeviceFailure("a buffer", "the renderer has no device");
        return nullptr;
    }
    RefPtr<CBuffer> buffer(new CBuffer(renderer));
    return buffer->Reserve(std::max(size, kMinSize)) ? buffer : nullptr;
}

CBuffer::~CBuffer()
{
    if (CRenderer* renderer = i_GetRenderer())
    {
        renderer->GetState().ForgetBuffer(m_handle);
        glDeleteBuffers(1, &m_handle);
    }
}

const char* CBuffer::GetTypeString()
{
    return "CBuffer";
}

bool CBuffer::Reserve(std::size_t size, bool keep)
{
    if (!IsAlive())
        return false;
    if (size <= m_size)
        return true;
    const std::size_t newSize = m_size == 0 ? size : std::max(size, m_size + m_size / 2);
    GLuint buffer = 0;
    glCreateBuffers(1, &buffer);
    if (!AllocateBuffer(buffer, newSize, GL_DYNAMIC_DRAW))
    {
        glDeleteBuffers(1, &buffer);
        LogDeviceFailure("a buffer of " + std::to_string(newSize) + " bytes", "too little memory");
        return false;
    }
    if (keep && m_size > 0)
        glCopyNamedBufferSubData(m_handle, buffer, 0, 0, static_cast<GLsizeiptr>(m_size));
    if (m_handle != 0)
        i_GetRenderer()->GetState().ForgetBuffer(m_handle);
    glDeleteBuffers(1, &m_handle);
    m_handle = buffer;
    m_size = newSize;
    return true;
}

bool CBuffer::Write(std::size_t offset, std::span<const std::byte> bytes)
{
    if (!IsAlive() || offset > m_size || bytes.size() > m_size - offset)
        return false;
    if (!bytes.empty())
        glNamedBufferSubData(m_handle, static_cast<GLintptr>(offset), static_cast<GLsizeiptr>(bytes.size()),
                             bytes.data());
    return true;
}

bool CBuffer::Read(std::size_t offset, std::span<std::byte> bytes) const
{
    if (!IsAlive() || offset > m_size || bytes.size() > m_size - offset)
        return false;
    if (!bytes.empty())
        glGetNamedBufferSubData(m_handle, static_cast<GLintptr>(offset), static_cast<GLsizeiptr>(bytes.size()),
                                bytes.data());
    return true;
}

void CBuffer::BindUniform(std::uint32_t index) const
{
    if (CRenderer* renderer = i_GetRenderer())
        renderer->GetState().SetUniformBuffer(index, m_handle);
}

void CBuffer::BindStorage(std::uint32_t index) const
{
    if (CRenderer* renderer = i_GetRenderer())
        renderer->GetState().SetStorageBuffer(index, m_handle);
}
} // namespace renderer
