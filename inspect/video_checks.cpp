// How the pictures will be taken, and what follows from their description and tables together.
#include <algorithm>
#include <cstdio>

#include "core/big_endian.h"
#include "core/four_char_code.h"
#include "inspect/track_reader.h"
#include "inspect/words.h"
#include "quicktime/video_formats.h"

namespace kvx_inspect {

namespace {

using KVX::Core::FourCharCode;

constexpr uint32_t kR210 = FourCharCode("r210");

// Compressed formats that people meet, for words.
struct FormatName {
    uint32_t format;
    const char* name;
};
constexpr FormatName kFormatNames[] = {
    {FourCharCode("avc1"), "H.264"},
    {FourCharCode("hvc1"), "H.265"},
    {FourCharCode("hev1"), "H.265"},
    {FourCharCode("av01"), "AV1"},
    {FourCharCode("apch"), "ProRes 422 HQ"},
    {FourCharCode("apcn"), "ProRes 422"},
    {FourCharCode("apcs"), "ProRes 422 LT"},
    {FourCharCode("apco"), "ProRes 422 Proxy"},
    {FourCharCode("ap4h"), "ProRes 4444"},
    {FourCharCode("ap4x"), "ProRes 4444 XQ"},
    {FourCharCode("AVdn"), "DNxHD"},
    {FourCharCode("AVdh"), "DNxHR"},
    {FourCharCode("jpeg"), "JPEG"},
    {FourCharCode("mjpa"), "Motion JPEG"},
    {FourCharCode("mp4v"), "MPEG-4"},
    {FourCharCode("png "), "PNG"},
    {FourCharCode("rle "), "Animation"},
    {FourCharCode("raw "), "uncompressed RGB"},
    {FourCharCode("R10k"), "10-bit RGB"},
    {FourCharCode("r10k"), "10-bit RGB"},
    {FourCharCode("b48r"), "16-bit RGB"},
    {FourCharCode("yuv2"), "8-bit YUV 4:2:2"},
    {FourCharCode("yuvs"), "8-bit YUV 4:2:2"},
    {FourCharCode("v216"), "16-bit YUV 4:2:2"},
    {FourCharCode("v308"), "8-bit YUV 4:4:4"},
    {FourCharCode("v410"), "10-bit YUV 4:4:4"},
    {FourCharCode("v408"), "8-bit YUVA"},
    {FourCharCode("dvc "), "DV"},
};

std::string FormatInWords(uint32_t format) {
    for (const FormatName& row : kFormatNames) {
        if (row.format == format) {
            return std::string(row.name) + " (" + Quoted(format) + ")";
        }
    }
    return Quoted(format);
}

// What the importer assumes of a file that does not say: what broadcast makes of the height and
// the rate in whole numbers.
FieldOrder AssumedFields(int height, int64_t rate) {
    if (height == 576 || (height == 1080 && rate >= 25 && rate <= 49)) {
        return FieldOrder::UpperFirst;
    }
    return height == 486 && rate >= 25 ? FieldOrder::LowerFirst : FieldOrder::Progressive;
}

const char* InWords(FieldOrder fields) {
    switch (fields) {
        case FieldOrder::Progressive:
            return "progressive";
        case FieldOrder::UpperFirst:
            return "upper field first";
        case FieldOrder::LowerFirst:
            return "lower field first";
        default:
            return "unknown";
    }
}

void AssumeFields(const TrackReader& reader, VideoFacts& video) {
    if (video.fieldsFromFile) {
        return;
    }
    const SampleTables& tables = reader.track.tables;
    const int64_t rate =
        tables.sampleDuration == 0 ? 0 : reader.track.timeScale / tables.sampleDuration;
    video.fields = AssumedFields(video.height, rate);
    reader.Add(Code::FieldsAssumed, std::string("the file does not state its fields; taken as ") +
                                        InWords(video.fields) + ", by its height and rate");
}

// Matrix coefficients by their code (ITU-T H.273). 601 has two codes.
const char* MatrixName(int code) {
    switch (code) {
        case 0:
            return "RGB";
        case 1:
            return "Rec. 709";
        case 4:
            return "FCC";
        case 5:
        case 6:
            return "Rec. 601";
        case 7:
            return "SMPTE 240M";
        case 9:
        case 10:
            return "Rec. 2020";
        default:
            return nullptr;
    }
}

void CheckColour(const TrackReader& reader, const VideoFacts& video) {
    if (!video.colour || reader.track.format == kR210) {
        return;
    }
    const int code = video.colour->matrix;
    const bool isWide = video.width > KVX::QT::kWidestRec601;
    const bool agrees = isWide ? code == 1 : code == 5 || code == 6;
    constexpr int kUnspecified = 2;
    if (agrees || code == kUnspecified) {
        return;
    }
    const char* const name = MatrixName(code);
    reader.Add(Code::ColourTag, "it is tagged with the matrix of " +
                                    (name != nullptr ? name : "code " + std::to_string(code)) +
                                    "; by its width of " + std::to_string(video.width) +
                                    " it is converted with that of " +
                                    (isWide ? "Rec. 709" : "Rec. 601"));
}

void CheckCleanAperture(const TrackReader& reader, const VideoFacts& video) {
    if (!video.cleanAperture) {
        return;
    }
    const CleanAperture& clean = *video.cleanAperture;
    const bool isWhole = clean.width == video.width && clean.height == video.height &&
                         clean.horizontalOffset == 0 && clean.verticalOffset == 0;
    if (isWhole) {
        return;
    }
    char text[128];
    std::snprintf(text, sizeof text,
                  "a clean aperture of %g x %g is set in it; the whole frame is imported",
                  clean.width, clean.height);
    reader.Add(Code::CleanAperture, text);
}

// True once a frame's bytes are not what its format and size need.
void CheckFrameSizes(const TrackReader& reader, const VideoFacts& video) {
    if (video.expectedFrameSize == 0) {
        return;
    }
    const SampleTables& tables = reader.track.tables;
    const int64_t count = tables.fixedSize != 0 ? 1 : tables.SizesThere();
    for (int64_t frame = 0; frame < count; ++frame) {
        const uint32_t size = tables.SizeOf(frame);
        if (size != 0 && size != video.expectedFrameSize) {
            const char* const effect = size < video.expectedFrameSize
                                           ? "the picture is not whole"
                                           : "what is left over is not shown";
            reader.Add(Code::FrameSizeMismatch,
                       (tables.fixedSize != 0 ? std::string("frames have ")
                                              : "frame " + std::to_string(frame) + " has ") +
                           std::to_string(size) + " bytes, and " +
                           std::to_string(video.expectedFrameSize) + " belong to " +
                           std::to_string(video.width) + " x " + std::to_string(video.height) +
                           " pixels: " + effect);
            return;
        }
    }
}

// Durations that differ, but for the last sample's own.
void CheckRate(const TrackReader& reader) {
    const SampleTables& tables = reader.track.tables;
    const TableEntries entries(tables.durations, 8);
    int64_t sample = 0;
    for (int64_t entry = 0; entry < entries.count; ++entry) {
        const char* const bytes = entries.bytes + entry * 8;
        const auto count = static_cast<int32_t>(KVX::Core::ReadBig32(bytes));
        const auto duration = static_cast<int32_t>(KVX::Core::ReadBig32(bytes + 4));
        if (count > 0 && duration != tables.sampleDuration && sample < tables.sampleCount - 1) {
            reader.Add(
                Code::VariableRate,
                "frames last from " +
                    Seconds(static_cast<double>(tables.sampleDuration), reader.track.timeScale) +
                    " to at least " +
                    Seconds(static_cast<double>(duration), reader.track.timeScale) +
                    "; the host is told the shortest, and sees the others repeated");
            return;
        }
        sample += count;
    }
}

int64_t FrameCount(const TrackFacts& track) {
    // The host is told both in 32 bits.
    const auto duration = static_cast<int32_t>(track.duration);
    const auto unit = static_cast<int32_t>(track.tables.sampleDuration);
    return unit > 0 ? duration / unit : 0;
}

void CheckFrameCount(const TrackReader& reader, const VideoFacts& video) {
    const SampleTables& tables = reader.track.tables;
    // Where what states the length is damaged, that is what is found.
    const bool isTold = reader.report.timeScale != 0 && reader.track.timeScale != 0 &&
                        !reader.track.edits.empty() && tables.durations;
    if (!isTold || reader.hasFragments || (video.frameCount >= 1 && tables.sampleCount >= 1)) {
        return;
    }
    std::string why = "it has no frames";
    if (tables.sampleCount >= 1) {
        why = tables.sampleDuration <= 0 ? "a frame lasts no time"
              : reader.track.duration > INT32_MAX
                  ? "its length of " + std::to_string(reader.track.duration) +
                        " units is more than the host can be told"
                  : "its length is 0";
        why += ": it counts as a movie without frames";
    }
    reader.Add(Code::NoFrames, why);
}

// The host counts 254,016,000,000 ticks a second in 64 bits, and refuses a frame that takes more.
void CheckTicks(const TrackReader& reader) {
    constexpr int64_t kTicksPerSecond = 254016000000;
    const auto scale = static_cast<int32_t>(reader.track.timeScale);
    const auto unit = static_cast<int32_t>(reader.track.tables.sampleDuration);
    if (scale == 0) {
        return;
    }
    int64_t whole = 0;
    const int64_t rest = kTicksPerSecond % scale * unit / scale;
    if (__builtin_mul_overflow(kTicksPerSecond / scale, int64_t{unit}, &whole) ||
        __builtin_add_overflow(whole, rest, &whole)) {
        reader.Add(Code::Damaged, "a frame lasts " + Seconds(static_cast<double>(unit), scale) +
                                      ", longer than the host can count");
    }
}

}  // namespace

void CheckVideo(const TrackReader& reader) {
    VideoFacts& video = *reader.track.video;
    video.frameCount = FrameCount(reader.track);
    if (!reader.description) {
        return;
    }
    CheckTicks(reader);
    CheckFrameCount(reader, video);
    CheckRate(reader);
    if (video.width < 1 || video.height < 1) {
        reader.Add(Code::FrameSize, "a frame has " + std::to_string(video.width) + " x " +
                                        std::to_string(video.height) +
                                        " pixels: it imports, and never shows");
    }
    if (!video.isImported) {
        reader.Add(Code::Codec, "its pictures are " + FormatInWords(reader.track.format) +
                                    "; only uncompressed 2vuy, v210 and r210 are imported");
        return;
    }
    CheckFrameSizes(reader, video);
    CheckColour(reader, video);
    AssumeFields(reader, video);
    if (reader.track.format == kR210) {
        reader.Add(Code::Range, "its levels are taken to run from 64 to 940");
    }
    CheckCleanAperture(reader, video);
    if (video.pixelAspectH == 0 || video.pixelAspectV == 0) {
        reader.Add(Code::PixelAspectMissing,
                   "the file does not state the shape of its pixels, and the host is given none");
    }
}

}  // namespace kvx_inspect
