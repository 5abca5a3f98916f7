#include "tools/soak/indexLife.h"

#include "tools/soak/entityModel.h"

#include <algorithm>
#include <set>

namespace soak
{
namespace
{
constexpr float kHalf = 128.0F;
constexpr int kObjects = 200;
constexpr int kNodes = 8 + 64;
constexpr int kManyObjects = 1 << 30;

collision::PrimAABB MakeBox(CRandom& random)
{
    const CVector3 low = MakePoint(random, kHalf);
    const float most = random.OneIn(10) ? 60.0F : 6.0F;
    const CVector3 size = MakePoint(random, most) + CVector3(most, most, most);
    const CVector3 high = low + size;
    return {low, {std::min(high.x, kHalf), std::min(high.y, kHalf), std::min(high.z, kHalf)}};
}

int CountEntries(const SpatialObjectOctree* list, const void* object)
{
    int count = 0;
    for (; list; list = list->next)
        count += list->object == object ? 1 : 0;
    return count;
}
} // namespace

CIndexLife::CIndexLife(CJournal& journal) : CLife(journal), m_objects(kObjects)
{
    for (int i = 0; i < kObjects; ++i)
        m_objects[static_cast<std::size_t>(i)].number = i;
    i_Begin();
}

void CIndexLife::i_Begin()
{
    const collision::PrimAABB bounds({-kHalf, -kHalf, -kHalf}, {kHalf, kHalf, kHalf});
    m_grid = std::make_unique<CAABBDynamicGrid>(bounds.GetFloats(), 16.0F, 20.0F, 64.0F);
    m_octree = std::make_unique<CAABBOctree>(bounds, 0, 64, 0, kManyObjects);
    // Split while it is empty it loses nothing.
    m_splitOctree = std::make_unique<CAABBOctree>(bounds, kNodes, 64, 2, kManyObjects);
    m_splitOctree->Subdivide(m_splitOctree.get());
    for (int i = 0; i < 8; ++i)
        m_splitOctree->Subdivide(m_splitOctree->children + i);
}

void CIndexLife::Empty()
{
    for (Object& object : m_objects)
    {
        if (!object.isIn)
            continue;
        m_grid->RemoveEverywhere(&object);
        m_octree->RemoveEverywhere(&object);
        m_splitOctree->RemoveEverywhere(&object);
        object.isIn = false;
    }
    Check();
    i_Require(m_grid->GetEntryCount() == 0, "an empty grid has entries");
    i_Begin();
}

void CIndexLife::i_Enter(Object& object, const collision::PrimAABB& box)
{
    object.box = box;
    object.isIn = true;
    m_grid->AddObject(box.GetFloats(), &object);
    i_Require(m_octree->AddObject(box.GetFloats(), &object, m_octree.get()), "the octree took nothing");
    i_Require(m_splitOctree->AddObject(box.GetFloats(), &object, m_splitOctree.get()), "no leaf took anything");
}

void CIndexLife::i_TakeOut(Object& object, CRandom& random)
{
    object.isIn = false;
    if (random.OneIn(4))
    {
        i_Require(m_grid->RemoveEverywhere(&object) > 0 && m_octree->RemoveEverywhere(&object) == 1 &&
                      m_splitOctree->RemoveEverywhere(&object) > 0,
                  "an object was not in there");
        return;
    }
    m_grid->RemoveObject(object.box.GetFloats(), &object);
    m_octree->RemoveObject(object.box.GetFloats(), &object, m_octree.get());
    m_splitOctree->RemoveObject(object.box.GetFloats(), &object, m_splitOctree.get());
}

void CIndexLife::Step(CRandom& random)
{
    for (int i = 0; i < 8; ++i)
    {
        Object& object = m_objects[random.Below(m_objects.size())];
        if (!object.isIn)
            i_Enter(object, MakeBox(random));
        else if (random.OneIn(3))
            i_TakeOut(object, random);
        else
        {
            const collision::PrimAABB box = MakeBox(random);
            m_octree->RemoveObject(object.box.GetFloats(), &object, m_octree.get());
            m_octree->AddObject(box.GetFloats(), &object, m_octree.get());
            m_splitOctree->RemoveObject(object.box.GetFloats(), &object, m_splitOctree.get());
            m_splitOctree->AddObject(box.GetFloats(), &object, m_splitOctree.get());
            m_grid->MoveObject(object.box.GetFloats(), box.GetFloats(), &object);
            object.box = box;
        }
    }
    i_AskGrid(MakeBox(random));
    ++m_journal.tally.queries;
}

// A walk meets all that touch the box, each once in a cell, and nothing farther away than a cell.
void CIndexLife::i_AskGrid(const collision::PrimAABB& box)
{
    std::set<const Object*> found;
    CAABBDynamicGrid::walkCallback callback;
    callback.context = &found;
    callback.function = [](CAABBDynamicGrid::walkCallback* self, CAABBDynamicGridCell* cell)
    {
        for (const SpatialObjectGrid* link = cell->objects; link; link = link->next)
            static_cast<std::set<const Object*>*>(self->context)->insert(static_cast<const Object*>(link->object));
    };
    m_grid->WalkAABBOnlyFilled(box.GetFloats(), callback);
    const CVector3 cell(m_grid->GetCellSize(0), m_grid->GetCellSize(1), m_grid->GetCellSize(2));
    const collision::PrimAABB wide(box.GetMin() - cell, box.GetMax() + cell);
    for (const Object& object : m_objects)
    {
        const bool isFound = found.contains(&object);
        i_Require(isFound || !object.isIn || !box.Test(object.box), "the grid missed an object");
        i_Require(!isFound || (object.isIn && wide.Test(object.box)), "the grid found an object that is elsewhere");
    }
}

void CIndexLife::i_CheckLeaf(const CAABBOctreeNode& node)
{
    if (node.children)
    {
        for (int i = 0; i < 8; ++i)
            i_CheckLeaf(node.children[i]);
        return;
    }
    for (const Object& object : m_objects)
    {
        const int expected = object.isIn && node.Test(object.box) ? 1 : 0;
        i_Require(CountEntries(node.objects, &object) == expected, "a leaf of the octree holds other objects");
    }
}

void CIndexLife::Check()
{
    i_Require(m_grid->Validate() && m_octree->Validate() && m_splitOctree->Validate(), "an index is not valid");
    std::size_t entries = 0;
    for (const Object& object : m_objects)
    {
        if (!object.isIn)
            continue;
        const CAABBDynamicGrid::CellRange range = m_grid->GetRange(object.box.GetFloats());
        std::size_t cells = 1;
        for (int axis = 0; axis < 3; ++axis)
            cells *= static_cast<std::size_t>(range.end[axis] - range.first[axis]);
        entries += cells;
    }
    i_Require(m_grid->GetEntryCount() == entries, "the grid has another number of entries");
    i_CheckLeaf(*m_octree);
    i_CheckLeaf(*m_splitOctree);
    ++m_journal.tally.comparisons;
}

void CIndexLife::AppendState(std::string& state) const
{
    for (const Object& object : m_objects)
    {
        AppendBytes(state, object.number);
        AppendBytes(state, object.isIn);
        AppendBytes(state, object.box);
    }
}
} // namespace soak
