// Any text is survived; what reads well is the same tree after writing it as text, or as bytes in either number mode.

#include "fuzz/udbFuzzing.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    UDBDatabase database;
    UDBGroup* root = database.AllocateGroup();
    std::string error;
    const bool good = UDBReadWriteAscii().Read({reinterpret_cast<const char*>(data), size}, *root, &error);
    CheckMemory(database, size);
    Check(good == error.empty());
    if (good)
        CheckRoundTrips(*root);
    else
        Check(root->GetEntryCount() == 0);
    return 0;
}
