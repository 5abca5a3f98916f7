#include "gameengine/engine/entityArraySaveLoadSqliteDB.h"

#include "gameengine/engine/entityStorageInternal.h"
#include "tamradeps/core/crc64.h"
#include "tamradeps/core/log.h"
#include "tamradeps/io/fileSystem.h"
#include "tamradeps/sqlite/transaction.h"
#include "tamradeps/udb/udbGroup.h"

#include <algorithm>
#include <limits>
#include <string>
#include <utility>

namespace
{
constexpr const char* kSchema[] = {
    R"(DROP TABLE IF EXISTS "entities")",
    R"(CREATE TABLE "entities" ( "id"  INTEGER PRIMARY KEY AUTOINCREMENT ,"sceneID"  INTEGER NOT NULL,"pos_x"  REAL NOT NULL,"pos_y"  REAL NOT NULL,"pos_z"  REAL NOT NULL,"componentData"  BLOB))",
    R"(CREATE INDEX "entity_sceneID" ON "entities" ("sceneID"))",
    R"(CREATE INDEX "entity_position" ON "entities" ("pos_x", "pos_y", "pos_z"))"};

constexpr const char* kSelect = "SELECT id, componentData FROM entities WHERE pos_x >= ? AND pos_y >= ? AND pos_z >= ? "
                                "AND pos_x <= ? AND pos_y <= ? AND pos_z <= ?";
constexpr const char* kUpdate = "UPDATE entities SET pos_x=?, pos_y=?, pos_z=?, componentData=? WHERE id=:id";
constexpr const char* kInsert = "INSERT INTO entities VALUES (NULL, 1, ?, ?, ?, ?)";
constexpr const char* kInsertAgain = "INSERT INTO entities VALUES (?5, 1, ?1, ?2, ?3, ?4)";
constexpr const char* kDelete = "DELETE FROM entities WHERE id=?";
constexpr const char* kSelectIds = "SELECT id FROM entities WHERE pos_x >= ? AND pos_y >= ? AND pos_z >= ? "
                                   "AND pos_x <= ? AND pos_y <= ? AND pos_z <= ?";
constexpr const char* kSelectRow = "SELECT componentData FROM entities WHERE id=?";
constexpr int kIdPosition = 5; // of kUpdate and kInsertAgain
constexpr std::size_t kLongestPath = 512;

constexpr std::int32_t kNoSlot = -1;
constexpr std::int32_t kWritten = -2;

using Step = sqlite::query::Step;
} // namespace

CEntityArray_SaveLoad_SqliteDB::CEntityArray_SaveLoad_SqliteDB(const char* file, CInterfaceCollection* scene)
    : CEntityArray_SaveLoad_SqliteDB(file, scene, sqlite::OpenMode::ReadWriteCreate)
{
}

CEntityArray_SaveLoad_SqliteDB::CEntityArray_SaveLoad_SqliteDB(const char* file, CInterfaceCollection* scene,
                                                               sqlite::OpenMode mode)
    : m_scene(scene),
      m_manager(nullptr)
{
    if (m_database.open(GetFileSystem().GetTemporaryFilePath(file ? file : ""), mode) &&
        m_database.tableExists("entities"))
        i_Prepare();
    m_manager = entityStorage::GetManager(scene);
}

CEntityArray_SaveLoad_SqliteDB::~CEntityArray_SaveLoad_SqliteDB()
{
    CEntityArray_SaveLoad_SqliteDB::ClearCache();
}

bool CEntityArray_SaveLoad_SqliteDB::i_Prepare()
{
    if (!m_prepared)
        m_prepared = m_select.prepare(m_database, kSelect) && m_update.prepare(m_database, kUpdate) &&
                     m_insert.prepare(m_database, kInsert) && m_delete.prepare(m_database, kDelete) &&
                     m_selectIds.prepare(m_database, kSelectIds) && m_selectRow.prepare(m_database, kSelectRow);
    return m_prepared;
}

// False when there is nothing to read: because the file has no table yet, or because it cannot be asked.
bool CEntityArray_SaveLoad_SqliteDB::i_PrepareToRead(bool& isEmpty)
{
    bool failed = false;
    isEmpty = !m_prepared && !m_database.tableExists("entities", &failed) && !failed;
    return !isEmpty && !failed && i_Prepare();
}

