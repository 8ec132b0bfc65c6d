#include "convert/geometry/roads.h"

#include <stdexcept>

namespace kvx_test::geometry {

namespace {

const Routine& RoutineNamed(const std::string& name) {
    for (const Routine& routine : Routines()) {
        if (routine.mName == name) {
            return routine;
        }
    }
    throw std::invalid_argument(name);
}

}  // namespace

Road RoadOf(const std::string& source, PrPixelFormat format) {
    const bool isYUV8 = source == "2vuy" || source == "2Vuy";
    switch (format) {
        case kKVXCustomPixelFormat:
            return Road::kFileBytes;
        case PrPixelFormat_BGRA_4444_8u:
            return Road::kTo8u;
        case PrPixelFormat_BGRA_4444_16u:
            return Road::kTo16u;
        case PrPixelFormat_BGRA_4444_32f:
            return Road::kTo32f;
        case PrPixelFormat_BGRX_4444_32f:
            return source == "r210" ? Road::kTo32f : Road::kLeftFresh;
        case PrPixelFormat_RGB_444_10u:
            return source == "r210" ? Road::kToRGB1 : Road::kRefused;
        case PrPixelFormat_V210_422_10u_601:
        case PrPixelFormat_V210_422_10u_709:
            return source == "v210" ? Road::kCopied : Road::kRefused;
        case PrPixelFormat_UYVY_422_8u_601:
        case PrPixelFormat_UYVY_422_8u_709:
            return isYUV8 ? Road::kCopied : Road::kRefused;
        default:
            return Road::kRefused;
    }
}

int FileRowBytes(const std::string& source, int width) {
    if (source == "r210") {
        return (width + 63) / 64 * 256;
    }
    return source == "v210" ? (width + 47) / 48 * 128 : 2 * width;
}

int VisibleBytes(const std::string& source, Road road, int width) {
    switch (road) {
        case Road::kCopied:
            return source == "v210" ? (width + 5) / 6 * 16 : 2 * width;
        case Road::kTo16u:
            return 8 * width;
        case Road::kTo32f:
            return 16 * width;
        default:
            return 4 * width;
    }
}

bool TakesVectorCode(const std::string& source, Road road, bool srcAligned, bool dstAligned) {
    if (!dstAligned) {
        return false;
    }
    return srcAligned || (source == "r210" ? road != Road::kTo32f : road == Road::kTo8u);
}

const Routine& RoutineFor(const std::string& source, Road road, bool vector) {
    if (road == Road::kToRGB1) {
        return RoutineNamed("family_10RGBX_LE_FULL");
    }
    const std::string converter = source == "2vuy" || source == "2Vuy" ? "uyvy" : source;
    const char* const form = road == Road::kTo8u ? "8u" : road == Road::kTo16u ? "16u" : "32f";
    return RoutineNamed(converter + (vector ? "_VectorConvertTo" : "_ScalarConvertTo") + form);
}

}  // namespace kvx_test::geometry
