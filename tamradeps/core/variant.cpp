#include "tamradeps/core/variant.h"

#include <cstring>

namespace
{
char* CopyText(const char* text)
{
    const std::size_t size = std::strlen(text) + 1;
    char* copy = new char[size];
    std::memcpy(copy, text, size);
    return copy;
}
} // namespace

variant::variant(const char* text) : m_kind(Kind::Text), m_value{.text = CopyText(text ? text : "")} {}

variant::variant(const variant& other) : m_kind(other.m_kind), m_tag(other.m_tag), m_value(other.m_value)
{
    if (m_kind == Kind::Text)
        m_value.text = CopyText(other.m_value.text);
}

void variant::i_FreeText() noexcept
{
    delete[] m_value.text;
}
