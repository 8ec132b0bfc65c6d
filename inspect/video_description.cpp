// The description of the pictures.
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
    video.isImported = format != nullptr;
    if (format != nullptr && video.width > 0 && video.height > 0) {
        video.expectedFrameSize =
            static_cast<uint64_t>(format->rowBytes(video.width) * video.height);
    }
}

}  // namespace kvx_inspect
