// Which of v210's routines a frame takes.
#include "convert/video/v210.h"

#include "convert/video/choice.h"
#include "convert/video/yuv_choice.h"
#include "premiere/pixel_formats.h"

namespace KVX::Converter::Video {

namespace {

constexpr FormatRoutines<YUVRoutine> kConvertTo[] = {
    {PrPixelFormat_BGRA_4444_8u, v210::ScalarConvertTo<unsigned char>, v210::VectorConvertTo8u,
     v210::VectorConvertTo8u},
    {PrPixelFormat_BGRA_4444_16u, v210::ScalarConvertTo<unsigned short>, v210::VectorConvertTo16u,
     v210::VectorConvertTo16u},
    {PrPixelFormat_BGRA_4444_32f, v210::ScalarConvertTo<float>, v210::VectorConvertTo32f,
     v210::VectorConvertTo32f},
};

constexpr FormatRoutines<YUVRoutine> kCreateFrom[] = {
    {PrPixelFormat_BGRA_4444_8u, v210::ScalarCreateFrom<unsigned char>, v210::VectorCreateFrom8u,
     v210::VectorCreateFrom8uMisSrc},
    {PrPixelFormat_BGRA_4444_16u, v210::ScalarCreateFrom<unsigned short>, v210::VectorCreateFrom16u,
     v210::VectorCreateFrom16u},
    {PrPixelFormat_BGRA_4444_32f, v210::ScalarCreateFrom<float>, v210::VectorCreateFrom32f,
     v210::VectorCreateFrom32f},
};

}  // namespace

long v210::ConvertTo(const char* src, int srcRowBytes, int dstPixelFormat, char* dst,
                     int dstRowBytes, int width, int height, ColourSpace colourSpace,
                     ConversionMode mode) {
    const Alignment alignment = FindAlignment(src, srcRowBytes, dst, dstRowBytes);
    if (mode == kConversionModeAuto && MustRevertYUV(alignment, dstPixelFormat)) {
        LogRevert("ConvertTo", "'v210'", HostFormatName(dstPixelFormat), src, srcRowBytes, dst,
                  dstRowBytes);
        mode = kConversionModeScalar;
    }
    // The row tail counts on rows that rise in memory: the same memory is walked upward.
    if (dstRowBytes < 0) {
        dst += static_cast<ptrdiff_t>(height - 1) * dstRowBytes;
        dstRowBytes = -dstRowBytes;
    }
    return RunYUV(PickRoutine(kConvertTo, dstPixelFormat, mode, alignment), src, srcRowBytes, dst,
                  dstRowBytes, width, height,
                  SelectMatrix(colourSpace, width, kYUVToRGB601, kYUVToRGB709));
}

long v210::CreateFrom(const char* src, int srcRowBytes, int srcPixelFormat, char* dst,
                      int dstRowBytes, int width, int height, ColourSpace colourSpace,
                      ConversionMode mode) {
    const Alignment alignment = FindAlignment(src, srcRowBytes, dst, dstRowBytes);
    if (mode == kConversionModeAuto && MustRevertYUV(alignment, srcPixelFormat)) {
        LogRevert("CreateFrom", HostFormatName(srcPixelFormat), "'v210'", src, srcRowBytes, dst,
                  dstRowBytes);
        mode = kConversionModeScalar;
    }
    return RunYUV(PickRoutine(kCreateFrom, srcPixelFormat, mode, alignment), src, srcRowBytes, dst,
                  dstRowBytes, width, height,
                  SelectMatrix(colourSpace, width, kRGBToYUV601, kRGBToYUV709));
}

}  // namespace KVX::Converter::Video
