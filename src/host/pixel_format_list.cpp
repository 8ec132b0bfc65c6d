// The pixel formats in which the host can have a movie's frames.
#include <algorithm>
#include <iterator>

#include "convert/video/conversion.h"
#include "core/log.h"
#include "host/file_import_module.h"
#include "host/host_identity.h"
#include "pipeline/destinations.h"
#include "quicktime/video_track.h"
#include "util/printer.h"

namespace KVX {

namespace {

PrPixelFormat ByWidth(const Destinations& destinations, short width) {
    return width > Converter::Video::kWidestRec601 ? destinations.rec709 : destinations.rec601;
}

// Versions of the host are matched one by one: one that is not known here, also a later one, gets
// what every host takes.
struct VersionFormat {
    uint32_t majorVersion;
    PrPixelFormat format;
};

constexpr VersionFormat kFormatsByVersion[] = {
    {7, PrPixelFormat_RGB_444_10u},
    {6, PrPixelFormat_BGRX_4444_32f},
};

PrPixelFormat ByVersion() {
    const auto found = std::find_if(
        std::begin(kFormatsByVersion), std::end(kFormatsByVersion),
        [](const VersionFormat& row) { return row.majorVersion == gPremiereVersionInfo.major; });
    return found == std::end(kFormatsByVersion) ? PrPixelFormat_BGRA_4444_8u : found->format;
}

}  // namespace

long FileImportModule::GetIndPixelFormat(int index, imIndPixelFormatRec* record) {
    record->pixelFormat = PrPixelFormat_Invalid;
    if (VideoTracks().empty()) {
        return imBadFormatIndex;
    }
    const QT::VideoTrack& track = *VideoTracks().front();
    const auto source = static_cast<uint32_t>(track.mFormat);

    const Destinations* const destinations = FindDestinations(source);

    if (destinations != nullptr && destinations->convert == nullptr) {
        if (index == 0) {
            record->pixelFormat = ByWidth(*destinations, track.mWidth);
        }
    } else if (index == 0) {
        record->pixelFormat = kKVXCustomPixelFormat;
    } else if (destinations == nullptr) {
        KVX_LOG("Unexpected data format %s\n", Util::Printer::Fcc(static_cast<int>(source)));
        return imOtherErr;
    } else if (index == 1) {
        // A layout that is not the host's own comes in the best format that its version knows.
        record->pixelFormat =
            destinations->isSameLayout ? ByWidth(*destinations, track.mWidth) : ByVersion();
    }
    return record->pixelFormat == PrPixelFormat_Invalid ? imBadFormatIndex : imNoErr;
}

}  // namespace KVX
