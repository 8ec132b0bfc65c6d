#include "inspect/movie_checks.h"

#include <algorithm>
#include <optional>

#include "core/four_char_code.h"
#include "inspect/words.h"

namespace kvx_inspect {

namespace {

using KVX::Core::FourCharCode;

// "mvhd", version 0
constexpr uint64_t kVersion = 8;
constexpr uint64_t kTimeScale = 20;
constexpr uint64_t kTimeScaleAndDuration = 8;

void CheckHeader(const AtomView& moov, Report& report) {
    const AtomView mvhd = moov.Child(FourCharCode("mvhd"));
    const auto damaged = [&report](const char* text) {
        report.findings.push_back({Code::Damaged, kWholeMovie, text});
    };
    if (!mvhd && moov.Child(FourCharCode("cmov"))) {
        damaged("the movie atom is compressed (\"cmov\"), and only plain ones are read");
    } else if (!mvhd) {
        damaged("the movie has no header");
    } else if (!mvhd.Holds(kTimeScale, kTimeScaleAndDuration)) {
        damaged("the movie header is cut short");
    } else if (mvhd.Signed32(kTimeScale) == 0) {
        damaged(mvhd.Unsigned8(kVersion) == 0
                    ? "the movie header counts time in units of nothing"
                    : "the movie header is of version 1, with 64-bit times, which are not read: no "
                      "time scale is found");
    }
}

// What walks do not see: a last track that passes the end of the movie atom.
void CheckEnd(const AtomView& moov, Report& report) {
    const uint64_t offset = moov.EndOfChildren();
    if (!moov.Holds(offset, 8) || moov.Unsigned32(offset + 4) != FourCharCode("trak")) {
        return;
    }
    const uint64_t left = moov.Length() - offset;
    const bool isExtended = moov.Unsigned32(offset) == 1;
    const uint64_t length =
        isExtended ? moov.Unsigned64(offset + 8) : uint64_t{moov.Unsigned32(offset)};
    if ((isExtended && left < 16) || length > left) {
        report.findings.push_back({Code::Damaged, kWholeMovie,
                                   "the last track passes the end of the movie atom, as of a file "
                                   "that was cut off"});
    }
}

void CheckVideoCount(Report& report) {
    const TrackFacts* first = nullptr;
    for (const TrackFacts& track : report.tracks) {
        if (track.kind != TrackKind::Video) {
            continue;
        }
        if (first == nullptr) {
            first = &track;
        } else if (track.index == 1) {
            report.findings.push_back({Code::SeveralVideos, track.number,
                                       "it is a second video track, beside track " +
                                           std::to_string(first->number) +
                                           "; exactly one is imported"});
        }
    }
    if (first == nullptr) {
        report.findings.push_back({Code::NoVideo, kWholeMovie, "the movie has no video track"});
    }
}

// The form of a track's samples as far as the host can express it: at 64 bits not even the byte
// order.
struct HostForm {
    uint32_t bits;
    bool isFloat;
    bool isSigned;
    bool isBigEndian;

    explicit HostForm(const SoundFacts& sound)
        : bits(sound.bits),
          isFloat(sound.bits == 32 && sound.isFloat),
          isSigned(sound.bits == 8 && sound.isSigned),
          isBigEndian(sound.bits > 8 && sound.bits < 64 && sound.isBigEndian) {}

    bool operator==(const HostForm& other) const {
        return bits == other.bits && isFloat == other.isFloat && isSigned == other.isSigned &&
               isBigEndian == other.isBigEndian;
    }
};

void CheckSoundForms(Report& report) {
    const TrackFacts* first = nullptr;
    for (const TrackFacts& track : report.tracks) {
        if (!track.sound || track.sound->sampleFormat.empty()) {
            continue;
        }
        if (first == nullptr) {
            first = &track;
        } else if (!(HostForm(*track.sound) == HostForm(*first->sound))) {
            report.findings.push_back({Code::SoundTypesDiffer, track.number,
                                       "its samples are " + track.sound->sampleFormat +
                                           ", those of track " + std::to_string(first->number) +
                                           " " + first->sound->sampleFormat +
                                           "; all sound tracks must be alike"});
        }
    }
}

void CheckTimecodeCount(Report& report) {
    for (const TrackFacts& track : report.tracks) {
        if (track.kind == TrackKind::Timecode && track.index == 1) {
            report.findings.push_back({Code::TimecodeSeveral, track.number,
                                       "it is a second timecode track; only the first is read"});
        }
    }
}

}  // namespace

void CheckMovie(const MovieFile& file, Report& report) {
    CheckHeader(file.Moov(), report);
    CheckEnd(file.Moov(), report);
    CheckVideoCount(report);
    CheckSoundForms(report);
    CheckTimecodeCount(report);
}

}  // namespace kvx_inspect
