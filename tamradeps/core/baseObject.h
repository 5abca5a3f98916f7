#pragma once

#include "tamradeps/export.h"

/// Root of every polymorphic class: a virtual destructor and the class's name.
class TAMRADEPS_API BaseObject
{
public:
    BaseObject() noexcept = default;
    BaseObject(const BaseObject&) noexcept = default;
    BaseObject& operator=(const BaseObject&) noexcept = default;
    virtual ~BaseObject() = default;

    /// The name of the most derived class, a text that lives as long as the program.
    virtual const char* GetTypeString();
};
