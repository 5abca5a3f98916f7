// What the world's scene is compared with its model by.

#include "gameengine/engine/componentRuntimeData.h"
#include "gameengine/engine/componentTransformParent.h"
#include "tools/soak/world.h"

#include <cstdint>
#include <map>

namespace soak
{
void CWorld::Check()
{
    m_journal.Require(GetArray().Validate() && m_favourites->Validate(), "an entity array is not valid");
    m_journal.Require(GetArray().GetCount() == static_cast<int>(m_beings.size()),
                      "the scene has " + std::to_string(GetArray().GetCount()) + " entities instead of " +
                          std::to_string(m_beings.size()));
    for (const auto& [id, being] : m_beings)
        CheckBeing(id);
    i_CheckDatabases();
    ++m_journal.tally.comparisons;
}

void CWorld::CheckBeing(Id id)
{
    const Being& being = m_beings.at(id);
    i_Require(GetArray().Contains(being.entity), id, "it is not in the scene");
    i_Require(m_favourites->Contains(being.entity) == being.isFavourite, id, "it is in the wrong arrays");
    i_Require(Encode(*being.entity) == Encode(being.model), id, "its components differ from the model");
    i_Require(being.entity->GetComponentCount() == being.model.CountComponents() + 1, id,
              "it has another number of components");
    i_CheckParts(id, being);
    auto* const transform = being.entity->Find<ComponentTransform>();
    const auto& model = being.model.transform;
    if (!transform || !model)
        return;
    i_Require(transform->GetBoundingBox() == model->GetBox(), id, "it has another box");
    const auto* const follower = dynamic_cast<const ComponentTransformParent*>(transform);
    if (!follower)
        return;
    const ComponentTransform* const parent =
        model->parent ? m_beings.at(model->parent).entity->Find<ComponentTransform>() : nullptr;
    i_Require(follower->GetParent() == parent, id, "it follows another");
    i_Require(follower->GetSelfTransform() == model->self, id, "it has another local matrix");
}

void CWorld::i_CheckParts(Id id, const Being& being)
{
    VisitParts(being.model,
               [&](const auto& part)
               {
                   using Part = typename std::remove_cvref_t<decltype(part)>::value_type;
                   auto* const component = being.entity->Find<typename Part::Component>();
                   i_Require((component != nullptr) == part.has_value(), id, "a repository has another component");
                   i_Require(!component ||
                                 (component->GetEntity() == being.entity && being.entity->HasComponent(component)),
                             id, "a component is not its own");
               });
    const auto* const runtimeData = being.entity->Find<ComponentRuntimeData>();
    i_Require(runtimeData != nullptr, id, "it has no run-time data");
    i_Require(runtimeData && ((runtimeData->flags & ComponentRuntimeData::kAlwaysVisible) != 0) ==
                                 being.model.alwaysVisible.has_value(),
              id, "the flag for always visible is wrong");
}

void CWorld::i_CheckDatabases()
{
    std::map<std::int32_t, int> counts[2];
    int listed = 0;
    const EntityModel none;
    VisitParts(none,
               [&](const auto& part)
               {
                   using Part = typename std::remove_cvref_t<decltype(part)>::value_type;
                   counts[0][Part::Component::TYPEID()] = counts[1][Part::Component::TYPEID()] = 0;
                   if constexpr (std::is_same_v<std::remove_cvref_t<decltype(Part::Component::REPOSITORY())>,
                                                CEntityComponentRepository>)
                       m_journal.Require(Part::Component::REPOSITORY().Validate(), "a repository is not valid");
               });
    for (const auto& [id, being] : m_beings)
    {
        listed += being.isListed ? 1 : 0;
        for (std::map<std::int32_t, int>& count : counts)
        {
            if (&count == &counts[1] && !being.isFavourite)
                continue;
            ++count[ComponentRuntimeData::TYPEID()];
            count[ComponentTransform::TYPEID()] += being.model.transform ? 1 : 0;
            VisitParts(being.model,
                       [&count](const auto& part)
                       {
                           using Part = typename std::remove_cvref_t<decltype(part)>::value_type;
                           count[Part::Component::TYPEID()] += part ? 1 : 0;
                       });
        }
    }
    const CEntityArray* const arrays[] = {&GetArray(), m_favourites.Get()};
    for (int i = 0; i < 2; ++i)
    {
        for (const auto& [type, count] : counts[i])
        {
            const CEntityComponentDatabase* const database = arrays[i]->FindComponentDatabase(type);
            m_journal.Require(database && database->Validate() && database->GetCount() == count,
                              "the database of component type " + std::to_string(type) + " is wrong");
        }
    }
    m_journal.Require(m_listed.Validate() && m_listed.GetCount() == listed,
                      "the database of listed shadow casters is wrong");
}

std::string CWorld::Describe() const
{
    std::string state;
    for (const auto& [id, being] : m_beings)
    {
        AppendBytes(state, id);
        AppendBytes(state, being.isFavourite);
        state += Encode(being.model);
        if (!being.model.transform)
            continue;
        AppendBytes(state, being.model.transform->parent);
        AppendBytes(state, being.model.transform->self);
        AppendBytes(state, being.model.transform->local);
    }
    return state;
}
} // namespace soak
