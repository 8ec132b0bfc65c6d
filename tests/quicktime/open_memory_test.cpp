// How much memory does opening take when the movie atom is as large as it may be, and filled with
// whatever takes most?
#include <gtest/gtest.h>

#include <memory>
#include <ostream>
#include <string>

#include "quicktime/audio_track.h"
#include "quicktime/full_table.h"
#include "quicktime/movie.h"
#include "quicktime/video_track.h"
#include "support/log_capture.h"
#include "support/memory_limit.h"
#include "support/movie_file.h"

using namespace kvx_test;
using KVX::QT::Movie;

namespace {

constexpr size_t kMostMemory = 64 << 20;

// A table with a run for each entry.
struct FullTable {
    const char* name;
    const char* path;
    size_t countOffset;
    size_t firstEntry;
    size_t entrySize;
    Bytes (*entry)(int64_t index);
    void (*prepare)(TrackRecipe& track);
    size_t (*runs)(const KVX::QT::VideoTrack& track);
};

void PrintTo(const FullTable& table, std::ostream* out) {
    *out << table.name;
}

void Leave(TrackRecipe&) {}
void SizesFromTable(TrackRecipe& track) {
    track.constantSize = 0;
    track.sizes = {1};
}
void WideOffsets(TrackRecipe& track) {
    track.wideChunkOffsets = true;
}
void OneEdit(TrackRecipe& track) {
    track.edits = {{100, 0}};
}
void OneKeyFrame(TrackRecipe& track) {
    track.keyFrames = {1};
}
void OneDisplayOffset(TrackRecipe& track) {
    track.displayOffsets = {{1, 0}};
}
void NegativeChunk(TrackRecipe& track) {
    track.chunkRuns = {{1, -1}};
}

size_t SizeRuns(const KVX::QT::VideoTrack& track) {
    return track.mSizeOffsets.size();
}
size_t ChunkRuns(const KVX::QT::VideoTrack& track) {
    return track.mChunkOffsets.size();
}
size_t Durations(const KVX::QT::VideoTrack& track) {
    return track.mSampleDurations.size();
}

const FullTable kFullTables[] = {
    {"SizesAllDifferent", "trak/mdia/minf/stbl/stsz", 16, 20, 4,
     [](int64_t index) { return big32(1 + index); }, SizesFromTable, SizeRuns},
    {"ChunksAllApart", "trak/mdia/minf/stbl/stco", 12, 16, 4,
     [](int64_t index) { return big32(1 + 1000 * index); }, Leave, ChunkRuns},
    {"ChunksInReverse", "trak/mdia/minf/stbl/stco", 12, 16, 4,
     [](int64_t index) { return big32(1 + 1000 * index); }, NegativeChunk, ChunkRuns},
    {"ChunksNearTheHighestOffset", "trak/mdia/minf/stbl/co64", 12, 16, 8,
     [](int64_t index) { return big64(int64_t{0x7FFFFFFFFFFFFFFF} - index); }, WideOffsets,
     ChunkRuns},
    {"DurationsAllDifferent", "trak/mdia/minf/stbl/stts", 12, 16, 8,
     [](int64_t index) { return big32(1) + big32(1 + index); }, Leave, Durations},
    {"DurationsInReverse", "trak/mdia/minf/stbl/stts", 12, 16, 8,
     [](int64_t index) { return big32(-1) + big32(1 + index); }, Leave, Durations},
    {"DisplayOffsetsAllDifferent", "trak/mdia/minf/stbl/ctts", 12, 16, 8,
     [](int64_t index) { return big32(1) + big32(index); }, OneDisplayOffset,
     [](const KVX::QT::VideoTrack& track) { return track.mDisplayOffsets.size(); }},
    {"KeyFramesEverywhere", "trak/mdia/minf/stbl/stss", 12, 16, 4,
     [](int64_t index) { return big32(1 + index); }, OneKeyFrame,
     [](const KVX::QT::VideoTrack& track) { return track.mKeyFrames.size(); }},
    {"EditsEverywhere", "trak/edts/elst", 12, 16, 12,
     [](int64_t index) { return big32(1) + big32(index) + big32(0x10000); }, OneEdit,
     [](const KVX::QT::VideoTrack& track) { return track.mEditRates.size(); }},
    {"EditsInReverse", "trak/edts/elst", 12, 16, 12,
     [](int64_t index) { return big32(-1) + big32(index) + big32(0x10000); }, OneEdit,
     [](const KVX::QT::VideoTrack& track) { return track.mEditRates.size(); }},
};

// Opens a movie that takes no more than its share.
std::unique_ptr<Movie> Open(const AtomNode& moov) {
    const TempDirectory directory;
    const std::string path = directory.File("movie.mov");
    WriteFile(path, moov.Serialize());
    const MemoryLimit limit(kMostMemory);
    return std::unique_ptr<Movie>(Movie::Create(path));
}

class OpenMemory : public testing::Test {
  protected:
    void SetUp() override {
        if (!MemoryLimit::Prepare()) {
            GTEST_SKIP() << "memory cannot be limited here";
        }
    }
};

class OpenMemoryOfTable : public OpenMemory, public testing::WithParamInterface<FullTable> {};

TEST_P(OpenMemoryOfTable, StaysWithinItsShare) {
    const FullTable& table = GetParam();
    MovieRecipe recipe;
    recipe.tracks = {VideoTrackRecipe({}, 256, 2)};
    table.prepare(recipe.tracks[0]);
    AtomNode moov = BuildMoov(recipe);
    AtomNode& atom = moov.At(table.path);
    const int64_t held = FillTable(moov, atom, table.firstEntry, table.entrySize, table.entry);
    atom.Poke(table.countOffset, big32(held));
    const std::unique_ptr<Movie> movie = Open(moov);
    ASSERT_NE(movie, nullptr);
    EXPECT_EQ(table.runs(*movie->mVideoTracks.at(0)), static_cast<size_t>(held));
}

INSTANTIATE_TEST_SUITE_P(Tables, OpenMemoryOfTable, testing::ValuesIn(kFullTables),
                         [](const auto& test) { return test.param.name; });

// Every second sample has the size of the one before it: as many runs as a table of half the length
// has, in a table of the whole length.
TEST_F(OpenMemory, SizesInPairs) {
    MovieRecipe recipe;
    recipe.tracks = {VideoTrackRecipe({}, 256, 2)};
    SizesFromTable(recipe.tracks[0]);
    AtomNode moov = BuildMoov(recipe);
    AtomNode& atom = moov.At("trak/mdia/minf/stbl/stsz");
    const int64_t held =
        FillTable(moov, atom, 20, 4, [](int64_t index) { return big32(1 + index / 2); });
    atom.Poke(16, big32(held));
    const std::unique_ptr<Movie> movie = Open(moov);
    ASSERT_NE(movie, nullptr);
    EXPECT_EQ(SizeRuns(*movie->mVideoTracks.at(0)), static_cast<size_t>((held + 1) / 2));
}

// The smallest track that is kept: a sound description that tells no frame size needs no tables.
TEST_F(OpenMemory, ManySmallTracks) {
    SoundDescriptionV1 sound;
    sound.channels = 0;
    sound.bytesPerFrame = 0;
    const AtomNode handler{"hdlr", zeros(8) + "soun"};
    const AtomNode descriptions{"stsd", zeros(4) + big32(1), {Describe(sound)}};
    const AtomNode media{"mdia", {}, {handler, {"minf", {}, {{"stbl", {}, {descriptions}}}}}};
    const AtomNode track{"trak", {}, {media}};
    AtomNode moov{"moov"};
    const uint64_t tracks = (kLargestMovieAtom - moov.Length()) / track.Length();
    moov.payload.reserve(kLargestMovieAtom);
    for (uint64_t i = 0; i < tracks; ++i) {
        moov.payload += track.Serialize();
    }
    const LogCapture log;
    const std::unique_ptr<Movie> movie = Open(moov);
    ASSERT_NE(movie, nullptr);
    EXPECT_EQ(movie->mAudioTracks.size(), tracks);
}

TEST_F(OpenMemory, ManyTracksOfOtherKinds) {
    const AtomNode handler{"hdlr", zeros(8) + "text"};
    const Bytes track = AtomNode{"trak", {}, {{"mdia", {}, {handler}}}}.Serialize();
    AtomNode moov{"moov"};
    while (moov.payload.size() + 8 + track.size() <= kLargestMovieAtom) {
        moov.payload += track;
    }
    LogCapture log;
    const std::unique_ptr<Movie> movie = Open(moov);
    ASSERT_NE(movie, nullptr);
    EXPECT_EQ(log.Raw().find("skipping track type 'text'\n"), 0u);
}

// A description that fills the movie atom is kept whole, beside the one in the atom.
TEST_F(OpenMemory, LargeDescription) {
    MovieRecipe recipe;
    recipe.tracks = {VideoTrackRecipe({}, 256, 2)};
    AtomNode moov = BuildMoov(recipe);
    AtomNode& entry = moov.At("trak/mdia/minf/stbl/stsd/2vuy");
    entry.children.push_back({"free", zeros(kLargestMovieAtom - moov.Length() - 8)});
    const std::unique_ptr<Movie> movie = Open(moov);
    ASSERT_NE(movie, nullptr);
    EXPECT_EQ(movie->mVideoTracks.at(0)->mImageDescriptionSize, static_cast<int>(entry.Length()));
}

}  // namespace
