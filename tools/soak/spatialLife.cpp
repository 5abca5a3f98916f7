#include "tools/soak/spatialLife.h"

#include "gameengine/engine/componentTransform.h"
#include "tools/soak/boxes.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <vector>

namespace soak
{
namespace
{
// Nothing in the world reaches out of it.
constexpr float kRegion[6] = {-4000, -4000, -4000, 4000, 4000, 4000};
constexpr float kCells[3] = {160, 200, 500};
constexpr float kTolerance = 1e-3F;
} // namespace

CSpatialLife::CSpatialLife(CJournal& journal, CWorld& world) : CLife(journal), m_world(world)
{
    i_Begin();
}

void CSpatialLife::i_Begin()
{
    m_tree = new CEntityArray_AccelerationTree;
    m_tree->InitializeWithDynamicGrid(kRegion, kCells[0], kCells[1], kCells[2]);
    m_tree->AddSource(&m_world.GetArray());
    m_query = std::make_unique<CEntityArray_SpatialQuery>(m_tree.Get());
}

// The tree's table grows with every entity that it ever got, so each season has a tree of its own.
void CSpatialLife::Empty()
{
    i_Require(m_tree->GetEntityCount() == 0 && m_tree->Validate(), "the tree of an empty scene is not empty");
    m_query.reset();
    i_Begin();
}

void CSpatialLife::Step(CRandom& random)
{
    if (random.OneIn(10))
        m_tree->SetFollowMoves(!m_tree->GetFollowMoves());
    if (!m_tree->GetFollowMoves())
    {
        if (!random.OneIn(3))
            return;
        m_tree->Refresh();
    }
    switch (random.Below(5))
    {
    case 0: i_AskBox(random); break;
    case 1: i_AskSphere(random); break;
    case 2: i_AskFrustum(random); break;
    case 3: i_AskRay(random); break;
    default: i_AskNearest(random); break;
    }
    ++m_journal.tally.queries;
}

void CSpatialLife::Check()
{
    m_tree->Refresh();
    i_Require(m_tree->Validate(), "the acceleration tree is not valid");
    std::uint32_t count = 0;
    for (const auto& [id, being] : m_world.GetBeings())
    {
        const auto* const entry = m_tree->i_GetEntry(being.entity);
        const auto& transform = being.model.transform;
        count += transform ? 1 : 0;
        i_Require((entry != nullptr) == transform.has_value(), "the tree follows other entities");
        i_Require(!entry || !transform || entry->box == transform->GetBox(), "an entity is filed under another box");
    }
    i_Require(m_tree->GetEntityCount() == count, "the tree has another number of entities");
    ++m_journal.tally.comparisons;
}

void CSpatialLife::AppendState(std::string& state) const
{
    AppendBytes(state, m_tree->GetEntityCount());
    AppendBytes(state, m_found);
}

void CSpatialLife::i_Compare(Answer answer, const Distance& distance, const char* what)
{
    const std::set<const CEntity*> found(answer.begin(), answer.end());
    i_Require(found.size() == answer.size(), std::string(what) + ": an entity came twice");
    std::size_t known = 0;
    for (const auto& [id, being] : m_world.GetBeings())
    {
        if (!being.model.transform)
            continue;
        const float d = distance(being.model.transform->GetBox());
        const bool isFound = found.contains(being.entity);
        known += isFound ? 1 : 0;
        i_Require(d > -kTolerance || isFound, std::string(what) + ": entity " + std::to_string(id) + " is missing");
        i_Require(d < kTolerance || !isFound, std::string(what) + ": entity " + std::to_string(id) + " is too much");
    }
    i_Require(known == found.size(), std::string(what) + ": something was found that is not there");
    m_found += answer.size();
}

void CSpatialLife::i_AskBox(CRandom& random)
{
    const CVector3 low = MakePoint(random, 150.0F);
    const CVector3 size = MakePoint(random, random.OneIn(8) ? 2000.0F : 80.0F);
    const collision::PrimAABB box(low, low + CVector3(std::abs(size.x), std::abs(size.y), std::abs(size.z)));
    // Exact: one step beyond the tolerance or none.
    i_Compare(
        m_query->InBox(box, m_buffer),
        [&box](const collision::PrimAABB& other) { return box.Test(other) ? -1.0F : 1.0F; }, "box");
}

void CSpatialLife::i_AskSphere(CRandom& random)
{
    const CVector3 center = MakePoint(random, 150.0F);
    const float radius = random.Between(0.0F, 200.0F);
    i_Compare(
        m_query->InSphere(center, radius, m_buffer),
        [&](const collision::PrimAABB& box) { return GetDistance(box, center) - radius; }, "sphere");
}

void CSpatialLife::i_AskFrustum(CRandom& random)
{
    const CVector3 eye = MakePoint(random, 200.0F);
    const CMatrix view = CMatrix::View(eye, MakePoint(random, 100.0F), {0, 0, 1});
    const collision::PrimFrustum frustum(CMatrix::Projection(random.Between(30.0F, 100.0F), 1.6F, 1.0F, 500.0F) * view);
    // What is outside near an edge may be there or not.
    i_Compare(
        m_query->InFrustum(frustum, m_buffer),
        [&frustum](const collision::PrimAABB& box)
        {
            if (!frustum.Test(box))
                return 1.0F;
            const float* v = box.GetFloats();
            bool isInside = frustum.Test(box.GetCenter());
            for (int i = 0; i < 8; ++i)
                isInside = isInside || frustum.Test(CVector3(v[i & 1 ? 3 : 0], v[i & 2 ? 4 : 1], v[i & 4 ? 5 : 2]));
            return isInside ? -1.0F : 0.0F;
        },
        "frustum");
}

void CSpatialLife::i_AskRay(CRandom& random)
{
    const CVector3 origin = MakePoint(random, 200.0F);
    const CVector3 direction = (MakePoint(random, 100.0F) - origin).Normalized();
    const float most = random.Between(10.0F, 600.0F);
    std::vector<CEntity*> hits;
    float last = 0.0F;
    bool isOrdered = true;
    m_query->VisitAlongRay(origin, direction, most,
                           [&](CEntity* entity, float distance)
                           {
                               isOrdered = isOrdered && distance >= last && distance <= most;
                               last = distance;
                               hits.push_back(entity);
                               return true;
                           });
    i_Require(isOrdered, "hits of a ray are out of order");
    i_Compare(
        hits,
        [&](const collision::PrimAABB& box)
        {
            constexpr float kMargin = 0.01F;
            if (GetEntry(box, origin, direction, -kMargin) < most - kMargin)
                return -1.0F;
            return GetEntry(box, origin, direction, kMargin) > most + kMargin ? 1.0F : 0.0F;
        },
        "ray");
    const Answer first = m_query->AlongRay(origin, direction, most, 3, m_buffer);
    i_Require(std::equal(first.begin(), first.end(), hits.begin(),
                         hits.begin() + static_cast<std::ptrdiff_t>(std::min<std::size_t>(3, hits.size()))),
              "the first hits of a ray are others");
}

void CSpatialLife::i_AskNearest(CRandom& random)
{
    const CVector3 point = MakePoint(random, 200.0F);
    const std::size_t count = random.Below(std::size_t{20}) + 1;
    std::vector<float> distances;
    for (const auto& [id, being] : m_world.GetBeings())
    {
        if (being.model.transform)
            distances.push_back(GetDistance(being.model.transform->GetBox(), point));
    }
    std::sort(distances.begin(), distances.end());
    const Answer answer = m_query->Nearest(point, count, m_buffer);
    i_Require(answer.size() == std::min(count, distances.size()), "another number of entities is nearest");
    for (std::size_t i = 0; i < std::min(answer.size(), distances.size()); ++i)
    {
        const auto& box = answer[i]->Find<ComponentTransform>()->GetBoundingBox();
        i_Require(std::abs(GetDistance(box, point) - distances[i]) <= kTolerance * std::max(1.0F, distances[i]),
                  "others are nearest");
    }
    m_found += answer.size();
}
} // namespace soak
