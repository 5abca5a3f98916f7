// Any bytes are survived; what reads well is the same tree after writing it in either number mode, or as text.

#include "fuzz/udbFuzzing.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    UDBDatabase database;
    UDBGroup* root = database.AllocateGroup();
    const bool good = UDBReadWriteBinary().Read(data, size, *root);
    CheckMemory(database, size);
    if (good)
        CheckRoundTrips(*root);
    else
        Check(root->GetEntryCount() == 0);
    return 0;
}
