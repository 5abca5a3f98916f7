#include "tamraengine/renderer/readback.h"

#include "tamraengine/renderer/deviceInternal.h"
#include "tamraengine/renderer/renderer.h"

namespace renderer
{
RefPtr<CReadback> CReadback::Create(CRenderer& renderer)
{
    if (renderer.HasDevice())
        return new CReadback(renderer);
    LogDeviceFailure("a readback", "the renderer has no device");
    return nullptr;
}

CReadback::~CReadback()
{
    if (!IsAlive())
        return;
    for (const Slot& slot : m_slots)
    {
        glDeleteSync(static_cast<GLsync>(slot.fence));
        glDeleteBuffers(1, &slot.buffer); // ends the mapping, too
    }
}

const char* CReadback::GetTypeString()
{
    return "CReadback";
}

bool CReadback::i_Reserve(Slot& slot, std::size_t size)
{
    if (size <= slot.capacity)
        return true;
    constexpr GLbitfield kFlags = GL_MAP_READ_BIT | GL_MAP_PERSISTENT_BIT | GL_MAP_COHERENT_BIT;
    glDeleteBuffers(1, &slot.buffer);
    slot = {};
    glCreateBuffers(1, &slot.buffer);
    const CExpectOutOfMemory expect;
    glNamedBufferStorage(slot.buffer, static_cast<GLsizeiptr>(size), nullptr, kFlags);
    if (!expect.HasFailed())
        slot.memory =
            static_cast<const std::byte*>(glMapNamedBufferRange(slot.buffer, 0, static_cast<GLsizeiptr>(size), kFlags));
    slot.capacity = slot.memory ? size : 0;
    return slot.memory;
}

bool CReadback::Request(const CBuffer& buffer, std::size_t size, std::uint64_t tag)
{
    Slot& slot = m_slots[(m_oldest + m_pending) % kRequests];
    if (!IsAlive() || m_pending == kRequests || size == 0 || size > buffer.GetSize() || !i_Reserve(slot, size))
        return false;
    glMemoryBarrier(GL_BUFFER_UPDATE_BARRIER_BIT);
    glCopyNamedBufferSubData(buffer.GetHandle(), slot.buffer, 0, 0, static_cast<GLsizeiptr>(size));
    glMemoryBarrier(GL_CLIENT_MAPPED_BUFFER_BARRIER_BIT);
    slot.fence = glFenceSync(GL_SYNC_GPU_COMMANDS_COMPLETE, 0);
    slot.size = size;
    slot.tag = tag;
    ++m_pending;
    return true;
}

CReadback::Answer CReadback::Take()
{
    if (!IsAlive() || m_pending == 0)
        return {};
    Slot& slot = m_slots[m_oldest];
    const GLenum state = glClientWaitSync(static_cast<GLsync>(slot.fence), GL_SYNC_FLUSH_COMMANDS_BIT, 0);
    if (state == GL_TIMEOUT_EXPIRED)
        return {};
    glDeleteSync(static_cast<GLsync>(slot.fence));
    slot.fence = nullptr;
    m_oldest = (m_oldest + 1) % kRequests;
    --m_pending;
    // A lost device fails to wait; there is nothing to take then.
    if (state != GL_ALREADY_SIGNALED && state != GL_CONDITION_SATISFIED)
        return {};
    return {slot.tag, {slot.memory, slot.size}};
}
} // namespace renderer