bool CEntityArray_SaveLoad_SqliteDB::i_CreateTable()
{
    return std::all_of(std::begin(kSchema), std::end(kSchema),
                       [this](const char* sql) { return m_database.execute(sql); });
}

bool CEntityArray_SaveLoad_SqliteDB::CreateEmpty()
{
    if (!IsOpen() || !i_IsFree())
        return false;
    for (sqlite::query* query : {&m_select, &m_selectIds, &m_selectRow})
        query->reset();
    sqlite::transaction transaction(m_database);
    if (!transaction.isActive() || !i_CreateTable() || !transaction.commit())
        return false;
    ClearCache();
    m_rowsToDelete.clear();
    return i_Prepare();
}

// ---- Loading

bool CEntityArray_SaveLoad_SqliteDB::i_BindRegion(sqlite::query& query, const float* min, const float* max)
{
    constexpr double kInfinity = std::numeric_limits<double>::infinity();
    query.reset();
    for (int axis = 0; axis < 3; ++axis)
    {
        if (!query.bind(1 + axis, min ? static_cast<double>(min[axis]) : -kInfinity) ||
            !query.bind(4 + axis, max ? static_cast<double>(max[axis]) : kInfinity))
            return false;
    }
    return true;
}

bool CEntityArray_SaveLoad_SqliteDB::Load(const float* min, const float* max)
{
    if (!IsOpen() || !m_manager)
        return false;
    bool isEmpty = false;
    if (!i_PrepareToRead(isEmpty))
        return isEmpty;
    // A listener who hears of a loaded entity may load a region of its own.
    sqlite::query nestedSelect;
    sqlite::query& select = m_loading ? nestedSelect : m_select;
    if ((m_loading && !nestedSelect.prepare(m_database, kSelect)) || !i_BindRegion(select, min, max))
        return false;
    const bool wasLoading = std::exchange(m_loading, true);
    Step step = Step::Row;
    while ((step = select.step()) == Step::Row)
    {
        const std::int64_t row = select.getInt64(0);
        if (!m_slotByRow.contains(row) && !m_rowsToDelete.contains(row))
            i_LoadBlob(row, select.getBlob(1));
    }
    m_loading = wasLoading;
    return step == Step::Done;
}

bool CEntityArray_SaveLoad_SqliteDB::CollectRows(const float* min, const float* max, std::vector<std::int64_t>& rows)
{
    if (!IsOpen())
        return false;
    bool isEmpty = false;
    if (!i_PrepareToRead(isEmpty))
        return isEmpty;
    if (!i_BindRegion(m_selectIds, min, max))
        return false;
    Step step = Step::Row;
    while ((step = m_selectIds.step()) == Step::Row)
    {
        const std::int64_t row = m_selectIds.getInt64(0);
        if (!m_rowsToDelete.contains(row))
            rows.push_back(row);
    }
    return step == Step::Done;
}

CEntity* CEntityArray_SaveLoad_SqliteDB::LoadRow(std::int64_t row, bool* failed)
{
    if (failed)
        *failed = false;
    if (CEntity* loaded = FindEntity(row))
        return loaded;
    bool isEmpty = false;
    if (!IsOpen() || !m_manager || m_rowsToDelete.contains(row))
        return nullptr;
    if (!i_PrepareToRead(isEmpty))
    {
        if (failed)
            *failed = !isEmpty;
        return nullptr;
    }
    m_selectRow.reset();
    const Step step = m_selectRow.bind(1, row) ? m_selectRow.step() : Step::Failed;
    if (failed)
        *failed = step == Step::Failed;
    if (step != Step::Row)
        return nullptr;
    CEntity* entity = i_LoadBlob(row, m_selectRow.getBlob(0));
    m_selectRow.reset();
    return entity;
}

