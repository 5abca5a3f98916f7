#pragma once

#include "tamradeps/core/baseObject.h"
#include "tamraengine/export.h"

#include <cstdint>

namespace renderer
{
/// The renderer as a clock: it counts frames and knows how long the last one took. It needs no device, so scene code
/// runs without a GPU.
///
/// The renderer constructed last is the active one until it is destroyed or another is activated.
class TAMRAENGINE_API CRenderer : public BaseObject
{
public:
    CRenderer();
    CRenderer(const CRenderer&) = delete;
    CRenderer& operator=(const CRenderer&) = delete;
    /// Leaves no active renderer when this is it.
    ~CRenderer() override;

    const char* GetTypeString() override;

    /// The renderer that scene code asks for the time, or null.
    static CRenderer* GetActive() noexcept;
    void Activate() noexcept;

    /// Starts the next frame. `deltaTime`, in seconds, is the time since the frame before.
    void BeginFrame(float deltaTime) noexcept;

    /// Frames begun so far; 0 before the first.
    std::uint64_t GetFrameNumber() const noexcept { return m_frameNumber; }
    void SetFrameNumber(std::uint64_t frameNumber) noexcept { m_frameNumber = frameNumber; }

    /// Seconds between the last two frames.
    float GetDeltaTime() const noexcept { return m_deltaTime; }

private:
    std::uint64_t m_frameNumber = 0;
    float m_deltaTime = 0.0F;
};
} // namespace renderer
