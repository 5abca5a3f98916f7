#pragma once

#include "gameengine/engine/aabbDynamicGrid.h"
#include "gameengine/engine/aabbOctree.h"
#include "tools/soak/life.h"

#include <memory>
#include <vector>

namespace soak
{
/// Enters boxes into a grid, a whole octree and one that was split beforehand, moves them and takes them out again.
class CIndexLife final : public CLife
{
public:
    explicit CIndexLife(CJournal& journal);

    const char* GetName() const override { return "indexes"; }
    void Step(CRandom& random) override;
    void Check() override;
    void AppendState(std::string& state) const override;
    void Empty() override;

private:
    struct Object
    {
        int number = 0;
        bool isIn = false;
        collision::PrimAABB box;
    };

    void i_Begin();
    void i_Enter(Object& object, const collision::PrimAABB& box);
    void i_TakeOut(Object& object, CRandom& random);
    void i_AskGrid(const collision::PrimAABB& box);
    void i_CheckLeaf(const CAABBOctreeNode& node);

    std::vector<Object> m_objects; // never moved: the indexes hold pointers to them
    std::unique_ptr<CAABBDynamicGrid> m_grid;
    std::unique_ptr<CAABBOctree> m_octree;
    std::unique_ptr<CAABBOctree> m_splitOctree;
};
} // namespace soak
