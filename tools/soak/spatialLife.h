#pragma once

#include "gameengine/engine/entityArraySpatialQuery.h"
#include "tools/soak/life.h"
#include "tools/soak/world.h"

#include <functional>
#include <memory>
#include <set>

namespace soak
{
/// Keeps the world's entities in an acceleration tree, and compares its answers with those of all boxes tried in turn.
class CSpatialLife final : public CLife
{
public:
    CSpatialLife(CJournal& journal, CWorld& world);

    const char* GetName() const override { return "spatial"; }
    void Step(CRandom& random) override;
    void Check() override;
    void AppendState(std::string& state) const override;
    void Empty() override;

private:
    using Answer = CEntityArray_SpatialQuery::Answer;
    /// How far a box is from what was asked for: 0 and less is inside for sure. Within a thousandth either is right.
    using Distance = std::function<float(const collision::PrimAABB&)>;

    void i_Begin();
    void i_Compare(Answer answer, const Distance& distance, const char* what);
    void i_AskBox(CRandom& random);
    void i_AskSphere(CRandom& random);
    void i_AskFrustum(CRandom& random);
    void i_AskRay(CRandom& random);
    void i_AskNearest(CRandom& random);

    CWorld& m_world;
    RefPtr<CEntityArray_AccelerationTree> m_tree;
    std::unique_ptr<CEntityArray_SpatialQuery> m_query;
    CEntityArray_SpatialQuery::Buffer m_buffer;
    std::uint64_t m_found = 0;
};
} // namespace soak
