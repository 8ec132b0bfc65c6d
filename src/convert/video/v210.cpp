// Which of v210's routines a frame takes.
#include "convert/video/v210.h"

#include "convert/video/yuv_choice.h"
#include "premiere/pixel_formats.h"

namespace KVX::Converter::Video {

namespace {

// The row tail counts on rows that rise in memory: falling ones are walked upward.
constexpr YUVConversion kConvertTo = {
    YUVDirection::kToHost,
    "'v210'",
    true,
    {{PrPixelFormat_BGRA_4444_8u, v210::ScalarConvertTo<unsigned char>, v210::VectorConvertTo8u,
      v210::VectorConvertTo8u},
     {PrPixelFormat_BGRA_4444_16u, v210::ScalarConvertTo<unsigned short>, v210::VectorConvertTo16u,
      v210::VectorConvertTo16u},
     {PrPixelFormat_BGRA_4444_32f, v210::ScalarConvertTo<float>, v210::VectorConvertTo32f,
      v210::VectorConvertTo32f}},
};

constexpr YUVConversion kCreateFrom = {
    YUVDirection::kFromHost,
    "'v210'",
    false,
    {{PrPixelFormat_BGRA_4444_8u, v210::ScalarCreateFrom<unsigned char>, v210::VectorCreateFrom8u,
      v210::VectorCreateFrom8uMisSrc},
     {PrPixelFormat_BGRA_4444_16u, v210::ScalarCreateFrom<unsigned short>,
      v210::VectorCreateFrom16u, v210::VectorCreateFrom16u},
     {PrPixelFormat_BGRA_4444_32f, v210::ScalarCreateFrom<float>, v210::VectorCreateFrom32f,
      v210::VectorCreateFrom32f}},
};

}  // namespace

long v210::ConvertTo(const char* src, int srcRowBytes, int dstPixelFormat, char* dst,
                     int dstRowBytes, int width, int height, ColourSpace colourSpace,
                     ConversionMode mode) {
    return ConvertYUV(kConvertTo, {src, srcRowBytes, dst, dstRowBytes, width, height},
                      dstPixelFormat, colourSpace, mode);
}

long v210::CreateFrom(const char* src, int srcRowBytes, int srcPixelFormat, char* dst,
                      int dstRowBytes, int width, int height, ColourSpace colourSpace,
                      ConversionMode mode) {
    return ConvertYUV(kCreateFrom, {src, srcRowBytes, dst, dstRowBytes, width, height},
                      srcPixelFormat, colourSpace, mode);
}

}  // namespace KVX::Converter::Video
