#include "cli/movie/media_track.h"

#include <fcntl.h>

#include <cerrno>
#include <cstring>

#include "inspect/inspect.h"

namespace kvx_cli {

using kvx_inspect::Code;
using kvx_inspect::Finding;
using kvx_inspect::Report;
using kvx_inspect::TrackFacts;
using kvx_inspect::TrackKind;

namespace {

// Why the samples of a track cannot be found: what the tables or the references lack.
std::string WhyNot(const Report& report, const TrackFacts& track) {
    for (const Finding& finding : report.findings) {
        const bool isWhy = finding.code == Code::Damaged || finding.code == Code::MediaMissing ||
                           finding.code == Code::SoundForm;
        if (isWhy && finding.track == track.number) {
            return finding.text;
        }
    }
    return "its samples cannot be found";
}

bool CanBeWalked(const TrackFacts& track) {
    const kvx_inspect::SampleTables& tables = track.tables;
    return tables.durations && tables.chunkRuns && tables.sizes && tables.chunkOffsets &&
           track.media.canBeRead && (track.kind != TrackKind::Sound || track.sound);
}

}  // namespace

std::shared_ptr<const Report> LookAtMovie(TimeLimit& limit, const std::string& path,
                                          Problem& problem) {
    auto report = limit.Ask<Report>([path] { return kvx_inspect::Inspect(path); });
    if (!report) {
        problem = {kExitFailed, limit.Words()};
        return nullptr;
    }
    if (report->file == nullptr) {
        const Finding& first = report->findings.front();
        problem = {first.code == Code::Unreadable ? kExitFailed : kExitRefused, first.text};
        return nullptr;
    }
    return std::make_shared<const Report>(std::move(*report));
}

void AddInputs(const Report& report, InputFiles& inputs) {
    inputs.Add(report.path);
    for (const TrackFacts& track : report.tracks) {
        inputs.Add(track.media.path);
    }
}

InputFiles InputsOf(const Report& report) {
    InputFiles inputs;
    AddInputs(report, inputs);
    return inputs;
}

const TrackFacts* FindTrack(const Report& report, TrackKind kind, size_t index, Problem& problem) {
    size_t count = 0;
    for (const TrackFacts& track : report.tracks) {
        if (track.kind != kind) {
            continue;
        }
        if (count++ != index) {
            continue;
        }
        if (!CanBeWalked(track)) {
            problem = {kExitRefused, WhyNot(report, track)};
            return nullptr;
        }
        return &track;
    }
    const std::string noun = kind == TrackKind::Sound ? "sound" : "video";
    problem = {kExitRefused,
               count == 0 ? "it has no " + noun
                          : "its last " + noun + " stream is number " + std::to_string(count - 1)};
    return nullptr;
}

int OpenMedia(const TrackFacts& track, Problem& problem) {
    const int descriptor = open(track.media.path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
    if (descriptor < 0) {
        problem = {kExitFailed, "cannot read " + track.media.path + ": " + std::strerror(errno)};
    }
    return descriptor;
}

std::string MissingWords(const Report& report, const TrackFacts& track) {
    for (const Finding& finding : report.findings) {
        if (finding.code == Code::Truncated && finding.track == track.number) {
            return finding.text;
        }
    }
    return {};
}

}  // namespace kvx_cli
