#include "tamradeps/core/crc64.h"

#include <lzma.h>

std::uint64_t HashCRC64Data(const void* data, std::size_t size, std::uint64_t seed)
{
    // lzma takes the result of the call before, which is the inverse of the register.
    return lzma_crc64(static_cast<const std::uint8_t*>(data), size, ~seed);
}
