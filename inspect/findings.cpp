#include "inspect/findings.h"

#include <algorithm>
#include <tuple>

namespace kvx_inspect {

namespace {

constexpr CodeFacts kCodes[] = {
    {Code::Unreadable, "unreadable", Severity::Refused, ""},
    {Code::NotQuickTime, "not-quicktime", Severity::Refused, ""},
    {Code::MoovMissing, "moov-missing", Severity::Refused,
     "record or copy it again: what the frames need to be found is not in the file"},
    {Code::MoovTooLarge, "moov-too-large", Severity::Refused,
     "write it in shorter parts, or with more samples in a chunk: 8 MiB is the most"},
    {Code::Damaged, "damaged", Severity::Refused,
     "copy it again, or write it anew with \"ffmpeg -c copy\", and then \"kvx mend\""},
    {Code::DataHandler, "data-handler", Severity::Refused,
     "\"kvx mend MOVIE\" replaces it, and changes no sample"},
    {Code::NoVideo, "no-video", Severity::Refused, "add a video track"},
    {Code::SeveralVideos, "several-videos", Severity::Refused,
     "write a movie for each video track: \"ffmpeg -map 0:v:0 -map 0:a? -c copy\""},
    {Code::Codec, "codec", Severity::Refused,
     "convert it to v210, 2vuy or r210: \"ffmpeg -c:v v210\""},
    {Code::MediaMissing, "media-missing", Severity::Refused,
     "put the media back where the movie looks for it, or write a movie that holds its own media"},
    {Code::SoundTypesDiffer, "sound-types-differ", Severity::Refused,
     "give all sound tracks one form: \"ffmpeg -c:v copy -c:a pcm_s24le\""},
    {Code::SoundLayout, "sound-layout", Severity::Refused,
     "\"kvx mend MOVIE\" changes ffmpeg's \"5.1\" to one of these; any other has to be written "
     "anew"},
    {Code::SoundForm, "sound-form", Severity::Refused,
     "convert the sound: \"ffmpeg -c:v copy -c:a pcm_s24le\""},

    {Code::Truncated, "truncated", Severity::Warning, "copy it again from where it is whole"},
    {Code::Fragmented, "fragmented", Severity::Warning,
     "write it in one piece: \"ffmpeg -c copy\" without fragments"},
    {Code::NoFrames, "no-frames", Severity::Warning, ""},
    {Code::FrameSize, "frame-size", Severity::Warning, ""},
    {Code::FrameSizeMismatch, "frame-size-mismatch", Severity::Warning,
     "write it with a program that pads its rows as the format says"},
    {Code::EditList, "edit-list", Severity::Warning,
     "write it without edits: \"ffmpeg -c copy -use_editlist 0\""},
    {Code::SoundNotDelivered, "sound-not-delivered", Severity::Warning,
     "convert the sound: mono, stereo or 5.1, \"-c:a pcm_s24le\""},
    {Code::SoundCompressed, "sound-compressed", Severity::Warning,
     "convert the sound: \"ffmpeg -c:v copy -c:a pcm_s24le\""},
    {Code::SoundByteOrder, "sound-byte-order", Severity::Warning,
     "convert the sound: \"ffmpeg -c:v copy -c:a pcm_s24le\""},
    {Code::ColourTag, "colour-tag", Severity::Warning,
     "correct the colours in the host, or convert the movie to the matrix of its width"},
    {Code::TimecodeRate, "timecode-rate", Severity::Warning,
     "write the timecode at a rate that is counted: 23.976, 24, 25, 29.97, 30, 50, 59.94 or 60"},
    {Code::TimecodeSeveral, "timecode-several", Severity::Warning,
     "put the timecode that counts first, or keep it alone"},
    {Code::VariableRate, "variable-rate", Severity::Warning,
     "write it at a constant rate: \"ffmpeg -fps_mode cfr\""},

    {Code::FieldsAssumed, "fields-assumed", Severity::Note, ""},
    {Code::ExternalMedia, "external-media", Severity::Note, ""},
    {Code::Range, "range", Severity::Note, ""},
    {Code::CleanAperture, "clean-aperture", Severity::Note, ""},
    {Code::PixelAspectMissing, "pixel-aspect-missing", Severity::Note, ""},
};
static_assert(sizeof(kCodes) / sizeof(kCodes[0]) == kCodeCount, "each code once, in their order");

constexpr bool AreInOrder() {
    for (size_t i = 0; i < kCodeCount; ++i) {
        if (static_cast<size_t>(kCodes[i].code) != i) {
            return false;
        }
    }
    return true;
}
static_assert(AreInOrder(), "FactsOf looks them up by place");

}  // namespace

const CodeFacts& FactsOf(Code code) {
    return kCodes[static_cast<size_t>(code)];
}

const char* NameOf(Severity severity) {
    switch (severity) {
        case Severity::Refused:
            return "refused";
        case Severity::Warning:
            return "warning";
        default:
            return "note";
    }
}

const char* RemedyOf(const Finding& finding) {
    return finding.remedy != nullptr ? finding.remedy : FactsOf(finding.code).remedy;
}

void Sort(std::vector<Finding>& findings) {
    const auto key = [](const Finding& finding) {
        return std::tuple(FactsOf(finding.code).severity, finding.track, finding.code);
    };
    std::stable_sort(findings.begin(), findings.end(),
                     [key](const Finding& a, const Finding& b) { return key(a) < key(b); });
}

bool Has(const std::vector<Finding>& findings, Severity severity) {
    return std::any_of(findings.begin(), findings.end(), [severity](const Finding& finding) {
        return FactsOf(finding.code).severity == severity;
    });
}

bool Has(const std::vector<Finding>& findings, Code code) {
    return std::any_of(findings.begin(), findings.end(),
                       [code](const Finding& finding) { return finding.code == code; });
}

}  // namespace kvx_inspect
