#include "inspect/sound_ranges.h"

#include <algorithm>

namespace kvx_inspect {

SoundRanges::SoundRanges(const TrackFacts& track)
    : mTables(track.tables), mChunks(track.tables), mSamples(track.tables) {}

bool SoundRanges::Next(FileRange& range) {
    if (mTables.fixedSize == 0) {
        Sample sample;
        if (!mSamples.Next(sample)) {
            return false;
        }
        range = {sample.offset, sample.size};
        return true;
    }
    Chunk chunk;
    do {
        if (!mChunks.Next(chunk) || chunk.firstSample < 0 ||
            chunk.firstSample >= mTables.sampleCount) {
            return false;
        }
    } while (chunk.sampleCount <= 0);
    const int64_t count = std::min(chunk.sampleCount, mTables.sampleCount - chunk.firstSample);
    range = {chunk.offset, static_cast<uint64_t>(count) * mTables.fixedSize};
    return true;
}

uint64_t SoundRanges::TotalSize(const TrackFacts& track) {
    SoundRanges ranges(track);
    FileRange range;
    uint64_t size = 0;
    while (ranges.Next(range)) {
        size += range.length;
    }
    return size;
}

}  // namespace kvx_inspect
