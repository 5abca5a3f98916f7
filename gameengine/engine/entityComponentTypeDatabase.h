#pragma once

#include "gameengine/engine/entity.h"
#include "gameengine/export.h"
#include "tamradeps/core/refPtr.h"

#include <cstdint>
#include <string>
#include <vector>

class CEntityComponent;

/// The component types of the process: by name for files, by number for code, by position for editors.
///
///     auto& types = CEntityComponentTypeDatabase::Instance();
///     types.Add("ComponentHealth", ComponentHealth::TYPEID(), &ComponentHealth::CreateComponent);
///
/// Positions run from 0 to `GetCount() - 1` in order of addition until something is removed. Only registered types are
/// saved and loaded.
class TAMRAGAMEENGINE_API CEntityComponentTypeDatabase : public BaseObject
{
public:
    using Factory = CEntityComponent* (*)(CEntity*);

    /// The one database, made on the first call and kept until the process exits.
    static CEntityComponentTypeDatabase& Instance();

    CEntityComponentTypeDatabase(const CEntityComponentTypeDatabase&) = delete;
    CEntityComponentTypeDatabase& operator=(const CEntityComponentTypeDatabase&) = delete;

    const char* GetTypeString() override;

    /// Appends a record; the name is copied. A null name or factory is refused. Nothing keeps a name or an id from
    /// being added twice: the first one is found.
    void Add(const char* name, std::int32_t typeId, Factory factory);
    /// Removes the record at a position and deletes its prototype; the last record moves there.
    void Remove(int position);

    int GetCount() const noexcept { return static_cast<int>(m_entries.size()); }
    /// The record's name, valid until the database changes; null outside.
    const char* GetName(int position) const noexcept;
    /// The record's type id, -1 outside.
    std::int32_t GetTypeID(int position) const noexcept;

    /// Position of the first record of that name, compared byte by byte; -1 when there is none, or for null.
    int FindByName(const char* name) const noexcept;
    /// Position of the first record of that id; -1 when there is none. All transforms share 10000.
    int FindByType(std::int32_t typeId) const noexcept;

    /// A new component on the entity, whose list must be locked. Null outside the records.
    CEntityComponent* Create(int position, CEntity* entity);
    /// The type's prototype, made on the first call: an instance on a private entity that shows the type's properties.
    /// Owned by the database. Null outside the records.
    CEntityComponent* GetComponent(int position);

private:
    struct Entry
    {
        std::string name;
        std::int32_t typeId;
        Factory factory;
        CEntityComponent* prototype;
    };

    CEntityComponentTypeDatabase();
    ~CEntityComponentTypeDatabase() override;

    bool i_IsValid(int position) const noexcept { return position >= 0 && position < GetCount(); }

    RefPtr<CEntity> m_prototypeOwner;
    // Where a name was found last: components of one type come in runs.
    mutable std::int32_t m_lastFound = -1;
    std::vector<Entry> m_entries;
};

/// Registers every built-in component type that is saved: `ComponentTransformDirect`, `ComponentTransformParent`,
/// `ComponentEditorData`, `ComponentAlwaysVisible`, `ComponentCamera`, `ComponentLight`, `ComponentRenderSettings`,
/// `ComponentShadowCaster`, in this order. Names that are registered already are left alone, so calling it again is
/// harmless. `ComponentRuntimeData` is not among them: it is never saved, and loading makes one for each entity.
TAMRAGAMEENGINE_API void RegisterBuiltInComponents();
