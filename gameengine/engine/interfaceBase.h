#pragma once

#include "gameengine/export.h"
#include "tamradeps/core/hashFixedString.h"
#include "tamradeps/core/refClass.h"
#include "tamradeps/core/variant.h"

#include <cstdint>

/// A service of a scene, kept in its `CInterfaceCollection` under its type id.
///
/// Slots in use: 1 array manager, 2 update event, 5 CVX; 3 is kept for the physics world and 4 for the network, of
/// whichever kind: a scene has one.
///
/// The order of the virtual functions is a contract with other modules; derived classes add theirs at the end.
class TAMRAGAMEENGINE_API CInterfaceBase : public RefClass
{
public:
    static constexpr std::int32_t TYPEID() noexcept { return 0; }

    const char* GetTypeString() override;

    /// The class's name.
    virtual const char* GetTypeName() const;
    /// The class's `TYPEID()`, its slot in the collection.
    virtual std::int32_t GetType() const;
    /// Lets go of the scene before the collection releases the interface.
    virtual void Cleanup();
    /// A named command with eight values that go in and out; true when it was handled.
    virtual bool Execute(const CHashFixedString& command, variant& a1, variant& a2, variant& a3, variant& a4,
                         variant& a5, variant& a6, variant& a7, variant& a8);
};
