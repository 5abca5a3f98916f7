#include "tools/soak/world.h"

#include "gameengine/engine/componentRuntimeData.h"
#include "gameengine/engine/componentTransformDirect.h"
#include "gameengine/engine/componentTransformParent.h"

#include <algorithm>
#include <cmath>
#include <iterator>

namespace soak
{
namespace
{
constexpr int kMostDepth = 5;
constexpr std::size_t kMostFollowed = 3;
constexpr float kFarthest = 300.0F;
constexpr float kSmallest = 0.3F;

template <class Component>
void CreateComponent(CEntity& entity)
{
    entity.LockComponentList();
    Component::CreateComponent(&entity);
    entity.UnlockComponentList();
}
} // namespace

CWorld::CWorld(CJournal& journal) : m_journal(journal)
{
    const EntityModel parts;
    for (CEntityArray* array : {&GetArray(), m_favourites.Get()})
    {
        array->CreateComponentDatabase(ComponentTransform::TYPEID());
        array->CreateComponentDatabase(ComponentRuntimeData::TYPEID());
        VisitParts(parts,
                   [array](const auto& part)
                   {
                       using Part = typename std::remove_cvref_t<decltype(part)>::value_type;
                       array->CreateComponentDatabase(Part::Component::TYPEID());
                   });
    }
}

CWorld::~CWorld()
{
    Clear();
}

void CWorld::i_Require(bool isRight, Id id, const char* what)
{
    if (!isRight)
        m_journal.Require(false, "entity " + std::to_string(id) + ": " + what);
}

Id CWorld::Find(const CEntity* entity) const
{
    const auto found =
        std::find_if(m_beings.begin(), m_beings.end(), [entity](const auto& b) { return b.second.entity == entity; });
    return found != m_beings.end() ? found->first : 0;
}

CWorld::Beings::iterator CWorld::Pick(CRandom& random)
{
    return m_beings.empty() ? m_beings.end()
                            : std::next(m_beings.begin(), random.Below(static_cast<int>(m_beings.size())));
}

// ---- Coming and going

Id CWorld::Create(CRandom& random)
{
    const Id id = m_nextId++;
    const RefPtr<CEntity> entity = new CEntity(m_scene.GetInterfaces());
    CreateComponent<ComponentRuntimeData>(*entity);
    GetArray().Add(entity.Get());
    m_beings[id].entity = entity.Get();
    ++m_journal.tally.created;
    if (!random.OneIn(8))
        AttachTransform(id, random.OneIn(2), random);
    return id;
}

void CWorld::Destroy(Id id, CRandom& random)
{
    const auto found = m_beings.find(id);
    Being& being = found->second;
    if (leaving)
        leaving(id, being.entity, random);
    SetFavourite(being, false);
    const auto index = static_cast<unsigned>(being.entity->GetIndex());
    const std::int32_t live = CEntity::GetLiveCount();
    GetArray().Remove(being.entity);
    i_Require(CEntity::GetLiveCount() == live - 1, id, "it outlives the last reference");
    i_Require(!ComponentTransform::REPOSITORY().Find(index) && !ComponentRuntimeData::REPOSITORY().Find(index) &&
                  !ComponentLight::REPOSITORY().Find(index),
              id, "a repository still knows it");
    i_ForgetTransform(id);
    m_beings.erase(found);
    ++m_journal.tally.destroyed;
}

void CWorld::Adopt(Id id, const EntityModel& stored, CEntity* entity)
{
    Being& being = m_beings[id];
    being = {stored, entity, false, false};
    m_nextId = std::max(m_nextId, id + 1);
    i_Require(Encode(*entity) == Encode(stored), id, "it was loaded as another");
    if (!stored.transform)
        return;
    i_GiveShape(id);
    // What followed something far away, or was small, may not go on to do so with every load.
    const CMatrix& world = stored.transform->world;
    CMatrix matrix(world);
    const CVector3 place = world.Translation();
    if (std::max({std::abs(place.x), std::abs(place.y), std::abs(place.z)}) > kFarthest)
        matrix.SetTranslation(place * 0.1F);
    if (world.GetLocalX().Length() < kSmallest)
        matrix.Scale3(2.0F, 2.0F, 2.0F);
    if (!(matrix == world))
        MoveTo(id, matrix);
}

void CWorld::Clear()
{
    m_beings.clear();
    m_favourites->Clear();
    GetArray().Clear();
}

void CWorld::SetFavourite(Being& being, bool isFavourite)
{
    if (being.isFavourite == isFavourite)
        return;
    being.isFavourite = isFavourite;
    if (isFavourite)
        m_favourites->Add(being.entity);
    else
        m_favourites->Remove(being.entity);
}

void CWorld::SetListed(Being& being, bool isListed)
{
    auto* const component = being.entity->Find<ComponentShadowCaster>();
    if (!component || being.isListed == isListed)
        return;
    being.isListed = isListed;
    if (isListed)
        m_listed.Add(component);
    else
        m_listed.Remove(component);
}

// ---- Transforms

void CWorld::AttachTransform(Id id, bool isFollower, CRandom& random)
{
    Being& being = m_beings.at(id);
    const RefPtr<CEntity> keep(being.entity);
    GetArray().Remove(being.entity);
    if (isFollower)
        CreateComponent<ComponentTransformParent>(*being.entity);
    else
        CreateComponent<ComponentTransformDirect>(*being.entity);
    GetArray().Add(being.entity);
    being.model.transform.emplace().isFollower = isFollower;
    i_LightChanged(id);
    MoveTo(id, MakeMatrix(random, kReach));
    SetShape(id, random);
}

void CWorld::DetachTransform(Id id)
{
    Being& being = m_beings.at(id);
    const RefPtr<CEntity> keep(being.entity);
    GetArray().Remove(being.entity);
    being.entity->LockComponentList();
    delete being.entity->Find<ComponentTransform>();
    being.entity->UnlockComponentList();
    GetArray().Add(being.entity);
    i_ForgetTransform(id);
    being.model.transform.reset();
}

void CWorld::i_ForgetTransform(Id id)
{
    for (auto& [other, being] : m_beings)
    {
        auto& transform = being.model.transform;
        if (!transform || std::erase(transform->follows, id) == 0)
            continue;
        if (transform->parent == id)
            transform->parent = 0;
    }
}

void CWorld::MoveTo(Id id, const CMatrix& matrix)
{
    Being& being = m_beings.at(id);
    being.entity->Find<ComponentTransform>()->SetTransform(matrix);
    being.model.transform->self = matrix;
    i_Rebuild(id);
}

// As the transform does it: against the parent set last, and then everything that follows, or did once.
void CWorld::i_Rebuild(Id id)
{
    EntityModel& model = m_beings.at(id).model;
    TransformModel& transform = *model.transform;
    transform.world =
        transform.parent ? m_beings.at(transform.parent).model.transform->world * transform.self : transform.self;
    i_TakeLightBox(model);
    i_TellFollowers(id);
}

void CWorld::i_TakeLightBox(EntityModel& model)
{
    if (model.HasLightBox())
        model.transform->local = model.light->GetBox();
}

void CWorld::i_LightChanged(Id id)
{
    EntityModel& model = m_beings.at(id).model;
    if (!model.HasLightBox())
        return;
    i_TakeLightBox(model);
    i_TellFollowers(id);
}

void CWorld::i_TellFollowers(Id id)
{
    for (const auto& [other, being] : m_beings)
    {
        const auto& transform = being.model.transform;
        if (transform && std::count(transform->follows.begin(), transform->follows.end(), id) > 0)
            i_Rebuild(other);
    }
}

void CWorld::SetShape(Id id, CRandom& random)
{
    Being& being = m_beings.at(id);
    if (being.model.HasLightBox())
        return;
    const CVector3 low = MakePoint(random, 6.0F);
    const CVector3 size = MakePoint(random, 5.0F) + CVector3(6.0F, 6.0F, 6.0F);
    being.model.transform->local = {low, low + size};
    being.entity->Find<ComponentTransform>()->SetUntransformedBoundingBox(being.model.transform->local.GetFloats());
    i_TellFollowers(id);
}

void CWorld::i_GiveShape(Id id)
{
    CRandom random(static_cast<std::uint64_t>(id));
    i_LightChanged(id);
    SetShape(id, random);
}

bool CWorld::i_Follows(Id follower, Id followed) const
{
    const auto& follows = m_beings.at(follower).model.transform->follows;
    return std::any_of(follows.begin(), follows.end(),
                       [&](Id next) { return next == followed || i_Follows(next, followed); });
}

int CWorld::i_GetDepth(Id id) const
{
    int depth = 0;
    for (const Id next : m_beings.at(id).model.transform->follows)
        depth = std::max(depth, i_GetDepth(next) + 1);
    return depth;
}

int CWorld::i_GetHeight(Id id) const
{
    int height = 0;
    for (const auto& [other, being] : m_beings)
    {
        const auto& transform = being.model.transform;
        if (transform && std::count(transform->follows.begin(), transform->follows.end(), id) > 0)
            height = std::max(height, i_GetHeight(other) + 1);
    }
    return height;
}

void CWorld::SetParent(Id child, Id parent)
{
    Being& being = m_beings.at(child);
    TransformModel& model = *being.model.transform;
    auto* const transform = static_cast<ComponentTransformParent*>(being.entity->Find<ComponentTransform>());
    if (!parent)
    {
        transform->SetParent(nullptr);
        model.parent = 0;
        return i_Rebuild(child);
    }
    ComponentTransform* const followed = m_beings.at(parent).entity->Find<ComponentTransform>();
    if (parent == child || i_Follows(parent, child))
    {
        const CAnnounced refusal(m_journal.GetWatch(), "a transform cannot follow itself");
        transform->SetParent(followed);
        return i_Require(refusal.GetCount() == 1, child, "it may follow itself");
    }
    if (model.follows.size() >= kMostFollowed || i_GetDepth(parent) + 1 + i_GetHeight(child) > kMostDepth)
        return;
    transform->SetParent(followed);
    model.parent = parent;
    model.follows.push_back(parent);
    i_Rebuild(child);
}

void CWorld::EditTransform(Id id, CRandom& random)
{
    Being& being = m_beings.at(id);
    TransformModel& model = *being.model.transform;
    if (model.parent)
        return;
    auto* const transform = being.entity->Find<ComponentTransform>();
    CEntityComponentProperty record;
    CMatrix expected(model.world);
    const int property = random.Below(3);
    const CVector3 value = MakePoint(random, property == 0 ? kReach : 80.0F);
    if (property == 2)
        record.SetFloat("Scale", random.Between(0.5F, 1.0F));
    else
        record.SetVector3(property == 0 ? "Translation" : "Rotation", value.x, value.y, value.z);
    i_Require(transform->SetPropertyTo(record.name, record), id, "a property of its transform is not found");
    CEntityComponentProperty read;
    transform->GetProperty(property, &read);
    float floats[4] = {read.GetFloat()};
    float wanted[4] = {record.GetFloat()};
    read.ReadFloats(floats);
    record.ReadFloats(wanted);
    const float most = property == 0 ? 0.0F : 0.05F;
    for (int i = 0; i < 3; ++i)
        i_Require(std::abs(floats[i] - wanted[i]) <= most, id, "a property of its transform reads as another");
    // The others are to stay as they are; the rounding of angles is not ours to repeat.
    expected.SetTranslation(transform->GetTransform().Translation());
    i_Require(property != 0 || expected == transform->GetTransform(), id, "it turned when it was moved");
    model.self = transform->GetTransform();
    i_Rebuild(id);
    ++m_journal.tally.edits;
}

void CWorld::CopyTransform(Id to, Id from)
{
    Being& target = m_beings.at(to);
    const TransformModel& source = *m_beings.at(from).model.transform;
    TransformModel& model = *target.model.transform;
    target.entity->Find<ComponentTransform>()->Copy(m_beings.at(from).entity->Find<ComponentTransform>());
    if (model.isFollower && !source.isFollower)
        return;
    const CMatrix matrix(model.isFollower ? source.self : source.world);
    const collision::PrimAABB local = source.local;
    model.local = local;
    model.self = matrix;
    i_Rebuild(to);
}
} // namespace soak
