#include "gameengine/engine/componentTransform.h"
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

TEST(VirtualSlots, StayWhereOtherModulesCallThem)
{
    EXPECT_EQ(SlotOf(static_cast<const char* (CEntityComponent::*)()>(&CEntityComponent::GetTypeString)), 2U);
    EXPECT_EQ(SlotOf(static_cast<const char* (CEntityComponent::*)() const>(&CEntityComponent::GetTypeString)), 3U);
    EXPECT_EQ(SlotOf(&CEntityComponent::GetProperty), 4U);
    EXPECT_EQ(SlotOf(&CEntityComponent::SetProperty), 5U);
    EXPECT_EQ(SlotOf(&CEntityComponent::FinalizeProperties), 6U);
    EXPECT_EQ(SlotOf(&CEntityComponent::SerializerSave), 7U);
    EXPECT_EQ(SlotOf(&CEntityComponent::SerializerLoad), 8U);
    EXPECT_EQ(SlotOf(&CEntityComponent::Execute), 9U);
    EXPECT_EQ(SlotOf(&CEntityComponent::Copy), 10U);
    EXPECT_EQ(SlotOf(&CEntityComponent::i_OnEntityUnlockComponentList), 11U);
    EXPECT_EQ(SlotOf(&ComponentTransform::SetTransform), 12U);
    EXPECT_EQ(SlotOf(&ComponentTransform::GetTransform), 13U);
    EXPECT_EQ(SlotOf(&CEntityComponentRepositoryBase::Find), 3U);
    EXPECT_EQ(SlotOf(&CEntityComponentRepositoryBase::Set), 4U);
    EXPECT_EQ(SlotOf(&CEntityComponentRepositoryBase::Remove), 5U);
    EXPECT_EQ(SlotOf(&CInterfaceBase::GetTypeString), 2U);
    EXPECT_EQ(SlotOf(&CInterfaceBase::Delete), 3U);
    EXPECT_EQ(SlotOf(&CInterfaceBase::GetTypeName), 4U);
    EXPECT_EQ(SlotOf(&CInterfaceBase::GetType), 5U);
    EXPECT_EQ(SlotOf(&CInterfaceBase::Cleanup), 6U);
    EXPECT_EQ(SlotOf(&CInterfaceBase::Execute), 7U);
    EXPECT_EQ(SlotOf(&CInterfaceArrayManager::AddEntity), 8U);
    EXPECT_EQ(SlotOf(&CInterfaceArrayManager::RemoveEntity), 9U);
    EXPECT_EQ(SlotOf(&CInterfaceArrayManager::ClearScene), 10U);
    EXPECT_EQ(SlotOf(&CInterfaceArrayManager::GetArray), 11U);
    EXPECT_EQ(SlotOf(&CInterfaceCVX::GetAuxRenderer), 8U);
    EXPECT_EQ(SlotOf(&CInterfaceCVX::RenderAuxToRenderQueue), 9U);
}
#endif
} // namespace
