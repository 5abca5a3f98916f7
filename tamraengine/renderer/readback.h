#pragma once

#include "tamradeps/core/refPtr.h"
#include "tamraengine/renderer/buffer.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>

namespace renderer
{
/// Brings bytes from the device without ever waiting for it: asks in one frame and takes the answer in a later one.
///
///     readback->Request(*buffer, size, frame);
///     ...
///     while (const auto answer = readback->Take())
///         Use(answer.tag, answer.bytes);
class TAMRAENGINE_API CReadback : public CDeviceObject
{
public:
    /// Requests that can be under way at once.
    static constexpr std::size_t kRequests = 4;

    /// What a request brought; false when there was none.
    struct Answer
    {
        std::uint64_t tag = 0;
        std::span<const std::byte> bytes; ///< Valid until the next `Request`.
        explicit operator bool() const noexcept { return !bytes.empty(); }
    };

    /// Null and one log line without a device.
    static RefPtr<CReadback> Create(CRenderer& renderer);
    ~CReadback() override;

    const char* GetTypeString() override;

    /// Copies the first `size` bytes as they are after everything asked of the device so far. False when too many
    /// requests are under way, or there is no memory.
    bool Request(const CBuffer& buffer, std::size_t size, std::uint64_t tag);
    /// The oldest answer that is there, in the order of the requests; an empty one when there is none.
    Answer Take();
    /// Requests under way.
    std::size_t GetPending() const noexcept { return m_pending; }

private:
    struct Slot
    {
        std::uint32_t buffer = 0;
        std::size_t capacity = 0;
        const std::byte* memory = nullptr;
        void* fence = nullptr;
        std::size_t size = 0;
        std::uint64_t tag = 0;
    };

    explicit CReadback(CRenderer& renderer) : CDeviceObject(renderer) {}
    static bool i_Reserve(Slot& slot, std::size_t size);

    std::array<Slot, kRequests> m_slots;
    std::size_t m_oldest = 0;
    std::size_t m_pending = 0;
};
} // namespace renderer
