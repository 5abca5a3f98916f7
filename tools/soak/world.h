#pragma once

#include "gameengine/engine/entityArray.h"
#include "gameengine/engine/entityComponentDatabase.h"
#include "gameengine/engine/scene.h"
#include "tools/soak/entityModel.h"
#include "tools/soak/life.h"

#include <functional>
#include <map>
#include <string>
#include <type_traits>

namespace soak
{
/// An entity of the scene and what it must be.
struct Being
{
    EntityModel model;
    CEntity* entity = nullptr; ///< Alive as long as it is in the scene.
    bool isFavourite = false;  ///< In the second array too.
    bool isListed = false;     ///< Its shadow caster is in a database of our own.
};

/// The scene that most kinds of life share, and the model of it. Every change is made to both here.
class CWorld
{
public:
    using Beings = std::map<Id, Being>;
    static constexpr float kReach = 100.0F; ///< Of a transform from its parent or the origin.

    explicit CWorld(CJournal& journal);
    ~CWorld();

    CScene& GetScene() noexcept { return m_scene; }
    CEntityArray& GetArray() noexcept { return m_scene.GetArray(); }
    const Beings& GetBeings() const noexcept { return m_beings; }
    /// The entity's number in the model, 0 for none.
    Id Find(const CEntity* entity) const;
    /// Any one; the end where there is none.
    Beings::iterator Pick(CRandom& random);
    /// Called before an entity is destroyed.
    std::function<void(Id, CEntity*, CRandom&)> leaving;

    /// An entity with a transform, mostly, and a shape.
    Id Create(CRandom& random);
    void Destroy(Id id, CRandom& random);
    /// Takes in an entity that was loaded into the scene, and gives it a shape.
    void Adopt(Id id, const EntityModel& stored, CEntity* entity);
    /// Forgets all of them and clears the arrays.
    void Clear();

    template <class Part>
    void Attach(Being& being, std::optional<Part>& part, CRandom& random);
    template <class Part>
    void Detach(Being& being, std::optional<Part>& part, CRandom& random);
    /// Sets a property of a part to another value, in one of the ways that there are.
    template <class Part>
    void Edit(Id id, std::optional<Part>& part, CRandom& random);
    /// Makes a part what another entity's is.
    template <class Part>
    void CopyPart(Id id, std::optional<Part>& part, const Part& source, CEntityComponent* component);

    /// These two take the entity out of the scene meanwhile.
    void AttachTransform(Id id, bool isFollower, CRandom& random);
    void DetachTransform(Id id);
    void MoveTo(Id id, const CMatrix& matrix);
    void SetShape(Id id, CRandom& random);
    void SetParent(Id child, Id parent);
    void EditTransform(Id id, CRandom& random);
    void CopyTransform(Id to, Id from);
    /// As a shadow caster comes or goes.
    void SetFavourite(Being& being, bool isFavourite);
    void SetListed(Being& being, bool isListed);

    void Check();
    void CheckBeing(Id id);
    std::string Describe() const;

private:
    void i_Require(bool isRight, Id id, const char* what);
    void i_Rebuild(Id id);
    void i_TakeLightBox(EntityModel& model);
    void i_LightChanged(Id id);
    void i_TellFollowers(Id id);
    void i_ForgetTransform(Id id);
    bool i_Follows(Id follower, Id followed) const;
    int i_GetDepth(Id id) const;
    int i_GetHeight(Id id) const;
    void i_CheckParts(Id id, const Being& being);
    void i_CheckDatabases();
    void i_GiveShape(Id id);

    CJournal& m_journal;
    CScene m_scene;
    RefPtr<CEntityArray> m_favourites = new CEntityArray;
    CEntityComponentDatabase m_listed;
    Beings m_beings;
    Id m_nextId = 1;
};

template <class Part>
void CWorld::Attach(Being& being, std::optional<Part>& part, CRandom& random)
{
    being.entity->LockComponentList();
    Part::Component::CreateComponent(being.entity);
    being.entity->UnlockComponentList();
    part.emplace();
    if constexpr (std::is_same_v<Part, LightModel>)
        i_LightChanged(Find(being.entity));
    for (int i = 0; i < Part::kProperties; ++i)
        Edit(Find(being.entity), part, random);
}

template <class Part>
void CWorld::Detach(Being& being, std::optional<Part>& part, CRandom& random)
{
    auto* const component = being.entity->Find<typename Part::Component>();
    being.entity->LockComponentList();
    // Taken out first, that one would leave its flag behind.
    if (random.OneIn(2) && !std::is_same_v<Part, AlwaysVisibleModel>)
        being.entity->RemoveComponent(component);
    delete component;
    being.entity->UnlockComponentList();
    part.reset();
    if constexpr (std::is_same_v<Part, ShadowModel>)
        being.isListed = false;
}

template <class Part>
void CWorld::Edit(Id id, std::optional<Part>& part, CRandom& random)
{
    if constexpr (Part::kProperties > 0)
    {
        CEntityComponent* const component = m_beings.at(id).entity->Find<typename Part::Component>();
        const int property = random.Below(Part::kProperties);
        part->Change(property, random);
        CEntityComponentProperty record;
        part->Fill(property, record);
        switch (random.Below(3))
        {
        case 0: component->SetProperty(property, &record); break;
        case 1: component->SetPropertyTo(property, record); break;
        default: i_Require(component->SetPropertyTo(record.name, &record), id, "a property is not found"); break;
        }
        component->FinalizeProperties();
        if constexpr (std::is_same_v<Part, LightModel>)
            i_LightChanged(id);
        ++m_journal.tally.edits;
    }
}

template <class Part>
void CWorld::CopyPart(Id id, std::optional<Part>& part, const Part& source, CEntityComponent* component)
{
    m_beings.at(id).entity->Find<typename Part::Component>()->Copy(component);
    part = Part(source);
    if constexpr (std::is_same_v<Part, LightModel>)
        i_LightChanged(id);
    ++m_journal.tally.edits;
}
} // namespace soak
