#include "tamradeps/core/refClass.h"

RefClass::~RefClass() = default;

const char* RefClass::GetTypeString()
{
    return "RefClass";
}

void RefClass::Delete()
{
    delete this;
}
