#pragma once

#include "gameengine/export.h"
#include "tamradeps/collision/primAABB.h"
#include "tamradeps/math/vector3.h"

#include <span>

class CEntityArray;

/// A region and a cell size for a `CAABBDynamicGrid`.
struct AABBGridAdvice
{
    collision::PrimAABB bounds; ///< Around all boxes.
    CVector3 cellSize;          ///< Edges of a cell.
};

/// Cells that suit these boxes: with a handful of boxes in each where they are dense, and large enough for all but the
/// largest boxes, so that most stand in one cell. Boxes that are not finite, or farther out than 1e30, are left out;
/// without any, a cube of edge 1 about the origin is advised. Widen the region if more is to come. The cost grows with
/// the number of boxes; ask once.
TAMRAGAMEENGINE_API AABBGridAdvice AdviseGrid(std::span<const collision::PrimAABB> boxes);

/// The same for the world boxes of the entities that have a transform.
TAMRAGAMEENGINE_API AABBGridAdvice AdviseGrid(const CEntityArray& array);
