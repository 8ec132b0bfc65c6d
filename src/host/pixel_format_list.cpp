// The pixel formats in which the host can have a movie's frames.
#include <algorithm>
#include <iterator>

#include "convert/video/conversion.h"
#include "core/four_char_code.h"
#include "core/log.h"
#include "host/file_import_module.h"
#include "host/host_identity.h"
#include "pipeline/import_frame.h"
#include "quicktime/video_track.h"
#include "util/printer.h"

namespace KVX {

namespace {

using Core::FourCharCode;

PrPixelFormat ByWidth(const QT::VideoTrack& track, PrPixelFormat standardDefinition,
                      PrPixelFormat highDefinition) {
    return track.mWidth > Converter::Video::kWidestRec601 ? highDefinition : standardDefinition;
}

PrPixelFormat GetUYVYFormat(const QT::VideoTrack& track) {
    return ByWidth(track, PrPixelFormat_UYVY_422_8u_601, PrPixelFormat_UYVY_422_8u_709);
}

PrPixelFormat GetV210Format(const QT::VideoTrack& track) {
    return ByWidth(track, PrPixelFormat_V210_422_10u_601, PrPixelFormat_V210_422_10u_709);
}

// Versions of the host are matched one by one: one that is not known here, also a later one, gets
// what every host takes.
struct VersionFormat {
    uint32_t majorVersion;
    PrPixelFormat format;
};

constexpr VersionFormat kR210Formats[] = {
    {7, PrPixelFormat_RGB_444_10u},
    {6, PrPixelFormat_BGRX_4444_32f},
};

PrPixelFormat GetR210Format(const QT::VideoTrack&) {
    const auto found = std::find_if(
        std::begin(kR210Formats), std::end(kR210Formats),
        [](const VersionFormat& row) { return row.majorVersion == gPremiereVersionInfo.major; });
    return found == std::end(kR210Formats) ? PrPixelFormat_BGRA_4444_8u : found->format;
}

// The format that follows kKVXCustomPixelFormat in the list of each uncompressed source.
struct SecondFormat {
    uint32_t source;
    PrPixelFormat (*get)(const QT::VideoTrack& track);
};

constexpr SecondFormat kSecondFormats[] = {
    {FourCharCode("2Vuy"), &GetUYVYFormat},
    {FourCharCode("2vuy"), &GetUYVYFormat},
    {FourCharCode("v210"), &GetV210Format},
    {FourCharCode("r210"), &GetR210Format},
};

}  // namespace

long FileImportModule::GetIndPixelFormat(int index, imIndPixelFormatRec* record) {
    record->pixelFormat = PrPixelFormat_Invalid;
    if (VideoTracks().empty()) {
        return imBadFormatIndex;
    }
    const QT::VideoTrack& track = *VideoTracks().front();
    const auto source = static_cast<uint32_t>(track.mFormat);

    if (ImportFrame::IsSupportedCompressedVideoFormat(source)) {
        if (index == 0) {
            record->pixelFormat = GetUYVYFormat(track);
        }
    } else if (index == 0) {
        record->pixelFormat = kKVXCustomPixelFormat;
    } else {
        const auto second =
            std::find_if(std::begin(kSecondFormats), std::end(kSecondFormats),
                         [source](const SecondFormat& row) { return row.source == source; });
        if (second == std::end(kSecondFormats)) {
            KVX_LOG("Unexpected data format %s\n", Util::Printer::Fcc(static_cast<int>(source)));
            return imOtherErr;
        }
        if (index == 1) {
            record->pixelFormat = second->get(track);
        }
    }
    return record->pixelFormat == PrPixelFormat_Invalid ? imBadFormatIndex : imNoErr;
}

}  // namespace KVX
