#include "fuzz/support/recipe_feed.h"

#include <string>
#include <vector>

namespace kvx_fuzz {

namespace {

using namespace kvx_test;

constexpr int64_t kMostTracks = 3;
constexpr int64_t kMostEntries = 6;

// Small numbers, and those at which a field of 32 bits turns over.
int64_t Number(ByteFeed& feed) {
    switch (feed.Pick(0, 5)) {
        case 0:
            return feed.AnyOf<int64_t>({0, 1, -1, 0x7FFFFFFF, -0x80000000LL, 0x7FFFFFFE, 0xFFFF});
        case 1:
            return feed.Pick(-0x80000000LL, 0x7FFFFFFF);
        default:
            return feed.Pick(0, 255);
    }
}

uint64_t Offset(ByteFeed& feed) {
    return feed.OneIn(4) ? static_cast<uint64_t>(feed.Pick(INT64_MIN, INT64_MAX))
                         : static_cast<uint64_t>(feed.Pick(0, 0xFFFF));
}

int64_t EntryCount(ByteFeed& feed) {
    return feed.Pick(0, kMostEntries);
}

std::vector<SampleRun> Runs(ByteFeed& feed) {
    std::vector<SampleRun> runs;
    for (int64_t entries = EntryCount(feed); entries > 0; --entries) {
        const int64_t count = Number(feed);
        runs.push_back({count, Number(feed)});
    }
    return runs;
}

std::vector<AtomNode> Extensions(ByteFeed& feed) {
    std::vector<AtomNode> extensions;
    for (int64_t left = feed.Pick(0, 2); left > 0; --left) {
        const std::string type = feed.AnyOf<std::string>(
            {"fiel", "pasp", "avcC", "DpxE", "Rnge", "chan", "wave", "esds", "enda", "frma"});
        AtomNode extension{type, feed.Bytes(static_cast<size_t>(feed.Pick(0, 40)))};
        if (type == "wave") {
            extension = Wave({Endianness(feed.OneIn(2)), ElementaryStream(extension.payload)});
        }
        extensions.push_back(extension);
    }
    return extensions;
}

AtomNode Picture(ByteFeed& feed) {
    VideoDescription video;
    video.format =
        feed.AnyOf<std::string>({"2vuy", "2Vuy", "v210", "r210", "r10k", "avc1", "dvh5", "apcn"});
    video.width = static_cast<int>(feed.Pick(0, 64));
    video.height = static_cast<int>(feed.Pick(0, 16));
    if (feed.OneIn(8)) {
        video.width = static_cast<int>(Number(feed));
        video.height = static_cast<int>(Number(feed));
    }
    video.extensions = Extensions(feed);
    return Describe(video);
}

AtomNode Sound(ByteFeed& feed) {
    const std::string format =
        feed.AnyOf<std::string>({"twos", "sowt", "lpcm", "in24", "in32", "fl32", "fl64", "raw "});
    const int64_t channels = feed.OneIn(8) ? Number(feed) : feed.Pick(0, 8);
    const int64_t bits = feed.OneIn(8) ? Number(feed) : feed.Pick(0, 8) * 8;
    switch (feed.Pick(0, 2)) {
        case 0: {
            SoundDescriptionV0 sound;
            sound.format = format;
            sound.channels = static_cast<int>(channels);
            sound.bits = static_cast<int>(bits);
            sound.extensions = Extensions(feed);
            return Describe(sound);
        }
        case 1: {
            SoundDescriptionV1 sound;
            sound.format = format;
            sound.channels = static_cast<int>(channels);
            sound.bits = static_cast<int>(bits);
            sound.samplesPerPacket = static_cast<uint32_t>(Number(feed));
            sound.bytesPerPacket = static_cast<uint32_t>(Number(feed));
            sound.bytesPerFrame = static_cast<uint32_t>(Number(feed));
            sound.extensions = Extensions(feed);
            return Describe(sound);
        }
        default: {
            SoundDescriptionV2 sound;
            sound.format = format;
            sound.channels = static_cast<uint32_t>(channels);
            sound.bits = static_cast<uint32_t>(bits);
            sound.formatFlags = static_cast<uint32_t>(feed.Pick(0, 255));
            sound.bytesPerPacket = static_cast<uint32_t>(Number(feed));
            sound.framesPerPacket = static_cast<uint32_t>(Number(feed));
            sound.structSize = feed.OneIn(4) ? static_cast<uint32_t>(Number(feed)) : 72;
            sound.extensions = Extensions(feed);
            return Describe(sound);
        }
    }
}

AtomNode Counter(ByteFeed& feed) {
    TimeCodeDescription timeCode;
    timeCode.flags = static_cast<uint32_t>(feed.Pick(0, 1));
    timeCode.timeScale = static_cast<uint32_t>(Number(feed));
    timeCode.frameDuration = static_cast<uint32_t>(Number(feed));
    timeCode.framesPerSecond = static_cast<int>(feed.Pick(0, 255));
    return Describe(timeCode);
}

void FeedDescription(ByteFeed& feed, TrackRecipe& track) {
    switch (feed.Pick(0, 3)) {
        case 2:
            track.mediaType = "soun";
            track.descriptions = {Sound(feed)};
            break;
        case 3:
            track.mediaType = "tmcd";
            track.descriptions = {Counter(feed)};
            break;
        default:
            track.descriptions = {Picture(feed)};
            break;
    }
}

void FeedTables(ByteFeed& feed, TrackRecipe& track) {
    track.durations = Runs(feed);
    for (int64_t entries = EntryCount(feed); entries > 0; --entries) {
        const int64_t firstChunk = Number(feed);
        const int64_t samples = Number(feed);
        track.chunkRuns.push_back({firstChunk, samples, feed.Pick(0, 2)});
    }
    track.constantSize = feed.OneIn(2) ? Number(feed) : 0;
    for (int64_t entries = EntryCount(feed); entries > 0; --entries) {
        track.sizes.push_back(static_cast<uint32_t>(Number(feed)));
    }
    track.sizeCount = feed.OneIn(2) ? Number(feed) : static_cast<int64_t>(track.sizes.size());
    track.wideChunkOffsets = feed.OneIn(3);
    for (int64_t entries = EntryCount(feed); entries > 0; --entries) {
        track.chunkOffsets.push_back(Offset(feed));
    }
    track.displayOffsets = Runs(feed);
    for (int64_t entries = EntryCount(feed); entries > 0; --entries) {
        track.keyFrames.push_back(Number(feed));
    }
}

TrackRecipe FeedTrack(ByteFeed& feed) {
    TrackRecipe track;
    FeedDescription(feed, track);
    track.mediaTimeScale = Number(feed);
    track.mediaDuration = Number(feed);
    track.headerDuration = Number(feed);
    for (int64_t entries = feed.Pick(0, 3); entries > 0; --entries) {
        const int64_t duration = Number(feed);
        const int64_t mediaTime = Number(feed);
        track.edits.push_back({duration, mediaTime, static_cast<uint32_t>(Number(feed))});
    }
    FeedTables(feed, track);
    return track;
}

// Bends one table's entry count, a kind of lie that is looked for everywhere.
void BendCount(ByteFeed& feed, AtomNode& moov) {
    const std::string table =
        feed.AnyOf<std::string>({"stts", "stsc", "stsz", "stco", "co64", "ctts", "stss", "stsd"});
    if (AtomNode* const atom = moov.Find("trak/mdia/minf/stbl/" + table)) {
        atom->SetEntryCount(Number(feed));
    }
}

}  // namespace

MovieRecipe FeedMovie(ByteFeed& feed) {
    MovieRecipe movie;
    movie.timeScale = feed.OneIn(8) ? Number(feed) : 600;
    movie.duration = Number(feed);
    for (int64_t left = feed.Pick(1, kMostTracks); left > 0; --left) {
        movie.tracks.push_back(FeedTrack(feed));
    }
    return movie;
}

std::string FeedMovieFile(ByteFeed& feed) {
    AtomNode moov = BuildMoov(FeedMovie(feed));
    for (int64_t left = feed.Pick(0, 2); left > 0; --left) {
        BendCount(feed, moov);
    }
    const std::string media = feed.Bytes(64);
    return moov.Serialize() + AtomNode{"mdat", media + zeros(4096)}.Serialize();
}

}  // namespace kvx_fuzz
