#include "convert/video/yuv_choice.h"

#include "core/log.h"
#include "core/status.h"
#include "premiere/pixel_formats.h"

namespace KVX::Converter::Video {

namespace {

// Only the 8-bit routines have a form for a misaligned source.
bool MustRevert(Alignment alignment, int hostFormat) {
    return !alignment.mDestination ||
           (!alignment.mSource && hostFormat != static_cast<int>(PrPixelFormat_BGRA_4444_8u));
}

void LogYUVRevert(const YUVConversion& conversion, const YUVFrame& frame, int hostFormat) {
    const bool toHost = conversion.mDirection == YUVDirection::kToHost;
    const char* host = HostFormatName(hostFormat);
    LogRevert(toHost ? "ConvertTo" : "CreateFrom", toHost ? conversion.mFileLayout : host,
              toHost ? host : conversion.mFileLayout, frame.mSrc, frame.mSrcRowBytes, frame.mDst,
              frame.mDstRowBytes);
}

TransformMatrix SelectYUVMatrix(YUVDirection direction, ColourSpace colourSpace, int width) {
    return direction == YUVDirection::kToHost
               ? SelectMatrix(colourSpace, width, kYUVToRGB601, kYUVToRGB709)
               : SelectMatrix(colourSpace, width, kRGBToYUV601, kRGBToYUV709);
}

}  // namespace

long ConvertYUV(const YUVConversion& conversion, const YUVFrame& frame, int hostFormat,
                ColourSpace colourSpace, ConversionMode mode) {
    const Alignment alignment =
        FindAlignment(frame.mSrc, frame.mSrcRowBytes, frame.mDst, frame.mDstRowBytes);
    if (mode == kConversionModeAuto && MustRevert(alignment, hostFormat)) {
        LogYUVRevert(conversion, frame, hostFormat);
        mode = kConversionModeScalar;
    }
    YUVRoutine* const routine = PickRoutine(conversion.mRoutines, hostFormat, mode, alignment);
    if (routine == nullptr) {
        Core::LogText("Unsupported pixel format\n");
        return Core::kStatusInvalid;
    }
    char* dst = frame.mDst;
    ptrdiff_t dstRowBytes = frame.mDstRowBytes;
    if (conversion.mNeedsRisingRows && dstRowBytes < 0) {
        dst += (frame.mHeight - 1) * dstRowBytes;
        dstRowBytes = -dstRowBytes;
    }
    TransformMatrix matrix = SelectYUVMatrix(conversion.mDirection, colourSpace, frame.mWidth);
    routine(frame.mSrc, frame.mSrcRowBytes, dst, static_cast<int>(dstRowBytes), frame.mWidth,
            frame.mHeight, &matrix);
    return 0;
}

}  // namespace KVX::Converter::Video
