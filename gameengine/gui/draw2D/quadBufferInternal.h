#pragma once

#include "tamradeps/core/refPtr.h"
#include "tamraengine/renderer/deviceObject.h"

#include <cstddef>
#include <cstdint>
#include <span>

namespace gui
{
struct QuadVertex
{
    float x;
    float y;
    float u;
    float v;
    std::uint32_t color;
};

/// Four corners around an area: the triangles 0 1 2 and 0 2 3.
struct Quad
{
    QuadVertex corners[4];
};
static_assert(sizeof(Quad) == 80);

/// The quads of a frame in the device's memory.
class CQuadBuffer : public renderer::CDeviceObject
{
public:
    /// Null and one log line without a device.
    static RefPtr<CQuadBuffer> Create(renderer::CRenderer& renderer);
    ~CQuadBuffer() override;

    /// Replaces all of them. The device may still be drawing those of the last frame: it keeps its own copy. False and
    /// one log line when there is no memory.
    bool Upload(std::span<const Quad> quads);
    /// Draws a range with the program in use.
    void Draw(std::size_t first, std::size_t count) const;

private:
    explicit CQuadBuffer(renderer::CRenderer& renderer) : CDeviceObject(renderer) {}
    bool i_Reserve(std::size_t quadCount);

    std::uint32_t m_vertices = 0; // m_handle is the vertex array
    std::uint32_t m_indices = 0;
    std::size_t m_capacity = 0;
};
} // namespace gui
