#pragma once

#include "tamradeps/core/baseObject.h"

#include <cstdint>

/// Base of everything that is shared by counted references.
///
/// The count starts at 0: a new object belongs to nobody until its first `_AddRef`. Hold objects through `RefPtr`,
/// which calls both functions in the right order:
///
///     RefPtr<CEntity> entity = new CEntity(scene);   // count 1
///     array->Add(entity.Get());                      // count 2
///     entity = nullptr;                              // count 1: the array keeps it alive
///
/// The count is not atomic; one thread owns an object and all references to it.
class TAMRADEPS_API RefClass : public BaseObject
{
public:
    RefClass() noexcept = default;
    /// A copy is a new object that nobody references yet.
    RefClass(const RefClass& other) noexcept : BaseObject(other) {}
    RefClass& operator=(const RefClass&) noexcept { return *this; }
    ~RefClass() override = default;

    const char* GetTypeString() override;

    /// Called once, when the last reference is released. Deletes the object unless overridden.
    virtual void Delete();

    void _AddRef() noexcept { ++m_references; }

    /// Releases one reference; the last one calls `Delete()`, after which the pointer is dead.
    void _RemoveRef()
    {
        if (--m_references == 0)
        {
            // What the destructor calls may take and release references on the dying object; the bias keeps
            // that from deleting it a second time.
            m_references = kDying;
            Delete();
        }
    }

    /// Takes an `_AddRef` back without deleting: what belonged to nobody before belongs to nobody again.
    void _UndoAddRef() noexcept { --m_references; }

    std::int32_t GetReferenceCount() const noexcept { return m_references; }

private:
    static constexpr std::int32_t kDying = 1 << 30;

    std::int32_t m_references = 0;
};
