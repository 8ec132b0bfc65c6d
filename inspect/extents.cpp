// Samples that the tables put after the end of the file, or nowhere, and when they will be missed.
#include <algorithm>
#include <vector>

#include "core/big_endian.h"
#include "inspect/track_reader.h"
#include "inspect/words.h"
#include "quicktime/wrapping.h"

namespace kvx_inspect {

namespace {

using KVX::Core::ReadBig32;
using KVX::QT::WrappingSum;

// Samples [first, end) that are not there.
struct MissingRun {
    int64_t first;
    int64_t end;
};

// The first is what counts; the others are used where edits reverse the order.
constexpr size_t kMostRuns = 64;
constexpr size_t kMostEdits = 4096;

struct Missing {
    std::vector<MissingRun> runs;
    int64_t count = 0;

    void Add(int64_t first, int64_t end) {
        if (first >= end) {
            return;
        }
        count += end - first;
        if (!runs.empty() && runs.back().end == first) {
            runs.back().end = end;
        } else if (runs.size() < kMostRuns) {
            runs.push_back({first, end});
        }
    }
};

void AddFromChunk(const SampleTables& tables, const Chunk& chunk, uint64_t fileSize,
                  Missing& missing) {
    const int64_t first = std::max<int64_t>(chunk.firstSample, 0);
    const int64_t end = std::min(chunk.firstSample + chunk.sampleCount, tables.sampleCount);
    if (first >= end) {
        return;
    }
    if (tables.fixedSize != 0) {
        const uint64_t room = chunk.offset < fileSize ? fileSize - chunk.offset : 0;
        const auto fit = static_cast<int64_t>(room / tables.fixedSize);
        missing.Add(std::max(first, chunk.firstSample + std::min(fit, chunk.sampleCount)), end);
        return;
    }
    uint64_t offset = chunk.offset;
    for (int64_t sample = chunk.firstSample; sample < end; ++sample) {
        offset += tables.SizeOf(sample);
        if (offset > fileSize) {
            missing.Add(sample, end);
            return;
        }
    }
}

// Nothing where the tables are damaged: that is what is found then.
Missing FindMissing(const SampleTables& tables, uint64_t fileSize) {
    Missing missing;
    ChunkWalk walk(tables);
    Chunk chunk;
    while (walk.Next(chunk)) {
        AddFromChunk(tables, chunk, fileSize, missing);
    }
    if (walk.FoundProblem() != ChunkWalk::Problem::None) {
        return {};
    }
    missing.Add(std::max<int64_t>(walk.SampleCount(), 0), tables.sampleCount);
    return missing;
}

// The media time at which a sample begins.
int64_t MediaTimeOf(const SampleTables& tables, int64_t sample) {
    const TableEntries entries(tables.durations, 8);
    int64_t time = 0;
    for (int64_t entry = 0; entry < entries.count; ++entry) {
        const char* const bytes = entries.bytes + entry * 8;
        const int64_t count = static_cast<int32_t>(ReadBig32(bytes));
        const int64_t duration = static_cast<int32_t>(ReadBig32(bytes + 4));
        if (sample <= count) {
            return WrappingSum(time, sample * duration);
        }
        time = WrappingSum(time, count * duration);
        sample -= count;
    }
    return time;
}

// The first time on the track's timeline at which something is missing. False if it is never shown
// or heard.
bool FindFirstTime(const TrackFacts& track, const Missing& missing, double& first) {
    struct Span {
        double begin;
        double end;
    };
    std::vector<Span> spans;
    for (const MissingRun& run : missing.runs) {
        spans.push_back({static_cast<double>(MediaTimeOf(track.tables, run.first)),
                         static_cast<double>(MediaTimeOf(track.tables, run.end))});
    }
    for (size_t i = 0; i < std::min(track.edits.size(), kMostEdits); ++i) {
        const Edit& edit = track.edits[i];
        const auto from = static_cast<double>(edit.mediaTime);
        const double to = from + static_cast<double>(edit.length) * edit.rate;
        bool isFound = false;
        for (const Span& span : spans) {
            if (span.begin < to && from < span.end && edit.length > 0 && edit.rate > 0) {
                const double distance = (std::max(span.begin, from) - from) / edit.rate;
                const double time = static_cast<double>(edit.start) + distance;
                first = isFound ? std::min(first, time) : time;
                isFound = true;
            }
        }
        if (isFound) {
            return true;
        }
    }
    return false;
}

}  // namespace

void CheckExtents(const TrackReader& reader) {
    const TrackFacts& track = reader.track;
    const SampleTables& tables = track.tables;
    // Of compressed sound the tables count packets of another size than is taken for a sample.
    const bool isCompressed = track.sound && track.sound->isCompressed;
    if (isCompressed || !track.media.canBeRead || !tables.chunkOffsets || !tables.chunkRuns ||
        !tables.sizes) {
        return;
    }
    const Missing missing = FindMissing(tables, track.media.size);
    double first = 0;
    if (missing.count == 0 || !FindFirstTime(track, missing, first)) {
        return;
    }
    const std::string when = Seconds(first, track.timeScale);
    if (track.kind == TrackKind::Timecode) {
        reader.Add(Code::Truncated,
                   "its start lies beyond the end of the file: the host gets no timecode");
        return;
    }
    const auto unit = static_cast<double>(std::max<int64_t>(tables.sampleDuration, 1));
    reader.track.firstMissing = static_cast<int64_t>(first / unit);
    reader.Add(Code::Truncated, std::to_string(missing.count) + " of its " +
                                    Counted(tables.sampleCount, reader.SampleNoun()) +
                                    " are not in the file; the first that is missed is " +
                                    reader.SampleNoun() + " " +
                                    std::to_string(*track.firstMissing) + ", at " + when);
}

}  // namespace kvx_inspect