CEntity* CEntityArray_SaveLoad_SqliteDB::i_LoadBlob(std::int64_t row, std::span<const std::byte> blob)
{
    if (!i_IsFree())
        return nullptr;
    m_data.Clear();
    UDBGroup* group = m_data.AllocateGroup();
    if (!m_readWrite.Read(blob.data(), blob.size(), *group))
    {
        tamra::log::Error(tamra::log::Quoted(m_database.getPath(), kLongestPath) + ": the data of entity " +
                          std::to_string(row) + " cannot be read; it is left as it is");
        return nullptr;
    }
    // Before components come alive: one that asks for another row ends the life of this blob.
    const std::uint64_t hash = HashCRC64Data(blob.data(), blob.size());
    m_busy = true;
    const RefPtr<CEntity> entity = entityStorage::CreateEntity(m_scene.Get(), *group);
    m_busy = false;
    // Known before anybody hears of it: a listener may save.
    i_AddToCache(entity.Get(), row, hash, true);
    ++m_counters.read;
    if (m_sceneAddition)
        m_manager->AddEntity(entity.Get());
    return FindEntity(row);
}

// Components have no business with the back end while they are read or written: it is in the middle of their data.
bool CEntityArray_SaveLoad_SqliteDB::i_IsFree() const
{
    if (m_busy)
        tamra::log::Error(tamra::log::Quoted(m_database.getPath(), kLongestPath) +
                          ": a component turned to the store while it was being loaded or saved");
    return !m_busy;
}

// ---- Saving

template <class WriteRows>
bool CEntityArray_SaveLoad_SqliteDB::i_SaveInTransaction(WriteRows writeRows)
{
    if (!IsOpen() || !m_manager || !i_IsFree())
        return false;
    sqlite::transaction transaction(m_database);
    if (!transaction.isActive())
        return false;
    m_written.clear();
    m_pending = m_counters;
    bool failed = false;
    const bool hadTable = m_prepared || m_database.tableExists("entities", &failed);
    bool done = !failed && (hadTable || i_CreateTable()) && i_Prepare();
    m_busy = true;
    done = done && writeRows();
    m_busy = false;
    done = done && transaction.commit();
    if (done)
    {
        i_Remember();
        m_counters = m_pending;
        return true;
    }
    for (const Written& written : m_written)
    {
        if (std::int32_t& slot = i_Slot(written.entity); slot == kWritten)
            slot = kNoSlot;
    }
    transaction.rollback();
    m_prepared = m_prepared && hadTable;
    return false;
}

bool CEntityArray_SaveLoad_SqliteDB::Save()
{
    if (!m_manager)
        return false;
    // Referenced: a component may take any of them out of the scene while it is saved.
    const CEntityArray& array = *m_manager->GetArray();
    std::vector<RefPtr<CEntity>> entities;
    entities.reserve(static_cast<std::size_t>(array.GetCount()));
    for (int i = 0; i < array.GetCount(); ++i)
        entities.emplace_back(array.Get(i));
    return i_SaveInTransaction(
               [this, &entities]
               {
                   return std::all_of(entities.begin(), entities.end(),
                                      [this](const auto& entity) { return i_SaveEntity(entity.Get()); }) &&
                          i_DeleteRows();
               }) &&
           (m_rowsToDelete.clear(), true);
}

bool CEntityArray_SaveLoad_SqliteDB::SaveEntities(std::span<CEntity* const> entities)
{
    // None to one that nobody references: giving it back would delete the entity.
    std::vector<RefPtr<CEntity>> held;
    held.reserve(entities.size());
    for (CEntity* entity : entities)
        held.emplace_back(entity->GetReferenceCount() > 0 ? entity : nullptr);
    return i_SaveInTransaction(
        [this, entities]
        { return std::all_of(entities.begin(), entities.end(), [this](CEntity* e) { return i_SaveEntity(e); }); });
}

