// What a movie holds and what is wrong with it, as plain data.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "inspect/findings.h"
#include "inspect/sample_tables.h"

namespace kvx_inspect {

class MovieFile;

// A stretch of the movie file; offset 0 when what it is about is not there.
struct FileRange {
    uint64_t offset = 0;
    uint64_t length = 0;
};

// A "hdlr" atom.
struct Handler {
    uint32_t type = 0;
    uint32_t subtype = 0;
    FileRange subtypeRange;  // the four bytes
};

// An entry of a "dref".
struct DataReference {
    uint32_t type = 0;
    bool isSelfContained = false;
    FileRange range;   // the whole entry
    std::string path;  // of an alias record that could be read
};

// A file that holds samples.
struct MediaFile {
    std::string path;  // empty: no reference names one
    bool isMovieItself = false;
    bool canBeRead = false;  // a regular file that opens
    uint64_t size = 0;       // bytes, when it can be read
};

struct Edit {
    int64_t start = 0;      // on the track's timeline, media time units
    int64_t length = 0;     // media time units
    int64_t mediaTime = 0;  // media time units; below 0: an empty edit
    double rate = 1;
};

enum class FieldOrder { Progressive, UpperFirst, LowerFirst, Unknown };

struct ColourTag {
    uint32_t kind = 0;  // "nclc" or "nclx"
    int primaries = 0;
    int transfer = 0;
    int matrix = 0;
};

// In pixels; the offsets are of its centre from the frame's.
struct CleanAperture {
    double width = 0;
    double height = 0;
    double horizontalOffset = 0;
    double verticalOffset = 0;
};

struct VideoFacts {
    int width = 0;
    int height = 0;
    int depth = 0;
    bool isImported = false;         // the format is one that is
    int bits = 0;                    // of a component; 0 if the format is not imported
    const char* chroma = "";         // "4:2:2", "4:4:4"
    const char* range = "";          // of the levels, as the importer takes them: "64-940"
    uint64_t expectedFrameSize = 0;  // bytes of a frame of this format and size; 0 if not known
    FieldOrder fields = FieldOrder::Unknown;
    bool fieldsFromFile = false;
    uint32_t pixelAspectH = 0;  // 0 without one
    uint32_t pixelAspectV = 0;
    std::optional<ColourTag> colour;
    std::optional<CleanAperture> cleanAperture;
    int64_t frameCount = 0;  // on the edited timeline, as the host is told
};

struct SampleForm {
    bool isFloat = false;
    bool isSigned = false;
    bool isBigEndian = false;
};

// How the importer takes the sound, which may not be what it is.
struct SoundFacts {
    int version = 0;
    double rate = 0;
    uint32_t channels = 0;
    uint32_t bits = 0;
    uint32_t bytesPerFrame = 0;
    bool isFloat = false;
    bool isSigned = false;
    bool isBigEndian = false;
    bool isCompressed = false;  // and taken for PCM all the same
    std::string sampleFormat;   // "s24le", "u8", "f32be"; empty for a form that is not imported
    SampleForm own;             // what the samples really are, as far as the description says
    std::string ownFormat;      // that, as sampleFormat
    std::optional<uint32_t> layoutTag;
    FileRange layoutTagRange;             // the four bytes
    FileRange layoutRange;                // the "chan" that decides
    std::optional<uint32_t> formatFlags;  // of a version 2 description
};

struct TimecodeFacts {
    bool isDropFrame = false;
    int64_t timeScale = 0;
    int64_t frameDuration = 0;
    int framesPerSecond = 0;             // where the counter wraps
    bool isCounted = false;              // the importer counts at this rate
    std::optional<uint32_t> firstFrame;  // the first sample
    std::string start;                   // "01:00:00:00", where both are there
};

enum class TrackKind { Video, Sound, Timecode, Other };
constexpr size_t kTrackKindCount = 4;

struct TrackFacts {
    int number = 0;  // in the file, from 1
    int index = 0;   // among the tracks of its kind, from 0
    TrackKind kind = TrackKind::Other;
    FileRange range;  // the "trak"
    Handler mediaHandler;
    std::optional<Handler> dataHandler;
    std::vector<DataReference> dataReferences;
    MediaFile media;

    uint32_t format = 0;    // of the first sample description
    FileRange description;  // that one
    int64_t timeScale = 0;
    int64_t duration = 0;  // of the edited timeline, media time units
    std::vector<Edit> edits;
    SampleTables tables;  // look into the movie atom that the report keeps
    // The first sample, or frame, of the edited timeline whose bytes are not in the file, in units
    // of the tables' sampleDuration.
    std::optional<int64_t> firstMissing;

    std::optional<VideoFacts> video;
    std::optional<SoundFacts> sound;
    std::optional<TimecodeFacts> timecode;
};

enum class Verdict { Imports, Refused, Unreadable };

struct Report {
    std::string path;
    uint64_t fileSize = 0;
    int64_t timeScale = 0;
    int64_t duration = 0;
    std::vector<TrackFacts> tracks;         // all of them, in file order
    std::vector<Finding> findings;          // sorted
    std::shared_ptr<const MovieFile> file;  // what the tables of the tracks look into; may be null

    Verdict GetVerdict() const;
    // Null for kWholeMovie and for a number that no track has.
    const TrackFacts* TrackNumber(int number) const;
};

}  // namespace kvx_inspect
