#pragma once

#include "gameengine/engine/entityArrayAccelerationTree.h"
#include "gameengine/export.h"
#include "tamradeps/collision/primAABB.h"
#include "tamradeps/collision/primFrustum.h"
#include "tamradeps/core/refPtr.h"
#include "tamradeps/math/vector3.h"

#include <cstddef>
#include <cstdint>
#include <limits>
#include <memory>
#include <span>
#include <type_traits>
#include <vector>

/// Questions about what is where, over an acceleration tree with a grid.
///
///     CEntityArray_SpatialQuery query(tree.Get());
///     std::vector<CEntity*> buffer;                   // kept from frame to frame
///     for (CEntity* entity : query.InFrustum(camera, buffer))
///         Draw(entity);
///
/// Answers are about the boxes under which the tree has filed its entities, and hold each entity once. What lies wholly
/// outside the grid's region is not filed and never found; what reaches into it is found wherever the question meets
/// its box. An answer is a span into the caller's buffer, which grows when it must and is never shrunk: valid until the
/// buffer changes or an entity in it dies. The same tree and the same question give the same order.
///
/// The object keeps a copy of the boxes of each cell that was asked for, packed for vector instructions, and renews a
/// cell's copy when the cell has changed. A question thus costs a few nanoseconds for each cell and about one for each
/// box in them, plus the renewing; an object may be kept for each purpose, at about 50 bytes an entity and 16 a cell of
/// the grid. Once buffers and copies have grown, nothing is allocated. It keeps the tree alive; with a tree without a
/// grid all answers are empty.
class TAMRAGAMEENGINE_API CEntityArray_SpatialQuery
{
public:
    using Buffer = std::vector<CEntity*>;
    using Answer = std::span<CEntity* const>;

    explicit CEntityArray_SpatialQuery(CEntityArray_AccelerationTree* tree);
    CEntityArray_SpatialQuery(const CEntityArray_SpatialQuery&) = delete;
    CEntityArray_SpatialQuery& operator=(const CEntityArray_SpatialQuery&) = delete;
    ~CEntityArray_SpatialQuery();

    /// Everything whose box touches this one, in order of cells (x fastest, then y, then z), and in a cell the one that
    /// was filed last first. Nothing for a box whose min lies behind its max.
    Answer InBox(const collision::PrimAABB& box, Buffer& buffer);

    /// Everything whose box comes within `radius` of the centre, in the same order.
    Answer InSphere(CVector3 center, float radius, Buffer& buffer);

    /// Everything whose box reaches into the frustum, in the same order. Nothing that does is left out; what is outside
    /// near an edge may be reported, though never what `PrimFrustum::Test` turns down.
    Answer InFrustum(const collision::PrimFrustum& frustum, Buffer& buffer);

    /// What a ray hits, the nearest entry into a box first, entities at the same distance in the order in which the
    /// tree got them: at most `maxHits`, and none beyond `maxDistance`. A ray that starts in a box hits it at distance
    /// 0. The direction may have any length except none; distances are in world units. Stops as soon as it has enough.
    Answer AlongRay(CVector3 origin, CVector3 direction, float maxDistance, std::size_t maxHits, Buffer& buffer);

    /// The same for a callable `bool(CEntity*, float distance)`, which ends the walk by returning false. It may move,
    /// add and remove entities (those removed before their turn are left out, none comes twice), and must not ask this
    /// object.
    template <class Visitor>
    void VisitAlongRay(CVector3 origin, CVector3 direction, float maxDistance, Visitor&& visitor)
    {
        i_VisitAlongRay(
            origin, direction, maxDistance,
            [](void* context, CEntity* entity, float distance)
            { return static_cast<bool>((*static_cast<std::remove_reference_t<Visitor>*>(context))(entity, distance)); },
            const_cast<void*>(static_cast<const void*>(&visitor)));
    }

    /// The `count` entities whose boxes are nearest to a point, the nearest first (distance 0 inside a box), equally
    /// near ones in the order in which the tree got them. Fewer when there are not so many within `maxDistance`.
    Answer Nearest(CVector3 point, std::size_t count, Buffer& buffer,
                   float maxDistance = std::numeric_limits<float>::infinity())
    {
        return i_Nearest(point, count, buffer, maxDistance, nullptr, nullptr);
    }

    /// The same among those for which `accepts(CEntity*)` is true. It is asked only about entities that are near
    /// enough, sometimes twice, and must change nothing.
    template <class Filter>
    Answer NearestOf(CVector3 point, std::size_t count, Buffer& buffer, float maxDistance, Filter&& accepts)
    {
        return i_Nearest(
            point, count, buffer, maxDistance,
            [](void* context, CEntity* entity)
            { return static_cast<bool>((*static_cast<std::remove_reference_t<Filter>*>(context))(entity)); },
            const_cast<void*>(static_cast<const void*>(&accepts)));
    }

    /// Boxes that the last question looked at or took together with their cell.
    std::uint32_t GetLastCandidateCount() const noexcept;

    CEntityArray_AccelerationTree* GetTree() const noexcept { return m_tree.Get(); }

private:
    using EntityFilter = bool (*)(void* context, CEntity* entity);
    using RayVisitor = bool (*)(void* context, CEntity* entity, float distance);
    class CellCache;
    class Collector;

    CAABBDynamicGrid* i_Begin();
    template <class Test>
    void i_Sweep(const CAABBDynamicGrid::CellRange& range, bool takesInterior, Collector& collector, const Test& test);
    void i_VisitAlongRay(CVector3 origin, CVector3 direction, float maxDistance, RayVisitor visitor, void* context);

    Answer i_Nearest(CVector3 point, std::size_t count, Buffer& buffer, float maxDistance, EntityFilter filter,
                     void* context);

    RefPtr<CEntityArray_AccelerationTree> m_tree;
    std::unique_ptr<CellCache> m_cache;
};
