#include "cli/movie/movie_report.h"

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <numeric>

#include "cli/movie/check_report.h"
#include "cli/movie/streams.h"
#include "cli/output/text.h"
#include "quicktime/video_formats.h"

namespace kvx_cli {

using kvx_inspect::Report;
using kvx_inspect::TrackFacts;
using kvx_inspect::TrackKind;
using kvx_inspect::VideoFacts;

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
    // The one type that the host has for doubles does not distinguish their byte order.
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

// The inspector's facts of a stream's track; null if it does not know the track.
const TrackFacts* FindTrack(const Report& report, TrackKind kind, size_t index) {
    const auto found =
        std::find_if(report.tracks.begin(), report.tracks.end(), [=](const TrackFacts& track) {
            return track.kind == kind && static_cast<size_t>(track.index) == index;
        });
    return found == report.tracks.end() ? nullptr : &*found;
}

std::string LevelsLine(const VideoFacts& video) {
    return video.bits == 0 ? ""
                           : Line("levels", std::to_string(video.bits) + " bits, " + video.chroma +
                                                ", " + video.range + " (assumed)");
}

std::string DisplayAspectLine(const VideoFacts& video) {
    const int64_t across = int64_t{video.width} * video.pixelAspectH;
    const int64_t down = int64_t{video.height} * video.pixelAspectV;
    if (across <= 0 || down <= 0) {
        return "";
    }
    const int64_t common = std::gcd(across, down);
    char text[64];
    std::snprintf(text, sizeof text, "%lld:%lld (%.3f)", static_cast<long long>(across / common),
                  static_cast<long long>(down / common),
                  static_cast<double>(across) / static_cast<double>(down));
    return Line("display aspect", text);
}

std::string ColourLine(const VideoFacts& video) {
    if (!video.colour) {
        return "";
    }
    return Line("colour", "primaries " + std::to_string(video.colour->primaries) + ", transfer " +
                              std::to_string(video.colour->transfer) + ", matrix " +
                              std::to_string(video.colour->matrix) + " (" +
                              FourCharText(video.colour->kind) + ")");
}

std::string CleanApertureLine(const VideoFacts& video) {
    if (!video.cleanAperture) {
        return "";
    }
    char text[128];
    std::snprintf(text, sizeof text, "%g x %g", video.cleanAperture->width,
                  video.cleanAperture->height);
    return Line("clean aperture", text);
}

std::string VideoReport(const imFileInfoRec8& stream,
                        const std::vector<PrPixelFormat>& pixelFormats, const TrackFacts* track) {
    const VideoFacts video = track != nullptr && track->video ? *track->video : VideoFacts();
    const char* const source = track == nullptr       ? ""
                               : video.fieldsFromFile ? " (from the file)"
                                                      : " (assumed)";
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
           Line("depth", std::to_string(stream.depth)) + LevelsLine(video) +
           Line("rate", RateText(scale, frameLength)) +
           Line("fields", OrUnknown(Find(kFieldTypes, int32_t{stream.fieldType})) + source) +
           Line("pixel aspect", aspectH == 0 || aspectV == 0
                                    ? "not stated"
                                    : std::to_string(aspectH) + ":" + std::to_string(aspectV)) +
           DisplayAspectLine(video) + ColourLine(video) + CleanApertureLine(video) +
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

// From what the file counts in, which may be a rate that the importer does not count.
std::string TimecodeReport(const ImporterAnswer& importer, const Report& report) {
    const TrackFacts* const track = FindTrack(report, TrackKind::Timecode, 0);
    if (importer.timecode.empty() && track == nullptr) {
        return "";
    }
    std::string text = "  timecode\n";
    text += Line("start", importer.timecode.empty() ? "not delivered" : importer.timecode);
    if (track != nullptr && track->timecode) {
        const kvx_inspect::TimecodeFacts& timecode = *track->timecode;
        text += Line("rate", RateText(timecode.timeScale, timecode.frameDuration)) +
                Line("counting", std::to_string(timecode.framesPerSecond) + " frames a second" +
                                     (timecode.isDropFrame ? ", drop-frame" : ", non-drop-frame"));
        if (timecode.firstFrame) {
            text += Line("first frame", std::to_string(*timecode.firstFrame));
        }
    }
    return text;
}

std::string TracksReport(const Report& report) {
    std::string text;
    for (const TrackFacts& track : report.tracks) {
        std::string words = "handler " + FourCharText(track.mediaHandler.subtype);
        if (track.format != 0) {
            words += ", format " + FourCharText(track.format);
        }
        if (track.dataHandler) {
            words += ", data " + FourCharText(track.dataHandler->subtype);
        }
        text += Line(std::to_string(track.number).c_str(), words);
    }
    return text.empty() ? "" : "  tracks\n" + text;
}

std::string MediaReport(const Report& report) {
    std::string text;
    std::vector<std::string> told;
    for (const TrackFacts& track : report.tracks) {
        const std::string& path = track.media.path;
        if (track.media.isMovieItself || path.empty() ||
            std::find(told.begin(), told.end(), path) != told.end()) {
            continue;
        }
        told.push_back(path);
        text += "    " + Printable(path) + (track.media.canBeRead ? "" : " (missing)") + "\n";
    }
    return text.empty() ? "" : "  media in other files\n" + text;
}

// Whose it is, if it is one track's, and the words.
std::string WordsOf(const Report& report, const kvx_inspect::Finding& finding) {
    const bool isOfTheMovie = finding.track == kvx_inspect::kWholeMovie;
    return (isOfTheMovie ? "" : TrackName(report, finding.track) + ": ") + Printable(finding.text);
}

std::string WarningsReport(const Report& report) {
    std::string text;
    for (const kvx_inspect::Finding& finding : report.findings) {
        if (FactsOf(finding.code).severity == kvx_inspect::Severity::Warning) {
            text += "  warning: " + WordsOf(report, finding) + "\n";
        }
    }
    return text;
}

// All that keeps the movie from being imported, and what helps; in the words for the importer's own
// reason if no finding states it.
std::string ReasonsReport(const MovieFacts& facts) {
    std::string text;
    for (const kvx_inspect::Finding& finding : facts.report.findings) {
        if (FactsOf(finding.code).severity == kvx_inspect::Severity::Refused) {
            const std::string remedy = RemedyOf(finding);
            text += "  not importable: " + WordsOf(facts.report, finding) +
                    (remedy.empty() ? "" : "; remedy: " + remedy) + "\n";
        }
    }
    return text.empty() ? "  not importable: " + Printable(facts.importer.words) + "\n" : text;
}

}  // namespace

std::string MovieReport(const MovieFacts& facts) {
    const std::vector<imFileInfoRec8>& streams = facts.importer.streams;
    const Report& report = facts.report;
    std::string text;
    for (size_t index = 0; index < streams.size(); ++index) {
        const std::string number = std::to_string(index);
        if (streams[index].hasVideo != 0) {
            text += "  video " + number + "\n" +
                    VideoReport(streams[index], facts.importer.pixelFormats,
                                FindTrack(report, TrackKind::Video, index));
        }
        if (streams[index].hasAudio != 0) {
            text += "  sound " + number + "\n" + SoundReport(streams[index]);
        }
    }
    text += TimecodeReport(facts.importer, report) + TracksReport(report) + MediaReport(report) +
            WarningsReport(report);
    return facts.importer.imports ? text : text + ReasonsReport(facts);
}

}  // namespace kvx_cli
