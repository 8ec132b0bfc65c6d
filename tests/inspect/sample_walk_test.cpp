// Samples told one after the other against the same tracks told from the recipe's numbers.

#include <gtest/gtest.h>

#include <cstdint>
#include <string>

#include "inspect/inspect.h"
#include "inspect/sound_ranges.h"
#include "support/movie_file.h"
#include "support/naive_track.h"
#include "support/random_recipe.h"
#include "support/temp_directory.h"

namespace {

using namespace kvx_test;

// The movie atom alone: media may lie anywhere up to 2^60.
kvx_inspect::Report InspectMoov(const TempDirectory& directory, const MovieRecipe& recipe) {
    const std::string path = directory.File("movie.mov");
    WriteFile(path, BuildMoov(recipe).Serialize());
    return kvx_inspect::Inspect(path);
}

TEST(InspectSampleWalk, TellsEverySampleOnce) {
    const TempDirectory directory;
    for (uint64_t seed = 1; seed <= 500 && !HasFailure(); ++seed) {
        SCOPED_TRACE("seed " + std::to_string(seed));
        Random random(seed);
        const MovieRecipe recipe = RandomMovie(random);
        const NaiveTrack naive(recipe.tracks[0], recipe.timeScale);
        const kvx_inspect::Report report = InspectMoov(directory, recipe);
        ASSERT_EQ(report.tracks.size(), 1u);
        const kvx_inspect::TrackFacts& track = report.tracks[0];
        EXPECT_EQ(track.tables.sampleCount, naive.SampleCount());
        EXPECT_EQ(track.tables.sampleDuration, naive.mSampleDuration);
        EXPECT_EQ(track.duration, naive.mTrackDuration);

        kvx_inspect::SampleWalk walk(track.tables);
        kvx_inspect::Sample sample;
        for (int64_t index = 0; index < naive.SampleCount(); ++index) {
            ASSERT_TRUE(walk.Next(sample)) << index;
            const NaiveTrack::Sample& expected = naive.mSamples[static_cast<size_t>(index)];
            EXPECT_EQ(sample.index, index);
            EXPECT_EQ(static_cast<int64_t>(sample.offset), expected.offset);
            EXPECT_EQ(sample.size, expected.size);
        }
        EXPECT_FALSE(walk.Next(sample));
    }
}

// One chunk of 2^31 - 1 samples: told without room for them.
TEST(InspectSampleWalk, TakesNoMemoryForWhatTablesClaim) {
    TrackRecipe track = VideoTrackRecipe({"v210", 48, 2, 24}, 256, 1);
    MovieRecipe recipe;
    track.durations = {{0x7FFFFFFF, 1000}};
    track.sizeCount = 0x7FFFFFFF;
    track.headerDuration = 0x7FFFFFFF;
    track.chunkOffsets = {1000};
    track.chunkRuns = {{1, 0x7FFFFFFF}};
    recipe.tracks = {track};
    const TempDirectory directory;
    const kvx_inspect::Report report = InspectMoov(directory, recipe);
    kvx_inspect::SampleWalk walk(report.tracks[0].tables);
    kvx_inspect::Sample sample;
    for (int64_t index = 0; index < 1000; ++index) {
        ASSERT_TRUE(walk.Next(sample));
    }
    EXPECT_EQ(sample.offset, 1000u + 999 * 256);
    EXPECT_TRUE(Has(report.findings, kvx_inspect::Code::Truncated));
}

// A table of three sizes that says that it has 2^31 - 1.
TEST(InspectSampleTables, CountTheSizesThatThereAre) {
    TrackRecipe track = VideoTrackRecipe({"v210", 48, 2, 24}, 256, 3);
    track.constantSize = 0;
    track.sizes = {256, 257, 256};
    track.durations = {{0x7FFFFFFF, 1000}};
    track.sizeCount = 0x7FFFFFFF;
    const TempDirectory directory;
    MovieRecipe recipe;
    recipe.tracks = {track};
    const kvx_inspect::Report claimed = InspectMoov(directory, recipe);
    EXPECT_EQ(claimed.tracks[0].tables.SizesThere(), 3);
    EXPECT_TRUE(Has(claimed.findings, kvx_inspect::Code::Damaged));
    EXPECT_TRUE(Has(claimed.findings, kvx_inspect::Code::FrameSizeMismatch));
    recipe.tracks[0].sizeCount = 2;
    EXPECT_EQ(InspectMoov(directory, recipe).tracks[0].tables.SizesThere(), 2);
    recipe.tracks[0].sizeCount = 3;
    recipe.tracks[0].durations = {{1, 1000}};
    EXPECT_EQ(InspectMoov(directory, recipe).tracks[0].tables.SizesThere(), 1);
}

// 2^14 chunks and one of 2^31 - 1 samples of 2^19 bytes: more than 64 bits hold.
TEST(InspectSoundRanges, AddUpToNoMoreThan64BitsHold) {
    constexpr size_t kChunks = (1 << 14) + 1;
    SoundDescriptionV2 description;
    description.channels = 1 << 16;
    description.bits = 64;
    description.formatFlags = 1;  // float
    description.bytesPerPacket = 1 << 19;
    TrackRecipe track = SoundTrackRecipe(Describe(description), 1 << 19, 1);
    track.durations.assign(kChunks, {0x7FFFFFFF, 1});
    track.sizeCount = 0x7FFFFFFF;
    track.chunkOffsets.assign(kChunks, 1000);
    track.chunkRuns = {{1, 0x7FFFFFFF}};
    MovieRecipe recipe;
    recipe.tracks = {track};
    const TempDirectory directory;
    const kvx_inspect::Report report = InspectMoov(directory, recipe);
    ASSERT_EQ(report.tracks.size(), 1u);
    ASSERT_EQ(report.tracks[0].tables.fixedSize, 1u << 19);
    EXPECT_EQ(kvx_inspect::SoundRanges::TotalSize(report.tracks[0]), UINT64_MAX);
    // A hundred bytes of the first chunk are in the file, and nothing of the others.
    EXPECT_EQ(kvx_inspect::SoundRanges::SizeInFile(report.tracks[0], 1100), 100u);
}

}  // namespace
