#pragma once

#include "gameengine/engine/entity.h"
#include "gameengine/engine/entityComponentProperty.h"
#include "gameengine/engine/entityComponentRepository.h"
#include "gameengine/export.h"
#include "tamradeps/core/eventHandler.h"
#include "tamradeps/core/hashFixedString.h"
#include "tamradeps/core/memoryDynamicPoolAllocator.h"
#include "tamradeps/core/refPtr.h"
#include "tamradeps/core/variant.h"

#include <cstddef>
#include <cstdint>

class UDBGroup;

/// A typed piece of data and behaviour that belongs to one entity.
///
/// An entity owns its components and deletes them with itself. They are made by their class's `CreateComponent`,
/// between the entity's `LockComponentList()` and `UnlockComponentList()`:
///
///     entity->LockComponentList();
///     auto* camera = static_cast<ComponentCamera*>(ComponentCamera::CreateComponent(entity));
///     entity->UnlockComponentList();
///
/// To write a component, derive from this class, put `TAMRA_COMPONENT` into the class and `TAMRA_COMPONENT_IMPLEMENT`
/// into its source file, and register it in the type database to have it saved.
///
/// The order of the virtual functions is a contract with other modules: add new ones at the end of derived classes
/// only.
class TAMRAGAMEENGINE_API CEntityComponent : public BaseObject
{
public:
    /// Leaves the entity's list and tells the entity, drops the listeners, leaves the component databases.
    ~CEntityComponent() override { i_Destructor(); }

    const char* GetTypeString() override;
    /// The class's name, under which it is registered and saved.
    virtual const char* GetTypeString() const;

    /// Fills `out` with property `index`, 0 being the first, and returns it; null past the last one.
    virtual CEntityComponentProperty* GetProperty(int index, CEntityComponentProperty* out) = 0;
    /// Applies the record's value to property `index`; no value changes past the last one, or when the record is of
    /// another kind than the property.
    virtual void SetProperty(int index, CEntityComponentProperty* in) = 0;
    /// Called by editors after a batch of property changes.
    virtual void FinalizeProperties();
    /// Writes what is to be saved into the group.
    virtual void SerializerSave(UDBGroup& group);
    /// Reads it back; what the group lacks stays as it is.
    virtual void SerializerLoad(UDBGroup& group);
    /// A named command with eight values that go in and out; true when it was handled.
    virtual bool Execute(const CHashFixedString& command, variant& a1, variant& a2, variant& a3, variant& a4,
                         variant& a5, variant& a6, variant& a7, variant& a8);
    /// Takes over the state of another component of the same class. The base copies the type id; overrides call it
    /// first.
    virtual void Copy(CEntityComponent* source);
    /// Called on every component after the entity's list of components was unlocked: all siblings are there.
    virtual void i_OnEntityUnlockComponentList();

    /// The owner, never null for a component made by `CreateComponent`.
    CEntity* GetEntity() const noexcept { return m_entity; }
    /// The class's `TYPEID()`.
    std::int32_t GetType() const noexcept { return m_type; }

    /// The component's event handler, made on the first call. It dies with the component.
    CEventHandler& Events();
    bool HasEvents() const noexcept { return static_cast<bool>(m_events); }

    bool Equals(const CEntityComponent* other) const noexcept { return this == other; }

    /// Position of the property of that name, compared byte by byte; -1 when there is none, or for null.
    int FindProperty(const char* name);
    /// Sets a property by name; false when there is none.
    bool SetPropertyTo(const char* name, const CEntityComponentProperty& property);
    bool SetPropertyTo(const char* name, CEntityComponentProperty* property);
    void SetPropertyTo(int index, const CEntityComponentProperty& property);

protected:
    /// Appends the component to the entity's list, which must be locked.
    CEntityComponent(std::int32_t type, CEntity* entity) : m_type(type), m_entity(entity) { i_Constructor(); }
    /// A copy has the type and the entity pointer but is in no list, repository or database, and nobody listens to it.
    CEntityComponent(const CEntityComponent& other) noexcept;
    /// Copies the type. A component that is in an entity's list stays there; a loose copy takes the entity pointer too.
    CEntityComponent& operator=(const CEntityComponent& other) noexcept;

    // What the constructor, the factory after it, and the destructor do; all of it stands here to become part of the
    // derived classes' own.
    void i_Constructor()
    {
        if (!m_entity)
            return;
        m_index = m_entity->GetIndex();
        m_inEntity = 1;
        m_isListed = 1;
        m_entity->m_components.Append(this);
    }
    void i_AfterConstructor()
    {
        if (m_entity)
            m_entity->i_AddedComponent(this);
    }
    void i_Destructor()
    {
        if (m_inEntity != 0)
        {
            if (m_isListed != 0)
                m_entity->i_Forget(this);
            m_entity->i_RemovedComponent(this);
        }
        i_DropListeners();
        if (m_databaseEntries != 0)
            i_LeaveDatabases();
    }

    /// False for a loose copy, and after `CEntity::RemoveComponent`: the entity may then be gone.
    bool i_IsInEntity() const noexcept { return m_inEntity != 0; }

    /// The entity's index when this component was made, -1 for a loose copy. Unlike the entity, always safe to ask.
    std::int32_t i_GetEntityIndex() const noexcept { return m_index; }

    /// Lets all listeners go. For destructors of classes whose listeners must not see them half destroyed.
    void i_DropListeners() noexcept
    {
        if (m_events)
            m_events->DropAll();
    }

    /// Raises an event with this component as the first value, if anybody may listen. False when a listener destroyed
    /// this component: return at once.
    bool i_RaiseEvent(std::int32_t id, const variant& second)
    {
        return !m_events || m_events->Raise(id, variant(this, "CEntityComponent"), second);
    }

