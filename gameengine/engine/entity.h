#pragma once

#include "gameengine/export.h"
#include "tamradeps/core/eventHandler.h"
#include "tamradeps/core/hints.h"
#include "tamradeps/core/pointerArray.h"
#include "tamradeps/core/refPtr.h"

#include <cstddef>
#include <cstdint>

class CEntityArray;
class CEntityComponent;
class CInterfaceCollection;
class UDBGroup;

/// A thing in a scene: a counted bag of components with a small index that finds them.
///
/// The index is dense and recycled (the one released last is taken first); it is the key of every component repository
/// and does not survive saving and loading. Components are added and removed only between `LockComponentList()` and
/// `UnlockComponentList()`.
///
///     RefPtr<CEntity> entity = new CEntity(scene);
///     entity->LockComponentList();
///     ComponentTransformDirect::CreateComponent(entity.Get());
///     entity->UnlockComponentList();
///     array->Add(entity.Get());
class TAMRAGAMEENGINE_API CEntity : public RefClass
{
public:
    /// Events on `Events()`. The first two have the component ("CEntityComponent") and the entity ("CEntity"),
    /// `kDestroyed` the entity and the integer 0.
    enum Event : std::int32_t
    {
        kComponentAdded = 0,
        kComponentRemoved = 1,
        kDestroyed = 2
    };

    /// `interfaces`, the services of the scene, is required and referenced; a null one is reported.
    explicit CEntity(CInterfaceCollection* interfaces);
    CEntity(const CEntity&) = delete;
    CEntity& operator=(const CEntity&) = delete;
    /// Leaves its arrays, raises `kDestroyed`, deletes its components, releases its index.
    ~CEntity() override;

    const char* GetTypeString() override;

    static void* operator new(std::size_t size);
    static void operator delete(void* memory, std::size_t size) noexcept;

    /// The component at a position of the list, which is in order of construction; null outside.
    CEntityComponent* GetComponent(int i) const noexcept
    {
        return static_cast<std::uint32_t>(i) < m_components.GetCount() ? m_components[static_cast<std::uint32_t>(i)]
                                                                       : nullptr;
    }
    int GetComponentCount() const noexcept { return static_cast<int>(m_components.GetCount()); }
    /// Linear search. To find a component by type, ask the type's repository.
    bool HasComponent(const CEntityComponent* component) const noexcept;
    /// Takes the component out of the list, and out of databases that list it, without deleting it; it then belongs to
    /// the caller. Its entity pointer leads nowhere once the entity is gone.
    void RemoveComponent(CEntityComponent* component);

    /// The entity's component of a class, or null: one look-up in the class's repository.
    ///
    ///     if (auto* camera = entity->Find<ComponentCamera>())
    template <class Component>
    Component* Find() const
    {
        return static_cast<Component*>(Component::REPOSITORY().Find(static_cast<unsigned int>(m_index)));
    }

    /// Opens the list for changes: the arrays that hold the entity withdraw its components from their databases.
    /// Listeners that lock and unlock it meanwhile leave it locked.
    void LockComponentList();
    /// Closes it: the arrays enter the components again, and each component is told. Components that are listed
    /// already, because the list was not locked, stay listed once.
    void UnlockComponentList();
    bool IsComponentListLocked() const noexcept { return m_componentListLocked; }

    CEventHandler& Events() noexcept { return m_events; }

    /// The index. Valid to the end of the destructor, for listeners and dying components too.
    std::int32_t GetIndex() const noexcept { return m_index; }
    /// Number of entities created before this one in the process, modulo 2^32.
    std::uint32_t GetSerial() const noexcept { return m_serial; }
    /// True from the start of the destructor. Arrays then refuse the entity, and a listener must not enter it anywhere
    /// else that it stays.
    bool IsBeingDestroyed() const noexcept { return m_isBeingDestroyed; }

    CInterfaceCollection& GetInterfaces() const noexcept { return *m_interfaces; }
    CInterfaceCollection* GetInterfacesPtr() const noexcept { return m_interfaces.Get(); }

    /// Adds a sub-group "component" for each component of a registered type, last constructed first, with the type's
    /// name under "type". Other components are left out without a word.
    void SerializerSave(UDBGroup& group);
    /// Creates a component for each sub-group of a known type, then lets each load; the list must be locked. All of
    /// them exist before the first one loads. Once the entity has `kMaxStoredComponents`, further sub-groups are
    /// ignored with a line in the log.
    void SerializerLoad(UDBGroup& group);

    /// How many components loading gives an entity at most, those counted that it had before.
    static constexpr int kMaxStoredComponents = 64;

    /// Entities alive in the process.
    static std::int32_t GetLiveCount() noexcept;

protected:
    friend class CEntityArray;
    friend class CEntityComponent;

    void i_AddedComponent(CEntityComponent* component)
    {
        if (!m_componentListLocked) [[unlikely]]
            i_ReportUnlocked(131);
        if (!m_events.Empty()) [[unlikely]]
            i_RaiseComponentEvent(kComponentAdded, component);
    }
    void i_RemovedComponent(CEntityComponent* component)
    {
        if (!m_componentListLocked) [[unlikely]]
            i_ReportUnlocked(139);
        if (!m_events.Empty()) [[unlikely]]
            i_RaiseComponentEvent(kComponentRemoved, component);
    }
    void i_AddedToArray(CEntityArray* array);
    void i_RemovedFromArray(CEntityArray* array);
    void i_DestroyComponents();

private:
    TAMRA_COLD static void i_ReportUnlocked(int line);
    TAMRA_COLD void i_RaiseComponentEvent(std::int32_t id, CEntityComponent* component);
    // A reference for as long as listeners run, who may release theirs. None for an entity that nobody references yet:
    // releasing it would delete the entity.
    RefPtr<CEntity> i_Keep() noexcept { return GetReferenceCount() > 0 ? this : nullptr; }
    void i_LeaveArrays()
    {
        if (!m_arrays.IsEmpty())
            i_LeaveEachArray();
    }
    void i_LeaveEachArray();
    void i_ScanInEachArray(bool add);
    // Takes a dying component off the list, or off the list of those that are about to be deleted.
    void i_Forget(const CEntityComponent* component) noexcept;

    RefPtr<CInterfaceCollection> m_interfaces;
    CPointerArray<CEntityComponent, 8> m_components;
    CPointerArray<CEntityArray, 2> m_arrays; // sorted by address
    std::int32_t m_index;
    std::uint32_t m_serial;
    CEventHandler m_events;
    bool m_componentListLocked = false;
    bool m_isLocking = false;
    bool m_isBeingDestroyed = false;
    CPointerArray<CEntityComponent, 8>* m_dying = nullptr; // while the components are being deleted
};
