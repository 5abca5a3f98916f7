#include "gameengine/engine/componentEditorData.h"

TAMRA_COMPONENT_IMPLEMENT(ComponentEditorData, CEntityComponentRepository);

ComponentEditorData::ComponentEditorData(CEntity* entity) : CEntityComponent(TYPEID(), entity) {}

ComponentEditorData::~ComponentEditorData()
{
    i_Unregister(REPOSITORY(), this);
}

CEntityComponentProperty* ComponentEditorData::GetProperty(int index, CEntityComponentProperty* out)
{
    if (index != 0)
        return nullptr;
    out->SetText("Editor Name", m_data.c_str());
    return out;
}

void ComponentEditorData::SetProperty(int index, CEntityComponentProperty* in)
{
    if (index == 0 && (in->kind == CEntityComponentProperty::kText || in->kind == CEntityComponentProperty::kFile))
        SetData(in->GetText());
}

void ComponentEditorData::SerializerSave(UDBGroup& group)
{
    i_SerializeProperty(0, group);
}

void ComponentEditorData::SerializerLoad(UDBGroup& group)
{
    i_DeserializeProperty(0, group);
    FinalizeProperties();
}

void ComponentEditorData::Copy(CEntityComponent* source)
{
    const auto* other = dynamic_cast<const ComponentEditorData*>(source);
    if (!other)
        return;
    CEntityComponent::Copy(source);
    m_data = other->m_data;
}

void ComponentEditorData::SetData(const char* text)
{
    // By way of a copy: the text may be part of the name itself.
    m_data = std::string(text ? text : "");
}
