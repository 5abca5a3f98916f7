#include "gameengine/engine/entityComponentProperty.h"

#include <cstring>

CEntityComponentProperty::CEntityComponentProperty(const CEntityComponentProperty& other) noexcept
    : BaseObject(other),
      data(buffer)
{
    *this = other;
}

CEntityComponentProperty& CEntityComponentProperty::operator=(const CEntityComponentProperty& other) noexcept
{
    if (this == &other)
        return *this;
    name = other.name;
    kind = other.kind;
    choices = other.choices;
    std::memcpy(buffer, other.buffer, kBufferSize);
    data = other.data == other.buffer ? buffer : other.data;
    return *this;
}

const char* CEntityComponentProperty::GetTypeString()
{
    return "CEntityComponentProperty";
}

void CEntityComponentProperty::i_Begin(const char* propertyName, Kind newKind) noexcept
{
    name = propertyName;
    kind = newKind;
    data = buffer;
    choices = nullptr;
}

void CEntityComponentProperty::SetInt(const char* propertyName, std::int32_t value) noexcept
{
    i_Begin(propertyName, kInt);
    std::memcpy(buffer, &value, sizeof(value));
}

void CEntityComponentProperty::SetFloat(const char* propertyName, float value) noexcept
{
    i_Begin(propertyName, kFloat);
    std::memcpy(buffer, &value, sizeof(value));
}

void CEntityComponentProperty::SetVector3(const char* propertyName, float x, float y, float z) noexcept
{
    i_Begin(propertyName, kVector3);
    const float values[3] = {x, y, z};
    std::memcpy(buffer, values, sizeof(values));
}

void CEntityComponentProperty::SetColor(const char* propertyName, const float* rgba) noexcept
{
    i_Begin(propertyName, kColor);
    std::memcpy(buffer, rgba, 4 * sizeof(float));
}

void CEntityComponentProperty::SetChoice(const char* propertyName, std::int32_t value,
                                         const char* const* names) noexcept
{
    SetInt(propertyName, value);
    kind = kChoice;
    choices = names;
}

void CEntityComponentProperty::SetText(const char* propertyName, const char* text, Kind textKind) noexcept
{
    i_Begin(propertyName, textKind);
    const std::size_t size = std::strlen(text) + 1;
    if (size <= kBufferSize)
        std::memmove(buffer, text, size);
    else
        data = const_cast<char*>(text);
}

std::int32_t CEntityComponentProperty::GetInt() const noexcept
{
    std::int32_t value = 0;
    ReadInt(value);
    return value;
}

float CEntityComponentProperty::GetFloat() const noexcept
{
    float value = 0.0F;
    ReadFloat(value);
    return value;
}

bool CEntityComponentProperty::ReadInt(std::int32_t& out) const noexcept
{
    if (!data || (kind != kInt && kind != kChoice))
        return false;
    std::memcpy(&out, data, sizeof(out));
    return true;
}

bool CEntityComponentProperty::ReadFloat(float& out) const noexcept
{
    if (!data || kind != kFloat)
        return false;
    std::memcpy(&out, data, sizeof(out));
    return true;
}

bool CEntityComponentProperty::ReadVector3(float* xyz) const noexcept
{
    return kind == kVector3 && ReadFloats(xyz);
}

bool CEntityComponentProperty::ReadColor(float* rgba) const noexcept
{
    return kind == kColor && ReadFloats(rgba);
}

bool CEntityComponentProperty::ReadFloats(float* out) const noexcept
{
    if (!data || (kind != kVector3 && kind != kColor))
        return false;
    std::memcpy(out, data, (kind == kVector3 ? 3 : 4) * sizeof(float));
    return true;
}

const char* CEntityComponentProperty::GetText() const noexcept
{
    return data && (kind == kText || kind == kFile) ? static_cast<const char*>(data) : "";
}
