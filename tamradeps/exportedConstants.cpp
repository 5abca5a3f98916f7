// With mingw-w64's compiler a DLL has the constants of an exported class only where something takes their address, and
// who uses the DLL wants them there as soon as he binds one to a reference. So each public one stands here.

#include "tamradeps/io/fileSystem.h"
#include "tamradeps/sqlite/database.h"
#include "tamradeps/udb/udbGroup.h"
#include "tamradeps/udb/udbReadWriteAscii.h"
#include "tamradeps/udb/udbReadWriteBinary.h"

namespace
{
[[gnu::used]] const void* const kExportedConstants[] = {
    &CFileSystem::kDefaultMaxSize, &sqlite::database::kDefaultBusyTimeout,
    &UDBGroup::kMaxKeyLength,      &UDBGroup::kMaxStringLength,
    &UDBGroup::kMaxWalk,           &UDBReadWriteAscii::kMaxDepth,
    &UDBReadWriteBinary::kMaxDepth};
} // namespace
