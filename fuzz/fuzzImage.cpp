// Any bytes are survived as a picture, in memory that their number bounds. What decodes is the same picture after
// encoding and decoding it again.

#include "fuzz/check.h"
#include "tamraengine/renderer/imageDecoder.h"
#include "tamraengine/renderer/imageEncoder.h"

#include <cstdint>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    std::string error;
    const auto image = renderer::DecodeImage({reinterpret_cast<const std::byte*>(data), size}, &error);
    Check(image.has_value() == error.empty());
    if (!image)
        return 0;
    Check(image->width >= 1 && image->height >= 1 && image->pixels.size() == image->GetPixelCount() * 4);
    Check(image->GetPixelCount() <= (std::size_t{1} << 20) + 1024 * size);
    constexpr std::size_t kSmall = 10000; // encoding is slow
    if (image->GetPixelCount() > kSmall)
        return 0;
    const auto again = renderer::DecodeImage(renderer::EncodePng(*image));
    Check(again == image);
    return 0;
}
