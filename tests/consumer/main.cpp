#include "tamradeps/core/crc64.h"
#include "tamradeps/math/matrix.h"
#include "tamraengine/renderer/renderer.h"

#include <cstdint>
#include <cstdio>
#include <cstring>

int main()
{
    const char* text = "123456789";
    const std::uint64_t hash = HashCRC64Data(text, std::strlen(text));
    std::printf("CRC-64 of %s is %016llX\n", text, static_cast<unsigned long long>(hash));

    renderer::CRenderer clock;
    clock.BeginFrame(1.0F / 60.0F);
    CMatrix matrix;
    matrix.SetTranslation({1.0F, 2.0F, 3.0F});
    const CVector3 moved = matrix.TransformPoint({1.0F, 1.0F, 1.0F});
    std::printf("Frame %llu: (%g, %g, %g)\n", static_cast<unsigned long long>(clock.GetFrameNumber()),
                static_cast<double>(moved.x), static_cast<double>(moved.y), static_cast<double>(moved.z));

    return hash == 0x995DC9BBDF1939FAULL && clock.GetFrameNumber() == 1 && moved == CVector3{2.0F, 3.0F, 4.0F} ? 0 : 1;
}
