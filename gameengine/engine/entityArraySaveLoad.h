#pragma once

#include "gameengine/export.h"

#include <functional>

class CEntity;
class CInterfaceCollection;

/// A way to store a scene. Obtained by constructing a back end, or handed to the callback of
/// `CEntityArray_SaveLoad::Load`.
///
/// Back ends answer false where they could not do what was asked; the reason is in the log.
class TAMRAGAMEENGINE_API CEntityArray_SaveLoad_Base
{
public:
    CEntityArray_SaveLoad_Base() = default;
    CEntityArray_SaveLoad_Base(const CEntityArray_SaveLoad_Base&) = delete;
    CEntityArray_SaveLoad_Base& operator=(const CEntityArray_SaveLoad_Base&) = delete;
    virtual ~CEntityArray_SaveLoad_Base();

    /// Stores the scene's entities.
    virtual bool Save();
    /// Adds the stored entities whose position lies in the box to the scene. `min` and `max` are three floats each,
    /// bounds included; a null pointer leaves that side open.
    virtual bool Load(const float* min, const float* max);
    /// Makes the file an empty scene. What it held is gone.
    virtual bool CreateEmpty();
    /// Forgets which stored entity is which, and releases the references.
    virtual void ClearCache();
    /// Forgets one entity. What is stored of it stays.
    virtual void RemoveEntity(CEntity* entity);
    /// The entities that the back end knows as stored, in no particular order; null outside.
    virtual CEntity* Get(int i);
    virtual int GetEntityCount();
    virtual void IterateOverEntities(const std::function<void(CEntity*)>& visit);
    /// Whether loaded entities are added to the scene's array, as they are at first. Without it they are only kept by
    /// the back end (see `Get`).
    virtual void SetSceneAddition(bool enabled);
};

/// Saves and loads scenes by file name. The last three letters choose the back end, in any case: "mfs" is a file with
/// the whole scene (`CEntityArray_SaveLoad_Serialized`), "sdb" a database with a row for each entity
/// (`CEntityArray_SaveLoad_SqliteDB`). Other names do nothing.
///
/// Register the types first (`RegisterBuiltInComponents`): components of others are neither saved nor loaded, without a
/// word.
///
///     CEntityArray_SaveLoad::Save("town.sdb", scene.GetInterfaces());
///     CEntityArray_SaveLoad::Load("town.sdb", scene.GetInterfaces(), nullptr, nullptr);
///
/// Each call makes a back end and destroys it again, so an "sdb" file does not learn from one call to the next which
/// row is which entity: saving twice this way stores everything twice, and loading twice loads everything twice. To go
/// on with a file, keep a `CEntityArray_SaveLoad_SqliteDB`.
class TAMRAGAMEENGINE_API CEntityArray_SaveLoad
{
public:
    using Setup = std::function<void(CEntityArray_SaveLoad_Base&)>;
    using Visit = std::function<void(CEntity*)>;

    /// False when nothing was done or it failed.
    static bool Save(const char* file, CInterfaceCollection* scene);
    /// Bounds as in `CEntityArray_SaveLoad_Base::Load`. A file that is not there is logged, and not made.
    static bool Load(const char* file, CInterfaceCollection* scene, const float* min, const float* max);
    /// Hands the back end to `setup` before loading, and every loaded entity to `loaded` afterwards. Either may be
    /// empty.
    static bool Load(const char* file, CInterfaceCollection* scene, const Setup& setup, const float* min = nullptr,
                     const float* max = nullptr, const Visit& loaded = nullptr);
};
