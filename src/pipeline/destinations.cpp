#include "pipeline/destinations.h"

#include <algorithm>
#include <iterator>

#include "convert/video/uyvy.h"
#include "convert/video/v210.h"
#include "core/four_char_code.h"
#include "pipeline/convert_r210.h"
#include "quicktime/video_formats.h"

namespace KVX {

namespace {

using Converter::Video::uyvy;
using Converter::Video::v210;
using Core::FourCharCode;

constexpr Destinations kDestinations[] = {
    {FourCharCode("2vuy"), PrPixelFormat_UYVY_422_8u_601, PrPixelFormat_UYVY_422_8u_709, true,
     &uyvy::ConvertTo, "uyvy::ConvertTo"},
    {FourCharCode("2Vuy"), PrPixelFormat_UYVY_422_8u_601, PrPixelFormat_UYVY_422_8u_709, true,
     &uyvy::ConvertTo, "uyvy::ConvertTo"},
    {FourCharCode("v210"), PrPixelFormat_V210_422_10u_601, PrPixelFormat_V210_422_10u_709, true,
     &v210::ConvertTo, "v210::ConvertTo"},
    {FourCharCode("r210"), PrPixelFormat_RGB_444_10u, PrPixelFormat_RGB_444_10u, false,
     &ConvertR210, "r210::ConvertTo"},
};

constexpr Destinations kOfCompressedSources = {
    0, PrPixelFormat_UYVY_422_8u_601, PrPixelFormat_UYVY_422_8u_709, false, nullptr, nullptr};

constexpr PrPixelFormat kOfAnySource[] = {
    kKVXCustomPixelFormat,      PrPixelFormat_BGRA_4444_32f, PrPixelFormat_BGRA_4444_16u,
    PrPixelFormat_BGRA_4444_8u, PrPixelFormat_BGRX_4444_32f,
};

}  // namespace

const Destinations* FindDestinations(uint32_t source) {
    const auto* const found =
        std::find_if(std::begin(kDestinations), std::end(kDestinations),
                     [source](const Destinations& row) { return row.source == source; });
    if (found != std::end(kDestinations)) {
        return found;
    }
    const QT::VideoFormat* const format = QT::FindVideoFormat(source);
    return format != nullptr && format->IsOfferedCompressed() ? &kOfCompressedSources : nullptr;
}

bool IsDestination(uint32_t source, PrPixelFormat format) {
    if (std::find(std::begin(kOfAnySource), std::end(kOfAnySource), format) !=
        std::end(kOfAnySource)) {
        return true;
    }
    const Destinations* const destinations = FindDestinations(source);
    return destinations != nullptr && destinations->Owns(format);
}

bool IsSameLayout(uint32_t source, PrPixelFormat format) {
    const Destinations* const destinations = FindDestinations(source);
    return destinations != nullptr && destinations->isSameLayout && destinations->Owns(format);
}

}  // namespace KVX