bool CEntityArray_SaveLoad_SqliteDB::i_SaveEntity(CEntity* entity)
{
    UDBGroup* const group = i_Serialize(entity);
    if (!group)
    {
        tamra::log::Error(tamra::log::Quoted(m_database.getPath(), kLongestPath) + ": the data of entity " +
                          std::to_string(entity->GetIndex()) + " cannot be written: it is too large or too deep");
        return false;
    }
    const std::uint64_t hash = HashCRC64Data(m_buffer.data(), m_buffer.size());
    Cached* cached = i_FindCached(entity);
    if (!cached)
    {
        if (i_Slot(entity) == kWritten)
            return true;
        if (!i_WriteRow(m_insert, entity))
            return false;
        i_Slot(entity) = kWritten;
        m_written.push_back({entity, m_database.lastInsertRowID(), hash});
        ++m_pending.inserted;
        return true;
    }
    if (hash == cached->hash)
        return true;
    if (cached->asLoaded && i_IsAsLoaded(*cached, *group, hash))
    {
        cached->hash = hash;
        cached->asLoaded = false;
        return true;
    }
    if (!m_update.bind(kIdPosition, cached->row) || !i_WriteRow(m_update, entity))
        return false;
    const bool updated = m_database.changes() > 0;
    sqlite::query insertAgain; // a row that somebody else has deleted comes back under its number
    if (!updated && !(insertAgain.prepare(m_database, kInsertAgain) && insertAgain.bind(kIdPosition, cached->row) &&
                      i_WriteRow(insertAgain, entity)))
        return false;
    m_written.push_back({entity, cached->row, hash});
    ++(updated ? m_pending.updated : m_pending.inserted);
    return true;
}

UDBGroup* CEntityArray_SaveLoad_SqliteDB::i_Serialize(CEntity* entity)
{
    m_data.Clear();
    UDBGroup* group = m_data.AllocateGroup();
    entity->SerializerSave(*group);
    return m_readWrite.Write(*group, m_buffer) ? group : nullptr;
}

// Whether an entity whose data differ from its row is still what loading made of that row. Saving writes components in
// the opposite order of loading, so mostly the data turned round once more are the row's. Otherwise the row may hold
// what this program does not know or would write in another way; it is not to be written, and so to lose that, before
// somebody changes the entity. Loading it once more tells.
bool CEntityArray_SaveLoad_SqliteDB::i_IsAsLoaded(const Cached& cached, UDBGroup& group, std::uint64_t hash)
{
    const auto hashOf = [this](const UDBGroup& data)
    { return m_readWrite.Write(data, m_compared) ? HashCRC64Data(m_compared.data(), m_compared.size()) : 0; };
    group.ReverseEntries();
    if (hashOf(group) == cached.hash)
        return true;
    m_selectRow.reset();
    if (!m_selectRow.bind(1, cached.row) || m_selectRow.step() != Step::Row)
        return false;
    const std::span<const std::byte> blob = m_selectRow.getBlob(0);
    UDBGroup* stored = m_data.AllocateGroup();
    const bool isReadable = m_readWrite.Read(blob.data(), blob.size(), *stored);
    m_selectRow.reset();
    if (!isReadable)
        return false;
    const RefPtr<CEntity> twin = entityStorage::CreateEntity(m_scene.Get(), *stored);
    UDBGroup* written = m_data.AllocateGroup();
    twin->SerializerSave(*written);
    return hashOf(*written) == hash;
}

bool CEntityArray_SaveLoad_SqliteDB::i_WriteRow(sqlite::query& query, CEntity* entity)
{
    const CVector3 position = entityStorage::GetPosition(*entity);
    return query.bind(1, static_cast<double>(position.x)) && query.bind(2, static_cast<double>(position.y)) &&
           query.bind(3, static_cast<double>(position.z)) && query.bind(4, m_buffer.data(), m_buffer.size()) &&
           query.step() == Step::Done;
}

bool CEntityArray_SaveLoad_SqliteDB::i_DeleteRows()
{
    for (const std::int64_t row : m_rowsToDelete)
    {
        if (!m_delete.bind(1, row) || m_delete.step() != Step::Done)
            return false;
        ++m_pending.deleted;
    }
    return true;
}

void CEntityArray_SaveLoad_SqliteDB::i_Remember()
{
    for (const Written& written : m_written)
    {
        if (Cached* cached = i_FindCached(written.entity))
        {
            cached->hash = written.hash;
            cached->asLoaded = false;
        }
        else
        {
            i_AddToCache(written.entity, written.row, written.hash, false);
        }
    }
}

