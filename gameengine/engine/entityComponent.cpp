#include "gameengine/engine/entityComponent.h"

#include "gameengine/engine/entity.h"
#include "gameengine/engine/entityComponentDatabase.h"
#include "tamradeps/core/assertion.h"
#include "tamradeps/core/tools.h"
#include "tamradeps/udb/udbGroup.h"

#include <algorithm>
#include <cstring>

namespace
{
constexpr const char* kModule = "gameengine/engine/entityComponent";

constexpr const char* kVectorKeys[] = {"x", "y", "z"};
constexpr const char* kColorKeys[] = {"r", "g", "b", "a"};

std::span<const char* const> GetMemberKeys(std::int32_t kind)
{
    return kind == CEntityComponentProperty::kVector3 ? std::span<const char* const>(kVectorKeys)
                                                      : std::span<const char* const>(kColorKeys);
}
} // namespace

CEntityComponent::CEntityComponent(const CEntityComponent& other) noexcept
    : BaseObject(other),
      m_type(other.m_type),
      m_entity(other.m_entity)
{
}

CEntityComponent& CEntityComponent::operator=(const CEntityComponent& other) noexcept
{
    m_type = other.m_type;
    if (m_inEntity == 0)
        m_entity = other.m_entity;
    return *this;
}

const char* CEntityComponent::GetTypeString()
{
    return "CEntityComponent";
}

const char* CEntityComponent::GetTypeString() const
{
    return "CEntityComponent";
}

void CEntityComponent::FinalizeProperties() {}

void CEntityComponent::SerializerSave(UDBGroup&) {}

void CEntityComponent::SerializerLoad(UDBGroup&) {}

bool CEntityComponent::Execute(const CHashFixedString&, variant&, variant&, variant&, variant&, variant&, variant&,
                               variant&, variant&)
{
    return false;
}

void CEntityComponent::Copy(CEntityComponent* source)
{
    m_type = source->m_type;
}

void CEntityComponent::i_OnEntityUnlockComponentList() {}

void CEntityComponent::i_LeaveDatabases()
{
    CEntityComponentDatabase::i_RemoveFromAll(this);
}

CEventHandler& CEntityComponent::Events()
{
    if (!m_events)
        m_events = new CEventHandler;
    return *m_events;
}

int CEntityComponent::FindProperty(const char* name)
{
    if (!name)
        return -1;
    CEntityComponentProperty scratch;
    for (int i = 0; GetProperty(i, &scratch); ++i)
    {
        if (std::strcmp(scratch.name, name) == 0)
            return i;
    }
    return -1;
}

bool CEntityComponent::SetPropertyTo(const char* name, const CEntityComponentProperty& property)
{
    CEntityComponentProperty copy(property);
    return SetPropertyTo(name, &copy);
}

bool CEntityComponent::SetPropertyTo(const char* name, CEntityComponentProperty* property)
{
    const int index = FindProperty(name);
    if (index < 0)
        return false;
    SetProperty(index, property);
    return true;
}

void CEntityComponent::SetPropertyTo(int index, const CEntityComponentProperty& property)
{
    CEntityComponentProperty copy(property);
    SetProperty(index, &copy);
}

void CEntityComponent::i_SerializeProperty(int index, UDBGroup& group)
{
    CEntityComponentProperty property;
    if (!GetProperty(index, &property))
        return;
    switch (property.kind)
    {
    case CEntityComponentProperty::kInt:
    case CEntityComponentProperty::kChoice: group.AddNumber(property.name, property.GetInt()); break;
    case CEntityComponentProperty::kFloat:
        group.AddNumber(property.name, static_cast<double>(property.GetFloat()));
        break;
    case CEntityComponentProperty::kText:
    case CEntityComponentProperty::kFile: group.AddString(property.name, property.GetText()); break;
    case CEntityComponentProperty::kVector3:
    case CEntityComponentProperty::kColor:
    {
        float values[4] = {};
        property.ReadFloats(values);
        UDBGroup* members = group.AddNewGroup(property.name);
        const float* value = values;
        for (const char* key : GetMemberKeys(property.kind))
            members->AddNumber(key, static_cast<double>(*value++));
        break;
    }
    case CEntityComponentProperty::kOpaque: break;
    default: AssertionFailed(kModule, 134); break;
    }
}

void CEntityComponent::i_DeserializeProperty(int index, UDBGroup& group)
{
    CEntityComponentProperty property;
    if (!GetProperty(index, &property))
        return;
    double number = 0.0;
    switch (property.kind)
    {
    case CEntityComponentProperty::kInt:
    case CEntityComponentProperty::kChoice:
        if (!group.FindNumber(property.name, &number))
            return;
        if (property.kind == CEntityComponentProperty::kInt)
            property.SetInt(property.name, Tools_ToInt32(number));
        else
            property.SetChoice(property.name, Tools_ToInt32(number), property.choices);
        break;
    case CEntityComponentProperty::kFloat:
        if (!group.FindNumber(property.name, &number))
            return;
        property.SetFloat(property.name, static_cast<float>(number));
        break;
    case CEntityComponentProperty::kText:
    case CEntityComponentProperty::kFile:
    {
        const char* text = group.GetString(property.name);
        if (!text)
            return;
        property.SetText(property.name, text, static_cast<CEntityComponentProperty::Kind>(property.kind));
        break;
    }
    case CEntityComponentProperty::kVector3:
    case CEntityComponentProperty::kColor:
    {
        const UDBGroup* members = group.GetGroup(property.name);
        if (!members)
            return;
        float values[4] = {};
        property.ReadFloats(values);
        float* value = values;
        for (const char* key : GetMemberKeys(property.kind))
        {
            if (members->FindNumber(key, &number))
                *value = static_cast<float>(number);
            ++value;
        }
        if (property.kind == CEntityComponentProperty::kVector3)
            property.SetVector3(property.name, values[0], values[1], values[2]);
        else
            property.SetColor(property.name, values);
        break;
    }
    default: return;
    }
    SetProperty(index, &property);
}