    /// Writes property `index` into the group under its name, as its kind prescribes.
    void i_SerializeProperty(int index, UDBGroup& group);
    /// Reads it back and sets it; nothing happens when the group lacks it.
    void i_DeserializeProperty(int index, UDBGroup& group);

    /// Enters this component into a further repository, for classes that stand in more than one.
    template <class Repository>
    void i_Register(Repository& repository, void* self)
    {
        if (m_index >= 0)
            repository.Set(static_cast<unsigned int>(m_index), self);
    }

    /// Takes this component, and nobody else's, out of a repository.
    template <class Repository>
    void i_Unregister(Repository& repository, const void* self)
    {
        if (m_index >= 0)
            repository.RemoveIf(static_cast<unsigned int>(m_index), self);
    }

private:
    void i_LeaveDatabases();

    friend class CEntity;
    friend class CEntityComponentDatabase;
    template <class Component>
    friend CEntityComponent* i_CreateComponent(CEntity* entity);

    std::int32_t m_type;
    std::uint32_t m_databasePosition = 0; // where a component database listed it last
    CEntity* m_entity;
    RefPtr<CEventHandler> m_events;
    std::uint32_t m_databaseEntries = 0; // in all databases
    std::int32_t m_index = -1;           // the entity's index at construction, -1 for a loose copy
    // Flags as whole words: derived classes then start at a multiple of 16 bytes, and their matrices cross fewer cache
    // lines.
    std::uint32_t m_inEntity = 0; // not a loose copy, not removed
    std::uint32_t m_isListed = 0; // in the entity's list, or waiting there to be deleted
};

static_assert(sizeof(void*) != 8 || sizeof(CEntityComponent) == 48, "see the flags");

/// What every concrete component class provides: `TYPEID()`, `REPOSITORY()`, `CreateComponent`, its name, and memory
/// from a pool of its own. Stands in the class, `TAMRA_COMPONENT_IMPLEMENT` in its source file. The repository kind is
/// `CEntityComponentRepositoryFast` for types that almost every entity has, else `CEntityComponentRepository`.
#define TAMRA_COMPONENT(Class, RepositoryClass, typeId)                   \
public:                                                                   \
    static constexpr std::int32_t TYPEID() noexcept                       \
    {                                                                     \
        return typeId;                                                    \
    }                                                                     \
    static RepositoryClass& REPOSITORY()                                  \
    {                                                                     \
        return s_repository.Get();                                        \
    }                                                                     \
    static CEntityComponent* CreateComponent(CEntity* entity);            \
    const char* GetTypeString() override;                                 \
    const char* GetTypeString() const override;                           \
    static void* operator new(std::size_t size);                          \
    static void operator delete(void* memory, std::size_t size) noexcept; \
                                                                          \
private:                                                                  \
    template <class Component>                                            \
    friend CEntityComponent* i_CreateComponent(CEntity* entity);          \
    static CMemoryDynamicPoolAllocator& i_GetPool();                      \
    TAMRA_COMPONENT_REPOSITORY(RepositoryClass)

/// The repository alone, for base classes that have no pool.
#define TAMRA_COMPONENT_REPOSITORY(RepositoryClass)            \
    static TComponentRepository<RepositoryClass> s_repository; \
    static const bool s_isEntered

/// What belongs to `TAMRA_COMPONENT_REPOSITORY` in the source file.
#define TAMRA_COMPONENT_REPOSITORY_IMPLEMENT(Class, RepositoryClass)                                  \
    namespace                                                                                         \
    {                                                                                                 \
    TComponentRepository<RepositoryClass>::Places g_placesOf##Class;                                  \
    }                                                                                                 \
    constinit TComponentRepository<RepositoryClass> Class::s_repository(TYPEID(), g_placesOf##Class); \
    const bool Class::s_isEntered = s_repository.Enter()

/// What belongs to `TAMRA_COMPONENT` in the source file, in the namespace of the class: repository, factory, name,
/// pool.
#define TAMRA_COMPONENT_IMPLEMENT(Class, RepositoryClass)                             \
    TAMRA_COMPONENT_REPOSITORY_IMPLEMENT(Class, RepositoryClass);                     \
    CEntityComponent* Class::CreateComponent(CEntity* entity)                         \
    {                                                                                 \
        return i_CreateComponent<Class>(entity);                                      \
    }                                                                                 \
    const char* Class::GetTypeString()                                                \
    {                                                                                 \
        return #Class;                                                                \
    }                                                                                 \
    const char* Class::GetTypeString() const                                          \
    {                                                                                 \
        return #Class;                                                                \
    }                                                                                 \
    CMemoryDynamicPoolAllocator& Class::i_GetPool()                                   \
    {                                                                                 \
        static auto& pool = *new CMemoryDynamicPoolAllocator(sizeof(Class), 64);      \
        return pool;                                                                  \
    }                                                                                 \
    void* Class::operator new(std::size_t size)                                       \
    {                                                                                 \
        return size == sizeof(Class) ? i_GetPool().Allocate() : ::operator new(size); \
    }                                                                                 \
    void Class::operator delete(void* memory, std::size_t size) noexcept              \
    {                                                                                 \
        if (size == sizeof(Class))                                                    \
            i_GetPool().Deallocate(memory);                                           \
        else                                                                          \
            ::operator delete(memory);                                                \
    }                                                                                 \
    static_assert(true)

/// The pattern that every `CreateComponent` follows: construct, register under the entity's index, tell the entity.
/// Null for a null entity.
template <class Component>
CEntityComponent* i_CreateComponent(CEntity* entity)
{
    if (!entity)
        return nullptr;
    auto* component = new Component(entity);
    Component::REPOSITORY().Set(static_cast<unsigned int>(component->m_index), component);
    component->i_AfterConstructor();
    return component;
}
