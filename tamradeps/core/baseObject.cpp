#include "tamradeps/core/baseObject.h"

const char* BaseObject::GetTypeString()
{
    return "BaseObject";
}
