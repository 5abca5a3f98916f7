#pragma once

#include "gameengine/export.h"
#include "tamradeps/core/eventHandler.h"
#include "tamradeps/core/pointerArray.h"
#include "tamradeps/core/refPtr.h"

#include <cstdint>
#include <memory>

class CEntityComponent;
class CEntityComponentPositionIndex;

/// Every component of one type in a scene, packed into an array that systems walk each frame.
///
///     for (int i = 0; i < lights->GetCount(); ++i)
///         Shade(*static_cast<ComponentLight*>(lights->Get_Unsafe(i)));
///
/// Adding and removing take constant time; removing moves the last component into the gap, so order is not kept. The
/// first 16 entries need no heap memory. A component leaves its databases before it dies.
class TAMRAGAMEENGINE_API CEntityComponentDatabase : public BaseObject
{
public:
    /// Events on `Events()`: the component ("CEntityComponent") and the database ("CEntityComponentDatabase").
    enum Event : std::int32_t
    {
        kAdded = 0,
        kRemoved = 1
    };

    CEntityComponentDatabase();
    /// Copies list the same components and start without listeners.
    CEntityComponentDatabase(const CEntityComponentDatabase& other);
    CEntityComponentDatabase& operator=(const CEntityComponentDatabase& other);
    ~CEntityComponentDatabase() override;

    const char* GetTypeString() override;

    /// Appends the component. Adding one twice lists it twice. False when a listener destroyed the database.
    bool Add(CEntityComponent* component);

    /// Removes the component's entry; of several, one. Nothing happens when it is not listed. False when a listener
    /// destroyed the database.
    bool Remove(CEntityComponent* component);

    /// The component at a position from 0 to `GetCount() - 1`, null outside.
    CEntityComponent* Get(unsigned int i) const noexcept
    {
        return i < m_components.GetCount() ? m_components[i] : nullptr;
    }
    /// As `Get` without the test.
    CEntityComponent* Get_Unsafe(unsigned int i) const noexcept { return m_components[i]; }
    int GetCount() const noexcept { return static_cast<int>(m_components.GetCount()); }

    /// The handler of the events above, made on the first call. It dies with the database.
    CEventHandler& Events();

    /// Checks the position index against the array. For tests; walks everything.
    bool Validate() const;

private:
    friend class CEntity;
    friend class CEntityArray;
    friend class CEntityComponent;

    // Removes every entry of a component that dies, or leaves its entity, while some database still lists it.
    static void i_RemoveFromAll(CEntityComponent* component);

    bool i_IsHeard() const noexcept { return m_events && !m_events->Empty(); }
    bool i_Lists(const CEntityComponent* component) const { return i_FindPosition(component) >= 0; }
    std::int64_t i_FindPosition(const CEntityComponent* component) const;
    void i_BuildIndex() const;
    void i_Link() noexcept;
    void i_CountEntries(int change) noexcept;

    CPointerArray<CEntityComponent, 16> m_components;
    // Each component remembers the position where it was listed last. The index is needed only for components in
    // several databases, and is made when the first such question comes.
    mutable std::unique_ptr<CEntityComponentPositionIndex> m_index;
    RefPtr<CEventHandler> m_events;

    CEntityComponentDatabase* m_previous = nullptr;
    CEntityComponentDatabase* m_next = nullptr;
};
