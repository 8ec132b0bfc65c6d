#include "inspect/inspect.h"

#include <memory>

#include "core/four_char_code.h"
#include "inspect/movie_checks.h"
#include "inspect/movie_file.h"
#include "inspect/track_reader.h"

namespace kvx_inspect {

namespace {

using KVX::Core::FourCharCode;

constexpr uint64_t kTimeScale = 20;
constexpr uint64_t kDuration = 24;
constexpr size_t kMostFindings = 1000;

struct KindOfMedia {
    uint32_t handler;
    TrackKind kind;
};
constexpr KindOfMedia kKinds[] = {
    {FourCharCode("vide"), TrackKind::Video},
    {FourCharCode("soun"), TrackKind::Sound},
    {FourCharCode("tmcd"), TrackKind::Timecode},
};

TrackKind KindOf(uint32_t handler) {
    for (const KindOfMedia& row : kKinds) {
        if (row.handler == handler) {
            return row.kind;
        }
    }
    return TrackKind::Other;
}

void InspectTrack(TrackReader& reader) {
    const TrackFacts& track = reader.track;
    ReadDescription(reader);
    bool hasTables = true;
    switch (track.kind) {
        case TrackKind::Video:
            ReadVideo(reader);
            break;
        case TrackKind::Sound:
            hasTables = ReadSound(reader);
            break;
        default:
            ReadTimecode(reader);
    }
    if (!hasTables) {
        return;
    }
    ReadHeaders(reader);
    ReadEdits(reader);
    ReadDataReferences(reader);
    ReadSampleTables(reader);

    CheckExtents(reader);
    CheckEdits(reader);
    if (track.kind == TrackKind::Video) {
        CheckVideo(reader);
    } else if (track.kind == TrackKind::Timecode) {
        CheckTimecode(reader);
    }
}

// A movie atom may hold hundreds of thousands of tracks of which each is wrong. One that is refused
// anyway is not reported to the last of them.
bool IsEnough(const Report& report) {
    return report.findings.size() >= kMostFindings && Has(report.findings, Severity::Refused);
}

void InspectMoov(const MovieFile& file, Report& report) {
    const AtomView moov = file.Moov();
    const AtomView header = moov.Child(FourCharCode("mvhd"));
    report.timeScale = header.Signed32(kTimeScale);
    report.duration = header.Unsigned32(kDuration);
    const bool hasFragments = file.HasFragments() || moov.Child(FourCharCode("mvex"));
    if (hasFragments) {
        report.findings.push_back(
            {Code::Fragmented, kWholeMovie,
             "the movie is in fragments; the importer sees only what its movie atom lists"});
    }

    int countOfKind[kTrackKindCount] = {};
    AtomView trak;
    while ((trak = moov.Child(FourCharCode("trak"), trak)) && !IsEnough(report)) {
        report.tracks.emplace_back();
        TrackFacts& track = report.tracks.back();
        track.number = static_cast<int>(report.tracks.size());
        TrackReader reader{report, track, file, moov, trak, {}, {}, {}, {}, hasFragments};
        track.range = reader.RangeOf(trak);
        if (ReadMediaHandler(reader)) {
            track.kind = KindOf(track.mediaHandler.subtype);
            track.index = countOfKind[static_cast<size_t>(track.kind)]++;
        }
        if (track.kind != TrackKind::Other) {
            InspectTrack(reader);
        }
    }
    CheckMovie(file, report);
}

}  // namespace

Verdict Report::GetVerdict() const {
    if (Has(findings, Code::Unreadable)) {
        return Verdict::Unreadable;
    }
    return Has(findings, Severity::Refused) ? Verdict::Refused : Verdict::Imports;
}

const TrackFacts* Report::TrackNumber(int number) const {
    const bool exists = number > 0 && static_cast<size_t>(number) <= tracks.size();
    return exists ? &tracks[static_cast<size_t>(number) - 1] : nullptr;
}

Report Inspect(const std::string& path) {
    return Inspect(path, {});
}

Report Inspect(const std::string& path, const std::vector<Change>& changes) {
    Report report;
    report.path = path;
    const auto file = std::make_shared<MovieFile>(path);
    if (file->Read(report.findings)) {
        file->ApplyInMemory(changes);
        report.file = file;
        InspectMoov(*file, report);
    }
    report.fileSize = file->Size();
    Sort(report.findings);
    return report;
}

}  // namespace kvx_inspect
