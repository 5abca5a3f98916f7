#pragma once

#include "tamradeps/core/refPtr.h"
#include "tamraengine/renderer/deviceObject.h"

#include <cstddef>
#include <span>

namespace renderer
{
/// Bytes in the device's memory that shaders read as a uniform block or a storage block.
class TAMRAENGINE_API CBuffer : public CDeviceObject
{
public:
    /// A buffer of undefined content. Null and one log line when there is no memory or no device. A size of 0 counts
    /// as 16.
    static RefPtr<CBuffer> Create(CRenderer& renderer, std::size_t size);
    ~CBuffer() override;

    const char* GetTypeString() override;

    std::size_t GetSize() const noexcept { return m_size; }

    /// Makes it at least so large, with room to grow; what was in it stays when `keep`. Growing takes it off all
    /// indices that it was bound to. False, with nothing changed, when there is no memory.
    bool Reserve(std::size_t size, bool keep = false);
    /// False, with nothing changed, when the bytes do not fit.
    bool Write(std::size_t offset, std::span<const std::byte> bytes);
    template <class T>
    bool WriteRecords(std::span<const T> records, std::size_t first = 0)
    {
        return Write(first * sizeof(T), std::as_bytes(records));
    }
    /// Waits for the device. False when the range does not fit.
    bool Read(std::size_t offset, std::span<std::byte> bytes) const;

    /// Binds all of it to the index that "layout(binding = index)" names, below `CRenderState::kBufferIndices`.
    void BindUniform(std::uint32_t index) const;
    void BindStorage(std::uint32_t index) const;

private:
    explicit CBuffer(CRenderer& renderer) : CDeviceObject(renderer) {}

    std::size_t m_size = 0;
};
} // namespace renderer
