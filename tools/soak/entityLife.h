#pragma once

#include "tools/soak/life.h"
#include "tools/soak/world.h"

namespace soak
{
/// Creates and destroys entities, gives and takes components, moves, parents and edits.
class CEntityLife final : public CLife
{
public:
    CEntityLife(CJournal& journal, CWorld& world);

    const char* GetName() const override { return "entities"; }
    void Step(CRandom& random) override;
    void Check() override { m_world.Check(); }
    void AppendState(std::string& state) const override { state += m_world.Describe(); }
    void Empty() override;

private:
    void i_Act(Id id, Being& being, CRandom& random);
    void i_ChangeParts(Id id, Being& being, CRandom& random);
    void i_Move(Id id, const Being& being, CRandom& random);
    void i_Parent(Id id, CRandom& random);
    void i_ChangeTransform(Id id, const Being& being, CRandom& random);
    void i_CopyParts(Id id, Being& being, CRandom& random);

    CWorld& m_world;
};
} // namespace soak
