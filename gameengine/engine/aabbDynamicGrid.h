#pragma once

#include "gameengine/export.h"
#include "tamradeps/collision/primAABB.h"
#include "tamradeps/core/baseObject.h"
#include "tamradeps/core/memoryDynamicPoolAllocator.h"

#include <cstdint>
#include <memory>

/// An object in a cell of the grid. Links belong to the grid's pool.
struct SpatialObjectGrid
{
    void* object;
    SpatialObjectGrid* next;
};
static_assert(sizeof(void*) != 4 || sizeof(SpatialObjectGrid) == 8, "a link is two pointers");

/// One cell of the grid: a list of the objects whose boxes reach it, the one added or moved last first.
class TAMRAGAMEENGINE_API CAABBDynamicGridCell
{
public:
    CAABBDynamicGridCell() noexcept = default;
    CAABBDynamicGridCell(const CAABBDynamicGridCell&) noexcept = default;
    CAABBDynamicGridCell& operator=(const CAABBDynamicGridCell&) noexcept = default;
    virtual ~CAABBDynamicGridCell();

    /// Length of the list.
    std::uint32_t GetCount() const noexcept { return m_count; }
    /// A number that is another one after any object was added to the cell, removed from it, or moved within it.
    std::uint32_t GetRevision() const noexcept { return m_revision; }

    /// Head of the list, null when the cell is empty. To read; the grid alone changes it.
    SpatialObjectGrid* objects = nullptr;

private:
    friend class CAABBDynamicGrid;

    std::uint32_t m_count = 0;
    std::uint32_t m_revision = 0;
};

/// A uniform grid over a box of the world: which objects are near, for worlds whose objects are mostly smaller than a
/// cell. Boxes are six floats, min x, y, z, max x, y, z.
///
/// An object is a pointer that the grid neither owns nor follows. It stands in the list of every cell that its box
/// reaches; outside the region there are no cells, so what lies wholly outside is in none. (A box that ends less than
/// one cell short of the region's lower face counts as reaching it.) Adding costs one list operation for each such
/// cell; removing and moving also walk the cell's list up to the object, so keep cells to some tens of objects, as
/// `AdviseGrid` does. Links come from a pool.
///
/// A box with a NaN reaches no cell, nor does one whose min lies more than a cell behind its max; coordinates of any
/// size are fine. One thread uses a grid at a time.
class TAMRAGAMEENGINE_API CAABBDynamicGrid : public BaseObject
{
public:
    /// A walk calls `function` with the record itself and each cell in turn. Callers derive from it, or point `context`
    /// at what they need.
    struct walkCallback
    {
        void (*function)(walkCallback* callback, CAABBDynamicGridCell* cell) = nullptr;
        void* context = nullptr;
    };

    /// The region as six floats, and the edges of a cell. There are as many cells along an axis as cover the region,
    /// the last one possibly reaching beyond it. An axis without extent or a cell without a positive edge gives a grid
    /// without cells, and so do more than `kMaxCells` cells or than memory has room for, which is logged.
    CAABBDynamicGrid(const float* bounds, float cellX, float cellY, float cellZ);
    CAABBDynamicGrid(const CAABBDynamicGrid&) = delete;
    CAABBDynamicGrid& operator=(const CAABBDynamicGrid&) = delete;
    ~CAABBDynamicGrid() override;

    const char* GetTypeString() override;

    /// Enters the object into every cell that the box reaches, also when it is there already. Always true.
    bool AddObject(const float* box, void* object);
    /// Takes the object once out of every cell that the box reaches; where it is not, nothing happens. Always true.
    bool RemoveObject(const float* box, void* object);
    /// `RemoveObject` under the old box and `AddObject` under the new one, cheaper when both reach the same cells.
    bool MoveObject(const float* oldBox, const float* newBox, void* object);
    /// Takes every entry of the object out of every cell. Walks the whole grid; returns the number of entries found.
    std::uint32_t RemoveEverywhere(const void* object);

    /// Calls back for each cell that the box reaches, x running fastest, then y, then z. The callback may change the
    /// lists. Nothing is allocated.
    void WalkAABB(const float* box, walkCallback& callback);
    /// The same for cells that hold something.
    void WalkAABBOnlyFilled(const float* box, walkCallback& callback);

    /// Cells from `first` to before `end` on each axis; empty when one of them has none.
    struct CellRange
    {
        std::int32_t first[3];
        std::int32_t end[3];

        bool IsEmpty() const noexcept { return first[0] >= end[0] || first[1] >= end[1] || first[2] >= end[2]; }
        bool operator==(const CellRange&) const noexcept = default;
    };
    /// The cells that a walk of this box visits.
    CellRange GetRange(const float* box) const noexcept;

    const collision::PrimAABB& GetBounds() const noexcept { return m_bounds; }
    /// Edge of a cell, or number of cells, along axis 0 to 2.
    float GetCellSize(int axis) const noexcept { return m_cellSize[axis]; }
    std::int32_t GetCellCount(int axis) const noexcept { return m_cellCount[axis]; }
    std::uint32_t GetTotalCellCount() const noexcept { return m_totalCells; }
    /// A cell by its number, x + countX * y + countX * countY * z.
    const CAABBDynamicGridCell& GetCell(std::uint32_t index) const noexcept { return m_cells[index]; }
    std::uint32_t GetCellIndex(std::int32_t x, std::int32_t y, std::int32_t z) const noexcept
    {
        return (static_cast<std::uint32_t>(z) * static_cast<std::uint32_t>(m_cellCount[1]) +
                static_cast<std::uint32_t>(y)) *
                   static_cast<std::uint32_t>(m_cellCount[0]) +
               static_cast<std::uint32_t>(x);
    }
    /// Entries in all cells.
    std::size_t GetEntryCount() const noexcept { return m_linkPool.GetUsedCount(); }

    /// A number that no other grid of the process has.
    std::uint64_t GetSerial() const noexcept { return m_serial; }

    /// Checks every list against the counts. For tests; walks everything.
    bool Validate() const;

    static constexpr std::uint32_t kMaxCells = 1U << 27;

protected:
    // The walk's callbacks that add and remove one object; `callback` is an ObjectCallback.
    static void i_AddObjectCallback(walkCallback* callback, CAABBDynamicGridCell* cell);
    static void i_RemoveObjectCallback(walkCallback* callback, CAABBDynamicGridCell* cell);

private:
    struct ObjectCallback;

    template <class Visit>
    void i_ForEachCell(const CellRange& range, Visit visit);
    void i_Push(CAABBDynamicGridCell& cell, void* object);
    bool i_RemoveFirst(CAABBDynamicGridCell& cell, const void* object) noexcept;
    void i_MoveToFront(CAABBDynamicGridCell& cell, void* object);

    CMemoryDynamicPoolAllocator m_linkPool;
    collision::PrimAABB m_bounds;
    float m_cellSize[3];
    float m_cellsPerUnit[3] = {};
    std::int32_t m_cellCount[3] = {};
    std::uint32_t m_totalCells = 0;
    std::uint64_t m_serial;
    std::unique_ptr<CAABBDynamicGridCell[]> m_cells;
};
