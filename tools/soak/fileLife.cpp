#include "tools/soak/fileLife.h"

#include "gameengine/engine/entityArraySaveLoadSerialized.h"
#include "tamradeps/io/fileSystem.h"
#include "tools/sceneTools/sceneInspect.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <iterator>
#include <utility>

namespace soak
{
CFileLife::CFileLife(CJournal& journal, CWorld& world) : CLife(journal), m_world(world)
{
    std::remove(m_databasePath.c_str());
    i_Open();
    m_world.leaving = [this](Id id, CEntity* entity, CRandom& random) { i_OnLeaving(id, entity, random); };
}

CFileLife::~CFileLife()
{
    m_world.leaving = nullptr;
}

void CFileLife::i_Open()
{
    m_store = std::make_unique<Store>(m_databasePath.c_str(), m_world.GetScene().GetInterfaces());
    m_store->GetDatabase().setBusyTimeout(0);
    // The disk is not what is tried here.
    m_store->GetDatabase().execute("PRAGMA synchronous=OFF");
}

void CFileLife::Step(CRandom& random)
{
    switch (random.Below(16))
    {
    case 0:
    case 1:
    case 2:
    case 3:
    case 4: i_Save(); break;
    case 5:
    case 6:
    case 7:
    case 8: i_LoadRegion(random); break;
    case 9: i_FailToSave(); break;
    case 10: i_SaveWhole(); break;
    case 11: i_RefuseDamaged(random); break;
    case 12: i_ReloadWhole(); break;
    case 13:
        i_Forget();
        i_Load(nullptr, nullptr);
        break;
    case 14: i_Reopen(); break;
    default:
        i_Forget();
        i_LoadRegion(random);
        break;
    }
}

void CFileLife::i_OnLeaving(Id id, CEntity* entity, CRandom& random)
{
    const bool isKnown = m_known.erase(id) > 0;
    if (!random.OneIn(3))
        return m_store->RemoveEntity(entity);
    m_store->DeleteEntity(entity);
    if (isKnown)
        m_deleted.insert(id);
}

void CFileLife::i_Save()
{
    const std::uint64_t inserted = m_store->GetCounters().inserted;
    if (!i_Require(m_store->Save(), "saving failed"))
        return;
    for (const Id id : std::exchange(m_deleted, {}))
    {
        m_idOfRow.erase(m_rows.at(id).row);
        m_rows.erase(id);
    }
    std::uint64_t fresh = 0;
    for (const auto& [id, being] : m_world.GetBeings())
    {
        fresh += m_known.insert(id).second ? 1 : 0;
        const std::int64_t row = m_store->FindRow(being.entity);
        i_Require(row >= 0 && m_store->FindEntity(row) == being.entity, "a saved entity has no row");
        m_rows[id] = {MakeStored(being.model), row};
        m_idOfRow[row] = id;
    }
    i_Require(m_store->GetCounters().inserted - inserted == fresh, "another number of rows was inserted");
    ++m_journal.tally.saves;
}

void CFileLife::i_FailToSave()
{
    sqlite::database other;
    if (!i_Require(other.open(m_databasePath) && other.execute("BEGIN EXCLUSIVE"), "the file cannot be locked"))
        return;
    const CAnnounced refusal(m_journal.GetWatch(), "locked");
    i_Require(!m_store->Save() && refusal.GetCount() == 1, "a locked file was saved to");
}

void CFileLife::i_LoadRegion(CRandom& random)
{
    const CVector3 low = MakePoint(random, 150.0F);
    const CVector3 size = MakePoint(random, 100.0F);
    const float min[] = {low.x, low.y, low.z};
    const float max[] = {low.x + std::abs(size.x), low.y + std::abs(size.y), low.z + std::abs(size.z)};
    i_Load(min, max);
}

void CFileLife::i_Load(const float* min, const float* max)
{
    std::vector<Id> expected;
    for (const auto& [id, row] : m_rows)
    {
        const CVector3 place = row.model.GetPosition();
        const float coordinates[] = {place.x, place.y, place.z};
        bool isInside = true;
        for (int axis = 0; axis < 3; ++axis)
            isInside = isInside && (!min || coordinates[axis] >= min[axis]) && (!max || coordinates[axis] <= max[axis]);
        if (isInside && !m_known.contains(id) && !m_deleted.contains(id))
            expected.push_back(id);
    }
    i_Require(m_store->Load(min, max), "loading failed");
    const std::size_t before = m_world.GetBeings().size();
    for (const Id id : expected)
    {
        CEntity* const entity = m_store->FindEntity(m_rows.at(id).row);
        if (!i_Require(entity && m_world.GetArray().Contains(entity), "a row in the region was not loaded"))
            return;
        m_known.insert(id);
        m_world.Adopt(id, m_rows.at(id).model, entity);
    }
    i_Require(m_world.GetArray().GetCount() == static_cast<int>(before + expected.size()),
              "rows outside of the region were loaded");
    ++m_journal.tally.loads;
}

void CFileLife::i_Forget()
{
    m_world.Clear();
    m_store->ClearCache();
    m_known.clear();
}

void CFileLife::i_Reopen()
{
    m_world.Clear();
    m_store.reset();
    m_known.clear();
    m_deleted.clear();
    i_Open();
    i_Load(nullptr, nullptr);
}

void CFileLife::i_SaveWhole()
{
    i_Require(CEntityArray_SaveLoad::Save(m_wholePath.c_str(), m_world.GetScene().GetInterfaces()),
              "saving as a whole failed");
    ++m_journal.tally.saves;
    i_CheckFile(m_wholePath, i_GetExpectedScene());
}

void CFileLife::i_RefuseDamaged(CRandom& random)
{
    CEntityArray_SaveLoad_Serialized back(m_wholePath.c_str(), m_world.GetScene().GetInterfaces());
    std::vector<std::byte> content;
    if (!i_Require(back.SaveBytes(content), "saving to memory failed"))
        return;
    content[random.Below(content.size())] ^= static_cast<std::byte>(1 << random.Below(8));
    const CAnnounced refusal(m_journal.GetWatch(), "");
    i_Require(!back.LoadBytes(content, nullptr, nullptr), "damaged bytes were loaded");
}

// The scene goes, and comes back out of the whole file; the database begins anew.
void CFileLife::i_ReloadWhole()
{
    i_SaveWhole();
    std::multimap<std::string, std::pair<Id, EntityModel>> expected;
    for (const auto& [id, being] : m_world.GetBeings())
        expected.emplace(Encode(being.model), std::pair(id, MakeStored(being.model)));
    i_Forget();
    i_Require(m_store->CreateEmpty(), "the database was not emptied");
    m_rows.clear();
    m_idOfRow.clear();
    m_deleted.clear();
    std::vector<CEntity*> loaded;
    i_Require(CEntityArray_SaveLoad::Load(m_wholePath.c_str(), m_world.GetScene().GetInterfaces(), {}, nullptr, nullptr,
                                          [&loaded](CEntity* entity) { loaded.push_back(entity); }),
              "loading as a whole failed");
    i_Require(loaded.size() == expected.size(), "another number of entities was loaded");
    for (CEntity* entity : loaded)
    {
        const auto found = expected.find(Encode(*entity));
        if (!i_Require(found != expected.end(), "an entity was loaded that was not saved"))
            return;
        m_world.Adopt(found->second.first, found->second.second, entity);
        expected.erase(found);
    }
    ++m_journal.tally.loads;
}

// ---- Comparing

CFileLife::Contents CFileLife::i_GetContents(const std::string& path)
{
    CScene scene;
    i_Require(CEntityArray_SaveLoad::Load(path.c_str(), scene.GetInterfaces(), nullptr, nullptr),
              "a file cannot be loaded into a new scene");
    Contents contents;
    for (int i = 0; i < scene.GetArray().GetCount(); ++i)
        contents.push_back(Encode(*scene.GetArray().Get(i)));
    std::sort(contents.begin(), contents.end());
    ++m_journal.tally.loads;
    return contents;
}

CFileLife::Contents CFileLife::i_GetExpectedRows() const
{
    Contents contents;
    for (const auto& [id, row] : m_rows)
        contents.push_back(Encode(row.model));
    std::sort(contents.begin(), contents.end());
    return contents;
}

CFileLife::Contents CFileLife::i_GetExpectedScene() const
{
    Contents contents;
    for (const auto& [id, being] : m_world.GetBeings())
        contents.push_back(Encode(being.model));
    std::sort(contents.begin(), contents.end());
    return contents;
}

void CFileLife::i_CheckFile(const std::string& path, const Contents& expected)
{
    i_Require(i_GetContents(path) == expected, path + " holds something else than the model");
    CSceneFile file;
    i_Require(file.Open(path) && file.GetEntityCount() == expected.size(), path + " has another number of entities");
    SceneCheck check;
    i_Require(CheckScene(file, check), path + " cannot be checked");
    i_Require(check.problems.empty(), path + ": " + (check.problems.empty() ? "" : check.problems.front()));
    i_Require(check.unknownTypes.empty(), path + " has components of unknown types");
    ++m_journal.tally.comparisons;
}

void CFileLife::Check()
{
    i_Save();
    i_SaveWhole();
    i_CheckFile(m_databasePath, i_GetExpectedRows());
    i_Require(static_cast<std::size_t>(m_store->GetEntityCount()) == m_known.size(),
              "the store knows another number of entities");
    CSceneFile database;
    CSceneFile whole;
    SceneDifferences differences;
    i_Require(database.Open(m_databasePath) && whole.Open(m_wholePath) && DiffScenes(whole, database, differences),
              "the two files cannot be compared");
    i_Require(differences.onlyInFirst.empty() &&
                  differences.onlyInSecond.size() == m_rows.size() - m_world.GetBeings().size(),
              "the two files differ");
}

void CFileLife::AppendState(std::string& state) const
{
    for (const auto& [id, row] : m_rows)
    {
        AppendBytes(state, id);
        state += Encode(row.model);
    }
}

void CFileLife::Empty()
{
    i_Forget();
    i_Require(m_store->CreateEmpty(), "the database was not emptied");
    m_rows.clear();
    m_idOfRow.clear();
    m_deleted.clear();
}
} // namespace soak
