#include "apps/sandbox/editorProperties.h"

#include "tamradeps/core/tools.h"

#include <array>
#include <charconv>
#include <cmath>
#include <cstring>
#include <utility>

namespace
{
using Property = CEntityComponentProperty;

std::string FormatNumber(float value)
{
    char text[64];
    return {text, std::to_chars(text, text + sizeof text, value == 0.0F ? 0.0F : value).ptr};
}

// All of the text must be the number.
template <class Number>
bool ParseNumber(std::string_view text, Number& number)
{
    text = Tools_StringTrim(text);
    const auto result = std::from_chars(text.data(), text.data() + text.size(), number);
    return result.ec == std::errc{} && result.ptr == text.data() + text.size();
}

bool ParseFloats(std::string_view text, std::size_t count, std::array<float, 4>& values)
{
    std::size_t found = 0;
    for (const std::string_view word : Tools_StringSplit(text, ' '))
    {
        if (word.empty())
            continue;
        if (found == count || !ParseNumber(word, values[found]) || !std::isfinite(values[found]))
            return false;
        ++found;
    }
    return found == count;
}

bool ParseChoice(std::string_view text, const Property& record, int& value)
{
    const int count = CountChoices(record);
    const std::string wanted = Tools_StringToLowercase(Tools_StringTrim(text));
    for (int i = 0; i < count; ++i)
    {
        if (Tools_StringToLowercase(record.choices[i]) == wanted)
        {
            value = i;
            return true;
        }
    }
    return ParseNumber(text, value) && value >= 0 && value < count;
}
} // namespace

int CountChoices(const Property& record)
{
    int count = 0;
    while (record.choices && record.choices[count])
        ++count;
    return count;
}

bool EditorProperty::IsFlag() const
{
    return record.kind == Property::kChoice && CountChoices(record) == 2 &&
           std::strcmp(record.choices[0], "Inactive") == 0 && std::strcmp(record.choices[1], "Active") == 0;
}

std::vector<EditorProperty> CollectProperties(const CEntity& entity)
{
    std::vector<EditorProperty> properties;
    for (int component = 0; component < entity.GetComponentCount(); ++component)
    {
        EditorProperty property;
        property.component = component;
        property.componentName = std::as_const(*entity.GetComponent(component)).GetTypeString();
        while (entity.GetComponent(component)->GetProperty(property.index, &property.record))
        {
            properties.push_back(property);
            ++property.index;
            property.record = {};
        }
    }
    return properties;
}

bool ReadProperty(const CEntity& entity, EditorProperty& property)
{
    CEntityComponent* component = entity.GetComponent(property.component);
    const std::string_view name = property.record.name;
    return component && std::as_const(*component).GetTypeString() == property.componentName &&
           component->GetProperty(property.index, &property.record) && property.record.name == name;
}

bool WriteProperty(CEntity& entity, const EditorProperty& property, Property& value)
{
    CEntityComponent* component = entity.GetComponent(property.component);
    if (!component || std::as_const(*component).GetTypeString() != property.componentName)
        return false;
    component->SetProperty(property.index, &value);
    component->FinalizeProperties();
    return true;
}

std::string FormatProperty(const Property& record)
{
    switch (record.kind)
    {
    case Property::kInt: return std::to_string(record.GetInt());
    case Property::kFloat: return FormatNumber(record.GetFloat());
    case Property::kVector3:
    case Property::kColor:
    {
        float values[4] = {};
        record.ReadFloats(values);
        std::string text = FormatNumber(values[0]);
        for (int i = 1; i < (record.kind == Property::kColor ? 4 : 3); ++i)
            text.append(" ").append(FormatNumber(values[i]));
        return text;
    }
    case Property::kText:
    case Property::kFile: return record.GetText();
    case Property::kChoice:
    {
        const int value = record.GetInt();
        return value >= 0 && value < CountChoices(record) ? record.choices[value] : std::to_string(value);
    }
    default: return "(not shown)";
    }
}

bool ParseProperty(const std::string& text, Property& record)
{
    std::array<float, 4> values{};
    int whole = 0;
    switch (record.kind)
    {
    case Property::kInt:
        if (!ParseNumber(text, whole))
            return false;
        record.SetInt(record.name, whole);
        return true;
    case Property::kFloat:
        if (!ParseFloats(text, 1, values))
            return false;
        record.SetFloat(record.name, values[0]);
        return true;
    case Property::kVector3:
        if (!ParseFloats(text, 3, values))
            return false;
        record.SetVector3(record.name, values[0], values[1], values[2]);
        return true;
    case Property::kColor:
        if (!ParseFloats(text, 4, values))
            return false;
        record.SetColor(record.name, values.data());
        return true;
    case Property::kText:
    case Property::kFile:
        if (!Tools_IsValidUtf8(text))
            return false;
        record.SetText(record.name, text.c_str(), static_cast<Property::Kind>(record.kind));
        return true;
    case Property::kChoice:
        if (!ParseChoice(text, record, whole))
            return false;
        record.SetChoice(record.name, whole, record.choices);
        return true;
    default: return false;
    }
}

std::optional<EditorProperty> TakeProperty(const CEntity& entity, std::string_view& text)
{
    const std::string lower = Tools_StringToLowercase(text);
    std::optional<EditorProperty> best;
    std::size_t bestLength = 0;
    for (EditorProperty& property : CollectProperties(entity))
    {
        const std::string name = Tools_StringToLowercase(property.record.name);
        const bool isWhole = lower.size() == name.size() || (lower.size() > name.size() && lower[name.size()] == ' ');
        if (!lower.starts_with(name) || !isWhole || (best && name.size() <= bestLength))
            continue;
        bestLength = name.size();
        best = property;
    }
    if (best)
        text.remove_prefix(std::min(bestLength + 1, text.size()));
    return best;
}
