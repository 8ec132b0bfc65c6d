// The pictures: their description, and how the importer takes them.
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

// "Video Sample Description" (QuickTime File Format)
constexpr uint64_t kWidth = 32;
constexpr uint64_t kHeight = 34;
constexpr uint64_t kDepth = 82;
constexpr uint64_t kExtensions = 86;

constexpr uint64_t kData = 8;  // of an extension

constexpr uint32_t kR210 = FourCharCode("r210");

// What people ask about the formats that are imported.
struct Levels {
    uint32_t format;
    int bits;
    const char* chroma;
    const char* range;
};
constexpr Levels kLevels[] = {
    {FourCharCode("2vuy"), 8, "4:2:2", "16-235"},
    {FourCharCode("2Vuy"), 8, "4:2:2", "16-235"},
    {FourCharCode("v210"), 10, "4:2:2", "64-940"},
    {kR210, 10, "4:4:4", "64-940"},
};

// Null for a format that is not imported.
const KVX::QT::VideoFormat* FindImported(uint32_t code) {
    const KVX::QT::VideoFormat* const format = KVX::QT::FindVideoFormat(code);
    return format != nullptr && format->IsOfferedUncompressed() ? format : nullptr;
}

void SetLevels(uint32_t format, VideoFacts& video) {
    for (const Levels& row : kLevels) {
        if (row.format == format) {
            video.bits = row.bits;
            video.chroma = row.chroma;
            video.range = row.range;
        }
    }
}

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

// "fiel": which field of two is shown first.
struct FieldDetail {
    uint8_t detail;
    FieldOrder order;
};
constexpr FieldDetail kFieldDetails[] = {
    {1, FieldOrder::UpperFirst},
    {6, FieldOrder::LowerFirst},
    {9, FieldOrder::LowerFirst},
    {14, FieldOrder::UpperFirst},
};

void ReadFields(const AtomView& fiel, VideoFacts& video) {
    const uint8_t count = fiel.Unsigned8(kData);
    const uint8_t detail = fiel.Unsigned8(kData + 1);
    if (count == 1) {
        video.fields = FieldOrder::Progressive;
        video.fieldsFromFile = true;
    } else if (count == 2) {
        for (const FieldDetail& row : kFieldDetails) {
            if (row.detail == detail) {
                video.fields = row.order;
                video.fieldsFromFile = true;
            }
        }
    }
}

void ReadColour(const AtomView& colr, VideoFacts& video) {
    const uint32_t kind = colr.Unsigned32(kData);
    const bool hasCodes = kind == FourCharCode("nclc") || kind == FourCharCode("nclx");
    if (hasCodes && colr.Holds(kData, 10)) {
        video.colour = ColourTag{kind, colr.Unsigned16(kData + 4), colr.Unsigned16(kData + 6),
                                 colr.Unsigned16(kData + 8)};
    }
}

double Ratio(const AtomView& clap, uint64_t offset) {
    const uint32_t denominator = clap.Unsigned32(offset + 4);
    return denominator == 0 ? 0 : static_cast<double>(clap.Signed32(offset)) / denominator;
}

void ReadCleanAperture(const AtomView& clap, VideoFacts& video) {
    if (clap.Holds(kData, 32)) {
        video.cleanAperture = CleanAperture{Ratio(clap, kData), Ratio(clap, kData + 8),
                                            Ratio(clap, kData + 16), Ratio(clap, kData + 24)};
    }
}

// Extensions that the importer reads need all the bytes that it reads of them.
struct NeededExtension {
    uint32_t ofFormat;  // 0: of every format
    uint32_t type;
    uint64_t bytes;
};
constexpr NeededExtension kNeededExtensions[] = {
    {0, FourCharCode("pasp"), kData + 8},
    {0, FourCharCode("fiel"), kData + 2},
    {FourCharCode("r10k"), FourCharCode("Rnge"), kData + 4},
    {FourCharCode("r10k"), FourCharCode("DpxE"), kData + 4},
};

bool IsCutShort(uint32_t format, const AtomView& extension) {
    if (format == FourCharCode("avc1") && extension.Type() == FourCharCode("avcC")) {
        return !extension.Holds(0, extension.HeaderLength());
    }
    for (const NeededExtension& row : kNeededExtensions) {
        if ((row.ofFormat == 0 || row.ofFormat == format) && row.type == extension.Type()) {
            return !extension.Holds(0, row.bytes);
        }
    }
    return false;
}

void ReadExtension(TrackReader& reader, const AtomView& extension) {
    VideoFacts& video = *reader.track.video;
    if (IsCutShort(reader.track.format, extension)) {
        reader.Add(Code::Damaged,
                   "the " + Quoted(extension.Type()) + " of the sample description is cut short");
        return;
    }
    switch (extension.Type()) {
        case FourCharCode("pasp"):
            video.pixelAspectH = extension.Unsigned32(kData);
            video.pixelAspectV = extension.Unsigned32(kData + 4);
            break;
        case FourCharCode("fiel"):
            ReadFields(extension, video);
            break;
        case FourCharCode("colr"):
            ReadColour(extension, video);
            break;
        case FourCharCode("clap"):
            ReadCleanAperture(extension, video);
            break;
        default:
            break;
    }
}

// What the importer assumes of a file that does not tell: what broadcast makes of the height and
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
    reader.Add(Code::FieldsAssumed, std::string("the file does not tell its fields; taken as ") +
                                        InWords(video.fields) + ", by its height and rate");
}

constexpr int kWidestOf601 = 720;

// Matrix coefficients by their code (ITU-T H.273). 601 goes by two codes.
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
    const bool isWide = video.width > kWidestOf601;
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
    constexpr uint64_t kSizeCount = 16;
    const int64_t count = std::min<int64_t>(tables.sampleCount, tables.sizes.Signed32(kSizeCount));
    for (int64_t frame = 0; frame < (tables.fixedSize != 0 ? 1 : count); ++frame) {
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
    // Where what tells the length is damaged, that is what is found.
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

void ReadVideo(TrackReader& reader) {
    const AtomView& entry = reader.description;
    VideoFacts& video = reader.track.video.emplace();
    if (!entry) {
        return;
    }
    if (!entry.Holds(0, kExtensions)) {
        reader.Add(Code::Damaged, "the sample description is cut short");
    }
    video.width = entry.Signed16(kWidth);
    video.height = entry.Signed16(kHeight);
    video.depth = entry.Signed16(kDepth);
    uint64_t offset = kExtensions;
    while (const AtomView extension = entry.AtomAt(offset)) {
        ReadExtension(reader, extension);
        offset += extension.Length();
    }
    SetLevels(reader.track.format, video);
    const KVX::QT::VideoFormat* const format = FindImported(reader.track.format);
    if (format != nullptr && video.width > 0 && video.height > 0) {
        video.expectedFrameSize =
            static_cast<uint64_t>(format->rowBytes(video.width) * video.height);
    }
}

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
    if (FindImported(reader.track.format) == nullptr) {
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
                   "the file does not tell the shape of its pixels, and the host is told none");
    }
}

}  // namespace kvx_inspect
