#pragma once

#include "gameengine/engine/occlusionViewInternal.h"

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

namespace occlusion
{
constexpr int kTileWidth = 32;
constexpr int kTileHeight = 8;
/// Tiles that may be read and written behind the last one of each row: vectors of tiles begin anywhere.
constexpr std::size_t kTilePadding = 8;
/// The closeness of what nothing covers.
constexpr float kNothing = -3.0e38F;

/// The most polygons that a box or a primitive becomes.
constexpr int kMostPolygons = 3;

/// A convex polygon on the screen in front of which nothing is known and behind which all is hidden.
struct alignas(64) OcclusionPolygon
{
    static constexpr int kEdges = 8;

    // At height y an edge lies at (y - edgeY) * slope + edgeX, drawn in by so much that a whole pixel is inside when
    // the middle of its row is. Left edges stand at the front, right edges at the back.
    float edgeX[kEdges];
    float edgeY[kEdges];
    float slope[kEdges];
    /// Of three planes, some of which may be out of the way: closeness at the farthest corner of tile (0, 0),
    /// and its change by tile column and row. The surface is as far as the farthest of the planes.
    float planeStart[4];
    float planeX[4];
    float planeY[4];
    /// No point of the surface is farther, none nearer.
    float farthest;
    float nearest;
    std::int32_t leftCount;
    std::int32_t rightCount;
    bool hasThree; ///< At least three of either, some of them twice.
    struct Bounds
    {
        std::int32_t tileBegin; ///< Columns of tiles.
        std::int32_t tileEnd;
        std::int32_t rowBegin; ///< Rows of pixels.
        std::int32_t rowEnd;
    };
    Bounds bounds;
};

/// Polygon to draw and the rows of tiles that it reaches.
struct DrawEntry
{
    std::uint32_t polygon;
    std::uint16_t tileRowBegin;
    std::uint16_t tileRowEnd;
};

/// What is hidden on the screen, by tiles of 32 x 8 pixels. Each tile knows two things: how close all of it is covered
/// at least, and how close the pixels of a mask are covered at least. Either may be missing.
struct DepthTiles
{
    void Resize(int width, int height);
    void Clear(int tileRowBegin, int tileRowEnd);
    /// Brings `best` up to date when all has been drawn.
    void Finish(int tileRowBegin, int tileRowEnd);

    std::size_t Index(int column, int row) const
    {
        return static_cast<std::size_t>(row) * stride + static_cast<std::size_t>(column);
    }

    struct Mask
    {
        std::uint32_t rows[kTileHeight];
    };

    int columns = 0;
    int rows = 0;
    std::size_t stride = 0;
    std::vector<float> full;
    /// Masks mean something where `partial` is not kNothing.
    std::vector<float> partial;
    std::vector<Mask> masks;
    /// The greater one of `full` and `partial`: what is nearer is seen, whatever the masks are.
    std::vector<float> best;
};

/// The corners of a polygon in pixels, counter-clockwise, and the closeness of its surface.
struct PolygonCorners
{
    float x[OcclusionPolygon::kEdges + 1];
    float y[OcclusionPolygon::kEdges + 1];
    int count;
    ScreenPlane planes[3];
    int planeCount;
    float farthest;
    float nearest;
};

enum class BoxOutcome : std::uint8_t
{
    kEmpty,     ///< Covers no pixel.
    kPolygon,   ///< A polygon was made.
    kDifficult, ///< Near the eye or far out at the side, for `AddDifficultBox`.
};

/// What is compiled for each instruction set; the results are the same to the last bit.
struct OcclusionKernels
{
    const char* name;

    /// The outlines of those of the boxes, six floats each, that `indices` names. The polygon of index i, if its
    /// outcome is one, is written to polygons[i * kMostPolygons].
    void (*makeBoxes)(const OcclusionView& view, const float* boxes, std::span<const std::uint32_t> indices,
                      OcclusionPolygon* polygons, BoxOutcome* outcomes);
    /// False when no pixel is inside.
    bool (*makePolygon)(const OcclusionView& view, PolygonCorners& corners, OcclusionPolygon& polygon);
    /// Draws into the tile rows from `rowBegin` to `rowEnd`, in this order.
    void (*draw)(const OcclusionPolygon* polygons, std::span<const DrawEntry> order, DepthTiles& tiles, int rowBegin,
                 int rowEnd);
    /// Keeps those of the `count` indices in `found` whose boxes may be seen; returns their number.
    std::size_t (*keepVisible)(const OcclusionView& view, const DepthTiles& tiles, const float* boxes,
                               std::uint32_t* found, std::size_t count);
};

extern const OcclusionKernels kSse2Kernels;
extern const OcclusionKernels kAvx2Kernels;

/// Every set that this machine can run, the plainest first.
std::span<const OcclusionKernels* const> GetOcclusionKernels() noexcept;
} // namespace occlusion
