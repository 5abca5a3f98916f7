#pragma once

#include "gameengine/engine/entity.h"
#include "gameengine/export.h"
#include "tamradeps/core/eventHandler.h"
#include "tamradeps/core/refClass.h"
#include "tamradeps/core/sortedPointerArray.h"

#include <cstdint>
#include <memory>
#include <vector>

class CEntityComponent;
class CEntityComponentDatabase;

/// A scene: a set of entities, and for each component type that somebody asked for a database of the components of that
/// type on them.
///
/// Entities are kept sorted by address and referenced. While an entity's component list is locked, its components are
/// in no database; else each is listed once, whatever listeners did meanwhile.
class TAMRAGAMEENGINE_API CEntityArray : public RefClass
{
public:
    /// Events on `Events()`: the entity ("CEntity") and the array ("CEntityArray").
    enum Event : std::int32_t
    {
        kEntityAdded = 0,  ///< The entity and its components are in.
        kEntityRemoved = 1 ///< About to be removed: everything is still there.
    };

    CEntityArray();
    CEntityArray(const CEntityArray&) = delete;
    CEntityArray& operator=(const CEntityArray&) = delete;
    /// Removes every entity, as `Clear` does.
    ~CEntityArray() override;

    const char* GetTypeString() override;

    CEventHandler& Events() noexcept { return m_events; }

    /// Takes a reference, enters the components into the databases, raises `kEntityAdded` and only then tells the
    /// entity of the array. Adding an entity that is there takes another reference and raises the event again; match
    /// each call with a `Remove`. Null is ignored, and an entity or an array that is being destroyed left alone.
    void Add(CEntity* entity);

    /// Raises `kEntityRemoved`, withdraws the components and releases one reference, whether or not the entity is in
    /// the array: remove only what you added. An entity that nobody references has none to release and is not deleted.
    void Remove(CEntity* entity);

    /// Removes every entity once.
    void Clear();

    bool Contains(const CEntity* entity) const noexcept { return m_entities.Contains(entity); }
    /// The entity at a position from 0 to `GetCount() - 1` in order of address, null outside. Valid until removed.
    CEntity* Get(int i) const noexcept
    {
        return static_cast<std::size_t>(i) < m_entities.GetCount() ? m_entities[static_cast<std::size_t>(i)] : nullptr;
    }
    int GetCount() const noexcept { return static_cast<int>(m_entities.GetCount()); }

    /// The database of a component type, created and filled on the first call (which walks all entities). It lives as
    /// long as the array.
    CEntityComponentDatabase* CreateComponentDatabase(std::int32_t typeId);
    /// The database if it exists, else null.
    CEntityComponentDatabase* FindComponentDatabase(std::int32_t typeId) const noexcept;
    /// Some component of a type, or null. Creates the type's database.
    CEntityComponent* FindFirstComponentByType(std::int32_t typeId);

    /// Checks order and databases. For tests; walks everything.
    bool Validate() const;

private:
    friend class CEntity;

    // A reference for as long as listeners run. None for an array that nobody references: releasing it would delete it.
    RefPtr<CEntityArray> i_Keep() noexcept { return GetReferenceCount() > 0 ? this : nullptr; }
    // Both false when a listener destroyed the array, which has then released the entity.
    bool i_Remove(CEntity* entity); // what Remove does before it releases the reference
    bool i_RemoveAndRelease(CEntity* entity);
    // Enters the components that are not listed yet, or withdraws them. False when a listener destroyed the array.
    bool i_ScanComponents(CEntity* entity, bool add);
    // Whether anybody listens to the array or to one of its databases.
    bool i_IsHeard() const noexcept;

    struct DatabaseEntry
    {
        std::int32_t typeId;
        std::unique_ptr<CEntityComponentDatabase> database;
    };

    CEventHandler m_events;
    std::vector<DatabaseEntry> m_componentDatabases; // sorted by type id
    CSortedPointerArray<CEntity> m_entities;
    bool m_isBeingDestroyed = false;
};
