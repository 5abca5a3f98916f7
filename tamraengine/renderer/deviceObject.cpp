#include "tamraengine/renderer/deviceObject.h"

#include "tamraengine/renderer/renderer.h"

namespace renderer
{
CDeviceObject::CDeviceObject(CRenderer& renderer) : m_device(renderer.m_device) {}
} // namespace renderer
