// Which converter a frame goes through when the file's layout is not the destination's.
#include <algorithm>
#include <cstddef>
#include <iterator>

#include "convert/video/conversion.h"
#include "convert/video/pixel_conversion.h"
#include "convert/video/r210.h"
#include "convert/video/uyvy.h"
#include "convert/video/v210.h"
#include "core/four_char_code.h"
#include "core/log.h"
#include "core/status.h"
#include "pipeline/import_frame.h"
#include "premiere/pixel_formats.h"
#include "util/printer.h"

namespace KVX {

namespace {

using Converter::Video::ColourSpace;
using Converter::Video::ConversionMode;
using Core::FourCharCode;

// To whoever reads the log, the choice of a converter is a part of Convert.
constexpr const char* kConvert = "Convert";

using ConvertTo = long(const char* src, int srcRowBytes, int dstPixelFormat, char* dst,
                       int dstRowBytes, int width, int height, ColourSpace colourSpace,
                       ConversionMode mode);

// The conversion takes aligned row bytes for granted when the first row is aligned. The file's rows
// are made so, but the host lays out its own as it likes: then each goes as a frame of one row.
void ConvertR210ToRGB10(const char* src, int srcRowBytes, char* dst, int dstRowBytes, int width,
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

// Floats without alpha are made as floats with it: the host looks at no more than it asked for.
// The other sources have no such rule.
long ConvertR210(const char* src, int srcRowBytes, int dstPixelFormat, char* dst, int dstRowBytes,
                 int width, int height, ColourSpace colourSpace, ConversionMode mode) {
    auto format = static_cast<PrPixelFormat>(dstPixelFormat);
    if (format == PrPixelFormat_BGRX_4444_32f) {
        format = PrPixelFormat_BGRA_4444_32f;
    }
    if (format == PrPixelFormat_RGB_444_10u) {
        ConvertR210ToRGB10(src, srcRowBytes, dst, dstRowBytes, width, height);
        return 0;
    }
    return Converter::Video::r210::ConvertTo(src, srcRowBytes, static_cast<int>(format), dst,
                                             dstRowBytes, width, height, colourSpace, mode);
}

struct SourceConverter {
    unsigned int source;
    ConvertTo* convert;
    const char* name;
};

constexpr SourceConverter kSourceConverters[] = {
    {FourCharCode("2vuy"), &Converter::Video::uyvy::ConvertTo, "uyvy::ConvertTo"},
    {FourCharCode("2Vuy"), &Converter::Video::uyvy::ConvertTo, "uyvy::ConvertTo"},
    {FourCharCode("v210"), &Converter::Video::v210::ConvertTo, "v210::ConvertTo"},
    {FourCharCode("r210"), &ConvertR210, "r210::ConvertTo"},
};

}  // namespace

// Compressed frames pass without a word: nothing decodes them, and the host gets the buffer as it
// made it.
long ImportFrame::ConvertPixels(const char* source, long long available) {
    const auto format = static_cast<unsigned int>(mSourceFormat);
    const auto* converter =
        std::find_if(std::begin(kSourceConverters), std::end(kSourceConverters),
                     [format](const SourceConverter& row) { return row.source == format; });
    if (converter == std::end(kSourceConverters)) {
        if (IsSupportedCompressedVideoFormat(format)) {
            return 0;
        }
        Core::LogLine(kConvert, __LINE__, "Invalid source data format for conversion: %s\n",
                      Util::Printer::PixelFormatPremiere(mSourceFormat));
        return Core::kStatusInvalid;
    }
    const long long needed = static_cast<long long>(mHeight) * mSourceRowBytes;
    if (available < needed) {
        Core::LogLine(kConvert, __LINE__, "Sample too small for its frame: %lld of %lld bytes\n",
                      available, needed);
        return Core::kStatusInvalid;
    }
    const long status = converter->convert(source, static_cast<int>(mSourceRowBytes),
                                           static_cast<int>(mPixelFormat), mPixels, mDestRowBytes,
                                           mWidth, mHeight, Converter::Video::kColourSpaceAuto,
                                           Converter::Video::kConversionModeAuto);
    Core::Failed(status, converter->name, kConvert, __LINE__);
    return status;
}

}  // namespace KVX
