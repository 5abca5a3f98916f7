#pragma once

#include "gameengine/export.h"
#include "tamradeps/collision/primFrustum.h"
#include "tamradeps/core/memoryDynamicPoolAllocator.h"
#include "tamradeps/core/refClass.h"

#include <cstdint>
#include <memory>
#include <vector>

namespace renderer
{
class CRenderer;
}

/// The index of a box in a culler. Cullers hand out pointers to it and rewrite the index when the box moves, so that a
/// handle stays good while boxes are erased around it.
using OcclusionBoxHandle = std::int32_t;

/// A box that is to be culled.
struct OcclusionBox
{
    OcclusionBoxHandle* handle; ///< The handle that points here, null where boxes come as a whole set.
    void* user;                 ///< Whatever the owner wants to find again; `CEntityArray_Occlusion` keeps the entity.
    float min[3];
    float max[3];
};

/// Finds out once a frame which of a set of boxes can be seen.
///
///     culler->SetFrameData(0, frustum, eye);
///     culler->DoOcclusion();
///     for (int i = 0; i < culler->GetVisibleCount(); ++i)
///         Draw(objects[culler->GetVisibleID(i)]);
///
/// Of cullers that take boxes one by one, `GetVisibleBox(i)->user` is what the owner gave with the box.
///
/// Boxes come one by one (`AddBoundingBox` and so on) or as a whole set (`SetBoundingBoxes` of those cullers that have
/// it): which of the two is the class's choice, and the other one does nothing there. Boxes are six floats, min x, y,
/// z, max x, y, z. The renderer must outlive the culler. All calls belong to the thread that renders.
///
/// The order of the virtual functions is a contract with other modules: add new ones at the end of derived classes
/// only.
class TAMRAGAMEENGINE_API COcclusionAABBBase : public RefClass
{
public:
    explicit COcclusionAABBBase(renderer::CRenderer& renderer);
    COcclusionAABBBase(const COcclusionAABBBase&) = delete;
    COcclusionAABBBase& operator=(const COcclusionAABBBase&) = delete;
    ~COcclusionAABBBase() override;

    const char* GetTypeString() override;

    /// The view of the next pass. What `frameValue` means is up to the culler.
    virtual void SetFrameData(int frameValue, const collision::PrimFrustum& frustum, CVector3 cameraPosition);

    /// A new box. The handle belongs to the culler and is good until the box is removed.
    virtual OcclusionBoxHandle* AddBoundingBox(const float* box);
    virtual void RemoveBoundingBox(OcclusionBoxHandle* handle);
    virtual void UpdateBoundingBox(OcclusionBoxHandle* handle, const float* box);
    virtual int GetBoundingBoxCount();
    /// The handle's box, valid until boxes come or go; null for a null handle, or one that points past the last box.
    virtual OcclusionBox* GetBoundingBox(OcclusionBoxHandle* handle);

    /// One pass: finds the visible boxes.
    virtual void DoOcclusion() = 0;

    /// What the last pass found: `GetVisibleCount()` indices of boxes.
    int GetVisibleCount() const noexcept { return m_visibleCount; }
    /// Index `i` of them, which is not checked.
    int GetVisibleID(int i) const noexcept { return m_visibleIds[static_cast<std::size_t>(i)]; }
    /// The box of index `i`, null when there are not so many boxes any more.
    OcclusionBox* GetVisibleBox(int i) noexcept { return i_GetBox(GetVisibleID(i)); }

protected:
    OcclusionBoxHandle* i_AllocateBoxHandle();
    void i_DeallocateBoxHandle(OcclusionBoxHandle* handle) noexcept;
    /// Erases the handle's box. The last box takes its place, and its handle follows: true when there was one to move,
    /// which then stands where the erased one was. The erased handle is left as it is.
    bool i_SwapEraseOcclusionBox(OcclusionBoxHandle* handle);
    /// Room for so many visible indices. What was in them is lost if there was less.
    void i_ResizeVisibleCapacity(int count);
    /// Appends a box with a new handle.
    OcclusionBoxHandle* i_AppendOcclusionBox(const float* box);
    OcclusionBox* i_GetBox(int index) noexcept
    {
        return static_cast<std::size_t>(index) < m_boxes.size() ? &m_boxes[static_cast<std::size_t>(index)] : nullptr;
    }
    void i_AddVisible(int index) noexcept { m_visibleIds[static_cast<std::size_t>(m_visibleCount++)] = index; }

    static collision::PrimAABB i_ToAABB(const OcclusionBox& record) noexcept
    {
        return {{record.min[0], record.min[1], record.min[2]}, {record.max[0], record.max[1], record.max[2]}};
    }
    static void i_SetBox(OcclusionBox& record, const float* box) noexcept;

    renderer::CRenderer* m_renderer;
    CVector3 m_cameraPosition;
    collision::PrimFrustum m_frustum;
    std::int32_t m_frameValue = 0;
    std::int32_t m_visibleCapacity = 0;
    std::int32_t m_visibleCount = 0;
    std::unique_ptr<std::int32_t[]> m_visibleIds;
    CMemoryDynamicPoolAllocator m_handlePool;
    std::vector<OcclusionBox> m_boxes;
};
