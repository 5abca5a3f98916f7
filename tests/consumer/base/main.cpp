// Uses the base library alone, as it is installed alone.

#include "tamradeps/core/hashFixedString.h"
#include "tamradeps/math/matrix.h"
#include "tamradeps/udb/udbReadWriteAscii.h"

#include <cstdio>

int main()
{
    CMatrix matrix;
    matrix.SetTranslation({1, 2, 3});
    UDBDatabase database;
    database.AllocateGroup();
    std::printf("The base library alone: %g\n", static_cast<double>(matrix.GetTranslation().z));
    return CHashFixedString("a") == CHashFixedString("a") && matrix.GetTranslation().z == 3.0F ? 0 : 1;
}
