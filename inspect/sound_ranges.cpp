#include "inspect/sound_ranges.h"

#include <algorithm>
#include <limits>

namespace kvx_inspect {

namespace {

// Some thousand chunks of two thousand million samples each can add up to more than 64 bits hold.
uint64_t SaturatingSum(uint64_t one, uint64_t other) {
    return one + std::min(other, std::numeric_limits<uint64_t>::max() - one);
}

}  // namespace

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
        size = SaturatingSum(size, range.length);
    }
    return size;
}

uint64_t SoundRanges::SizeInFile(const TrackFacts& track, uint64_t fileSize) {
    SoundRanges ranges(track);
    FileRange range;
    uint64_t size = 0;
    while (ranges.Next(range)) {
        const uint64_t room = range.offset < fileSize ? fileSize - range.offset : 0;
        size = SaturatingSum(size, std::min(room, range.length));
        if (room < range.length) {
            break;
        }
    }
    return size;
}

}  // namespace kvx_inspect