// ---- The cache

std::int32_t& CEntityArray_SaveLoad_SqliteDB::i_Slot(const CEntity* entity)
{
    const auto index = static_cast<std::size_t>(entity->GetIndex());
    if (index >= m_slots.size())
        m_slots.resize(std::max(index + 1, m_slots.size() * 2), kNoSlot);
    return m_slots[index];
}

const CEntityArray_SaveLoad_SqliteDB::Cached* CEntityArray_SaveLoad_SqliteDB::i_FindCached(const CEntity* entity) const
{
    if (!entity || entity->GetIndex() < 0 || static_cast<std::size_t>(entity->GetIndex()) >= m_slots.size())
        return nullptr;
    const std::int32_t slot = m_slots[static_cast<std::size_t>(entity->GetIndex())];
    return slot >= 0 && m_cache[static_cast<std::size_t>(slot)].entity == entity
               ? &m_cache[static_cast<std::size_t>(slot)]
               : nullptr;
}

CEntityArray_SaveLoad_SqliteDB::Cached* CEntityArray_SaveLoad_SqliteDB::i_FindCached(const CEntity* entity)
{
    return const_cast<Cached*>(std::as_const(*this).i_FindCached(entity));
}

void CEntityArray_SaveLoad_SqliteDB::i_AddToCache(CEntity* entity, std::int64_t row, std::uint64_t hash, bool asLoaded)
{
    const auto slot = static_cast<std::int32_t>(m_cache.size());
    m_cache.push_back({entity, row, hash, asLoaded});
    m_slotByRow[row] = slot;
    i_Slot(entity) = slot;
}

void CEntityArray_SaveLoad_SqliteDB::RemoveEntity(CEntity* entity)
{
    Cached* const cached = i_FindCached(entity);
    if (!cached || !i_IsFree())
        return;
    const std::int32_t slot = i_Slot(entity);
    m_slotByRow.erase(cached->row);
    i_Slot(entity) = kNoSlot;
    const RefPtr<CEntity> releaseLast = cached->entity;
    if (cached != &m_cache.back())
    {
        *cached = std::move(m_cache.back());
        m_slotByRow[cached->row] = slot;
        i_Slot(cached->entity.Get()) = slot;
    }
    m_cache.pop_back();
}

void CEntityArray_SaveLoad_SqliteDB::DeleteEntity(CEntity* entity)
{
    const Cached* const cached = i_FindCached(entity);
    if (!cached || !i_IsFree())
        return;
    m_rowsToDelete.insert(cached->row);
    RemoveEntity(entity);
}

void CEntityArray_SaveLoad_SqliteDB::ClearCache()
{
    if (!i_IsFree())
        return;
    // Emptied before the references go: the last one of an entity may call anything.
    const auto releaseLast = std::exchange(m_cache, {});
    m_slots.clear();
    m_slotByRow.clear();
}

CEntity* CEntityArray_SaveLoad_SqliteDB::Get(int i)
{
    return static_cast<std::size_t>(i) < m_cache.size() ? m_cache[static_cast<std::size_t>(i)].entity.Get() : nullptr;
}

void CEntityArray_SaveLoad_SqliteDB::IterateOverEntities(const std::function<void(CEntity*)>& visit)
{
    std::vector<RefPtr<CEntity>> entities;
    entities.reserve(m_cache.size());
    for (const Cached& cached : m_cache)
        entities.push_back(cached.entity);
    for (const auto& entity : entities)
        visit(entity.Get());
}

bool CEntityArray_SaveLoad_SqliteDB::HasRow(const CEntity* entity) const
{
    return i_FindCached(entity) != nullptr;
}

std::int64_t CEntityArray_SaveLoad_SqliteDB::FindRow(const CEntity* entity) const
{
    const Cached* cached = i_FindCached(entity);
    return cached ? cached->row : -1;
}

CEntity* CEntityArray_SaveLoad_SqliteDB::FindEntity(std::int64_t row) const
{
    const auto found = m_slotByRow.find(row);
    return found != m_slotByRow.end() ? m_cache[static_cast<std::size_t>(found->second)].entity.Get() : nullptr;
}
