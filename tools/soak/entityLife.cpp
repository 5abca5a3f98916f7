#include "tools/soak/entityLife.h"

namespace soak
{
namespace
{
constexpr std::size_t kFewest = 60;
constexpr std::size_t kMost = 160;
constexpr int kActions = 10; // a step
} // namespace

CEntityLife::CEntityLife(CJournal& journal, CWorld& world) : CLife(journal), m_world(world) {}

void CEntityLife::Step(CRandom& random)
{
    for (int i = 0; i < kActions; ++i)
    {
        const std::size_t count = m_world.GetBeings().size();
        const auto picked = m_world.Pick(random);
        if (count < kFewest || (count < kMost && random.OneIn(12)))
            m_world.Create(random);
        else if (count > kMost || random.OneIn(15))
            m_world.Destroy(picked->first, random);
        else
            i_Act(picked->first, picked->second, random);
    }
}

void CEntityLife::Empty()
{
    m_world.Clear();
    i_Require(m_world.GetArray().GetCount() == 0 && m_world.GetArray().Validate(), "the scene is not empty");
}

void CEntityLife::i_Act(Id id, Being& being, CRandom& random)
{
    switch (random.Below(10))
    {
    case 0:
    case 1:
    case 2: i_ChangeParts(id, being, random); break;
    case 3:
    case 4:
    case 5: i_Move(id, being, random); break;
    case 6: i_Parent(id, random); break;
    case 7: i_ChangeTransform(id, being, random); break;
    case 8: i_CopyParts(id, being, random); break;
    default:
        m_world.SetFavourite(being, random.OneIn(2));
        m_world.SetListed(being, random.OneIn(2));
        break;
    }
    m_world.CheckBeing(id);
}

// Gives, takes or edits one of the parts.
void CEntityLife::i_ChangeParts(Id id, Being& being, CRandom& random)
{
    int wanted = random.Below(6);
    VisitParts(being.model,
               [&](auto& part)
               {
                   if (wanted-- != 0)
                       return;
                   if (!part)
                       m_world.Attach(being, part, random);
                   else if (random.OneIn(3))
                       m_world.Detach(being, part, random);
                   else
                       m_world.Edit(id, part, random);
               });
}

void CEntityLife::i_Move(Id id, const Being& being, CRandom& random)
{
    if (!being.model.transform)
        m_world.AttachTransform(id, random.OneIn(2), random);
    else if (random.OneIn(5))
        m_world.SetShape(id, random);
    else if (random.OneIn(5))
        m_world.EditTransform(id, random);
    else
        m_world.MoveTo(id, MakeMatrix(random, CWorld::kReach));
}

void CEntityLife::i_Parent(Id id, CRandom& random)
{
    const auto other = m_world.Pick(random);
    const auto& transform = m_world.GetBeings().at(id).model.transform;
    if (transform && transform->isFollower && other->second.model.transform)
        m_world.SetParent(id, random.OneIn(6) ? 0 : other->first);
}

void CEntityLife::i_ChangeTransform(Id id, const Being& being, CRandom& random)
{
    if (!being.model.transform)
        return;
    const auto other = m_world.Pick(random);
    if (random.OneIn(2))
        m_world.DetachTransform(id);
    else if (other->second.model.transform)
        m_world.CopyTransform(id, other->first);
}

// Takes over the values of another entity's components of the same classes.
void CEntityLife::i_CopyParts(Id id, Being& being, CRandom& random)
{
    const auto picked = m_world.Pick(random);
    Being& other = picked->second;
    const auto copy = [&](auto& part, auto& from)
    {
        using Part = typename std::remove_cvref_t<decltype(part)>::value_type;
        using Component = typename Part::Component;
        if (part && from)
            m_world.CopyPart(id, part, *from, other.entity->Find<Component>());
    };
    copy(being.model.name, other.model.name);
    copy(being.model.camera, other.model.camera);
    copy(being.model.light, other.model.light);
    copy(being.model.settings, other.model.settings);
    copy(being.model.shadow, other.model.shadow);
}
} // namespace soak
