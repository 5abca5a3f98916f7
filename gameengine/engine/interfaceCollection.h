#pragma once

#include "gameengine/engine/interfaceBase.h"
#include "gameengine/export.h"
#include "tamradeps/core/refPtr.h"

#include <array>
#include <cstdint>

class CInterfaceArrayManager;
class CInterfaceCVX;
class CInterfaceUpdateEvent;

/// The services of a scene: a table of 128 slots, indexed by interface type id.
///
/// Every entity references the collection it was created on, and the array manager in it references the entities: call
/// `Cleanup()` when the scene ends, or keep it in a `CScene`, which does.
class TAMRAGAMEENGINE_API CInterfaceCollection : public RefClass
{
public:
    static constexpr std::int32_t kSlotCount = 128;

    ~CInterfaceCollection() override;

    const char* GetTypeString() override;

    /// The interface in a slot; null when the slot is empty or there is no such slot.
    CInterfaceBase* GetInterface(std::int32_t typeId) const noexcept
    {
        return static_cast<std::uint32_t>(typeId) < kSlotCount ? m_slots[static_cast<std::size_t>(typeId)].Get()
                                                               : nullptr;
    }

    /// Stores an interface, by convention in the slot of its own `TYPEID()`, and references it; null empties the slot.
    /// Other numbers than 0 to 127 are ignored.
    void SetInterface(std::int32_t typeId, CInterfaceBase* interfaceObject);

    /// The scene's interfaces by class. An empty slot is reported and gives null.
    CInterfaceArrayManager* GetArrayManager() const;
    CInterfaceUpdateEvent* GetUpdateEvent() const;
    CInterfaceCVX* GetCVX() const;

    /// Calls `Cleanup()` on every interface, then releases them all.
    void Cleanup();

protected:
    /// As `GetInterface`, reporting an empty slot.
    CInterfaceBase* i_GetInterfaceSafe(std::int32_t typeId) const;

private:
    template <class Interface>
    Interface* i_GetAs() const;

    std::array<RefPtr<CInterfaceBase>, kSlotCount> m_slots;
};
