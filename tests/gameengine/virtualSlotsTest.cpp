#include "gameengine/engine/componentTransform.h"
#include "gameengine/engine/interfaceArrayManager.h"
#include "gameengine/engine/interfaceCVX.h"

#include <cstring>
#include <vector>

#include <gmock/gmock.h>

using testing::ElementsAre;

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

template <class... Members>
std::vector<std::size_t> SlotsOf(Members... members)
{
    return {SlotOf(members)...};
}

TEST(VirtualSlots, StayWhereOtherModulesCallThem)
{
    using Component = CEntityComponent;
    using Repository = CEntityComponentRepositoryBase;
    using Service = CInterfaceBase;
    using Manager = CInterfaceArrayManager;
    EXPECT_THAT(SlotsOf(static_cast<const char* (Component::*)()>(&Component::GetTypeString),
                        static_cast<const char* (Component::*)() const>(&Component::GetTypeString),
                        &Component::GetProperty, &Component::SetProperty, &Component::FinalizeProperties,
                        &Component::SerializerSave, &Component::SerializerLoad, &Component::Execute, &Component::Copy,
                        &Component::i_OnEntityUnlockComponentList, &ComponentTransform::SetTransform,
                        &ComponentTransform::GetTransform),
                ElementsAre(2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13));
    EXPECT_THAT(SlotsOf(&Repository::Find, &Repository::Set, &Repository::Remove), ElementsAre(3, 4, 5));
    EXPECT_THAT(SlotsOf(&Service::GetTypeString, &Service::Delete, &Service::GetTypeName, &Service::GetType,
                        &Service::Cleanup, &Service::Execute),
                ElementsAre(2, 3, 4, 5, 6, 7));
    EXPECT_THAT(SlotsOf(&Manager::AddEntity, &Manager::RemoveEntity, &Manager::ClearScene, &Manager::GetArray),
                ElementsAre(8, 9, 10, 11));
    EXPECT_THAT(SlotsOf(&CInterfaceCVX::GetAuxRenderer, &CInterfaceCVX::RenderAuxToRenderQueue), ElementsAre(8, 9));
}
#endif
} // namespace
