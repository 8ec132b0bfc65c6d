#include "cli/movie/movie_report.h"

#include <cstdint>

#include "cli/movie/streams.h"
#include "cli/output/text.h"
#include "quicktime/video_formats.h"

namespace kvx_cli {

namespace {

template <typename Key>
struct Name {
    Key key;
    const char* text;
};

template <typename Key, size_t Count>
const char* Find(const Name<Key> (&names)[Count], Key key) {
    for (const Name<Key>& name : names) {
        if (name.key == key) {
            return name.text;
        }
    }
    return nullptr;
}

constexpr Name<int32_t> kFieldTypes[] = {
    {prFieldsNone, "progressive"},
    {prFieldsUpperFirst, "upper field first"},
    {prFieldsLowerFirst, "lower field first"},
};

constexpr Name<int32_t> kSampleTypes[] = {
    {kPrAudioSampleType_8BitInt, "8-bit unsigned integer"},
    {kPrAudioSampleType_8BitTwosInt, "8-bit integer"},
    {kPrAudioSampleType_16BitInt, "16-bit integer, little-endian"},
    {kPrAudioSampleType_16BitIntBigEndian, "16-bit integer, big-endian"},
    {kPrAudioSampleType_24BitInt, "24-bit integer, little-endian"},
    {kPrAudioSampleType_24BitIntBigEndian, "24-bit integer, big-endian"},
    {kPrAudioSampleType_32BitInt, "32-bit integer, little-endian"},
    {kPrAudioSampleType_32BitIntBigEndian, "32-bit integer, big-endian"},
    {kPrAudioSampleType_32BitFloat, "32-bit float, little-endian"},
    {kPrAudioSampleType_32BitFloatBigEndian, "32-bit float, big-endian"},
    // The one type that the host has for doubles does not tell their byte order.
    {kPrAudioSampleType_64BitFloat, "64-bit float"},
};

constexpr Name<PrPixelFormat> kPixelFormats[] = {
    {kKVXCustomPixelFormat, "the file's own bytes"},
    {PrPixelFormat_UYVY_422_8u_601, "UYVY_422_8u_601"},
    {PrPixelFormat_UYVY_422_8u_709, "UYVY_422_8u_709"},
    {PrPixelFormat_V210_422_10u_601, "V210_422_10u_601"},
    {PrPixelFormat_V210_422_10u_709, "V210_422_10u_709"},
    {PrPixelFormat_RGB_444_10u, "RGB_444_10u"},
    {PrPixelFormat_BGRX_4444_32f, "BGRX_4444_32f"},
    {PrPixelFormat_BGRA_4444_8u, "BGRA_4444_8u"},
};

constexpr Name<int32_t> kChannels[] = {{1, "mono"}, {2, "stereo"}, {6, "5.1"}};

std::string Line(const char* label, const std::string& value) {
    std::string line = "    ";
    line += label;
    line.resize(20, ' ');
    return line + value + "\n";
}

std::string OrUnknown(const char* text) {
    return text != nullptr ? text : "unknown";
}

std::string PixelFormatText(PrPixelFormat format) {
    const char* name = Find(kPixelFormats, format);
    // In memory the first character comes first: the other way round than a QuickTime code.
    return name != nullptr ? name : FourCharText(__builtin_bswap32(format));
}

std::string VideoReport(const imFileInfoRec8& stream,
                        const std::vector<PrPixelFormat>& pixelFormats) {
    const uint32_t format = static_cast<uint32_t>(stream.subType);
    const KVX::QT::VideoFormat* const known = KVX::QT::FindVideoFormat(format);
    const char* description = known == nullptr ? nullptr : known->description;
    // The host's records are packed: what goes into a function by reference is copied first.
    const int32_t scale = stream.videoScale;
    const int32_t frameLength = stream.videoSampleSize;
    const int32_t duration = stream.videoDuration;
    const uint32_t aspectH = stream.pixelAspectNumerator;
    const uint32_t aspectV = stream.pixelAspectDenominator;

    std::string offered;
    for (const PrPixelFormat pixelFormat : pixelFormats) {
        offered += (offered.empty() ? "" : ", ") + PixelFormatText(pixelFormat);
    }
    return Line("format", FourCharText(format) +
                              (description != nullptr ? std::string(", ") + description : "")) +
           Line("size", std::to_string(stream.width) + " x " + std::to_string(stream.height)) +
           Line("depth", std::to_string(stream.depth)) +
           Line("rate", RateText(scale, frameLength)) +
           Line("fields", OrUnknown(Find(kFieldTypes, int32_t{stream.fieldType}))) +
           Line("pixel aspect", aspectH == 0 || aspectV == 0
                                    ? "not told"
                                    : std::to_string(aspectH) + ":" + std::to_string(aspectV)) +
           Line("duration", DurationText(duration, scale) + " (" +
                                std::to_string(FrameCount(stream)) + " frames)") +
           Line("offered as", offered);
}

std::string SoundReport(const imFileInfoRec8& stream) {
    const int32_t channels = stream.audioChannels;
    const float rate = stream.audioSampleRate;
    const int64_t duration = stream.audioDuration;
    const char* layout = Find(kChannels, channels);
    return Line("rate", std::to_string(static_cast<int64_t>(rate)) + " Hz") +
           Line("channels", std::to_string(channels) +
                                (layout != nullptr ? std::string(" (") + layout + ")" : "")) +
           Line("samples", OrUnknown(Find(kSampleTypes, int32_t{stream.audioSampleType}))) +
           Line("duration", DurationText(duration, static_cast<int64_t>(rate)) + " (" +
                                std::to_string(duration) + " samples)");
}

}  // namespace

std::string MovieReport(const std::vector<imFileInfoRec8>& streams,
                        const std::vector<PrPixelFormat>& pixelFormats) {
    std::string report;
    for (size_t index = 0; index < streams.size(); ++index) {
        const std::string number = std::to_string(index);
        if (streams[index].hasVideo != 0) {
            report += "  video " + number + "\n" + VideoReport(streams[index], pixelFormats);
        }
        if (streams[index].hasAudio != 0) {
            report += "  sound " + number + "\n" + SoundReport(streams[index]);
        }
    }
    return report;
}

}  // namespace kvx_cli
