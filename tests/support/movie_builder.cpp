#include "support/movie_builder.h"

#include <algorithm>
#include <utility>

namespace kvx_test {

namespace {

// Version 0 and flags, as full atoms begin.
const Bytes kVersionAndFlags = zeros(4);

constexpr int64_t kFreshTimeScale = 600;

Bytes UnityMatrix() {
    return big32(0x00010000) + zeros(12) + big32(0x00010000) + zeros(12) + big32(0x40000000);
}

AtomNode MovieHeader(const MovieRecipe& recipe) {
    return {"mvhd", kVersionAndFlags + zeros(8) +  // creation and modification
                        big32(recipe.timeScale) + big32(recipe.duration) + big32(0x00010000) +
                        big16(0x0100) + zeros(10) +  // rate, volume
                        UnityMatrix() + zeros(24) +
                        big32(static_cast<int64_t>(recipe.tracks.size()) + 1)};
}

AtomNode TrackHeader(const TrackRecipe& track, int64_t trackNumber) {
    return {"tkhd", big32(0x0000000F) + zeros(8) + big32(trackNumber) + zeros(4) +
                        big32(track.headerDuration) + zeros(16) + UnityMatrix() + zeros(8)};
}

AtomNode EditList(const std::vector<EditEntry>& edits) {
    Bytes table = kVersionAndFlags + big32(static_cast<int64_t>(edits.size()));
    for (const EditEntry& edit : edits) {
        table += big32(edit.duration) + big32(edit.mediaTime) + big32(edit.rate);
    }
    return {"edts", {}, {{"elst", table}}};
}

AtomNode MediaHeader(const TrackRecipe& track) {
    return {"mdhd", kVersionAndFlags + zeros(8) + big32(track.mediaTimeScale) +
                        big32(track.mediaDuration) + zeros(4)};
}

AtomNode Handler(const Bytes& componentType, const Bytes& componentSubtype) {
    return {"hdlr", kVersionAndFlags + componentType + componentSubtype + zeros(12) + zeros(1)};
}

AtomNode MediaInformationHeader(const Bytes& mediaType) {
    if (mediaType == "vide") {
        return {"vmhd", big32(1) + big16(0x40) + big16(0x8000) + big16(0x8000) + big16(0x8000)};
    }
    if (mediaType == "soun") {
        return {"smhd", kVersionAndFlags + zeros(4)};
    }
    return {"gmhd", {}, {{"gmin", kVersionAndFlags + zeros(12)}}};
}

// An atom of version, flags and entry count, then its entries as children.
AtomNode EntryList(const Bytes& type, const std::vector<AtomNode>& entries) {
    return {type, kVersionAndFlags + big32(static_cast<int64_t>(entries.size())), entries};
}

AtomNode RunTable(const Bytes& type, const std::vector<SampleRun>& runs) {
    Bytes table = kVersionAndFlags + big32(static_cast<int64_t>(runs.size()));
    for (const SampleRun& run : runs) {
        table += big32(run.count) + big32(run.value);
    }
    return {type, table};
}

AtomNode SampleToChunk(const std::vector<ChunkRun>& runs) {
    Bytes table = kVersionAndFlags + big32(static_cast<int64_t>(runs.size()));
    for (const ChunkRun& run : runs) {
        table += big32(run.firstChunk) + big32(run.samplesPerChunk) + big32(run.descriptionIndex);
    }
    return {"stsc", table};
}

AtomNode SampleSizes(const TrackRecipe& track) {
    const int64_t count = track.sizeCount.value_or(
        track.constantSize != 0 ? track.SampleCount() : static_cast<int64_t>(track.sizes.size()));
    Bytes table = kVersionAndFlags + big32(track.constantSize) + big32(count);
    for (const uint32_t size : track.sizes) {
        table += big32(size);
    }
    return {"stsz", table};
}

AtomNode ChunkOffsets(const TrackRecipe& track) {
    Bytes table = kVersionAndFlags + big32(static_cast<int64_t>(track.chunkOffsets.size()));
    for (const uint64_t offset : track.chunkOffsets) {
        const int64_t field = static_cast<int64_t>(offset);
        table += track.wideChunkOffsets ? big64(field) : big32(field);
    }
    return {track.wideChunkOffsets ? "co64" : "stco", table};
}

AtomNode KeyFrames(const std::vector<int64_t>& keyFrames) {
    Bytes table = kVersionAndFlags + big32(static_cast<int64_t>(keyFrames.size()));
    for (const int64_t sample : keyFrames) {
        table += big32(sample);
    }
    return {"stss", table};
}

AtomNode SampleTable(const TrackRecipe& track) {
    AtomNode table{"stbl"};
    table.children = {EntryList("stsd", track.descriptions), RunTable("stts", track.durations)};
    if (!track.displayOffsets.empty()) {
        table.children.push_back(RunTable("ctts", track.displayOffsets));
    }
    if (!track.keyFrames.empty()) {
        table.children.push_back(KeyFrames(track.keyFrames));
    }
    table.children.push_back(SampleToChunk(track.chunkRuns));
    table.children.push_back(SampleSizes(track));
    table.children.push_back(ChunkOffsets(track));
    return table;
}

AtomNode MediaInformation(const TrackRecipe& track) {
    AtomNode information{"minf"};
    information.children.push_back(MediaInformationHeader(track.mediaType));
    if (track.dataHandler) {
        information.children.push_back(
            Handler(track.dataHandler->componentType, track.dataHandler->componentSubtype));
    }
    information.children.push_back({"dinf", {}, {EntryList("dref", track.dataReferences)}});
    information.children.push_back(SampleTable(track));
    return information;
}

// Durations in the headers, for a track without edits in a movie of the usual time scale.
void SetHeaderDurations(TrackRecipe& track) {
    track.mediaDuration = 0;
    for (const SampleRun& run : track.durations) {
        track.mediaDuration += run.count * run.value;
    }
    track.headerDuration = track.mediaDuration * kFreshTimeScale / track.mediaTimeScale;
}

}  // namespace

AtomNode SelfReference() {
    return {"alis", big32(1)};
}

AtomNode AliasReference(const Bytes& aliasRecord) {
    return {"alis", big32(0) + aliasRecord};
}

AtomNode UrlReference(const Bytes& url) {
    return {"url ", big32(0) + url + zeros(1)};
}

AtomNode ResourceReference(const Bytes& aliasRecord) {
    return {"rsrc", big32(0) + aliasRecord + "rsrc" + big16(0)};
}

int64_t TrackRecipe::SampleCount() const {
    int64_t count = 0;
    for (const SampleRun& run : durations) {
        count += run.count;
    }
    return count;
}

uint64_t TrackRecipe::SampleSize(int64_t sample) const {
    if (frameSize) {
        return *frameSize;
    }
    if (constantSize != 0) {
        return static_cast<uint64_t>(constantSize);
    }
    return sizes.at(static_cast<size_t>(sample));
}

uint64_t TrackRecipe::PlaceSamples(uint64_t offset, int64_t samplesPerChunk, uint64_t gap) {
    chunkRuns.clear();
    chunkOffsets.clear();
    const int64_t count = SampleCount();
    uint64_t end = offset;
    for (int64_t first = 0; first < count; first += samplesPerChunk) {
        const int64_t inChunk = std::min(samplesPerChunk, count - first);
        if (chunkRuns.empty() || chunkRuns.back().samplesPerChunk != inChunk) {
            chunkRuns.push_back({static_cast<int64_t>(chunkOffsets.size()) + 1, inChunk});
        }
        chunkOffsets.push_back(offset);
        for (int64_t sample = first; sample < first + inChunk; ++sample) {
            offset += SampleSize(sample);
        }
        end = offset;
        offset += gap;
    }
    return end;
}

TrackRecipe VideoTrackRecipe(const VideoDescription& video, uint32_t frameSize, int64_t frames,
                             int64_t timeScale, int64_t frameDuration, uint64_t offset) {
    TrackRecipe track;
    track.mediaTimeScale = timeScale;
    track.descriptions = {Describe(video)};
    track.durations = {{frames, frameDuration}};
    track.constantSize = frameSize;
    SetHeaderDurations(track);
    track.PlaceSamples(offset, 1);
    return track;
}

TrackRecipe SoundTrackRecipe(const AtomNode& description, uint32_t frameSize, int64_t frames,
                             int64_t rate, uint64_t offset) {
    TrackRecipe track;
    track.mediaType = "soun";
    track.mediaTimeScale = rate;
    track.descriptions = {description};
    track.durations = {{frames, 1}};
    track.constantSize = 1;
    track.frameSize = frameSize;
    SetHeaderDurations(track);
    track.PlaceSamples(offset, rate / 2);
    return track;
}

TrackRecipe TimeCodeTrackRecipe(const TimeCodeDescription& timeCode, int64_t frames,
                                uint64_t offset) {
    TrackRecipe track;
    track.mediaType = "tmcd";
    track.mediaTimeScale = timeCode.timeScale;
    track.descriptions = {Describe(timeCode)};
    track.durations = {{1, frames * timeCode.frameDuration}};
    track.constantSize = 4;
    SetHeaderDurations(track);
    track.PlaceSamples(offset, 1);
    return track;
}

AtomNode BuildTrak(const TrackRecipe& track, int64_t trackNumber) {
    AtomNode trak{"trak", {}, {TrackHeader(track, trackNumber)}};
    if (!track.edits.empty()) {
        trak.children.push_back(EditList(track.edits));
    }
    trak.children.push_back(
        {"mdia",
         {},
         {MediaHeader(track), Handler("mhlr", track.mediaType), MediaInformation(track)}});
    return trak;
}

AtomNode BuildMoov(const MovieRecipe& recipe) {
    AtomNode moov{"moov", {}, {MovieHeader(recipe)}};
    for (const TrackRecipe& track : recipe.tracks) {
        moov.children.push_back(BuildTrak(track, static_cast<int64_t>(moov.children.size())));
    }
    if (recipe.change) {
        recipe.change(moov);
    }
    return moov;
}

}  // namespace kvx_test
