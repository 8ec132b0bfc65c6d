// Builds "moov" atoms from plain numbers, right or wrong. The usual way:
//
//     MovieRecipe recipe;
//     recipe.tracks.push_back(VideoTrackRecipe({"v210", 48, 2, 24}, 256, 10));
//     recipe.change = [](AtomNode& moov) { moov.Remove("trak/mdia/minf/stbl/stts"); };
//     const TempDirectory directory;
//     const std::string path = WriteMovie(directory, recipe);      // support/movie_file.h
#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <vector>

#include "support/atom_node.h"
#include "support/bytes.h"
#include "support/sample_descriptions.h"

namespace kvx_test {

// One entry of an "elst".
struct EditEntry {
    int64_t duration = 0;   // movie time units
    int64_t mediaTime = 0;  // media time units
    uint32_t rate = 0x00010000;
};

// One entry of an "stts" (value: duration) or a "ctts" (value: display offset).
struct SampleRun {
    int64_t count = 0;
    int64_t value = 0;
};

// One entry of an "stsc"; chunks and descriptions count from 1.
struct ChunkRun {
    int64_t firstChunk = 1;
    int64_t samplesPerChunk = 1;
    int64_t descriptionIndex = 1;
};

// The "hdlr" of a "minf".
struct DataHandler {
    Bytes componentType = "dhlr";
    Bytes componentSubtype = "alis";
};

// Entries of a "dref".
AtomNode SelfReference();                              // "alis", flagged as the movie file itself
AtomNode AliasReference(const Bytes& aliasRecord);     // "alis" that names another file
AtomNode UrlReference(const Bytes& url);               // "url "
AtomNode ResourceReference(const Bytes& aliasRecord);  // "rsrc"

struct TrackRecipe {
    Bytes mediaType = "vide";
    int64_t mediaTimeScale = 24000;
    int64_t mediaDuration = 0;   // "mdhd", media time units
    int64_t headerDuration = 0;  // "tkhd", movie time units

    std::vector<EditEntry> edits = {};  // none: no "edts"

    std::vector<AtomNode> descriptions = {};
    std::vector<SampleRun> durations = {};
    std::vector<ChunkRun> chunkRuns = {};

    int64_t constantSize = 0;          // "stsz", bytes; 0: the table counts
    std::vector<uint32_t> sizes = {};  // the table
    // The "stsz" count; without it, the length of the table, or the samples of `durations` when
    // the size is constant.
    std::optional<int64_t> sizeCount = std::nullopt;
    // Bytes that one sample has in the file where the sample description decides it, as a PCM frame
    // does, and "stsz" says something else.
    std::optional<uint32_t> frameSize = std::nullopt;

    std::vector<uint64_t> chunkOffsets = {};  // absolute
    bool wideChunkOffsets = false;            // "co64" in place of "stco"

    std::vector<SampleRun> displayOffsets = {};  // none: no "ctts"
    std::vector<int64_t> keyFrames = {};         // from 1; none: no "stss"

    std::optional<DataHandler> dataHandler = DataHandler{};
    std::vector<AtomNode> dataReferences = {SelfReference()};

    // Samples that `durations` counts.
    int64_t SampleCount() const;
    // Bytes of a sample in the file.
    uint64_t SampleSize(int64_t sample) const;
    // Fills `chunkRuns` and `chunkOffsets` so that all samples lie one after the other from
    // `offset`, with `gap` unused bytes between chunks. Returns the first offset after them.
    uint64_t PlaceSamples(uint64_t offset, int64_t samplesPerChunk, uint64_t gap = 0);
};

// Where WriteMovie lets the media begin when nothing else is said.
constexpr uint64_t kMediaOffset = 0x10000;

// Complete tracks whose samples lie in one piece from `offset`, one edit-free timeline. Durations
// of the headers assume the movie time scale of a fresh MovieRecipe.
TrackRecipe VideoTrackRecipe(const VideoDescription& video, uint32_t frameSize, int64_t frames,
                             int64_t timeScale = 24000, int64_t frameDuration = 1000,
                             uint64_t offset = kMediaOffset);
// One sample is one frame of all channels; `frameSize` is its bytes. "stsz" says 1, as is usual.
TrackRecipe SoundTrackRecipe(const AtomNode& description, uint32_t frameSize, int64_t frames,
                             int64_t rate = 48000, uint64_t offset = kMediaOffset);
// A single sample of four bytes that lasts `frames` frames.
TrackRecipe TimeCodeTrackRecipe(const TimeCodeDescription& timeCode, int64_t frames,
                                uint64_t offset = kMediaOffset);

struct MovieRecipe {
    int64_t timeScale = 600;
    int64_t duration = 0;  // "mvhd", movie time units
    std::vector<TrackRecipe> tracks = {};
    // Called with the finished "moov", to leave out, replace or bend whatever the test is about.
    std::function<void(AtomNode& moov)> change = nullptr;
};

AtomNode BuildTrak(const TrackRecipe& track, int64_t trackNumber = 1);
AtomNode BuildMoov(const MovieRecipe& recipe);

}  // namespace kvx_test
