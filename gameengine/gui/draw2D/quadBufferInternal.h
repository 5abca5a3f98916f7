#pragma once

#include "tamradeps/core/refPtr.h"
#include "tamraengine/renderer/buffer.h"

#include <cstddef>
#include <cstdint>
#include <span>

namespace gui
{
/// How a quad's numbers are meant; "shaders/gui.vert" knows the same.
enum class QuadKind : std::uint32_t
{
    Image,    ///< `first` is a rectangle of pixels, `second` that of the texture: left, top, right, bottom.
    Plain,    ///< `first` is a rectangle, filled with the colour.
    Gradient, ///< `first` is a rectangle, `second` the bits of four colours, clockwise from the upper left corner.
    Disc,     ///< `first` is a part of the round rectangle `second`. Bits 8 to 15 have the column of its corner in the
              ///< texture of round corners, 16 to 23 the radius.
    Ring,     ///< The same, a pixel wide.
    Corners,  ///< `first` and `second` are four points around an area, filled with the colour.
    Fading,   ///< The same, clear at the first two points.
};

/// What the device makes four corners of: an area with an image, or plain.
struct Quad
{
    float first[4];
    float second[4];
    std::uint32_t color;
    QuadKind kind;
};
static_assert(sizeof(Quad) == 40, "shaders/gui.vert reads ten words for each");

/// The quads of a frame in the device's memory.
class CQuadBuffer : public renderer::CDeviceObject
{
public:
    /// No more are drawn in a frame.
    static constexpr std::size_t kMaxQuads = 3'000'000;

    /// Null and one log line without a device or memory.
    static RefPtr<CQuadBuffer> Create(renderer::CRenderer& renderer);
    ~CQuadBuffer() override;

    /// Replaces all of them. The device may still be drawing those of the last frame: it keeps its own copy. False when
    /// there are too many or too little memory.
    bool Upload(std::span<const Quad> quads);
    /// Replaces some of those that are there. False when there are fewer.
    bool UploadPart(std::span<const Quad> quads, std::size_t first);
    /// Makes draws read from here, until somebody else uses the vertex array or the storage.
    void Bind() const;
    /// Draws a range with the program in use.
    void Draw(std::size_t first, std::size_t count) const;

private:
    explicit CQuadBuffer(renderer::CRenderer& renderer) : CDeviceObject(renderer) {}
    bool i_Reserve(std::size_t quadCount);

    // m_handle is a vertex array without attributes: the shader takes the quads apart.
    RefPtr<renderer::CBuffer> m_quads;
    RefPtr<renderer::CBuffer> m_indices; // the two triangles of each quad
    std::size_t m_capacity = 0;
};
} // namespace gui
