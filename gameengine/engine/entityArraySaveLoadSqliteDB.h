#pragma once

#include "gameengine/engine/entityArraySaveLoad.h"
#include "gameengine/engine/interfaceArrayManager.h"
#include "gameengine/engine/interfaceCollection.h"
#include "gameengine/export.h"
#include "tamradeps/core/refPtr.h"
#include "tamradeps/sqlite/database.h"
#include "tamradeps/sqlite/query.h"
#include "tamradeps/udb/udbDatabase.h"
#include "tamradeps/udb/udbReadWriteBinary.h"

#include <cstddef>
#include <cstdint>
#include <span>
#include <unordered_map>
#include <unordered_set>
#include <vector>

class UDBGroup;

/// A scene in an SQLite file, one row for each entity with its position, so that a large world is loaded by region and
/// only what changed is written.
///
///     CEntityArray_SaveLoad_SqliteDB store("town.sdb", scene.GetInterfaces());
///     const float min[] = {-100, -100, -1000}, max[] = {100, 100, 1000};
///     store.Load(min, max);
///     ...
///     store.Save();
///
/// The back end remembers which row each entity has, and holds a reference to it: an entity is never loaded twice, and
/// saving writes new and changed entities only. An entity that left the scene keeps its row; `DeleteEntity` deletes it.
///
/// A row whose data cannot be read is logged with its id, skipped, and stays in the file as it is.
class TAMRAGAMEENGINE_API CEntityArray_SaveLoad_SqliteDB : public CEntityArray_SaveLoad_Base
{
public:
    /// Opens the file, or makes it; `mode` may say that one that is not there is logged and not made. A relative name
    /// starts at the file system's temporary folder, which is the current one unless set. A scene without an array
    /// manager is reported; nothing can then be saved or loaded.
    CEntityArray_SaveLoad_SqliteDB(const char* file, CInterfaceCollection* scene);
    CEntityArray_SaveLoad_SqliteDB(const char* file, CInterfaceCollection* scene, sqlite::OpenMode mode);
    ~CEntityArray_SaveLoad_SqliteDB() override;

    /// Writes new and changed entities of the scene's array, and deletes the rows asked for, in one transaction. A file
    /// without the "entities" table gets it; a changed entity whose row somebody else has deleted gets it back. When
    /// anything fails, file and back end are as before, and the next save writes it all again. The entities are those
    /// of the scene when the call begins.
    ///
    /// Components must not turn to the back end while they are loaded or saved: what would load, save, forget or delete
    /// is refused with a line in the log.
    bool Save() override;
    /// The same for some entities, of the scene or not; pending deletions are left for `Save`.
    bool SaveEntities(std::span<CEntity* const> entities);

    bool Load(const float* min, const float* max) override;
    bool CreateEmpty() override;
    void ClearCache() override;
    void RemoveEntity(CEntity* entity) override;
    /// Forgets the entity and deletes its row with the next `Save`; until then the row is not loaded again. Take the
    /// entity out of the scene too, or the next save stores it anew. Without a row, nothing happens.
    void DeleteEntity(CEntity* entity);

    CEntity* Get(int i) override;
    int GetEntityCount() override { return static_cast<int>(m_cache.size()); }
    void IterateOverEntities(const std::function<void(CEntity*)>& visit) override;
    void SetSceneAddition(bool enabled) override { m_sceneAddition = enabled; }

    /// True when the file is open.
    bool IsOpen() const noexcept { return m_database.isOpen(); }
    /// The connection, for queries of one's own; valid as long as the back end.
    sqlite::database& GetDatabase() noexcept { return m_database; }

    /// True when the back end knows the entity, which then has a row.
    bool HasRow(const CEntity* entity) const;
    /// The row of an entity, -1 when it has none yet. Ids that this program gives are positive; a file that another one
    /// wrote may have any (see `HasRow`).
    std::int64_t FindRow(const CEntity* entity) const;
    /// The entity of a row, null when it is not loaded. Valid while the back end knows it.
    CEntity* FindEntity(std::int64_t row) const;

    /// Appends the ids of all rows with a position in the box (bounds included, null for open), loaded or not, without
    /// reading their data.
    bool CollectRows(const float* min, const float* max, std::vector<std::int64_t>& rows);
    /// Loads one row, as `Load` does; null when it is gone or unreadable. An entity that is loaded already is given
    /// back. `failed`, if given, tells whether the database could not be read, which may pass.
    CEntity* LoadRow(std::int64_t row, bool* failed = nullptr);

    /// Rows read, inserted, updated and deleted since the back end was made; of failed saves, none.
    struct Counters
    {
        std::uint64_t read = 0;
        std::uint64_t inserted = 0;
        std::uint64_t updated = 0;
        std::uint64_t deleted = 0;
    };
    const Counters& GetCounters() const noexcept { return m_counters; }

private:
    struct Cached
    {
        RefPtr<CEntity> entity;
        std::int64_t row = 0;
        std::uint64_t hash = 0; // of the data last read or written
        bool asLoaded = false;  // read and not written since; see i_IsAsLoaded
    };
    // What a save in progress has done, to be remembered once it is committed. The save holds references.
    struct Written
    {
        CEntity* entity;
        std::int64_t row;
        std::uint64_t hash;
    };

    bool i_Prepare();
    bool i_PrepareToRead(bool& isEmpty);
    bool i_IsFree() const;
    bool i_BindRegion(sqlite::query& query, const float* min, const float* max);
    CEntity* i_LoadBlob(std::int64_t row, std::span<const std::byte> blob);
    bool i_CreateTable();
    template <class WriteRows>
    bool i_SaveInTransaction(WriteRows writeRows);
    bool i_SaveEntity(CEntity* entity);
    UDBGroup* i_Serialize(CEntity* entity);
    bool i_IsAsLoaded(const Cached& cached, UDBGroup& group, std::uint64_t hash);
    bool i_WriteRow(sqlite::query& query, CEntity* entity);
    bool i_DeleteRows();
    void i_Remember();
    std::int32_t& i_Slot(const CEntity* entity);
    const Cached* i_FindCached(const CEntity* entity) const;
    Cached* i_FindCached(const CEntity* entity);
    void i_AddToCache(CEntity* entity, std::int64_t row, std::uint64_t hash, bool asLoaded);

    RefPtr<CInterfaceCollection> m_scene;
    RefPtr<CInterfaceArrayManager> m_manager;
    sqlite::database m_database;
    sqlite::query m_select;
    sqlite::query m_update;
    sqlite::query m_insert;
    sqlite::query m_delete;
    sqlite::query m_selectIds;
    sqlite::query m_selectRow;
    bool m_prepared = false;

    std::vector<Cached> m_cache;
    // By entity index: the place in m_cache, kNoSlot, or kWritten while a save has written the entity for the first
    // time.
    std::vector<std::int32_t> m_slots;
    std::unordered_map<std::int64_t, std::int32_t> m_slotByRow;
    std::unordered_set<std::int64_t> m_rowsToDelete;

    UDBDatabase m_data;
    UDBReadWriteBinary m_readWrite;
    std::vector<std::byte> m_buffer;
    std::vector<std::byte> m_compared;
    std::vector<Written> m_written;
    Counters m_counters;
    Counters m_pending;
    bool m_sceneAddition = true;
    bool m_loading = false; // `m_select` is at work
    bool m_busy = false;    // so are `m_data` and `m_buffer`
};
