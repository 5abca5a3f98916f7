// Uses the base library alone, as it is installed alone.

#include "tamradeps/math/matrix.h"
#include "tamradeps/udb/udbGroup.h"
#include "tamradeps/udb/udbReadWriteAscii.h"

#include <cstdio>

int main()
{
    CMatrix matrix;
    matrix.SetTranslation({1, 2, 3});
    UDBDatabase database;
    UDBGroup* group = database.AllocateGroup();
    group->AddNumber("height", static_cast<double>(matrix.Translation().z));
    std::string text;
    const bool isWritten = UDBReadWriteAscii().Write(*group, text);
    std::printf("The base library alone: %s", text.c_str());
    return isWritten && text == "udb 1\nheight 3\n" ? 0 : 1;
}
