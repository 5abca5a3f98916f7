// Any bytes are survived as a scene file, with the checksum that they have and with the right one. What loads is the
// same scene after saving and loading it again.

#include "fuzz/check.h"
#include "gameengine/engine/entityArraySaveLoadSerialized.h"
#include "gameengine/engine/entityComponentTypeDatabase.h"
#include "gameengine/engine/scene.h"
#include "tamradeps/core/assertion.h"
#include "tamradeps/core/crc64.h"
#include "tamradeps/core/log.h"

#include <cstring>
#include <vector>

namespace
{
using Bytes = std::vector<std::byte>;

constexpr std::size_t kHeaderSize = 24;

// What the scene in the bytes is after saving it, empty for bytes that are refused.
Bytes LoadAndSave(const Bytes& content)
{
    const CScene scene;
    CEntityArray_SaveLoad_Serialized store("fuzz.mfs", scene.GetInterfaces());
    if (!store.LoadBytes(content, nullptr, nullptr))
    {
        Check(scene.GetArray().GetCount() == 0 && store.GetEntityCount() == 0);
        return {};
    }
    Check(scene.GetArray().Validate() && scene.GetArray().GetCount() == store.GetEntityCount());
    Bytes saved;
    Check(store.SaveBytes(saved));
    return saved;
}

void Run(const Bytes& content)
{
    const Bytes saved = LoadAndSave(content);
    if (saved.empty())
        return;
    // Every cycle turns the order of the components round.
    const Bytes turned = LoadAndSave(saved);
    Check(turned.size() == saved.size() && LoadAndSave(turned) == saved);
}
} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    static const bool prepared = []
    {
        RegisterBuiltInComponents();
        tamra::log::SetStandardErrorEnabled(false);
        SetAssertionSink([](void*, const char*, int) {}, nullptr);
        return true;
    }();
    Check(prepared);
    const auto* bytes = reinterpret_cast<const std::byte*>(data);
    Bytes content(bytes, bytes + size);
    Run(content);
    if (size < kHeaderSize)
        return 0;
    const std::uint32_t version = 1;
    const std::uint64_t checksum = HashCRC64Data(&content[0] + kHeaderSize, size - kHeaderSize);
    std::memcpy(&content[0], "TAMRAMFS", 8);
    std::memcpy(&content[8], &version, sizeof version);
    std::memcpy(&content[16], &checksum, sizeof checksum);
    Run(content);
    return 0;
}
