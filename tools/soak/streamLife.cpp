#include "tools/soak/streamLife.h"

#include "gameengine/engine/componentTransformDirect.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>

namespace soak
{
namespace
{
constexpr float kHalf = 150.0F;
constexpr int kFirstEntities = 500;
constexpr std::size_t kMost = 700;
constexpr CSceneStreamer::Settings kSettings{.cellSize = 20, .loadRadius = 40, .keepRadius = 60, .rowBudget = 25};

CVector3 MakePlace(CRandom& random, float reach)
{
    const CVector3 place = MakePoint(random, reach);
    return {place.x, place.y, place.z * 0.1F};
}
} // namespace

CStreamLife::CStreamLife(CJournal& journal) : CLife(journal) {}

void CStreamLife::i_Begin(CRandom& random)
{
    std::remove(m_path.c_str());
    i_Open();
    for (int i = 0; i < kFirstEntities; ++i)
        i_Create(random, MakePlace(random, kHalf));
    i_Save();
}

void CStreamLife::i_Open()
{
    m_scene = std::make_unique<CScene>();
    m_store = std::make_unique<Store>(m_path.c_str(), m_scene->GetInterfaces());
    m_store->GetDatabase().execute("PRAGMA synchronous=OFF");
    m_streamer = std::make_unique<CSceneStreamer>(*m_store, m_scene->GetArray(), kSettings);
}

void CStreamLife::i_Reopen()
{
    i_Save();
    m_streamer.reset();
    m_store.reset();
    m_scene.reset();
    i_Open();
}

void CStreamLife::i_Save()
{
    i_Require(m_store->Save(), "saving failed");
    ++m_journal.tally.saves;
}

void CStreamLife::Step(CRandom& random)
{
    if (!m_store)
        i_Begin(random);
    const CVector3 step = MakePlace(random, 8.0F);
    m_focus = random.OneIn(12) ? MakePlace(random, kHalf) : m_focus + step;
    for (int i = random.Below(5); i > 0; --i)
    {
        const auto& statistics = m_streamer->Update(m_focus);
        i_Require(statistics.loaded <= kSettings.rowBudget && statistics.released <= kSettings.rowBudget,
                  "a frame did more than its budget");
        i_Require(m_streamer->Validate(), "the streamer is not valid");
    }
    if (random.OneIn(3))
    {
        i_Finish();
        for (int i = random.Below(6); i > 0; --i)
            i_Edit(random);
    }
    if (random.OneIn(12))
        i_Save();
    if (random.OneIn(40))
        i_Require(m_streamer->ReleaseAll(), "not everything was let go");
    if (random.OneIn(50))
        i_Reopen();
}

void CStreamLife::i_Create(CRandom& random, CVector3 place)
{
    const Id id = m_nextId++;
    const RefPtr<CEntity> entity = new CEntity(m_scene->GetInterfaces());
    entity->LockComponentList();
    ComponentTransformDirect::CreateComponent(entity.Get());
    ComponentEditorData::CreateComponent(entity.Get());
    entity->UnlockComponentList();
    CMatrix matrix;
    matrix.SetTranslation(place);
    entity->Find<ComponentTransform>()->SetTransform(matrix);
    TransformModel transform;
    transform.self = transform.world = matrix;
    m_model[id].transform = transform;
    i_Rename(id, *entity, random);
    m_scene->GetArray().Add(entity.Get());
    ++m_journal.tally.created;
}

void CStreamLife::i_Rename(Id id, CEntity& entity, CRandom& random)
{
    m_model[id].name = NameModel{std::to_string(id) + "/" + MakeText(random)};
    entity.Find<ComponentEditorData>()->SetData(m_model[id].name->text.c_str());
}

// One that is surely loaded: within the radius after everything was finished.
void CStreamLife::i_Edit(CRandom& random)
{
    std::vector<Id> ids;
    for (const auto& [id, model] : m_model)
    {
        if (i_IsWithin(model.GetPosition(), static_cast<double>(kSettings.loadRadius)))
            ids.push_back(id);
    }
    if (ids.empty() || (m_model.size() < kMost && random.OneIn(6)))
        return i_Create(random, m_focus + MakePlace(random, 30.0F));
    const Id id = ids[random.Below(ids.size())];
    CEntity* const entity = i_FindEntity(id);
    if (!i_Require(entity, "entity " + std::to_string(id) + " is not loaded"))
        return;
    if (random.OneIn(5))
    {
        m_store->DeleteEntity(entity);
        m_scene->GetArray().Remove(entity);
        m_model.erase(id);
        ++m_journal.tally.destroyed;
        return;
    }
    if (random.OneIn(3))
        return i_Rename(id, *entity, random);
    CMatrix matrix(m_model.at(id).transform->world);
    matrix.SetTranslation(random.OneIn(4) ? MakePlace(random, kHalf) : m_focus + MakePlace(random, 20.0F));
    entity->Find<ComponentTransform>()->SetTransform(matrix);
    m_model.at(id).transform->self = m_model.at(id).transform->world = matrix;
    ++m_journal.tally.edits;
}

bool CStreamLife::i_IsWithin(CVector3 place, double radius) const
{
    const auto outside = [](float p, float f)
    {
        constexpr double kCell = kSettings.cellSize;
        const double low = std::floor(static_cast<double>(p) / kCell) * kCell;
        return std::max({low - static_cast<double>(f), static_cast<double>(f) - low - kCell, 0.0});
    };
    return std::hypot(outside(place.x, m_focus.x), outside(place.y, m_focus.y)) <= radius;
}

Id CStreamLife::i_GetId(const CEntity& entity) const
{
    const auto* const name = entity.Find<ComponentEditorData>();
    return name ? std::atoi(name->GetData()) : 0;
}

CEntity* CStreamLife::i_FindEntity(Id id) const
{
    const CEntityArray& array = m_scene->GetArray();
    for (int i = 0; i < array.GetCount(); ++i)
    {
        if (i_GetId(*array.Get(i)) == id)
            return array.Get(i);
    }
    return nullptr;
}

void CStreamLife::i_Finish()
{
    i_Require(m_streamer->Finish(m_focus) && m_streamer->Validate(), "streaming does not finish");
    std::map<Id, CEntity*> loaded;
    const CEntityArray& array = m_scene->GetArray();
    for (int i = 0; i < array.GetCount(); ++i)
    {
        CEntity* const entity = array.Get(i);
        const Id id = i_GetId(*entity);
        i_Require(loaded.emplace(id, entity).second, "entity " + std::to_string(id) + " is there twice");
        const auto model = m_model.find(id);
        if (!i_Require(model != m_model.end(), "entity " + std::to_string(id) + " came back after its end"))
            return;
        i_Require(Encode(*entity) == Encode(model->second), "entity " + std::to_string(id) + " differs from the model");
        i_Require(m_store->FindRow(entity) < 0 ||
                      i_IsWithin(model->second.GetPosition(), static_cast<double>(kSettings.keepRadius)),
                  "entity " + std::to_string(id) + " is far away and was not let go");
    }
    for (const auto& [id, model] : m_model)
        i_Require(loaded.contains(id) || !i_IsWithin(model.GetPosition(), static_cast<double>(kSettings.loadRadius)),
                  "entity " + std::to_string(id) + " is near and was not loaded");
    ++m_journal.tally.comparisons;
    ++m_journal.tally.loads;
}

void CStreamLife::Check()
{
    if (!m_store)
        return;
    i_Finish();
    i_Save();
    CScene scene;
    i_Require(CEntityArray_SaveLoad::Load(m_path.c_str(), scene.GetInterfaces(), nullptr, nullptr),
              "the file cannot be loaded");
    i_Require(scene.GetArray().GetCount() == static_cast<int>(m_model.size()),
              "the file has another number of entities");
    for (int i = 0; i < scene.GetArray().GetCount(); ++i)
    {
        const CEntity& entity = *scene.GetArray().Get(i);
        const auto model = m_model.find(i_GetId(entity));
        i_Require(model != m_model.end() && Encode(entity) == Encode(model->second), "the file differs from the model");
    }
    ++m_journal.tally.comparisons;
}

void CStreamLife::AppendState(std::string& state) const
{
    AppendBytes(state, m_focus);
    for (const auto& [id, model] : m_model)
        state += Encode(model);
}

void CStreamLife::Empty()
{
    m_streamer.reset();
    m_store.reset();
    m_scene.reset();
    m_model.clear();
    m_focus = {};
}
} // namespace soak
