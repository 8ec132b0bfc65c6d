#include "new_format/xyz1.h"

#include <cstddef>
#include <vector>

#include "convert/video/uyvy.h"

namespace kvx_test {

long RowBytesXyz1(long width) {
    return (2 * width + 63) / 64 * 64;
}

long ConvertXyz1(const char* src, int srcRowBytes, int dstPixelFormat, char* dst, int dstRowBytes,
                 int width, int height, KVX::Converter::Video::ColourSpace colourSpace,
                 KVX::Converter::Video::ConversionMode mode) {
    const size_t size = static_cast<size_t>(srcRowBytes) * static_cast<size_t>(height);
    // Vector code finishes its last step after the frame.
    constexpr size_t kSlack = 512;
    std::vector<char> swapped(size + kSlack);
    for (size_t i = 0; i + 1 < size; i += 2) {
        swapped[i] = src[i + 1];
        swapped[i + 1] = src[i];
    }
    return KVX::Converter::Video::uyvy::ConvertTo(swapped.data(), srcRowBytes, dstPixelFormat, dst,
                                                  dstRowBytes, width, height, colourSpace, mode);
}

}  // namespace kvx_test
