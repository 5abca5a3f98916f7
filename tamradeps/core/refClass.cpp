#include "tamradeps/core/refClass.h"

const char* RefClass::GetTypeString()
{
    return "RefClass";
}

void RefClass::Delete()
{
    delete this;
}
