#pragma once

#include <concepts>
#include <cstddef>
#include <utility>

/// A counted reference to a `RefClass` object, null allowed. The size of one pointer.
///
/// Assigning takes the new reference, stores it, and releases the old one last, so `node = node->next` and assigning
/// an object to itself are safe.
template <class T>
class RefPtr
{
public:
    RefPtr() noexcept = default;
    RefPtr(std::nullptr_t) noexcept {}
    RefPtr(T* object) noexcept : m_object(object)
    {
        if (m_object)
            m_object->_AddRef();
    }
    RefPtr(const RefPtr& other) noexcept : RefPtr(other.m_object) {}
    RefPtr(RefPtr&& other) noexcept : m_object(std::exchange(other.m_object, nullptr)) {}
    template <class U>
    requires std::convertible_to<U*, T*> RefPtr(const RefPtr<U>& other)
    noexcept : RefPtr(other.Get()) {}
    ~RefPtr()
    {
        if (m_object)
            m_object->_RemoveRef();
    }

    RefPtr& operator=(RefPtr other) noexcept
    {
        std::swap(m_object, other.m_object);
        return *this;
    }

    /// The object, valid as long as some reference to it is held.
    T* Get() const noexcept { return m_object; }
    T* operator->() const noexcept { return m_object; }
    T& operator*() const noexcept { return *m_object; }
    explicit operator bool() const noexcept { return m_object != nullptr; }

    friend bool operator==(const RefPtr& a, const RefPtr& b) noexcept { return a.m_object == b.m_object; }
    friend bool operator==(const RefPtr& a, const T* b) noexcept { return a.m_object == b; }

private:
    T* m_object = nullptr;
};
