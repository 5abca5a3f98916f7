#pragma once

#include "gameengine/engine/occlusionAABBBase.h"
#include "tamradeps/math/matrix.h"

#include <cstdint>
#include <memory>
#include <span>

namespace collision
{
struct FrustumQuery;
}

/// Culls on the CPU: draws the boxes and triangles that hide things (occluders) into a small depth buffer of its own,
/// and tests all boxes against it.
///
///     culler->SetOccluderBoxes(buildings);        // when they change
///     culler->SetFrameData(0, PrimFrustum(viewProjection), eye);
///     culler->SetViewProjection(viewProjection);
///     culler->SetBoundingBoxes(count, boxes);
///     culler->DoOcclusion();
///
/// Never culls a box of which a pixel can be seen, at any resolution of the picture: occluders cover only the pixels
/// that they fill wholly, boxes count with their nearest point and all pixels that they touch. So occluders must really
/// fill their shape: a box must be solid, a triangle without holes. All lose up to two pixels along their outline, and
/// those that are only a few pixels large hide nothing: use few and large ones. Triangles hide from both sides.
///
/// Without occluders, or without a view-projection since the last `SetFrameData`, it tests the frustum alone, exactly
/// as PrimFrustum::Test. Visible indices come in ascending order. The answer depends neither on the number of threads
/// nor on the processor.
///
/// The records of the box store have neither handle nor user; `AddBoundingBox`, `RemoveBoundingBox` and
/// `UpdateBoundingBox` do nothing. Memory is allocated when boxes, occluders or the resolution grow, not in a frame
/// like the one before.
class TAMRAGAMEENGINE_API COcclusionAABBSoftwareHierarchicalZ : public COcclusionAABBBase
{
public:
    /// The width and height of the depth buffer are at most this.
    static constexpr int kMostPixels = 4096;
    static constexpr int kMostThreads = 64;

    /// Starts with 1024 x 512 pixels and one thread.
    explicit COcclusionAABBSoftwareHierarchicalZ(renderer::CRenderer& renderer);
    ~COcclusionAABBSoftwareHierarchicalZ() override;

    /// Also forgets the view-projection.
    void SetFrameData(int frameValue, const collision::PrimFrustum& frustum, CVector3 cameraPosition) override;
    void DoOcclusion() override;

    /// Replaces all boxes by `count` new ones, six floats each, min x, y, z, max x, y, z; they are copied. A negative
    /// count is taken for 0.
    virtual void SetBoundingBoxes(int count, const float* boxes);

    /// Replaces the occluders that are boxes. Those with a NaN or turned inside out hide nothing.
    void SetOccluderBoxes(std::span<const collision::PrimAABB> boxes);
    /// Adds a mesh: three indices into `positions` for each triangle. Triangles that follow one another and share a
    /// side are drawn as one. False, with a line in the log, if the indices are not whole triangles or one is too
    /// large; then nothing is added.
    bool AddOccluderTriangles(std::span<const CVector3> positions, std::span<const std::uint32_t> indices);
    /// Takes away all boxes and triangles.
    void ClearOccluders();

    /// `projection * view` of the next pass, with OpenGL's clip space: the one that the frustum was made from. Call it
    /// after `SetFrameData`. If it and the occluders are those of the pass before, they are not drawn anew.
    void SetViewProjection(const CMatrix& viewProjection);

    /// The size of the depth buffer, between 1 and `kMostPixels`, rounded up to whole tiles of 32 x 8 pixels. It need
    /// not be that of the picture: a smaller one is quicker and culls less.
    void SetResolution(int width, int height);

    /// Workers of a pass, the caller included: 1 to `kMostThreads`. The others sleep between the passes.
    void SetThreadCount(int count);

    /// The instruction sets that this machine has, the plainest first ("sse2", "avx2"). The last one is in use. For
    /// tests and measurements, as is `SetInstructionSet`, which is false for a name that is not among them.
    static std::span<const char* const> GetInstructionSets() noexcept;
    bool SetInstructionSet(const char* name);

private:
    struct State;

    void i_PrepareDrawing();
    void i_Work() noexcept;
    void i_MakePolygons(std::size_t begin, std::size_t end);
    void i_SortPolygons();
    void i_TestBoxes(const collision::FrustumQuery& query, std::size_t begin, std::size_t end);

    std::unique_ptr<State> m_state;
};
