#include "pipeline/frame_conversion.h"

#include <algorithm>
#include <cstddef>
#include <cstring>

#include "core/log.h"
#include "core/status.h"
#include "pipeline/destinations.h"
#include "util/printer.h"

namespace KVX {

namespace {

using Core::LogSite;

// In the log, the choice of a path is a part of ImportFrame::Convert.
constexpr const char* kConvert = "Convert";

// The sample, all of which has been read.
void CopyWhole(const FrameConversion& frame) {
    const long long frameSize = static_cast<long long>(frame.height) * frame.rowBytes;
    long long size = frame.sourceSize;
    if (size > frameSize) {
        Core::LogLine(LogSite::In(kConvert), "Sample of %lld bytes cut to the frame's %lld\n", size,
                      frameSize);
        size = frameSize;
    }
    std::memcpy(frame.pixels, frame.source, static_cast<size_t>(size));
}

// The source's row length in all cases: the host makes room for the rows of the format it offers.
void CopyRows(const FrameConversion& frame) {
    long long left = frame.available;
    for (int row = 0; row < frame.height && left > 0; ++row) {
        // 32 bits, as the host counts a frame's bytes.
        const auto destOffset = static_cast<int32_t>(static_cast<uint32_t>(row) *
                                                     static_cast<uint32_t>(frame.rowBytes));
        std::memcpy(frame.pixels + destOffset, frame.source + row * frame.sourceRowBytes,
                    static_cast<size_t>(std::min<long long>(frame.sourceRowBytes, left)));
        left -= frame.sourceRowBytes;
    }
}

long Convert(const FrameConversion& frame) {
    const Destinations* const destinations = FindDestinations(frame.sourceFormat);
    if (destinations == nullptr) {
        Core::LogLine(LogSite::In(kConvert), "Invalid source data format for conversion: %s\n",
                      Util::Printer::PixelFormatPremiere(frame.sourceFormat));
        return Core::kStatusInvalid;
    }
    if (destinations->convert == nullptr) {
        return 0;
    }
    const long long needed = static_cast<long long>(frame.height) * frame.sourceRowBytes;
    if (frame.available < needed) {
        Core::LogLine(LogSite::In(kConvert), "Sample too small for its frame: %lld of %lld bytes\n",
                      frame.available, needed);
        return Core::kStatusInvalid;
    }
    const long status = destinations->convert(
        frame.source, static_cast<int>(frame.sourceRowBytes), static_cast<int>(frame.format),
        frame.pixels, frame.rowBytes, frame.width, frame.height, Converter::Video::kColourSpaceAuto,
        Converter::Video::kConversionModeAuto);
    Core::Failed(status, destinations->converterName, LogSite::In(kConvert));
    return status;
}

}  // namespace

long CopyOrConvert(const FrameConversion& frame) {
    if (!frame.isSameLayout) {
        return Convert(frame);
    }
    if (frame.sourceRowBytes == frame.rowBytes) {
        CopyWhole(frame);
    } else {
        CopyRows(frame);
    }
    return 0;
}

}  // namespace KVX
