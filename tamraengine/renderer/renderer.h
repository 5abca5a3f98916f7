#pragma once

#include "tamradeps/core/baseObject.h"
#include "tamradeps/core/refPtr.h"
#include "tamradeps/math/vector3.h"
#include "tamraengine/export.h"
#include "tamraengine/renderer/input.h"
#include "tamraengine/renderer/renderState.h"

#include <cstdint>
#include <memory>
#include <string>

namespace renderer
{
class CVertexCache;

/// The renderer: a clock that counts frames and knows how long the last one took, and, once a context is current, the
/// device that everything is drawn with. As a clock it needs no device, so scene code runs without a GPU.
///
///     auto context = COffscreenContext::Create();
///     renderer::CRenderer renderer;
///     if (!context || !renderer.InitializeDevice())
///         return 1;
///     auto target = renderer::CRenderTarget::Create(renderer, 640, 360);
///     renderer.BeginFrame(1.0F / 60.0F);
///     target->Bind();
///     renderer.Clear({0.2F, 0.3F, 0.4F});
///
/// The renderer constructed last is the active one until it is destroyed or another is activated. It must be destroyed,
/// or its device shut down, while its context is current.
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

    /// Takes the current context for the device. False and one log line when there is none, or it is older than OpenGL
    /// 4.5. Messages of a debug context become log lines from here on.
    bool InitializeDevice();
    /// Lets go of the device. Objects made with it become husks.
    void ShutdownDevice();
    bool HasDevice() const noexcept { return m_hasDevice; }
    /// Vendor, device and version as the driver names them; empty without a device.
    const std::string& GetDeviceName() const noexcept { return m_deviceName; }

    /// Starts the next frame. `deltaTime`, in seconds, is the time since the frame before.
    void BeginFrame(float deltaTime);

    /// Frames begun so far; 0 before the first.
    std::uint64_t GetFrameNumber() const noexcept { return m_frameNumber; }
    void SetFrameNumber(std::uint64_t frameNumber) noexcept { m_frameNumber = frameNumber; }

    /// Seconds between the last two frames.
    float GetDeltaTime() const noexcept { return m_deltaTime; }

    CRenderState& GetState() noexcept { return m_state; }
    /// The vertices of this frame: takes them by `Append`. Null without a device.
    CVertexCache* GetVertexCache() noexcept { return m_vertexCache.Get(); }
    /// Who hears of keys and mouse buttons.
    CInput& GetInput() noexcept { return m_input; }

    /// Draws go to the context's own surface, over a viewport of this size.
    void BindWindow(int width, int height);
    /// Clears colour and depth of what is drawn into, whatever the write and scissor states are.
    void Clear(CVector3 color, float alpha = 1.0F);

private:
    friend class CDeviceObject;

    std::uint64_t m_frameNumber = 0;
    float m_deltaTime = 0.0F;
    bool m_hasDevice = false;
    std::string m_deviceName;
    std::shared_ptr<CRenderer*> m_device; // null in it when the device is gone
    CRenderState m_state;
    RefPtr<CVertexCache> m_vertexCache;
    CInput m_input;
};
} // namespace renderer
