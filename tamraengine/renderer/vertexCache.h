#pragma once

#include "tamradeps/core/refPtr.h"
#include "tamradeps/math/vector3.h"
#include "tamraengine/renderer/deviceObject.h"

#include <cstddef>
#include <span>

namespace renderer
{
/// What every vertex of the engine's own drawing looks like. Shaders take it as
///
///     layout(location = 0) in vec3 position;
///     layout(location = 1) in vec2 uv;
///     layout(location = 2) in vec4 color;
struct Vertex
{
    CVector3 position;
    float u = 0.0F;
    float v = 0.0F;
    std::uint32_t color = 0xFFFFFFFF; ///< 0xAABBGGRR: R, G, B, A bytes in memory order.
};
static_assert(sizeof(Vertex) == 24);

/// What the vertices of a draw are taken for.
enum class Primitive : std::uint8_t
{
    Triangles,
    TriangleStrip,
    Lines,
    Points,
};

/// Vertices in the device's memory, drawn by ranges.
///
/// There are two ways to use it. One keeps vertices at fixed places and draws them for many frames: `Reserve`, `Write`.
/// The other takes what changes each frame: `Append` answers where it put the vertices, which are good until the
/// device is through with the frame; `BeginFrame` starts over without waiting. The renderer has a cache of the second
/// kind.
class TAMRAENGINE_API CVertexCache : public CDeviceObject
{
public:
    /// Null and one log line when there is no memory or no device.
    static RefPtr<CVertexCache> Create(CRenderer& renderer, std::size_t vertexCount);
    ~CVertexCache() override;

    const char* GetTypeString() override;

    /// Vertices that there is room for.
    std::size_t GetCapacity() const noexcept { return m_capacity; }

    /// Makes room for at least so many vertices and keeps those that are there. False, with nothing changed, and one
    /// log line when there is no memory.
    bool Reserve(std::size_t vertexCount);
    /// Replaces vertices. False, with nothing changed, when they do not fit.
    bool Write(std::size_t first, std::span<const Vertex> vertices);

    /// Copies the vertices and answers the place of the first. Grows when they do not fit; kNoPlace when it cannot.
    std::size_t Append(std::span<const Vertex> vertices);
    static constexpr std::size_t kNoPlace = static_cast<std::size_t>(-1);
    /// Forgets what was appended. The device may still be drawing it: it keeps its own copy.
    void BeginFrame();

    /// Makes draws read from here.
    void Bind() const;
    /// Draws vertices with the program in use; binds as well. A range that is not there is cut.
    void Draw(Primitive primitive, std::size_t first, std::size_t count) const;
    /// Draws the range so many times; shaders tell them apart by gl_InstanceID.
    void DrawInstances(Primitive primitive, std::size_t first, std::size_t count, std::size_t instances) const;

private:
    explicit CVertexCache(CRenderer& renderer) : CDeviceObject(renderer) {}
    bool i_Allocate(std::size_t vertexCount, bool keep);

    std::uint32_t m_buffer = 0; // m_handle is the vertex array
    std::size_t m_capacity = 0;
    std::size_t m_appended = 0;
};
} // namespace renderer
