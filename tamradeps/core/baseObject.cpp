#include "tamradeps/core/baseObject.h"

BaseObject::~BaseObject() = default;

const char* BaseObject::GetTypeString()
{
    return "BaseObject";
}
