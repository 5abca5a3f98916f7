#pragma once

#include "tamradeps/export.h"

#include <cstdint>
#include <string_view>
#include <utility>

/// A small value that travels with an event or a named command: empty, int, float, double, bool, text, or a pointer to
/// an object together with the name of its class.
///
/// Asking for another kind, or for an object under another class name, gives 0, false, "" or null; a value is never
/// reinterpreted. Texts are copied into the variant, objects are not owned.
///
///     variant v(component, "CEntityComponent");
///     auto* c = v.GetObjectPointer<CEntityComponent>("CEntityComponent");   // the component
///     v.GetObjectPointer<CEntity>("CEntity");                               // null
class TAMRADEPS_API variant
{
public:
    /// What is held.
    enum class Kind : std::uint8_t
    {
        Empty,
        Int,
        Float,
        Double,
        Bool,
        Text,
        Object
    };

    variant() noexcept : m_value{.object = nullptr} {}
    explicit variant(std::int32_t value) noexcept : m_kind(Kind::Int), m_value{.integer = value} {}
    explicit variant(float value) noexcept : m_kind(Kind::Float), m_value{.real = value} {}
    explicit variant(double value) noexcept : m_kind(Kind::Double), m_value{.number = value} {}
    explicit variant(bool value) noexcept : m_kind(Kind::Bool), m_value{.boolean = value} {}
    /// Copies the text up to its terminating zero; a null pointer is the empty text.
    explicit variant(const char* text);
    /// `className` must be a literal or live as long as the variant and its copies.
    variant(void* object, const char* className) noexcept
        : m_kind(Kind::Object),
          m_tag(className),
          m_value{.object = object}
    {
    }
    variant(const void* object, const char* className) noexcept : variant(const_cast<void*>(object), className) {}

    variant(const variant& other);
    variant(variant&& other) noexcept
        : m_kind(std::exchange(other.m_kind, Kind::Empty)),
          m_tag(other.m_tag),
          m_value(other.m_value)
    {
    }
    variant& operator=(variant other) noexcept
    {
        std::swap(m_kind, other.m_kind);
        std::swap(m_tag, other.m_tag);
        std::swap(m_value, other.m_value);
        return *this;
    }
    ~variant()
    {
        if (m_kind == Kind::Text)
            i_FreeText();
    }

    Kind GetKind() const noexcept { return m_kind; }
    bool IsEmpty() const noexcept { return m_kind == Kind::Empty; }

    std::int32_t GetInt() const noexcept { return m_kind == Kind::Int ? m_value.integer : 0; }
    float GetFloat() const noexcept { return m_kind == Kind::Float ? m_value.real : 0.0F; }
    double GetDouble() const noexcept { return m_kind == Kind::Double ? m_value.number : 0.0; }
    bool GetBool() const noexcept { return m_kind == Kind::Bool && m_value.boolean; }
    /// The text, valid until this variant changes.
    const char* GetText() const noexcept { return m_kind == Kind::Text ? m_value.text : ""; }

    /// The class name given with the object, null for every other kind.
    const char* GetObjectClassName() const noexcept { return m_kind == Kind::Object ? m_tag : nullptr; }

    /// The object when it was stored under just this class name, else null.
    template <class T>
    T* GetObjectPointer(const char* className) const noexcept
    {
        return static_cast<T*>(i_GetObjectPointer(className));
    }

private:
    union Value
    {
        std::int32_t integer;
        float real;
        double number;
        bool boolean;
        char* text;
        void* object;
    };

    void* i_GetObjectPointer(const char* className) const noexcept
    {
        if (m_kind != Kind::Object)
            return nullptr;
        // The same literal usually has one address; across shared libraries it may have two.
        const bool same = m_tag == className || (m_tag && className && std::string_view(m_tag) == className);
        return same ? m_value.object : nullptr;
    }
    void i_FreeText() noexcept;

    Kind m_kind = Kind::Empty;
    const char* m_tag = nullptr;
    Value m_value;
};
