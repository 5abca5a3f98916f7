#pragma once

#include "gameengine/engine/entityComponent.h"

#include <array>
#include <cstdint>
#include <memory>

/// Base of the payloads that subsystems keep with an entity. The entity's `ComponentRuntimeData` owns and deletes them.
class TAMRAGAMEENGINE_API RuntimeData_Base
{
public:
    RuntimeData_Base() noexcept = default;
    RuntimeData_Base(const RuntimeData_Base&) noexcept = default;
    RuntimeData_Base& operator=(const RuntimeData_Base&) noexcept = default;
    virtual ~RuntimeData_Base();
};

/// The renderer's bookkeeping for one entity: when it was seen last, its slot in a visibility structure, and payloads
/// of other subsystems. Every entity that is drawn has one; it has no properties and is never saved.
class TAMRAGAMEENGINE_API ComponentRuntimeData : public CEntityComponent
{
    TAMRA_COMPONENT(ComponentRuntimeData, CEntityComponentRepositoryFast, 11000);

public:
    static constexpr std::uint32_t kAlwaysVisible = 1; ///< Bit 0 of `flags`: drawn without visibility tests.
    /// Event on `GetVisibilityEvents()`: the component ("CEntityComponent") and an empty value.
    static constexpr std::int32_t kBecameVisible = 0;

    explicit ComponentRuntimeData(CEntity* entity);
    /// Copies have the flags, slot and frame, and neither payloads nor observers.
    ComponentRuntimeData(const ComponentRuntimeData& other);
    ComponentRuntimeData& operator=(const ComponentRuntimeData& other);
    /// Deletes the payloads first.
    ~ComponentRuntimeData() override;

    CEntityComponentProperty* GetProperty(int index, CEntityComponentProperty* out) override;
    void SetProperty(int index, CEntityComponentProperty* in) override;

    /// Marks the entity as drawn in the active renderer's current frame, and raises `kBecameVisible` when it is the
    /// first time in that frame. Does nothing without an active renderer.
    void UpdateLastVisibleFrame();
    /// True in the frame in which the entity was drawn last and in the next one: what the last frame's culling found
    /// counts as visible. False without an active renderer.
    bool WasVisibleThisFrame() const;

    /// Low 32 bits of the frame number in which the entity was drawn last.
    std::uint32_t GetLastVisibleFrame() const noexcept { return m_lastVisibleFrame; }

    /// Observers of visibility. This is not `Events()`, the handler that every component has.
    CEventHandler& GetVisibilityEvents() noexcept { return m_visibilityEvents; }

    std::uint32_t flags = 0;
    /// Payloads, owned. Which subsystem uses which slot is theirs to say.
    std::unique_ptr<RuntimeData_Base> primaryData;
    /// Slot number assigned by a visibility structure, -1 when there is none.
    std::int32_t index = -1;
    std::unique_ptr<RuntimeData_Base> secondaryData;
    std::array<std::unique_ptr<RuntimeData_Base>, 4> extraData;

private:
    TAMRA_COLD void i_DeletePayloads() noexcept;

    std::uint32_t m_lastVisibleFrame = 0;
    CEventHandler m_visibilityEvents;
};
