#include "gameengine/componentProbe.h"

#include "gameengine/engine/entityComponentTypeDatabase.h"

#include <algorithm>

TAMRA_COMPONENT_IMPLEMENT(ComponentProbe, CEntityComponentRepository);

namespace
{
ComponentProbe::Hook g_hook;
constexpr const char* kModes[] = {"Off", "On", "Auto", nullptr};
} // namespace

ComponentProbe::Scope::Scope(Hook hook)
{
    g_hook = std::move(hook);
    CEntityComponentTypeDatabase::Instance().Add("ComponentProbe", TYPEID(), &CreateComponent);
}

ComponentProbe::Scope::~Scope()
{
    g_hook = nullptr;
    auto& types = CEntityComponentTypeDatabase::Instance();
    types.Remove(types.FindByName("ComponentProbe"));
}

void ComponentProbe::i_Call(ComponentProbe& probe, Moment moment)
{
    if (g_hook)
        g_hook(probe, moment);
}

ComponentProbe::ComponentProbe(CEntity* entity) : CEntityComponent(TYPEID(), entity) {}

ComponentProbe::~ComponentProbe()
{
    i_Call(*this, Moment::Dying);
    i_Unregister(REPOSITORY(), this);
}

CEntityComponentProperty* ComponentProbe::GetProperty(int index, CEntityComponentProperty* out)
{
    switch (index)
    {
    case 0:
        // Not copied: the record may point into the component.
        out->SetInt("count", 0);
        out->data = &count;
        return out;
    case 1: out->SetFloat("ratio", ratio); return out;
    case 2: out->SetVector3("place", place[0], place[1], place[2]); return out;
    case 3: out->SetText("note", note.c_str()); return out;
    case 4: out->SetColor("tint", tint); return out;
    case 5: out->SetText("file", file.c_str(), CEntityComponentProperty::kFile); return out;
    case 6:
        out->SetInt("secret", secret);
        out->kind = CEntityComponentProperty::kOpaque;
        return out;
    case 7: out->SetChoice("mode", mode, kModes); return out;
    case 8:
        out->SetInt("strange", 1);
        out->kind = 9;
        return hasStrangeProperty ? out : nullptr;
    default: return nullptr;
    }
}

void ComponentProbe::SetProperty(int index, CEntityComponentProperty* in)
{
    switch (index)
    {
    case 0: count = in->GetInt(); break;
    case 1: ratio = in->GetFloat(); break;
    case 2: in->GetFloats(place); break;
    case 3: note = std::string(in->GetText()); break;
    case 4: in->GetFloats(tint); break;
    case 5: file = std::string(in->GetText()); break;
    case 7: mode = in->GetInt(); break;
    default: break;
    }
}

void ComponentProbe::FinalizeProperties()
{
    i_Call(*this, Moment::Finalized);
}

void ComponentProbe::SerializerSave(UDBGroup& group)
{
    i_Call(*this, Moment::Saving);
    for (int i = 0; i < 9; ++i)
        i_SerializeProperty(i, group);
}

void ComponentProbe::SerializerLoad(UDBGroup& group)
{
    i_Call(*this, Moment::Loading);
    for (int i = 0; i < 9; ++i)
        i_DeserializeProperty(i, group);
}

void ComponentProbe::i_OnEntityUnlockComponentList()
{
    i_Call(*this, Moment::Unlocked);
}
