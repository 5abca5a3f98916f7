#pragma once

#include "tamradeps/core/refClass.h"
#include "tamraengine/export.h"

#include <cstdint>
#include <memory>

namespace renderer
{
class CRenderer;

/// Base of what lives in the device's memory. It may outlive the renderer's device: from then on it is a husk whose
/// calls do nothing.
class TAMRAENGINE_API CDeviceObject : public RefClass
{
public:
    CDeviceObject(const CDeviceObject&) = delete;
    CDeviceObject& operator=(const CDeviceObject&) = delete;

    /// Whether the device that it was made with is still there.
    bool IsAlive() const noexcept { return *m_device != nullptr; }
    /// The OpenGL name, 0 for none.
    std::uint32_t GetHandle() const noexcept { return m_handle; }

protected:
    explicit CDeviceObject(CRenderer& renderer);

    /// The renderer, null when its device is gone.
    CRenderer* i_GetRenderer() const noexcept { return *m_device; }

    std::uint32_t m_handle = 0;

private:
    std::shared_ptr<CRenderer*> m_device;
};
} // namespace renderer
