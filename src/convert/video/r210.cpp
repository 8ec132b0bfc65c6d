// Which of r210's routines a frame takes.
#include "convert/video/r210.h"

#include "convert/video/choice.h"
#include "core/log.h"
#include "core/status.h"
#include "premiere/pixel_formats.h"

namespace KVX::Converter::Video {

namespace {

using Routine = void(const char* src, int srcRowBytes, char* dst, int dstRowBytes, int width,
                     int height);

// The tables move into place at run time, so they are looked up here and not in the tables below.
void ScalarConvertTo8u(const char* src, int srcRowBytes, char* dst, int dstRowBytes, int width,
                       int height) {
    r210::ScalarConvertTo(src, srcRowBytes, dst, dstRowBytes, width, height, r210::s8uComponentLUT);
}

void ScalarConvertTo16u(const char* src, int srcRowBytes, char* dst, int dstRowBytes, int width,
                        int height) {
    r210::ScalarConvertTo(src, srcRowBytes, dst, dstRowBytes, width, height,
                          r210::s16uComponentLUT);
}

void ScalarConvertTo32f(const char* src, int srcRowBytes, char* dst, int dstRowBytes, int width,
                        int height) {
    r210::ScalarConvertTo(src, srcRowBytes, dst, dstRowBytes, width, height,
                          r210::s32fComponentLUT);
}

constexpr FormatRoutines<Routine> kConvertTo[] = {
    {PrPixelFormat_BGRA_4444_8u, ScalarConvertTo8u, r210::VectorConvertTo8u,
     r210::VectorConvertTo8uMisSrc},
    {PrPixelFormat_BGRA_4444_16u, ScalarConvertTo16u, r210::VectorConvertTo16u,
     r210::VectorConvertTo16uMisSrc},
    {PrPixelFormat_BGRA_4444_32f, ScalarConvertTo32f, r210::VectorConvertTo32f,
     r210::VectorConvertTo32f},
};

constexpr FormatRoutines<Routine> kCreateFrom[] = {
    {PrPixelFormat_BGRA_4444_8u, r210::ScalarCreateFrom<unsigned char>, r210::VectorCreateFrom8u,
     r210::VectorCreateFrom8uMisSrc},
    {PrPixelFormat_BGRA_4444_16u, r210::ScalarCreateFrom<unsigned short>, r210::VectorCreateFrom16u,
     r210::VectorCreateFrom16uMisSrc},
    {PrPixelFormat_BGRA_4444_32f, r210::ScalarCreateFrom<float>, r210::VectorCreateFrom32f,
     r210::VectorCreateFrom32f},
};

// Only the float routines have no form for a misaligned source.
bool MustRevert(Alignment alignment, int hostFormat) {
    return !alignment.mDestination ||
           (!alignment.mSource && hostFormat == static_cast<int>(PrPixelFormat_BGRA_4444_32f));
}

}  // namespace

long r210::ConvertTo(const char* src, int srcRowBytes, int dstPixelFormat, char* dst,
                     int dstRowBytes, int width, int height, ColourSpace colourSpace,
                     ConversionMode mode) {
    if (const long status = Init(dstPixelFormat); status != 0) {
        KVX_LOG("Init failed\n");
        return status;
    }
    const Alignment alignment = FindAlignment(src, srcRowBytes, dst, dstRowBytes);
    if (mode == kConversionModeAuto && MustRevert(alignment, dstPixelFormat)) {
        LogRevert("ConvertTo", "'r210'", HostFormatName(dstPixelFormat), src, srcRowBytes, dst,
                  dstRowBytes);
        mode = kConversionModeScalar;
    }
    if (Routine* routine = PickRoutine(kConvertTo, dstPixelFormat, mode, alignment)) {
        routine(src, srcRowBytes, dst, dstRowBytes, width, height);
        return 0;
    }

    // V210, since Init let the format through. There is vector code alone, so the mode is not
    // asked.
    if (!alignment.mDestination) {
        return Core::kStatusInvalid;
    }
    TransformMatrix matrix =
        SelectMatrix(colourSpace, width, kRGBToYUVStudio601, kRGBToYUVStudio709);
    return alignment.mSource
               ? VectorConvertToV210(src, srcRowBytes, dst, dstRowBytes, width, height, &matrix)
               : VectorConvertToV210MisSrc(src, srcRowBytes, dst, dstRowBytes, width, height,
                                           &matrix);
}

long r210::CreateFrom(const char* src, int srcRowBytes, int srcPixelFormat, char* dst,
                      int dstRowBytes, int width, int height, ColourSpace, ConversionMode mode) {
    if (const long status = Init(srcPixelFormat); status != 0) {
        KVX_LOG("Init failed\n");
        return status;
    }
    const Alignment alignment = FindAlignment(src, srcRowBytes, dst, dstRowBytes);
    if (mode == kConversionModeAuto && MustRevert(alignment, srcPixelFormat)) {
        LogRevert("CreateFrom", HostFormatName(srcPixelFormat), "'r210'", src, srcRowBytes, dst,
                  dstRowBytes);
        mode = kConversionModeScalar;
    }
    // The V210 formats have passed Init, but there is no way from them: the frame stays as it was.
    if (Routine* routine = PickRoutine(kCreateFrom, srcPixelFormat, mode, alignment)) {
        routine(src, srcRowBytes, dst, dstRowBytes, width, height);
    }
    return 0;
}

}  // namespace KVX::Converter::Video
