// What crosses the border between a program and the libraries, perhaps of another compiler: classes derived on this
// side and called on that one, names of types, texts, callables, and memory that one side takes and the other gives
// back.

#include "gameengine/engine/componentLight.h"
#include "gameengine/engine/entityArraySaveLoad.h"
#include "gameengine/engine/entityComponentTypeDatabase.h"
#include "gameengine/engine/interfaceUpdateEvent.h"
#include "gameengine/engine/scene.h"

#include <cstdio>
#include <string>

namespace
{
int g_failures = 0;

void Check(bool isRight, const char* what)
{
    if (!isRight)
    {
        std::printf("wrong: %s\n", what);
        ++g_failures;
    }
}
} // namespace

class ComponentTicket : public CEntityComponent
{
    TAMRA_COMPONENT(ComponentTicket, CEntityComponentRepository, 10900);

public:
    explicit ComponentTicket(CEntity* entity) : CEntityComponent(TYPEID(), entity) {}
    ~ComponentTicket() override { i_Unregister(REPOSITORY(), this); }

    CEntityComponentProperty* GetProperty(int index, CEntityComponentProperty* out) override
    {
        if (index != 0)
            return nullptr;
        out->SetInt("Number", m_number);
        return out;
    }
    void SetProperty(int index, CEntityComponentProperty* in) override
    {
        if (index == 0)
            m_number = in->GetInt();
    }
    void SerializerSave(UDBGroup& group) override { i_SerializeProperty(0, group); }
    void SerializerLoad(UDBGroup& group) override { i_DeserializeProperty(0, group); }
    void i_OnEntityUnlockComponentList() override { ++m_unlocked; }

    int m_number = 0;
    int m_unlocked = 0;
};

TAMRA_COMPONENT_IMPLEMENT(ComponentTicket, CEntityComponentRepository);

int main()
{
    RegisterBuiltInComponents();
    CEntityComponentTypeDatabase::Instance().Add("ComponentTicket", ComponentTicket::TYPEID(),
                                                 ComponentTicket::CreateComponent);
    const char* const file = "tickets.mfs";
    {
        CScene scene;
        const RefPtr<CEntity> entity(new CEntity(scene.GetInterfaces()));
        entity->LockComponentList();
        ComponentTicket::CreateComponent(entity.Get());
        ComponentLight::CreateComponent(entity.Get());
        entity->UnlockComponentList();
        auto* ticket = entity->Find<ComponentTicket>();
        Check(ticket && ticket->m_unlocked == 1, "a virtual function of ours is called");
        CEntityComponentProperty property;
        property.SetInt("Number", 4711);
        Check(ticket->SetPropertyTo("Number", property) && ticket->m_number == 4711, "a property is set by name");
        Check(dynamic_cast<ComponentLight*>(entity->Find<ComponentLight>()) != nullptr, "a class of theirs is known");
        scene.GetArray().Add(entity.Get());

        std::string heard;
        CEventSubscription subscription([&](const EventMessage& message)
                                        { heard += std::to_string(message.id) + " "; });
        subscription.Subscribe(scene.GetUpdateEvent().GetUpdate_EachFrame());
        scene.GetUpdateEvent().DoUpdate(0.0F);
        Check(heard == "0 ", "a callable of ours is called");
        Check(CEntityArray_SaveLoad::Save(file, scene.GetInterfaces()), "a scene is saved");
    }
    CScene scene;
    std::string visited;
    const auto visit = [&](CEntity* entity)
    {
        const auto* ticket = entity->Find<ComponentTicket>();
        visited += ticket ? std::to_string(ticket->m_number) : "none";
    };
    Check(CEntityArray_SaveLoad::Load(file, scene.GetInterfaces(), {}, nullptr, nullptr, visit), "a scene is loaded");
    Check(visited == "4711", "a component of ours is saved and loaded");
    Check(CEntity::GetLiveCount() > 0, "state is shared");
    std::printf("%s the border\n", g_failures == 0 ? "All is well at" : "Something is lost at");
    return g_failures == 0 ? 0 : 1;
}
