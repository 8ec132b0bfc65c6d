// The inspector on a file of any bytes, everything that it tells walked through, and its verdict
// beside what the reader makes of the same file.
#include "inspect/inspect.h"

#include <cstddef>
#include <cstdint>
#include <memory>

#include "fuzz/support/memory_file.h"
#include "fuzz/support/require.h"
#include "quicktime/movie.h"
#include "quicktime/video_track.h"

using namespace kvx_fuzz;
using namespace kvx_inspect;

namespace {

constexpr int kMostSamples = 10000;

volatile uint64_t gSink;

void VisitTrack(const TrackFacts& track, const Report& report) {
    SampleWalk walk(track.tables);
    Sample sample;
    uint64_t sum = 0;
    int64_t next = 0;
    for (int i = 0; i < kMostSamples && walk.Next(sample); ++i) {
        Require(sample.index >= 0 && sample.index < track.tables.sampleCount);
        next = sample.index + 1;
        sum += sample.offset + sample.size;
    }
    gSink = sum + static_cast<uint64_t>(next);
    for (const FileRange& range :
         {track.range, track.description, track.mediaHandler.subtypeRange}) {
        Require(range.offset <= report.fileSize);
        Require(range.length <= report.fileSize - range.offset);
    }
    for (const DataReference& reference : track.dataReferences) {
        Require(reference.range.offset + reference.range.length <= report.fileSize);
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    static MemoryFile file;
    file.Write(data, size);
    const Report report = Inspect(file.Path());
    for (const TrackFacts& track : report.tracks) {
        VisitTrack(track, report);
    }
    for (const Finding& finding : report.findings) {
        Require(!finding.text.empty());
        Require(finding.track == kWholeMovie || report.TrackNumber(finding.track) != nullptr);
    }
    const std::unique_ptr<KVX::QT::Movie> movie(KVX::QT::Movie::Create(file.Path()));
    if (movie == nullptr) {
        Require(report.GetVerdict() != Verdict::Imports);
    } else if (report.GetVerdict() == Verdict::Imports) {
        Require(movie->mVideoTracks.size() == 1);
    }
    return 0;
}
