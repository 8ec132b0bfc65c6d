#include "support/random_recipe.h"

#include <algorithm>
#include <numeric>

namespace kvx_test {

namespace {

using Runs = std::vector<SampleRun>;

// Runs that count `samples` in all, now and then with an empty one.
Runs RandomRuns(Random& random, int64_t samples, int64_t lowest, int64_t highest) {
    Runs runs;
    const int64_t longest = random.AnyOf<int64_t>({1, 4, 30, samples});
    while (samples > 0 || random.OneIn(40)) {
        const int64_t count = random.OneIn(40) ? 0 : random.Pick(1, longest);
        runs.push_back({std::min(count, samples), random.Pick(lowest, highest)});
        samples -= runs.back().count;
    }
    return runs;
}

void AddDurations(Random& random, int64_t samples, TrackRecipe& track) {
    switch (random.Pick(0, 2)) {
        case 0:
            track.durations = {{samples, random.AnyOf<int64_t>({1, 100, 1000, 1001, 3003})}};
            break;
        case 1:
            // Neighbouring runs often have the same duration.
            track.durations = RandomRuns(random, samples, 999, 1001);
            break;
        default:
            track.durations = RandomRuns(random, samples, 1, 5000);
            break;
    }
}

void AddSizes(Random& random, int64_t samples, TrackRecipe& track) {
    if (random.OneIn(2)) {
        track.constantSize = random.Pick(1, 70000);
        return;
    }
    const int64_t largest = random.AnyOf<int64_t>({2, 3, 100, 100000});
    uint32_t size = 1;
    for (int64_t sample = 0; sample < samples; ++sample) {
        if (sample == 0 || random.OneIn(3)) {
            size = static_cast<uint32_t>(random.Pick(1, largest));
        }
        track.sizes.push_back(size);
    }
}

// Samples per chunk, for all chunks.
std::vector<int64_t> RandomChunks(Random& random, int64_t samples) {
    std::vector<int64_t> chunks;
    const int64_t largest = random.AnyOf<int64_t>({1, 2, 7, 100});
    while (samples > 0) {
        const bool repeat = !chunks.empty() && !random.OneIn(4);
        const int64_t count = repeat ? chunks.back() : random.Pick(1, largest);
        chunks.push_back(std::min(count, samples));
        samples -= chunks.back();
    }
    return chunks;
}

// Tells the chunks in "stsc" entries, some of which need not be there.
void AddChunkRuns(Random& random, const std::vector<int64_t>& chunks, TrackRecipe& track) {
    for (size_t chunk = 0; chunk < chunks.size(); ++chunk) {
        if (chunk == 0 || chunks[chunk] != chunks[chunk - 1] || random.OneIn(10)) {
            track.chunkRuns.push_back(
                {static_cast<int64_t>(chunk) + 1, chunks[chunk], random.Pick(1, 3)});
        }
    }
}

// Lays the chunks down one after the other, in an order of its own, with holes here and there.
void AddChunkOffsets(Random& random, const std::vector<int64_t>& chunks, TrackRecipe& track) {
    std::vector<size_t> order(chunks.size());
    std::iota(order.begin(), order.end(), 0);
    const int64_t swaps = random.AnyOf<int64_t>({0, 0, 1, 3, static_cast<int64_t>(chunks.size())});
    for (int64_t swap = 0; swap < swaps; ++swap) {
        std::swap(order[static_cast<size_t>(random.Pick(0, swap)) % order.size()],
                  order[static_cast<size_t>(random.Pick(0, 1000)) % order.size()]);
    }
    std::vector<int64_t> firstSamples(chunks.size());
    std::partial_sum(chunks.begin(), chunks.end() - 1, firstSamples.begin() + 1);

    track.wideChunkOffsets = random.OneIn(3);
    uint64_t offset = static_cast<uint64_t>(
        track.wideChunkOffsets ? random.Pick(1, int64_t{1} << 60)
                               : random.AnyOf<int64_t>({1, 4096, 0x7FFFFF00, 0xF0000000}));
    const int64_t oneGapIn = random.AnyOf<int64_t>({1, 3, 10, 1000000});
    track.chunkOffsets.resize(chunks.size());
    for (const size_t chunk : order) {
        track.chunkOffsets[chunk] = offset;
        for (int64_t inChunk = 0; inChunk < chunks[chunk]; ++inChunk) {
            offset += track.SampleSize(firstSamples[chunk] + inChunk);
        }
        offset += random.OneIn(oneGapIn) ? static_cast<uint64_t>(random.Pick(1, 5000)) : 0;
    }
}

void AddEdits(Random& random, int64_t movieTimeScale, TrackRecipe& track) {
    int64_t mediaTime = 0;
    for (const SampleRun& run : track.durations) {
        mediaTime += run.count * run.value;
    }
    const int64_t movieTime =
        std::min<int64_t>(mediaTime * movieTimeScale / track.mediaTimeScale, 0x7FFFFFFF);
    track.mediaDuration = mediaTime;
    track.headerDuration = random.OneIn(4) ? random.Pick(0, movieTime) : movieTime;
    const int64_t edits = random.OneIn(2) ? 0 : random.Pick(1, 6);
    for (int64_t edit = 0; edit < edits; ++edit) {
        track.edits.push_back(
            {random.OneIn(10) ? 0 : random.Pick(0, movieTime),
             random.Pick(0, mediaTime + mediaTime / 8),
             random.AnyOf<uint32_t>({0x00010000, 0x00010000, 0x00010000, 0, 0x00020000, 0x00008000,
                                     0x00012345, 1, 0xFFFF0000})});
    }
}

void AddKeyFrames(Random& random, int64_t samples, TrackRecipe& track) {
    const int64_t oneIn = random.AnyOf<int64_t>({1, 2, 12});
    for (int64_t sample = 1; sample <= samples; ++sample) {
        if (random.OneIn(oneIn)) {
            track.keyFrames.push_back(sample);
        }
    }
}

// The media type, its description, and what it decides of the sample size.
void AddDescription(Random& random, TrackRecipe& track) {
    switch (random.Pick(0, 5)) {
        case 0: {
            SoundDescriptionV0 sound;
            sound.channels = static_cast<int>(random.Pick(1, 8));
            track.mediaType = "soun";
            track.descriptions = {Describe(sound)};
            track.frameSize = static_cast<uint32_t>(sound.channels * 2);
            break;
        }
        case 1: {
            // Packets of many frames: the size of a sample is the table's affair again.
            SoundDescriptionV1 sound;
            sound.samplesPerPacket = 1024;
            track.mediaType = "soun";
            track.descriptions = {Describe(sound)};
            break;
        }
        case 2:
            track.mediaType = "tmcd";
            track.descriptions = {Describe(TimeCodeDescription{})};
            break;
        default:
            track.mediaType = "vide";
            track.descriptions = {Describe(VideoDescription{})};
            break;
    }
}

}  // namespace

MovieRecipe RandomMovie(Random& random) {
    static const std::vector<int64_t> timeScales = {1, 24, 600, 1000, 24000, 30000, 48000, 90000};
    MovieRecipe recipe;
    recipe.timeScale = random.AnyOf(timeScales);
    TrackRecipe track;
    track.mediaTimeScale = random.AnyOf(timeScales);
    AddDescription(random, track);
    const int64_t samples = random.OneIn(12) ? 1 : random.Pick(2, 60);
    AddDurations(random, samples, track);
    AddSizes(random, samples, track);
    const std::vector<int64_t> chunks = RandomChunks(random, samples);
    AddChunkRuns(random, chunks, track);
    AddChunkOffsets(random, chunks, track);
    AddEdits(random, recipe.timeScale, track);
    if (random.OneIn(2)) {
        const int64_t reach = random.AnyOf<int64_t>({2, 3000, 20000});
        track.displayOffsets = RandomRuns(random, samples, random.OneIn(2) ? 0 : -reach, reach);
    }
    if (random.OneIn(2)) {
        AddKeyFrames(random, samples, track);
    }
    recipe.tracks = {track};
    return recipe;
}

}  // namespace kvx_test
