#include "gameengine/engine/interfaceCollection.h"

#include "gameengine/engine/interfaceArrayManager.h"
#include "gameengine/engine/interfaceCVX.h"
#include "gameengine/engine/interfaceUpdateEvent.h"
#include "tamradeps/core/assertion.h"

namespace
{
constexpr const char* kModule = "gameengine/engine/interfaceCollection";
} // namespace

CInterfaceCollection::~CInterfaceCollection() = default;

const char* CInterfaceCollection::GetTypeString()
{
    return "CInterfaceCollection";
}

void CInterfaceCollection::SetInterface(std::int32_t typeId, CInterfaceBase* interfaceObject)
{
    if (static_cast<std::uint32_t>(typeId) < kSlotCount)
        m_slots[static_cast<std::size_t>(typeId)] = interfaceObject;
}

CInterfaceBase* CInterfaceCollection::i_GetInterfaceSafe(std::int32_t typeId) const
{
    CInterfaceBase* const found = GetInterface(typeId);
    if (!found)
        AssertionFailed(kModule, 26);
    return found;
}

template <class Interface>
Interface* CInterfaceCollection::i_GetAs() const
{
    // The slot may hold something else: slots are a convention.
    return dynamic_cast<Interface*>(i_GetInterfaceSafe(Interface::TYPEID()));
}

CInterfaceArrayManager* CInterfaceCollection::GetArrayManager() const
{
    return i_GetAs<CInterfaceArrayManager>();
}

CInterfaceUpdateEvent* CInterfaceCollection::GetUpdateEvent() const
{
    return i_GetAs<CInterfaceUpdateEvent>();
}

CInterfaceCVX* CInterfaceCollection::GetCVX() const
{
    return i_GetAs<CInterfaceCVX>();
}

void CInterfaceCollection::Cleanup()
{
    const RefPtr<CInterfaceCollection> keep(GetReferenceCount() > 0 ? this : nullptr);
    for (auto& slot : m_slots)
    {
        if (const RefPtr<CInterfaceBase> held = slot)
            held->Cleanup();
    }
    for (auto& slot : m_slots)
        slot = nullptr;
}
