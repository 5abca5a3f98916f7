#include "gameengine/engine/componentTransform.h"
#include "gameengine/engine/entityArray.h"
#include "gameengine/engine/interfaceArrayManager.h"
#include "gameengine/engine/interfaceCVX.h"

#include <cstring>

#include <gtest/gtest.h>

// Modules built apart call these classes through their tables of virtual functions: a function that moves breaks them.

namespace
{
#if defined(__GNUC__) && defined(__x86_64__)
// A pointer to a virtual member function begins with 1 + 8 * its place in the table. The destructor has the two places
// 0 and 1, so the place of any other function is its number when the destructor is counted as 1.
template <class Member>
std::size_t SlotOf(Member member)
{
    std::size_t word = 0;
    static_assert(sizeof(member) >= sizeof(word));
    std::memcpy(&word, &member, sizeof(word));
    return word % 8 == 1 ? word / 8 : 0;
}
#define SKIP_WITHOUT_ITANIUM_TABLES()
#else
template <class Member>
std::size_t SlotOf(Member)
{
    return 0;
}
#define SKIP_WITHOUT_ITANIUM_TABLES() GTEST_SKIP() << "member pointers of this compiler do not tell"
#endif

TEST(VirtualSlots, StayWhereOtherModulesCallThem)
{
    SKIP_WITHOUT_ITANIUM_TABLES();
    using Name = const char* (CEntityComponent::*)();
    using ConstName = const char* (CEntityComponent::*)() const;
    const struct
    {
        const char* function;
        std::size_t slot;
        std::size_t expected;
    } table[] = {
        {"CEntityComponent::GetTypeString", SlotOf(static_cast<Name>(&CEntityComponent::GetTypeString)), 2},
        {"CEntityComponent::GetTypeString const", SlotOf(static_cast<ConstName>(&CEntityComponent::GetTypeString)), 3},
        {"CEntityComponent::GetProperty", SlotOf(&CEntityComponent::GetProperty), 4},
        {"CEntityComponent::SetProperty", SlotOf(&CEntityComponent::SetProperty), 5},
        {"CEntityComponent::FinalizeProperties", SlotOf(&CEntityComponent::FinalizeProperties), 6},
        {"CEntityComponent::SerializerSave", SlotOf(&CEntityComponent::SerializerSave), 7},
        {"CEntityComponent::SerializerLoad", SlotOf(&CEntityComponent::SerializerLoad), 8},
        {"CEntityComponent::Execute", SlotOf(&CEntityComponent::Execute), 9},
        {"CEntityComponent::Copy", SlotOf(&CEntityComponent::Copy), 10},
        {"CEntityComponent::i_OnEntityUnlock", SlotOf(&CEntityComponent::i_OnEntityUnlockComponentList), 11},
        {"ComponentTransform::SetTransform", SlotOf(&ComponentTransform::SetTransform), 12},
        {"ComponentTransform::GetTransform", SlotOf(&ComponentTransform::GetTransform), 13},
        {"CEntityComponentRepositoryBase::Find", SlotOf(&CEntityComponentRepositoryBase::Find), 3},
        {"CEntityComponentRepositoryBase::Set", SlotOf(&CEntityComponentRepositoryBase::Set), 4},
        {"CEntityComponentRepositoryBase::Remove", SlotOf(&CEntityComponentRepositoryBase::Remove), 5},
        {"CEntity::GetTypeString", SlotOf(&CEntity::GetTypeString), 2},
        {"CEntity::Delete", SlotOf(&CEntity::Delete), 3},
        {"CEntityArray::GetTypeString", SlotOf(&CEntityArray::GetTypeString), 2},
        {"CEntityArray::Delete", SlotOf(&CEntityArray::Delete), 3},
        {"CInterfaceBase::GetTypeString", SlotOf(&CInterfaceBase::GetTypeString), 2},
        {"CInterfaceBase::Delete", SlotOf(&CInterfaceBase::Delete), 3},
        {"CInterfaceBase::GetTypeName", SlotOf(&CInterfaceBase::GetTypeName), 4},
        {"CInterfaceBase::GetType", SlotOf(&CInterfaceBase::GetType), 5},
        {"CInterfaceBase::Cleanup", SlotOf(&CInterfaceBase::Cleanup), 6},
        {"CInterfaceBase::Execute", SlotOf(&CInterfaceBase::Execute), 7},
        {"CInterfaceArrayManager::AddEntity", SlotOf(&CInterfaceArrayManager::AddEntity), 8},
        {"CInterfaceArrayManager::RemoveEntity", SlotOf(&CInterfaceArrayManager::RemoveEntity), 9},
        {"CInterfaceArrayManager::ClearScene", SlotOf(&CInterfaceArrayManager::ClearScene), 10},
        {"CInterfaceArrayManager::GetArray", SlotOf(&CInterfaceArrayManager::GetArray), 11},
        {"CInterfaceCVX::GetAuxRenderer", SlotOf(&CInterfaceCVX::GetAuxRenderer), 8},
        {"CInterfaceCVX::RenderAuxToRenderQueue", SlotOf(&CInterfaceCVX::RenderAuxToRenderQueue), 9},
    };
    for (const auto& row : table)
        EXPECT_EQ(row.slot, row.expected) << row.function;
}
} // namespace
