#include "corvex/context.h"

const char* CContext::GetTypeString()
{
    return "CContext";
}
