// Which of uyvy's routines a frame takes.
#include "convert/video/uyvy.h"

#include "convert/video/yuv_choice.h"
#include "premiere/pixel_formats.h"

namespace KVX::Converter::Video {

namespace {

constexpr YUVConversion kConvertTo = {
    YUVDirection::kToHost,
    "'uyvy'",
    false,
    {{PrPixelFormat_BGRA_4444_8u, uyvy::ScalarConvertTo<unsigned char>, uyvy::VectorConvertTo8u,
      uyvy::VectorConvertTo8uMisSrc},
     {PrPixelFormat_BGRA_4444_16u, uyvy::ScalarConvertTo<unsigned short>, uyvy::VectorConvertTo16u,
      uyvy::VectorConvertTo16u},
     {PrPixelFormat_BGRA_4444_32f, uyvy::ScalarConvertTo<float>, uyvy::VectorConvertTo32f,
      uyvy::VectorConvertTo32f}},
};

constexpr YUVConversion kCreateFrom = {
    YUVDirection::kFromHost,
    "'uyvy'",
    false,
    {{PrPixelFormat_BGRA_4444_8u, uyvy::ScalarCreateFrom<unsigned char>, uyvy::VectorCreateFrom8u,
      uyvy::VectorCreateFrom8uMisSrc},
     {PrPixelFormat_BGRA_4444_16u, uyvy::ScalarCreateFrom<unsigned short>,
      uyvy::VectorCreateFrom16u, uyvy::VectorCreateFrom16u},
     {PrPixelFormat_BGRA_4444_32f, uyvy::ScalarCreateFrom<float>, uyvy::VectorCreateFrom32f,
      uyvy::VectorCreateFrom32f}},
};

}  // namespace

long uyvy::ConvertTo(const char* src, int srcRowBytes, int dstPixelFormat, char* dst,
                     int dstRowBytes, int width, int height, ColourSpace colourSpace,
                     ConversionMode mode) {
    return ConvertYUV(kConvertTo, {src, srcRowBytes, dst, dstRowBytes, width, height},
                      dstPixelFormat, colourSpace, mode);
}

long uyvy::CreateFrom(const char* src, int srcRowBytes, int srcPixelFormat, char* dst,
                      int dstRowBytes, int width, int height, ColourSpace colourSpace,
                      ConversionMode mode) {
    return ConvertYUV(kCreateFrom, {src, srcRowBytes, dst, dstRowBytes, width, height},
                      srcPixelFormat, colourSpace, mode);
}

}  // namespace KVX::Converter::Video
