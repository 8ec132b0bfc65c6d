// What can be wrong with a movie, or worth knowing: the codes, how grave each is and what helps.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

namespace kvx_inspect {

enum class Severity {
    Refused,  // the importer does not take the movie
    Warning,  // it does, and something will not be as expected
    Note,     // worth knowing
};

// In the order of a report.
enum class Code {
    Unreadable,
    NotQuickTime,
    MoovMissing,
    MoovTooLarge,
    Damaged,
    DataHandler,
    NoVideo,
    SeveralVideos,
    Codec,
    MediaMissing,
    SoundTypesDiffer,
    SoundLayout,
    SoundForm,
    Truncated,
    Fragmented,
    NoFrames,
    FrameSize,
    FrameSizeMismatch,
    EditList,
    SoundNotDelivered,
    SoundCompressed,
    SoundByteOrder,
    ColourTag,
    TimecodeRate,
    TimecodeSeveral,
    VariableRate,
    FieldsAssumed,
    ExternalMedia,
    Range,
    CleanAperture,
    PixelAspectMissing,
};
constexpr size_t kCodeCount = static_cast<size_t>(Code::PixelAspectMissing) + 1;

// What is the same of a code wherever it is found.
struct CodeFacts {
    Code code;
    const char* name;  // stable, for programs: "data-handler"
    Severity severity;
    const char* remedy;  // in most cases; empty if there is none
};

const CodeFacts& FactsOf(Code code);

// "refused", "warning" or "note".
const char* NameOf(Severity severity);

constexpr int kWholeMovie = 0;

struct Finding {
    Code code;
    int track = kWholeMovie;  // TrackFacts::number
    std::string text;         // one line, without a full stop
    // What helps here, where it is not what helps against its code everywhere.
    const char* remedy = nullptr;
};

// What helps; empty if nothing is known.
const char* RemedyOf(const Finding& finding);

// By severity, then by track, then by code; what is alike in these stays in order.
void Sort(std::vector<Finding>& findings);

bool Has(const std::vector<Finding>& findings, Severity severity);
bool Has(const std::vector<Finding>& findings, Code code);

}  // namespace kvx_inspect
