#include "gameengine/engine/interfaceBase.h"

const char* CInterfaceBase::GetTypeString()
{
    return "CInterfaceBase";
}

const char* CInterfaceBase::GetTypeName() const
{
    return "CInterfaceBase";
}

std::int32_t CInterfaceBase::GetType() const
{
    return TYPEID();
}

void CInterfaceBase::Cleanup() {}

bool CInterfaceBase::Execute(const CHashFixedString&, variant&, variant&, variant&, variant&, variant&, variant&,
                             variant&, variant&)
{
    return false;
}
