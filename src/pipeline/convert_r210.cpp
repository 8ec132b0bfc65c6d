#include "pipeline/convert_r210.h"

#include <cstddef>

#include "convert/video/pixel_conversion.h"
#include "convert/video/r210.h"
#include "premiere/pixel_formats.h"

namespace KVX {

namespace {

// The conversion takes aligned row bytes for granted when the first row is aligned. The file's rows
// are made so, but the host lays out its own as it likes: then each goes as a frame of one row.
void ConvertToRGB10(const char* src, int srcRowBytes, char* dst, int dstRowBytes, int width,
                    int height) {
    const bool isWhole = dstRowBytes % Converter::Video::kVectorAlignment == 0;
    const int rowsAtOnce = isWhole ? height : 1;
    for (ptrdiff_t row = 0; row < height; row += rowsAtOnce) {
        PixelConversion::Convert_10XRGB_BE_SMPTE_To_10RGBX_LE_FULL(
            static_cast<unsigned int>(width), static_cast<unsigned int>(rowsAtOnce),
            dst + row * dstRowBytes, static_cast<unsigned int>(dstRowBytes),
            const_cast<char*>(src) + row * srcRowBytes, static_cast<unsigned int>(srcRowBytes));
    }
}

}  // namespace

// Floats without alpha are made as floats with it: the host looks at no more than it asked for.
// The other sources' converters refuse them.
long ConvertR210(const char* src, int srcRowBytes, int dstPixelFormat, char* dst, int dstRowBytes,
                 int width, int height, Converter::Video::ColourSpace colourSpace,
                 Converter::Video::ConversionMode mode) {
    auto format = static_cast<PrPixelFormat>(dstPixelFormat);
    if (format == PrPixelFormat_BGRX_4444_32f) {
        format = PrPixelFormat_BGRA_4444_32f;
    }
    if (format == PrPixelFormat_RGB_444_10u) {
        ConvertToRGB10(src, srcRowBytes, dst, dstRowBytes, width, height);
        return 0;
    }
    return Converter::Video::r210::ConvertTo(src, srcRowBytes, static_cast<int>(format), dst,
                                             dstRowBytes, width, height, colourSpace, mode);
}

}  // namespace KVX
